#include <cstdlib>
#include <cstring>
#include <utility>

#include "kernels/Geometry.h"

namespace zor {

namespace {

// Where the channels of a pixel lie.
template <int kCount>
struct ChannelBytes {
    ChannelBytes(const ChannelSet& dst, const ChannelSet& src) {
        std::copy_n(src.offset, kCount, from);
        std::copy_n(dst.offset, kCount, to);
    }
    void Copy(std::uint8_t* dst, const std::uint8_t* src) const {
        for (int c = 0; c < kCount; ++c) dst[to[c]] = src[from[c]];
    }
    void Exchange(std::uint8_t* a, std::uint8_t* b) const {
        for (int c = 0; c < kCount; ++c) std::swap(a[to[c]], b[to[c]]);
    }
    std::ptrdiff_t from[kCount], to[kCount];
};

// The same where they lie side by side, in the same order on both sides.
template <int kCount>
struct WholePixel {
    explicit WholePixel(const ChannelSet& channels) : first(channels.lowest()) {}
    void Copy(std::uint8_t* dst, const std::uint8_t* src) const { std::memcpy(dst + first, src + first, kCount); }
    void Exchange(std::uint8_t* a, std::uint8_t* b) const {
        std::uint8_t kept[kCount];
        std::memcpy(kept, a + first, kCount);
        std::memcpy(a + first, b + first, kCount);
        std::memcpy(b + first, kept, kCount);
    }
    std::ptrdiff_t first;
};

bool AreWhole(const ChannelSet& dst, const ChannelSet& src, int count) {
    return SameOffsets(dst, src) && AreDistinct(src) && src.highest() - src.lowest() == count - 1;
}

// Calls work with whichever of the two fits.
template <int kCount, class Work>
void WithPixel(const ChannelSet& dst, const ChannelSet& src, Work work) {
    if (AreWhole(dst, src, kCount)) {
        work(WholePixel<kCount>(src));
    } else {
        work(ChannelBytes<kCount>(dst, src));
    }
}

// Loops stand in functions of their own: in a lambda's, stores could change what it captures.
template <class Pixel>
void CopyPixels(const Pixel pixel, const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count) {
    const std::ptrdiff_t dstStep = dst.step, srcStep = src.step;
    std::uint8_t* __restrict to = dst.pixels;
    const std::uint8_t* __restrict from = src.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, to += dstStep, from += srcStep) pixel.Copy(to, from);
}

template <class Pixel>
void TurnPixels(const Pixel pixel, const PixelTile& given) {
    const PixelTile tile = given;
    const std::uint8_t* const* const rows = tile.src;
    const std::ptrdiff_t step = tile.dstStep;
    for (int i = 0; i < tile.columns; ++i) {
        const std::ptrdiff_t at = i * tile.srcStep;
        std::uint8_t* __restrict to = tile.dst[i];
        for (int j = 0; j < tile.rows; ++j, to += step) pixel.Copy(to, rows[j] + at);
    }
}

template <int kCount>
void Copy_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count) {
    const std::ptrdiff_t dstStep = dst.step, srcStep = src.step;
    if (dstStep == kCount && srcStep == kCount && AreWhole(dst.channels, src.channels, kCount)) {
        const std::ptrdiff_t first = src.channels.lowest();
        std::memcpy(dst.pixels + first, src.pixels + first, static_cast<std::size_t>(count * kCount));
        return;
    }
    if (kCount == 1 && dstStep == 1 && srcStep == -1) {  // for the compiler to make vectors of
        std::uint8_t* __restrict to = dst.pixels + dst.channels.offset[0];
        const std::uint8_t* __restrict from = src.pixels + src.channels.offset[0];
        for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = from[-i];
        return;
    }
    WithPixel<kCount>(dst.channels, src.channels, [&](const auto pixel) { CopyPixels(pixel, dst, src, count); });
}

template <int kCount>
void Exchange_Plain(const PixelRun& aRun, const PixelRun& bRun, std::ptrdiff_t count) {
    const std::ptrdiff_t aStep = aRun.step, bStep = bRun.step;
    WithPixel<kCount>(aRun.channels, aRun.channels, [&](const auto pixel) {
        std::uint8_t *a = aRun.pixels, *b = bRun.pixels;
        for (std::ptrdiff_t i = 0; i < count; ++i, a += aStep, b += bStep) pixel.Exchange(a, b);
    });
}

// Pixels of one byte side by side: eight are put together first, so that there is one store for eight loads.
void TurnBytes(const PixelTile& given) {
    const PixelTile tile = given;
    constexpr int kBlock = 8;
    const std::uint8_t* const* const rows = tile.src;
    for (int i = 0; i < tile.columns; ++i) {
        const std::ptrdiff_t at = i * tile.srcStep + tile.srcChannels.offset[0];
        std::uint8_t* __restrict to = tile.dst[i] + tile.dstChannels.offset[0];
        int j = 0;
        for (; j + kBlock <= tile.rows; j += kBlock) {
            std::uint8_t block[kBlock];
            for (int k = 0; k < kBlock; ++k) block[k] = rows[j + k][at];
            std::memcpy(to + j, block, kBlock);
        }
        for (; j < tile.rows; ++j) to[j] = rows[j][at];
    }
}

template <int kCount>
void Turn_Plain(const PixelTile& tile) {
    if (kCount == 1 && tile.dstStep == 1) return TurnBytes(tile);
    WithPixel<kCount>(tile.dstChannels, tile.srcChannels, [&](const auto pixel) { TurnPixels(pixel, tile); });
}

std::uint8_t Sheared(std::uint8_t value, std::uint8_t before, std::uint32_t factor) {
    return static_cast<std::uint8_t>(value - (value * factor >> 16) + (before * factor >> 16));
}

void ShearRow_Plain(const std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count, std::uint16_t factor,
                    std::uint8_t* __restrict dst) {
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = Sheared(row[i], row[i - step], factor);
}

void ShearColumns_Plain(const ShearTile& given) {
    const ShearTile tile = given;  // the stores below cannot change a copy
    for (int y = 0; y < tile.height; ++y) {
        std::uint8_t* __restrict const dst = tile.dst + y * tile.dstRowBytes;
        for (std::ptrdiff_t x = 0; x < tile.width; ++x) {
            const std::uint8_t* const before = tile.rows + (y + tile.down[x]) * tile.rowBytes + x;
            dst[x] = Sheared(before[tile.rowBytes], *before, tile.factor[x]);
        }
    }
}

}  // namespace

void InitGeometry_Plain(GeometryKernels* kernels) {
    *kernels = {{Copy_Plain<1>, Copy_Plain<2>, Copy_Plain<3>, Copy_Plain<4>, Copy_Plain<5>},
                {Exchange_Plain<1>, Exchange_Plain<2>, Exchange_Plain<3>, Exchange_Plain<4>, Exchange_Plain<5>},
                {Turn_Plain<1>, Turn_Plain<2>, Turn_Plain<3>, Turn_Plain<4>, Turn_Plain<5>},
                ShearRow_Plain,
                ShearColumns_Plain};
}

}  // namespace zor
