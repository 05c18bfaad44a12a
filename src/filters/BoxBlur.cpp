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

// --- vertical -------------------------------------------------------------------------------------------------------

// The kernels for sums of that type.
const auto& SumsOf(std::uint16_t) {
    return Kernels().blur.narrow;
}
const auto& SumsOf(std::uint32_t) {
    return Kernels().blur.wide;
}

void DivideSums(const std::uint16_t* sums, std::ptrdiff_t count, const NarrowDivision& by, std::uint8_t* bytes) {
    Kernels().blur.narrow.divide(sums, count, by, bytes);
}
void DivideSums(const std::uint32_t* sums, std::ptrdiff_t count, const WideDivision& by, std::uint8_t* bytes) {
    Kernels().blur.wide.divide(sums, count, by, bytes);
}
void DivideSums(const std::uint32_t* sums, std::ptrdiff_t count, const TestedDivision& by, std::uint8_t* bytes) {
    Kernels().blur.divideTested(sums, count, by, bytes);
}

// Walks by itself, as each row of the result needs two of the source. The pass reads and writes whole rows in turn, so
// its order holds for images that share pixels too; there the sums can leave their range, and only the wide ones with
// a tested quotient will do.
template <class Sum, class Division>
void BlurColumns(const BoxBlur& blur, const Division& division) {
    const PixelSide &src = blur.sides.src, &dst = blur.sides.dst;
    const HeapArray<Sum> sums(blur.samples());
    const HeapArray<std::uint8_t> leaving(blur.samples()), entering(blur.samples()), written(blur.samples());
    if (!sums || !leaving || !entering || !written) return;
    const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(blur.samples());
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    const auto& kernels = SumsOf(Sum{});
    for (std::int64_t y = 0; y <= std::min<std::int64_t>(blur.radius, blur.height - 1); ++y) {
        const std::uint32_t times = TimesCounted(y, blur.height - 1, blur.radius);
        const RowSpan row = GetRowSpan(src.record, static_cast<int>(y));
        kernels.add(sums.get(), PackedSamples(row, src, width, entering.get()), samples, times);
    }
    for (int y = 0; y < blur.height; ++y) {
        if (const RowSpan row = GetRowSpan(dst.record, y)) {
            std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
            DivideSums(sums.get(), samples, division, bytes);
            EndPacked(row, dst, width, bytes);
        }
        // Copied, as the next row of a mapped image may move it away.
        const std::int64_t above = static_cast<std::int64_t>(y) - blur.radius;
        const std::int64_t below = static_cast<std::int64_t>(y) + blur.radius + 1;
        CopyPackedSamples(GetRowSpan(src.record, blur.RowAt(above)), src, width, leaving.get());
        const RowSpan row = GetRowSpan(src.record, blur.RowAt(below));
        kernels.slide(sums.get(), leaving.get(), PackedSamples(row, src, width, entering.get()), samples);
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

// Rows with their edge pixels repeated on both sides, so that the sums slide without a test. Beyond the width of the
// row a radius finds edge pixels only, so that many on each side are enough.
struct WideRow {
    WideRow(const BoxBlur& blur)
        : edge(std::min<std::int64_t>(blur.radius + std::int64_t{1}, blur.width)),
          bytes(blur.width + 2 * edge, blur.count()) {}

    std::int64_t edge;  // pixels on each side
    HeapArray<std::uint8_t> bytes;

    std::uint8_t* row(int count) const { return bytes.get() + edge * count; }
    void RepeatEdges(int count, std::ptrdiff_t width) const {
        std::uint8_t* const first = row(count);
        for (std::ptrdiff_t i = 1; i <= edge; ++i) {
            std::memcpy(first - i * count, first, static_cast<std::size_t>(count));
            std::memcpy(first + (width - 1 + i) * count, first + (width - 1) * count, static_cast<std::size_t>(count));
        }
    }
};

template <class Sum>
void SumRow(const WideRow& wide, const BoxBlur& blur, Sum* sums) {
    const int count = blur.count();
    const std::uint8_t* const row = wide.row(count);
    const std::int64_t last = blur.width - 1, reach = std::min<std::int64_t>(blur.radius, last);
    std::uint32_t sum[ChannelSet::kMax] = {};
    for (std::int64_t x = 0; x <= reach; ++x) {
        for (int c = 0; c < count; ++c) sum[c] += TimesCounted(x, last, blur.radius) * row[x * count + c];
    }
    ByCount(SumsOf(Sum{}).run, count)(sums, row - reach * count, row + (reach + 1) * count,
                                      static_cast<std::ptrdiff_t>(blur.width), sum);
}

// The bytes that the second of two passes reads: those of the row of the destination, RowSize of them, and 0 beyond.
RowSpan OwnBytes(const RowSpan& row, const ImageClassData* record) {
    return {row.data, std::max<std::ptrdiff_t>(row.begin, 0), std::min<std::ptrdiff_t>(row.end, record->RowSize)};
}

// Walks by itself, as each row goes through a copy that is wider than the image.
template <class Sum, class Division>
void BlurRows(const BoxBlur& blur, bool afterColumns, const Division& division) {
    const PixelSide& dst = blur.sides.dst;
    const PixelSide& from = afterColumns ? dst : blur.sides.src;
    const WideRow wide(blur);
    const HeapArray<Sum> sums(blur.samples());
    const HeapArray<std::uint8_t> written(blur.samples());
    if (!wide.bytes || !sums || !written) return;
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(blur.width);
    for (int y = 0; y < blur.height; ++y) {
        const RowSpan row = GetRowSpan(dst.record, y);
        if (!row) continue;
        const RowSpan read = afterColumns ? OwnBytes(row, dst.record) : GetRowSpan(from.record, y);
        CopyPackedSamples(read, from, width, wide.row(blur.count()));
        wide.RepeatEdges(blur.count(), width);
        SumRow(wide, blur, sums.get());
        std::uint8_t* const bytes = BeginPacked(row, dst, width, written.get());
        DivideSums(sums.get(), width * blur.count(), division, bytes);
        EndPacked(row, dst, width, bytes);
    }
}

// --- both -----------------------------------------------------------------------------------------------------------

template <class Sum, class Division>
void BlurApart(const BoxBlur& blur, bool vertical, bool horizontal, const Division& division) {
    if (vertical) BlurColumns<Sum>(blur, division);
    if (horizontal) BlurRows<Sum>(blur, vertical, division);
}

void BlurShared(const BoxBlur& blur, bool vertical, bool horizontal) {
    if (vertical) BlurColumns<std::uint32_t>(blur, TestedDivision{static_cast<std::uint32_t>(blur.divisor)});
    if (!horizontal) return;
    if (vertical) return BlurRows<std::uint32_t>(blur, true, MakeWideDivision(blur.divisor));
    WithChannelCount(blur.count(), [&](auto kCount) { BlurRowsInPlace_Plain<kCount>(blur); });
}

void BlurImage(ImageClassData* src, ImageClassData* dst, int radius, bool vertical, bool horizontal) {
    BoxBlur blur{SidesOf(src, dst), src->Width, src->Height, radius, 0};
    blur.divisor = radius >= 1 ? 2 * static_cast<std::int64_t>(radius) + 1 : 3;
    if (blur.count() < 1 || blur.width < 1 || radius < 0 || !SizesAreAllowed(blur) || !HasRows(src)) return;
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
