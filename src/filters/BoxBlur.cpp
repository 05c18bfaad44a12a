#include "filters/BoxBlur.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/Factory.h"
#include "core/Storage.h"
#include "filters/FilterFrame.h"
#include "filters/PixelSide.h"
#include "filters/Truncate.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

struct BoxBlur {
    PixelSides sides;
    std::int64_t width;  // of the source
    int height;
    int radius;            // 0 or more
    std::int64_t divisor;  // 2 * radius + 1, and 3 where the radius is 0

    int count() const { return sides.count(); }
    std::int64_t samples() const { return width * count(); }
    int RowAt(std::int64_t y) const { return static_cast<int>(std::clamp<std::int64_t>(y, 0, height - 1)); }
};

// What a blur by table keeps in memory: quotients, sums of a row, the bytes of a row. Callers rely on its limit: sizes
// beyond 31 bits are refused.
bool SizesAreAllowed(const BoxBlur& blur) {
    constexpr std::int64_t kSpareSums = 5, kSpareBytes = 20, kSumBytes = 4;
    const std::int64_t table = (256 * blur.divisor + 256) * kSumBytes;
    const std::int64_t sums = (blur.width + kSpareSums) * kSumBytes;
    const std::int64_t row = static_cast<std::int64_t>(blur.sides.dst.record->RowSize) + kSpareBytes;
    return table <= INT_MAX && sums <= INT_MAX && row >= 0 && row <= INT_MAX;
}

// How often position p of 0 to last stands for the positions -radius to radius, all of them cut to that range.
std::uint32_t TimesCounted(std::int64_t p, std::int64_t last, std::int64_t radius) {
    std::int64_t times = p <= radius ? 1 : 0;
    if (p == 0) times += radius;
    if (p == last) times += std::max<std::int64_t>(radius - last, 0);
    return static_cast<std::uint32_t>(times);
}

// The kernels for sums of that type.
const auto& SumsOf(std::uint16_t) {
    return Kernels().blur.narrow;
}
const auto& SumsOf(std::uint32_t) {
    return Kernels().blur.wide;
}

// --- vertical -------------------------------------------------------------------------------------------------------

// The sums of all columns around a row of the source, which begins above the first one.
template <class Sum>
class ColumnSums {
public:
    explicit ColumnSums(const BoxBlur& blur)
        : blur_(blur),
          samples_(static_cast<std::ptrdiff_t>(blur.samples())),
          width_(static_cast<std::ptrdiff_t>(blur.width)),
          sums_(blur.samples()),
          leaving_(blur.samples()),
          entering_(blur.samples()) {}
    explicit operator bool() const { return sums_ && leaving_ && entering_; }
    Sum* get() const { return sums_.get(); }
    std::ptrdiff_t samples() const { return samples_; }

    // To the first row.
    void Begin() const {
        const PixelSide& src = blur_.sides.src;
        for (std::int64_t y = 0; y <= std::min<std::int64_t>(blur_.radius, blur_.height - 1); ++y) {
            const std::uint32_t times = TimesCounted(y, blur_.height - 1, blur_.radius);
            const RowSpan row = GetRowSpan(src.record, static_cast<int>(y));
            SumsOf(Sum{}).add(sums_.get(), PackedSamples(row, src, width_, entering_.get()), samples_, times);
        }
    }
    // The samples by which the sums of the row below y differ from those of row y.
    struct Change {
        const std::uint8_t* leaves;
        const std::uint8_t* enters;
    };
    Change Below(std::int64_t y) const {
        const PixelSide& src = blur_.sides.src;
        const RowSpan above = GetRowSpan(src.record, blur_.RowAt(y - blur_.radius));
        const std::uint8_t* leaves = leaving_.get();
        if (src.record->IsMapping) {
            CopyPackedSamples(above, src, width_, leaving_.get());  // the next row may move it away
        } else {
            leaves = PackedSamples(above, src, width_, leaving_.get());
        }
        const RowSpan below = GetRowSpan(src.record, blur_.RowAt(y + blur_.radius + 1));
        return {leaves, PackedSamples(below, src, width_, entering_.get())};
    }

private:
    const BoxBlur& blur_;
    std::ptrdiff_t samples_, width_;
    HeapArray<Sum> sums_;
    HeapArray<std::uint8_t> leaving_, entering_;
};

// Walks by itself, as each row of the result needs two of the source.
template <class Sum, class Division>
void BlurColumns(const BoxBlur& blur, const Division& division) {
    const PixelSide& dst = blur.sides.dst;
    const ColumnSums<Sum> sums(blur);
    const HeapArray<std::uint8_t> written(blur.samples());
    if (!sums || !written) return;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    sums.Begin();
    for (int y = 0; y < blur.height; ++y) {
        const auto change = sums.Below(y);
        const RowSpan row = GetRowSpan(dst.record, y);
        std::uint8_t* const bytes = row ? BeginPacked(row, dst, width, written.get()) : written.get();
        SumsOf(Sum{}).down(sums.get(), change.leaves, change.enters, sums.samples(), division, bytes);
        if (row) EndPacked(row, dst, width, bytes);
    }
}

// For images that share pixels. Each row is stored before the source's next ones are read, so that sums can leave
// their range: only wide ones with a tested quotient will do.
void BlurColumnsInOrder(const BoxBlur& blur) {
    const PixelSide& dst = blur.sides.dst;
    const ColumnSums<std::uint32_t> sums(blur);
    const HeapArray<std::uint8_t> written(blur.samples());
    if (!sums || !written) return;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    const TestedDivision division{static_cast<std::uint32_t>(blur.divisor)};
    sums.Begin();
    for (int y = 0; y < blur.height; ++y) {
        if (const RowSpan row = GetRowSpan(dst.record, y)) {
            std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
            Kernels().blur.divideTested(sums.get(), sums.samples(), division, bytes);
            EndPacked(row, dst, width, bytes);
        }
        const auto change = sums.Below(y);
        Kernels().blur.slide(sums.get(), change.leaves, change.enters, sums.samples());
    }
}

// --- horizontal -----------------------------------------------------------------------------------------------------

// Defines the result where the passes read what they have just written: one pixel after the other, first the store,
// then the sample that leaves the sum, then the one that enters.
template <int kCount>
void BlurRow_Plain(const BoxBlur& blur, const RowSpan& srcRow, const RowSpan& dstRow) {
    const PixelSide &src = blur.sides.src, &dst = blur.sides.dst;
    const std::int64_t last = blur.width - 1;
    std::uint32_t sum[kCount] = {};
    std::uint8_t samples[kCount];
    for (std::int64_t x = 0; x <= std::min<std::int64_t>(blur.radius, last); ++x) {
        Load<kCount>(srcRow, src, x, samples);
        for (int c = 0; c < kCount; ++c) sum[c] += TimesCounted(x, last, blur.radius) * samples[c];
    }
    const TestedDivision division{static_cast<std::uint32_t>(blur.divisor)};
    for (std::int64_t x = 0; x <= last; ++x) {
        for (int c = 0; c < kCount; ++c) samples[c] = division(sum[c]);
        Store<kCount>(dstRow, dst, x, samples);
        Load<kCount>(srcRow, src, std::max<std::int64_t>(x - blur.radius, 0), samples);
        for (int c = 0; c < kCount; ++c) sum[c] -= samples[c];
        Load<kCount>(srcRow, src, std::min(x + blur.radius + 1, last), samples);
        for (int c = 0; c < kCount; ++c) sum[c] += samples[c];
    }
}

template <int kCount>
void BlurRowsInPlace_Plain(const BoxBlur& blur) {
    for (int y = 0; y < blur.height; ++y) {
        const RowSpan dst = GetRowSpan(blur.sides.dst.record, y);
        const RowSpan src = GetRowSpan(blur.sides.src.record, y);
        if (dst && src) BlurRow_Plain<kCount>(blur, src, dst);
    }
}

// A row with its edge pixels repeated on both sides, so that its sums slide without a test. Beyond the width of the
// row a radius finds edge pixels only, so that many on each side are enough.
class WideRow {
public:
    explicit WideRow(const BoxBlur& blur)
        : count_(blur.count()),
          width_(static_cast<std::ptrdiff_t>(blur.width)),
          radius_(blur.radius),
          edge_(static_cast<std::ptrdiff_t>(std::min<std::int64_t>(radius_ + 1, blur.width))),
          bytes_(blur.width + 2 * std::int64_t{edge_}, count_) {}
    explicit operator bool() const { return static_cast<bool>(bytes_); }

    std::uint8_t* samples() const { return bytes_.get() + edge_ * count_; }

    // The row blurred, as packed samples.
    template <class Sum, class Division>
    void Blur(const Division& division, std::uint8_t* bytes) const {
        std::uint8_t* const row = samples();
        std::uint8_t* const last = row + (width_ - 1) * count_;
        for (std::ptrdiff_t i = 1; i <= edge_; ++i) {
            std::memcpy(row - i * count_, row, static_cast<std::size_t>(count_));
            std::memcpy(last + i * count_, last, static_cast<std::size_t>(count_));
        }
        SlidingRow sliding{row - (edge_ - 1) * count_, row + edge_ * count_, width_, {}, {}};
        SumAround(0, sliding.first);
        SumAround(width_ / 2, sliding.middle);
        ByCount(SumsOf(Sum{}).along, count_)(sliding, division, bytes);
    }

private:
    void SumAround(std::ptrdiff_t x, std::uint32_t* sums) const {
        const std::uint8_t* const row = samples();
        const std::int64_t last = width_ - 1, before = x - radius_, behind = x + radius_;
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(std::max<std::int64_t>(before, 0));
        const std::ptrdiff_t to = static_cast<std::ptrdiff_t>(std::min(behind, last));
        const std::uint32_t timesFirst = static_cast<std::uint32_t>(from - before);
        const std::uint32_t timesLast = static_cast<std::uint32_t>(behind - to);
        WithChannelCount(count_, [&](auto kCount) {
            std::uint32_t sum[kCount];
            for (int c = 0; c < kCount; ++c) sum[c] = timesFirst * row[c] + timesLast * row[last * kCount + c];
            for (std::ptrdiff_t i = from; i <= to; ++i) {
                for (int c = 0; c < kCount; ++c) sum[c] += row[i * kCount + c];
            }
            std::copy_n(sum, int{kCount}, sums);
        });
    }

    int count_;
    std::ptrdiff_t width_;
    std::int64_t radius_;
    std::ptrdiff_t edge_;  // pixels on each side
    HeapArray<std::uint8_t> bytes_;
};

// Walks by itself, as each row goes through a copy that is wider than the image.
template <class Sum, class Division>
void BlurRows(const BoxBlur& blur, bool afterColumns, const Division& division) {
    const PixelSide& dst = blur.sides.dst;
    const PixelSide& from = afterColumns ? dst : blur.sides.src;
    const WideRow wide(blur);
    const HeapArray<std::uint8_t> written(blur.samples());
    if (!wide || !written) return;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    for (int y = 0; y < blur.height; ++y) {
        const RowSpan row = GetRowSpan(dst.record, y);
        if (!row) continue;
        const RowSpan read = afterColumns ? OwnBytes(row, dst.record) : GetRowSpan(from.record, y);
        CopyPackedSamples(read, from, width, wide.samples());
        std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
        wide.Blur<Sum>(division, bytes);
        EndPacked(row, dst, width, bytes);
    }
}

// --- both -----------------------------------------------------------------------------------------------------------

// Each row goes through both passes while it is in the cache. Walks by itself, as each row of the result needs two of
// the source.
template <class Sum, class Division>
void BlurBoth(const BoxBlur& blur, const Division& division) {
    const PixelSide& dst = blur.sides.dst;
    const ColumnSums<Sum> sums(blur);
    const WideRow wide(blur);
    const HeapArray<std::uint8_t> written(blur.samples());
    if (!sums || !wide || !written) return;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    sums.Begin();
    for (int y = 0; y < blur.height; ++y) {
        const auto change = sums.Below(y);
        SumsOf(Sum{}).down(sums.get(), change.leaves, change.enters, sums.samples(), division, wide.samples());
        const RowSpan row = GetRowSpan(dst.record, y);
        if (!row) continue;
        if (!Covers(row, dst, 0, width)) {  // samples outside are lost between the passes
            EndPacked(row, dst, width, wide.samples());
            CopyPackedSamples(OwnBytes(row, dst.record), dst, width, wide.samples());
        }
        std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
        wide.Blur<Sum>(division, bytes);
        EndPacked(row, dst, width, bytes);
    }
}

template <class Sum, class Division>
void BlurApart(const BoxBlur& blur, bool vertical, bool horizontal, const Division& division) {
    if (vertical && horizontal && RowsKeepTheirSamples(blur.sides.dst, blur.width))
        return BlurBoth<Sum>(blur, division);
    if (vertical) BlurColumns<Sum>(blur, division);
    if (horizontal) BlurRows<Sum>(blur, vertical, division);
}

void BlurShared(const BoxBlur& blur, bool vertical, bool horizontal) {
    if (vertical) BlurColumnsInOrder(blur);
    if (!horizontal) return;
    if (vertical) return BlurRows<std::uint32_t>(blur, true, MakeWideDivision(blur.divisor));
    WithChannelCount(blur.count(), [&](auto kCount) { BlurRowsInPlace_Plain<kCount>(blur); });
}

void BlurImage(ImageClassData* src, ImageClassData* dst, int radius, bool vertical, bool horizontal) {
    BoxBlur blur{SidesOf(src, dst), src->Width, src->Height, radius, 0};
    blur.divisor = radius >= 1 ? 2 * static_cast<std::int64_t>(radius) + 1 : 3;
    if (blur.count() < 1 || blur.width < 1 || radius < 0 || !SizesAreAllowed(blur) || !HasRows(src)) return;
    if (HoldsNothing(dst)) return;
    if (ImagesOverlap(src, dst)) {
        BlurShared(blur, vertical, horizontal);
        return;
    }
    OrderByBytes(&blur.sides);
    NarrowDivision narrow;
    if (MakeNarrowDivision(blur.divisor, &narrow)) {
        BlurApart<std::uint16_t>(blur, vertical, horizontal, narrow);
    } else {
        BlurApart<std::uint32_t>(blur, vertical, horizontal, MakeWideDivision(blur.divisor));
    }
}

}  // namespace

REALobject BoxBlurFilter(REALobject object, REALobject dst, double radius, REALboolean vertical,
                         REALboolean horizontal) {
    ImageClassData* const src = ImageDataOf(object);
    const REALobject result = OpenDestination(src, dst);
    if (!result) return nullptr;
    BlurImage(src, ImageDataOf(result), TruncateToInt(radius), vertical != 0, horizontal != 0);
    return result;
}

REALobject BoxBlurFilter2(REALobject object, REALobject dst, double radius, int iterations, REALboolean vertical,
                          REALboolean horizontal) {
    REALLockObject(object);
    REALobject current = object;
    for (int i = 0; i < iterations && current; ++i) {
        const ObjectHolder last(current);
        current = BoxBlurFilter(current, i == 0 ? dst : nullptr, radius, vertical, horizontal);
    }
    return current;
}

}  // namespace zor
