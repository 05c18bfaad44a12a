#include "filters/Shear.h"

#include <algorithm>
#include <cmath>

#include "core/Storage.h"

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
static void StoreAt(const PixelSide& dest, std::int64_t x, std::int64_t y, const std::uint8_t* samples) {
    Store<kCount>(GetRowSpan(dest.record, static_cast<int>(y)), dest, x, samples);
}

template <int kCount>
static void HorizSkewBy(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    const PixelSide &source = sides.source, &dest = sides.dest;
    const std::int64_t width = source.record->Width, destWidth = dest.record->Width;
    for (std::int64_t x = 0; x < destWidth; ++x) StoreAt<kCount>(dest, x, row, background.channel);
    if (!GetRowSpan(source.record, row)) return;
    LineBlender<kCount> blender(background, step.weight);
    std::uint8_t samples[kCount];
    for (std::int64_t i = 0; i < width; ++i) {
        Load<kCount>(GetRowSpan(source.record, row), source, i, samples);
        blender.Next(samples, samples);
        const std::int64_t x = step.offset + i;
        if (x >= 0 && x < destWidth) StoreAt<kCount>(dest, x, row, samples);
    }
    const std::int64_t closing = width + step.offset;
    if (closing >= destWidth) return;
    blender.Close(background, samples);
    StoreAt<kCount>(dest, closing, row, samples);
}

void HorizSkew_Plain(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    WithChannelCount(sides.count(), [&](auto kCount) { HorizSkewBy<kCount>(sides, row, step, background); });
}

template <int kCount>
static void SkewColumn(const PixelSides& sides, std::int64_t column, const ColumnShear& job, ShearStep step,
                       const ShearColour& background) {
    const PixelSide &source = sides.source, &dest = sides.dest;
    for (int y = 0; y < job.destRows; ++y) StoreAt<kCount>(dest, column, y, background.channel);
    LineBlender<kCount> blender(background, step.weight);
    std::uint8_t samples[kCount];
    for (int i = 0; i < job.rows; ++i) {
        Load<kCount>(GetRowSpan(source.record, i), source, column, samples);
        blender.Next(samples, samples);
        const std::int64_t y = step.offset + i;
        if (y >= 0 && y < job.destRows) StoreAt<kCount>(dest, column, y, samples);
    }
    const std::int64_t closing = step.offset + job.rows - 1;
    if (closing >= job.destRows) return;
    blender.Close(background, samples);
    StoreAt<kCount>(dest, column, closing, samples);
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
struct PartTable {
    std::uint8_t part[256];
    void Fill(double weight) {
        for (int value = 0; value < 256; ++value) part[value] = Part(static_cast<std::uint8_t>(value), weight);
    }
};

template <int kCount>
static void FillWith(const ShearColour& background, std::uint8_t* pixels, std::ptrdiff_t width) {
    for (std::ptrdiff_t x = 0; x < width; ++x, pixels += kCount) std::memcpy(pixels, background.channel, kCount);
}

// A run of pixels of a row; `before` is the pixel to the left of the run.
template <int kCount>
static void BlendRun(const std::uint8_t* row, const std::uint8_t* before, std::ptrdiff_t width, const PartTable& table,
                     std::uint8_t* pixels) {
    std::uint8_t left[kCount];
    for (int c = 0; c < kCount; ++c) left[c] = table.part[before[c]];
    for (std::ptrdiff_t i = 0; i < width; ++i, row += kCount, pixels += kCount) {
        for (int c = 0; c < kCount; ++c) {
            const std::uint8_t part = table.part[row[c]];
            pixels[c] = static_cast<std::uint8_t>(row[c] + left[c] - part);
            left[c] = part;
        }
    }
}

template <int kCount>
static bool HorizSkewPacked(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    const PixelSide &source = sides.source, &dest = sides.dest;
    const std::int64_t width = source.record->Width, destWidth = dest.record->Width;
    const HeapArray<std::uint8_t> read(width * kCount), written(destWidth * kCount);
    if (!read || !written) return false;
    const std::uint8_t* const samples = PackedSamples(GetRowSpan(source.record, row), source, width, read.get());
    const RowSpan span = GetRowSpan(dest.record, row);
    if (!span) return true;
    std::uint8_t* const pixels = BeginPacked(span, dest, destWidth, written.get());
    FillWith<kCount>(background, pixels, destWidth);
    PartTable table;
    table.Fill(step.weight);
    const std::int64_t first = std::clamp<std::int64_t>(-step.offset, 0, width);
    const std::int64_t last = std::clamp<std::int64_t>(destWidth - step.offset, first, width);
    if (first < last) {
        BlendRun<kCount>(samples + first * kCount, first > 0 ? samples + (first - 1) * kCount : background.channel,
                         last - first, table, pixels + (first + step.offset) * kCount);
    }
    const std::int64_t closing = width + step.offset;
    std::uint8_t rest[kCount];
    const std::uint8_t* const end = width > 0 ? samples + (width - 1) * kCount : background.channel;
    for (int c = 0; c < kCount; ++c) rest[c] = Closing(background.channel[c], step.weight, table.part[end[c]]);
    if (closing >= 0 && closing < destWidth) std::memcpy(pixels + closing * kCount, rest, kCount);
    EndPacked(span, dest, destWidth, pixels);
    // Left of column 0 there may be storage, too.
    if (closing < 0) Store<kCount>(span, dest, closing, rest);
    return true;
}

void HorizSkew(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    bool done = false;
    // A view whose source was closed has no rows; what it leaves is background.
    const bool hasRow = static_cast<bool>(GetRowSpan(sides.source.record, row));
    if (hasRow && sides.dest.record->Width > 0 && !ImagesOverlap(sides.source.record, sides.dest.record)) {
        WithChannelCount(sides.count(), [&](auto kCount) {
            done = PixelsAreApart(sides.dest) && HorizSkewPacked<kCount>(sides, row, step, background);
        });
    }
    if (!done) HorizSkew_Plain(sides, row, step, background);
}

// --- columns, a strip at a time -------------------------------------------------------------------------------------

// Columns side by side that are sheared together, row after row of the destination. Their rows of the source slide
// by as packed pieces, as many as the offsets of the strip differ.
template <int kCount>
class ColumnStrip {
public:
    static constexpr int kColumns = 64;

    ColumnStrip(const PixelSides& sides, const ColumnShear& job, const ShearColour& background)
        : source_(sides.source), dest_(sides.dest), job_(job), background_(background), ring_(0) {}

    // The columns first to first + count - 1, with their steps. False, with nothing stored, where memory is short.
    bool Shear(int first, int count, const ShearStep* steps) {
        first_ = first;
        count_ = count;
        std::int64_t least = steps[0].offset, most = steps[0].offset;
        for (int k = 0; k < count; ++k) {
            least = std::min(least, steps[k].offset);
            most = std::max(most, steps[k].offset);
            tables_[k].Fill(steps[k].weight);
        }
        rows_ = std::min<std::int64_t>(most - least + 2, job_.rows);
        ring_ = HeapArray<std::uint8_t>(rows_ * kColumns * kCount);
        if (!ring_) return false;
        std::int64_t taken = 0;
        for (int y = 0; y < job_.destRows; ++y) {
            for (; taken < job_.rows && taken <= y - least; ++taken) Take(taken);
            StoreRow(y, steps);
        }
        for (int k = 0; k < count; ++k) CloseAbove(k, steps[k]);
        return true;
    }

private:
    std::uint8_t* Piece(std::int64_t y) const { return ring_.get() + y % rows_ * kColumns * kCount; }
    void Take(std::int64_t y) const {
        GatherPixels(GetRowSpan(source_.record, static_cast<int>(y)), static_cast<int>(source_.pixelSize),
                     source_.channels, first_, count_, Piece(y));
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
        ScatterPixels(GetRowSpan(dest_.record, y), static_cast<int>(dest_.pixelSize), dest_.channels, first_, count_,
                      pixels);
    }
    // A closing pixel above row 0 is stored all the same, if there is storage.
    void CloseAbove(int k, const ShearStep& step) const {
        const std::int64_t y = step.offset + job_.rows - 1;
        if (y >= 0) return;
        std::uint8_t samples[kCount];
        Load<kCount>(GetRowSpan(source_.record, job_.rows - 1), source_, first_ + k, samples);
        for (int c = 0; c < kCount; ++c) {
            samples[c] = Closing(background_.channel[c], step.weight, tables_[k].part[samples[c]]);
        }
        StoreAt<kCount>(dest_, first_ + k, y, samples);
    }

    PixelSide source_, dest_;
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
        if (job.rows > 0 && !ImagesOverlap(sides.source.record, sides.dest.record) && PixelsAreApart(sides.dest) &&
            RowsAreApart(sides.dest, job.columns)) {
            SkewInStrips<kCount>(sides, job, background);
        } else {
            SkewColumns_Plain(sides, job, background);
        }
    });
}
