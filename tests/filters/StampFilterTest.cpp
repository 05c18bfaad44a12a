#include "filters/StampFilter.h"

#include <cmath>
#include <limits>

#include "core/Formats.h"
#include "filters/BoxBlur.h"
#include "filters/Curves.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class StampFilterTest : public EngineTest {};

int StampOf(int byte, double threshold, double softness, int black, int white) {
    const double lo = (threshold - 0.5 * softness) * 255.0, hi = (threshold + 0.5 * softness) * 255.0;
    double f;
    if (lo > byte) {
        f = 0.0;
    } else if (byte >= hi) {
        f = 1.0;
    } else {
        const double t = (byte - lo) / (hi - lo);
        f = (3.0 - 2.0 * t) * t * t;
    }
    return std::isnan(f) ? 0 : static_cast<int>(f * (white - black) + black);
}

int Part(int colour, std::size_t channel) {
    return colour >> (16 - 8 * static_cast<int>(channel)) & 255;
}

FilterCase SecondStage(double threshold, double softness, int black, int white) {
    return {"stamp threshold " + std::to_string(threshold) + " softness " + std::to_string(softness),
            [=](REALobject s, REALobject d) { return StampFilter2(s, d, 3.0, threshold, softness, black, white); },
            [=](FilterModel& model) {
                if (!model.isGray() && !model.isRGB()) return;
                const std::size_t first = model.isGray() ? 1 : 0;  // gray goes by the green parts
                for (int y = 0; y < model.height; ++y) {
                    for (int x = 0; x < model.width; ++x) {
                        const std::vector<int> before = model.ReadPixel(x, y);
                        const std::size_t colours = model.isGray() ? 1 : 3;  // alpha is left alone
                        for (std::size_t c = 0; c < colours; ++c) {
                            model.Write(x, y, model.channels[c],
                                        StampOf(before[c], threshold, softness, Part(black, c + first),
                                                Part(white, c + first)));
                        }
                    }
                }
            }};
}

TEST_F(StampFilterTest, WithoutSoftnessEachByteTakesOneOfTheTwoColours) {
    const ByteTable table = StampTable(0.5, 0.0, 30, 200);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], i < 127.5 ? 30 : 200) << i;
    const ByteTable exact = StampTable(0.2, 0.0, 30, 200);  // the threshold is a byte: 51
    EXPECT_EQ(exact.entry[50], 30);
    EXPECT_EQ(exact.entry[51], 200) << "at the threshold it is white";
}

TEST_F(StampFilterTest, SoftnessMakesASmoothStep) {
    const ByteTable table = StampTable(0.5, 1.0, 0, 255);
    EXPECT_EQ(table.entry[0], 0);
    EXPECT_EQ(table.entry[255], 255);
    for (int i = 0; i < 255; ++i) EXPECT_LE(table.entry[i], table.entry[i + 1]);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], StampOf(i, 0.5, 1.0, 0, 255)) << i;
    EXPECT_LT(table.entry[64], 64);
    EXPECT_GT(table.entry[192], 192);
}

TEST_F(StampFilterTest, TheTopByteOfAColourIsIgnored) {
    const TestImage source = MakePlain(2, 1, ImageFormatRGB);
    FillPixels(source, {0, 255, 0});
    const TestImage result(
        StampFilter2(source.object(), nullptr, 0, 0.5, 0, static_cast<int>(0xff102030), static_cast<int>(0xff405060)));
    EXPECT_EQ(PixelAt(result, 0, 0), (std::vector<int>{0x10, 0x50, 0x30}));
}

TEST_F(StampFilterTest, GrayGoesByTheGreenParts) {
    const TestImage source = MakePlain(2, 1, ImageFormatG);
    source->GetRow(source.record(), 0)[1] = 255;
    const TestImage result(StampFilter2(source.object(), nullptr, 0, 0.5, 0, 0x102030, 0x405060));
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 0x20);
    EXPECT_EQ(PixelAt(result, 1, 0).front(), 0x50);
}

TEST_F(StampFilterTest, AlphaOfANewImageStaysZero) {
    for (const int format : {ImageFormatRGBA, ImageFormatGA}) {
        const TestImage source = MakePlain(4, 4, format);
        FillPixels(source, std::vector<int>(ChannelsOfFamily(source.record(), source.record()).size(), 255));
        const TestImage result(StampFilter(source.object(), nullptr, 3.0, 0.5, 0.1, 0x000000, 0xffffff));
        EXPECT_EQ(PixelAt(result, 1, 1).back(), 0);
        EXPECT_EQ(PixelAt(result, 1, 1).front(), 255);
    }
}

TEST_F(StampFilterTest, OddThresholdsAndSoftnessesFollowTheFormula) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    for (const double threshold : {-1.0, 0.0, 0.3, 1.0, 2.0, inf, -inf, nan}) {
        for (const double softness : {-0.5, 0.0, 0.01, 1.0, 5.0, inf, nan}) {
            const ByteTable table = StampTable(threshold, softness, 10, 240);
            for (int i = 0; i < 256; ++i) {
                EXPECT_EQ(table.entry[i], StampOf(i, threshold, softness, 10, 240)) << threshold << " " << softness;
            }
        }
    }
}

TEST_F(StampFilterTest, DestHoldsTheFirstStepOfTheBlurAndTheResultIsAnotherImage) {
    Random random(1);
    const TestImage source = MakePlain(20, 14, ImageFormatRGB), dest = MakePlain(20, 14, ImageFormatRGB);
    FillWithNoise(source, random);
    const TestImage once(BoxBlurFilter(source.object(), nullptr, 2.0, true, true));
    const TestImage thrice(BoxBlurFilter2(source.object(), nullptr, 2.0, 3, true, true));
    const TestImage expected(StampFilter2(thrice.object(), nullptr, 6.0, 0.5, 0.2, 0x201005, 0xfaf0e0));
    const TestImage result(StampFilter(source.object(), dest.object(), 6.0, 0.5, 0.2, 0x201005, 0xfaf0e0));
    ASSERT_TRUE(result);
    EXPECT_NE(result.object(), dest.object());
    EXPECT_NE(result.object(), source.object());
    EXPECT_EQ(host.Locks(dest.object()), 1);
    EXPECT_EQ(host.Locks(source.object()), 1);
    EXPECT_EQ(host.Locks(result.object()), 1);
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(PixelAt(dest, x, y), PixelAt(once, x, y));
            EXPECT_EQ(PixelAt(result, x, y), PixelAt(expected, x, y));
        }
    }
}

TEST_F(StampFilterTest, ANilBlurGivesNil) {
    const TestImage never(host.NewImage()), dest = MakePlain(4, 4, ImageFormatRGB);
    EXPECT_EQ(StampFilter(never.object(), dest.object(), 3.0, 0.5, 0.1, 0, 0xffffff), nullptr);
    EXPECT_EQ(host.Locks(dest.object()), 1);
}

TEST_F(StampFilterTest, NothingIsLeftWhereAnImageCannotBeMade) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGB);
    for (const int failing : {1, 2, 3, 4}) {  // three images of the blur, then the result
        host.failNewInstance = failing;
        EXPECT_EQ(StampFilter(source.object(), nullptr, 3.0, 0.5, 0.1, 0, 0xffffff), nullptr) << failing;
        host.failNewInstance = 0;
        EXPECT_EQ(host.LiveObjects(), 1u) << failing;
    }
}

TEST_F(StampFilterTest, CMYKGivesANewImageWithNothingInIt) {
    Random random(2);
    const TestImage source = MakePlain(6, 6, ImageFormatCMYK);
    FillWithNoise(source, random);
    const TestImage result(StampFilter(source.object(), nullptr, 3.0, 0.5, 0.1, 0x111111, 0xffffff));
    ASSERT_TRUE(result);
    EXPECT_EQ(SnapshotOf(result).bytes, std::vector<std::uint8_t>(SnapshotOf(result).bytes.size()));
}

TEST_F(StampFilterTest, SecondStageServesGrayAndRGB) {
    Random random(3);
    const TempDir directory;
    for (const int format : AllFormats()) {
        CheckFilter(SecondStage(0.4, 0.3, 0x102030, 0xf0e0d0), RandomPair(random, directory, Relation::made, format));
        CheckFilter(SecondStage(0.4, 0.3, 0x102030, 0xf0e0d0), RandomPair(random, directory, Relation::apart, format));
    }
}

TEST_F(StampFilterTest, SecondStageAgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(14, 300, [](Random& random) {
        return SecondStage(random.Between(0, 100) / 100.0, random.Between(0, 60) / 100.0, random.Between(0, 0xffffff),
                           random.Between(0, 0xffffff));
    });
}

}  // namespace
