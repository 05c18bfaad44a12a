// The kernels of the filtered scaler: every tier against arithmetic told here, over all widths and remainders.

#include "kernels/Scaling.h"

#include <algorithm>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<double>;

constexpr std::size_t kGuard = 16;
constexpr double kUntouched = 0.125;

std::size_t Size(int count) {
    return static_cast<std::size_t>(count);
}

TEST(ScaledByte, TruncatesAndCutsToAByte) {
    EXPECT_EQ(ScaledByte(254.9, 1.0), 254);
    EXPECT_EQ(ScaledByte(255.0, 1.0), 255);
    EXPECT_EQ(ScaledByte(300.0, 1.0), 255);
    EXPECT_EQ(ScaledByte(1e300, 1.0), 255);
    EXPECT_EQ(ScaledByte(-0.9, 1.0), 0);
    EXPECT_EQ(ScaledByte(-5.0, 1.0), 0);
    EXPECT_EQ(ScaledByte(0.0, 0.0), 0);  // an empty list
    EXPECT_EQ(ScaledByte(1.0, 0.0), 255);
    EXPECT_EQ(ScaledByte(-1.0, 0.0), 0);
    EXPECT_EQ(ScaledByte(-100.0, -0.5), 200);
}

TEST(ScalingKernelsTiers, AddRowsInOrder) {
    Random random(3);
    for (const KernelTier& tier : RunnableTiers()) {
        const ScalingKernels& kernels = tier.table.scaling;
        for (int count = 1; count <= 70; ++count) {
            for (int rowCount = 1; rowCount <= ScalingKernels::kRowsAtOnce; ++rowCount) {
                const std::size_t size = Size(count);
                std::vector<Bytes> rows(ScalingKernels::kRowsAtOnce, Bytes(size));
                Numbers expected(size), sums(size);
                const std::uint8_t* pointers[ScalingKernels::kRowsAtOnce];
                double weights[ScalingKernels::kRowsAtOnce];
                for (std::size_t k = 0; k < rows.size(); ++k) {
                    for (std::uint8_t& byte : rows[k]) byte = random.Byte();
                    pointers[k] = rows[k].data();
                    weights[k] = static_cast<double>(static_cast<float>(random.Between(-1000, 1000)) / 777.0F);
                }
                for (std::size_t i = 0; i < size; ++i) {
                    expected[i] = sums[i] = random.Between(-100, 100) / 3.0;
                    for (std::size_t k = 0; k < Size(rowCount); ++k) {
                        expected[i] += static_cast<double>(rows[k][i]) * weights[k];
                    }
                }
                kernels.accumulateRows(sums.data(), pointers, weights, rowCount, count);
                ASSERT_EQ(sums, expected) << tier.name << ": " << count << " bytes of " << rowCount << " rows";

                Bytes bytes(size + 1, 99);
                kernels.finishRow(sums.data(), 1.7, bytes.data(), count);
                for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(bytes[i], ScaledByte(expected[i], 1.7)) << tier.name;
                ASSERT_EQ(bytes[size], 99) << tier.name;
            }
        }
    }
}

TEST(ScalingKernelsTiers, WidenIntoTheLaneOfTheRow) {
    Random random(5);
    const double factors[ScalingKernels::kMaxPlanes] = {0.3, 0.59, 0.11, 1.0, 1.0};
    for (const KernelTier& tier : RunnableTiers()) {
        for (int planes = 1; planes <= ScalingKernels::kMaxPlanes; ++planes) {
            for (int width = 0; width <= 40; ++width) {
                const int rows = random.Between(1, 6), row = random.Between(0, rows - 1), lanes = planes * rows;
                Bytes packed(Size(width * planes) + 1);
                for (std::uint8_t& byte : packed) byte = random.Byte();
                Numbers block(Size(width * lanes) + 2 * kGuard, kUntouched), expected = block;
                for (int x = 0; x < width; ++x) {
                    for (int p = 0; p < planes; ++p) {
                        expected[kGuard + Size(x * lanes + p * rows + row)] = packed[Size(x * planes + p)] * factors[p];
                    }
                }
                const auto widen = tier.table.scaling.widen[planes - 1];
                widen(packed.data(), width, factors, rows, block.data() + kGuard + row);
                ASSERT_EQ(block, expected) << tier.name << ": " << width << " pixels of " << planes << " planes";
            }
        }
    }
}

TEST(ScalingKernelsTiers, ResampleTapAfterTap) {
    Random random(7);
    for (const KernelTier& tier : RunnableTiers()) {
        for (int shape = 0; shape < kResampleShapes; ++shape) {
            const bool luma = shape >= kLumaOnly;
            const int channels = shape - (luma ? kLumaOnly : kChannels1) + 1, planes = luma ? channels + 2 : channels;
            ASSERT_EQ(ResampleShapeOf(channels, luma), shape);
            for (int several = 0; several < 2; ++several) {
                for (int columns = 0; columns <= 20; ++columns) {
                    const int rows = kRowsInBlock[shape][several], lanes = planes * rows;
                    const int width = random.Between(1, 30), tapCount = random.Between(1, 13);
                    Numbers block(Size((width + tapCount) * lanes));
                    for (double& number : block) number = random.Byte() * 0.59;
                    std::vector<int> first(Size(columns) + 1);
                    Numbers weights(Size(columns * tapCount) + 1), weightSums(Size(columns) + 1);
                    for (int& column : first) column = random.Between(0, width);
                    for (double& weight : weights) weight = random.Between(-500, 1500) / 777.0;
                    for (double& sum : weightSums) sum = random.Chance(20) ? 0.0 : random.Between(-500, 9000) / 777.0;

                    Bytes bytes(Size(columns * channels * rows) + 2 * kGuard, 99), expected = bytes;
                    for (int x = 0; x < columns; ++x) {
                        for (int c = 0; c < channels; ++c) {
                            for (int r = 0; r < rows; ++r) {
                                const auto sample = [&](int tap, int plane) {
                                    return block[Size((first[Size(x)] + tap) * lanes + plane * rows + r)] *
                                           weights[Size(x * tapCount + tap)];
                                };
                                double sum = 0.0;
                                for (int k = 0; k < tapCount; ++k) {
                                    const bool isLuma = luma && c == 0;
                                    sum += isLuma ? sample(k, 0) + sample(k, 1) + sample(k, 2)
                                                  : sample(k, luma ? c + 2 : c);
                                }
                                expected[kGuard + Size((x * channels + c) * rows + r)] =
                                    ScaledByte(sum, weightSums[Size(x)]);
                            }
                        }
                    }
                    const TapColumns taps = {tapCount, columns, first.data(), weights.data(), weightSums.data()};
                    tier.table.scaling.resample[shape][several](block.data(), taps, bytes.data() + kGuard);
                    ASSERT_EQ(bytes, expected) << tier.name << ": shape " << shape << ", " << columns << " columns";
                }
            }
        }
    }
}

}  // namespace
