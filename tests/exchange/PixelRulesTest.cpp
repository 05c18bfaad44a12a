#include "exchange/PixelRules.h"

#include <gtest/gtest.h>

#include "core/Formats.h"
#include "support/Images.h"

using namespace zor;

namespace {

struct RuleCase {
    PixelRule rule;
    int source, target;  // formats whose families the rule connects
};

constexpr RuleCase kRuleCases[] = {
    {PixelRule::copy, ImageFormatAG, ImageFormatGA},         {PixelRule::copy, ImageFormatABGR, ImageFormatRGBA},
    {PixelRule::copy, ImageFormatKYMCA, ImageFormatACMYK},   {PixelRule::replicate, ImageFormatGA, ImageFormatBGRA},
    {PixelRule::replicate, ImageFormatAG, ImageFormatCMYKA}, {PixelRule::blackOnly, ImageFormatGA, ImageFormatAKYMC},
    {PixelRule::luma, ImageFormatBGRA, ImageFormatAG},
};

std::uint8_t Expected(const RuleCase& c, const std::vector<std::uint8_t>& in, int channel, int colours) {
    switch (c.rule) {
        case PixelRule::replicate:
            return in[0];
        case PixelRule::blackOnly:
            return channel == colours - 1 ? in[0] : 0;
        case PixelRule::luma:
            return static_cast<std::uint8_t>((77 * in[0] + 151 * in[1] + 28 * in[2]) >> 8);
        default:
            return in[static_cast<std::size_t>(channel)];
    }
}

// Spans that begin and end anywhere around the row, in the middle of a pixel too.
TEST(PixelRules, TouchOnlyWhatLiesInsideOnBothSides) {
    Random random(36);
    for (int round = 0; round < 3000; ++round) {
        const RuleCase c = kRuleCases[static_cast<std::size_t>(random.Between(0, 6))];
        ImageClassData source{}, target{};
        const int width = random.Between(1, 20);
        ASSERT_TRUE(InitImageClassData(&source, width, 1, c.source) && InitImageClassData(&target, width, 1, c.target));
        const bool withAlpha = random.Chance(50);
        const std::uint8_t mask = random.Chance(50) ? 255 : 0;
        const ChannelSet from = ChannelsOf(&source, false), to = ChannelsOf(&target, false);
        const PixelPlan plan = MakePlan(c.rule, &source, from, &target, to, withAlpha, mask);
        ASSERT_TRUE(plan.convert);

        constexpr int kSize = 300, kRow = 100;  // the row's first byte is byte 100 of the buffer
        Storage src{std::vector<std::uint8_t>(kSize)}, dst{std::vector<std::uint8_t>(kSize)};
        for (std::uint8_t& byte : src.bytes) byte = random.Byte();
        for (std::uint8_t& byte : dst.bytes) byte = random.Byte();
        Storage expected = dst;
        const auto span = [&](Storage& storage) {
            const int begin = random.Between(-kRow, 60);
            return RowSpan{storage.bytes.data() + kRow, begin, random.Between(begin, kSize - kRow)};
        };
        const RowSpan read = span(src), written = span(dst);
        const int srcX = random.Between(-10, 10), dstX = random.Between(-10, 10);
        const auto load = [&](int at) { return read.Contains(at) ? src.At(kRow + at) : std::uint8_t{0}; };
        const auto put = [&](int at, std::uint8_t value) {
            if (written.Contains(at)) expected.Put(kRow + at, value);
        };
        for (int x = 0; x < width; ++x) {
            const int in = (srcX + x) * source.PixelSize, out = (dstX + x) * target.PixelSize;
            std::vector<std::uint8_t> pixel;
            for (int k = 0; k < from.count; ++k) pixel.push_back(load(in + static_cast<int>(from.offset[k])));
            for (int k = 0; k < to.count; ++k) {
                put(out + static_cast<int>(to.offset[k]), Expected(c, pixel, k, to.count));
            }
            if (withAlpha) {
                const std::uint8_t alpha = load(in + source.AlphaOffset);
                put(out + target.AlphaOffset, mask ? static_cast<std::uint8_t>(~alpha) : alpha);
            }
        }
        ConvertPixels(plan, written, dstX, read, srcX, width);
        ASSERT_TRUE(SameBytes(expected.bytes, dst.bytes))
            << c.source << " to " << c.target << " width " << width << " from " << srcX << " to " << dstX;
    }
}

TEST(PixelRules, RefuseWhatHasNoConversion) {
    ImageClassData rgb{}, cmyk{}, plane{};
    ASSERT_TRUE(InitImageClassData(&rgb, 1, 1, ImageFormatRGB));
    ASSERT_TRUE(InitImageClassData(&cmyk, 1, 1, ImageFormatCMYK));
    ASSERT_TRUE(InitImageClassData(&plane, 1, 1, ImageFormatBuffer));
    const auto convert = [](PixelRule rule, const ImageClassData& s, const ImageClassData& t) {
        return MakePlan(rule, &s, ChannelsOf(&s, false), &t, ChannelsOf(&t, false), false, 0).convert;
    };
    EXPECT_FALSE(convert(PixelRule::refused, rgb, cmyk));
    EXPECT_FALSE(convert(PixelRule::copy, rgb, cmyk));
    EXPECT_FALSE(convert(PixelRule::copy, plane, rgb));
    EXPECT_TRUE(convert(PixelRule::copy, rgb, rgb));
}

}  // namespace
