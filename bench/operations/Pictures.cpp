#include "operations/Pictures.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <tuple>

namespace bench {

namespace {

using Row = std::vector<int>;

class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
    std::uint64_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        return state_ ^= state_ << 17;
    }
    int Below(int bound) { return static_cast<int>((Next() >> 33) % static_cast<unsigned>(bound)); }

private:
    std::uint64_t state_;
};

// A value of 0 to 255 for a point of a lattice.
int Hash(int x, int y, int seed) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x8DA6B343u ^ static_cast<std::uint32_t>(y) * 0xD8163841u ^
                      static_cast<std::uint32_t>(seed) * 0xCB1AB31Fu;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return static_cast<int>((h ^ h >> 15) & 255);
}

// A row of noise of that grain: lattice values of `cell` pixels apart with lines between them, 0 to 255 * 256. Smooth
// where asked: lines bend at the points of the lattice, and gradients of a picture should not show that.
void NoiseRow(Row& row, int y, int cell, int seed, bool smooth) {
    const auto fraction = [=](int at) {
        const int t = at % cell * 256 / cell;
        return smooth ? t * t * (768 - 2 * t) >> 16 : t;
    };
    const int width = static_cast<int>(row.size()), down = fraction(y);
    const auto value = [=](int x) {
        return Hash(x, y / cell, seed) * (256 - down) + Hash(x, y / cell + 1, seed) * down;
    };
    int left = value(0), right = value(1);
    for (int x = 0, column = 0; x < width; ++x) {
        if (x / cell != column) {
            column = x / cell;
            left = right;
            right = value(column + 1);
        }
        row[static_cast<std::size_t>(x)] = (left * (256 - fraction(x)) + right * fraction(x)) >> 8;
    }
}

using Colour = std::array<int, 3>;

struct Shape {
    int x, y, radius;  // centre, and half the side of a square
    bool square;
    Colour colour;
    int texture;  // how strong, 0 to 256
};

int SquareRoot(std::int64_t value) {
    std::int64_t root = 0;
    for (std::int64_t bit = std::int64_t{1} << 20; bit; bit >>= 1) {
        if ((root + bit) * (root + bit) <= value) root += bit;
    }
    return static_cast<int>(root);
}

// Shapes before one another, from back to front, with many small ones and few large ones: what makes edges as frequent
// at every size as they are in photographs.
std::vector<Shape> MakeShapes(int count, int width, int height, bool graphics) {
    constexpr Colour kPalette[] = {{255, 255, 255}, {0, 0, 0},     {230, 57, 70},  {29, 53, 87},
                                   {69, 123, 157},  {255, 183, 3}, {42, 157, 143}, {241, 250, 238}};
    Random random(graphics ? 2 : 1);
    std::vector<Shape> shapes;
    for (int i = 0; i < count; ++i) {
        const int size = 24 + random.Below(3000);
        const int radius = std::max(1, static_cast<int>(std::int64_t{height} * 3 / size));
        Shape shape{random.Below(width), random.Below(height), radius, random.Below(3) == 0, {}, 0};
        if (graphics) {
            shape.colour = kPalette[random.Below(static_cast<int>(std::size(kPalette)))];
        } else {
            const int light = 30 + random.Below(215);
            for (int& c : shape.colour) c = std::clamp(light + random.Below(91) - 45, 8, 255);
            shape.texture = random.Below(3) == 0 ? 20 + random.Below(200) : random.Below(40);
        }
        shapes.push_back(shape);
    }
    return shapes;
}

// The number of the shape that shows at each pixel of a row, -1 where none does.
void ShapesOfRow(const std::vector<Shape>& shapes, int y, Row& row) {
    std::fill(row.begin(), row.end(), -1);
    const int width = static_cast<int>(row.size());
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        const Shape& shape = shapes[i];
        const std::int64_t r = shape.radius, dy = y - shape.y;
        if (dy < -r || dy > r) continue;
        const int half = shape.square ? shape.radius : SquareRoot(r * r - dy * dy);
        const int first = std::clamp(shape.x - half, 0, width), end = std::clamp(shape.x + half + 1, 0, width);
        std::fill(row.begin() + first, row.begin() + end, static_cast<int>(i));
    }
}

std::uint8_t Byte(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

void DrawFlat(Picture& picture) {
    const std::vector<Shape> shapes = MakeShapes(1500, picture.width, picture.height, true);
    Row row(static_cast<std::size_t>(picture.width));
    for (int y = 0; y < picture.height; ++y) {
        ShapesOfRow(shapes, y, row);
        std::uint8_t* out = picture.row(y);
        for (const int shape : row) {
            for (int c = 0; c < 3; ++c)
                *out++ = Byte(shape < 0 ? 255 : shapes[static_cast<std::size_t>(shape)].colour[c]);
        }
    }
}

void DrawSmooth(Picture& picture) {
    Row rows[3];
    for (Row& row : rows) row.resize(static_cast<std::size_t>(picture.width));
    for (int y = 0; y < picture.height; ++y) {
        for (int c = 0; c < 3; ++c) NoiseRow(rows[c], y, picture.width / 3 + c * 101, 20 + c, true);
        std::uint8_t* out = picture.row(y);
        for (std::size_t x = 0; x < rows[0].size(); ++x) {
            for (const Row& row : rows) *out++ = Byte(row[x] >> 8);
        }
    }
}

// 256ths of a level, before the lens and the sensor.
void SceneRow(const std::vector<Shape>& shapes, int width, int y, Row& out) {
    thread_local Row shown, shade, coarse, fine;
    for (Row* row : {&shown, &shade, &coarse, &fine}) row->resize(static_cast<std::size_t>(width));
    ShapesOfRow(shapes, y, shown);
    NoiseRow(shade, y, width / 4, 30, true);
    NoiseRow(coarse, y, 23, 31, false);
    NoiseRow(fine, y, 4, 32, false);
    for (std::size_t x = 0; x < shown.size(); ++x) {
        constexpr Shape kSky{0, 0, 0, false, {150, 190, 235}, 4};
        const Shape& shape = shown[x] < 0 ? kSky : shapes[static_cast<std::size_t>(shown[x])];
        const int light = 150 + (shade[x] >> 9);                                   // 150 to 277 of 256 parts
        const int grain = (coarse[x] + fine[x] - 255 * 256) * shape.texture >> 9;  // about 0
        for (int c = 0; c < 3; ++c) out[x * 3 + static_cast<std::size_t>(c)] = shape.colour[c] * light + grain;
    }
}

// The lens spreads every point over its neighbours, 1 4 6 4 1 both ways; the sensor adds noise that grows with the
// light, of one to three levels.
void DrawPhoto(Picture& picture) {
    const std::vector<Shape> shapes = MakeShapes(12000, picture.width, picture.height, false);
    const std::size_t samples = static_cast<std::size_t>(picture.rowBytes());
    Row window[5], down(samples + 12);
    for (int i = 0; i < 5; ++i) {
        window[i].resize(samples);
        if (i > 0) SceneRow(shapes, picture.width, i - 1, window[i]);
    }
    Random random(3);
    for (int y = 0; y < picture.height; ++y) {
        std::rotate(window, window + 1, window + 5);
        SceneRow(shapes, picture.width, y + 4, window[4]);
        for (std::size_t i = 0; i < samples; ++i) {
            down[i + 6] = window[0][i] + window[4][i] + 4 * (window[1][i] + window[3][i]) + 6 * window[2][i];
        }
        for (std::size_t c = 0; c < 3; ++c) {
            down[c] = down[c + 3] = down[c + 6];
            down[samples + 6 + c] = down[samples + 9 + c] = down[samples + 3 + c];
        }
        std::uint8_t* const out = picture.row(y);
        for (std::size_t i = 0; i < samples; ++i) {
            const int level =
                (down[i] + down[i + 12] + 4 * (down[i + 3] + down[i + 9]) + 6 * down[i + 6]) >> 8;  // 256ths
            const std::uint64_t bits = random.Next();
            const int four =
                static_cast<int>((bits & 255) + (bits >> 8 & 255) + (bits >> 16 & 255) + (bits >> 24 & 255));
            const int spread = 256 + std::clamp(level >> 8, 0, 255) * 2;  // of 256: one level to three
            out[i] = Byte((level + ((four - 510) * spread * 7 >> 10) + 128) >> 8);
        }
    }
}

Picture Empty(int width, int height, Layout layout) {
    Picture picture{width, height, ChannelsOf(layout), {}};
    picture.bytes.resize(static_cast<std::size_t>(picture.rowBytes()) * static_cast<std::size_t>(height));
    return picture;
}

// Three quarters opaque, a tenth clear, the rest between.
void DrawAlpha(Picture& picture) {
    Row row(static_cast<std::size_t>(picture.width));
    for (int y = 0; y < picture.height; ++y) {
        NoiseRow(row, y, picture.width / 7, 40, true);
        std::uint8_t* const out = picture.row(y);
        for (std::size_t x = 0; x < row.size(); ++x) out[x] = Byte(((row[x] >> 8) - 50) * 5);
    }
}

Picture Draw(Scene scene, Layout layout, int width, int height) {
    Picture picture = Empty(width, height, layout);
    if (layout == Layout::alpha) {
        DrawAlpha(picture);
        return picture;
    }
    if (layout == Layout::rgb) {
        if (scene == Scene::photo) DrawPhoto(picture);
        if (scene == Scene::smooth) DrawSmooth(picture);
        if (scene == Scene::flat) DrawFlat(picture);
        return picture;
    }
    const Picture& colours = PictureOf(scene, Layout::rgb, width, height);
    const Picture& alphas = PictureOf(scene, Layout::alpha, width, height);
    for (std::size_t i = 0; i < alphas.bytes.size(); ++i) {
        const std::uint8_t* const rgb = &colours.bytes[i * 3];
        std::uint8_t* const out = &picture.bytes[i * static_cast<std::size_t>(picture.channels)];
        const int alpha = alphas.bytes[i];
        if (layout == Layout::gray) {
            out[0] = Byte((rgb[0] * 77 + rgb[1] * 150 + rgb[2] * 29) >> 8);
        } else if (layout == Layout::cmyk) {
            const int most = std::max({rgb[0], rgb[1], rgb[2]});
            for (int c = 0; c < 3; ++c) out[c] = Byte(most - rgb[c]);
            out[3] = Byte(255 - most);
        } else {
            for (int c = 0; c < 3; ++c) out[c] = layout == Layout::rgba ? rgb[c] : Byte((rgb[c] * alpha + 127) / 255);
            out[3] = Byte(alpha);
        }
    }
    return picture;
}

}  // namespace

int ChannelsOf(Layout layout) {
    switch (layout) {
        case Layout::gray:
        case Layout::alpha:
            return 1;
        case Layout::rgb:
            return 3;
        default:
            return 4;
    }
}

const Picture& PictureOf(Scene scene, Layout layout, int width, int height) {
    using Key = std::tuple<Scene, Layout, int, int>;
    static std::map<Key, std::unique_ptr<Picture>> made;
    const Key key{scene, layout, width, height};
    const auto found = made.find(key);
    if (found != made.end()) return *found->second;
    return *(made[key] = std::make_unique<Picture>(Draw(scene, layout, width, height)));
}

}  // namespace bench
