#include "filters/SolarizeFilter.h"

#include <cstdlib>

#include "core/Formats.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class SolarizeFilterTest : public EngineTest {};

FilterCase Case() {
    return {"solarize", [](REALobject s, REALobject d) { return SolarizeFilter(s, d); },
            [](FilterModel& model) {
                model.MapPixels([](std::size_t, int byte, int, int) { return SolarizeTable.entry[byte]; });
            }};
}

TEST_F(SolarizeFilterTest, MiddleIsBlackAndBothEndsAreWhite) {
    EXPECT_EQ(SolarizeTable.entry[0], 255);
    EXPECT_EQ(SolarizeTable.entry[127], 0);
    EXPECT_EQ(SolarizeTable.entry[128], 0);
    EXPECT_EQ(SolarizeTable.entry[255], 255);
}

TEST_F(SolarizeFilterTest, FallsAndRisesInSmallSteps) {
    for (int i = 0; i < 127; ++i) {
        const int step = SolarizeTable.entry[i] - SolarizeTable.entry[i + 1];
        EXPECT_GE(step, 1) << i;
        EXPECT_LE(step, 3) << i;
    }
    for (int i = 128; i < 255; ++i) {
        const int step = SolarizeTable.entry[i + 1] - SolarizeTable.entry[i];
        EXPECT_GE(step, 1) << i;
        EXPECT_LE(step, 3) << i;
    }
}

TEST_F(SolarizeFilterTest, StaysBesideTheStraightLines) {
    long sum = 0, weighted = 0;
    for (int i = 0; i < 256; ++i) {
        EXPECT_LE(std::abs(SolarizeTable.entry[i] - std::abs(255 - 2 * i)), 2) << i;
        sum += SolarizeTable.entry[i];
        weighted += (i + 1) * SolarizeTable.entry[i];
    }
    // The straight lines would give 32768; both sums together tell a changed or moved entry.
    EXPECT_EQ(sum, 32696);
    EXPECT_EQ(weighted, 4200068);
}

TEST_F(SolarizeFilterTest, SolarizesAlphaToo) {
    const TestImage source = MakePlain(2, 2, ImageFormatRGBA);
    FillPixels(source, {127, 128, 255, 128});
    const TestImage result(SolarizeFilter(source.object(), nullptr));
    EXPECT_EQ(PixelAt(result, 1, 1), (std::vector<int>{0, 0, 255, 0}));
}

TEST_F(SolarizeFilterTest, ServesAllThreeFamilies) {
    Random random(1);
    const TempDir directory;
    for (const int format : AllFormats()) {
        CheckFilter(Case(), RandomPair(random, directory, Relation::made, format));
        CheckFilter(Case(), RandomPair(random, directory, Relation::apart, format));
        CheckFilter(Case(), RandomPair(random, directory, Relation::same, format));
    }
}

TEST_F(SolarizeFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(7, 400, [](Random&) { return Case(); });
}

}  // namespace
