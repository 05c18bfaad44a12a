#include "filters/ApplyMatrix.h"

#include <algorithm>
#include <cstring>

#include "core/RowAccess.h"
#include "core/Storage.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

constexpr int kMatrixValues = 2500;

// The cells of a matrix that count, in the order of the matrix.
struct Cell {
    std::int64_t row;  // from the pixel that is computed
    std::int64_t column;
    int weight;
};
struct Cells {
    Cell cell[kMatrixValues];
    int count = 0;
};

// A weight of 255 or more is a marker for a cell to leave out. Cells behind the last value weigh nothing, so that a
// dimension of any size ends.
void ReadCells(REALarray matrix, int dimension, Cells* cells) {
    constexpr int kLeftOut = 255;
    const std::int64_t given = matrix ? static_cast<std::int64_t>(REALGetArrayUBound(matrix)) + 1 : 0;
    const std::int64_t size = dimension;
    for (int i = 0; i < std::min<std::int64_t>(given, kMatrixValues); ++i) {
        const int weight = REALGetArrayInt(matrix, i);
        if (dimension < 1 || weight >= kLeftOut || weight == 0 || i / size >= size) continue;
        cells->cell[cells->count++] = {i / size - size / 2, i % size - size / 2, weight};
    }
}

struct Convolution {
    PixelSides sides;
    std::int64_t width;  // of the source
    std::int64_t height;
    MatrixFinish finish;
};

// --- pixel by pixel: defines the result -----------------------------------------------------------------------------

// The rows of the source that may lie somewhere in the destination's storage, as far as that can be told beforehand. An
// image of the application's own can be said to have more rows than any loop could visit.
PixelRange RowsReached(const Convolution& job) {
    const PixelSide& dst = job.sides.dst;
    const bool rowsFollow = dst.record->GetRow == GetRowLinear && dst.record->RowSize > 0;
    if (!rowsFollow) return {0, job.height};
    // As if rows were pixels, each from its first channel byte to its last.
    const std::int64_t last = (job.width - 1) * dst.pixelSize + dst.channels.highest();
    return PixelsWithin(GetRowSpan(dst.record, 0), dst.record->RowSize, last, dst.channels.lowest(), 0, job.height);
}

// Only pixels that can be stored are worked out. The destination's row is fetched again behind the source's, which may
// have moved it where both are one image.
template <int kCount>
void Convolve_Plain(const Convolution& job, const Cells& cells) {
    const PixelSide &src = job.sides.src, &dst = job.sides.dst;
    const PixelRange rows = RowsReached(job);
    for (std::int64_t y = rows.first; y < rows.last; ++y) {
        const int dstY = static_cast<int>(y);
        const RowSpan written = GetRowSpan(dst.record, dstY);
        if (!written) continue;
        const PixelRange columns =
            PixelsWithin(written, dst.pixelSize, dst.channels.highest(), dst.channels.lowest(), 0, job.width);
        for (std::int64_t x = columns.first; x < columns.last; ++x) {
            std::uint32_t sum[kCount] = {};
            std::uint8_t samples[kCount];
            for (int i = 0; i < cells.count; ++i) {
                const Cell& cell = cells.cell[i];
                const std::int64_t row = std::clamp<std::int64_t>(y + cell.row, 0, job.height - 1);
                const std::int64_t column = std::clamp<std::int64_t>(x + cell.column, 0, job.width - 1);
                Load<kCount>(GetRowSpan(src.record, static_cast<int>(row)), src, column, samples);
                for (int c = 0; c < kCount; ++c) sum[c] += samples[c] * static_cast<std::uint32_t>(cell.weight);
            }
            for (int c = 0; c < kCount; ++c) samples[c] = job.finish(sum[c]);
            if (const RowSpan row = GetRowSpan(dst.record, dstY)) Store<kCount>(row, dst, x, samples);
        }
    }
}

// --- row by row -----------------------------------------------------------------------------------------------------

// Packed rows of the source with their edge pixels repeated on both sides as far as the matrix reaches. Row y stays at
// hand while the next reach.rows - 1 are taken.
struct Reach {
    std::int64_t above = 0, below = 0, left = 0, right = 0;  // rows and columns beside the pixel, cut to the image
    std::int64_t rows() const { return above + 1 + below; }
};

Reach ReachOf(const Cells& cells, const Convolution& job) {
    Reach reach;
    for (int i = 0; i < cells.count; ++i) {
        reach.above = std::max(reach.above, -cells.cell[i].row);
        reach.below = std::max(reach.below, cells.cell[i].row);
        reach.left = std::max(reach.left, -cells.cell[i].column);
        reach.right = std::max(reach.right, cells.cell[i].column);
    }
    reach.above = std::min(reach.above, job.height - 1);
    reach.below = std::min(reach.below, job.height - 1);
    reach.left = std::min(reach.left, job.width - 1);
    reach.right = std::min(reach.right, job.width - 1);
    return reach;
}

// The scale by a product, for images with more samples than it takes to find one.
WordScale WordScaleOf(const Convolution& job, const Cells& cells) {
    std::int64_t most = job.finish.delta;
    for (int i = 0; i < cells.count; ++i) most += 255 * std::int64_t{std::max(cells.cell[i].weight, 0)};
    if (!job.finish.scales() || job.height < 1 || job.width * job.sides.count() < most / job.height) return {};
    return FindWordScale(job.finish, most);
}

class SourceRows {
public:
    SourceRows(const Convolution& job, const Reach& reach)
        : src_(job.sides.src),
          width_(static_cast<std::ptrdiff_t>(job.width)),
          reach_(reach),
          rowBytes_((job.width + reach.left + reach.right) * job.sides.count()),
          bytes_(reach.rows(), rowBytes_) {}
    explicit operator bool() const { return static_cast<bool>(bytes_); }

    // Address of column 0.
    std::uint8_t* Row(std::int64_t y) const {
        return bytes_.get() + y % reach_.rows() * rowBytes_ + reach_.left * src_.channels.count;
    }
    void Take(std::int64_t y) const {
        const std::ptrdiff_t count = src_.channels.count;
        std::uint8_t* const row = Row(y);
        CopyPackedSamples(GetRowSpan(src_.record, static_cast<int>(y)), src_, width_, row);
        const std::uint8_t* const last = row + (width_ - 1) * count;
        for (std::ptrdiff_t i = 1; i <= reach_.left; ++i) std::memcpy(row - i * count, row, count);
        for (std::ptrdiff_t i = 0; i < reach_.right; ++i) std::memcpy(row + (width_ + i) * count, last, count);
    }

private:
    PixelSide src_;
    std::ptrdiff_t width_;
    Reach reach_;
    std::int64_t rowBytes_;
    HeapArray<std::uint8_t> bytes_;
};

// Walks by itself, as each row of the result needs many of the source. For images that share no byte. Rows are stored
// in the order of the pixels, so a destination whose rows run into each other comes out the same. False, with nothing
// stored, where memory is short.
bool ConvolveRows(const Convolution& job, const Cells& cells) {
    const Reach reach = ReachOf(cells, job);
    const PixelSide& dst = job.sides.dst;
    const std::ptrdiff_t count = job.sides.count(), width = static_cast<std::ptrdiff_t>(job.width);
    const SourceRows rows(job, reach);
    const HeapArray<std::uint8_t> written(job.width, count);
    const HeapArray<MatrixTap> taps(cells.count);
    if (!rows || !written || !taps) return false;
    MatrixFinish finish = job.finish;
    finish.wordScale = WordScaleOf(job, cells);
    for (std::int64_t y = 0; y < std::min(reach.below, job.height); ++y) rows.Take(y);
    for (std::int64_t y = 0; y < job.height; ++y) {
        if (y + reach.below < job.height) rows.Take(y + reach.below);
        for (int i = 0; i < cells.count; ++i) {
            const Cell& cell = cells.cell[i];
            const std::int64_t row = std::clamp<std::int64_t>(y + cell.row, 0, job.height - 1);
            const std::int64_t column = std::clamp(cell.column, -reach.left, reach.right);
            taps.get()[i] = {rows.Row(row) + column * count, cell.weight};
        }
        if (const RowSpan row = GetRowSpan(dst.record, static_cast<int>(y))) {
            std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
            Kernels().matrix.convolve(taps.get(), cells.count, finish, width * count, bytes);
            EndPacked(row, dst, width, bytes);
        }
    }
    return true;
}

}  // namespace

REALobject PictureMatrix3(REALobject object, REALobject dst, int dimension, REALarray matrix) {
    return PictureMatrix5(object, dst, dimension, matrix, 0, 1.0);
}

REALobject PictureMatrix4(REALobject object, REALobject dst, int dimension, REALarray matrix, int delta) {
    return PictureMatrix5(object, dst, dimension, matrix, delta, 1.0);
}

REALobject PictureMatrix5(REALobject object, REALobject dst, int dimension, REALarray matrix, int delta,
                          double scaleFactor) {
    Cells cells;
    ReadCells(matrix, dimension, &cells);
    ImageClassData* const src = ImageDataOf(object);
    const REALobject result = OpenDestination(src, dst, NewShape::turned);
    if (!result) return nullptr;
    ImageClassData* const dstImage = ImageDataOf(result);
    Convolution job{SidesOf(src, dstImage), src->Width, src->Height, {delta, scaleFactor}};
    if (job.sides.count() < 1 || job.width < 1 || !HasRows(src) || HoldsNothing(dstImage)) return result;
    if (!ImagesOverlap(src, dstImage)) {
        OrderByBytes(&job.sides);
        if (ConvolveRows(job, cells)) return result;
    }
    WithChannelCount(job.sides.count(), [&](auto kCount) { Convolve_Plain<kCount>(job, cells); });
    return result;
}

}  // namespace zor
