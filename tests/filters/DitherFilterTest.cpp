#include "filters/DitherFilter.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

#include "core/Formats.h"
#include "filters/DitherTables.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class DitherFilterTest : public EngineTest {};

struct Matrix {
    int side;
    std::vector<int> cells;
    int At(int x, int y) const { return cells.at(static_cast<std::size_t>(y % side * side + x % side)); }
};

Matrix MatrixOf(int number) {
    const int* values;
    Matrix matrix{};
    SetMatrixValues(number, values, matrix.side);
    if (values) matrix.cells.assign(values, values + matrix.side * matrix.side);
    return matrix;
}

enum : int {
    kMagic2 = 1,
    kMagic4,
    kOrdered4,
    kLines4,
    kHalftone6,
    kOrdered6,
    kOrdered8,
    kCluster3,
    kCluster4,
    kCluster8
};

FilterCase CaseOf(int number, int levels) {
    return {"matrix " + std::to_string(number) + " levels " + std::to_string(levels),
            [=](REALobject s, REALobject d) { return DitherFilter(s, d, number, levels); },
            [=](FilterModel& model) {
                if (model.isCMYK() || number < 1 || number > 10 || levels < 2 || levels > 256) return;
                const Matrix matrix = MatrixOf(number);
                model.MapPixels([&](std::size_t, int v, int x, int y) {
                    const int mod = v * (matrix.side * matrix.side + 1) / 256, div = v * (levels - 1) / 256;
                    const int index = mod <= matrix.At(x, y) ? div + 1 : div;
                    return 255 * index / (levels - 1);
                });
            }};
}

// --- the matrices ---------------------------------------------------------------------------------------------------

TEST_F(DitherFilterTest, MatricesHaveTheirSides) {
    const int kSides[] = {2, 4, 4, 4, 6, 6, 8, 6, 8, 16};
    for (int number = 1; number <= 10; ++number) EXPECT_EQ(MatrixOf(number).side, kSides[number - 1]) << number;
    for (const int number : {0, 11, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(MatrixOf(number).side, 0);
        EXPECT_TRUE(MatrixOf(number).cells.empty());
    }
}

TEST_F(DitherFilterTest, SmallMatricesNumberTheirCells) {
    for (const int number : {kMagic2, kMagic4, kOrdered4, kLines4}) {
        std::vector<int> cells = MatrixOf(number).cells, numbers(cells.size());
        std::iota(numbers.begin(), numbers.end(), 0);
        if (number == kLines4) {
            EXPECT_EQ(cells, numbers);
        }
        std::sort(cells.begin(), cells.end());
        EXPECT_EQ(cells, numbers) << number;
    }
}

TEST_F(DitherFilterTest, TheMagicSquareIsMagic) {
    const Matrix matrix = MatrixOf(kMagic4);
    for (int i = 0; i < 4; ++i) {
        int row = 0, column = 0;
        for (int j = 0; j < 4; ++j) {
            row += matrix.At(j, i);
            column += matrix.At(i, j);
        }
        EXPECT_EQ(row, 30);
        EXPECT_EQ(column, 30);
    }
    EXPECT_EQ(MatrixOf(kMagic2).cells, (std::vector<int>{0, 2, 3, 1}));
}

TEST_F(DitherFilterTest, TheOrderedMatrixIsMadeOfItsQuarters) {
    const Matrix two = MatrixOf(kMagic2), four = MatrixOf(kOrdered4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) EXPECT_EQ(four.At(x, y), 4 * two.At(x, y) + two.At(x / 2, y / 2));
    }
}

// A cluster of dark and one of light in turn: the lower half is the upper one shifted, and a cell and its partner in
// the other cluster fill up the range.
TEST_F(DitherFilterTest, ClustersComeInPairs) {
    for (const int number : {kCluster3, kCluster4, kCluster8}) {
        const Matrix matrix = MatrixOf(number);
        const int half = matrix.side / 2, top = matrix.side * matrix.side / 2 - 1;
        std::map<int, int> times;
        for (int y = 0; y < matrix.side; ++y) {
            for (int x = 0; x < matrix.side; ++x) {
                EXPECT_EQ(matrix.At(x, y) + matrix.At(x + half, y), top) << number << " at " << x << "," << y;
                EXPECT_EQ(matrix.At(x + half, y + half), matrix.At(x, y)) << number << " at " << x << "," << y;
                ++times[matrix.At(x, y)];
            }
        }
        EXPECT_EQ(times.size(), static_cast<std::size_t>(top + 1));
        for (const auto& [value, count] : times) EXPECT_EQ(count, 2) << value;
    }
}

// Within a cluster the first cells stand beside each other: the dot grows.
TEST_F(DitherFilterTest, ClustersAndHalftonesGrowFromTheirMiddle) {
    for (const int number : {kHalftone6, kCluster3, kCluster4, kCluster8}) {
        const Matrix matrix = MatrixOf(number);
        for (int y = 0; y < matrix.side; ++y) {
            for (int x = 0; x < matrix.side; ++x) {
                if (matrix.At(x, y) == 0) continue;
                int lowest = INT32_MAX;
                for (int dy = matrix.side - 1; dy <= matrix.side + 1; ++dy) {
                    for (int dx = matrix.side - 1; dx <= matrix.side + 1; ++dx) {
                        lowest = std::min(lowest, matrix.At(x + dx, y + dy));
                    }
                }
                EXPECT_LT(lowest, matrix.At(x, y)) << number << " at " << x << "," << y;
            }
        }
    }
}

TEST_F(DitherFilterTest, LargeOrderedMatricesAreCornersOfLargerOnes) {
    for (const auto& [number, largest] : {std::pair{kOrdered6, 64}, {kOrdered8, 256}}) {
        const std::vector<int> cells = MatrixOf(number).cells;
        EXPECT_EQ(std::set<int>(cells.begin(), cells.end()).size(), cells.size()) << "no value comes twice";
        EXPECT_GE(*std::min_element(cells.begin(), cells.end()), 1);
        EXPECT_LE(*std::max_element(cells.begin(), cells.end()), largest);
    }
    // Rows come in pairs: up to the diagonal one more, beyond it three less.
    const Matrix eight = MatrixOf(kOrdered8);
    for (int pair = 0; pair < 4; ++pair) {
        for (int x = 0; x < 8; ++x) {
            EXPECT_EQ(eight.At(x, 2 * pair + 1) - eight.At(x, 2 * pair), x <= pair ? 1 : -3) << x << "," << pair;
        }
    }
}

// Plain sums and sums weighted by place: a changed or moved cell changes one of them.
TEST_F(DitherFilterTest, SumsAreRight) {
    const long kSums[][2] = {{6, 17},       {120, 1020},    {120, 1116}, {120, 1360},  {635, 12781},
                             {1134, 21208}, {8160, 266896}, {306, 5661}, {992, 32240}, {16256, 2088896}};
    for (int number = 1; number <= 10; ++number) {
        const Matrix matrix = MatrixOf(number);
        long sum = 0, weighted = 0;
        for (std::size_t i = 0; i < matrix.cells.size(); ++i) {
            sum += matrix.cells[i];
            weighted += static_cast<long>(i + 1) * matrix.cells[i];
        }
        EXPECT_EQ(sum, kSums[number - 1][0]) << number;
        EXPECT_EQ(weighted, kSums[number - 1][1]) << number;
    }
}

// --- the filter -----------------------------------------------------------------------------------------------------

TEST_F(DitherFilterTest, TwoLevelsGiveTheNegative) {
    for (int number = 1; number <= 10; ++number) {
        SCOPED_TRACE(number);
        const Matrix matrix = MatrixOf(number);
        const TestImage black = MakePlain(33, 33, ImageFormatRGB), white = MakePlain(33, 33, ImageFormatRGB);
        FillPixels(white, {255, 255, 255});
        const TestImage fromBlack(DitherFilter(black.object(), nullptr, number, 2));
        const TestImage fromWhite(DitherFilter(white.object(), nullptr, number, 2));
        for (int y = 0; y < 33; ++y) {
            for (int x = 0; x < 33; ++x) {
                EXPECT_EQ(PixelAt(fromBlack, x, y), (std::vector<int>{255, 255, 255}));
                const int v = matrix.At(x, y) < matrix.side * matrix.side ? 0 : 255;
                EXPECT_EQ(PixelAt(fromWhite, x, y), (std::vector<int>{v, v, v})) << x << "," << y;
            }
        }
    }
}

TEST_F(DitherFilterTest, MagicTwoByTwoTurnsBlackWhiteAndWhiteBlack) {
    const DitherTables tables = MakeDitherTables(2, 2);
    EXPECT_EQ(tables.remainder[0], 0);
    EXPECT_EQ(tables.remainder[255], 4);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(tables.quotient[i], 0);
    EXPECT_EQ(tables.level[0], 0);
    EXPECT_EQ(tables.level[1], 255);
    for (int threshold = 0; threshold < 4; ++threshold) {
        EXPECT_EQ(DitherByte(tables, threshold, 0), 255);
        EXPECT_EQ(DitherByte(tables, threshold, 255), 0);
    }
}

TEST_F(DitherFilterTest, NoIndexLeavesTheLevels) {
    for (int levels = 2; levels <= 256; ++levels) {
        const DitherTables tables = MakeDitherTables(levels, 4);
        EXPECT_LE(tables.quotient[255] + 1, levels - 1) << levels;
    }
}

TEST_F(DitherFilterTest, ANumberThatIsNoMatrixChangesNothing) {
    Random random(1);
    const TestImage source = MakePlain(9, 9, ImageFormatRGBA), dest = MakePlain(9, 9, ImageFormatRGBA);
    FillWithNoise(source, random);
    FillWithNoise(dest, random);
    const Storage before = SnapshotOf(dest);
    for (const int number : {0, 11, -1, INT32_MIN, INT32_MAX}) {
        const TestImage result(DitherFilter(source.object(), dest.object(), number, 4));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
        const TestImage made(DitherFilter(source.object(), nullptr, number, 4));
        EXPECT_EQ(SnapshotOf(made).bytes, std::vector<std::uint8_t>(SnapshotOf(made).bytes.size()));
    }
}

TEST_F(DitherFilterTest, LevelsOutsideTheirRangeChangeNothing) {
    Random random(2);
    const TestImage source = MakePlain(9, 9, ImageFormatG), dest = MakePlain(9, 9, ImageFormatG);
    FillWithNoise(source, random);
    FillWithNoise(dest, random);
    const Storage before = SnapshotOf(dest);
    for (const int levels : {1, 0, -1, 257, INT32_MIN, INT32_MAX}) {
        const TestImage result(DitherFilter(source.object(), dest.object(), kMagic4, levels));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

TEST_F(DitherFilterTest, CMYKComesBackUnchangedForEveryMatrix) {
    Random random(3);
    for (const int format : CMYKFormats()) {
        const TestImage source = MakePlain(70, 70, format), dest = MakePlain(70, 70, format);
        FillWithNoise(source, random);
        const Storage before = SnapshotOf(dest);
        for (int number = 1; number <= 10; ++number) {
            const TestImage result(DitherFilter(source.object(), dest.object(), number, 4));
            EXPECT_EQ(result.object(), dest.object());
        }
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

TEST_F(DitherFilterTest, AlphaIsDitheredByTheSameThreshold) {
    for (int number = 1; number <= 10; ++number) {
        const Matrix matrix = MatrixOf(number);
        const TestImage source = MakePlain(20, 20, ImageFormatRGBA);
        FillPixels(source, {120, 120, 120, 255});
        const TestImage result(DitherFilter(source.object(), nullptr, number, 2));
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 20; ++x) {
                const bool below = matrix.At(x, y) < matrix.side * matrix.side;
                EXPECT_EQ(PixelAt(result, x, y).back(), below ? 0 : 255) << number;
            }
        }
    }
}

TEST_F(DitherFilterTest, ThePatternRepeatsFromTheTopLeftCorner) {
    for (int number = 1; number <= 10; ++number) {
        const int side = MatrixOf(number).side;
        const TestImage source = MakePlain(80, 60, ImageFormatG);
        FillPixels(source, {100});
        const TestImage result(DitherFilter(source.object(), nullptr, number, 3));
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 80; ++x) {
                EXPECT_EQ(PixelAt(result, x, y), PixelAt(result, x % side, y % side)) << number;
            }
            if (HasFailure()) return;
        }
    }
}

TEST_F(DitherFilterTest, TheImageItselfMayBeTheDestination) {
    Random random(4);
    const TempDir directory;
    for (int number = 1; number <= 10; ++number) {
        CheckFilter(CaseOf(number, 5), RandomPair(random, directory, Relation::same, ImageFormatBGRA));
    }
}

TEST_F(DitherFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(8, 400, [](Random& random) {
        return CaseOf(random.Between(1, 10), random.Chance(30) ? 2 : random.Between(2, 256));
    });
}

TEST_F(DitherFilterTest, LargeImagesAgreeWithTheModelToo) {
    Random random(9);
    const TempDir directory;
    for (int number = 1; number <= 10; ++number) {
        for (const int format : {ImageFormatRGB, ImageFormatXBGR, ImageFormatGA, ImageFormatARGB, ImageFormatG}) {
            ImagePair pair;
            pair.source = RandomImage(random, directory, 97, 61, format);
            if (random.Chance(60)) pair.dest = RandomImage(random, directory, 90, 61, random.Format());
            CheckFilter(CaseOf(number, random.Between(2, 256)), pair);
        }
    }
}

}  // namespace
