#include "filters/RightAngle.h"

#include <algorithm>
#include <climits>

#include "core/Factory.h"
#include "core/Storage.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"
#include "kernels/KernelTable.h"

namespace zor {

// Rows are turned round or become columns, which no walk over runs can do: turns walk by themselves.

// Pixel (sx, sy) of one image to pixel (dx, dy) of the other. The source is read before the destination's row is
// fetched, which may move the window of an image that is both.
template <int kCount>
static void MovePixel(const PixelSides& sides, int sx, int sy, int dx, int dy) {
    std::uint8_t samples[kCount];
    const RowSpan src = GetRowSpan(sides.src.record, sy);
    if (!src) return;
    Load<kCount>(src, sides.src, sx, samples);
    if (const RowSpan dst = GetRowSpan(sides.dst.record, dy)) Store<kCount>(dst, sides.dst, dx, samples);
}

// --- half turn ------------------------------------------------------------------------------------------------------

template <int kCount>
static void HalfTurn_Plain(const PixelSides& sides, int width, int height) {
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width; ++i) MovePixel<kCount>(sides, width - 1 - i, y, i, height - 1 - y);
    }
}

// One row for images that share no byte.
static void TurnRow(const RowSpan& src, const RowSpan& dst, const PixelSides& sides, std::ptrdiff_t width) {
    if (Covers(src, sides.src, 0, width) && Covers(dst, sides.dst, 0, width)) {
        PixelRun backwards = RunAt(src, sides.src, width - 1);
        backwards.step = -backwards.step;
        ByCount(Kernels().geometry.copy, sides.count())(RunAt(dst, sides.dst, 0), backwards, width);
        return;
    }
    WithChannelCount(sides.count(), [&](auto kCount) {
        std::uint8_t samples[kCount];
        for (std::ptrdiff_t i = 0; i < width; ++i) {
            Load<kCount>(src, sides.src, width - 1 - i, samples);
            Store<kCount>(dst, sides.dst, i, samples);
        }
    });
}

static void HalfTurn(const PixelSides& sides, int width, int height) {
    if (width < 1) return;
    for (int y = 0; y < height; ++y) {
        const RowSpan src = GetRowSpan(sides.src.record, y);
        const RowSpan dst = GetRowSpan(sides.dst.record, height - 1 - y);
        if (src && dst) TurnRow(src, dst, sides, width);
    }
}

REALobject Rotate180(REALobject object, REALobject dst) {
    ImageClassData* const src = ImageDataOf(object);
    const REALobject result = OpenDestination(src, dst);
    if (!result) return nullptr;
    const PixelSides sides = SidesOf(src, ImageDataOf(result));
    if (HoldsNothing(sides.dst.record)) return result;
    WithChannelCount(sides.count(), [&](auto kCount) {
        if (ImagesOverlap(src, sides.dst.record)) {
            HalfTurn_Plain<kCount>(sides, src->Width, src->Height);
        } else {
            HalfTurn(sides, src->Width, src->Height);
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

    int DstRow(int x) const { return clockwise ? x : width - 1 - x; }
    int DstColumn(int y) const { return clockwise ? height - 1 - y : y; }
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
            MovePixel<kCount>(turn.sides, x, y, turn.DstColumn(y), turn.DstRow(x));
        }
    }
}

// A part of the source that a processor cache holds together with its fellow in the other image. The pixels of 128
// rows fill whole cache lines of the destination, whatever their size.
constexpr int kTileColumns = 64, kTileRows = 128;

// Rows of one of the two images. Where they stay in their places and hold all of their pixels they are looked up once.
class TurnRows {
public:
    TurnRows(const PixelSide& side, int width, int height)
        : side_(side), standing_(side.record->IsMapping ? 0 : height), stand_(!side.record->IsMapping && standing_) {
        for (int y = 0; y < height && stand_; ++y) {
            const RowSpan row = GetRowSpan(side.record, y);
            stand_ = Covers(row, side, 0, width);
            standing_.get()[y] = row.data;
        }
    }

    // The addresses of column 0 of rows first to first + count - 1, all good at the same time. False where the window
    // of a mapped image moved meanwhile, and where a row does not hold the pixels of `width` columns from `left` on.
    bool Take(int first, int count, std::ptrdiff_t left, std::ptrdiff_t width, std::uint8_t** rows) const {
        if (stand_) {
            std::copy_n(standing_.get() + first, count, rows);
            return true;
        }
        ImageClassData* const record = side_.record;
        const std::uint8_t* window = nullptr;
        int windowStart = 0;
        for (int i = 0; i < count; ++i) {
            const RowSpan row = GetRowSpan(record, first + i);
            if (!Covers(row, side_, left, width)) return false;
            rows[i] = row.data;
            if (i > 0) continue;
            window = record->Pixels;
            windowStart = record->MappedFirstRow;
        }
        return !record->IsMapping ||
               (record->IsMapped && record->Pixels == window && record->MappedFirstRow == windowStart);
    }

private:
    PixelSide side_;
    HeapArray<std::uint8_t*> standing_;
    bool stand_;
};

// One tile of images that share no byte and whose pixels and rows are apart, so that no order shows.
static void TurnTileOrPlain(const QuarterTurn& turn, const TurnRows& srcRows, const TurnRows& dstRows,
                            const Block& tile) {
    const PixelSide &src = turn.sides.src, &dst = turn.sides.dst;
    const int columns = tile.right - tile.left, rows = tile.bottom - tile.top;
    const int firstRow = std::min(turn.DstRow(tile.left), turn.DstRow(tile.right - 1));
    const int firstColumn = std::min(turn.DstColumn(tile.top), turn.DstColumn(tile.bottom - 1));
    std::uint8_t *from[kTileRows], *to[kTileColumns];
    if (!srcRows.Take(tile.top, rows, tile.left, columns, from) ||
        !dstRows.Take(firstRow, columns, firstColumn, rows, to)) {
        WithChannelCount(turn.sides.count(), [&](auto kCount) { TurnBlock_Plain<kCount>(turn, tile); });
        return;
    }
    // Rows of the source in the order of the destination's columns, and its columns in that of the rows.
    if (turn.clockwise) std::reverse(from, from + rows);
    const std::ptrdiff_t firstPixel = turn.clockwise ? tile.left : tile.right - 1;
    for (int j = 0; j < rows; ++j) from[j] += firstPixel * src.pixelSize;
    for (int i = 0; i < columns; ++i) to[i] += firstColumn * dst.pixelSize;
    ByCount(Kernels().geometry.turn,
            turn.sides.count())({to, from, dst.pixelSize, turn.clockwise ? src.pixelSize : -src.pixelSize, columns,
                                 rows, dst.channels, src.channels});
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

static void TurnInTiles(const QuarterTurn& turn, const Block& whole) {
    ImageClassData* const src = turn.sides.src.record;
    ImageClassData* const dst = turn.sides.dst.record;
    const TurnRows srcRows(turn.sides.src, turn.width, turn.height), dstRows(turn.sides.dst, turn.height, turn.width);
    ForBlocks(whole, RowsInReach(dst), RowsInReach(src), [&](const Block& block) {
        const int a = turn.DstRow(block.left), b = turn.DstRow(block.right - 1);
        BringIntoReach(dst, std::min(a, b), std::max(a, b));
        BringIntoReach(src, block.top, block.bottom - 1);
        ForBlocks(block, kTileColumns, kTileRows,
                  [&](const Block& tile) { TurnTileOrPlain(turn, srcRows, dstRows, tile); });
    });
}

static bool OrderIsHidden(const QuarterTurn& turn) {
    const PixelSides& sides = turn.sides;
    return !ImagesOverlap(sides.src.record, sides.dst.record) && PixelsAreApart(sides.dst) &&
           RowsAreApart(sides.dst, turn.height);
}

// The side of the blocks of a walk that keeps to the windows: what both windows hold. Images in memory count with their
// height. Where a window holds fewer than three rows the walk goes without blocks.
static int WindowBlock(const ImageClassData* src, const ImageClassData* dst) {
    const std::int64_t block = std::min<std::int64_t>(src->MappedRowCount, dst->MappedRowCount) - 2;
    return block < 1 ? INT_MAX : static_cast<int>(block);
}

static REALobject TurnByQuarter(REALobject object, REALobject dst, bool clockwise, bool inBlocks) {
    ImageClassData* const src = ImageDataOf(object);
    const REALobject result = OpenDestination(src, dst, NewShape::turned);
    if (!result) return nullptr;
    ImageClassData* const dstImage = ImageDataOf(result);
    const QuarterTurn turn{SidesOf(src, dstImage), src->Width, src->Height, clockwise};
    if (HoldsNothing(dstImage)) return result;
    const Block whole{0, 0, turn.width, turn.height};
    WithChannelCount(turn.sides.count(), [&](auto kCount) {
        if (OrderIsHidden(turn)) {
            TurnInTiles(turn, whole);
        } else {
            const int block = inBlocks ? WindowBlock(src, dstImage) : INT_MAX;
            ForBlocks(whole, block, block, [&](const Block& part) { TurnBlock_Plain<kCount>(turn, part); });
        }
    });
    return result;
}

REALobject Rotate90(REALobject object, REALobject dst) {
    return TurnByQuarter(object, dst, false, false);
}

REALobject Rotate270(REALobject object, REALobject dst) {
    return TurnByQuarter(object, dst, true, false);
}

REALobject Rotate90fast(REALobject object, REALobject dst) {
    return TurnByQuarter(object, dst, false, true);
}

REALobject Rotate270fast(REALobject object, REALobject dst) {
    return TurnByQuarter(object, dst, true, true);
}

}  // namespace zor
