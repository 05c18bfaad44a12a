#include "filters/FractionalBlur.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

#include "core/Factory.h"
#include "core/Storage.h"
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

// The same in integers, where those give what the taps give to every sample and sum of neighbours.
bool FindTapRule(const ThreeTaps& taps, TapRule* rule) {
    constexpr int kSums = 511;
    if (!MakeTapRule(taps, rule)) return false;
    std::uint8_t before[kSums], after[kSums];
    for (int sum = 0; sum < kSums; ++sum) {
        before[sum] = static_cast<std::uint8_t>(std::min(sum, 255));
        after[sum] = static_cast<std::uint8_t>(sum - before[sum]);
    }
    for (int sample = 0; sample < 256; ++sample) {
        std::uint8_t row[kSums], exact[kSums], byRule[kSums];
        std::memset(row, sample, sizeof row);
        Kernels().blur.taps({row, before, after}, kSums, taps, exact);
        Kernels().blur.tapsByRule({row, before, after}, kSums, *rule, byRule);
        if (std::memcmp(exact, byRule, sizeof exact) != 0) return false;
    }
    return true;
}

// The filtered bytes of a run of samples. All edges are cases of this: a pixel alone has itself twice for neighbours.
class TapRun {
public:
    TapRun(double radius, bool triesRule) : taps_(TapsOf(radius)), byRule_(triesRule && FindTapRule(taps_, &rule_)) {}
    void operator()(const TapRows& rows, std::ptrdiff_t count, std::uint8_t* dst) const {
        if (byRule_) {
            Kernels().blur.tapsByRule(rows, count, rule_, dst);
        } else {
            Kernels().blur.taps(rows, count, taps_, dst);
        }
    }

private:
    ThreeTaps taps_;
    TapRule rule_;
    bool byRule_;
};

struct FractionalBlur {
    PixelSides sides;
    std::ptrdiff_t width;  // of the source
    int height;
    std::int64_t samples() const { return std::int64_t{width} * sides.count(); }
};

// Three packed rows that slide down the source.
//
// The last row takes the row above and itself; in an image of one row that is the row before the image, which reads 0
// unless the image is a view of a larger one.
class SlidingRows {
public:
    explicit SlidingRows(const FractionalBlur& blur)
        : blur_(blur), a_(blur.samples()), b_(blur.samples()), c_(blur.samples()) {}
    explicit operator bool() const { return a_ && b_ && c_; }

    // To the first row.
    void Begin() {
        Take(0, row_);
        if (blur_.height == 1) Take(-1, above_);
    }
    // Row y with its neighbours. The row below is read now: what becomes of rows 0 to y later does not show.
    TapRows At(int y) {
        const bool first = y == 0, last = y == blur_.height - 1;
        if (!last) Take(y + 1, below_);
        return {row_, first && !last ? row_ : above_, first || last ? row_ : below_};
    }
    void Step() {
        std::swap(above_, row_);
        std::swap(row_, below_);
    }

private:
    void Take(int y, std::uint8_t* bytes) const {
        const PixelSide& src = blur_.sides.src;
        CopyPackedSamples(GetRowSpan(src.record, y), src, blur_.width, bytes);
    }

    const FractionalBlur& blur_;
    HeapArray<std::uint8_t> a_, b_, c_;
    std::uint8_t *above_ = a_.get(), *row_ = b_.get(), *below_ = c_.get();
};

// A row of packed samples on itself. dst is another.
void BlurRow(const FractionalBlur& blur, const TapRun& taps, const std::uint8_t* row, std::uint8_t* dst) {
    const std::ptrdiff_t pixel = blur.sides.count();  // samples of one
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(blur.samples()) - pixel;
    if (last > 0) {
        taps({row, row, row + pixel}, pixel, dst);
        taps({row + pixel, row, row + 2 * pixel}, last - pixel, dst + pixel);
    }
    taps({row + last, row + last, row + last}, pixel, dst + last);
}

// Two rows of packed samples: what a pass has made, and what the next one makes of it.
struct PassRows {
    explicit PassRows(const FractionalBlur& blur) : first(blur.samples()), second(blur.samples()) {}
    HeapArray<std::uint8_t> first, second;
    explicit operator bool() const { return first && second; }
};

// The second pass, from what the destination holds of the first one.
void BlurRowOfDestination(const FractionalBlur& blur, const PassRows& rows, const TapRun& taps, const RowSpan& row) {
    const PixelSide& dst = blur.sides.dst;
    CopyPackedSamples(OwnBytes(row, dst.record), dst, blur.width, rows.first.get());
    std::uint8_t* const bytes = BeginPacked(row, dst, blur.width, rows.second.get());
    BlurRow(blur, taps, rows.first.get(), bytes);
    EndPacked(row, dst, blur.width, bytes);
}

// Pass after pass. Walks by itself, as each row of the result needs three of the source.
void BlurInTwoPasses(const FractionalBlur& blur, SlidingRows* source, const PassRows& rows, const TapRun& taps) {
    const PixelSide& dst = blur.sides.dst;
    for (int y = 0; y < blur.height; ++y, source->Step()) {
        const TapRows three = source->At(y);
        if (const RowSpan row = GetRowSpan(dst.record, y)) {
            std::uint8_t* const bytes = BeginPacked(row, dst, blur.width, rows.first.get());
            taps(three, static_cast<std::ptrdiff_t>(blur.samples()), bytes);
            EndPacked(row, dst, blur.width, bytes);
        }
    }
    for (int y = 0; y < blur.height; ++y) {
        if (const RowSpan row = GetRowSpan(dst.record, y)) BlurRowOfDestination(blur, rows, taps, row);
    }
}

// Each row goes through both passes while it is in the cache. Walks by itself, as each row of the result needs three
// of the source.
void BlurRowByRow(const FractionalBlur& blur, SlidingRows* source, const PassRows& rows, const TapRun& taps) {
    const PixelSide& dst = blur.sides.dst;
    for (int y = 0; y < blur.height; ++y, source->Step()) {
        const TapRows three = source->At(y);
        const RowSpan row = GetRowSpan(dst.record, y);
        if (!row) continue;
        taps(three, static_cast<std::ptrdiff_t>(blur.samples()), rows.first.get());
        if (Covers(row, dst, 0, blur.width)) {
            std::uint8_t* const bytes = BeginPacked(row, dst, blur.width, rows.second.get());
            BlurRow(blur, taps, rows.first.get(), bytes);
            EndPacked(row, dst, blur.width, bytes);
        } else {  // samples outside are lost between the passes
            EndPacked(row, dst, blur.width, rows.first.get());
            BlurRowOfDestination(blur, rows, taps, row);
        }
    }
}

// True if no row of the source is read after it has been written, pixels for pixels or not at all.
bool SourceStaysAhead(const PixelSides& sides) {
    return sides.src.record == sides.dst.record || !ImagesOverlap(sides.src.record, sides.dst.record);
}

void BlurSides(PixelSides sides, double radius) {
    constexpr std::int64_t kSpareBytes = 20;
    OrderByBytes(&sides);
    const std::int64_t rowBytes = static_cast<std::int64_t>(sides.dst.record->RowSize) + kSpareBytes;
    const FractionalBlur blur{sides, sides.src.record->Width, sides.src.record->Height};
    if (rowBytes < 0 || rowBytes > INT_MAX || blur.width < 1 || blur.height < 1) return;
    if (!HasRows(sides.src.record) || HoldsNothing(sides.dst.record)) return;
    SlidingRows source(blur);
    const PassRows rows(blur);
    if (!source || !rows) return;
    // For images with more samples than there are pairs of a sample and a sum to try.
    constexpr std::int64_t kPairs = 256 * 511;
    const TapRun taps(radius, blur.samples() > kPairs / blur.height);
    source.Begin();
    if (SourceStaysAhead(sides) && RowsKeepTheirSamples(sides.dst, blur.width)) {
        BlurRowByRow(blur, &source, rows, taps);
    } else {
        BlurInTwoPasses(blur, &source, rows, taps);
    }
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
