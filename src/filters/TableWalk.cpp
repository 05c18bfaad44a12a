#include "filters/TableWalk.h"

#include <cstring>

#include "kernels/KernelTable.h"

void MapThroughTables_Plain(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkPixels_Plain<kCount>(sides, area, [&](std::ptrdiff_t, int, std::uint8_t* samples) {
            for (int c = 0; c < kCount; ++c) samples[c] = tables[c].entry[samples[c]];
        });
    });
}

// --- runs -----------------------------------------------------------------------------------------------------------

template <int kCount>
static void MapRun(const PointRun& run, const ByteTable* tables) {
    std::ptrdiff_t from[kCount], to[kCount];
    std::copy_n(run.from->offset, kCount, from);
    std::copy_n(run.to->offset, kCount, to);
    const std::uint8_t* src = run.src;
    std::uint8_t* dst = run.dst;
    for (std::ptrdiff_t i = 0; i < run.width; ++i, src += run.srcStep, dst += run.dstStep) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) samples[c] = tables[c].entry[src[from[c]]];
        for (int c = 0; c < kCount; ++c) dst[to[c]] = samples[c];
    }
}

static bool AreEqual(const ByteTable* tables, int count) {
    for (int c = 1; c < count; ++c) {
        if (std::memcmp(&tables[c], &tables[0], sizeof(ByteTable)) != 0) return false;
    }
    return true;
}

void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    if (!PointOrderIsHidden(sides.source.record, sides.dest.record, ChannelsOf(sides))) {
        MapThroughTables_Plain(sides, area, tables);
        return;
    }
    const bool equal = AreEqual(tables, sides.count());
    const bool oneRun = IsOneRunOfBytes(sides.source.record, sides.dest.record, ChannelsOf(sides));
    const auto mapBytes = Kernels().bytes.map;
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkRuns<kCount>(sides, area, [&](const PointRun& run) {
            const bool packed = run.src == run.dst && run.srcStep == kCount;
            if (equal && (oneRun || packed)) {
                const std::ptrdiff_t first = run.from->lowest();
                mapBytes(run.src + first, run.dst + first, run.width * kCount, tables[0].entry);
            } else {
                MapRun<kCount>(run, tables);
            }
        });
    });
}
