#include "filters/LevelStretch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/Images.h"

namespace zor {
namespace {

// The same by plain arithmetic over all pixels at once.
std::vector<int> ModelTable(const std::vector<std::uint8_t>& pixels, int colours, bool hasAlpha) {
    const std::size_t channels = static_cast<std::size_t>(colours + (hasAlpha ? 1 : 0));
    std::vector<double> weight(256);
    double all = 0;
    for (std::size_t at = 0; at < pixels.size(); at += channels) {
        const std::uint8_t* const p = pixels.data() + at;
        const double level =
            colours == 1 ? p[0] : std::floor((11600.0 * p[0] + 53281.0 * p[1] + 655.0 * p[2]) / 65536 + 0.5);
        const double shows = hasAlpha ? p[colours] : 1;
        weight[static_cast<std::size_t>(level)] += shows;
        all += shows;
    }
    std::vector<int> table(256);
    for (int i = 0; i < 256; ++i) table[static_cast<std::size_t>(i)] = i;
    if (all == 0) return table;
    double passed = 0;
    int low = 0, high = 255;
    while ((passed += weight[static_cast<std::size_t>(low)]) <= all / 200) ++low;
    passed = 0;
    while ((passed += weight[static_cast<std::size_t>(high)]) <= all / 200) --high;
    if (low >= high) return table;
    for (int i = 0; i < 256; ++i) {
        const double stretched = 255.0 * (i - low) / (high - low);
        table[static_cast<std::size_t>(i)] =
            static_cast<int>(std::floor(std::fmin(std::fmax(stretched, 0), 255) + 0.5));
    }
    return table;
}

std::vector<int> TableOf(const std::vector<std::uint8_t>& pixels, int colours, bool hasAlpha, std::ptrdiff_t atOnce) {
    const std::ptrdiff_t channels = colours + (hasAlpha ? 1 : 0);
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(pixels.size()) / channels;
    LevelStretch stretch(colours, hasAlpha);
    for (std::ptrdiff_t at = 0; at < count; at += atOnce)
        stretch.Count(pixels.data() + at * channels, std::min(atOnce, count - at));
    const ByteTable table = stretch.Table();
    return std::vector<int>(std::begin(table.entry), std::end(table.entry));
}

TEST(LevelStretch, AgreesWithPlainArithmeticOnAnyPixels) {
    Random random(3);
    for (int round = 0; round < 400; ++round) {
        const int colours = random.Chance(50) ? 1 : 3;
        const bool hasAlpha = random.Chance(50);
        const int channels = colours + (hasAlpha ? 1 : 0);
        const int base = random.Between(0, 200), top = random.Between(base, 255);
        const int last = random.Between(1, 4000) * channels - 1;
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i <= last; ++i) {
            const bool isAlpha = hasAlpha && i % channels == colours;
            pixels.push_back(isAlpha && random.Chance(30) ? 0 : static_cast<std::uint8_t>(random.Between(base, top)));
        }
        // A few outliers, on both sides of half a percent.
        for (int i = random.Between(0, 30); i > 0; --i)
            pixels[static_cast<std::size_t>(random.Between(0, last))] = random.Chance(50) ? 255 : 0;
        EXPECT_EQ(TableOf(pixels, colours, hasAlpha, random.Between(1, 3000)), ModelTable(pixels, colours, hasAlpha))
            << "round " << round << ", " << colours << (hasAlpha ? " colours and alpha" : " colours");
    }
}

TEST(LevelStretch, LeavesAloneWhatShowsOneLevelOnlyOrNothing) {
    std::vector<int> same(256);
    for (int i = 0; i < 256; ++i) same[static_cast<std::size_t>(i)] = i;
    EXPECT_EQ(TableOf(std::vector<std::uint8_t>(300, 77), 3, false, 100), same);
    EXPECT_EQ(TableOf({10, 0, 250, 0, 99, 0}, 1, true, 3), same) << "all clear";
    EXPECT_EQ(TableOf({10, 0, 250, 0, 99, 255}, 1, true, 3), same) << "one shows";
    EXPECT_EQ(TableOf({}, 1, false, 1), same) << "no pixels";
}

TEST(LevelStretch, IgnoresClearPixelsWhateverColourTheyHide) {
    EXPECT_EQ(TableOf({0, 0, 100, 255, 150, 255, 255, 0}, 1, true, 4), TableOf({100, 255, 150, 255}, 1, true, 2));
}

}  // namespace
}  // namespace zor
