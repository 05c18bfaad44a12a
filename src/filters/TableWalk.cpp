#include "filters/TableWalk.h"

#include <algorithm>
#include <cstring>

#include "kernels/KernelTable.h"

namespace zor {

static bool AreEqual(const ByteTable* tables, int count) {
    for (int c = 1; c < count; ++c) {
        if (std::memcmp(&tables[c], &tables[0], sizeof(ByteTable)) != 0) return false;
    }
    return true;
}

void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    const int count = sides.count();
    const bool asBytes = AreEqual(tables, count) && ShareWholePixels(sides);
    const auto mapBytes = Kernels().bytes.map;
    const auto map = ByCount(Kernels().tables.map, count);
    WalkSides(sides, area, [&](const RunSet& runs) {
        const PixelRun &dst = runs.run[0], &src = runs.run[1];
        if (runs.sharing == Sharing::mixed) {
            MapInOrder(runs, [&](std::ptrdiff_t, std::uint8_t* samples) {
                for (int c = 0; c < count; ++c) samples[c] = tables[c].entry[samples[c]];
            });
        } else if (asBytes) {
            const std::ptrdiff_t first = src.channels.lowest();
            mapBytes(src.pixels + first, dst.pixels + first, runs.count * count, tables[0].entry);
        } else {
            map(dst, src, runs.count, tables);
        }
    });
}

void MapThroughTable(const PixelSides& sides, const ByteTable& table) {
    ByteTable tables[ChannelSet::kMax];
    std::fill_n(tables, sides.count(), table);
    MapThroughTables(sides, WholeImage(sides.src.record), tables);
}

}  // namespace zor
