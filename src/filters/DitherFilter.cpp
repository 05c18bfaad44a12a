#include "filters/DitherFilter.h"

#include "filters/DitherTables.h"
#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"
#include "kernels/KernelTable.h"

namespace zor {

DitherTables MakeDitherTables(int levels, int side) {
    DitherTables tables{};
    for (int k = 0; k < levels; ++k) tables.level[k] = 255 * k / (levels - 1);
    for (int i = 0; i < 256; ++i) {
        tables.quotient[i] = i * (levels - 1) / 256;
        tables.remainder[i] = i * (side * side + 1) / 256;
    }
    return tables;
}

namespace {

constexpr int kMaxSide = 16;

// One table of bytes for every cell of the matrix, so that a channel byte costs one look-up.
struct Cells {
    ByteTable cell[kMaxSide * kMaxSide];
};

void MakeCells(const int* values, int side, const DitherTables& tables, Cells* cells) {
    for (int cell = 0; cell < side * side; ++cell) {
        for (int i = 0; i < 256; ++i) {
            cells->cell[cell].entry[i] = DitherByte(tables, values[cell], static_cast<std::uint8_t>(i));
        }
    }
}

struct Dither {
    const int* values;
    int side;
    DitherTables tables;
};

void DitherInOrder(const RunSet& runs, const Dither& dither) {
    const int side = dither.side, count = runs.run[1].channels.count;
    const int* const row = dither.values + runs.row % side * side;
    const int first = static_cast<int>(runs.column % side);
    MapInOrder(runs, [&](std::ptrdiff_t i, std::uint8_t* samples) {
        const int threshold = row[(first + i) % side];
        for (int c = 0; c < count; ++c) samples[c] = DitherByte(dither.tables, threshold, samples[c]);
    });
}

// Gray and RGB images; levels 2 to 256.
void DitherImage(ImageClassData* src, ImageClassData* dst, Dither dither, int levels) {
    // Below this the cells cost more to make than they save.
    constexpr std::int64_t kFewPixels = 4096;
    const PixelSides sides = SidesOf(src, dst);
    const PixelRect area = WholeImage(src);
    dither.tables = MakeDitherTables(levels, dither.side);
    if (area.width * area.height < kFewPixels) {
        WalkSides(sides, area, [&](const RunSet& runs) { DitherInOrder(runs, dither); });
        return;
    }
    Cells cells;
    MakeCells(dither.values, dither.side, dither.tables, &cells);
    const auto cycle = ByCount(Kernels().tables.cycle, sides.count());
    WalkSides(sides, area, [&](const RunSet& runs) {
        if (runs.sharing == Sharing::mixed) return DitherInOrder(runs, dither);
        const ByteTable* const row = cells.cell + runs.row % dither.side * dither.side;
        const int first = static_cast<int>(runs.column % dither.side);
        cycle(runs.run[0], runs.run[1], runs.count, {row, dither.side, first});
    });
}

}  // namespace

REALobject DitherFilter(REALobject object, REALobject dst, int matrix, int levels) {
    return FilterInto(object, dst, [matrix, levels](ImageClassData* from, ImageClassData* to) {
        Dither dither{};
        SetMatrixValues(matrix, dither.values, dither.side);
        if (!from->IsGray && !from->IsRGB) return;
        if (!dither.values || levels < 2 || levels > 256) return;
        DitherImage(from, to, dither, levels);
    });
}

}  // namespace zor
