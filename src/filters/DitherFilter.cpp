#include "filters/DitherFilter.h"

#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"

DitherTables MakeDitherTables(int levels, int side) {
    DitherTables tables{};
    for (int k = 0; k < levels; ++k) tables.level[k] = 255 * k / (levels - 1);
    for (int i = 0; i < 256; ++i) {
        tables.quotient[i] = i * (levels - 1) / 256;
        tables.remainder[i] = i * (side * side + 1) / 256;
    }
    return tables;
}

void DitherImage_Plain(ImageClassData* source, ImageClassData* dest, int matrix, int levels) {
    const int* values;
    int side;
    SetMatrixValues(matrix, values, side);
    const DitherTables tables = MakeDitherTables(levels, side);
    const PixelSides sides = SidesOf(source, dest);
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkPixels_Plain<kCount>(sides, WholeImage(source), [&](std::ptrdiff_t x, int y, std::uint8_t* samples) {
            const int threshold = values[y % side * side + x % side];
            for (int c = 0; c < kCount; ++c) {
                samples[c] = DitherByte(tables, threshold, samples[c]);
            }
        });
    });
}

// --- runs -----------------------------------------------------------------------------------------------------------

namespace {

constexpr int kLargestSide = 16;

// One table of bytes for every cell of the matrix, so that a channel byte costs one look-up.
struct Cells {
    ByteTable cell[kLargestSide * kLargestSide];
};

void MakeCells(const int* values, int side, const DitherTables& tables, Cells* cells) {
    for (int cell = 0; cell < side * side; ++cell) {
        for (int i = 0; i < 256; ++i) {
            cells->cell[cell].entry[i] = DitherByte(tables, values[cell], static_cast<std::uint8_t>(i));
        }
    }
}

template <int kCount>
void DitherRun(const PointRun& run, const Cells& cells, int side) {
    std::ptrdiff_t from[kCount], to[kCount];
    std::copy_n(run.from->offset, kCount, from);
    std::copy_n(run.to->offset, kCount, to);
    const ByteTable* const row = cells.cell + run.y % side * side;
    const ByteTable* const rowEnd = row + side;
    const ByteTable* cell = row + run.x % side;
    const std::uint8_t* src = run.src;
    std::uint8_t* dst = run.dst;
    for (std::ptrdiff_t i = 0; i < run.width; ++i, src += run.srcStep, dst += run.dstStep) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) samples[c] = cell->entry[src[from[c]]];
        for (int c = 0; c < kCount; ++c) dst[to[c]] = samples[c];
        if (++cell == rowEnd) cell = row;
    }
}

}  // namespace

void DitherImage(ImageClassData* source, ImageClassData* dest, int matrix, int levels) {
    // Below this the cells cost more to make than they save.
    constexpr std::int64_t kFewPixels = 4096;
    const PixelSides sides = SidesOf(source, dest);
    if (static_cast<std::int64_t>(source->Width) * source->Height < kFewPixels ||
        !PointOrderIsHidden(sides.source.record, sides.dest.record, ChannelsOf(sides))) {
        DitherImage_Plain(source, dest, matrix, levels);
        return;
    }
    const int* values;
    int side;
    SetMatrixValues(matrix, values, side);
    Cells cells;
    MakeCells(values, side, MakeDitherTables(levels, side), &cells);
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkRuns<kCount>(sides, WholeImage(source), [&](const PointRun& run) { DitherRun<kCount>(run, cells, side); });
    });
}

REALobject DitherFilter(REALobject object, REALobject dest, int matrix, int levels) {
    return FilterInto(object, dest, [matrix, levels](ImageClassData* source, ImageClassData* target) {
        const int* values;
        int side;
        SetMatrixValues(matrix, values, side);
        if (!source->IsGray && !source->IsRGB) return;
        if (!values || levels < 2 || levels > 256) return;
        DitherImage(source, target, matrix, levels);
    });
}
