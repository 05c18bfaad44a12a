// The tone kernels over all that they can meet.

#include <algorithm>
#include <numeric>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

// All colours that there are, blue by blue: no level may differ from the sum of doubles, which falls short of a whole
// number for some.
TEST(ToneKernels, EveryColourHasItsLuminance) {
    const LuminanceParts parts = MakeLuminanceParts(177, 813, 10);
    Bytes row(256 * 256 * 3), expected(256 * 256), levels(expected.size());
    int fallShort = 0;
    for (int red = 0; red < 256; ++red) {
        for (int i = 0; i < 256 * 256; ++i) {
            std::uint8_t* const pixel = row.data() + 3 * i;
            pixel[0] = static_cast<std::uint8_t>(red);
            pixel[1] = static_cast<std::uint8_t>(i / 256);
            pixel[2] = static_cast<std::uint8_t>(i % 256);
            const int level = static_cast<int>(0.177 * pixel[0] + 0.813 * pixel[1] + 0.01 * pixel[2]);
            const int thousandths = 177 * pixel[0] + 813 * pixel[1] + 10 * pixel[2];
            fallShort += level < thousandths / 1000 ? 1 : 0;
            expected[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(level);
        }
        for (const KernelTier& tier : RunnableTiers()) {
            tier.table.tone.luminance({row.data(), 3, {3, {0, 1, 2}}}, 256 * 256, parts, levels.data());
            ASSERT_TRUE(levels == expected) << tier.name << ", red " << red;
        }
    }
    EXPECT_GT(fallShort, 1000);
}

TEST(ToneKernels, AllCountsOfLongRunsHold) {
    const Bytes white(40000, 255), black(40000, 0);
    const std::uint8_t limits[kLevelLimits] = {0, 1, 127, 128, 200, 253, 254, 255};
    for (const KernelTier& tier : RunnableTiers()) {
        std::uint32_t counts[kLevelLimits] = {};
        tier.table.tone.countAbove(white.data(), 40000, limits, counts);
        tier.table.tone.countAbove(black.data(), 40000, limits, counts);
        for (int k = 0; k < kLevelLimits; ++k) EXPECT_EQ(counts[k], limits[k] < 255 ? 40000u : 0u) << tier.name;
    }
}

TEST(ToneKernels, EveryPairOfDifferencesGlows) {
    const Bytes here(256, 0);
    Bytes aside(256), below(256), glow(256);
    std::iota(aside.begin(), aside.end(), std::uint8_t{0});
    for (const KernelTier& tier : RunnableTiers()) {
        for (int down = 0; down < 256; ++down) {
            std::fill(below.begin(), below.end(), static_cast<std::uint8_t>(down));
            tier.table.tone.glow(here.data(), aside.data(), below.data(), glow.data(), 256);
            for (int across = 0; across < 256; ++across) {
                ASSERT_EQ(glow[static_cast<std::size_t>(across)], NeonGlow_Plain(across * across + down * down))
                    << tier.name;
            }
        }
    }
}

// Every byte at every threshold, for all numbers of levels and all sizes of matrices.
TEST(ToneKernels, EveryByteIsDithered) {
    Bytes every(256), expected(256), dithered(256);
    std::iota(every.begin(), every.end(), std::uint8_t{0});
    const std::vector<KernelTier> tiers = RunnableTiers();
    for (const int side : {2, 4, 6, 8, 16}) {
        for (int levels = 2; levels <= 256; ++levels) {
            const DitherTables tables = MakeDitherTables(levels, side);
            for (int threshold = 0; threshold < 256; ++threshold) {
                DitherRow row{1, {}};
                std::fill(std::begin(row.threshold), std::end(row.threshold), static_cast<std::uint8_t>(threshold));
                for (int i = 0; i < 256; ++i) {
                    const int upper = i * (side * side + 1) / 256 <= threshold ? 1 : 0;
                    expected[static_cast<std::size_t>(i)] =
                        static_cast<std::uint8_t>(255 * (i * (levels - 1) / 256 + upper) / (levels - 1));
                }
                for (const KernelTier& tier : tiers) {
                    tier.table.tone.dither(every.data(), dithered.data(), 256, tables, row, 0);
                    ASSERT_TRUE(dithered == expected) << tier.name << " " << levels << " " << threshold;
                }
            }
        }
    }
}

}  // namespace
