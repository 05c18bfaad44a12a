#include "filters/FractionalBlur.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "core/Factory.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"

namespace {

// One filtered byte from a sample and the sum of its two neighbours. All edges are cases of this: a pixel alone has
// itself twice for neighbours. It never leaves 0 to 255.
struct ThreeTaps {
    explicit ThreeTaps(double radius) {
        const double whole = std::floor(radius);
        f = radius - whole;
        if (!(f == f)) f = 0;  // of an infinite radius, too
        norm = 1.0 / (f + f + 1.0);
    }
    std::uint8_t operator()(int sample, int neighbours) const {
        return static_cast<std::uint8_t>(static_cast<int>((sample + neighbours * f) * norm));
    }
    double f;
    double norm;
};

// All that the taps can give, for images with more samples than this has entries.
class TapTable {
public:
    static constexpr std::ptrdiff_t kNeighbourSums = 511;
    explicit TapTable(const ThreeTaps& taps) : entries_(256 * kNeighbourSums) {
        std::uint8_t* entry = entries_.get();
        if (!entry) return;
        for (int sample = 0; sample < 256; ++sample) {
            for (int neighbours = 0; neighbours < kNeighbourSums; ++neighbours) *entry++ = taps(sample, neighbours);
        }
    }
    explicit operator bool() const { return static_cast<bool>(entries_); }
    std::uint8_t operator()(int sample, int neighbours) const {
        return entries_.get()[sample * kNeighbourSums + neighbours];
    }

private:
    HeapArray<std::uint8_t> entries_;
};

struct FractionalBlur {
    PixelSides sides;
    std::ptrdiff_t width;  // of the source
    int height;
    std::ptrdiff_t samples() const { return width * sides.count(); }
};

// Three packed rows that slide down the source.
struct SlidingRows {
    explicit SlidingRows(std::ptrdiff_t samples) : a(samples), b(samples), c(samples), d(samples) {}
    HeapArray<std::uint8_t> a, b, c, d;
    explicit operator bool() const { return a && b && c && d; }
};

// The last row takes the row above and itself; in an image of one row that is the row before the image, which reads 0
// unless the image is a view of a larger one.
template <class Taps>
void BlurColumns(const FractionalBlur& blur, const SlidingRows& rows, const Taps& taps) {
    const PixelSide &source = blur.sides.source, &dest = blur.sides.dest;
    const std::ptrdiff_t samples = blur.samples();
    std::uint8_t *above = rows.a.get(), *row = rows.b.get(), *below = rows.c.get();
    const auto take = [&](int y, std::uint8_t* bytes) {
        CopyPackedSamples(GetRowSpan(source.record, y), source, blur.width, bytes);
    };
    take(0, row);
    if (blur.height == 1) take(-1, above);
    for (int y = 0; y < blur.height; ++y) {
        const bool first = y == 0, last = y == blur.height - 1;
        if (!last) take(y + 1, below);
        // Within the range that the loop below looks at: the neighbours' sum is above + below.
        const std::uint8_t* const upper = first && !last ? row : above;
        const std::uint8_t* const lower = first || last ? row : below;
        if (const RowSpan span = GetRowSpan(dest.record, y)) {
            std::uint8_t* const bytes = BeginPacked(span, dest, blur.width, rows.d.get());
            for (std::ptrdiff_t i = 0; i < samples; ++i) bytes[i] = taps(row[i], upper[i] + lower[i]);
            EndPacked(span, dest, blur.width, bytes);
        }
        std::swap(above, row);
        std::swap(row, below);
    }
}

// In place on the destination. What a row is read from holds RowSize bytes; pixels beyond them read 0.
template <int kCount, class Taps>
void BlurRows(const FractionalBlur& blur, const SlidingRows& rows, const Taps& taps) {
    const PixelSide& dest = blur.sides.dest;
    std::uint8_t* const read = rows.a.get();
    const std::ptrdiff_t samples = blur.samples(), last = samples - kCount;
    for (int y = 0; y < blur.height; ++y) {
        const RowSpan row = GetRowSpan(dest.record, y);
        if (!row) continue;
        const RowSpan own{row.data, std::max<std::ptrdiff_t>(row.begin, 0),
                          std::min<std::ptrdiff_t>(row.end, dest.record->RowSize)};
        CopyPackedSamples(own, dest, blur.width, read);
        std::uint8_t* const bytes = BeginPacked(row, dest, blur.width, rows.d.get());
        for (std::ptrdiff_t i = 0; i < kCount && last > 0; ++i) bytes[i] = taps(read[i], read[i + kCount] + read[i]);
        for (std::ptrdiff_t i = kCount; i < last; ++i) bytes[i] = taps(read[i], read[i - kCount] + read[i + kCount]);
        for (std::ptrdiff_t i = last; i < samples; ++i) bytes[i] = taps(read[i], read[i] * 2);
        EndPacked(row, dest, blur.width, bytes);
    }
}

template <class Taps>
void BlurBothWays(const FractionalBlur& blur, const SlidingRows& rows, const Taps& taps) {
    BlurColumns(blur, rows, taps);
    WithChannelCount(blur.sides.count(), [&](auto kCount) { BlurRows<kCount>(blur, rows, taps); });
}

void BlurSides(PixelSides sides, double radius) {
    constexpr std::int64_t kSpareBytes = 20;
    OrderByBytes(&sides);
    const std::int64_t rowBytes = static_cast<std::int64_t>(sides.dest.record->RowSize) + kSpareBytes;
    const FractionalBlur blur{sides, sides.source.record->Width, sides.source.record->Height};
    if (rowBytes < 0 || rowBytes > INT_MAX || blur.width < 1 || !HasRows(sides.source.record)) return;
    const SlidingRows rows(blur.samples());
    if (!rows) return;
    const ThreeTaps taps(radius);
    constexpr std::int64_t kWorthATable = 4 * 256 * TapTable::kNeighbourSums;
    if (static_cast<std::int64_t>(blur.samples()) * blur.height > kWorthATable) {
        if (const TapTable table(taps); table) return BlurBothWays(blur, rows, table);
    }
    BlurBothWays(blur, rows, taps);
}

PixelSide RGBSide(ImageClassData* record, bool withAlpha) {
    const ChannelList colours = ColoursOf(PixelFamily::rgb);
    return {record, record->PixelSize, OffsetsOf(record, withAlpha ? WithAlphaLast(colours) : colours)};
}

}  // namespace

void BoxBlurFractionalFilterRGB(ImageClassData* source, ImageClassData* dest, double radius) {
    BlurSides({RGBSide(source, false), RGBSide(dest, false)}, radius);
}

void BoxBlurFractionalFilterRGBA(ImageClassData* source, ImageClassData* dest, double radius) {
    BlurSides({RGBSide(source, true), RGBSide(dest, true)}, radius);
}

REALobject BoxBlurFractionalFilter(REALobject object, REALobject dest, double radius) {
    ImageClassData* const source = ImageDataOf(object);
    ObjectHolder result(OpenDestination(source, dest));
    if (!result.get()) return nullptr;
    ImageClassData* const target = ImageDataOf(result.get());
    if (source->IsGray) {
        BlurSides(SidesOf(source, target), radius);
    } else if (!source->IsRGB && !source->IsCMYK) {
        return nullptr;
    } else if (source->HasAlpha) {
        BoxBlurFractionalFilterRGBA(source, target, radius);
    } else {
        BoxBlurFractionalFilterRGB(source, target, radius);
    }
    return result.release();
}
