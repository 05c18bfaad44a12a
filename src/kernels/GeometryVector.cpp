#include "kernels/Geometry.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// --- shears ---------------------------------------------------------------------------------------------------------

// The factors of the bytes at even places and of those at odd places.
struct Factors {
    Words even, odd;
};

// value * factor >> 16 of every byte. An odd byte is taken as 256 times its value: the high half of the product then
// is 256 times too large, and its high byte is in its place.
HWY_INLINE Bytes PartOf(Bytes values, const Factors& factors) {
    const Words words = hn::BitCast(kWords, values), low = hn::Set(kWords, 0x00FF);
    const Words even = hn::MulHigh(hn::And(words, low), factors.even);
    const Words odd = hn::MulHigh(hn::AndNot(low, words), factors.odd);
    return hn::BitCast(kBytes, hn::Or(even, hn::AndNot(low, odd)));
}

HWY_INLINE std::uint8_t Sheared(std::uint8_t value, std::uint8_t before, std::uint32_t factor) {
    return static_cast<std::uint8_t>(value - (value * factor >> 16) + (before * factor >> 16));
}

void ShearRow(const std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count, std::uint16_t factor,
              std::uint8_t* dst) {
    const Factors factors{hn::Set(kWords, factor), hn::Set(kWords, factor)};
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes value = hn::LoadU(kBytes, row + i), before = hn::LoadU(kBytes, row + i - step);
        hn::StoreU(hn::Add(hn::Sub(value, PartOf(value, factors)), PartOf(before, factors)), kBytes, dst + i);
    }
    for (; i < count; ++i) dst[i] = Sheared(row[i], row[i - step], factor);
}

// As many columns as a vector has bytes. Their bytes in a row of the target come from rows of the tile that lie
// `lowest` to `highest` further down, and each of those rows gives the bytes that its mask shows:
//
//     down  2 2 2 1 1 1 0 0 0      row y + 2  R R R . . . . . .
//                                  row y + 1  . . . R R R . . .
//                                  row y      . . . . . . R R R
class TileColumns {
public:
    HWY_INLINE TileColumns(const ShearTile& tile, std::ptrdiff_t x)
        : down_(hn::LoadU(kBytes, tile.down + x)), rowBytes_(tile.rowBytes) {
        int lowest = 255, highest = 0;
        alignas(64) std::uint16_t even[kLanes / 2], odd[kLanes / 2];
        for (std::ptrdiff_t i = 0; i < kLanes; ++i) {
            const int down = tile.down[x + i];
            lowest = down < lowest ? down : lowest;
            highest = down > highest ? down : highest;
            (i % 2 ? odd : even)[i / 2] = tile.factor[x + i];
        }
        factors_ = {hn::Load(kWords, even), hn::Load(kWords, odd)};
        lowest_ = lowest;
        masks_ = highest - lowest + 1;
        rows_ = tile.rows + lowest * rowBytes_ + x;
    }

    HWY_INLINE int masks() const { return masks_; }

    // With the number of masks as a constant, or 0 for any.
    template <int kMasks>
    HWY_INLINE void Shear(int height, std::uint8_t* dst, std::ptrdiff_t dstRowBytes) const {
        Bytes mask[kMasks > 0 ? kMasks : 1];
        for (int k = 0; k < kMasks; ++k) mask[k] = Mask(k);
        const auto assembled = [&](const std::uint8_t* row) {
            if constexpr (kMasks == 1) return hn::LoadU(kBytes, row);
            Bytes bytes = hn::Zero(kBytes);
            if constexpr (kMasks > 0) {
                for (int k = 0; k < kMasks; ++k, row += rowBytes_) {
                    bytes = hn::Or(bytes, hn::And(hn::LoadU(kBytes, row), mask[k]));
                }
            } else {
                for (int k = 0; k < masks_; ++k, row += rowBytes_) {
                    bytes = hn::Or(bytes, hn::And(hn::LoadU(kBytes, row), Mask(k)));
                }
            }
            return bytes;
        };
        const std::uint8_t* row = rows_;
        Bytes before = PartOf(assembled(row), factors_);
        for (int y = 0; y < height; ++y, dst += dstRowBytes) {
            row += rowBytes_;
            const Bytes value = assembled(row), part = PartOf(value, factors_);
            hn::StoreU(hn::Add(hn::Sub(value, part), before), kBytes, dst);
            before = part;
        }
    }

private:
    HWY_INLINE Bytes Mask(int k) const {
        return hn::VecFromMask(kBytes, hn::Eq(down_, hn::Set(kBytes, static_cast<std::uint8_t>(lowest_ + k))));
    }

    Bytes down_;
    Factors factors_;
    std::ptrdiff_t rowBytes_;
    const std::uint8_t* rows_;
    int lowest_, masks_;
};

void ShearVectorOfColumns(const ShearTile& tile, std::ptrdiff_t x) {
    const TileColumns columns(tile, x);
    std::uint8_t* const dst = tile.dst + x;
    switch (columns.masks()) {
        case 1:
            return columns.Shear<1>(tile.height, dst, tile.dstRowBytes);
        case 2:
            return columns.Shear<2>(tile.height, dst, tile.dstRowBytes);
        case 3:
            return columns.Shear<3>(tile.height, dst, tile.dstRowBytes);
        case 4:
            return columns.Shear<4>(tile.height, dst, tile.dstRowBytes);
        case 5:
            return columns.Shear<5>(tile.height, dst, tile.dstRowBytes);
        case 6:
            return columns.Shear<6>(tile.height, dst, tile.dstRowBytes);
        case 7:
            return columns.Shear<7>(tile.height, dst, tile.dstRowBytes);
        case 8:
            return columns.Shear<8>(tile.height, dst, tile.dstRowBytes);
        default:
            return columns.Shear<0>(tile.height, dst, tile.dstRowBytes);
    }
}

// The last vector lies over the one before it where the width is none of whole vectors.
void ShearColumns(const ShearTile& given) {
    const ShearTile tile = given;  // the stores below cannot change a copy
    if (tile.width >= kLanes) {
        for (std::ptrdiff_t x = 0; x < tile.width; x += kLanes) {
            ShearVectorOfColumns(tile, x + kLanes <= tile.width ? x : tile.width - kLanes);
        }
        return;
    }
    for (int y = 0; y < tile.height; ++y) {
        for (std::ptrdiff_t x = 0; x < tile.width; ++x) {
            const std::uint8_t* const before = tile.rows + (y + tile.down[x]) * tile.rowBytes + x;
            tile.dst[y * tile.dstRowBytes + x] = Sheared(before[tile.rowBytes], *before, tile.factor[x]);
        }
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitGeometry)(GeometryKernels* kernels) {
    kernels->shearRow = ShearRow;
    kernels->shearColumns = ShearColumns;
}

}  // namespace zor
