#include "filters/NeonFilter.h"

#include <climits>
#include <cstring>
#include <utility>

#include "filters/ByteRuns.h"
#include "filters/FilterFrame.h"
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

// Layers: the result, the row, the same one pixel further on, the row below. The copies of rows share no byte with the
// result.
enum GlowLayer { kDst, kHere, kAside, kBelow };

void GlowInOrder(const RunSet& runs) {
    const auto sample = [&](GlowLayer layer, std::ptrdiff_t i, int channel) -> std::uint8_t& {
        const PixelRun& run = runs.run[layer];
        return run.pixels[i * run.step + run.channels.offset[channel]];
    };
    for (std::ptrdiff_t i = 0; i < runs.count; ++i) {
        for (int c = 0; c < runs.run[kDst].channels.count; ++c) {
            const int here = sample(kHere, i, c), aside = here - sample(kAside, i, c),
                      down = here - sample(kBelow, i, c);
            sample(kDst, i, c) = NeonGlow(aside * aside + down * down);
        }
    }
}

template <class Glow>
void GlowAsBytes(const RunSet& runs, Glow glow) {
    const std::ptrdiff_t step = runs.run[kHere].step, first = runs.run[kHere].channels.lowest();
    WorkOnBytes(runs, [&](const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t bytes, std::ptrdiff_t pixel) {
        glow(from, from + step, runs.run[kBelow].pixels + pixel * step + first, to, bytes);
    });
}

// The source's rows are copied before the destination's are written: a mapped row is good only until the next one,
// and the two images may be one.
void GlowRows(const PixelSides& sides, std::int64_t rowSize, RowSpan here, RowSpan below) {
    ImageClassData* const src = sides.src.record;
    const bool asBytes = GoAsBytes(sides.src);
    const auto glow = Kernels().tone.glow;
    const auto copied = [&](std::int64_t x) { return LayerOfRows(x, sides.src.channels, sides.src.pixelSize); };
    const Layer layers[] = {LayerOf(sides.dst, 0, 0), copied(0), copied(1), copied(0)};
    const Walk walk{layers, 4, src->Width, src->Height, nullptr, false, false};
    bool exists = CopyRow(src, 0, rowSize, here);
    for (int y = 0; y < src->Height; ++y) {
        const bool nextExists = CopyRow(src, y + 1, rowSize, below);
        const RowSpan rows[] = {GetRowSpan(sides.dst.record, y), here, here, below};
        if (exists) {
            WorkRow(walk, rows, y, [&](const RunSet& runs) {
                if (!asBytes || runs.sharing == Sharing::mixed) return GlowInOrder(runs);
                GlowAsBytes(runs, glow);
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
