#include "filters/FractionalBlur.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "core/Factory.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

ThreeTaps TapsOf(double radius) {
    double weight = radius - std::floor(radius);
    if (!(weight == weight)) weight = 0;  // of an infinite radius, too
    return {weight, 1.0 / (weight + weight + 1.0)};
}

// The filtered bytes of a run of samples. All edges are cases of this: a pixel alone has itself twice for neighbours.
class TapRun {
public:
    explicit TapRun(double radius, bool byTable) : taps_(TapsOf(radius)), entries_(byTable ? kTapEntries : 0) {
        byTable_ = byTable && entries_;
        std::uint8_t* entry = entries_.get();
        for (int sample = 0; byTable_ && sample < 256; ++sample) {
            for (int neighbours = 0; neighbours < kNeighbourSums; ++neighbours) *entry++ = taps_(sample, neighbours);
        }
    }
    void operator()(const TapRows& rows, std::ptrdiff_t count, std::uint8_t* dst) const {
        if (byTable_) {
            Kernels().blur.tapsByTable(rows, count, entries_.get(), dst);
        } else {
            Kernels().blur.taps(rows, count, taps_, dst);
        }
    }

private:
    ThreeTaps taps_;
    HeapArray<std::uint8_t> entries_;
    bool byTable_;
};

struct FractionalBlur {
    PixelSides sides;
    std::ptrdiff_t width;  // of the source
    int height;
    std::int64_t samples() const { return std::int64_t{width} * sides.count(); }
};

// Three packed rows that slide down the source.
struct SlidingRows {
    explicit SlidingRows(std::int64_t samples) : a(samples), b(samples), c(samples), d(samples) {}
    HeapArray<std::uint8_t> a, b, c, d;
    explicit operator bool() const { return a && b && c && d; }
};

// The last row takes the row above and itself; in an image of one row that is the row before the image, which reads 0
// unless the image is a view of a larger one.
//
// Walks by itself, as each row of the result needs three of the source.
void BlurColumns(const FractionalBlur& blur, const SlidingRows& rows, const TapRun& taps) {
    const PixelSide &src = blur.sides.src, &dst = blur.sides.dst;
    const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(blur.samples());
    std::uint8_t *above = rows.a.get(), *row = rows.b.get(), *below = rows.c.get();
    const auto take = [&](int y, std::uint8_t* bytes) {
        CopyPackedSamples(GetRowSpan(src.record, y), src, blur.width, bytes);
    };
    take(0, row);
    if (blur.height == 1) take(-1, above);
    for (int y = 0; y < blur.height; ++y) {
        const bool first = y == 0, last = y == blur.height - 1;
        if (!last) take(y + 1, below);
        const std::uint8_t* const upper = first && !last ? row : above;
        const std::uint8_t* const lower = first || last ? row : below;
        if (const RowSpan span = GetRowSpan(dst.record, y)) {
            std::uint8_t* const bytes = BeginPacked(span, dst, blur.width, rows.d.get());
            taps({row, upper, lower}, samples, bytes);
            EndPacked(span, dst, blur.width, bytes);
        }
        std::swap(above, row);
        std::swap(row, below);
    }
}

// In place on the destination. What a row is read from holds RowSize bytes; pixels beyond them read 0.
void BlurRows(const FractionalBlur& blur, const SlidingRows& rows, const TapRun& taps) {
    const PixelSide& dst = blur.sides.dst;
    std::uint8_t* const read = rows.a.get();
    const std::ptrdiff_t pixel = blur.sides.count();  // samples of one
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(blur.samples()) - pixel;
    for (int y = 0; y < blur.height; ++y) {
        const RowSpan row = GetRowSpan(dst.record, y);
        if (!row) continue;
        const RowSpan own{row.data, std::max<std::ptrdiff_t>(row.begin, 0),
                          std::min<std::ptrdiff_t>(row.end, dst.record->RowSize)};
        CopyPackedSamples(own, dst, blur.width, read);
        std::uint8_t* const bytes = BeginPacked(row, dst, blur.width, rows.d.get());
        if (last > 0) {
            taps({read, read, read + pixel}, pixel, bytes);
            taps({read + pixel, read, read + 2 * pixel}, last - pixel, bytes + pixel);
        }
        taps({read + last, read + last, read + last}, pixel, bytes + last);
        EndPacked(row, dst, blur.width, bytes);
    }
}

void BlurSides(PixelSides sides, double radius) {
    constexpr std::int64_t kSpareBytes = 20;
    OrderByBytes(&sides);
    const std::int64_t rowBytes = static_cast<std::int64_t>(sides.dst.record->RowSize) + kSpareBytes;
    const FractionalBlur blur{sides, sides.src.record->Width, sides.src.record->Height};
    if (rowBytes < 0 || rowBytes > INT_MAX || blur.width < 1 || blur.height < 1) return;
    if (!HasRows(sides.src.record)) return;
    const SlidingRows rows(blur.samples());
    if (!rows) return;
    // For images with more samples than the table has entries.
    const bool byTable = blur.samples() > std::int64_t{4} * kTapEntries / blur.height;
    const TapRun taps(radius, byTable);
    BlurColumns(blur, rows, taps);
    BlurRows(blur, rows, taps);
}

// By the fields of red, green and blue, of whatever family the images are.
void BlurRGB(ImageClassData* src, ImageClassData* dst, bool withAlpha, double radius) {
    const ChannelList colours = ColoursOf(PixelFamily::rgb);
    const ChannelList channels = withAlpha ? WithAlphaLast(colours) : colours;
    BlurSides({SideOf(src, channels), SideOf(dst, channels)}, radius);
}

}  // namespace

// The filter for images that are not gray, without and with alpha.

static void BoxBlurFractionalFilterRGB(ImageClassData* src, ImageClassData* dst, double radius) {
    BlurRGB(src, dst, false, radius);
}

static void BoxBlurFractionalFilterRGBA(ImageClassData* src, ImageClassData* dst, double radius) {
    BlurRGB(src, dst, true, radius);
}

REALobject BoxBlurFractionalFilter(REALobject object, REALobject dst, double radius) {
    ImageClassData* const src = ImageDataOf(object);
    ObjectHolder result(OpenDestination(src, dst));
    if (!result.get()) return nullptr;
    ImageClassData* const dstImage = ImageDataOf(result.get());
    if (src->IsGray) {
        BlurSides(SidesOf(src, dstImage), radius);
    } else if (!src->IsRGB && !src->IsCMYK) {
        return nullptr;
    } else if (src->HasAlpha) {
        BoxBlurFractionalFilterRGBA(src, dstImage, radius);
    } else {
        BoxBlurFractionalFilterRGB(src, dstImage, radius);
    }
    return result.release();
}

}  // namespace zor
