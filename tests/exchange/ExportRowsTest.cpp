// The quick loops of the export beside the plain ones that define them.

#include "exchange/ExportRows.h"

#include "exchange/ExportModel.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Noise(Random& random, int size) {
    Bytes bytes(static_cast<std::size_t>(size));
    for (std::uint8_t& byte : bytes) byte = random.Byte();
    return bytes;
}

ChannelSet RandomChannels(Random& random, int count, int low, int high) {
    ChannelSet set{count, {}};
    for (int c = 0; c < count; ++c) set.offset[c] = random.Between(low, high);
    return set;
}

constexpr int kTypes[] = {PixelTypeNative32, PixelTypeRGB24, PixelTypeARGB32};

TEST(ExportRows, QuickLoopsStoreWhatPlainOnesDo) {
    Random random(1);
    int quick = 0;
    for (int round = 0; round < 600; ++round) {
        const int pixelSize = random.Between(1, 5), word = 4 * random.Between(0, 2), count = random.Between(0, 70);
        const ChannelSet channels = RandomChannels(random, 3, word, word + 3);
        const ExportPlan plan = MakeExportPlan(ExportColours::rgb, channels, pixelSize, kTypes[random.Between(0, 2)]);
        quick += plan.quick != plan.plain;
        const Bytes row = Noise(random, count * pixelSize + word + 4);
        Bytes expected = Noise(random, count * 4 + 8), actual = expected;
        plan.plain(row.data(), pixelSize, channels.offset, count, expected.data());
        plan.quick(row.data(), pixelSize, channels.offset, count, actual.data());
        ASSERT_TRUE(SameBytes(expected, actual)) << "round " << round << ", pixels of " << pixelSize;
    }
    EXPECT_GT(quick, 20) << "no quick loop was tried";
}

TEST(ExportRows, QuickLoopsAreTakenForWordsOnly) {
    const ChannelSet rgb = {3, {0, 1, 2}}, clipped = {3, {13, 14, 15}}, astride = {3, {2, 3, 4}},
                     before = {3, {-4, -3, -2}}, gray = {1, {0}};
    const auto isQuick = [](const ExportPlan& plan) { return plan.quick != plan.plain; };
    for (const int type : {PixelTypeNative32, PixelTypeARGB32}) {
        EXPECT_TRUE(isQuick(MakeExportPlan(ExportColours::rgb, rgb, 4, type)));
        EXPECT_TRUE(isQuick(MakeExportPlan(ExportColours::rgb, clipped, 4, type)));
        EXPECT_FALSE(isQuick(MakeExportPlan(ExportColours::rgb, astride, 4, type)));
        EXPECT_FALSE(isQuick(MakeExportPlan(ExportColours::rgb, before, 4, type)));
        EXPECT_FALSE(isQuick(MakeExportPlan(ExportColours::rgb, rgb, 3, type)));
        EXPECT_FALSE(isQuick(MakeExportPlan(ExportColours::gray, gray, 4, type)));
    }
    EXPECT_FALSE(isQuick(MakeExportPlan(ExportColours::rgb, rgb, 4, PixelTypeRGB24)));
}

// Rows whose allowed bytes are an allocation of their own, so that a read outside is found under the sanitizers.
TEST(ExportRows, ReadNothingOutsideTheRow) {
    Random random(2);
    constexpr ExportColours kColours[] = {ExportColours::gray, ExportColours::rgb, ExportColours::cmyk};
    for (int round = 0; round < 2000; ++round) {
        const int which = random.Between(0, 2), type = kTypes[random.Between(0, 2)];
        const int pixelSize = random.Between(1, 5), width = random.Between(1, 40), x = random.Between(0, 9);
        const ChannelSet channels = RandomChannels(random, which == 0 ? 1 : which + 2, -2, 7);
        const Bytes allowed = Noise(random, random.Between(1, 220));
        const std::ptrdiff_t begin = random.Between(-20, 60);
        const std::ptrdiff_t end = begin + static_cast<std::ptrdiff_t>(allowed.size());
        // Column 0 may lie outside of the allocation: the address is a sum without the rules of pointers.
        const auto column0 = reinterpret_cast<std::uintptr_t>(allowed.data()) - static_cast<std::uintptr_t>(begin);
        const RowSpan row = {reinterpret_cast<std::uint8_t*>(column0), begin, end};
        const ExportPlan plan = MakeExportPlan(kColours[which], channels, pixelSize, type);
        Bytes expected = Noise(random, width * 4 + 8), actual = expected;
        for (int i = 0; i < width; ++i) {
            int sample[4] = {};
            for (int c = 0; c < channels.count; ++c) {
                const std::ptrdiff_t at = std::ptrdiff_t{x + i} * pixelSize + channels.offset[c];
                if (at >= begin && at < end) sample[c] = allowed[static_cast<std::size_t>(at - begin)];
            }
            int red = sample[0], green = which == 0 ? red : sample[1], blue = which == 0 ? red : sample[2];
            if (which == 2) {
                const int light = 255 - sample[3];
                red = light - sample[0] * light / 255;
                green = light - sample[1] * light / 255;
                blue = light - sample[2] * light / 255;
            }
            const Bytes pixel = ModelPixel(type, red, green, blue);
            std::copy(pixel.begin(), pixel.end(), expected.begin() + i * static_cast<std::ptrdiff_t>(pixel.size()));
        }
        ExportRow(plan, row, x, width, actual.data());
        ASSERT_TRUE(SameBytes(expected, actual)) << "round " << round;
    }
}

// The byte of the last pixel that is no colour may be missing: the quick loop, which reads whole words, steps aside.
TEST(ExportRows, ReadNoWordThatIsCutOff) {
    for (const int lead : {0, 1}) {
        const ChannelSet channels = {3, {lead, lead + 1, lead + 2}};  // the fourth byte lies behind or in front
        const ExportPlan plan = MakeExportPlan(ExportColours::rgb, channels, 4, PixelTypeNative32);
        ASSERT_NE(plan.quick, plan.plain);
        Random random(3);
        const Bytes allowed = Noise(random, 4 * 9 - 1);
        const auto column0 = reinterpret_cast<std::uintptr_t>(allowed.data()) - static_cast<std::uintptr_t>(lead);
        const RowSpan row = {reinterpret_cast<std::uint8_t*>(column0), lead, lead + 4 * 9 - 1};
        Bytes expected(4 * 9), actual(4 * 9);
        plan.plain(row.data, 4, channels.offset, 9, expected.data());
        ExportRow(plan, row, 0, 9, actual.data());
        EXPECT_EQ(actual, expected) << lead;
    }
}

TEST(ExportRows, WriteNothingForARowThatDoesNotExist) {
    const ExportPlan plan = MakeExportPlan(ExportColours::gray, {1, {0}}, 1, PixelTypeARGB32);
    Bytes bytes(16, 9);
    ExportRow(plan, RowSpan{}, 0, 4, bytes.data());
    const std::uint8_t sample = 1;
    ExportRow(plan, {const_cast<std::uint8_t*>(&sample), 0, 1}, 0, 0, bytes.data());
    ExportRow(plan, {const_cast<std::uint8_t*>(&sample), 0, 1}, 0, -3, bytes.data());
    EXPECT_EQ(bytes, Bytes(16, 9));
}

}  // namespace
