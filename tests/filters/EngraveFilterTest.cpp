#include "filters/EngraveFilter.h"

#include <algorithm>

#include "core/Formats.h"
#include "filters/EngraveImage.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class EngraveFilterTest : public EngineTest {};

FilterCase CaseOf(int level) {
    return {
        "engrave level " + std::to_string(level),
        [=](REALobject s, REALobject d) { return EngraveFilter(s, d, level); },
        [=](FilterModel& model) {
            if (!model.isGray() && !model.isRGB()) return;
            for (int y = 0; y < model.height; ++y) {
                for (int x = 0; x < model.width; ++x) {
                    const long long nx = std::clamp<long long>(static_cast<long long>(x) + level, 0, model.width - 1);
                    const long long ny = std::clamp<long long>(static_cast<long long>(y) + level, 0, model.height - 1);
                    std::vector<int> values = model.ReadPixel(x, y);
                    const std::vector<int> other = model.ReadPixel(static_cast<int>(nx), static_cast<int>(ny));
                    for (std::size_t c = 0; c < values.size(); ++c) {
                        values[c] = std::min(255, std::max(0, values[c] - other[c] + 128));
                    }
                    model.WritePixel(x, y, values);
                }
            }
        }};
}

TEST_F(EngraveFilterTest, UniformImagesTurnToMiddleGrayAlphaIncluded) {
    for (const int level : {-3, 0, 1, 50, INT32_MAX, INT32_MIN}) {
        const TestImage source = MakePlain(6, 4, ImageFormatRGBA);
        FillPixels(source, {10, 250, 0, 255});
        const TestImage result(EngraveFilter(source.object(), nullptr, level));
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 6; ++x) EXPECT_EQ(PixelAt(result, x, y), (std::vector<int>{128, 128, 128, 128}));
        }
    }
}

TEST_F(EngraveFilterTest, TheLastColumnLooksAtTheLastColumnOfTheNextRow) {
    const TestImage source = MakePlain(2, 2, ImageFormatG);
    std::uint8_t* const rows[] = {source->GetRow(source.record(), 0), source->GetRow(source.record(), 1)};
    rows[0][0] = 100;
    rows[0][1] = 50;
    rows[1][0] = 7;
    rows[1][1] = 60;
    const TestImage result(EngraveFilter(source.object(), nullptr, 1));
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 100 - 60 + 128);
    EXPECT_EQ(PixelAt(result, 1, 0).front(), 50 - 60 + 128);
    EXPECT_EQ(PixelAt(result, 0, 1).front(), 7 - 60 + 128);
    EXPECT_EQ(PixelAt(result, 1, 1).front(), 128) << "compared with itself";
}

TEST_F(EngraveFilterTest, NegativeLevelsLookUpAndToTheLeft) {
    const TestImage source = MakePlain(2, 2, ImageFormatG);
    std::uint8_t* const rows[] = {source->GetRow(source.record(), 0), source->GetRow(source.record(), 1)};
    rows[0][0] = 100;
    rows[1][1] = 60;
    const TestImage result(EngraveFilter(source.object(), nullptr, -1));
    EXPECT_EQ(PixelAt(result, 1, 1).front(), 60 - 100 + 128);
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 128);
}

TEST_F(EngraveFilterTest, ClampsToTheByteRange) {
    const TestImage source = MakePlain(3, 3, ImageFormatG);
    source->GetRow(source.record(), 0)[0] = 255;
    source->GetRow(source.record(), 2)[2] = 255;
    const TestImage result(EngraveFilter(source.object(), nullptr, 1));
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 255);
    EXPECT_EQ(PixelAt(result, 1, 1).front(), 0);
}

TEST_F(EngraveFilterTest, WholeRowsAgreeWithSinglePixels) {
    Random random(1);
    for (int width = 1; width <= 70; ++width) {
        for (const int format : {ImageFormatRGB, ImageFormatBGR, ImageFormatXRGB, ImageFormatGA}) {
            const int level = random.Between(-width - 1, width + 1);
            const TestImage source = MakePlain(width, 5, format);
            FillWithNoise(source, random);
            const TestImage whole = MakePlain(width, 5, format), single = MakePlain(width, 5, format);
            EngraveImage(SidesOf(source.record(), whole.record()), level);
            EngraveImage_Plain(SidesOf(source.record(), single.record()), level);
            EXPECT_TRUE(SameStorage(SnapshotOf(single), SnapshotOf(whole), whole)) << width << " level " << level;
        }
    }
}

TEST_F(EngraveFilterTest, ServesGrayAndRGB) {
    Random random(2);
    const TempDir directory;
    for (const int format : AllFormats()) {
        CheckFilter(CaseOf(1), RandomPair(random, directory, Relation::made, format));
        CheckFilter(CaseOf(-2), RandomPair(random, directory, Relation::apart, format));
    }
}

TEST_F(EngraveFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(12, 500, [](Random& random) {
        return CaseOf(random.Chance(10) ? random.Between(INT32_MIN, INT32_MAX) : random.Between(-9, 9));
    });
}

}  // namespace
