#include "filters/ColumnBands.h"

#include <cstring>

#include "core/Storage.h"
#include "kernels/KernelTable.h"

namespace zor {

// A strip is so wide that its rows fill some vectors, and so narrow that the tile that it is made of, which has as many
// rows more than the band as the offsets of its columns differ, stays in the nearest cache.
constexpr int kStripBytes = 288, kMaxReach = 96;
static_assert(kMaxReach < 256);  // a byte tells how far down a column lies

ColumnBands::ColumnBands(const PixelSide& src, const ColumnShear& job, const ShearColour& background)
    : src_(src),
      job_(job),
      colour_(background),
      count_(src.channels.count),
      stripColumns_(std::max(kStripBytes / std::max(count_, 1) / 32 * 32, 32)),
      rowBytes_(static_cast<std::ptrdiff_t>(job.columns) * count_),
      columns_(job.columns),
      background_(job.columns, count_),
      closing_(job.columns, count_),
      band_(rowBytes_, std::min(kRows, job.dstRows)),
      tile_(kRows + 1 + kMaxReach, stripColumns_ * count_),
      rows_(src.record->IsMapping ? 0 : job.rows) {
    usable_ = count_ > 0 && job_.rows > 0 && columns_ && background_ && closing_ && band_ && tile_ && rows_;
    if (usable_) FillColumns();
}

void ColumnBands::FillColumns() {
    if (!src_.record->IsMapping) {
        for (int y = 0; y < job_.rows; ++y) rows_.get()[y] = GetRowSpan(src_.record, y);
    }
    TakeRow(job_.rows - 1, {0, job_.columns, 0, 0, false}, closing_.get());
    double shear = job_.shear;
    for (int u = 0; u < job_.columns; ++u) {
        const ShearStep step = StepOf(shear);
        columns_.get()[u] = {step, FactorOf(step.weight)};
        for (int c = 0; c < count_; ++c) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(u) * count_ + c;
            std::uint8_t& closing = closing_.get()[at];
            closing = ClosingOf(colour_.channel[c], step.weight, PartOf(closing, step.weight));
            background_.get()[at] = colour_.channel[c];
        }
        shear = shear - job_.slope;
    }
}

ColumnBands::Strip ColumnBands::StripFrom(int first) const {
    const Column* const columns = columns_.get();
    Strip strip{first, 0, columns[first].step.offset, columns[first].step.offset, true};
    for (int u = first; u < job_.columns && strip.count < stripColumns_; ++u) {
        const std::int64_t lowest = std::min(strip.lowest, columns[u].step.offset);
        const std::int64_t highest = std::max(strip.highest, columns[u].step.offset);
        if (highest - lowest > kMaxReach) break;
        strip = {first, strip.count + 1, lowest, highest, strip.hasFactors && columns[u].factor.exists};
    }
    return strip;
}

// --- a band ---------------------------------------------------------------------------------------------------------

// The row as it is seen from column x on.
static RowSpan FromColumn(const RowSpan& row, const PixelSide& side, std::ptrdiff_t x) {
    if (!row) return row;
    const std::ptrdiff_t at = x * side.pixelSize;
    return {row.data + at, row.begin - at, row.end - at};
}

void ColumnBands::TakeRow(std::int64_t y, const Strip& strip, std::uint8_t* samples) const {
    const RowSpan row = src_.record->IsMapping ? GetRowSpan(src_.record, static_cast<int>(y)) : rows_.get()[y];
    CopyPackedSamples(FromColumn(row, src_, strip.first), src_, strip.count, samples);
}

// The part of the band that a strip has, made of a tile of the source's rows. Rows above the image are background, and
// so is its last row and what would lie below, since the pixels that it makes are written over. False, with nothing
// done, where all is background.
bool ColumnBands::MakeStrip(const Strip& strip, int first, int rows) {
    const int height = rows + 1 + static_cast<int>(strip.highest - strip.lowest);
    const std::int64_t above = first - 1 - strip.highest;  // the row of the source that row 0 of the tile is
    const std::int64_t begin = std::clamp<std::int64_t>(-above, 0, height);
    const std::int64_t end = std::clamp<std::int64_t>(job_.rows - 1 - above, begin, height);
    const std::int64_t closing = strip.lowest + job_.rows - 1, lastClosing = strip.highest + job_.rows - 1;
    const bool closes = closing < std::int64_t{first} + rows && lastClosing >= first;
    if (begin == end && !closes) return false;

    const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(strip.first) * count_;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(strip.count) * count_;
    std::uint8_t* row = tile_.get();
    for (std::int64_t y = 0; y < height; ++y, row += width) {
        if (y >= begin && y < end) {
            TakeRow(above + y, strip, row);
        } else {
            std::memcpy(row, background_.get(), static_cast<std::size_t>(width));
        }
    }
    std::uint8_t down[kStripBytes];
    std::uint16_t factor[kStripBytes];
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        const Column& column = columns_.get()[strip.first + x / count_];
        down[x] = static_cast<std::uint8_t>(strip.highest - column.step.offset);
        factor[x] = column.factor.factor;
    }
    const ShearTile tile{tile_.get(), width, down, factor, width, rows, band_.get() + start, rowBytes_};
    if (strip.hasFactors) {
        Kernels().geometry.shearColumns(tile);
    } else {
        ShearByWeights(strip, tile);
    }
    if (closes) CloseColumns(strip, first, rows);
    return true;
}

// Where the weight of a column is none that an integer can stand for.
void ColumnBands::ShearByWeights(const Strip& strip, const ShearTile& tile) const {
    for (std::ptrdiff_t x = 0; x < tile.width; ++x) {
        const double weight = columns_.get()[strip.first + x / count_].step.weight;
        const std::uint8_t* before = tile.rows + tile.down[x] * tile.rowBytes + x;
        std::uint8_t* dst = tile.dst + x;
        for (int y = 0; y < tile.height; ++y, before += tile.rowBytes, dst += tile.dstRowBytes) {
            const std::uint8_t value = before[tile.rowBytes];
            *dst = static_cast<std::uint8_t>(value + PartOf(*before, weight) - PartOf(value, weight));
        }
    }
}

void ColumnBands::CloseColumns(const Strip& strip, int first, int rows) const {
    for (int u = strip.first; u < strip.first + strip.count; ++u) {
        const std::int64_t y = columns_.get()[u].step.offset + job_.rows - 1 - first;
        if (y < 0 || y >= rows) continue;
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(u) * count_;
        std::memcpy(band_.get() + static_cast<std::ptrdiff_t>(y) * rowBytes_ + at, closing_.get() + at,
                    static_cast<std::size_t>(count_));
    }
}

// Offsets go one way along the row, so what is not background is one stretch of it.
void ColumnBands::Make(int first, int rows) {
    firstMade_ = lastMade_ = 0;
    for (int u = 0; u < job_.columns;) {
        const Strip strip = StripFrom(u);
        const bool hasPixels = MakeStrip(strip, first, rows);
        if (hasPixels && lastMade_ == 0) firstMade_ = u;
        u += strip.count;
        if (hasPixels) lastMade_ = u;
        if (!hasPixels && lastMade_ > 0) break;
    }
    for (int y = 0; y < rows; ++y) {
        std::uint8_t* const row = band_.get() + y * rowBytes_;
        const std::ptrdiff_t before = static_cast<std::ptrdiff_t>(firstMade_) * count_;
        const std::ptrdiff_t behind = static_cast<std::ptrdiff_t>(lastMade_) * count_;
        std::memcpy(row, background_.get(), static_cast<std::size_t>(before));
        std::memcpy(row + behind, background_.get(), static_cast<std::size_t>(rowBytes_ - behind));
    }
}

ShearLine ColumnBands::Line(int row) const {
    return {band_.get() + row * rowBytes_, firstMade_, lastMade_};
}

// --- an image -------------------------------------------------------------------------------------------------------

void ColumnBands::StoreAbove(const PixelSide& dst) const {
    for (int u = 0; u < job_.columns; ++u) {
        const std::int64_t y = columns_.get()[u].step.offset + job_.rows - 1;
        if (y >= 0) continue;
        const RowSpan row = GetRowSpan(dst.record, static_cast<int>(y));
        const std::uint8_t* const samples = closing_.get() + static_cast<std::ptrdiff_t>(u) * count_;
        WithChannelCount(count_, [&](auto kCount) { Store<kCount>(row, dst, u, samples); });
    }
}

// Only where neither rows nor pixels of the destination share bytes, and the images do not.
static bool SkewInBands(const PixelSides& sides, const ColumnShear& job, const ShearColour& background) {
    ColumnBands bands(sides.src, job, background);
    if (!bands) return false;
    bands.ForRows([&](int row, const ShearLine& line) {
        ScatterPixels(GetRowSpan(sides.dst.record, row), static_cast<int>(sides.dst.pixelSize), sides.dst.channels, 0,
                      job.columns, line.samples);
    });
    bands.StoreAbove(sides.dst);
    return true;
}

void SkewColumns(const PixelSides& sides, const ColumnShear& job, const ShearColour& background) {
    const bool ordered = ImagesOverlap(sides.src.record, sides.dst.record) || !PixelsAreApart(sides.dst) ||
                         !RowsAreApart(sides.dst, job.columns);
    if (ordered || !SkewInBands(sides, job, background)) SkewColumns_Plain(sides, job, background);
}

}  // namespace zor
