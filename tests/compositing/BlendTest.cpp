// The masked blend: two kernels of 64 cases each.

#include "compositing/Blend.h"

#include "compositing/CombineModel.h"
#include "core/Formats.h"
#include "kernels/Mixing.h"

using namespace zor;

namespace {

// --- arithmetic -----------------------------------------------------------------------------------------------------

TEST(Mixing, DividesEverySumOfABlendAsTruncatingDivisionDoes) {
    for (unsigned sum = 0; sum <= 65025; ++sum) ASSERT_EQ(DivideBy255(sum), sum / 255) << sum;
    EXPECT_EQ(DivideBy255(255 * 255 - 1), 254u);
}

TEST(Mixing, NeverLeavesAByteAndTruncates) {
    for (unsigned mask = 0; mask < 256; ++mask) {
        for (unsigned above = 0; above < 256; ++above) {
            for (unsigned below = 0; below < 256; ++below) {
                const unsigned expected = (above * (255 - mask) + mask * below) / 255;
                if (expected > 255 || Mix(above, mask, below) != expected) {
                    FAIL() << above << " by " << mask << " over " << below;
                }
            }
        }
    }
}

// --- the 64 cases ---------------------------------------------------------------------------------------------------

struct ClassOfPixel {
    const char* name;
    std::vector<int> formats;
};
const ClassOfPixel kClasses[] = {
    {"G", {11, 15, 16, 17, 18, 19, 20, 21}},
    {"GA", {12, 13}},
    {"RGB", {1, 3, 5, 6, 8, 10}},
    {"RGBA", {2, 4, 7, 9}},
};

struct Case {
    int target, source, mask;
    bool preMultiplied;
};

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const bool preMultiplied : {false, true}) {
        for (int target = 0; target < 4; ++target) {
            for (int source = 0; source < 4; ++source) {
                for (int mask = 0; mask < 4; ++mask) cases.push_back({target, source, mask, preMultiplied});
            }
        }
    }
    return cases;
}

std::string NameOf(const ::testing::TestParamInfo<Case>& info) {
    const Case& c = info.param;
    return std::string(kClasses[c.source].name) + "_on_" + kClasses[c.target].name + "_by_" + kClasses[c.mask].name +
           (c.preMultiplied ? "_premultiplied" : "_plain");
}

class BlendCases : public EngineTest, public ::testing::WithParamInterface<Case> {};

TEST_P(BlendCases, AgreesWithTheModel) {
    const Case& c = GetParam();
    Random random(static_cast<std::uint32_t>(c.target * 16 + c.source * 4 + c.mask));
    TempDir directory;
    for (int round = 0; round < 40; ++round) {
        // Wide ones too: what works on several pixels at once must be exact at every width.
        const int width = round < 4 ? random.Between(500, 1100) : random.Between(1, 70);
        const int height = round < 4 ? 2 : random.Between(1, 9);
        const auto image = [&](int pixelClass, int wider) {
            const int format = random.Pick(kClasses[pixelClass].formats);
            return RandomImage(random, directory, width + wider, height, format);
        };
        const TestImage target = image(c.target, random.Between(0, 5));
        const TestImage source = image(c.source, 0), mask = image(c.mask, 0);
        CombineCall call{.target = &target, .image = &source, .mask = &mask, .preMultiplied = c.preMultiplied};
        call.destX = random.Between(0, 3);
        call.sourceX = random.Between(0, 2);
        call.width = width;
        call.height = height;
        ASSERT_TRUE(CombineAgreesWithModel(call)) << "round " << round;
    }
}

// Every mask value, and the values at which a sum is just reached or just missed, for the samples and alphas.
TEST_P(BlendCases, AgreesWithTheModelAtTheEndsOfTheScale) {
    const Case& c = GetParam();
    const int width = 256;
    const TestImage target = MakePlain(width, 8, kClasses[c.target].formats[0]);
    const TestImage source = MakePlain(width, 8, kClasses[c.source].formats[0]);
    const TestImage mask = MakePlain(width, 8, kClasses[c.mask].formats[0]);
    constexpr std::uint8_t kEnds[] = {0, 255, 1, 254, 128, 127, 255, 0};
    for (const TestImage* image : {&target, &source, &mask}) {
        Storage storage = SnapshotOf(*image);
        for (int y = 0; y < 8; ++y) {
            for (int i = 0; i < width * (*image)->PixelSize; ++i) {
                const int x = i / (*image)->PixelSize;
                const bool isAlpha = (*image)->HasAlpha && i % (*image)->PixelSize == (*image)->AlphaOffset;
                const int turn = image == &target ? y : y / 2 + 3 * isAlpha;
                storage.Put(PlaceOfRow(*image, y) + i,
                            image == &mask && !isAlpha ? static_cast<std::uint8_t>(x) : kEnds[turn % 8]);
            }
        }
        SetStorage(*image, storage);
    }
    const CombineCall call{.target = &target,
                           .image = &source,
                           .mask = &mask,
                           .preMultiplied = c.preMultiplied,
                           .width = width,
                           .height = 8};
    EXPECT_TRUE(CombineAgreesWithModel(call));
}

INSTANTIATE_TEST_SUITE_P(Combine, BlendCases, ::testing::ValuesIn(AllCases()), NameOf);

// --- single pixels, worked out by hand
// --------------------------------------------------------------------------------

class Blend : public EngineTest {
protected:
    Random random{5};
    TempDir directory;

    using Samples = std::vector<std::pair<const char*, int>>;
    static TestImage Pixel(int format, const Samples& samples) {
        TestImage image = MakePlain(1, 1, format);
        for (const auto& [channel, value] : samples) SetSample(image, channel, 0, 0, value);
        return image;
    }

    struct Row {
        const char* name;
        bool preMultiplied;
        int targetFormat;
        Samples target;
        int sourceFormat;
        Samples source;
        int maskFormat;
        Samples mask;
        Samples expected;
    };
    static void Check(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            const TestImage target = Pixel(row.targetFormat, row.target);
            const TestImage source = Pixel(row.sourceFormat, row.source);
            const TestImage mask = Pixel(row.maskFormat, row.mask);
            const CombineCall call{.target = &target,
                                   .image = &source,
                                   .mask = &mask,
                                   .preMultiplied = row.preMultiplied,
                                   .width = 1,
                                   .height = 1};
            EXPECT_TRUE(CombineAgreesWithModel(call));
            for (const auto& [channel, value] : row.expected) {
                EXPECT_EQ(SampleOf(target, channel, 0, 0), value) << channel;
            }
        }
    }
};

constexpr int kG8 = ImageFormatG, kGA8 = ImageFormatGA, kRGB8 = ImageFormatRGB, kRGBA8 = ImageFormatRGBA;

TEST_F(Blend, FindsSourceAndMaskValuesByTheFamiliesOfBoth) {
    // Gray of (10, 100, 250) is (770 + 15100 + 7000) >> 8 = 89.
    Check({
        {"RGB target, gray source: gray for all three",
         false,
         kRGB8,
         {{"red", 9}},
         kG8,
         {{"gray", 90}},
         kG8,
         {{"gray", 0}},
         {{"red", 90}, {"green", 90}, {"blue", 90}}},
        {"RGB target, RGB source: red for red",
         false,
         kRGB8,
         {{"red", 9}},
         ImageFormatBGR,
         {{"red", 10}, {"green", 100}, {"blue", 250}},
         kG8,
         {{"gray", 0}},
         {{"red", 10}, {"green", 100}, {"blue", 250}}},
        {"gray target, gray source: its gray",
         false,
         kG8,
         {{"gray", 9}},
         kG8,
         {{"gray", 90}},
         kG8,
         {{"gray", 0}},
         {{"gray", 90}}},
        {"gray target, RGB source: the gray of it",
         false,
         kG8,
         {{"gray", 9}},
         kRGB8,
         {{"red", 10}, {"green", 100}, {"blue", 250}},
         kG8,
         {{"gray", 0}},
         {{"gray", 89}}},
        {"RGB target, gray mask: one amount",
         false,
         kRGB8,
         {{"red", 100}, {"green", 100}, {"blue", 100}},
         kG8,
         {{"gray", 200}},
         kG8,
         {{"gray", 128}},
         {{"red", 149}, {"green", 149}, {"blue", 149}}},
        {"RGB target, RGB mask: an amount for each channel",
         false,
         kRGB8,
         {{"red", 100}, {"green", 100}, {"blue", 100}},
         kG8,
         {{"gray", 200}},
         kRGB8,
         {{"red", 0}, {"green", 128}, {"blue", 255}},
         {{"red", 200}, {"green", 149}, {"blue", 100}}},
        {"gray target, gray mask: its gray",
         false,
         kG8,
         {{"gray", 100}},
         kG8,
         {{"gray", 200}},
         kG8,
         {{"gray", 128}},
         {{"gray", 149}}},
        // (200 * 166 + 89 * 100) / 255 = 165
        {"gray target, RGB mask: the gray of it",
         false,
         kG8,
         {{"gray", 100}},
         kG8,
         {{"gray", 200}},
         kRGB8,
         {{"red", 10}, {"green", 100}, {"blue", 250}},
         {{"gray", 165}}},
    });
}

TEST_F(Blend, MixesAlphaByTheAlphaOfTheMask) {
    Check({
        {"mask without alpha keeps it",
         false,
         kRGBA8,
         {{"alpha", 77}},
         kRGBA8,
         {{"alpha", 200}},
         kG8,
         {{"gray", 0}},
         {{"alpha", 77}}},
        {"source without alpha is opaque",
         false,
         kRGBA8,
         {{"alpha", 77}},
         kRGB8,
         {{"red", 1}},
         kGA8,
         {{"gray", 255}, {"alpha", 0}},
         {{"alpha", 255}}},
        // (200 * 155 + 100 * 77) / 255 = 151
        {"both with alpha",
         false,
         kGA8,
         {{"gray", 1}, {"alpha", 77}},
         kGA8,
         {{"gray", 9}, {"alpha", 200}},
         kRGBA8,
         {{"red", 255}, {"green", 255}, {"blue", 255}, {"alpha", 100}},
         {{"gray", 1}, {"alpha", 151}}},
    });
}

// The rows of the premultiplied kernel, by target.
TEST_F(Blend, AddsPremultipliedSourcesByTheClassOfTheTarget) {
    Check({
        // 100 + 128 * 200 / 255
        {"G: by its gray", true, kG8, {{"gray", 200}}, kG8, {{"gray", 100}}, kG8, {{"gray", 128}}, {{"gray", 200}}},
        // gray 100 + 100; alpha 50 + 40 * 90 / 255 = 64
        {"GA: gray by its gray, alpha by its alpha",
         true,
         kGA8,
         {{"gray", 200}, {"alpha", 90}},
         kGA8,
         {{"gray", 100}, {"alpha", 50}},
         kGA8,
         {{"gray", 128}, {"alpha", 40}},
         {{"gray", 200}, {"alpha", 64}}},
        {"RGB: the sum with the mask, the old colour does not count",
         true,
         kRGB8,
         {{"red", 3}, {"green", 200}, {"blue", 255}},
         kG8,
         {{"gray", 100}},
         kG8,
         {{"gray", 50}},
         {{"red", 150}, {"green", 150}, {"blue", 150}}},
        // 10 + 255 * 128 / 255, alpha 60 + 100 * 128 / 255 = 110
        {"RGBA: by the alpha before the blend",
         true,
         kRGBA8,
         {{"red", 250}, {"green", 0}, {"alpha", 128}},
         kRGBA8,
         {{"red", 10}, {"green", 20}, {"blue", 30}, {"alpha", 60}},
         kRGBA8,
         {{"red", 255}, {"green", 128}, {"blue", 0}, {"alpha", 100}},
         {{"red", 138}, {"green", 84}, {"blue", 30}, {"alpha", 110}}},
        {"RGB wraps at 256",
         true,
         kRGB8,
         {{"red", 77}},
         kG8,
         {{"gray", 100}},
         kG8,
         {{"gray", 200}},
         {{"red", 44}, {"green", 44}, {"blue", 44}}},
        {"G wraps at 256", true, kG8, {{"gray", 255}}, kG8, {{"gray", 200}}, kG8, {{"gray", 100}}, {{"gray", 44}}},
        {"GA wraps at 256",
         true,
         kGA8,
         {{"gray", 255}, {"alpha", 255}},
         kGA8,
         {{"gray", 200}, {"alpha", 255}},
         kGA8,
         {{"gray", 100}, {"alpha", 255}},
         {{"gray", 44}, {"alpha", 254}}},
        {"RGBA wraps at 256",
         true,
         kRGBA8,
         {{"red", 9}, {"alpha", 255}},
         kG8,
         {{"gray", 200}},
         kG8,
         {{"gray", 100}},
         {{"red", 44}, {"alpha", 254}}},
    });
}

TEST_F(Blend, AMaskOfBlackGivesTheSourceAndOneOfWhiteKeepsTheTarget) {
    const TestImage target = MakePlain(33, 7, kRGB8), source = MakePlain(33, 7, kRGB8), mask = MakePlain(33, 7, kG8);
    FillWithNoise(target, random);
    FillWithNoise(source, random);
    const Storage before = SnapshotOf(target);
    FillChannel(mask, "gray", 255);
    const CombineCall call{.target = &target, .image = &source, .mask = &mask, .width = 33, .height = 7};
    EXPECT_TRUE(CallCombine(call));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
    FillChannel(mask, "gray", 0);
    EXPECT_TRUE(CallCombine(call));
    const Storage after = SnapshotOf(target), from = SnapshotOf(source);
    for (int y = 0; y < 7; ++y) {
        for (int i = 0; i < 33 * 3; ++i) {
            ASSERT_EQ(after.At(PlaceOfRow(target, y) + i), from.At(PlaceOfRow(source, y) + i)) << i << "," << y;
        }
    }
}

TEST_F(Blend, AMaskOf128Between200And100Gives149) {
    Check({{"plain", false, kG8, {{"gray", 100}}, kG8, {{"gray", 200}}, kG8, {{"gray", 128}}, {{"gray", 149}}}});
}

TEST_F(Blend, AlphaStaysUnderAGrayMaskWithoutAlphaWhateverTheSource) {
    for (const int format : {kRGBA8, kRGB8, kG8, kGA8}) {
        const TestImage target = MakePlain(20, 3, kRGBA8), source = MakePlain(20, 3, format);
        const TestImage mask = MakePlain(20, 3, kG8);
        for (const TestImage* image : {&target, &source, &mask}) FillWithNoise(*image, random);
        const Storage before = SnapshotOf(target);
        EXPECT_TRUE(CallCombine({.target = &target, .image = &source, .mask = &mask, .width = 20, .height = 3}));
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 20; ++x) {
                EXPECT_EQ(SampleOf(target, "alpha", x, y), before.At(PlaceOf(target, x, y) + target->AlphaOffset));
            }
        }
    }
}

TEST_F(Blend, AMaskAlphaOf0UnderASourceWithoutAlphaRaisesAlphaTo255) {
    Check({{"RGBA, RGB, GA",
            false,
            kRGBA8,
            {{"alpha", 12}},
            kRGB8,
            {{"red", 1}},
            kGA8,
            {{"gray", 7}, {"alpha", 0}},
            {{"alpha", 255}}}});
}

TEST_F(Blend, APremultipliedGrayOf100OverHalfOf200Gives200) {
    Check({{"gray", true, kG8, {{"gray", 200}}, kG8, {{"gray", 100}}, kG8, {{"gray", 128}}, {{"gray", 200}}}});
}

TEST_F(Blend, APremultipliedSumOf300OnRGBIs44WhateverTheOldColour) {
    for (const int old : {0, 1, 128, 255}) {
        Check({{"RGB",
                true,
                kRGB8,
                {{"red", old}, {"green", old}, {"blue", old}},
                kRGB8,
                {{"red", 100}, {"green", 100}, {"blue", 100}},
                kRGB8,
                {{"red", 200}, {"green", 200}, {"blue", 200}},
                {{"red", 44}, {"green", 44}, {"blue", 44}}}});
    }
}

TEST_F(Blend, APremultipliedPixelOnRGBAUsesTheOldAlphaAndNotTheOldColour) {
    for (const int old : {0, 10, 200, 255}) {
        Check({{"RGBA",
                true,
                kRGBA8,
                {{"red", old}, {"green", old}, {"blue", old}, {"alpha", 128}},
                kG8,
                {{"gray", 10}},
                kG8,
                {{"gray", 255}},
                {{"red", 138}, {"green", 138}, {"blue", 138}}}});
    }
}

TEST_F(Blend, APremultipliedSourceAndMaskWithoutAlphaTakeOneFromTheTargetsAlpha) {
    for (const auto& [before, after] : {std::pair{128, 127}, {255, 254}, {1, 0}, {0, 255}}) {
        Check({{"GA",
                true,
                kGA8,
                {{"gray", 0}, {"alpha", before}},
                kG8,
                {{"gray", 5}},
                kG8,
                {{"gray", 5}},
                {{"alpha", after}}}});
    }
}

TEST_F(Blend, AColourMaskOnAGrayTargetBlendsByItsGray) {
    // Gray of (200, 50, 100) is (15400 + 7550 + 2800) >> 8 = 100; (200 * 155 + 100 * 40) / 255 = 137
    Check({{"gray",
            false,
            kG8,
            {{"gray", 40}},
            kG8,
            {{"gray", 200}},
            kRGB8,
            {{"red", 200}, {"green", 50}, {"blue", 100}},
            {{"gray", 137}}}});
}

TEST_F(Blend, ACmykTargetSourceOrMaskLeavesTheTargetAndGivesTrue) {
    for (const bool preMultiplied : {false, true}) {
        for (int which = 0; which < 3; ++which) {
            const TestImage images[] = {MakePlain(5, 5, which == 0 ? ImageFormatCMYK : kRGBA8),
                                        MakePlain(5, 5, which == 1 ? ImageFormatCMYKA : kRGB8),
                                        MakePlain(5, 5, which == 2 ? ImageFormatKYMC : kG8)};
            for (const TestImage& image : images) FillWithNoise(image, random);
            const Storage before = SnapshotOf(images[0]);
            EXPECT_TRUE(CallCombine({.target = &images[0],
                                     .image = &images[1],
                                     .mask = &images[2],
                                     .preMultiplied = preMultiplied,
                                     .width = 5,
                                     .height = 5}));
            EXPECT_TRUE(SameStorage(before, SnapshotOf(images[0]), images[0]));
        }
    }
}

// --- images of every kind -------------------------------------------------------------------------------------------

TestImage MaybeOneOfItsViews(TestImage image, Random& random) {
    const int kind = random.Between(0, 5);
    if (kind == 0 && image->ChannelCount > 0) {
        const int index = random.Between(0, image->ChannelCount - 1);
        return ChannelOf(std::move(image), index);
    }
    if (kind == 1 && (image->IsRGB || image->IsCMYK)) return ColoursOf(std::move(image));
    return image;
}

TEST_F(Blend, AgreesWithTheModelOnImagesOfEveryKind) {
    for (int round = 0; round < 1500; ++round) {
        const auto image = [&](int width, int height) {
            return MaybeOneOfItsViews(RandomImage(random, directory, width, height, random.Format()), random);
        };
        const int width = random.Between(1, 40), height = random.Between(1, 12);
        const TestImage target = image(random.Between(1, 40), random.Between(1, 12));
        const TestImage source = image(width, height), mask = image(width, height);
        CombineCall call{.target = &target, .image = &source, .mask = &mask, .preMultiplied = random.Chance(50)};
        call.destX = random.Between(-5, target->Width);
        call.destY = random.Between(-3, target->Height);
        call.sourceX = random.Between(-3, width);
        call.sourceY = random.Between(-2, height);
        call.width = random.Between(1, 45);
        call.height = random.Between(1, 14);
        ASSERT_TRUE(CombineAgreesWithModel(call)) << "round " << round;
    }
}

// Rows of a block may be shorter than the pixels they are said to hold: they then run into the next, and the last ones
// out of the block.
TEST_F(Blend, ReadsZeroAndWritesNothingOutsideOfABlock) {
    for (int round = 0; round < 1500; ++round) {
        const auto image = [&](int width, int height) {
            TestImage made = MakeOnBlock(width, height, random.Pick(kClasses[random.Between(0, 3)].formats),
                                         random.Between(1, 3 * width));
            FillWithNoise(made, random);
            if (random.Chance(30)) made = MirroredOf(std::move(made));
            if (random.Chance(30)) made->RowOffset = random.Between(-2, 2);  // rows before the block as well
            return made;
        };
        const int width = random.Between(1, 30), height = random.Between(1, 6);
        const TestImage target = image(random.Between(1, 30), random.Between(1, 6));
        const TestImage source = image(width, height), mask = image(width, height);
        CombineCall call{.target = &target, .image = &source, .mask = &mask, .preMultiplied = random.Chance(50)};
        call.destX = random.Between(0, 6);
        call.destY = random.Between(0, 2);
        call.width = width;
        call.height = height;
        if (random.Chance(30)) {
            call.mask = nullptr;
            call.useColours = true;
            (random.Chance(50) ? call.maskColour : call.foreColour) = static_cast<int>(random.Bits() & 0xFFFFFF);
        }
        ASSERT_TRUE(CombineAgreesWithModel(call)) << "round " << round;
    }
}

// What can be said of an image is more than it can hold: nothing then takes time for what is not there.
TEST_F(Blend, IsDoneAtOnceWithRowsFarWiderThanTheirBlock) {
    const TestImage target = MakeOnBlock(2000000000, 3, kG8, 16), source = MakeOnBlock(2000000000, 3, kG8, 16);
    const TestImage mask = MakeOnBlock(2000000000, 3, kG8, 16);
    for (const TestImage* image : {&target, &source, &mask}) FillWithNoise(*image, random);
    const Storage d = SnapshotOf(target), s = SnapshotOf(source), m = SnapshotOf(mask);
    EXPECT_TRUE(CallCombine({.target = &target, .image = &source, .mask = &mask, .width = 2000000000, .height = 1}));
    for (int i = 0; i < 48; ++i) {
        EXPECT_EQ(SnapshotOf(target).At(i), (s.At(i) * (255 - m.At(i)) + m.At(i) * d.At(i)) / 255);
    }
}

}  // namespace
