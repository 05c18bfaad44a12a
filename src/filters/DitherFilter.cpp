#include "filters/DitherFilter.h"

#include "filters/ByteRuns.h"
#include "filters/DitherTables.h"
#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

struct Dither {
    const int* values;
    int side;
    DitherTables tables;

    const int* RowOf(std::int64_t y) const { return values + y % side * side; }
};

void DitherInOrder(const RunSet& runs, const Dither& dither) {
    const int side = dither.side, count = runs.run[1].channels.count;
    const int* const row = dither.RowOf(runs.row);
    const int first = static_cast<int>(runs.column % side);
    MapInOrder(runs, [&](std::ptrdiff_t i, std::uint8_t* samples) {
        const int threshold = row[(first + i) % side];
        for (int c = 0; c < count; ++c) samples[c] = DitherByte(dither.tables, threshold, samples[c]);
    });
}

// Every byte of a pixel has the threshold of the pixel. No remainder is above a byte, so that thresholds need not be.
DitherRow ThresholdsOf(const Dither& dither, std::int64_t y, int pixelSize) {
    DitherRow row;
    row.period = dither.side * pixelSize;
    const int* const values = dither.RowOf(y);
    for (int i = 0; i < row.period + DitherRow::kMore; ++i) {
        row.threshold[i] = static_cast<std::uint8_t>(std::min(values[i / pixelSize % dither.side], 255));
    }
    return row;
}

// Gray and RGB images; levels 2 to 256.
void DitherImage(const PixelSides& sides, const Dither& dither) {
    const PixelRect area = WholeImage(sides.src.record);
    const auto inOrder = [&](const RunSet& runs) { DitherInOrder(runs, dither); };
    if (!GoAsBytes(sides.src)) {
        WalkSides(sides, area, inOrder);
        return;
    }
    const int pixelSize = static_cast<int>(sides.src.pixelSize);
    const auto ditherBytes = Kernels().tone.dither;
    WalkSides(sides, area, [&](const RunSet& runs) {
        if (runs.sharing == Sharing::mixed) return inOrder(runs);
        const DitherRow row = ThresholdsOf(dither, runs.row, pixelSize);
        WorkOnBytes(runs, [&](const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t bytes, std::ptrdiff_t pixel) {
            const int phase = static_cast<int>((runs.column + pixel) % dither.side) * pixelSize;
            ditherBytes(from, to, bytes, dither.tables, row, phase);
        });
    });
}

}  // namespace

REALobject DitherFilter(REALobject object, REALobject dst, int matrix, int levels) {
    return FilterInto(object, dst, [matrix, levels](ImageClassData* from, ImageClassData* to) {
        Dither dither{};
        SetMatrixValues(matrix, dither.values, dither.side);
        if (!from->IsGray && !from->IsRGB) return;
        if (!dither.values || levels < 2 || levels > 256) return;
        dither.tables = MakeDitherTables(levels, dither.side);
        DitherImage(SidesOf(from, to), dither);
    });
}

}  // namespace zor
