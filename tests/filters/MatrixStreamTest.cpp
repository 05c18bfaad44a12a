// Rounded convolutions of row streams against a slow one in doubles.

#include "filters/MatrixStream.h"

#include "filters/StreamModel.h"
#include "kernels/Tiers.h"

using namespace zor;

namespace {

struct Matrix {
    std::vector<int> weights;
    int side;
    int delta;
    double factor;
};

MatrixStreamRequest RequestFor(const StreamPicture& picture, const Matrix& matrix) {
    return {picture.width,  picture.height, picture.channels, picture.hasAlpha,
            matrix.weights, matrix.side,    matrix.delta,     matrix.factor};
}

StreamPicture Convolved(const StreamPicture& picture, const MatrixStreamRequest& request) {
    MatrixStream stream;
    EXPECT_TRUE(stream.Start(request));
    return Streamed(stream, picture);
}

ExactPicture Reference(const StreamPicture& picture, const Matrix& matrix) {
    ExactPicture result{std::vector<double>(picture.bytes.size())};
    const int side = matrix.side, alphaAt = picture.channels - 1;
    std::size_t i = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            for (int c = 0; c < picture.channels; ++c, ++i) {
                const double own = picture.At(x, y, c);
                double sum = matrix.delta;
                for (std::size_t k = 0; k < matrix.weights.size(); ++k) {
                    const int u = x + static_cast<int>(k) % side - side / 2;
                    const int v = y + static_cast<int>(k) / side - side / 2;
                    const double share = picture.hasAlpha ? picture.At(u, v, alphaAt) / 255.0 : 1.0;
                    sum += matrix.weights[k] * (share * picture.At(u, v, c) + (1 - share) * own);
                }
                const bool stays = picture.hasAlpha && (c == alphaAt || picture.At(x, y, alphaAt) == 0);
                result[i] = stays ? own : std::clamp(sum * matrix.factor, 0.0, 255.0);
            }
        }
    }
    return result;
}

Matrix AnyMatrix(Random& random) {
    static constexpr double kFactors[] = {1, 1, 1.0 / 9, 1.0 / 16, 0.3, -0.5, 0.001, 2.7, 0};
    Matrix matrix{
        {}, random.Between(3, 7), random.Chance(50) ? random.Between(-300, 300) : 0, kFactors[random.Between(0, 8)]};
    const int most = random.Pick(std::vector<int>{2, 9, 254});
    for (int i = 0; i < matrix.side * matrix.side; ++i) {
        matrix.weights.push_back(random.Chance(30) ? 0 : random.Between(-most, most));
    }
    return matrix;
}

TEST(MatrixStream, GivesTheRoundedSumOfAnyPicture) {
    Random random(31);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto [width, height] : kStreamSizes) {
            for (int round = 0; round < 12; ++round) {
                const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                const Matrix matrix = AnyMatrix(random);
                ExpectRounded(Convolved(picture, RequestFor(picture, matrix)), Reference(picture, matrix), 1e-6);
            }
        }
    }
}

TEST(MatrixStream, RoundsWhatAFactorMakes) {
    const StreamPicture picture{3, 1, 1, false, {10, 11, 12}};
    const std::vector<int> middle = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(Convolved(picture, RequestFor(picture, {middle, 3, 0, 0.25})).bytes,
              (std::vector<std::uint8_t>{3, 3, 3}));  // 2.5, 2.75, 3
    EXPECT_EQ(Convolved(picture, RequestFor(picture, {middle, 3, -30, -0.55})).bytes,
              (std::vector<std::uint8_t>{11, 10, 10}));  // 11, 10.45, 9.9
}

TEST(MatrixStream, TakesNoColourFromClearPixels) {
    StreamPicture picture = FlatStreamPicture(9, 9, {4, true}, 200);
    for (int y = 0; y < 9; ++y) {
        for (int x = 4; x < 9; ++x) {
            std::uint8_t* const pixel = picture.Row(y) + x * 4;
            pixel[0] = 255, pixel[1] = 0, pixel[2] = 9, pixel[3] = 0;
        }
    }
    const Matrix sharpen{{0, -1, 0, -1, 5, -1, 0, -1, 0}, 3, 0, 1}, mean{std::vector<int>(25, 1), 5, 0, 0.04};
    EXPECT_EQ(Convolved(picture, RequestFor(picture, sharpen)).bytes, picture.bytes);
    EXPECT_EQ(Convolved(picture, RequestFor(picture, mean)).bytes, picture.bytes);
}

TEST(MatrixStream, TakesTheLargestMatrixOverTheSmallestPictures) {
    Random random(32);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 60}, {60, 1}, {30, 30}}) {
            Matrix matrix{{}, 50, 0, 1.0 / 2500};
            for (int i = 0; i < 2500; ++i) matrix.weights.push_back(random.Between(-1, 3));
            const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
            ExpectRounded(Convolved(picture, RequestFor(picture, matrix)), Reference(picture, matrix), 1e-6);
        }
    }
}

TEST(MatrixStream, IsTheSameByKernelsOfEverySet) {
    Random random(33);
    for (const StreamKind kind : kStreamKinds) {
        for (int round = 0; round < 10; ++round) {
            const StreamPicture picture = AnyStreamPicture(random, 71, 19, kind);
            const Matrix matrix = AnyMatrix(random);
            const StreamPicture expected = Convolved(picture, RequestFor(picture, matrix));
            for (const KernelTier& tier : RunnableTiers()) {
                MatrixStreamRequest request = RequestFor(picture, matrix);
                request.kernels = &tier.table;
                EXPECT_EQ(Convolved(picture, request).bytes, expected.bytes) << tier.name;
            }
        }
    }
}

TEST(MatrixStream, RefusesWhatItCannotDo) {
    MatrixStream stream;
    std::uint8_t row[4] = {};
    for (const MatrixStreamRequest& request : std::vector<MatrixStreamRequest>{{0, 1, 1, false, {1}, 1},
                                                                               {1, 0, 1, false, {1}, 1},
                                                                               {1, 1, 5, false, {1}, 1},
                                                                               {1, 1, 3, true, {1}, 1},
                                                                               {1, 1, 1, false, {1}, 0},
                                                                               {1, 1, 1, false, {1}, 1, 0, NAN}}) {
        EXPECT_FALSE(stream.Start(request));
        EXPECT_FALSE(stream.Feed(row));
        EXPECT_FALSE(stream.Take(row));
    }
}

}  // namespace
