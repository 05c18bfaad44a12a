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

// PartOf says of every value v that its part p has p / v <= w < (p + 1) / v, w being the weight, unless the product was
// rounded up to a whole number. These bounds are fractions whose denominators are no greater than 255, so w lies in
// [a, b) where a and b are neighbours among all such fractions. Two of those are at least 1 / (255 * 254) apart, which
// is more than 1 / 65536: one of the two multiples of 1 / 65536 next to w lies in [a, b) as well, and gives the same
// parts. What rounding makes of the products is not argued about but tried.
ShearFactor FactorOf(double weight) {
    std::uint16_t parts[256];
    for (int value = 0; value < 256; ++value) parts[value] = PartOf(static_cast<std::uint8_t>(value), weight);
    const int below = static_cast<int>(weight * 65536.0);
    for (int factor = below; factor <= std::min(below + 1, 65535); ++factor) {
        std::uint32_t differences = 0;
        for (std::uint32_t value = 0; value < 256; ++value) {
            differences |= (value * static_cast<std::uint32_t>(factor) >> 16) ^ parts[value];
        }
        if (differences == 0) return {static_cast<std::uint16_t>(factor), true};
    }
    return {0, false};
}

// Goes along a line of pixels and tells what each of them is after the shear.
template <int kCount>
class LineBlender {
public:
    LineBlender(const ShearColour& background, double weight) : weight_(weight) {
        for (int c = 0; c < kCount; ++c) left_[c] = PartOf(background.channel[c], weight);
    }
    void Next(const std::uint8_t* value, std::uint8_t* result) {
        for (int c = 0; c < kCount; ++c) {
            const std::uint8_t left = PartOf(value[c], weight_);
            result[c] = static_cast<std::uint8_t>(value[c] + left_[c] - left);
            left_[c] = left;
        }
    }
    void Close(const ShearColour& background, std::uint8_t* result) const {
        for (int c = 0; c < kCount; ++c) result[c] = ClosingOf(background.channel[c], weight_, left_[c]);
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

static void FillWith(const ShearColour& colour, int count, std::ptrdiff_t pixels, std::uint8_t* samples) {
    if (count < 1 || pixels < 1) return;
    const PixelRun run{samples, count, {count, {0, 1, 2, 3, 4}}};
    ByCount(Kernels().touch.store, count)(run, pixels, colour.channel);
}

LineShear::LineShear(int count, std::ptrdiff_t width, std::ptrdiff_t dstWidth, const ShearColour& background)
    : count_(count),
      width_(width),
      dstWidth_(dstWidth),
      colour_(background),
      background_(dstWidth, count),
      written_(dstWidth, count) {
    if (background_) FillWith(colour_, count_, dstWidth_, background_.get());
}

// Pixels that have one before them, where no integer can stand for the weight.
static void BlendByWeight(const std::uint8_t* samples, int count, std::ptrdiff_t pixels, double weight,
                          std::uint8_t* result) {
    for (std::ptrdiff_t i = 0; i < pixels * count; ++i) {
        result[i] =
            static_cast<std::uint8_t>(samples[i] + PartOf(samples[i - count], weight) - PartOf(samples[i], weight));
    }
}

void LineShear::Blend(const ShearLine& line, ShearStep step, std::uint8_t* pixels) const {
    // The first pixel of background takes the rest of the last that is not.
    const std::int64_t behind = std::min(line.last + 1, width_);
    std::int64_t first = std::clamp<std::int64_t>(-step.offset, line.first, behind);
    const std::int64_t last = std::clamp<std::int64_t>(dstWidth_ - step.offset, first, behind);
    const ShearFactor factor = FactorOf(step.weight);
    std::ptrdiff_t to = first < last ? static_cast<std::ptrdiff_t>(first + step.offset) : dstWidth_;
    std::memcpy(pixels, background_.get(), static_cast<std::size_t>(to * count_));
    if (first == last) return;
    if (first == 0) {
        for (int c = 0; c < count_; ++c) {
            pixels[to * count_ + c] = static_cast<std::uint8_t>(
                line.samples[c] + PartOf(colour_.channel[c], step.weight) - PartOf(line.samples[c], step.weight));
        }
        ++first;
        ++to;
    }
    const std::uint8_t* const from = line.samples + static_cast<std::ptrdiff_t>(first) * count_;
    const std::ptrdiff_t moved = static_cast<std::ptrdiff_t>(last - first);
    if (factor.exists) {
        Kernels().geometry.shearRow(from, count_, moved * count_, factor.factor, pixels + to * count_);
    } else {
        BlendByWeight(from, count_, moved, step.weight, pixels + to * count_);
    }
    to += moved;
    std::memcpy(pixels + to * count_, background_.get(), static_cast<std::size_t>((dstWidth_ - to) * count_));
}

void LineShear::Skew(const ShearLine& line, const PixelSide& dst, int row, ShearStep step) const {
    const RowSpan span = GetRowSpan(dst.record, row);
    if (!span) return;
    std::uint8_t* const pixels = BeginPacked(span, dst, dstWidth_, written_.get());
    Blend(line, step, pixels);
    const std::int64_t closing = width_ + step.offset;
    const std::uint8_t* const end = width_ > 0 ? line.samples + (width_ - 1) * count_ : colour_.channel;
    std::uint8_t rest[ChannelSet::kMax];
    for (int c = 0; c < count_; ++c) {
        rest[c] = ClosingOf(colour_.channel[c], step.weight, PartOf(end[c], step.weight));
    }
    if (closing >= 0 && closing < dstWidth_) {
        std::memcpy(pixels + closing * count_, rest, static_cast<std::size_t>(count_));
    }
    EndPacked(span, dst, dstWidth_, pixels);
    // Left of column 0 there may be storage, too.
    if (closing >= 0) return;
    WithChannelCount(count_, [&](auto kCount) { Store<kCount>(span, dst, closing, rest); });
}

RowShear::RowShear(const PixelSides& sides, const ShearColour& background)
    : sides_(sides),
      background_(background),
      line_(sides.count(), sides.src.record->Width, sides.dst.record->Width, background),
      read_(sides.src.record->Width, sides.count()) {
    isPacked_ = sides.count() > 0 && sides.dst.record->Width > 0 && read_ && line_ &&
                !ImagesOverlap(sides.src.record, sides.dst.record) && PixelsAreApart(sides.dst);
}

// Shears have a shape of their own, a row moves by as much as no other: they walk by themselves.
void RowShear::Skew(int row, ShearStep step) const {
    // A view whose source was closed has no rows; what it leaves is background.
    const RowSpan srcRow = isPacked_ ? GetRowSpan(sides_.src.record, row) : RowSpan{};
    if (srcRow) {
        const std::ptrdiff_t width = sides_.src.record->Width;
        line_.Skew({PackedSamples(srcRow, sides_.src, width, read_.get()), 0, width}, sides_.dst, row, step);
    } else {
        HorizSkew_Plain(sides_, row, step, background_);
    }
}

void HorizSkew(const PixelSides& sides, int row, ShearStep step, const ShearColour& background) {
    RowShear(sides, background).Skew(row, step);
}

}  // namespace zor
