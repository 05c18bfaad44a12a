#include "filters/NeonFilter.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "filters/FilterFrame.h"

// --- one channel of a pixel -----------------------------------------------------------------------------------------

std::uint8_t NeonGlow_Plain(int squares) {
    const double doubled = static_cast<double>(static_cast<float>(squares)) * 2;
    const float glow = static_cast<float>(std::sqrt(doubled));
    return static_cast<std::uint8_t>(std::min(static_cast<int>(glow), 255));
}

namespace {

// From here on, half of 255 squared, the glow is full.
constexpr int kFullGlow = 32513;

struct GlowTable {
    std::uint8_t glow[kFullGlow + 1];
    GlowTable() {
        for (int squares = 0; squares <= kFullGlow; ++squares) glow[squares] = NeonGlow_Plain(squares);
    }
};

const GlowTable& Glows() {
    static const GlowTable table;
    return table;
}

std::uint8_t Glow(const GlowTable& table, int here, int right, int below) {
    const int squares = (here - below) * (here - below) + (here - right) * (here - right);
    return table.glow[std::min(squares, kFullGlow)];
}

}  // namespace

std::uint8_t NeonGlow(int squares) {
    return Glows().glow[std::min(squares, kFullGlow)];
}

// --- rows -----------------------------------------------------------------------------------------------------------

namespace {

// The last pixel reads its right neighbour from here, wherever its row has no padding.
constexpr std::int64_t kTailBytes = 16;

template <int kCount>
void GlowInside(const std::uint8_t* here, const std::uint8_t* below, std::uint8_t* out, const PixelSides& sides,
                std::ptrdiff_t width, const GlowTable& table) {
    const std::ptrdiff_t step = sides.source.pixelSize, outStep = sides.dest.pixelSize;
    std::ptrdiff_t from[kCount], to[kCount];
    std::copy_n(sides.source.channels.offset, kCount, from);
    std::copy_n(sides.dest.channels.offset, kCount, to);
    for (std::ptrdiff_t x = 0; x < width; ++x, here += step, below += step, out += outStep) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) {
            samples[c] = Glow(table, here[from[c]], here[step + from[c]], below[from[c]]);
        }
        for (int c = 0; c < kCount; ++c) out[to[c]] = samples[c];
    }
}

// For rows of which some bytes do not exist, in the image or behind the copies of short rows.
template <int kCount>
void GlowByByte(const RowSpan& here, const RowSpan& below, const RowSpan& out, const PixelSides& sides,
                std::ptrdiff_t width, const GlowTable& table) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        std::uint8_t pixel[kCount], right[kCount], lower[kCount];
        Load<kCount>(here, sides.source, x, pixel);
        Load<kCount>(here, sides.source, x + 1, right);
        Load<kCount>(below, sides.source, x, lower);
        for (int c = 0; c < kCount; ++c) pixel[c] = Glow(table, pixel[c], right[c], lower[c]);
        Store<kCount>(out, sides.dest, x, pixel);
    }
}

// Row y of the source, or zeros where there is none. False in the second case.
bool CopyRow(ImageClassData* source, int y, std::int64_t rowSize, const RowSpan& copy) {
    const RowSpan row = y < source->Height ? GetRowSpan(source, y) : RowSpan{};
    if (row) {
        LoadRun(row, 0, static_cast<std::ptrdiff_t>(rowSize), copy.data);
    } else if (rowSize > 0) {
        std::memset(copy.data, 0, static_cast<std::size_t>(rowSize));
    }
    return static_cast<bool>(row);
}

// The source's rows are copied before the destination's are written: a mapped row is good only until the next one,
// and the two images may be one.
template <int kCount>
void GlowRows(const PixelSides& sides, std::int64_t rowSize, RowSpan here, RowSpan below) {
    ImageClassData* const source = sides.source.record;
    const std::ptrdiff_t width = source->Width;
    const GlowTable& table = Glows();
    bool exists = CopyRow(source, 0, rowSize, here);
    for (int y = 0; y < source->Height; ++y) {
        const bool nextExists = CopyRow(source, y + 1, rowSize, below);
        const RowSpan out = GetRowSpan(sides.dest.record, y);
        if (exists && out) {
            if (Covers(here, sides.source, 0, width + 1) && Covers(below, sides.source, 0, width) &&
                Covers(out, sides.dest, 0, width)) {
                GlowInside<kCount>(here.data, below.data, out.data, sides, width, table);
            } else {
                GlowByByte<kCount>(here, below, out, sides, width, table);
            }
        }
        std::swap(here, below);
        exists = nextExists;
    }
}

}  // namespace

REALobject NeonFilter(REALobject object, REALobject dest) {
    return FilterInto(object, dest, [](ImageClassData* source, ImageClassData* target) {
        const PixelSides sides = SidesOf(source, target);
        const std::int64_t size = source->RowSize + kTailBytes;
        if (sides.count() < 1 || size < 0 || size > INT_MAX) return;
        const HeapArray<std::uint8_t> first(size), second(size);
        if (!first || !second) return;
        const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(size);
        WithChannelCount(sides.count(), [&](auto kCount) {
            GlowRows<kCount>(sides, source->RowSize, {first.get(), 0, end}, {second.get(), 0, end});
        });
    });
}
