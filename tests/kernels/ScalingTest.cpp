// The kernels of the filtered scaler: every tier against arithmetic told here, over all widths and remainders.

#include "kernels/Scaling.h"

#include <algorithm>
#include <vector>

#include "kernels/Tiers.h"
#include "scale/TapTable.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kGuard = 16;

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

TEST(ScaledByte, TakesTheNearestByteHalvesUp) {
    EXPECT_EQ(ScaledByte(254.4, 1.0, Ending::nearest), 254);
    EXPECT_EQ(ScaledByte(254.5, 1.0, Ending::nearest), 255);
    EXPECT_EQ(ScaledByte(255.6, 1.0, Ending::nearest), 255);
    EXPECT_EQ(ScaledByte(1e300, 1.0, Ending::nearest), 255);
    EXPECT_EQ(ScaledByte(-0.6, 1.0, Ending::nearest), 0);
    EXPECT_EQ(ScaledByte(-0.4, 1.0, Ending::nearest), 0);
    EXPECT_EQ(ScaledByte(0.5, 1.0, Ending::nearest), 1);
    EXPECT_EQ(ScaledByte(0.0, 0.0, Ending::nearest), 0);
}

// Lists of any weights, sums of weights that fit them or not, and samples that an approximation has a hard time with.
class AnyTaps {
public:
    AnyTaps(Random& random, int width, int count, bool luma, bool even) {
        taps_.count = count;
        taps_.stride = 2 * random.Between(1, 7);
        taps_.ending = random.Chance(50) ? Ending::nearest : Ending::truncate;
        taps_.luma = luma;
        const std::size_t stride = Size(taps_.stride), integers = stride * Size(count) * Size(taps_.sets());
        lists_.resize(Size(count) + 1);
        weights_.resize(stride * Size(count) + 1);
        coarse_.resize(integers + 1);
        fine_.resize(integers + 1);
        const IntegerMaker maker(3 * taps_.stride);
        int first = 0;
        for (std::size_t i = 0; i < Size(count); ++i) {
            TapList& list = lists_[i];
            if (random.Chance(10)) continue;
            first = std::min(first + random.Between(0, width > 100 ? width / 10 : 3), width - 1);
            list.first = even ? first / 2 * 2 : first;
            list.taps = random.Between(1, taps_.stride);
            float* const weights = &weights_[i * stride];
            const int kind = random.Between(0, 4);
            for (int k = 0; k < list.taps; ++k) {
                weights[k] = kind == 0   ? 1.0F
                             : kind == 1 ? static_cast<float>(random.Between(0, 8)) / 8.0F
                                         : static_cast<float>(random.Between(-300, 1500)) / 777.0F;
                list.weightSum += static_cast<double>(weights[k]);
            }
            list.weightSum = static_cast<double>(static_cast<float>(list.weightSum));
            if (random.Chance(15)) list.weightSum = random.Between(-500, 9000) / 777.0;
            if (random.Chance(5)) list.weightSum = 0.0;
            std::int16_t* coarse = &coarse_[i * stride * Size(taps_.sets())];
            std::int16_t* fine = &fine_[i * stride * Size(taps_.sets())];
            if (luma) {
                std::vector<double> shares;
                for (const double factor : kLumaFactors) {
                    for (std::size_t k = 0; k < stride; ++k) {
                        shares.push_back(factor * static_cast<double>(weights[k]) / list.weightSum);
                    }
                }
                if (list.weightSum > 0.0) {
                    list.lumaForm = maker.OfShares(shares.data(), 3 * taps_.stride, coarse, fine);
                }
                coarse += 3 * stride;
                fine += 3 * stride;
            }
            list.form = maker.OfWeights(weights, taps_.stride, list.weightSum, coarse, fine);
            list.flat = FlatResultOf(weights, list.taps, list.weightSum, taps_.ending);
        }
        taps_.lists = lists_.data();
        taps_.weights = weights_.data();
        taps_.coarse = coarse_.data();
        taps_.fine = fine_.data();
    }
    const Taps& taps() const { return taps_; }

private:
    Taps taps_{};
    std::vector<TapList> lists_;
    std::vector<float> weights_;
    std::vector<std::int16_t> coarse_, fine_;
};

// Noise, extremes, spans of one byte, or a slope.
void FillHard(Random& random, Bytes& bytes) {
    const int kind = random.Between(0, 4), flat = random.Byte();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = kind == 0   ? random.Byte()
                   : kind == 1 ? static_cast<std::uint8_t>(random.Chance(50) ? 255 : 0)
                   : kind == 2 ? static_cast<std::uint8_t>(flat)
                   : kind == 3 ? static_cast<std::uint8_t>(i / 7)
                               : static_cast<std::uint8_t>(i / 40 % 2 ? 255 : flat);
    }
}

TEST(ScalingKernelsTiers, ResampleRowsTapAfterTap) {
    Random random(7);
    for (const KernelTier& tier : RunnableTiers()) {
        for (int shape = 0; shape < kResampleShapes; ++shape) {
            const bool luma = shape >= kLumaOnly;
            const int channels = shape - (luma ? kLumaOnly : kChannels1) + 1, planes = luma ? channels + 2 : channels;
            ASSERT_EQ(ResampleShapeOf(channels, luma), shape);
            ASSERT_EQ(ChannelsOf(ResampleShape(shape)), channels);
            ASSERT_EQ(PlanesOf(ResampleShape(shape)), planes);
            for (int round = 0; round < 300; ++round) {
                RowBlock block{};
                block.rows = random.Between(1, RowBlock::kMaxRows);
                block.width = round < 10 ? random.Between(1000, 4000) : random.Between(1, 60);
                block.step = random.Between(planes, RowBlock::kMaxStep);
                const int turn = random.Between(0, block.step - planes);
                for (int p = 0; p < planes; ++p) block.offset[p] = (planes - 1 - p) + turn;
                block.pitch = random.Between(channels, RowBlock::kMaxPitch);
                for (int c = 0; c < channels; ++c) block.byteOf[c] = (c + turn) % block.pitch;
                const int columns = random.Between(0, 40);
                const AnyTaps any(random, block.width, columns, luma, true);
                const Taps& taps = any.taps();
                block.taps = &taps;

                // A row ends with the last of its bytes that is read, so that the sanitizers see one more.
                const std::size_t rowSize = Size((block.width - 1) * block.step + planes - 1 + turn + 1);
                std::vector<Bytes> rows(Size(block.rows), Bytes(rowSize));
                const std::size_t resultSize = Size(columns * block.pitch) + 2 * kGuard;
                std::vector<Bytes> results(Size(block.rows), Bytes(resultSize, 99)), expected = results;
                for (int r = 0; r < block.rows; ++r) {
                    FillHard(random, rows[Size(r)]);
                    block.src[r] = rows[Size(r)].data();
                    block.dst[r] = results[Size(r)].data() + kGuard;
                    for (int x = 0; x < columns; ++x) {
                        std::uint8_t* const group = &expected[Size(r)][kGuard + Size(x * block.pitch)];
                        std::fill_n(group, block.pitch, std::uint8_t{0});
                        const TapList& list = taps.lists[x];
                        for (int c = 0; c < channels; ++c) {
                            double sum = 0.0;
                            for (int k = 0; k < list.taps; ++k) {
                                const double weight = static_cast<double>(taps.weights[x * taps.stride + k]);
                                const int pixel = list.first + k;
                                const auto byte = [&](int plane) {
                                    return pixel < block.width
                                               ? rows[Size(r)][Size(pixel * block.step + block.offset[plane])]
                                               : 0;
                                };
                                sum += luma && c == 0
                                           ? byte(0) * 0.3 * weight + byte(1) * 0.59 * weight + byte(2) * 0.11 * weight
                                           : byte(luma ? c + 2 : c) * weight;
                            }
                            group[block.byteOf[c]] = ScaledByte(sum, list.weightSum, taps.ending);
                        }
                    }
                }
                Bytes scratch(Size(static_cast<int>(RowScratchBytes(static_cast<ResampleShape>(shape), taps.stride))),
                              77);
                block.scratch = scratch.data();
                tier.table.scaling.alongRows[shape](block);
                ASSERT_EQ(results, expected) << tier.name << ": shape " << shape << ", " << columns << " columns of "
                                             << block.rows << " rows of " << block.width << " pixels";
            }
        }
    }
}

TEST(ScalingKernelsTiers, AddRowsInOrder) {
    Random random(3);
    for (const KernelTier& tier : RunnableTiers()) {
        for (int round = 0; round < 3000; ++round) {
            const int count = random.Between(1, 140);
            const AnyTaps any(random, 1, 2, false, false);
            const Taps& taps = any.taps();
            const TapList& list = taps.lists[0];
            if (list.taps == 0) continue;
            const int lists = taps.lists[1].taps == list.taps ? 2 : 1;
            std::vector<Bytes> rows(Size(list.taps), Bytes(Size(count)));
            std::vector<const std::uint8_t*> pointers;
            FillHard(random, rows[0]);
            for (std::size_t k = 0; k < rows.size(); ++k) {
                if (k > 0 && random.Chance(60)) {
                    rows[k] = rows[k - 1];  // spans of one byte
                } else {
                    FillHard(random, rows[k]);
                }
                pointers.push_back(rows[k].data());
            }
            Bytes bytes[2], expected[2];
            RowStack stack{};
            stack.rows = pointers.data();
            stack.count = count;
            stack.taps = &taps;
            stack.lists = lists;
            for (std::size_t l = 0; l < 2; ++l) {
                bytes[l].assign(Size(count) + 2 * kGuard, 99);
                expected[l] = bytes[l];
                stack.dst[l] = bytes[l].data() + kGuard;
                if (static_cast<int>(l) >= lists) continue;
                const float* const weights = taps.weights + l * Size(taps.stride);
                for (std::size_t i = 0; i < Size(count); ++i) {
                    double sum = 0.0;
                    for (std::size_t k = 0; k < rows.size(); ++k) sum += rows[k][i] * static_cast<double>(weights[k]);
                    expected[l][kGuard + i] = ScaledByte(sum, taps.lists[l].weightSum, taps.ending);
                }
            }
            tier.table.scaling.acrossRows(stack);
            ASSERT_EQ(bytes[1], expected[1]) << tier.name << ": " << count << " bytes of " << rows.size() << " rows";
            ASSERT_EQ(bytes[0], expected[0]) << tier.name << ": " << count << " bytes of " << rows.size() << " rows";
        }
    }
}

}  // namespace
