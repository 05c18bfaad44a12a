#include "ReferenceScale.h"

#include <algorithm>
#include <cmath>

namespace reference {

// --- kernels --------------------------------------------------------------------------------------------------------

static double SincOf(double t) {
    return t == 0.0 ? 1.0 : std::sin(t * 3.141592653589793) / (t * 3.141592653589793);
}

double Weight(int mode, double x) {
    const double x2 = x * x, x3 = x2 * x;
    switch (mode) {
        case 1:
            return x < 1.0 ? 1.0 - x : 0.0;
        case 2:
            return x <= 0.5 ? 1.0 : 0.0;
        case 3:
            return x < 3.0 ? SincOf(x) * SincOf(x / 3.0) : 0.0;
        case 4:
            return x < 8.0 ? SincOf(x) * SincOf(x * 0.125) : 0.0;
        case 5:
            if (x < 1.0) return (7.0 * x3 - 12.0 * x2 + 5.333333333333333) / 6.0;
            if (x < 2.0) return (-2.3333333333333335 * x3 + 12.0 * x2 - 20.0 * x + 10.666666666666666) / 6.0;
            return 0.0;
        case 6:
            if (x < 1.0) return (1.25 * x - 2.25) * x2 + 1.0;
            if (x < 2.0) return ((-0.75 * x + 3.75) * x - 6.0) * x + 3.0;
            return 0.0;
        case 7:
            if (x <= 1.0) return 1.3333333333333333 * x3 - 2.3333333333333335 * x2 + 1.0;
            if (x <= 2.0) return -0.5833333333333334 * x3 + 3.0 * x2 - 4.916666666666667 * x + 2.5;
            if (x <= 3.0) return 0.08333333333333333 * x3 - 0.6666666666666666 * x2 + 1.75 * x - 1.5;
            return 0.0;
        default:
            return 0.0;
    }
}

double Radius(int mode) {
    const double radius[] = {0.0, 1.0, 0.5, 3.0, 8.0, 2.0, 4.0, 3.0};
    return radius[mode];
}

Samples SamplesOf(int mode, bool horizontal, double scale, int size, double position) {
    const double center = (position + 0.5) / scale, radius = Radius(mode);
    const int enlarging[2][8] = {{0, 4, 3, 8, 18, 6, 10, 8}, {0, 4, 2, 8, 18, 6, 10, 8}};
    double left, right, capacity;
    if (scale < 1.0) {
        const double w = radius / scale;
        left = std::trunc(center - w);
        right = std::trunc(center + w);
        capacity = horizontal ? 2.0 * std::trunc(w) + 2.0 : std::trunc(w + w + 2.0);
    } else {
        left = horizontal ? std::floor(center - radius) : std::trunc(center - radius);
        right = horizontal ? std::ceil(center + radius) : std::trunc(center + radius);
        capacity = enlarging[horizontal ? 1 : 0][mode];
    }
    left = std::max(left, 0.0);
    if (!(right < size)) right = size - 1.0;
    Samples samples{{}, 0.0F};
    double sum = 0.0;
    for (double j = left; j <= right; j += 1.0) {
        if (static_cast<double>(samples.list.size()) >= capacity) break;
        const double distance = std::fabs(scale < 1.0 ? (center - j - 0.5) * scale : center - j - 0.5);
        const double weight = Weight(mode, distance);
        if (weight == 0.0) continue;
        samples.list.push_back({static_cast<float>(weight), static_cast<int>(j)});
        sum += weight;
    }
    samples.sum = static_cast<float>(sum);
    return samples;
}

// --- pairs ----------------------------------------------------------------------------------------------------------

static const Pair kPairs[] = {
    {"G_to_G_Scale", "w", "w0"},
    {"G_to_RGB_Scale", "0w00", "r1g1b1"},
    {"G_to_CMYK_Scale", "cmrk", "c0m1y2k3"},
    {"RGB_to_G_Scale", "l", "w0"},
    {"RGB_to_RGB_Scale", "rgb0", "r0g1b2"},
    {"CMYK_to_G_Scale", "k", "w0"},
    {"CMYK_to_CMYK_Scale", "cmrk", "c0m1y2k3"},
    {"GA_to_GA_Scale", "w0", "w0"},
    {"GA_to_RGBA_Scale", "0w0a", "r1g1b1a3"},
    {"GA_to_CMYKA_Scale", "cmrka", "c0m1y2k3a4"},
    {"RGBA_to_GA_Scale", "la", "w0a1"},
    {"RGBA_to_RGBA_Scale", "rgba", "r0g1b2a3"},
    {"CMYKA_to_GA_Scale", "ka", "w0a1"},
    {"CMYKA_to_CMYKA_Scale", "cmrka", "c0m1y2k3a4"},
};

const Pair* PairFor(const ModelImage& source, const ModelImage& target) {
    if (!source.family || !target.family) return nullptr;
    if (source.family == 'r' && target.family == 'c') return nullptr;
    if (source.family == 'c' && target.family == 'r') return nullptr;
    const bool alpha = source.alpha && target.alpha;
    const auto name = [alpha](char family) {
        return std::string(family == 'c' ? "CMYK" : family == 'r' ? "RGB" : "G") + (alpha ? "A" : "");
    };
    const std::string wanted = name(source.family) + "_to_" + name(target.family) + "_Scale";
    for (const Pair& pair : kPairs) {
        if (pair.name == wanted) return &pair;
    }
    return nullptr;
}

// --- filtered -------------------------------------------------------------------------------------------------------

static int Cut(double sum, float weightSum) {
    const double value = sum / static_cast<double>(weightSum);
    if (std::isnan(value) || value <= 0.0) return 0;
    return value >= 255.0 ? 255 : static_cast<int>(value);
}

// The sum of one byte of a group, for one target column.
static double SumAcross(const ModelImage& source, int y, char channel, const Samples& samples) {
    const auto byte = [&](int x, char c) {
        return static_cast<double>(source.Load(y, std::int64_t{x} * source.pixelSize + source.offset.at(c)));
    };
    double sum = 0.0;
    for (const Sample& sample : samples.list) {
        const double weight = static_cast<double>(sample.weight);
        if (weight == 0.0 || !source.HasRow(y)) continue;
        if (channel == 'l') {
            sum += byte(sample.index, 'r') * 0.3 * weight + byte(sample.index, 'g') * 0.59 * weight +
                   byte(sample.index, 'b') * 0.11 * weight;
        } else {
            sum += byte(sample.index, channel) * weight;
        }
    }
    return sum;
}

bool Scale(const ModelImage& target, const ModelImage& source, const ModelImage& temp, int mode, int width,
           int height) {
    const Pair* const pair = PairFor(source, target);
    if (!pair) return false;
    const int pitch = static_cast<int>(pair->group.size());
    const double xScale = double(width) / source.width, yScale = double(height) / source.height;

    std::vector<Samples> columns;
    for (int x = 0; x < width; ++x) columns.push_back(SamplesOf(mode, true, xScale, source.width, x));
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Samples& samples = columns[static_cast<std::size_t>(x)];
            std::vector<int> group;
            for (const char channel : pair->group) {
                group.push_back(channel == '0' ? 0 : Cut(SumAcross(source, y, channel, samples), samples.sum));
            }
            for (int i = 0; i < pitch; ++i)
                temp.Store(y, std::int64_t{x} * pitch + i, group[static_cast<std::size_t>(i)]);
        }
    }

    for (int y = 0; y < height; ++y) {
        const Samples samples = SamplesOf(mode, false, yScale, temp.height, y);
        for (int x = 0; x < width; ++x) {
            std::vector<double> sums(static_cast<std::size_t>(pitch));
            for (const Sample& sample : samples.list) {
                if (!temp.HasRow(sample.index)) continue;
                for (int i = 0; i < pitch; ++i) {
                    sums[static_cast<std::size_t>(i)] +=
                        double(temp.Load(sample.index, std::int64_t{x} * pitch + i)) * double(sample.weight);
                }
            }
            for (std::size_t i = 0; i + 1 < pair->writes.size(); i += 2) {
                const auto from = static_cast<std::size_t>(pair->writes[i + 1] - '0');
                target.Store(y, std::int64_t{x} * target.pixelSize + target.offset.at(pair->writes[i]),
                             Cut(sums[from], samples.sum));
            }
        }
    }
    return true;
}

// --- nearest --------------------------------------------------------------------------------------------------------

// What each channel of the target takes: "r=r" a sample, "w=l" the luma, "c=0" zero. Empty: refused.
static std::string FastRecipe(const ModelImage& source, const ModelImage& target) {
    const char from = source.family, to = target.family;
    const bool both = source.alpha && target.alpha;
    std::string recipe;
    if (from == 'c' && to == 'c') recipe = "c=c m=m y=y k=k";
    if (from == 'c' && to == 'w') recipe = "w=k";
    if (from == 'r' && to == 'r') recipe = "r=r g=g b=b";
    if (from == 'r' && to == 'w') recipe = "w=l";
    if (from == 'w' && to == 'r') return "r=w g=w b=w";
    if (from == 'w' && to == 'w') recipe = "w=w";
    if (from == 'w' && to == 'c') return source.alpha == target.alpha ? "c=0 m=0 y=0 k=w" : "";
    if (!recipe.empty() && both) recipe += " a=a";
    return recipe;
}

bool ScaleFast(const ModelImage& target, const ModelImage& source, int width, int height) {
    const int w = std::min(width, target.width), h = std::min(height, target.height);
    if (w <= 0 || h <= 0) return false;
    const std::string recipe = FastRecipe(source, target);
    if (recipe.empty()) return false;
    const double xRatio = double(source.width) / w, yRatio = double(source.height) / h;
    for (int y = 0; y < h; ++y) {
        const int sy = static_cast<int>(std::floor(y * yRatio));
        if (!source.HasRow(sy) || !target.HasRow(y)) continue;
        for (int x = 0; x < w; ++x) {
            const int sx = static_cast<int>(std::floor(x * xRatio));
            const auto sample = [&](char c) {
                return source.Load(sy, std::int64_t{sx} * source.pixelSize + source.offset.at(c));
            };
            std::vector<int> values;
            for (std::size_t i = 0; i < recipe.size(); i += 4) {
                const char what = recipe[i + 2];
                values.push_back(what == '0'   ? 0
                                 : what == 'l' ? (sample('g') * 151 + sample('r') * 77 + sample('b') * 28) >> 8
                                               : sample(what));
            }
            for (std::size_t i = 0; i < recipe.size(); i += 4) {
                target.Store(y, std::int64_t{x} * target.pixelSize + target.offset.at(recipe[i]), values[i / 4]);
            }
        }
    }
    return true;
}

}  // namespace reference
