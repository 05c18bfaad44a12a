// Bytes of pixels to other places, and the gray of colours: every twin against arithmetic told here.

#include <cstring>
#include <memory>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Noise(Random& random, std::ptrdiff_t size) {
    Bytes bytes(static_cast<std::size_t>(size));
    for (std::uint8_t& byte : bytes) byte = random.Byte();
    return bytes;
}

// From the first byte of the first pixel to the last of the last.
std::ptrdiff_t SizeOf(std::ptrdiff_t count, int step, int bytes) {
    return count < 1 ? 0 : (count - 1) * step + bytes;
}

Swizzle AnySwizzle(Random& random, int srcStep, int dstStep) {
    Swizzle swizzle{srcStep, dstStep, random.Between(1, srcStep), random.Between(1, dstStep), {}, {}};
    const bool onlyMoves = random.Chance(50);
    for (int j = 0; j < swizzle.dstBytes; ++j) {
        const bool inside = j > 0 && j < swizzle.dstBytes - 1;
        swizzle.from[j] = static_cast<signed char>(random.Between(0, swizzle.srcBytes - 1));
        if (onlyMoves) continue;
        if (random.Chance(20)) swizzle.from[j] = Swizzle::kConstant;
        if (inside && random.Chance(20)) swizzle.from[j] = Swizzle::kStays;
        if (random.Chance(50)) swizzle.flip[j] = random.Byte();
    }
    return swizzle;
}

Bytes Expected(const Swizzle& swizzle, Bytes dst, const Bytes& src, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int j = 0; j < swizzle.dstBytes; ++j) {
            const int from = swizzle.from[j];
            if (from == Swizzle::kStays) continue;
            const std::uint8_t taken = from == Swizzle::kConstant
                                           ? std::uint8_t{0}
                                           : src[static_cast<std::size_t>(i * swizzle.srcStep + from)];
            dst[static_cast<std::size_t>(i * swizzle.dstStep + j)] = taken ^ swizzle.flip[j];
        }
    }
    return dst;
}

// Both sides end with their last byte, so that an access behind it is found by the address sanitizer.
TEST(SwizzleKernels, EveryTwinMovesPixelsOfEveryStep) {
    Random random(3);
    for (const KernelTier& tier : RunnableTiers()) {
        for (int srcStep = 1; srcStep <= Swizzle::kMaxStep; ++srcStep) {
            for (int dstStep = 1; dstStep <= Swizzle::kMaxStep; ++dstStep) {
                for (int count = 0; count <= 100; ++count) {
                    const Swizzle swizzle = AnySwizzle(random, srcStep, dstStep);
                    const Bytes src = Noise(random, SizeOf(count, srcStep, swizzle.srcBytes));
                    Bytes dst = Noise(random, SizeOf(count, dstStep, swizzle.dstBytes));
                    const Bytes expected = Expected(swizzle, dst, src, count);
                    tier.table.swizzle.move(swizzle, dst.data(), src.data(), count);
                    ASSERT_TRUE(SameBytes(expected, dst))
                        << tier.name << " " << srcStep << " to " << dstStep << ", " << count;
                }
            }
        }
    }
}

TEST(SwizzleKernels, ALaterChannelTakesThePlaceOfAnEarlierOne) {
    std::uint8_t src[] = {1, 2, 3, 4}, dst[] = {9, 9, 9};
    constexpr signed char kChannels[] = {0, 2, Swizzle::kConstant, 1};
    constexpr std::uint8_t kFlips[] = {0, 255, 7, 0};
    SwizzleRun run{};
    ASSERT_TRUE(MakeSwizzle({dst, 3, {4, {0, 1, 2, 0}}}, {src, 4, {3, {3, 2, 1}}}, kChannels, kFlips, &run));
    EXPECT_EQ(run.src, src + 1);
    EXPECT_EQ(run.swizzle.srcBytes, 3);
    Kernels().swizzle.move(run.swizzle, run.dst, run.src, 1);
    EXPECT_EQ(dst[0], 3);
    EXPECT_EQ(dst[1], 2 ^ 255);
    EXPECT_EQ(dst[2], 7);
}

TEST(SwizzleKernels, PixelsOfOtherShapesAreRefused) {
    std::uint8_t bytes[16] = {};
    constexpr signed char kChannels[] = {0, 1};
    constexpr std::uint8_t kFlips[] = {0, 0};
    SwizzleRun run{};
    const auto make = [&](std::ptrdiff_t dstStep, std::ptrdiff_t srcStep, std::ptrdiff_t last) {
        return MakeSwizzle({bytes, dstStep, {2, {0, 1}}}, {bytes, srcStep, {2, {0, last}}}, kChannels, kFlips, &run);
    };
    EXPECT_TRUE(make(2, 5, 4));
    EXPECT_FALSE(make(2, 5, 5));
    EXPECT_FALSE(make(1, 5, 4));
    EXPECT_FALSE(make(2, 6, 4));
    EXPECT_FALSE(make(2, 0, 0));
    EXPECT_FALSE(make(-2, 5, 4));
}

// All colours there are.
TEST(LumaKernels, EveryTwinKnowsTheGrayOfEveryColour) {
    constexpr std::ptrdiff_t kPixels = 65536;
    Bytes pixels(4 * kPixels), gray(kPixels), expected(kPixels);
    for (const KernelTier& tier : RunnableTiers()) {
        if (std::strcmp(tier.name, "picked") == 0) continue;  // one of the others
        for (int red = 0; red < 256; ++red) {
            const int step = 3 + red % 2, at = red / 2 % 2 * (step - 3);
            for (int i = 0; i < kPixels; ++i) {
                std::uint8_t* const pixel = pixels.data() + i * step + at;
                const int green = i / 256, blue = i % 256;
                pixel[0] = static_cast<std::uint8_t>(blue);
                pixel[1] = static_cast<std::uint8_t>(red);
                pixel[2] = static_cast<std::uint8_t>(green);
                expected[static_cast<std::size_t>(i)] =
                    static_cast<std::uint8_t>((77 * red + 151 * green + 28 * blue) >> 8);
            }
            const PixelRun src{pixels.data(), step, {3, {at + 1, at + 2, at}}}, dst{gray.data(), 1, {1, {0}}};
            tier.table.convert.apart[kLuma3To1][0](dst, src, kPixels, 0);
            ASSERT_TRUE(expected == gray) << tier.name << " " << red;
        }
    }
}

// Of every form of pixel into every other, with and without alpha, at lengths past the stretches that are worked at
// once.
TEST(LumaKernels, EveryTwinConvertsPixelsOfEveryStep) {
    Random random(4);
    for (const KernelTier& tier : RunnableTiers()) {
        for (const bool withAlpha : {false, true}) {
            for (int round = 0; round < 400; ++round) {
                const int count = random.Chance(20) ? random.Between(1000, 2100) : random.Between(0, 70);
                const int srcStep = random.Between(1, 6), dstStep = random.Between(1, 6);
                PixelRun src{nullptr, srcStep, {withAlpha ? 4 : 3, {}}}, dst{nullptr, dstStep, {withAlpha ? 2 : 1, {}}};
                for (std::ptrdiff_t& offset : src.channels.offset) offset = random.Between(0, srcStep - 1);
                for (std::ptrdiff_t& offset : dst.channels.offset) offset = random.Between(0, dstStep - 1);
                Bytes from = Noise(random, SizeOf(count, srcStep, static_cast<int>(src.channels.highest()) + 1));
                Bytes to = Noise(random, SizeOf(count, dstStep, static_cast<int>(dst.channels.highest()) + 1));
                Bytes expected = to;
                const std::uint8_t flip = random.Chance(50) ? 255 : 0;
                for (int i = 0; i < count; ++i) {
                    const std::uint8_t* const pixel = from.data() + i * srcStep;
                    std::uint8_t* const made = expected.data() + i * dstStep;
                    const std::ptrdiff_t* const at = src.channels.offset;
                    const int sum = 77 * pixel[at[0]] + 151 * pixel[at[1]] + 28 * pixel[at[2]];
                    made[dst.channels.offset[0]] = static_cast<std::uint8_t>(sum >> 8);
                    if (withAlpha) made[dst.channels.offset[1]] = pixel[at[3]] ^ flip;
                }
                src.pixels = from.data();
                dst.pixels = to.data();
                tier.table.convert.apart[kLuma3To1][withAlpha](dst, src, count, flip);
                ASSERT_TRUE(SameBytes(expected, to)) << tier.name << " " << srcStep << " to " << dstStep;
            }
        }
    }
}

}  // namespace
