#include "filters/DiffuseFilter.h"

#include <algorithm>
#include <cstdlib>

#include "core/Formats.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class DiffuseFilterTest : public EngineTest {};

// The model draws the same numbers: both start from the same seed.
FilterCase CaseOf(int level, unsigned seed) {
    return {"diffuse level " + std::to_string(level),
            [=](REALobject s, REALobject d) {
                std::srand(seed);
                return DifuseFilter(s, d, level);
            },
            [=](FilterModel& model) {
                if (!model.isGray() && !model.isRGB()) return;
                std::srand(seed);
                const long long m = 2LL * level + 1;
                for (int y = 0; y < model.height; ++y) {
                    for (int x = 0; x < model.width; ++x) {
                        const long long r1 = std::rand(), r2 = std::rand();
                        long long sx = x + r1 % m - level, sy = y + r2 % m - level;
                        if (sx < 0) sx = 0;
                        if (sy < 0) sy = 0;
                        if (sx >= model.width) sx = model.width - 1;
                        if (sy >= model.height) sy = model.height - 1;
                        model.WritePixel(x, y, model.ReadPixel(static_cast<int>(sx), static_cast<int>(sy)));
                    }
                }
            }};
}

TEST_F(DiffuseFilterTest, LevelZeroCopiesAndStillDrawsTwoNumbersAPixel) {
    Random random(1);
    const TestImage source = MakePlain(7, 5, ImageFormatARGB);
    FillWithNoise(source, random);
    std::srand(11);
    for (int i = 0; i < 2 * 7 * 5; ++i) std::rand();
    const int next = std::rand();
    std::srand(11);
    const TestImage result(DifuseFilter(source.object(), nullptr, 0));
    EXPECT_EQ(std::rand(), next);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 7; ++x) EXPECT_EQ(PixelAt(result, x, y), PixelAt(source, x, y));
    }
}

TEST_F(DiffuseFilterTest, DrawsNothingForFamiliesThatItLeavesAlone) {
    const TestImage source = MakePlain(7, 5, ImageFormatCMYK);
    std::srand(12);
    const int next = std::rand();
    std::srand(12);
    const TestImage result(DifuseFilter(source.object(), nullptr, 3));
    EXPECT_EQ(std::rand(), next);
}

TEST_F(DiffuseFilterTest, PixelsStayWhole) {
    const TestImage source = MakePlain(15, 15, ImageFormatRGBA);
    Storage storage = SnapshotOf(source);
    for (int y = 0; y < 15; ++y) {
        for (int x = 0; x < 15; ++x) {
            for (int c = 0; c < 4; ++c) storage.Put(PlaceOf(source, x, y) + c, static_cast<std::uint8_t>(15 * y + x));
        }
    }
    SetStorage(source, storage);
    const TestImage result(DifuseFilter(source.object(), nullptr, 4));
    for (int y = 0; y < 15; ++y) {
        for (int x = 0; x < 15; ++x) {
            const std::vector<int> pixel = PixelAt(result, x, y);
            EXPECT_EQ(std::count(pixel.begin(), pixel.end(), pixel[0]), 4);
            EXPECT_LE(std::abs(pixel[0] % 15 - x), 4);
            EXPECT_LE(std::abs(pixel[0] / 15 - y), 4);
        }
    }
}

TEST_F(DiffuseFilterTest, ExtremeLevelsStayOnTheImage) {
    Random random(2);
    const TempDir directory;
    for (const int level : {-1, -2, -7, INT32_MAX, INT32_MIN, INT32_MAX / 2, 1000}) {
        CheckFilter(CaseOf(level, 5), RandomPair(random, directory, Relation::made, ImageFormatRGB));
        CheckFilter(CaseOf(level, 6), RandomPair(random, directory, Relation::apart, ImageFormatGA));
    }
}

TEST_F(DiffuseFilterTest, LargeFileBackedImageMayBeItsOwnDestination) {
    Random random(3);
    const TempDir directory;
    for (int round = 0; round < 10; ++round) {
        ImagePair pair;
        pair.source = MakeInFile(directory, 20, 30, ImageFormatRGB, 5);
        FillWithNoise(pair.source, random);
        REALLockObject(pair.source.object());
        pair.dest = TestImage(pair.source.object(), "the same");
        CheckFilter(CaseOf(9, random.Bits()), pair);
    }
}

TEST_F(DiffuseFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(11, 400, [](Random& random) { return CaseOf(random.Between(0, 9), random.Bits()); });
}

}  // namespace
