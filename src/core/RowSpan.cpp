#include "core/RowSpan.h"

#include <algorithm>

#include "core/RowAccess.h"
#include "core/Storage.h"
#include "kernels/KernelTable.h"

namespace zor {

RowSpan GetRowSpan(ImageClassData* record, int y) {
    if (!record->GetRow) return {};
    std::uint8_t* const row = record->GetRow(record, y);
    if (!row) return {};
    const StorageRange storage = StorageOfRow(record, row);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(row);
    return {row, static_cast<std::ptrdiff_t>(storage.begin - address),
            static_cast<std::ptrdiff_t>(storage.end - address)};
}

ByteRun CutRun(const RowSpan& row, std::int64_t first, std::int64_t pastLast) {
    const std::int64_t begin = std::max<std::int64_t>(first, row.begin);
    const std::int64_t end = std::min<std::int64_t>(pastLast, row.end);
    if (!row || begin >= end) return {nullptr, 0};
    return {row.data + static_cast<std::ptrdiff_t>(begin), static_cast<std::size_t>(end - begin)};
}

void CopyRun(const RowSpan& dst, std::int64_t dstAt, const RowSpan& src, std::int64_t srcAt, std::int64_t count) {
    if (!dst || !src) return;
    // What both rows have, as distances from the start of the run.
    const std::int64_t first = std::max({std::int64_t{0}, dst.begin - dstAt, src.begin - srcAt});
    const std::int64_t last = std::min({count, dst.end - dstAt, src.end - srcAt});
    if (first >= last) return;
    std::memmove(dst.data + static_cast<std::ptrdiff_t>(dstAt + first),
                 src.data + static_cast<std::ptrdiff_t>(srcAt + first), static_cast<std::size_t>(last - first));
}

void LoadRun(const RowSpan& row, std::int64_t from, std::ptrdiff_t count, std::uint8_t* buffer) {
    if (count <= 0) return;
    const ByteRun run = CutRun(row, from, from + count);
    if (run.size < static_cast<std::size_t>(count)) std::memset(buffer, 0, static_cast<std::size_t>(count));
    if (run.size > 0) std::memcpy(buffer + static_cast<std::ptrdiff_t>(run.data - row.data - from), run.data, run.size);
}

// --- columns --------------------------------------------------------------------------------------------------------

static std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0);
}
static std::int64_t CeilDiv(std::int64_t a, std::int64_t b) {
    return a / b + (a % b > 0);
}

PixelRange PixelsWithin(const RowSpan& row, std::int64_t pixelSize, std::int64_t low, std::int64_t high, std::int64_t x,
                        std::int64_t width) {
    if (pixelSize <= 0) return {0, low >= row.begin && high < row.end ? width : 0};  // all pixels are the same bytes
    const std::int64_t first = CeilDiv(std::int64_t{row.begin} - low, pixelSize) - x;
    const std::int64_t last = FloorDiv(std::int64_t{row.end} - 1 - high, pixelSize) - x + 1;
    const std::int64_t from = std::clamp<std::int64_t>(first, 0, width);
    return {from, std::clamp<std::int64_t>(last, from, width)};
}

bool HoldsNothing(const ImageClassData* record) {
    constexpr std::int64_t kMostPixels = INT32_MAX;
    const bool isLinear = record->GetRow == GetRowLinear || record->GetRow == GetRowLinearMirrored;
    return isLinear && record->StorageBytes <= 0 && record->Width > 0 && record->Height > kMostPixels / record->Width;
}

// --- gathering and scattering ---------------------------------------------------------------------------------------

namespace {

// Pixels first to last - 1, of which some bytes may lie outside.

void GatherByByte(const RowSpan& row, std::int64_t pixelSize, const ChannelSet& channels, std::int64_t x,
                  std::ptrdiff_t first, std::ptrdiff_t last, std::uint8_t* packed) {
    for (std::ptrdiff_t i = first; i < last; ++i) {
        for (int c = 0; c < channels.count; ++c) {
            packed[i * channels.count + c] = row.Load((x + i) * pixelSize + channels.offset[c]);
        }
    }
}

void ScatterByByte(const RowSpan& row, std::int64_t pixelSize, const ChannelSet& channels, std::int64_t x,
                   std::ptrdiff_t first, std::ptrdiff_t last, const std::uint8_t* packed) {
    for (std::ptrdiff_t i = first; i < last; ++i) {
        for (int c = 0; c < channels.count; ++c) {
            row.Store((x + i) * pixelSize + channels.offset[c], packed[i * channels.count + c]);
        }
    }
}

}  // namespace

void GatherPixels(const RowSpan& row, int pixelSize, const ChannelSet& channels, std::int64_t x, std::ptrdiff_t width,
                  std::uint8_t* packed) {
    if (width <= 0 || channels.count < 1) return;
    if (!row) {
        std::memset(packed, 0, static_cast<std::size_t>(width * channels.count));
        return;
    }
    const PixelRange inside = PixelsInside(row, pixelSize, channels, x, width);
    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(inside.first);
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(inside.last);
    GatherByByte(row, pixelSize, channels, x, 0, first, packed);
    if (first < last) {
        Kernels().pack.gather[channels.count - 1](
            {row.data + static_cast<std::ptrdiff_t>((x + first) * pixelSize), pixelSize, channels}, last - first,
            packed + first * channels.count);
    }
    GatherByByte(row, pixelSize, channels, x, last, width, packed);
}

void ScatterPixels(const RowSpan& row, int pixelSize, const ChannelSet& channels, std::int64_t x, std::ptrdiff_t width,
                   const std::uint8_t* packed) {
    if (width <= 0 || channels.count < 1 || !row) return;
    const PixelRange inside = PixelsInside(row, pixelSize, channels, x, width);
    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(inside.first);
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(inside.last);
    ScatterByByte(row, pixelSize, channels, x, 0, first, packed);
    if (first < last) {
        Kernels().pack.scatter[channels.count - 1](
            {row.data + static_cast<std::ptrdiff_t>((x + first) * pixelSize), pixelSize, channels}, last - first,
            packed + first * channels.count);
    }
    ScatterByByte(row, pixelSize, channels, x, last, width, packed);
}

}  // namespace zor
