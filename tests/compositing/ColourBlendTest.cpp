// Combine with a fore colour or a mask colour and no mask image.

#include "compositing/ColourBlend.h"

#include "compositing/CombineModel.h"
#include "core/Formats.h"

using namespace zor;

namespace {

class ColourBlend : public EngineTest {
protected:
    Random random{23};
    TempDir directory;

    // One pixel of each: gray formats take the first number.
    static void Set(const TestImage& image, std::array<int, 3> rgb) {
        if (image->IsGray) {
            SetSample(image, "gray", 0, 0, rgb[0]);
            return;
        }
        SetSample(image, "red", 0, 0, rgb[0]);
        SetSample(image, "green", 0, 0, rgb[1]);
        SetSample(image, "blue", 0, 0, rgb[2]);
    }
    static std::array<int, 3> Get(const TestImage& image) {
        if (image->IsGray) return {SampleOf(image, "gray", 0, 0), 0, 0};
        return {SampleOf(image, "red", 0, 0), SampleOf(image, "green", 0, 0), SampleOf(image, "blue", 0, 0)};
    }
};

using Rgb = std::array<int, 3>;

struct Row {
    const char* name;
    int targetFormat, imageFormat;
    bool preMultiplied;
    Rgb target, image;
    int colour;
    Rgb expected;  // worked out by hand
};

constexpr int kRgb = ImageFormatRGB, kGray = ImageFormatG;

TEST_F(ColourBlend, PaintsTheForeColourThroughTheImage) {
    const Row rows[] = {
        // m = 128: (200 * 128 + 10 * 127) / 255 = 105, (100 * 128 + 20 * 127) / 255 = 60, (50 * 128 + 250 * 127) / 255
        {"RGB from gray", kRgb, kGray, false, {200, 100, 50}, {128, 0, 0}, 0x0A14FA, {105, 60, 149}},
        // m = (100 + 150 + 134) / 3 = 128
        {"RGB from RGB", kRgb, kRgb, false, {200, 100, 50}, {100, 150, 134}, 0x0A14FA, {105, 60, 149}},
        // 10 + 200 * 128 / 255 = 110, 20 + 50 = 70, 250 + 25 = 275 = 19
        {"RGB from gray, premultiplied", kRgb, kGray, true, {200, 100, 50}, {128, 0, 0}, 0x0A14FA, {110, 70, 19}},
        {"RGB from RGB, premultiplied", kRgb, kRgb, true, {200, 100, 50}, {100, 150, 134}, 0x0A14FA, {110, 70, 19}},
        // t = 105, (200 * 128 + 20 * 127) / 255 = 110, (200 * 128 + 250 * 127) / 255 = 224: (77 * 105 + 151 * 110 +
        // 28 * 224) >> 8 = (8085 + 16610 + 6272) >> 8 = 120
        {"gray from gray", kGray, kGray, false, {200, 0, 0}, {128, 0, 0}, 0x0A14FA, {120, 0, 0}},
        {"gray from RGB", kGray, kRgb, false, {200, 0, 0}, {100, 150, 134}, 0x0A14FA, {120, 0, 0}},
        // t = 100: (77 * 110 + 151 * 120 + 28 * 350) >> 8 = (8470 + 18120 + 9800) >> 8 = 142
        {"gray from gray, premultiplied", kGray, kGray, true, {200, 0, 0}, {128, 0, 0}, 0x0A14FA, {142, 0, 0}},
        {"gray from RGB, premultiplied", kGray, kRgb, true, {200, 0, 0}, {100, 150, 134}, 0x0A14FA, {142, 0, 0}},
        // the sum is 355 before it is cut: 100 + 255 in all three
        {"gray wraps at the end only", kGray, kGray, true, {100, 0, 0}, {255, 0, 0}, 0xFFFFFF, {99, 0, 0}},
        {"the mean of the mask truncates", kRgb, kRgb, false, {255, 255, 255}, {1, 1, 0}, 0x000000, {0, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TestImage target = MakePlain(1, 1, row.targetFormat), image = MakePlain(1, 1, row.imageFormat);
        Set(target, row.target);
        Set(image, row.image);
        CombineCall call{
            .target = &target, .image = &image, .preMultiplied = row.preMultiplied, .width = 1, .height = 1};
        call.foreColour = row.colour;
        EXPECT_TRUE(CombineAgreesWithModel(call));
        EXPECT_EQ(Get(target), row.expected);
    }
}

TEST_F(ColourBlend, LaysTheImageOnThroughTheMaskColour) {
    // Gray of 0x40C080 is (77 * 64 + 151 * 192 + 28 * 128) >> 8 = (4928 + 28992 + 3584) >> 8 = 146.
    // Gray of (10, 60, 250) is (770 + 9060 + 7000) >> 8 = 65.
    const Row rows[] = {
        // (109 * 30 + 146 * 200) / 255 = 127
        {"gray from gray", kGray, kGray, false, {200, 0, 0}, {30, 0, 0}, 0x40C080, {127, 0, 0}},
        // 30 + 146 * 200 / 255 = 144
        {"gray from gray, premultiplied", kGray, kGray, true, {200, 0, 0}, {30, 0, 0}, 0x40C080, {144, 0, 0}},
        // (109 * 65 + 146 * 200) / 255 = 142
        {"gray from RGB", kGray, kRgb, false, {200, 0, 0}, {10, 60, 250}, 0x40C080, {142, 0, 0}},
        {"gray from RGB, premultiplied", kGray, kRgb, true, {200, 0, 0}, {10, 60, 250}, 0x40C080, {179, 0, 0}},
        // (191 * 30 + 64 * 200) / 255 = 72, (63 * 30 + 192 * 100) / 255 = 82, (127 * 30 + 128 * 50) / 255 = 40
        {"RGB from gray", kRgb, kGray, false, {200, 100, 50}, {30, 0, 0}, 0x40C080, {72, 82, 40}},
        // 30 + 50, 30 + 75, 30 + 25
        {"RGB from gray, premultiplied", kRgb, kGray, true, {200, 100, 50}, {30, 0, 0}, 0x40C080, {80, 105, 55}},
        // (191 * 10 + 12800) / 255 = 57, (63 * 60 + 19200) / 255 = 90, (127 * 250 + 6400) / 255 = 149
        {"RGB from RGB", kRgb, kRgb, false, {200, 100, 50}, {10, 60, 250}, 0x40C080, {57, 90, 149}},
        {"RGB from RGB, premultiplied", kRgb, kRgb, true, {200, 100, 50}, {10, 60, 250}, 0x40C080, {60, 135, 19}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TestImage target = MakePlain(1, 1, row.targetFormat), image = MakePlain(1, 1, row.imageFormat);
        Set(target, row.target);
        Set(image, row.image);
        CombineCall call{
            .target = &target, .image = &image, .preMultiplied = row.preMultiplied, .width = 1, .height = 1};
        call.useColours = true;
        call.maskColour = row.colour;
        EXPECT_TRUE(CombineAgreesWithModel(call));
        EXPECT_EQ(Get(target), row.expected);
    }
}

TEST_F(ColourBlend, AForeColourThroughWhiteKeepsTheTargetAndThroughBlackIsGivenExactly) {
    for (const int imageFormat : {ImageFormatG, ImageFormatBGRX, ImageFormatRGBA}) {
        const TestImage target = MakePlain(5, 4, ImageFormatRGB), image = MakePlain(5, 4, imageFormat);
        FillWithNoise(target, random);
        const Storage before = SnapshotOf(target);
        CombineCall call{.target = &target, .image = &image, .width = 5, .height = 4};
        call.foreColour = 0x2064C8;
        for (const char* channel : {"gray", "red", "green", "blue"}) {
            if ((channel[1] == 'r' && channel[2] == 'a') == static_cast<bool>(image->IsGray)) {
                FillChannel(image, channel, 255);
            }
        }
        EXPECT_TRUE(CallCombine(call));
        EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
        SetStorage(image, Storage{std::vector<std::uint8_t>(SnapshotOf(image).bytes.size(), 0)});
        EXPECT_TRUE(CallCombine(call));
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) {
                EXPECT_EQ(SampleOf(target, "red", x, y), 0x20);
                EXPECT_EQ(SampleOf(target, "green", x, y), 0x64);
                EXPECT_EQ(SampleOf(target, "blue", x, y), 0xC8);
            }
        }
    }
}

TEST_F(ColourBlend, AGrayImageIsItselfTheMaskOfAForeColour) {
    const TestImage target = MakePlain(256, 1, ImageFormatRGB), image = MakePlain(256, 1, ImageFormatG);
    FillChannel(target, "red", 255);
    for (int x = 0; x < 256; ++x) SetSample(image, "gray", x, 0, x);
    CombineCall call{.target = &target, .image = &image, .width = 256, .height = 1};
    call.foreColour = 0x0000FF;
    EXPECT_TRUE(CallCombine(call));
    const Storage storage = SnapshotOf(target);
    for (int x = 0; x < 256; ++x) {
        EXPECT_EQ(storage.At(PlaceOf(target, x, 0) + target->RedOffset), x);
        EXPECT_EQ(storage.At(PlaceOf(target, x, 0) + target->BlueOffset), 255 - x);
    }
}

TEST_F(ColourBlend, AMaskColourOfBlackOrNoUseOfColoursCopiesTheImage) {
    for (const auto& [useColours, colour] : {std::pair{true, 0}, {false, 0}, {false, 0xFFFFFF}, {false, 0x12FE80}}) {
        const TestImage target = MakePlain(9, 5, ImageFormatABGR), image = MakePlain(9, 5, ImageFormatRGBX);
        FillWithNoise(target, random);
        FillWithNoise(image, random);
        const Storage before = SnapshotOf(target);
        CombineCall call{.target = &target, .image = &image, .width = 9, .height = 5};
        call.useColours = useColours;
        call.maskColour = colour;
        EXPECT_TRUE(CallCombine(call));
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 9; ++x) {
                for (const char* channel : {"red", "green", "blue"}) {
                    EXPECT_EQ(SampleOf(target, channel, x, y), SampleOf(image, channel, x, y));
                }
                EXPECT_EQ(SampleOf(target, "alpha", x, y), before.At(PlaceOf(target, x, y) + target->AlphaOffset));
            }
        }
    }
}

TEST_F(ColourBlend, AWhiteMaskColourKeepsTheTarget) {
    for (const int targetFormat : {ImageFormatRGB, ImageFormatBGRA, ImageFormatG, ImageFormatAG}) {
        for (const int imageFormat : {ImageFormatRGB, ImageFormatG}) {
            const TestImage target = MakePlain(9, 5, targetFormat), image = MakePlain(9, 5, imageFormat);
            FillWithNoise(target, random);
            FillWithNoise(image, random);
            const Storage before = SnapshotOf(target);
            CombineCall call{.target = &target, .image = &image, .width = 9, .height = 5};
            call.useColours = true;
            call.maskColour = 0xFFFFFF;
            EXPECT_TRUE(CallCombine(call));
            EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
        }
    }
}

TEST_F(ColourBlend, APremultipliedSumOf300IsStoredAs44) {
    const TestImage target = MakePlain(1, 1, ImageFormatRGB), image = MakePlain(1, 1, ImageFormatRGB);
    Set(target, {200, 200, 200});
    Set(image, {100, 100, 100});
    CombineCall call{.target = &target, .image = &image, .preMultiplied = true, .width = 1, .height = 1};
    call.useColours = true;
    call.maskColour = 0xFFFFFF;
    EXPECT_TRUE(CallCombine(call));
    EXPECT_EQ(Get(target), (Rgb{44, 44, 44}));
}

TEST_F(ColourBlend, NeitherReadsNorWritesAlpha) {
    for (const bool preMultiplied : {false, true}) {
        for (const bool paint : {false, true}) {
            for (const int format : {ImageFormatRGBA, ImageFormatGA}) {
                const TestImage target = MakePlain(6, 3, format), image = MakePlain(6, 3, ImageFormatRGBA);
                FillWithNoise(target, random);
                FillWithNoise(image, random);
                const TestImage same = MakePlain(6, 3, format);
                SetStorage(same, SnapshotOf(target));
                CombineCall call{
                    .target = &target, .image = &image, .preMultiplied = preMultiplied, .width = 6, .height = 3};
                call.useColours = true;
                (paint ? call.foreColour : call.maskColour) = 0x6080A0;
                EXPECT_TRUE(CombineAgreesWithModel(call));
                FillChannel(image, "alpha", 3);
                call.target = &same;
                EXPECT_TRUE(CallCombine(call));
                EXPECT_TRUE(SameStorage(SnapshotOf(target), SnapshotOf(same), same));
            }
        }
    }
}

TEST_F(ColourBlend, AgreesWithTheModelOnImagesOfEveryKind) {
    for (int round = 0; round < 1500; ++round) {
        // Some are wide: what works on several pixels at once must be exact at every width.
        const int most = round % 20 == 0 ? 1300 : 40;
        const TestImage target =
            RandomImage(random, directory, random.Between(1, most), random.Between(1, 12), random.Format());
        const TestImage image =
            RandomImage(random, directory, random.Between(1, most), random.Between(1, 12), random.Format());
        CombineCall call{.target = &target, .image = &image, .preMultiplied = random.Chance(50)};
        call.destX = random.Between(-5, target->Width);
        call.destY = random.Between(-3, target->Height);
        call.sourceX = random.Between(-3, image->Width);
        call.sourceY = random.Between(-2, image->Height);
        call.width = random.Between(1, most + 5);
        call.height = random.Between(1, 14);
        call.useColours = random.Chance(70);
        const int colour = static_cast<int>(random.Bits() & 0x7FFFFFFF);
        (random.Chance(50) ? call.foreColour : call.maskColour) = colour;
        ASSERT_TRUE(CombineAgreesWithModel(call)) << "round " << round;
    }
}

}  // namespace
