// The one walk by itself: what it hands on of rows that lie partly outside their storage, and what it tells of runs
// that share bytes.

#include "core/Walk.h"

#include <algorithm>
#include <vector>

#include "core/Formats.h"
#include "core/InPlace.h"
#include "support/Images.h"

using namespace zor;

namespace {

class WalkTest : public EngineTest {};

// A row in the middle of a buffer of numbers, of which the bytes begin to end - 1 may be touched.
struct Row {
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(120);
    static constexpr int kColumnZero = 40;

    Row() {
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    RowSpan Span(std::ptrdiff_t begin, std::ptrdiff_t end) { return {bytes.data() + kColumnZero, begin, end}; }
    std::uint8_t& At(int at) { return bytes[static_cast<std::size_t>(kColumnZero + at)]; }
};

Walk OneRow(const Layer* layers, int count, std::int64_t width) {
    return {layers, count, width, 1, nullptr, false, false};
}

// Copies channel by channel, each stored before the next is read.
void CopyInOrder(const RunSet& runs) {
    const PixelRun &dst = runs.run[0], &src = runs.run[1];
    for (std::ptrdiff_t i = 0; i < runs.count; ++i) {
        for (int c = 0; c < dst.channels.count; ++c) {
            dst.pixels[i * dst.step + dst.channels.offset[c]] = src.pixels[i * src.step + src.channels.offset[c]];
        }
    }
}

TEST_F(WalkTest, BytesOutsideTheStorageReadZeroAndAreDropped) {
    Row dst, src;
    const Row before = dst;
    const Layer layers[] = {LayerOfRows(0, {3, {0, 1, 2}}, 3), LayerOfRows(0, {3, {0, 1, 2}}, 3)};
    // Of the target's four pixels the first begins before its storage and the last ends behind it; the source begins
    // in its second pixel.
    const RowSpan rows[] = {dst.Span(1, 11), src.Span(4, 60)};
    WorkRow(OneRow(layers, 2, 4), rows, 0, CopyInOrder);
    for (int at = -40; at < 80; ++at) {
        const bool written = at >= 1 && at < 11;
        const int expected = !written ? before.bytes[static_cast<std::size_t>(40 + at)] : at < 4 ? 0 : at + 41;
        EXPECT_EQ(dst.At(at), expected) << at;
    }
}

// The channels of both sides are the same three bytes in opposite order: what is read may already have been written,
// also where the pixel lies partly outside the storage.
TEST_F(WalkTest, APixelAtTheEdgeShowsWhatItSharesWithItself) {
    Row row;
    const Layer layers[] = {LayerOfRows(0, {3, {2, 1, 0}}, 3), LayerOfRows(0, {3, {0, 1, 2}}, 3)};
    const RowSpan rows[] = {row.Span(0, 2), row.Span(0, 2)};  // the third byte is outside
    WorkRow(OneRow(layers, 2, 1), rows, 0, CopyInOrder);
    EXPECT_EQ(row.At(0), 0) << "from the byte outside, which was not written";
    EXPECT_EQ(row.At(1), 42);
    EXPECT_EQ(row.At(2), 43) << "dropped";

    Row inside;
    const RowSpan whole[] = {inside.Span(0, 3), inside.Span(0, 3)};
    WorkRow(OneRow(layers, 2, 1), whole, 0, CopyInOrder);
    EXPECT_EQ(inside.At(2), 41);
    EXPECT_EQ(inside.At(0), 41) << "the third byte had been written when it was read";
}

TEST_F(WalkTest, EveryPixelIsVisitedOnceAndFromTheLeft) {
    Random random(91);
    for (int round = 0; round < 500; ++round) {
        Row dst, src;
        const int size = random.Between(1, 4), x = random.Between(-8, 8), width = random.Between(0, 12);
        const auto span = [&](Row& row) {
            const int begin = random.Between(-40, 60);
            return row.Span(begin, random.Between(begin, 80));
        };
        const ChannelSet channels = {2, {random.Between(-3, 6), random.Between(-3, 6)}};
        const Layer layers[] = {LayerOfRows(x, channels, size), LayerOfRows(0, channels, size)};
        const RowSpan rows[] = {span(dst), span(src)};
        const bool everyPixel = random.Chance(50);
        Walk walk = OneRow(layers, 2, width);
        walk.everyPixel = everyPixel;
        std::ptrdiff_t next = 0;
        bool sawAll = true;
        WorkRow(walk, rows, 7, [&](const RunSet& runs) {
            EXPECT_EQ(runs.row, 7);
            EXPECT_GE(runs.column, next);
            sawAll = sawAll && runs.column == next;
            next = runs.column + runs.count;
        });
        EXPECT_LE(next, width);
        if (everyPixel) {
            EXPECT_TRUE(sawAll && next == width);
        }
    }
}

TEST_F(WalkTest, TellsHowRunsShareBytes) {
    Row row, other;
    const ChannelSet rgb = {3, {0, 1, 2}}, bgr = {3, {2, 1, 0}};
    const auto sharing = [&](const Layer& a, const RowSpan& rowOfA, const Layer& b, const RowSpan& rowOfB) {
        const Layer layers[] = {a, b};
        const RowSpan rows[] = {rowOfA, rowOfB};
        Sharing found = Sharing::apart;
        int calls = 0;
        WorkRow(OneRow(layers, 2, 4), rows, 0, [&](const RunSet& runs) {
            found = runs.sharing;
            ++calls;
        });
        EXPECT_EQ(calls, 1);
        return found;
    };
    const RowSpan here = row.Span(-40, 80), there = other.Span(-40, 80);
    const Layer layer = LayerOfRows(0, rgb, 3);
    EXPECT_EQ(sharing(layer, here, layer, there), Sharing::apart);
    EXPECT_EQ(sharing(layer, here, layer, here), Sharing::same);
    EXPECT_EQ(sharing(layer, here, LayerOfRows(0, bgr, 3), here), Sharing::mixed) << "another order of channels";
    EXPECT_EQ(sharing(layer, here, LayerOfRows(1, rgb, 3), here), Sharing::mixed) << "a column further";
    EXPECT_EQ(sharing(layer, here, LayerOfRows(4, rgb, 3), here), Sharing::apart) << "the next four columns";
    EXPECT_EQ(sharing(layer, here, LayerOfRows(0, {3, {0, 1, 1}}, 3), here), Sharing::mixed);
    Layer whole = LayerOfRows(0, {1, {3}}, 4);
    EXPECT_EQ(sharing(whole, here, LayerOfRows(0, {1, {16}}, 4), here), Sharing::apart);
    ASSERT_TRUE(ReachWholePixels(&whole));
    EXPECT_EQ(sharing(whole, here, LayerOfRows(0, {1, {15}}, 4), here), Sharing::mixed) << "kernels reach pad bytes";
}

TEST_F(WalkTest, ReachesTheWholePixelThatTheChannelsLieIn) {
    const auto reach = [](const ChannelSet& channels, int size) {
        Layer layer = LayerOfRows(0, channels, size);
        return ReachWholePixels(&layer) ? std::vector<std::ptrdiff_t>{layer.first, layer.end}
                                        : std::vector<std::ptrdiff_t>{};
    };
    EXPECT_EQ(reach({3, {1, 2, 3}}, 4), (std::vector<std::ptrdiff_t>{0, 4}));
    EXPECT_EQ(reach({3, {41, 42, 43}}, 4), (std::vector<std::ptrdiff_t>{40, 44})) << "as in a clip view";
    EXPECT_EQ(reach({1, {-1}}, 4), (std::vector<std::ptrdiff_t>{-4, 0}));
    EXPECT_TRUE(reach({2, {3, 4}}, 4).empty()) << "astride two pixels";
    EXPECT_TRUE(reach({1, {0}}, 0).empty());
    EXPECT_TRUE(reach({0, {}}, 4).empty());
}

// Rows that are told one by one, some of them missing.
struct ToldRows {
    Row row;
    std::vector<std::int64_t> asked;
    std::int64_t missing;

    static RowSpan At(void* self, std::int64_t step) {
        ToldRows& rows = *static_cast<ToldRows*>(self);
        rows.asked.push_back(step);
        return step == rows.missing ? RowSpan{} : rows.row.Span(0, 12);
    }
};

TEST_F(WalkTest, SkipsMissingRowsOrStopsAtThem) {
    for (const bool stop : {false, true}) {
        ToldRows rows;
        rows.missing = 2;
        Layer layer = LayerOfRows(0, {1, {0}}, 1);
        layer.rowAt = ToldRows::At;
        layer.rows = &rows;
        std::vector<std::int64_t> worked;
        const bool wentOn =
            WalkRuns({&layer, 1, 4, 5, nullptr, false, stop}, [&](const RunSet& runs) { worked.push_back(runs.row); });
        EXPECT_EQ(wentOn, !stop);
        EXPECT_EQ(worked, stop ? (std::vector<std::int64_t>{0, 1}) : (std::vector<std::int64_t>{0, 1, 3, 4}));
        EXPECT_EQ(rows.asked.size(), stop ? 3u : 5u);
    }
}

TEST_F(WalkTest, YieldsBehindEveryRowAlsoAMissingOne) {
    TestImage image = MakePlain(4, 5, ImageFormatG);
    image->YieldTicks = 1;
    int turns = 0;
    host.onYield = [&] { ++turns; };
    ToldRows rows;
    rows.missing = 1;
    Layer layers[] = {LayerOf(image.record(), 0, 0, {1, {0}}), LayerOfRows(0, {1, {0}}, 1)};
    layers[1].rowAt = ToldRows::At;
    layers[1].rows = &rows;
    int worked = 0;
    WalkRuns({layers, 2, 4, 5, image.record(), false, false}, [&](const RunSet&) {
        image->LastYieldTick -= 60;  // a second has gone by
        ++worked;
    });
    EXPECT_EQ(worked, 4);
    EXPECT_GE(turns, worked);
}

// One image in two layers, in a file whose window does not hold both rows: the second layer has a window of its own,
// and the image's own window stays with the target.
TEST_F(WalkTest, TwoRowsOfOneMappedImageAreGoodAtTheSameTime) {
    const TempDir directory;
    TestImage image = MakeInFile(directory, 6, 40, ImageFormatG, 3);
    for (int y = 0; y < 40; ++y) FillRect5(image.object(), 0, y, 6, 1, y);
    const Layer layers[] = {LayerOf(image.record(), 0, 0, {1, {0}}), LayerOf(image.record(), 0, 30, {1, {0}})};
    int rows = 0;
    WalkRuns({layers, 2, 6, 10, nullptr, false, false}, [&](const RunSet& runs) {
        for (std::ptrdiff_t i = 0; i < runs.count; ++i) {
            EXPECT_EQ(runs.run[0].pixels[i], runs.row);
            EXPECT_EQ(runs.run[1].pixels[i], runs.row + 30);
        }
        EXPECT_EQ(runs.sharing, Sharing::mixed) << "one file";
        ++rows;
    });
    EXPECT_EQ(rows, 10);
}

}  // namespace
