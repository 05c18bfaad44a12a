#pragma once
// What filters for people's pictures are held against: slow references in doubles over whole pictures.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/Images.h"

// Pixels side by side; the last of two or four channels is alpha where it has one.
struct StreamPicture {
    int width, height, channels;
    bool hasAlpha;
    std::vector<std::uint8_t> bytes;

    int At(int x, int y, int c) const {
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return bytes[static_cast<std::size_t>((std::int64_t{y} * width + x) * channels + c)];
    }
    std::uint8_t* Row(int y) { return bytes.data() + std::int64_t{y} * width * channels; }
    const std::uint8_t* Row(int y) const { return bytes.data() + std::int64_t{y} * width * channels; }
};

// The kinds of pixels that there are: channels, and whether the last of them is alpha.
struct StreamKind {
    int channels;
    bool hasAlpha;
};
constexpr StreamKind kStreamKinds[] = {{1, false}, {2, true}, {3, false}, {4, true}, {4, false}};

// Noise, steps, slopes or spans of one byte, with alpha that is opaque, clear or between in places.
StreamPicture AnyStreamPicture(Random& random, int width, int height, StreamKind kind);

// One colour, opaque.
StreamPicture FlatStreamPicture(int width, int height, StreamKind kind, std::uint8_t value);

// Numbers where a picture has bytes.
struct ExactPicture {
    std::vector<double> values;
    double& operator[](std::size_t i) { return values[i]; }
    double operator[](std::size_t i) const { return values[i]; }
};

// Weighed means, with weight(dx, dy) for the pixel so far away, both up to `reach`. Colours count as their alpha.
ExactPicture MeansOf(const StreamPicture& picture, int reach, const std::function<double(int dx, int dy)>& weight);
// Again, of numbers that such means have left.
ExactPicture MeansOf(const StreamPicture& shape, const ExactPicture& picture, int reach,
                     const std::function<double(int dx, int dy)>& weight);

// Expects bytes that are the numbers rounded: off by no more than half a level and `slack`, and on average by no more
// than 0.05 beyond what rounding takes. Colours of pixels whose alpha is to be 0 do not show.
void ExpectRounded(const StreamPicture& actual, const ExactPicture& expected, double slack);

// The rows of a picture through a stream, which takes them no later than it must.
template <class Stream>
StreamPicture Streamed(Stream& stream, const StreamPicture& picture) {
    StreamPicture result = picture;
    std::fill(result.bytes.begin(), result.bytes.end(), std::uint8_t{77});
    int fed = 0;
    for (int y = 0; y < picture.height; ++y) {
        while (!stream.Take(result.Row(y))) {
            if (fed == picture.height) {
                ADD_FAILURE() << "no row " << y << " after the last one was fed";
                return result;
            }
            // From memory of just that size, so that reading beside it shows where addresses are watched.
            const std::vector<std::uint8_t> row(picture.Row(fed), picture.Row(fed) + picture.width * picture.channels);
            EXPECT_TRUE(stream.Feed(row.data())) << "row " << fed << " was not wanted";
            ++fed;
        }
    }
    EXPECT_EQ(fed, picture.height);
    std::vector<std::uint8_t> none(static_cast<std::size_t>(picture.width) * 4);
    EXPECT_FALSE(stream.Take(none.data())) << "a row behind the last";
    EXPECT_FALSE(stream.Feed(none.data())) << "a row behind the last was taken in";
    return result;
}

// Sizes that are small, narrow, flat, or smaller than a window of such a radius.
struct StreamSize {
    int width, height;
};
constexpr StreamSize kStreamSizes[] = {{1, 1},   {1, 9},   {9, 1},   {2, 2},  {3, 5},  {7, 4},
                                       {17, 11}, {33, 20}, {64, 37}, {1, 70}, {131, 3}};
