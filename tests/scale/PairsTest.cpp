#include "scale/Pairs.h"

#include <gtest/gtest.h>

#include <string>

#include "ReferenceScale.h"

using namespace zor;

namespace {

ImageClassData RecordOf(int format) {
    ImageClassData record{};
    InitImageClassData(&record, 1, 1, format);
    return record;
}

struct DriverRow {
    int source, target;
    const char* pair;  // null: no such conversion
};

TEST(Pairs, AreChosenByTheFlagsOfBothImages) {
    const DriverRow rows[] = {
        {ImageFormatCMYK, ImageFormatCMYK, "CMYK_to_CMYK_Scale"},
        {ImageFormatCMYK, ImageFormatCMYKA, "CMYK_to_CMYK_Scale"},
        {ImageFormatCMYK, ImageFormatG, "CMYK_to_G_Scale"},
        {ImageFormatCMYK, ImageFormatGA, "CMYK_to_G_Scale"},
        {ImageFormatCMYKA, ImageFormatCMYK, "CMYK_to_CMYK_Scale"},
        {ImageFormatCMYKA, ImageFormatCMYKA, "CMYKA_to_CMYKA_Scale"},
        {ImageFormatCMYKA, ImageFormatG, "CMYK_to_G_Scale"},
        {ImageFormatCMYKA, ImageFormatGA, "CMYKA_to_GA_Scale"},
        {ImageFormatCMYK, ImageFormatRGB, nullptr},
        {ImageFormatCMYKA, ImageFormatRGBA, nullptr},
        {ImageFormatRGB, ImageFormatRGB, "RGB_to_RGB_Scale"},
        {ImageFormatRGB, ImageFormatRGBA, "RGB_to_RGB_Scale"},
        {ImageFormatRGB, ImageFormatG, "RGB_to_G_Scale"},
        {ImageFormatRGB, ImageFormatGA, "RGB_to_G_Scale"},
        {ImageFormatRGBA, ImageFormatRGB, "RGB_to_RGB_Scale"},
        {ImageFormatRGBA, ImageFormatG, "RGB_to_G_Scale"},
        {ImageFormatRGBA, ImageFormatRGBA, "RGBA_to_RGBA_Scale"},
        {ImageFormatRGBA, ImageFormatGA, "RGBA_to_GA_Scale"},
        {ImageFormatRGB, ImageFormatCMYK, nullptr},
        {ImageFormatRGBA, ImageFormatCMYKA, nullptr},
        {ImageFormatG, ImageFormatCMYK, "G_to_CMYK_Scale"},
        {ImageFormatG, ImageFormatCMYKA, "G_to_CMYK_Scale"},
        {ImageFormatG, ImageFormatRGB, "G_to_RGB_Scale"},
        {ImageFormatG, ImageFormatRGBA, "G_to_RGB_Scale"},
        {ImageFormatG, ImageFormatG, "G_to_G_Scale"},
        {ImageFormatG, ImageFormatGA, "G_to_G_Scale"},
        {ImageFormatGA, ImageFormatCMYK, "G_to_CMYK_Scale"},
        {ImageFormatGA, ImageFormatRGB, "G_to_RGB_Scale"},
        {ImageFormatGA, ImageFormatG, "G_to_G_Scale"},
        {ImageFormatGA, ImageFormatCMYKA, "GA_to_CMYKA_Scale"},
        {ImageFormatGA, ImageFormatRGBA, "GA_to_RGBA_Scale"},
        {ImageFormatGA, ImageFormatGA, "GA_to_GA_Scale"},
        {ImageFormatBuffer, ImageFormatRGB, nullptr},
        {ImageFormatScaling4, ImageFormatRGBA, nullptr},
        {ImageFormatRGB, ImageFormatBuffer, nullptr},
        {ImageFormatG, ImageFormatScaling1, nullptr},
        {ImageFormatCMYK, ImageFormatBuffer, nullptr},
        {ImageFormat2of4, ImageFormatGA, "G_to_G_Scale"},
    };
    for (const DriverRow& row : rows) {
        const ImageClassData source = RecordOf(row.source), target = RecordOf(row.target);
        const ScalePair* const pair = PairOf(&source, &target);
        EXPECT_STREQ(pair ? pair->name : nullptr, row.pair) << row.source << " to " << row.target;
    }
}

TEST(Pairs, OfAllFormatsAreThoseOfTheReference) {
    for (int source = 1; source <= 40; ++source) {
        for (int target = 1; target <= 40; ++target) {
            const ImageClassData from = RecordOf(source), to = RecordOf(target);
            const auto model = [](const ImageClassData& record) {
                ModelImage image{};
                image.family = record.IsCMYK ? 'c' : record.IsRGB ? 'r' : record.IsGray ? 'w' : '\0';
                image.alpha = record.HasAlpha;
                return image;
            };
            const reference::Pair* const expected = reference::PairFor(model(from), model(to));
            const ScalePair* const pair = PairOf(&from, &to);
            EXPECT_EQ(pair ? pair->name : "none", expected ? expected->name : "none") << source << " to " << target;
        }
    }
}

char LetterOf(ChannelId channel) {
    using enum ChannelId;
    return channel == red       ? 'r'
           : channel == green   ? 'g'
           : channel == blue    ? 'b'
           : channel == gray    ? 'w'
           : channel == alpha   ? 'a'
           : channel == cyan    ? 'c'
           : channel == magenta ? 'm'
           : channel == yellow  ? 'y'
                                : 'k';
}

struct PairRow {
    const char* name;
    int tempFormat, pitch;
    const char* group;   // by byte: channel letter, l for luma, 0 for nothing
    const char* writes;  // channel and byte of the group, in turn
};

TEST(Pairs, ReadAndWriteTheirChannels) {
    // The third ink is read through the offset of red.
    const PairRow rows[] = {
        {"G_to_G_Scale", 33, 1, "w", "w0"},
        {"G_to_RGB_Scale", 36, 4, "0w00", "r1g1b1"},
        {"G_to_CMYK_Scale", 36, 4, "cmrk", "c0m1y2k3"},
        {"RGB_to_G_Scale", 33, 1, "l", "w0"},
        {"RGB_to_RGB_Scale", 36, 4, "rgb0", "r0g1b2"},
        {"CMYK_to_G_Scale", 33, 1, "k", "w0"},
        {"CMYK_to_CMYK_Scale", 36, 4, "cmrk", "c0m1y2k3"},
        {"GA_to_GA_Scale", 34, 2, "w0", "w0"},
        {"GA_to_RGBA_Scale", 36, 4, "0w0a", "r1g1b1a3"},
        {"GA_to_CMYKA_Scale", 37, 5, "cmrka", "c0m1y2k3a4"},
        {"RGBA_to_GA_Scale", 34, 2, "la", "w0a1"},
        {"RGBA_to_RGBA_Scale", 36, 4, "rgba", "r0g1b2a3"},
        {"CMYKA_to_GA_Scale", 34, 2, "ka", "w0a1"},
        {"CMYKA_to_CMYKA_Scale", 37, 5, "cmrka", "c0m1y2k3a4"},
    };
    ASSERT_EQ(std::size(rows), static_cast<std::size_t>(kScalePairs));
    for (int i = 0; i < kScalePairs; ++i) {
        const ScalePair& pair = kScalePairTable[i];
        const PairRow& row = rows[i];
        SCOPED_TRACE(row.name);
        EXPECT_STREQ(pair.name, row.name);
        EXPECT_EQ(pair.tempFormat, row.tempFormat);
        EXPECT_EQ(pair.pitch, row.pitch);
        std::string group(static_cast<std::size_t>(pair.pitch), '0');
        for (int c = 0; c < pair.channels; ++c) {
            const int read = c + pair.read.count - pair.channels;
            group[static_cast<std::size_t>(pair.groupByte[c])] =
                pair.luma && c == 0 ? 'l' : LetterOf(pair.read.id[read]);
        }
        EXPECT_EQ(group, row.group);
        if (pair.luma) {
            EXPECT_EQ(LetterOf(pair.read.id[0]), 'r');
            EXPECT_EQ(LetterOf(pair.read.id[1]), 'g');
            EXPECT_EQ(LetterOf(pair.read.id[2]), 'b');
        }
        std::string writes;
        for (int w = 0; w < pair.written.count; ++w) {
            writes += LetterOf(pair.written.id[w]);
            writes += static_cast<char>('0' + pair.writtenFrom[w]);
        }
        EXPECT_EQ(writes, row.writes);
    }
}

}  // namespace
