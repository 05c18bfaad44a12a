#include "filters/TableWalk.h"

#include <cstring>

void MapThroughTables_Plain(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkPixels_Plain<kCount>(sides, area, [&](std::ptrdiff_t, int, std::uint8_t* samples) {
            for (int c = 0; c < kCount; ++c) samples[c] = tables[c].entry[samples[c]];
        });
    });
}

// --- runs -----------------------------------------------------------------------------------------------------------

template <int kCount>
static void MapRun(const PixelRun& run, const ByteTable* tables) {
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

// Eight bytes are put together in a register, so that there is one store for eight loads.
static void MapBytes(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable& table) {
    constexpr std::ptrdiff_t kBlock = 8;
    std::ptrdiff_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        std::uint8_t block[kBlock];
        std::memcpy(block, src + i, kBlock);
        for (std::uint8_t& byte : block) byte = table.entry[byte];
        std::memcpy(dst + i, block, kBlock);
    }
    for (; i < count; ++i) dst[i] = table.entry[src[i]];
}

static bool AreEqual(const ByteTable* tables, int count) {
    for (int c = 1; c < count; ++c) {
        if (std::memcmp(&tables[c], &tables[0], sizeof(ByteTable)) != 0) return false;
    }
    return true;
}

void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables) {
    if (!PointOrderIsHidden(sides)) {
        MapThroughTables_Plain(sides, area, tables);
        return;
    }
    const bool equal = AreEqual(tables, sides.count());
    const bool oneRun = IsOneRunOfBytes(sides);
    WithChannelCount(sides.count(), [&](auto kCount) {
        WalkRuns<kCount>(sides, area, [&](const PixelRun& run) {
            const bool packed = run.src == run.dst && run.srcStep == kCount;
            if (equal && (oneRun || packed)) {
                const std::ptrdiff_t first = run.from->lowest();
                MapBytes(run.src + first, run.dst + first, run.width * kCount, tables[0]);
            } else {
                MapRun<kCount>(run, tables);
            }
        });
    });
}
