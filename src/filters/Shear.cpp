#include "filters/Shear.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/Storage.h"
#include "kernels/KernelTable.h"

namespace zor {

ShearStep StepOf(double shear) {
    const double whole = std::floor(shear);
    return {static_cast<std::int64_t>(whole), shear - whole};
}

// The part of a value that goes on to the neighbour.
static std::uint8_t Part(std::uint8_t value, double weight) {
    return static_cast<std::uint8_t>(static_cast<int>(value * weight));
}

// The pixel behind the last one: background, of which the rest `left` of the last pixel takes its place.
static std::uint8_t Closing(std::uint8_t background, double weight, std::uint8_t left) {
    return static_cast<std::uint8_t>(static_cast<int>(background - (background * weight - left)));
}

// Goes along a line of pixels and tells what each of them is after the shear.
template <int kCount>
class LineBlender {
public:
    LineBlender(const ShearColour& background, double weight) : weight_(weight) {
        for (int c = 0; c < kCount; ++c) left_[c] = Part(background.channel[c], weight);
    }
    void Next(const std::uint8_t* value, std::uint8_t* result) {
        for (int c = 0; c < kCount; ++c) {
            const std::uint8_t left = Part(value[c], weight_);
            result[c] = static_cast<std::uint8_t>(value[c] + left_[c] - left);
            left_[c] = left;
        }
    }
    void Close(const ShearColour& background, std::uint8_t* result) const {
        for (int c = 0; c < kCount; ++c) result[c] = Closing(background.channel[c], weight_, left_[c]);
    }

private:
    double weight_;
    std::uint8_t left_[kCount];
};

// --- pixel by pixel -------------------------------------------------------------------------------------------------

template <int kCount>
static void StoreAt(const PixelSide& dst, std::int64_t x, std::int64_t y, const std::uint8_t* samples) {
    Store<kCount>(GetRowSpan(dst.record, static_cast<int>(y)), dst, x, samples);
}

template <int kCount>
static void HorizSkewBy(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    const PixelSide &src = sides.src, &dst = sides.dst;
    const std::int64_t width = src.record->Width, dstWidth = dst.record->Width;
    for (std::int64_t x = 0; x < dstWidth; ++x) StoreAt<kCount>(dst, x, row, background.channel);
    if (!GetRowSpan(src.record, row)) return;
    LineBlender<kCount> blender(background, step.weight);
    std::uint8_t samples[kCount];
    for (std::int64_t i = 0; i < width; ++i) {
        Load<kCount>(GetRowSpan(src.record, row), src, i, samples);
        blender.Next(samples, samples);
        const std::int64_t x = step.offset + i;
        if (x >= 0 && x < dstWidth) StoreAt<kCount>(dst, x, row, samples);
    }
    const std::int64_t closing = width + step.offset;
    if (closing >= dstWidth) return;
    blender.Close(background, samples);
    StoreAt<kCount>(dst, closing, row, samples);
}

void HorizSkew_Plain(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    WithChannelCount(sides.count(), [&](auto kCount) { HorizSkewBy<kCount>(sides, row, step, background); });
}

template <int kCount>
static void SkewColumn(const PixelSides& sides, std::int64_t column, const ColumnShear& job, ShearStep step,
                       const ShearColour& background) {
    const PixelSide &src = sides.src, &dst = sides.dst;
    for (int y = 0; y < job.dstRows; ++y) StoreAt<kCount>(dst, column, y, background.channel);
    LineBlender<kCount> blender(background, step.weight);
    std::uint8_t samples[kCount];
    for (int i = 0; i < job.rows; ++i) {
        Load<kCount>(GetRowSpan(src.record, i), src, column, samples);
        blender.Next(samples, samples);
        const std::int64_t y = step.offset + i;
        if (y >= 0 && y < job.dstRows) StoreAt<kCount>(dst, column, y, samples);
    }
    const std::int64_t closing = step.offset + job.rows - 1;
    if (closing >= job.dstRows) return;
    blender.Close(background, samples);
    StoreAt<kCount>(dst, column, closing, samples);
}

void SkewColumns_Plain(const PixelSides& sides, const ColumnShear& job, const ShearColour& background) {
    WithChannelCount(sides.count(), [&](auto kCount) {
        double shear = job.shear;
        for (int column = 0; column < job.columns; ++column) {
            SkewColumn<kCount>(sides, column, job, StepOf(shear), background);
            shear = shear - job.slope;
        }
    });
}

// --- a row at a time ------------------------------------------------------------------------------------------------

// The parts of all values for one weight.
static void FillParts(double weight, PartTable* table) {
    for (int value = 0; value < 256; ++value) table->part[value] = Part(static_cast<std::uint8_t>(value), weight);
}

RowShear::RowShear(const PixelSides& sides, const ShearColour& background)
    : sides_(sides),
      background_(background),
      width_(sides.src.record->Width),
      dstWidth_(sides.dst.record->Width),
      read_(width_, sides.count()),
      written_(dstWidth_, sides.count()) {
    isPacked_ = sides.count() > 0 && dstWidth_ > 0 && read_ && written_ &&
                !ImagesOverlap(sides.src.record, sides.dst.record) && PixelsAreApart(sides.dst);
}

// Shears have a shape of their own, a row moves by as much as no other: they walk by themselves.
void RowShear::Skew(int row, ShearStep step) const {
    // A view whose source was closed has no rows; what it leaves is background.
    const RowSpan srcRow = isPacked_ ? GetRowSpan(sides_.src.record, row) : RowSpan{};
    if (srcRow) {
        SkewPacked(srcRow, row, step);
    } else {
        HorizSkew_Plain(sides_, row, step, background_);
    }
}

void RowShear::FillWithBackground(std::uint8_t* pixels, std::ptrdiff_t first, std::ptrdiff_t last) const {
    if (first >= last) return;
    const int count = sides_.count();
    const PixelRun run{pixels + first * count, count, {count, {0, 1, 2, 3, 4}}};
    ByCount(Kernels().touch.store, count)(run, last - first, background_.channel);
}

void RowShear::SkewPacked(const RowSpan& srcRow, int row, ShearStep step) const {
    const PixelSide& dst = sides_.dst;
    const int count = sides_.count();
    const std::uint8_t* const samples = PackedSamples(srcRow, sides_.src, width_, read_.get());
    const RowSpan span = GetRowSpan(dst.record, row);
    if (!span) return;
    std::uint8_t* const pixels = BeginPacked(span, dst, dstWidth_, written_.get());
    PartTable table;
    FillParts(step.weight, &table);
    const std::int64_t first = std::clamp<std::int64_t>(-step.offset, 0, width_);
    const std::int64_t last = std::clamp<std::int64_t>(dstWidth_ - step.offset, first, width_);
    if (first < last) {
        const std::ptrdiff_t to = static_cast<std::ptrdiff_t>(first + step.offset);
        const std::ptrdiff_t moved = static_cast<std::ptrdiff_t>(last - first);
        const std::uint8_t* const from = samples + first * count;
        FillWithBackground(pixels, 0, to);
        ByCount(Kernels().geometry.shear, count)(from, first > 0 ? from - count : background_.channel, moved, table,
                                                 pixels + to * count);
        FillWithBackground(pixels, to + moved, dstWidth_);
    } else {
        FillWithBackground(pixels, 0, dstWidth_);
    }
    const std::int64_t closing = width_ + step.offset;
    std::uint8_t rest[ChannelSet::kMax];
    const std::uint8_t* const end = width_ > 0 ? samples + (width_ - 1) * count : background_.channel;
    for (int c = 0; c < count; ++c) rest[c] = Closing(background_.channel[c], step.weight, table.part[end[c]]);
    if (closing >= 0 && closing < dstWidth_) {
        std::memcpy(pixels + closing * count, rest, static_cast<std::size_t>(count));
    }
    EndPacked(span, dst, dstWidth_, pixels);
    // Left of column 0 there may be storage, too.
    if (closing >= 0) return;
    WithChannelCount(count, [&](auto kCount) { Store<kCount>(span, dst, closing, rest); });
}

void HorizSkew(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    RowShear(sides, background).Skew(row, step);
}

// --- columns, a strip at a time -------------------------------------------------------------------------------------

// Columns go down the image, so they walk by themselves.

// Columns side by side that are sheared together, row after row of the destination. Their rows of the source slide
// by as packed pieces, as many as the offsets of the strip differ.
template <int kCount>
class ColumnStrip {
public:
    static constexpr int kColumns = 64;

    ColumnStrip(const PixelSides& sides, const ColumnShear& job, const ShearColour& background)
        : src_(sides.src), dst_(sides.dst), job_(job), background_(background), ring_(0) {}

    // The columns first to first + count - 1, with their steps. False, with nothing stored, where memory is short.
    bool Shear(int first, int count, const ShearStep* steps) {
        first_ = first;
        count_ = count;
        std::int64_t lowest = steps[0].offset, highest = steps[0].offset;
        for (int k = 0; k < count; ++k) {
            lowest = std::min(lowest, steps[k].offset);
            highest = std::max(highest, steps[k].offset);
            FillParts(steps[k].weight, &tables_[k]);
        }
        rows_ = std::min<std::int64_t>(highest - lowest + 2, job_.rows);
        ring_ = HeapArray<std::uint8_t>(rows_, kColumns * kCount);
        if (!ring_) return false;
        std::int64_t taken = 0;
        for (int y = 0; y < job_.dstRows; ++y) {
            for (; taken < job_.rows && taken <= y - lowest; ++taken) Take(taken);
            StoreRow(y, steps);
        }
        for (int k = 0; k < count; ++k) CloseAbove(k, steps[k]);
        return true;
    }

private:
    std::uint8_t* Piece(std::int64_t y) const { return ring_.get() + y % rows_ * kColumns * kCount; }
    void Take(std::int64_t y) const {
        GatherPixels(GetRowSpan(src_.record, static_cast<int>(y)), static_cast<int>(src_.pixelSize), src_.channels,
                     first_, count_, Piece(y));
    }
    void StoreRow(int y, const ShearStep* steps) const {
        std::uint8_t pixels[kColumns * kCount];
        for (int k = 0; k < count_; ++k) {
            std::uint8_t* const pixel = pixels + k * kCount;
            const std::int64_t i = y - steps[k].offset;
            if (i < 0 || i >= job_.rows) {
                std::memcpy(pixel, background_.channel, kCount);
                continue;
            }
            const std::uint8_t* const value = Piece(i) + k * kCount;
            const std::uint8_t* const before = i > 0 ? Piece(i - 1) + k * kCount : background_.channel;
            const std::uint8_t* const part = tables_[k].part;
            for (int c = 0; c < kCount; ++c) {
                pixel[c] = i < job_.rows - 1 ? static_cast<std::uint8_t>(value[c] + part[before[c]] - part[value[c]])
                                             : Closing(background_.channel[c], steps[k].weight, part[value[c]]);
            }
        }
        ScatterPixels(GetRowSpan(dst_.record, y), static_cast<int>(dst_.pixelSize), dst_.channels, first_, count_,
                      pixels);
    }
    // A closing pixel above row 0 is stored all the same, if there is storage.
    void CloseAbove(int k, const ShearStep& step) const {
        const std::int64_t y = step.offset + job_.rows - 1;
        if (y >= 0) return;
        std::uint8_t samples[kCount];
        Load<kCount>(GetRowSpan(src_.record, job_.rows - 1), src_, first_ + k, samples);
        for (int c = 0; c < kCount; ++c) {
            samples[c] = Closing(background_.channel[c], step.weight, tables_[k].part[samples[c]]);
        }
        StoreAt<kCount>(dst_, first_ + k, y, samples);
    }

    PixelSide src_, dst_;
    ColumnShear job_;
    ShearColour background_;
    HeapArray<std::uint8_t> ring_;
    std::int64_t rows_ = 0;  // pieces in the ring
    int first_ = 0, count_ = 0;
    PartTable tables_[kColumns];
};

// Only where neither rows nor pixels of the destination share bytes, and the images do not.
template <int kCount>
static void SkewInStrips(const PixelSides& sides, const ColumnShear& job, const ShearColour& background) {
    ColumnStrip<kCount> strip(sides, job, background);
    double shear = job.shear;
    ShearStep steps[ColumnStrip<kCount>::kColumns];
    for (int first = 0; first < job.columns;) {
        const int count = std::min(job.columns - first, ColumnStrip<kCount>::kColumns);
        for (int k = 0; k < count; ++k) {
            steps[k] = StepOf(shear);
            shear = shear - job.slope;
        }
        if (!strip.Shear(first, count, steps)) {
            for (int k = 0; k < count; ++k) SkewColumn<kCount>(sides, first + k, job, steps[k], background);
        }
        first += count;
    }
}

void SkewColumns(const PixelSides& sides, const ColumnShear& job, const ShearColour& background) {
    WithChannelCount(sides.count(), [&](auto kCount) {
        if (job.rows > 0 && !ImagesOverlap(sides.src.record, sides.dst.record) && PixelsAreApart(sides.dst) &&
            RowsAreApart(sides.dst, job.columns)) {
            SkewInStrips<kCount>(sides, job, background);
        } else {
            SkewColumns_Plain(sides, job, background);
        }
    });
}

}  // namespace zor
