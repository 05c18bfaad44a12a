#pragma once
// The one walk of operations that go over a rectangle pixel by pixel: rows from the top, pixels from the left, each
// together with its fellows in up to three other layers. It fetches the rows, cuts them to what may be touched, gives
// the host its turns, and hands the pixels on as runs, for kernels to work on.
//
//     const Layer layers[] = {LayerOf(dst, dstX, dstY, dstChannels), LayerOf(src, srcX, srcY, srcChannels)};
//     WalkRuns({layers, 2, width, height, dst}, [&](const RunSet& runs) {
//         (runs.sharing == Sharing::apart ? fast : inOrder)(runs.run[0], runs.run[1], runs.count);
//     });

#include "core/Rectangles.h"
#include "core/RowSpan.h"

namespace zor {

// What takes part in a walk: an image, or something else that has rows. The channels stay those of the start, whatever
// becomes of the image while the host has its turns.
struct Layer {
    static constexpr int kMax = 4;

    ImageClassData* image;  // null where rowAt gives the rows
    std::int64_t x;         // corner of the rectangle in this layer, in pixels
    std::int64_t y;
    ChannelSet channels;
    std::ptrdiff_t pixelSize;  // bytes from one pixel to the next
    std::ptrdiff_t first;      // bytes of a pixel that kernels may touch, half-open: those of the channels, or more
    std::ptrdiff_t end;

    RowSpan (*rowAt)(void* rows, std::int64_t step);  // the row of a step, which counts from 0; null: row y + step
    void* rows;
};

Layer LayerOf(ImageClassData* image, std::int64_t x, std::int64_t y, const ChannelSet& channels);

// Of rows that are handed to WorkRow.
Layer LayerOfRows(std::int64_t x, const ChannelSet& channels, std::ptrdiff_t pixelSize);

// For kernels that read and write whole pixels, pad bytes too. The channels must lie within one pixel, which need not
// be the one that the row begins with: clip views move them by whole pixels. False where they do not.
bool ReachWholePixels(Layer* layer);

// What the target's pixels have in common with those of the other layers.
enum class Sharing : unsigned char {
    apart,  // no byte: no order of pixels can show
    same,   // each pixel is its own fellow, channel by channel; order cannot show where a pixel is read before it is
            // stored and depends on itself only
    mixed,  // anything else: only the order from the left, a pixel at a time, gives the right result
};

struct RunSet {
    PixelRun run[Layer::kMax];  // by layer; only the target's, the first, may be written
    std::ptrdiff_t count;       // pixels
    std::ptrdiff_t column;      // of the first one in the rectangle
    std::int64_t row;           // in the rectangle
    Sharing sharing;
};

struct Walk {
    const Layer* layers;  // the target first
    int layerCount;
    std::int64_t width;  // of the rectangle, in pixels
    std::int64_t height;
    YieldData* yield;       // gives the host a turn behind every row, also one that does not exist; null: none
    bool everyPixel;        // pixels wholly outside the storage are worked on too, by operations that draw numbers
    bool stopAtMissingRow;  // a row that does not exist ends the walk; otherwise it is skipped
};

using RunFn = void (*)(void* work, const RunSet& runs);

// False if it stopped at a missing row. Rows are fetched in the order of the layers. The bytes of a pixel that cannot
// be touched read 0 and are dropped when they are written.
bool WalkRuns(const Walk& walk, RunFn run, void* work);

// Row `step` of a walk whose rows are at hand, for operations that find them in a way of their own. Nothing happens
// where one is missing.
void WorkRow(const Walk& walk, const RowSpan* rows, std::int64_t step, RunFn run, void* work);

template <class Work>
bool WalkRuns(const Walk& walk, Work work) {
    return WalkRuns(
        walk, [](void* self, const RunSet& runs) { (*static_cast<Work*>(self))(runs); }, &work);
}
template <class Work>
void WorkRow(const Walk& walk, const RowSpan* rows, std::int64_t step, Work work) {
    WorkRow(
        walk, rows, step, [](void* self, const RunSet& runs) { (*static_cast<Work*>(self))(runs); }, &work);
}

// For operations on whole rows of one image: hands every row of the rectangle that exists to work(row), and yields
// after each.
template <class Work>
void WalkRows(ImageClassData* record, const PixelRect& rect, Work work) {
    if (record->YieldTicks <= 0 && HoldsNothing(record)) return;
    for (std::int64_t y = rect.y; y < rect.y + rect.height; ++y) {
        const RowSpan row = GetRowSpan(record, static_cast<int>(y));
        if (row) work(row);
        YieldIfAsked(record);
    }
}

}  // namespace zor
