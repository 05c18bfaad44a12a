#pragma once
// Passing channel bytes through tables of 256 values.

#include "core/Rectangles.h"
#include "filters/PixelSide.h"
#include "kernels/Tables.h"

namespace zor {

inline PixelRect WholeImage(const ImageClassData* record) {
    return {0, 0, record->Width, record->Height};
}

// The runs of the area in both images. The host gets no turns.
template <class Work>
void WalkSides(const PixelSides& sides, const PixelRect& area, Work work) {
    if (sides.count() < 1) return;
    const Layer layers[] = {LayerOf(sides.dst, area.x, area.y), LayerOf(sides.src, area.x, area.y)};
    WalkRuns({layers, 2, area.width, area.height, nullptr, false, false}, work);
}

// For runs whose order shows: pixels from the left, each read whole before it is stored. map(i, samples) changes the
// samples in place.
template <class MapPixel>
void MapInOrder(const RunSet& runs, MapPixel map) {
    const PixelRun dst = runs.run[0], src = runs.run[1];  // the stores below cannot change copies
    WithChannelCount(src.channels.count, [&](auto kCount) {
        const std::uint8_t* from = src.pixels;
        std::uint8_t* to = dst.pixels;
        for (std::ptrdiff_t i = 0; i < runs.count; ++i, from += src.step, to += dst.step) {
            std::uint8_t samples[kCount];
            for (int c = 0; c < kCount; ++c) samples[c] = from[src.channels.offset[c]];
            map(i, samples);
            for (int c = 0; c < kCount; ++c) to[dst.channels.offset[c]] = samples[c];
            EndOfPixel();
        }
    });
}

// Every channel of every pixel of the area becomes the entry of its own table at the source's byte. One table per
// channel of the sides, in their order.
void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables);

// The whole source, every channel through the same table.
void MapThroughTable(const PixelSides& sides, const ByteTable& table);

}  // namespace zor
