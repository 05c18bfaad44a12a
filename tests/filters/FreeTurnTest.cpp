// Turning by free angles in blocks, for pictures that are not in memory.

#include "filters/FreeTurn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using namespace zor;

struct Picture {
    int width, height, channels;
    std::vector<std::uint8_t> bytes;
};

// Noise; alpha is opaque at the left, clear at the right, and anything between.
Picture Noise(int width, int height, int channels) {
    Picture picture{width, height, channels, {}};
    std::uint32_t state = 7;
    for (int i = 0; i < width * height * channels; ++i) {
        state = state * 1664525u + 1013904223u;
        auto byte = static_cast<std::uint8_t>(state >> 24);
        const int x = i / channels % width;
        if (channels % 2 == 0 && i % channels == channels - 1 && (x < width / 3 || x > width * 2 / 3))
            byte = x < width / 3 ? 255 : 0;
        picture.bytes.push_back(byte);
    }
    return picture;
}

// In blocks of so many squares a side. Only what a block says that it needs is there for it; all else is other noise.
std::vector<std::uint8_t> Turned(const Picture& picture, double degrees, int width, int height, int squares) {
    FreeTurn turn;
    const bool hasAlpha = picture.channels % 2 == 0;
    EXPECT_TRUE(turn.Start(
        {picture.width, picture.height, width, height, picture.channels, hasAlpha, degrees, {9, 20, 30, 40}}));
    const std::ptrdiff_t channels = picture.channels, srcRow = picture.width * channels, dstRow = width * channels;
    std::vector<std::uint8_t> result(static_cast<std::size_t>(height * dstRow));
    const int side = squares * FreeTurn::kTile;
    for (int y = 0; y < height; y += side)
        for (int x = 0; x < width; x += side) {
            const PixelRect block{x, y, std::min(side, width - x), std::min(side, height - y)};
            const PixelRect part = turn.SourceOf(block);
            std::vector<std::uint8_t> there = Noise(picture.width, picture.height, picture.channels).bytes;
            for (std::uint8_t& byte : there) byte = static_cast<std::uint8_t>(byte ^ 0x5A);
            for (std::int64_t row = part.y; row < part.y + part.height; ++row)
                std::memcpy(there.data() + row * srcRow + part.x * channels,
                            picture.bytes.data() + row * srcRow + part.x * channels,
                            static_cast<std::size_t>(part.width * channels));
            turn.Turn([&](int px, int py) { return there.data() + py * srcRow + px * channels; }, block,
                      result.data() + y * dstRow + x * channels, dstRow);
        }
    return result;
}

TEST(FreeTurn, GivesTheSameInAnyBlocks) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Picture picture = Noise(190, 130, channels);
        for (const double degrees : {1.0, 30.0, 98.5, 200.0, 315.0}) {
            const std::vector<std::uint8_t> whole = Turned(picture, degrees, 230, 233, 4);
            for (const int squares : {1, 2, 3})
                EXPECT_EQ(Turned(picture, degrees, 230, 233, squares), whole) << channels << ", " << degrees;
        }
    }
}

TEST(FreeTurn, NeedsNothingWhereThePictureIsNot) {
    FreeTurn turn;
    ASSERT_TRUE(turn.Start({100, 100, 1000, 1000, 3, false, 45, {1, 2, 3, 0}}));
    EXPECT_TRUE(turn.SourceOf({0, 0, 64, 64}).IsEmpty());
    const PixelRect middle = turn.SourceOf({448, 448, 128, 128});
    EXPECT_EQ(middle.x, 0);
    EXPECT_EQ(middle.width, 100);
    std::vector<std::uint8_t> ground(64 * 64 * 3);
    turn.Turn([](int, int) -> const std::uint8_t* { return nullptr; }, {0, 0, 64, 64}, ground.data(), 64 * 3);
    for (std::size_t i = 0; i < ground.size(); ++i) ASSERT_EQ(ground[i], 1 + i % 3);
}

}  // namespace
