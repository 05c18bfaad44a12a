#include "filters/OilFilter.h"

#include <algorithm>
#include <map>

#include "core/Formats.h"
#include "filters/FilterModel.h"
#include "filters/OilWindow.h"

using namespace zor;

namespace {

class OilFilterTest : public EngineTest {};

FilterCase CaseOf(int levels, int range) {
    return {"oil levels " + std::to_string(levels) + " range " + std::to_string(range),
            [=](REALobject s, REALobject d) { return OilFilter(s, d, levels, range); },
            [=](FilterModel& model) {
                if (levels < 1 || range < 0) return;
                const int classes = std::min(levels, 256);
                for (int y = 0; y < model.height; ++y) {
                    for (int x = 0; x < model.width; ++x) {
                        std::vector<int> means;
                        for (const ModelChannel& channel : model.channels) {
                            std::map<int, std::pair<int, int>> classOf;  // count and sum, by class
                            for (int wy = std::max(0, y - range); wy <= std::min(model.height - 1, y + range); ++wy) {
                                for (int wx = std::max(0, x - range); wx <= std::min(model.width - 1, x + range);
                                     ++wx) {
                                    const int v = model.Read(wx, wy, channel);
                                    ++classOf[v * classes / 256].first;
                                    classOf[v * classes / 256].second += v;
                                }
                            }
                            std::pair<int, int> best{0, 0};
                            for (const auto& [k, counted] : classOf) {
                                if (counted.first > best.first) best = counted;
                            }
                            means.push_back(best.second / best.first);
                        }
                        model.WritePixel(x, y, means);
                    }
                }
            }};
}

TEST_F(OilFilterTest, UniformImagesStayForAnyLevelsAndRange) {
    for (const int levels : {1, 2, 20, 256, 1000}) {
        for (const int range : {0, 1, 5, 100, INT32_MAX}) {
            const TestImage source = MakePlain(12, 9, ImageFormatCMYKA);
            FillPixels(source, {7, 90, 140, 255, 31});
            const TestImage result(OilFilter(source.object(), nullptr, levels, range));
            EXPECT_TRUE(SameStorage(SnapshotOf(source), SnapshotOf(result), result)) << levels << " " << range;
        }
    }
}

TEST_F(OilFilterTest, RangeZeroGivesEachPixelItself) {
    Random random(1);
    for (const int levels : {1, 3, 256}) {
        const TestImage source = MakePlain(13, 11, ImageFormatRGBA);
        FillPixels(source, {0, 0, 0, 0});
        for (int y = 0; y < 11; ++y) {
            for (int i = 0; i < 13 * 4; ++i) source->GetRow(source.record(), y)[i] = random.Byte();
        }
        const TestImage result(OilFilter(source.object(), nullptr, levels, 0));
        EXPECT_TRUE(SameStorage(SnapshotOf(source), SnapshotOf(result), result));
    }
}

TEST_F(OilFilterTest, MoreThan256LevelsCountAs256) {
    Random random(2);
    const TestImage source = MakePlain(20, 15, ImageFormatRGB);
    FillWithNoise(source, random);
    for (const int levels : {257, 1000, INT32_MAX}) {
        const TestImage some(OilFilter(source.object(), nullptr, 256, 2));
        const TestImage many(OilFilter(source.object(), nullptr, levels, 2));
        EXPECT_TRUE(SameStorage(SnapshotOf(some), SnapshotOf(many), many));
    }
}

TEST_F(OilFilterTest, OneLevelGivesTheMeanRoundedDown) {
    const TestImage source = MakePlain(3, 1, ImageFormatG);
    std::uint8_t* const row = source->GetRow(source.record(), 0);
    row[0] = 10;
    row[1] = 21;
    row[2] = 255;
    const TestImage result(OilFilter(source.object(), nullptr, 1, 1));
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 15);  // 31 / 2: the window is cut at the edge
    EXPECT_EQ(PixelAt(result, 1, 0).front(), 95);  // 286 / 3
    EXPECT_EQ(PixelAt(result, 2, 0).front(), 138);
}

TEST_F(OilFilterTest, ATieStaysWithTheLowerClass) {
    const TestImage source = MakePlain(4, 1, ImageFormatG);
    std::uint8_t* const row = source->GetRow(source.record(), 0);
    row[0] = 200;
    row[1] = 10;
    row[2] = 202;
    row[3] = 12;
    const TestImage result(OilFilter(source.object(), nullptr, 2, 3));
    for (int x = 0; x < 4; ++x) EXPECT_EQ(PixelAt(result, x, 0).front(), 11);
}

TEST_F(OilFilterTest, ChannelsAreIndependent) {
    const TestImage source = MakePlain(3, 1, ImageFormatRGB);
    std::uint8_t* const row = source->GetRow(source.record(), 0);
    const std::uint8_t pixels[] = {1, 90, 5, 1, 80, 6, 200, 80, 6};
    std::copy(std::begin(pixels), std::end(pixels), row);
    const TestImage result(OilFilter(source.object(), nullptr, 256, 2));
    EXPECT_EQ(PixelAt(result, 2, 0), (std::vector<int>{1, 80, 6})) << "a colour that the window holds by channel only";
}

TEST_F(OilFilterTest, LevelsBelowOneAndNegativeRangesChangeNothing) {
    Random random(3);
    const TestImage source = MakePlain(8, 8, ImageFormatRGB), dest = MakePlain(8, 8, ImageFormatRGB);
    FillWithNoise(source, random);
    FillWithNoise(dest, random);
    const Storage before = SnapshotOf(dest);
    for (const auto& [levels, range] : {std::pair{0, 2}, {-1, 2}, {INT32_MIN, 2}, {20, -1}, {20, INT32_MIN}}) {
        const TestImage result(OilFilter(source.object(), dest.object(), levels, range));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

// Windows of both kinds of bins: 2047 samples are the most that the narrow ones hold.
TEST_F(OilFilterTest, MovingTheWindowAgreesWithGatheringIt) {
    Random random(4);
    for (const int range : {0, 1, 3, 21, 22, 23, 30, 60}) {
        for (const int format : {ImageFormatG, ImageFormatBGRA, ImageFormatACMYK}) {
            for (const bool few : {false, true}) {
                const TestImage source = MakePlain(57, 47, format);
                FillWithNoise(source, random);
                Storage storage = SnapshotOf(source);
                if (few) {
                    for (std::uint8_t& byte : storage.bytes) byte = static_cast<std::uint8_t>(byte & 0x83);
                }
                SetStorage(source, storage);
                const int levels = random.Between(1, 256);
                const TestImage moved = MakePlain(57, 47, format), gathered = MakePlain(57, 47, format);
                OilImage(SidesOf(source.record(), moved.record()), levels, range);
                OilImage_Plain(SidesOf(source.record(), gathered.record()), levels, range);
                EXPECT_TRUE(SameStorage(SnapshotOf(gathered), SnapshotOf(moved), moved)) << range << " " << levels;
            }
        }
    }
}

// Rows of several blocks of samples, for windows that go by vectors: each up to the last class, and past it.
TEST_F(OilFilterTest, CountingClassesAgreesWithGatheringThem) {
    Random random(6);
    for (const int range : {0, 1, 2, 3, 7, 8}) {
        for (const int levels : {1, 2, 20, 100, 101}) {
            const TestImage source = MakePlain(700 + range, 20, ImageFormatBGR);
            FillWithNoise(source, random);
            const TestImage counted = MakePlain(700 + range, 20, ImageFormatBGR);
            const TestImage gathered = MakePlain(700 + range, 20, ImageFormatBGR);
            OilImage(SidesOf(source.record(), counted.record()), levels, range);
            OilImage_Plain(SidesOf(source.record(), gathered.record()), levels, range);
            EXPECT_TRUE(SameStorage(SnapshotOf(gathered), SnapshotOf(counted), counted)) << range << " " << levels;
        }
    }
}

TEST_F(OilFilterTest, ServesEveryFamily) {
    Random random(5);
    const TempDir directory;
    for (const int format : AllFormats()) {
        CheckFilter(CaseOf(20, 2), RandomPair(random, directory, Relation::made, format));
        CheckFilter(CaseOf(256, 1), RandomPair(random, directory, Relation::apart, format));
    }
}

TEST_F(OilFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(10, 250, [](Random& random) {
        return CaseOf(random.Chance(30) ? 256 : random.Between(1, 256), random.Between(0, 5));
    });
}

// Every window has all rows then: one row of the result is as another, whatever the range.
TEST_F(OilFilterTest, AWindowOfAllRowsPaintsThemAlike) {
    Random random(9);
    for (const int format : {ImageFormatRGB, ImageFormatXBGR, ImageFormatGA}) {
        const TestImage source = MakePlain(1100, 900, format);
        FillWithNoise(source, random);
        const TestImage result(OilFilter(source.object(), nullptr, 256, 65535));
        const int size = source->PixelSize;
        const std::uint8_t* const first = result->Pixels;
        for (int at = size; at < 1100 * size; ++at) ASSERT_EQ(first[at], first[at - size]) << at;
        for (int y = 1; y < 900; ++y) {
            const std::uint8_t* const row = first + y * result->RowSize;
            ASSERT_TRUE(std::equal(row, row + 1100 * size, first)) << y;
        }
        std::vector<std::vector<int>> count(5, std::vector<int>(256));
        for (int y = 0; y < 900; ++y) {
            for (int x = 0; x < 1100; ++x) {
                for (int c = 0; c < size; ++c)
                    ++count[static_cast<std::size_t>(c)][source->Pixels[y * source->RowSize + x * size + c]];
            }
        }
        for (const ModelChannel& channel : ChannelsOfFamily(source.record(), result.record())) {
            const std::vector<int>& of = count[static_cast<std::size_t>(channel.from)];
            EXPECT_EQ(result->Pixels[channel.to], std::max_element(of.begin(), of.end()) - of.begin());
        }
    }
}

}  // namespace
