#include "filters/TableWalk.h"

#include <algorithm>
#include <cstring>

#include "filters/ByteRuns.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

bool AreEqual(const ByteTable* tables, int count) {
    for (int c = 1; c < count; ++c) {
        if (std::memcmp(&tables[c], &tables[0], sizeof(ByteTable)) != 0) return false;
    }
    return true;
}

// The curves in the order of the bytes of a pixel, from its first channel on; one is enough where all are alike. A byte
// between the channels takes any.
struct CurvesByPlace {
    int period;
    ByteCurve curve[kMaxByteStep];

    CurvesByPlace(const PixelSide& side, const ByteTable* tables, bool alike)
        : period(alike ? 1 : static_cast<int>(side.pixelSize)) {
        std::fill_n(curve, period, CurveOf(tables[0]));
        const std::ptrdiff_t first = side.channels.lowest();
        for (int c = 0; c < side.channels.count && !alike; ++c) {
            curve[side.channels.offset[c] - first] = CurveOf(tables[c]);
        }
    }
};

}  // namespace

void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    const int count = sides.count();
    if (count < 1) return;
    const bool alike = AreEqual(tables, count);
    const auto inOrder = [&](const RunSet& runs) {
        MapInOrder(runs, [&](std::ptrdiff_t, std::uint8_t* samples) {
            for (int c = 0; c < count; ++c) samples[c] = tables[c].entry[samples[c]];
        });
    };
    if (!GoAsBytes(sides.src) || !(alike || AreDistinct(sides.src.channels))) {
        WalkSides(sides, area, inOrder);
        return;
    }
    const CurvesByPlace curves(sides.src, tables, alike);
    const auto mapBytes = Kernels().bytes.map;
    const auto mapInTurn = Kernels().tables.mapInTurn;
    WalkSides(sides, area, [&](const RunSet& runs) {
        if (runs.sharing == Sharing::mixed) return inOrder(runs);
        WorkOnBytes(runs, [&](const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t bytes, std::ptrdiff_t) {
            if (alike && !curves.curve[0].smooth) {
                mapBytes(from, to, bytes, tables[0].entry);
            } else {
                mapInTurn(from, to, bytes, curves.curve, curves.period);
            }
        });
    });
}

void MapThroughTable(const PixelSides& sides, const ByteTable& table) {
    ByteTable tables[ChannelSet::kMax];
    std::fill_n(tables, sides.count(), table);
    MapThroughTables(sides, WholeImage(sides.src.record), tables);
}

}  // namespace zor
