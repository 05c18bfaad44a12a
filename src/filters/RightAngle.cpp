#include "filters/RightAngle.h"

#include <algorithm>
#include <climits>

#include "core/Factory.h"
#include "core/Storage.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"

// Pixel (sx, sy) of one image to pixel (dx, dy) of the other. The source is read before the destination's row is
// fetched, which may move the window of an image that is both.
template <int kCount>
static void MovePixel(const PixelSides& sides, int sx, int sy, int dx, int dy) {
    std::uint8_t samples[kCount];
    const RowSpan src = GetRowSpan(sides.source.record, sy);
    if (!src) return;
    Load<kCount>(src, sides.source, sx, samples);
    if (const RowSpan dst = GetRowSpan(sides.dest.record, dy)) Store<kCount>(dst, sides.dest, dx, samples);
}

// --- half turn ------------------------------------------------------------------------------------------------------

template <int kCount>
static void HalfTurn_Plain(const PixelSides& sides, int width, int height) {
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width; ++i) MovePixel<kCount>(sides, width - 1 - i, y, i, height - 1 - y);
    }
}

// One row for images that share no byte.
template <int kCount, class PixelCopy>
static void TurnRow(const RowSpan& src, const RowSpan& dst, const PixelSides& sides, std::ptrdiff_t width,
                    const PixelCopy& pixel) {
    if (!Covers(src, sides.source, 0, width) || !Covers(dst, sides.dest, 0, width)) {
        std::uint8_t samples[kCount];
        for (std::ptrdiff_t i = 0; i < width; ++i) {
            Load<kCount>(src, sides.source, width - 1 - i, samples);
            Store<kCount>(dst, sides.dest, i, samples);
        }
        return;
    }
    const PixelCopy local = pixel;
    const std::ptrdiff_t step = sides.source.pixelSize, destStep = sides.dest.pixelSize;
    const std::uint8_t* from = src.data + (width - 1) * step;
    std::uint8_t* to = dst.data;
    for (std::ptrdiff_t i = 0; i < width; ++i, from -= step, to += destStep) local.Copy(from, to);
}

template <int kCount>
static void HalfTurn(const PixelSides& sides, int width, int height) {
    if (width < 1) return;
    WithPixelCopy<kCount>(sides, [&](const auto& pixel) {
        for (int y = 0; y < height; ++y) {
            const RowSpan src = GetRowSpan(sides.source.record, y);
            const RowSpan dst = GetRowSpan(sides.dest.record, height - 1 - y);
            if (src && dst) TurnRow<kCount>(src, dst, sides, width, pixel);
        }
    });
}

REALobject Rotate180(REALobject object, REALobject dest) {
    ImageClassData* const source = ImageDataOf(object);
    const REALobject result = OpenDestination(source, dest);
    if (!result) return nullptr;
    const PixelSides sides = SidesOf(source, ImageDataOf(result));
    WithChannelCount(sides.count(), [&](auto kCount) {
        if (ImagesOverlap(source, sides.dest.record)) {
            HalfTurn_Plain<kCount>(sides, source->Width, source->Height);
        } else {
            HalfTurn<kCount>(sides, source->Width, source->Height);
        }
    });
    return result;
}

// --- quarter turns --------------------------------------------------------------------------------------------------

// Where the pixel in column x, row y of the source goes.
struct QuarterTurn {
    PixelSides sides;
    int width;  // of the source
    int height;
    bool clockwise;

    int DestRow(int x) const { return clockwise ? x : width - 1 - x; }
    int DestColumn(int y) const { return clockwise ? height - 1 - y : y; }
};

// Half-open part of the source.
struct Block {
    int left, top, right, bottom;
};

// Cuts an area into blocks of that many columns and rows, from the top and in each strip from the left.
template <class Work>
static void ForBlocks(const Block& area, int columns, int rows, Work work) {
    for (std::int64_t top = area.top; top < area.bottom; top += rows) {
        const int bottom = static_cast<int>(std::min<std::int64_t>(top + rows, area.bottom));
        for (std::int64_t left = area.left; left < area.right; left += columns) {
            const int right = static_cast<int>(std::min<std::int64_t>(left + columns, area.right));
            work(Block{static_cast<int>(left), static_cast<int>(top), right, bottom});
        }
    }
}

template <int kCount>
static void TurnBlock_Plain(const QuarterTurn& turn, const Block& block) {
    for (int y = block.top; y < block.bottom; ++y) {
        for (int x = block.left; x < block.right; ++x) {
            MovePixel<kCount>(turn.sides, x, y, turn.DestColumn(y), turn.DestRow(x));
        }
    }
}

// A part of the source that a processor cache holds together with its fellow in the other image. The pixels of 128
// rows fill whole cache lines of the destination, whatever their size.
constexpr int kTileColumns = 64, kTileRows = 128;

// Takes the rows first to first + count - 1 of an image that may be mapped, all good at the same time; false if its
// window moved meanwhile.
static bool TakeRows(ImageClassData* record, int first, int count, RowSpan* rows) {
    rows[0] = GetRowSpan(record, first);
    const std::uint8_t* const window = record->Pixels;
    const int windowStart = record->MappedFirstRow;
    for (int i = 1; i < count; ++i) rows[i] = GetRowSpan(record, first + i);
    return !record->IsMapping ||
           (record->IsMapped && record->Pixels == window && record->MappedFirstRow == windowStart);
}

static bool AllCover(const RowSpan* rows, int count, const PixelSide& side, std::ptrdiff_t first,
                     std::ptrdiff_t width) {
    return std::all_of(rows, rows + count, [&](const RowSpan& row) { return Covers(row, side, first, width); });
}

// Turns a tile whose rows are at hand and hold all of its pixels. sources are the rows in the order of the
// destination's columns, dests those of the destination from the top.
template <class PixelCopy>
static void TurnTile(const RowSpan* sources, const RowSpan* dests, const QuarterTurn& turn, const Block& tile,
                     const PixelCopy& pixel) {
    const PixelCopy local = pixel;
    const std::ptrdiff_t step = turn.sides.source.pixelSize, destStep = turn.sides.dest.pixelSize;
    const int columns = tile.right - tile.left, rows = tile.bottom - tile.top;
    const std::ptrdiff_t firstColumn = std::min(turn.DestColumn(tile.top), turn.DestColumn(tile.bottom - 1));
    for (int i = 0; i < columns; ++i) {
        const std::ptrdiff_t at = (turn.clockwise ? tile.left + i : tile.right - 1 - i) * step;
        std::uint8_t* to = dests[i].data + firstColumn * destStep;
        for (int j = 0; j < rows; ++j, to += destStep) local.Copy(sources[j].data + at, to);
    }
}

// One tile of images that share no byte and whose pixels and rows are apart, so that no order shows.
template <int kCount, class PixelCopy>
static void TurnTileOrPlain(const QuarterTurn& turn, const Block& tile, const PixelCopy& pixel) {
    const PixelSides& sides = turn.sides;
    const int columns = tile.right - tile.left, rows = tile.bottom - tile.top;
    const int firstRow = std::min(turn.DestRow(tile.left), turn.DestRow(tile.right - 1));
    const int firstColumn = std::min(turn.DestColumn(tile.top), turn.DestColumn(tile.bottom - 1));
    RowSpan sources[kTileRows], dests[kTileColumns];
    if (TakeRows(sides.source.record, tile.top, rows, sources) &&
        TakeRows(sides.dest.record, firstRow, columns, dests) &&
        AllCover(sources, rows, sides.source, tile.left, columns) &&
        AllCover(dests, columns, sides.dest, firstColumn, rows)) {
        if (turn.clockwise) std::reverse(sources, sources + rows);
        TurnTile(sources, dests, turn, tile, pixel);
    } else {
        TurnBlock_Plain<kCount>(turn, tile);
    }
}

// How many rows of this image can be in reach together wherever they lie: a window starts up to two rows above the
// row that made it move.
static int RowsInReach(const ImageClassData* record) {
    constexpr int kMargin = 2;
    return record->IsMapping ? std::max(record->MappedRowCount - kMargin, 1) : INT_MAX;
}

// Moves the window, if there is one, so that it holds rows first to last, as far as it is that large: from the last
// row it moves to the first where it does not hold both.
static void BringIntoReach(ImageClassData* record, int first, int last) {
    if (!record->IsMapping) return;
    GetRowSpan(record, last);
    GetRowSpan(record, first);
}

template <int kCount>
static void TurnInTiles(const QuarterTurn& turn, const Block& whole) {
    ImageClassData* const source = turn.sides.source.record;
    ImageClassData* const dest = turn.sides.dest.record;
    WithPixelCopy<kCount>(turn.sides, [&](const auto& pixel) {
        ForBlocks(whole, RowsInReach(dest), RowsInReach(source), [&](const Block& block) {
            const int a = turn.DestRow(block.left), b = turn.DestRow(block.right - 1);
            BringIntoReach(dest, std::min(a, b), std::max(a, b));
            BringIntoReach(source, block.top, block.bottom - 1);
            ForBlocks(block, kTileColumns, kTileRows,
                      [&](const Block& tile) { TurnTileOrPlain<kCount>(turn, tile, pixel); });
        });
    });
}

static bool OrderIsHidden(const QuarterTurn& turn) {
    const PixelSides& sides = turn.sides;
    return !ImagesOverlap(sides.source.record, sides.dest.record) && PixelsAreApart(sides.dest) &&
           RowsAreApart(sides.dest, turn.height);
}

// The side of the blocks of a walk that keeps to the windows: what both windows hold. Images in memory count with their
// height. Where a window holds fewer than three rows the walk goes without blocks.
static int WindowBlock(const ImageClassData* source, const ImageClassData* dest) {
    const std::int64_t block = std::min<std::int64_t>(source->MappedRowCount, dest->MappedRowCount) - 2;
    return block < 1 ? INT_MAX : static_cast<int>(block);
}

static REALobject TurnByQuarter(REALobject object, REALobject dest, bool clockwise, bool inBlocks) {
    ImageClassData* const source = ImageDataOf(object);
    const REALobject result = OpenDestination(source, dest, NewShape::turned);
    if (!result) return nullptr;
    ImageClassData* const target = ImageDataOf(result);
    const QuarterTurn turn{SidesOf(source, target), source->Width, source->Height, clockwise};
    const Block whole{0, 0, turn.width, turn.height};
    WithChannelCount(turn.sides.count(), [&](auto kCount) {
        if (OrderIsHidden(turn)) {
            TurnInTiles<kCount>(turn, whole);
        } else {
            const int block = inBlocks ? WindowBlock(source, target) : INT_MAX;
            ForBlocks(whole, block, block, [&](const Block& part) { TurnBlock_Plain<kCount>(turn, part); });
        }
    });
    return result;
}

REALobject Rotate90(REALobject object, REALobject dest) {
    return TurnByQuarter(object, dest, false, false);
}

REALobject Rotate270(REALobject object, REALobject dest) {
    return TurnByQuarter(object, dest, true, false);
}

REALobject Rotate90fast(REALobject object, REALobject dest) {
    return TurnByQuarter(object, dest, false, true);
}

REALobject Rotate270fast(REALobject object, REALobject dest) {
    return TurnByQuarter(object, dest, true, true);
}
