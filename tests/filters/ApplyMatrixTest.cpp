// Convolution with square matrices.

#include "filters/ApplyMatrix.h"

#include <climits>
#include <cmath>
#include <limits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "filters/Canvas.h"
#include "kernels/KernelTable.h"

using namespace zor;

namespace {

class ApplyMatrixTest : public EngineTest {};

using Channels = std::vector<ModelChannel>;

struct Matrix {
    int dimension = 0;
    std::vector<int> values;
    int delta = 0;
    double scale = 1.0;
};

int Cut(std::int64_t value, int last) {
    return static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(value, 0), last));
}

int Finished(std::uint32_t sum, const Matrix& matrix) {
    const int value = static_cast<int>(sum + static_cast<std::uint32_t>(matrix.delta));
    if (matrix.scale == 1.0) return Cut(value, 255);
    const double scaled = value * matrix.scale;
    if (std::isnan(scaled)) return 0;
    return scaled >= 255 ? 255 : scaled <= 0 ? 0 : static_cast<int>(scaled);
}

void ModelOfMatrix(const Canvas& source, const Canvas& dest, const Channels& channels, const Matrix& matrix) {
    const int size = matrix.dimension, width = source->Width, height = source->Height;
    const auto weight = [&](std::int64_t k, std::int64_t j) {
        const std::int64_t at = k * size + j;
        return at < 2500 && at < static_cast<std::int64_t>(matrix.values.size())
                   ? matrix.values[static_cast<std::size_t>(at)]
                   : 0;
    };
    const std::int64_t lastRow = size < 1 ? 0 : std::min<std::int64_t>(size, 2500 / size + 1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::vector<std::uint32_t> sums(channels.size());
            for (std::int64_t k = 0; k < lastRow; ++k) {
                for (std::int64_t j = 0; j < std::min(size, 2500); ++j) {
                    if (weight(k, j) >= 255) continue;
                    const int row = Cut(y - size / 2 + k, height - 1), column = Cut(x - size / 2 + j, width - 1);
                    for (std::size_t c = 0; c < channels.size(); ++c) {
                        sums[c] += static_cast<std::uint32_t>(source.Get(column, row, channels[c].from)) *
                                   static_cast<std::uint32_t>(weight(k, j));
                    }
                }
            }
            for (std::size_t c = 0; c < channels.size(); ++c) dest.Put(x, y, channels[c].to, Finished(sums[c], matrix));
        }
    }
}

NeighbourCase MatrixCase(const Matrix& matrix) {
    return {"matrix " + std::to_string(matrix.dimension) + " delta " + std::to_string(matrix.delta) + " scale " +
                std::to_string(matrix.scale),
            [=](REALobject source, REALobject dest) {
                return PictureMatrix5(source, dest, matrix.dimension, FakeHost::Current().NewArray(matrix.values),
                                      matrix.delta, matrix.scale);
            },
            [=](const Canvas& source, const Canvas& dest, const Channels& channels) {
                ModelOfMatrix(source, dest, channels, matrix);
            },
            Transposed};
}

Matrix RandomMatrix(Random& random) {
    Matrix matrix;
    matrix.dimension = random.Pick(std::vector<int>{-1, 0, 1, 2, 3, 3, 3, 4, 5, 7});
    const int cells = std::max(0, matrix.dimension * matrix.dimension + random.Between(-4, 4));
    const int most = random.Pick(std::vector<int>{3, 30, 260, 40000, INT_MAX});
    for (int i = 0; i < cells; ++i) {
        const int low = most == INT_MAX ? INT_MIN : -most;
        matrix.values.push_back(random.Chance(10) ? random.Between(250, 260) : random.Between(low, most));
    }
    matrix.delta = random.Pick(std::vector<int>{0, 0, 128, -300, INT_MAX, INT_MIN});
    matrix.scale = random.Pick(std::vector<double>{1.0, 1.0, 1.0 / 9.0, 0.37, -0.2, 0.0, 1e300, std::nan(""),
                                                   std::numeric_limits<double>::infinity()});
    return matrix;
}

TEST_F(ApplyMatrixTest, AgreesWithItsModel) {
    CheckNeighboursOnRandomImages(510, 700, [](Random& random) { return MatrixCase(RandomMatrix(random)); });
}

// A destination made by the filter, and given ones, whose rows run into each other: the spill is kept to the byte.
TEST_F(ApplyMatrixTest, KeepsTheOrderOfStoresInADestinationWithShortRows) {
    Random random(511);
    for (int round = 0; round < 200; ++round) {
        const int width = random.Between(1, 90), height = random.Between(1, 12);
        ImagePair pair;
        pair.source = MakeOnBlock(width, height, ImageFormatRGBA, random.Between(1, 4 * width + 3));
        FillWithNoise(pair.source, random);
        if (random.Chance(60)) {
            pair.dest = MakeOnBlock(height, width, random.Pick(RGBFormats()), random.Between(1, 50));
            FillWithNoise(pair.dest, random);
        }
        CheckNeighbours(MatrixCase(RandomMatrix(random)), pair);
    }
}

TEST_F(ApplyMatrixTest, DimensionsBeyondFiftyReadTheirFirst2500Values) {
    Random random(512);
    for (const int dimension : {50, 51, 60, 500, 2499, 2500, 2501, 100000, INT_MAX}) {
        Matrix matrix;
        matrix.dimension = dimension;
        for (int i = 0; i < 2600; ++i) matrix.values.push_back(random.Chance(90) ? 0 : random.Between(-2, 3));
        matrix.scale = 0.25;
        ImagePair pair;
        pair.source = MakePlain(random.Between(1, 9), random.Between(1, 9), ImageFormatG);
        FillWithNoise(pair.source, random);
        CheckNeighbours(MatrixCase(matrix), pair);
    }
}

TestImage Noise(int width, int height, int format) {
    Random random(99);
    TestImage image = MakePlain(width, height, format);
    FillWithNoise(image, random);
    return image;
}

TestImage Filtered(const TestImage& source, const TestImage& dest, const Matrix& matrix) {
    return TestImage(PictureMatrix5(source.object(), dest.object(), matrix.dimension,
                                    FakeHost::Current().NewArray(matrix.values), matrix.delta, matrix.scale),
                     "filtered");
}

constexpr int kFamilies[] = {ImageFormatG,  ImageFormatRGB,  ImageFormatCMYK,
                             ImageFormatAG, ImageFormatBGRA, ImageFormatAKYMC};

TEST_F(ApplyMatrixTest, ASingleOneInTheCentreLeavesThePictureOfEveryFamilyAsItWas) {
    for (const int format : kFamilies) {
        const TestImage source = Noise(6, 6, format), dest = MakePlain(6, 6, format);
        const TestImage result = Filtered(source, dest, {3, {0, 0, 0, 0, 1, 0, 0, 0, 0}});
        EXPECT_EQ(result.object(), dest.object());
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 6; ++x) EXPECT_EQ(PixelAt(dest, x, y), PixelAt(source, x, y)) << format;
        }
    }
}

const std::vector<int> kBox(9, 1);

TestImage Flat(int width, int height, int value) {
    TestImage image = MakePlain(width, height, ImageFormatG);
    PaintPixels(image, [=](int, int, int) { return value; });
    return image;
}

TEST_F(ApplyMatrixTest, AMatrixThatSumsToNineSaturatesAndANinthGivesTheMean) {
    const TestImage source = Flat(4, 4, 100), dest = Flat(4, 4, 0);
    Filtered(source, dest, {3, kBox});
    EXPECT_EQ(PixelAt(dest, 1, 1)[0], 255);
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 255);
    Filtered(source, dest, {3, kBox, 0, 1.0 / 9.0});
    const int mean = static_cast<int>(900 * (1.0 / 9.0));
    EXPECT_EQ(PixelAt(dest, 1, 1)[0], mean);
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], mean) << "the corner stands in for what lies outside";
}

TEST_F(ApplyMatrixTest, TheCornerTakesTheCornerPixelForCellsOutside) {
    const TestImage source = MakePlain(3, 3, ImageFormatG), dest = Flat(3, 3, 0);
    PaintPixels(source, [](int x, int y, int) { return 10 * y + x; });
    Filtered(source, dest, {3, kBox});
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 4 * 0 + 2 * 1 + 2 * 10 + 11);
    EXPECT_EQ(PixelAt(dest, 2, 2)[0], 4 * 22 + 2 * 21 + 2 * 12 + 11);
}

TEST_F(ApplyMatrixTest, AWeightOf255HasNoEffectAnd254Does) {
    const TestImage source = Flat(2, 2, 1), dest = Flat(2, 2, 0);
    const auto centre = [&](int weight) {
        Filtered(source, dest, {1, {weight}, 1, 1.0});
        return PixelAt(dest, 0, 0)[0];
    };
    EXPECT_EQ(centre(255), 1);
    EXPECT_EQ(centre(256), 1);
    EXPECT_EQ(centre(INT_MAX), 1);
    EXPECT_EQ(centre(254), 255);
    EXPECT_EQ(centre(-1), 0);
}

TEST_F(ApplyMatrixTest, TheMatrixIsNotFlippedAndAnEvenOneReachesUpAndLeft) {
    const TestImage source = MakePlain(3, 3, ImageFormatG), dest = Flat(3, 3, 0);
    PaintPixels(source, [](int x, int y, int) { return 10 * y + x; });
    Filtered(source, dest, {3, {1}});
    EXPECT_EQ(PixelAt(dest, 1, 1)[0], 0) << "the first weight is for the pixel to the upper left";
    EXPECT_EQ(PixelAt(dest, 2, 2)[0], 11);
    Filtered(source, dest, {2, {1, 0, 0, 0}});
    EXPECT_EQ(PixelAt(dest, 2, 2)[0], 11);
    Filtered(source, dest, {2, {0, 0, 0, 1}});
    EXPECT_EQ(PixelAt(dest, 2, 2)[0], 22);
}

TEST_F(ApplyMatrixTest, ADimensionOfZeroOrLessGivesDelta) {
    const TestImage source = Flat(2, 2, 9), dest = Flat(2, 2, 1);
    for (const int dimension : {0, -1, INT_MIN}) {
        Filtered(source, dest, {dimension, kBox, 77, 1.0});
        EXPECT_EQ(PixelAt(dest, 1, 1)[0], 77);
        Filtered(source, dest, {dimension, kBox, 77, 0.5});
        EXPECT_EQ(PixelAt(dest, 1, 1)[0], 38);
    }
}

TEST_F(ApplyMatrixTest, ShortAndMissingArraysArePaddedWithZeros) {
    const TestImage source = Flat(2, 2, 9), dest = Flat(2, 2, 1);
    Filtered(source, dest, {3, {}, 5, 1.0});
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 5);
    const TestImage result(PictureMatrix5(source.object(), dest.object(), 3, nullptr, 6, 1.0));
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 6);
}

TEST_F(ApplyMatrixTest, TheShorterFormsTakeNoDeltaAndNoScale) {
    const TestImage source = Flat(2, 2, 9), dest = Flat(2, 2, 1);
    REALUnlockObject(PictureMatrix3(source.object(), dest.object(), 1, host.NewArray({3})));
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 27);
    REALUnlockObject(PictureMatrix4(source.object(), dest.object(), 1, host.NewArray({3}), 100));
    EXPECT_EQ(PixelAt(dest, 0, 0)[0], 127);
}

TEST_F(ApplyMatrixTest, WithoutADestinationTheNewImageHasTheSizesExchanged) {
    const TestImage source = Noise(100, 50, ImageFormatRGB);
    const TestImage result(PictureMatrix3(source.object(), nullptr, 1, host.NewArray({1})));
    ASSERT_EQ(result->Width, 50);
    ASSERT_EQ(result->Height, 100);
    ASSERT_EQ(result->RowSize, 192);
    // Rows of 300 bytes every 192 bytes: each runs into the next, which then overwrites what it shares.
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < (y == 49 ? 100 : 64); ++x) {
            ASSERT_EQ(result->Pixels[y * 192 + 3 * x], source->Pixels[y * source->RowSize + 3 * x]) << x << "," << y;
        }
    }
    for (int at = 49 * 192 + 300; at < 100 * 192; ++at) ASSERT_EQ(result->Pixels[at], 0);
}

TEST_F(ApplyMatrixTest, TheFastRowGivesTheBytesOfThePlainOne) {
    const KernelPick plainKernels = PickKernels(CpuTier::plain);
    Random random(513);
    std::vector<std::uint8_t> samples(4000);
    for (std::uint8_t& sample : samples) sample = random.Chance(30) ? 255 : random.Byte();
    for (int round = 0; round < 3000; ++round) {
        std::vector<MatrixTap> taps;
        const int limit = random.Pick(std::vector<int>{5, 254, 32767, 32768, INT_MAX});
        for (int t = random.Between(0, 12); t > 0; --t) {
            const int weight = random.Chance(10) ? -limit : random.Between(-limit, std::min(limit, 254));
            taps.push_back({samples.data() + random.Between(0, 3000), weight});
        }
        const Matrix finish = RandomMatrix(random);
        const MatrixFinish by{finish.delta, finish.scale};
        const int width = random.Between(0, 70);
        std::vector<std::uint8_t> fast(80, 7), plain(80, 7);
        Kernels().matrix.convolve(taps.data(), static_cast<int>(taps.size()), by, width, fast.data());
        plainKernels.table.matrix.convolve(taps.data(), static_cast<int>(taps.size()), by, width, plain.data());
        ASSERT_TRUE(SameBytes(plain, fast)) << "width " << width;
    }
}

// --- images of absurd size ------------------------------------------------------------------------------------------

// An application can say of 16 bytes that they are such an image. No pixel of it lies in rows of no bytes.
TestImage HugeImage(FakeHost& host, int format) {
    const REALobject block = host.NewBlock(16);
    TestImage image(host.NewImage());
    ImageConstructorMemory(image.object(), block, INT_MAX, 1 << 30, format, 0);
    REALUnlockObject(block);
    for (int i = 0; i < 16; ++i) image->Pixels[i] = static_cast<std::uint8_t>(100 + i);
    return image;
}

TEST_F(ApplyMatrixTest, OfAnImageWhoseRowsNoMemoryHoldsEndsAndWritesIntoTheDestinationOnly) {
    const REALarray one = host.NewArray({1});
    for (const int format : {ImageFormatG, ImageFormatRGB, ImageFormatARGB, ImageFormatCMYKA}) {
        const TestImage source = HugeImage(host, format);
        ASSERT_EQ(source->Width, INT_MAX);
        ASSERT_EQ(source->Height, 1 << 30);
        const TestImage dest = MakePlain(10, 10, format);
        const std::size_t channels = ChannelsOfFamily(dest.record(), dest.record()).size();
        FillPixels(dest, std::vector<int>(channels, 7));
        const TestImage result(PictureMatrix3(source.object(), dest.object(), INT_MAX, one));
        ASSERT_EQ(result.object(), dest.object());
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 10; ++x)
                ASSERT_EQ(PixelAt(dest, x, y), std::vector<int>(channels, 0)) << x << ", " << y;
        }
        for (int i = 0; i < 16; ++i) ASSERT_EQ(source->Pixels[i], 100 + i);
    }
}

}  // namespace
