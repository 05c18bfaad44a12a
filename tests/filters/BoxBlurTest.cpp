// The box blur.

#include "filters/BoxBlur.h"

#include <climits>
#include <cmath>
#include <limits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "filters/Canvas.h"
#include "kernels/KernelTable.h"

using namespace zor;

namespace {

class BoxBlurFilterTest : public EngineTest {};

using Channels = std::vector<ModelChannel>;

int Cut(std::int64_t value, int last) {
    return static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(value, 0), last));
}

// With a table of quotients: filled for 256 times the divisor, 256 zeros behind, nothing beyond.
struct Quotients {
    std::int64_t divisor;
    int At(std::uint32_t sum) const { return sum < 256 * divisor ? static_cast<int>(sum / divisor) : 0; }
};

void ModelOfColumns(const Canvas& source, const Canvas& dest, const Channels& channels, int radius, Quotients table) {
    const int width = source->Width, height = source->Height;
    std::vector<std::vector<std::uint32_t>> sums(channels.size());
    const auto add = [&](std::int64_t row, int sign) {
        for (std::size_t c = 0; c < channels.size(); ++c) {
            sums[c].resize(static_cast<std::size_t>(width));
            for (int x = 0; x < width; ++x) {
                sums[c][static_cast<std::size_t>(x)] +=
                    static_cast<std::uint32_t>(sign * source.Get(x, Cut(row, height - 1), channels[c].from));
            }
        }
    };
    for (int i = -radius; i <= radius; ++i) add(i, 1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (std::size_t c = 0; c < channels.size(); ++c) {
                dest.Put(x, y, channels[c].to, table.At(sums[c][static_cast<std::size_t>(x)]));
            }
        }
        add(y - radius, -1);
        add(y + radius + 1, 1);
    }
}

void ModelOfRows(const Canvas& source, const Canvas& dest, const Channels& channels, int radius, Quotients table,
                 bool afterColumns) {
    const int width = source->Width, height = source->Height;
    for (int y = 0; y < height; ++y) {
        std::vector<int> copy;
        for (int at = 0; afterColumns && at < dest->RowSize; ++at) copy.push_back(dest.RowByte(y, at));
        const auto read = [&](std::int64_t x, const ModelChannel& channel) {
            const int column = Cut(x, width - 1);
            if (!afterColumns) return source.Get(column, y, channel.from);
            const int at = column * dest->PixelSize + channel.to;
            return at < dest->RowSize ? copy[static_cast<std::size_t>(at)] : 0;
        };
        std::vector<std::uint32_t> sums(channels.size());
        const auto add = [&](std::int64_t x, int sign) {
            for (std::size_t c = 0; c < channels.size(); ++c) {
                sums[c] += static_cast<std::uint32_t>(sign * read(x, channels[c]));
            }
        };
        for (int i = -radius; i <= radius; ++i) add(i, 1);
        for (int x = 0; x < width; ++x) {
            for (std::size_t c = 0; c < channels.size(); ++c) dest.Put(x, y, channels[c].to, table.At(sums[c]));
            add(x - radius, -1);
            add(x + radius + 1, 1);
        }
    }
}

void ModelOfBoxBlur(const Canvas& source, const Canvas& dest, const Channels& channels, double radius, bool vertical,
                    bool horizontal) {
    const int whole = std::isnan(radius) ? 0 : static_cast<int>(radius);
    if (whole < 0 || channels.empty()) return;
    const Quotients table{whole >= 1 ? 2 * whole + 1 : 3};
    if (vertical) ModelOfColumns(source, dest, channels, whole, table);
    if (horizontal) ModelOfRows(source, dest, channels, whole, table, vertical);
}

NeighbourCase BoxBlurCase(double radius, bool vertical, bool horizontal) {
    return {
        "box blur " + std::to_string(radius) + (vertical ? " v" : "") + (horizontal ? " h" : ""),
        [=](REALobject source, REALobject dest) { return BoxBlurFilter(source, dest, radius, vertical, horizontal); },
        [=](const Canvas& source, const Canvas& dest, const Channels& channels) {
            ModelOfBoxBlur(source, dest, channels, radius, vertical, horizontal);
        },
        SameSize};
}

TEST_F(BoxBlurFilterTest, AgreesWithItsModel) {
    const std::vector<double> radii = {-3.0, -1.0, -0.7, 0.0,  0.5,   0.99, 1.0,  1.9,   2.0,
                                       3.0,  5.0,  7.5,  20.0, 127.0, 128., 300., 5000., std::nan("")};
    CheckNeighboursOnRandomImages(520, 1200, [&](Random& random) {
        return BoxBlurCase(random.Pick(radii), random.Chance(70), random.Chance(70));
    });
}

// The second pass reads a copy of the row that ends with it, and the rows run into each other.
TEST_F(BoxBlurFilterTest, KeepsTheOrderOfStoresInADestinationWithShortRows) {
    Random random(5);
    for (int round = 0; round < 300; ++round) {
        const int width = random.Between(1, 12), height = random.Between(1, 12);
        ImagePair pair;
        pair.source = MakeOnBlock(width, height, ImageFormatRGBA, random.Between(1, 60));
        pair.dest = MakeOnBlock(width, height, random.Pick(RGBFormats()), random.Between(1, 50));
        FillWithNoise(pair.source, random);
        FillWithNoise(pair.dest, random);
        CheckNeighbours(BoxBlurCase(random.Between(0, 6), random.Chance(60), random.Chance(80)), pair);
    }
}

TestImage GrayRows(const std::vector<std::vector<int>>& rows) {
    TestImage image = MakePlain(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), ImageFormatG);
    PaintPixels(image,
                [&](int x, int y, int) { return rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]; });
    return image;
}

std::vector<std::vector<int>> RowsOf(const TestImage& image) {
    std::vector<std::vector<int>> rows;
    for (int y = 0; y < image->Height; ++y) {
        rows.emplace_back();
        for (int x = 0; x < image->Width; ++x) rows.back().push_back(PixelAt(image, x, y)[0]);
    }
    return rows;
}

using Rows = std::vector<std::vector<int>>;

Rows Blurred(const Rows& rows, double radius, bool vertical, bool horizontal) {
    const TestImage image = GrayRows(rows);
    return RowsOf(TestImage(BoxBlurFilter(image.object(), nullptr, radius, vertical, horizontal)));
}

TEST_F(BoxBlurFilterTest, RadiusBelowOneDarkensToAThirdInEachPass) {
    const Rows image = {{0, 1, 2, 3}, {9, 100, 200, 255}};
    EXPECT_EQ(Blurred(image, 0.5, true, true), (Rows{{0, 0, 0, 0}, {1, 11, 22, 28}}));
    EXPECT_EQ(Blurred(image, 0.0, true, false), (Rows{{0, 0, 0, 1}, {3, 33, 66, 85}}));
    EXPECT_EQ(Blurred(image, -0.5, false, true), (Rows{{0, 0, 0, 1}, {3, 33, 66, 85}}));
    EXPECT_EQ(Blurred(image, std::nan(""), false, true), (Rows{{0, 0, 0, 1}, {3, 33, 66, 85}}));
}

TEST_F(BoxBlurFilterTest, RadiusOneIsTheMeanOfThreeSamples) {
    EXPECT_EQ(Blurred({{0, 30, 60, 240}}, 1.0, false, true), (Rows{{10, 30, 110, 180}}));
    EXPECT_EQ(Blurred({{0}, {30}, {60}, {240}}, 1.0, true, false), (Rows{{10}, {30}, {110}, {180}}));
}

TEST_F(BoxBlurFilterTest, HorizontalAloneBlursTheSource) {
    EXPECT_EQ(Blurred({{0, 255, 0}, {9, 9, 9}}, 1.0, false, true), (Rows{{85, 85, 85}, {9, 9, 9}}));
}

TEST_F(BoxBlurFilterTest, WithoutAnyPassTheDestinationStaysAsItWas) {
    EXPECT_EQ(Blurred({{1, 2}, {3, 4}}, 2.0, false, false), (Rows{{0, 0}, {0, 0}}));
    const TestImage source = GrayRows({{1, 2}}), dest = GrayRows({{8, 9}});
    const TestImage result(BoxBlurFilter(source.object(), dest.object(), 2.0, false, false));
    EXPECT_EQ(result.object(), dest.object());
    EXPECT_EQ(RowsOf(dest), (Rows{{8, 9}}));
}

TEST_F(BoxBlurFilterTest, ARadiusFarBeyondTheImageCountsTheBorderPixelsManyTimes) {
    // 1000 times 0 on the left and 1000 times 255 on the right of the pixel, more or less.
    EXPECT_EQ(Blurred({{0, 255}}, 1000.0, false, true), (Rows{{127, 127}}));
    EXPECT_EQ(Blurred({{255}, {255}, {255}}, 1000.0, true, true), (Rows{{255}, {255}, {255}}));
    EXPECT_EQ(Blurred({{255, 255}}, 1048000.0, true, true), (Rows{{255, 255}}));
}

TEST_F(BoxBlurFilterTest, ARadiusWhoseTableWouldNotFitReturnsTheDestinationUnfiltered) {
    for (const double radius : {1048575.0, 1e9, 4e9, 1e300, std::numeric_limits<double>::infinity()}) {
        const TestImage source = GrayRows({{1, 2}}), dest = GrayRows({{8, 9}});
        const TestImage result(BoxBlurFilter(source.object(), dest.object(), radius, true, true));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_EQ(RowsOf(dest), (Rows{{8, 9}})) << radius;
    }
    // The largest one that does.
    EXPECT_EQ(Blurred({{7, 7}}, 1048574.0, true, true), (Rows{{7, 7}}));
}

TEST_F(BoxBlurFilterTest, ARadiusOfMinusOneOrLessChangesNothing) {
    for (const double radius : {-1.0, -2.5, -1e300, -std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Blurred({{8, 9}}, radius, true, true), (Rows{{0, 0}})) << radius;
    }
}

TEST_F(BoxBlurFilterTest, ADestinationWithNegativeRowSizeComesBackUnfiltered) {
    const TestImage source = GrayRows({{1, 2}}), dest = GrayRows({{8, 9}});
    dest->RowSize = -64;
    const TestImage result(BoxBlurFilter(source.object(), dest.object(), 1.0, true, true));
    EXPECT_EQ(result.object(), dest.object());
    dest->RowSize = 64;
    EXPECT_EQ(RowsOf(dest), (Rows{{8, 9}}));
}

TEST_F(BoxBlurFilterTest, IterationsFeedEachResultToTheNextStep) {
    Random random(6);
    const TestImage source = MakePlain(31, 17, ImageFormatARGB), dest = MakePlain(31, 17, ImageFormatBGRA);
    FillWithNoise(source, random);
    const TestImage once(BoxBlurFilter(source.object(), dest.object(), 2.0, true, true));
    const TestImage twice(BoxBlurFilter(once.object(), nullptr, 2.0, true, true));
    const TestImage thrice(BoxBlurFilter(twice.object(), nullptr, 2.0, true, true));
    const TestImage other = MakePlain(31, 17, ImageFormatBGRA);
    const TestImage result(BoxBlurFilter2(source.object(), other.object(), 2.0, 3, true, true));
    EXPECT_NE(result.object(), other.object()) << "only the first step writes to the given image";
    EXPECT_TRUE(SameBytes(SnapshotOf(once).bytes, SnapshotOf(other).bytes));
    EXPECT_TRUE(SameBytes(SnapshotOf(thrice).bytes, SnapshotOf(result).bytes));
    EXPECT_EQ(host.Locks(source.object()), 1);
    EXPECT_EQ(host.Locks(other.object()), 1);
    EXPECT_EQ(host.Locks(result.object()), 1);
}

TEST_F(BoxBlurFilterTest, OneIterationGivesTheGivenImage) {
    const TestImage source = GrayRows({{3, 6}}), dest = GrayRows({{0, 0}});
    const TestImage result(BoxBlurFilter2(source.object(), dest.object(), 1.0, 1, true, true));
    EXPECT_EQ(result.object(), dest.object());
    EXPECT_EQ(host.Locks(dest.object()), 2);
}

TEST_F(BoxBlurFilterTest, FewerThanOneIterationGiveTheSourceItself) {
    for (const int iterations : {0, -1, INT_MIN}) {
        const TestImage source = GrayRows({{3, 6}});
        const TestImage result(BoxBlurFilter2(source.object(), nullptr, 1.0, iterations, true, true));
        EXPECT_EQ(result.object(), source.object());
        EXPECT_EQ(host.Locks(source.object()), 2);
        EXPECT_EQ(RowsOf(source), (Rows{{3, 6}}));
    }
}

TEST_F(BoxBlurFilterTest, AnIterationThatFailsGivesNilAndReleasesTheRest) {
    for (int failing = 1; failing <= 3; ++failing) {
        const TestImage source = GrayRows({{3, 6}});
        host.failNewInstance = failing;
        EXPECT_EQ(BoxBlurFilter2(source.object(), nullptr, 1.0, 3, true, true), nullptr);
        host.failNewInstance = 0;
        EXPECT_EQ(host.Locks(source.object()), 1);
        EXPECT_EQ(host.LiveObjects(), 1u);
    }
}

TEST_F(BoxBlurFilterTest, ACancelledIterationReleasesItsImages) {
    const TestImage source = GrayRows({{3, 6}});
    source->YieldTicks = kPatientTicks;
    source->LastYieldTick -= 1000;
    host.onYield = [] { throw 42; };
    EXPECT_THROW(BoxBlurFilter2(source.object(), nullptr, 1.0, 3, true, true), int);
    EXPECT_EQ(host.Locks(source.object()), 1);
    EXPECT_EQ(host.LiveObjects(), 1u);
}

// --- dividing sums --------------------------------------------------------------------------------------------------

constexpr std::uint8_t kZeros[2] = {};

TEST(BoxBlurSums, NarrowDivisionIsExactForEverySum) {
    int exact = 0;
    for (int divisor = 3; divisor <= 257; divisor += 2) {
        NarrowDivision by{};
        if (!MakeNarrowDivision(divisor, &by)) continue;
        ++exact;
        for (int sum = 0; sum <= std::min(65535, 256 * divisor - 1); ++sum) {
            std::uint16_t wide = static_cast<std::uint16_t>(sum);
            std::uint8_t byte = 0;
            Kernels().blur.narrow.down(&wide, kZeros, kZeros, 1, by, &byte);
            ASSERT_EQ(byte, sum / divisor) << sum << " / " << divisor;
        }
    }
    EXPECT_GT(exact, 100) << "most radii up to 127 should have the fast division";
    NarrowDivision by{};
    EXPECT_FALSE(MakeNarrowDivision(259, &by)) << "its sums do not fit";
}

TEST(BoxBlurSums, WideDivisionIsExactAtBothEndsOfEveryQuotient) {
    for (std::uint32_t divisor = 3; divisor <= 2097151; divisor += divisor < 4000 ? 2 : 7778) {
        const WideDivision by = MakeWideDivision(divisor);
        for (std::uint32_t quotient = 0; quotient < 256; ++quotient) {
            std::uint32_t ends[2] = {quotient * divisor, quotient * divisor + divisor - 1};
            std::uint8_t bytes[2];
            Kernels().blur.wide.down(ends, kZeros, kZeros, 2, by, bytes);
            ASSERT_EQ(bytes[0], quotient) << divisor;
            ASSERT_EQ(bytes[1], quotient) << divisor;
        }
    }
    const WideDivision by = MakeWideDivision(2097151);
    std::uint32_t most = 256u * 2097151u - 1;
    std::uint8_t byte = 0;
    Kernels().blur.wide.down(&most, kZeros, kZeros, 1, by, &byte);
    EXPECT_EQ(byte, 255);
}

}  // namespace
