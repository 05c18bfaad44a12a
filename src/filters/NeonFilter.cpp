#include "filters/NeonFilter.h"

#include <climits>
#include <cstring>
#include <utility>

#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

// The last pixel reads its right neighbour from here, wherever its row has no padding.
constexpr std::int64_t kTailBytes = 16;

// Row y of the source, or zeros where there is none. False in the second case.
bool CopyRow(ImageClassData* src, int y, std::int64_t rowSize, const RowSpan& copy) {
    const RowSpan row = y < src->Height ? GetRowSpan(src, y) : RowSpan{};
    if (row) {
        LoadRun(row, 0, static_cast<std::ptrdiff_t>(rowSize), copy.data);
    } else if (rowSize > 0) {
        std::memset(copy.data, 0, static_cast<std::size_t>(rowSize));
    }
    return static_cast<bool>(row);
}

// A pixel of which some bytes do not exist, in the image or behind the copies of short rows.
void GlowAtEdge(const RunSet& runs) {
    const auto sample = [&](int layer, int channel) -> std::uint8_t& {
        return runs.run[layer].pixels[runs.run[layer].channels.offset[channel]];
    };
    for (int c = 0; c < runs.run[0].channels.count; ++c) {
        const int here = sample(1, c), aside = here - sample(2, c), down = here - sample(3, c);
        sample(0, c) = NeonGlow(aside * aside + down * down);
    }
}

// The source's rows are copied before the destination's are written: a mapped row is good only until the next one,
// and the two images may be one.
void GlowRows(const PixelSides& sides, std::int64_t rowSize, RowSpan here, RowSpan below) {
    ImageClassData* const src = sides.src.record;
    const auto glow = ByCount(Kernels().tone.glow, sides.count());
    const auto copied = [&](std::int64_t x) { return LayerOfRows(x, sides.src.channels, sides.src.pixelSize); };
    const Layer layers[] = {LayerOf(sides.dst, 0, 0), copied(0), copied(1), copied(0)};
    const Walk walk{layers, 4, src->Width, src->Height, nullptr, false, false};
    bool exists = CopyRow(src, 0, rowSize, here);
    for (int y = 0; y < src->Height; ++y) {
        const bool nextExists = CopyRow(src, y + 1, rowSize, below);
        const RowSpan rows[] = {GetRowSpan(sides.dst.record, y), here, here, below};
        if (exists) {
            WorkRow(walk, rows, y, [&](const RunSet& runs) {
                if (runs.sharing == Sharing::mixed) return GlowAtEdge(runs);
                glow(runs.run[0], runs.run[1], runs.run[3], runs.count);
            });
        }
        std::swap(here, below);
        exists = nextExists;
    }
}

}  // namespace

REALobject NeonFilter(REALobject object, REALobject dst) {
    return FilterInto(object, dst, [](ImageClassData* from, ImageClassData* to) {
        const PixelSides sides = SidesOf(from, to);
        const std::int64_t size = from->RowSize + kTailBytes;
        if (sides.count() < 1 || size < 0 || size > INT_MAX) return;
        const HeapArray<std::uint8_t> first(size), second(size);
        if (!first || !second) return;
        const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(size);
        GlowRows(sides, from->RowSize, {first.get(), 0, end}, {second.get(), 0, end});
    });
}

}  // namespace zor
