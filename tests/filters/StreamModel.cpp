#include "filters/StreamModel.h"

StreamPicture AnyStreamPicture(Random& random, int width, int height, StreamKind kind) {
    StreamPicture picture{width, height, kind.channels, kind.hasAlpha, {}};
    picture.bytes.resize(static_cast<std::size_t>(std::int64_t{width} * height * kind.channels));
    const int texture = random.Between(0, 3), cell = random.Between(1, 20), alphas = random.Between(0, 3);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* const pixel = picture.Row(y) + std::int64_t{x} * kind.channels;
            for (int c = 0; c < kind.channels; ++c) {
                pixel[c] = texture == 0   ? random.Byte()
                           : texture == 1 ? static_cast<std::uint8_t>((x / cell + y / cell + c) % 2 ? 255 : 0)
                           : texture == 2 ? static_cast<std::uint8_t>((3 * x + 5 * y) / 8 + 40 * c)
                                          : static_cast<std::uint8_t>(37 * (x / cell) + 91 * (y / cell) + c);
            }
            if (!kind.hasAlpha) continue;
            std::uint8_t& alpha = pixel[kind.channels - 1];
            if (alphas == 0) alpha = 255;
            if (alphas == 1) alpha = (x / cell + y / cell) % 2 ? 255 : 0;
            if (alphas == 2) alpha = static_cast<std::uint8_t>(random.Between(0, 3));
        }
    }
    return picture;
}

StreamPicture FlatStreamPicture(int width, int height, StreamKind kind, std::uint8_t value) {
    StreamPicture picture{width, height, kind.channels, kind.hasAlpha, {}};
    picture.bytes.assign(static_cast<std::size_t>(std::int64_t{width} * height * kind.channels), value);
    if (kind.hasAlpha)
        for (std::size_t i = static_cast<std::size_t>(kind.channels) - 1; i < picture.bytes.size();
             i += static_cast<std::size_t>(kind.channels))
            picture.bytes[i] = 255;
    return picture;
}

ExactPicture MeansOf(const StreamPicture& picture, int reach, const std::function<double(int dx, int dy)>& weight) {
    return MeansOf(picture, {{picture.bytes.begin(), picture.bytes.end()}}, reach, weight);
}

ExactPicture MeansOf(const StreamPicture& shape, const ExactPicture& picture, int reach,
                     const std::function<double(int dx, int dy)>& weight) {
    const int channels = shape.channels;
    ExactPicture means{std::vector<double>(picture.values.size())};
    const auto at = [&](int x, int y, int c) {
        return picture[static_cast<std::size_t>(
            (std::int64_t{std::clamp(y, 0, shape.height - 1)} * shape.width + std::clamp(x, 0, shape.width - 1)) *
                channels +
            c)];
    };
    for (int y = 0; y < shape.height; ++y) {
        for (int x = 0; x < shape.width; ++x) {
            double sums[4] = {}, weights = 0, alphas = 0;
            for (int dy = -reach; dy <= reach; ++dy) {
                for (int dx = -reach; dx <= reach; ++dx) {
                    const double w = weight(dx, dy);
                    if (w == 0) continue;
                    const double alpha = shape.hasAlpha ? at(x + dx, y + dy, channels - 1) : 1.0;
                    weights += w;
                    alphas += w * alpha;
                    for (int c = 0; c < channels; ++c) sums[c] += w * alpha * at(x + dx, y + dy, c);
                }
            }
            for (int c = 0; c < channels; ++c) {
                const bool isAlpha = shape.hasAlpha && c == channels - 1;
                means[static_cast<std::size_t>((std::int64_t{y} * shape.width + x) * channels + c)] =
                    isAlpha      ? alphas / weights
                    : alphas > 0 ? sums[c] / alphas
                                 : 0.0;
            }
        }
    }
    return means;
}

void ExpectRounded(const StreamPicture& actual, const ExactPicture& expected, double slack) {
    const std::size_t channels = static_cast<std::size_t>(actual.channels);
    double difference = 0, count = 0;
    for (std::size_t i = 0; i < actual.bytes.size(); ++i) {
        const bool shows =
            !actual.hasAlpha || i % channels == channels - 1 || expected[i - i % channels + channels - 1] >= 0.5;
        if (!shows) continue;
        ASSERT_LE(std::abs(actual.bytes[i] - expected[i]), 0.5 + slack)
            << "byte " << i % channels << " of pixel " << i / channels << " of " << actual.width << " x "
            << actual.height << " with " << channels << " channels";
        difference += std::abs(actual.bytes[i] - expected[i]) - std::abs(std::round(expected[i]) - expected[i]);
        ++count;
    }
    EXPECT_LE(difference, 0.05 * count) << actual.width << " x " << actual.height;
}
