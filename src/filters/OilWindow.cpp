#include "filters/OilWindow.h"

#include <algorithm>
#include <cstring>

#include "core/Storage.h"
#include "filters/OilClasses.h"
#include "filters/OilRing.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

// --- the rows of the window -----------------------------------------------------------------------------------------

// Packed copies of as many rows as a window can hold; row y lies in slot y mod slots.
struct RowRing {
    std::uint8_t* samples;
    bool* exists;
    std::int64_t rowBytes;
    std::int64_t slots;
};

void BringRow(const PixelSide& src, int y, int width, const RowRing& ring) {
    const RowSpan row = GetRowSpan(src.record, y);
    const std::int64_t slot = y % ring.slots;
    ring.exists[slot] = static_cast<bool>(row);
    if (row) CopyPackedSamples(row, src, width, ring.samples + slot * ring.rowBytes);
}

// --- the walk -------------------------------------------------------------------------------------------------------

// Walks by itself, as each row of the result needs the rows of a window.
template <int kCount, class ClassesOf>
void Paint(const PixelSides& sides, int classes, std::int64_t range, const RowRing& ring, const std::uint8_t** rows,
           std::uint8_t* outCopy) {
    ImageClassData* const src = sides.src.record;
    const int width = src->Width;
    std::uint8_t classOf[256];
    for (int i = 0; i < 256; ++i) classOf[i] = static_cast<std::uint8_t>(i * classes / 256);
    OilWindow<kCount, ClassesOf, CutMean> window;
    window.classes = classes;
    window.classOf = classOf;
    window.rows = rows;
    const bool allRows = range >= src->Height - 1;  // in every window, so that one row of the result is as another
    bool painted = false;
    std::int64_t arrived = 0;  // rows copied so far
    for (int y = 0; y < src->Height; ++y) {
        const std::int64_t first = std::max<std::int64_t>(y - range, 0);
        const std::int64_t last = std::min<std::int64_t>(y + range, src->Height - 1);
        for (; arrived <= last; ++arrived) BringRow(sides.src, static_cast<int>(arrived), width, ring);
        window.rowCount = 0;
        for (std::int64_t row = first; row <= last; ++row) {
            const std::int64_t slot = row % ring.slots;
            if (ring.exists[slot]) rows[window.rowCount++] = ring.samples + slot * ring.rowBytes;
        }
        const RowSpan dstRow = GetRowSpan(sides.dst.record, y);
        if (!dstRow || window.rowCount == 0) continue;
        std::uint8_t* const out = BeginPacked(dstRow, sides.dst, width, outCopy);
        if (!allRows) {
            window.PaintRow(width, range, out);
        } else {
            if (!painted) window.PaintRow(width, range, outCopy);
            painted = true;
            if (out != outCopy) std::memcpy(out, outCopy, static_cast<std::size_t>(ring.rowBytes));
        }
        EndPacked(dstRow, sides.dst, width, out);
    }
}

using PaintFn = void (*)(const PixelSides&, int, std::int64_t, const RowRing&, const std::uint8_t**, std::uint8_t*);

template <int kCount>
PaintFn Painter(std::int64_t samples) {
    if (samples <= kMaxSmall) return Paint<kCount, SmallClasses>;
    if (samples <= kMaxMedium) return Paint<kCount, MediumClasses>;
    return Paint<kCount, LargeClasses>;
}

// --- windows of few samples, by vectors -----------------------------------------------------------------------------

// Walks by itself, as each row of the result needs the rows of a window. False, with nothing stored, where memory is
// short.
bool PaintByVectors(const PixelSides& sides, int classes, int range) {
    OilRing ring(sides.src.record->Width, sides.count(), classes, range);
    const std::int64_t width = sides.src.record->Width, height = sides.src.record->Height;
    const std::ptrdiff_t columns = static_cast<std::ptrdiff_t>(width);
    const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(width * sides.count());
    const HeapArray<std::uint8_t> outCopy(samples), packed(samples);
    if (!ring || !outCopy || !packed) return false;
    const auto bring = [&](std::int64_t y) {
        const RowSpan row = GetRowSpan(sides.src.record, static_cast<int>(y));
        ring.Bring(y, row ? PackedSamples(row, sides.src, sides.src.record->Width, packed.get()) : nullptr);
    };
    constexpr std::int64_t kNone = OilRing::kNone;
    for (std::int64_t y = 0; y < std::min<std::int64_t>(range, height); ++y) {
        bring(y);
        ring.Slide(kNone, y, 0, samples);
    }
    for (std::int64_t y = 0; y < height; ++y) {
        const std::int64_t above = y - range - 1, below = y + range < height ? y + range : kNone;
        if (below != kNone) bring(below);
        const std::int64_t first = std::max<std::int64_t>(y - range, 0), last = std::min(y + range, height - 1);
        const RowSpan dstRow = GetRowSpan(sides.dst.record, static_cast<int>(y));
        bool any = static_cast<bool>(dstRow);
        for (std::int64_t row = first; any && !ring.Exists(row); ++row) any = row < last;
        std::uint8_t* const out = any ? BeginPacked(dstRow, sides.dst, columns, outCopy.get()) : nullptr;
        if (!any) {
            ring.Slide(above, below, 0, samples);
            continue;
        }
        ring.SlideAndPaint(above, below, first, last, OilMeans::cut, out);
        EndPacked(dstRow, sides.dst, columns, out);
    }
    return true;
}

}  // namespace

void OilImage(const PixelSides& wanted, int classes, int range) {
    constexpr std::int64_t kMaxRingBytes = std::int64_t{1} << 30;
    ImageClassData* const src = wanted.src.record;
    if (wanted.count() < 1 || src->Width < 1) return;
    const std::int64_t reach = 2 * static_cast<std::int64_t>(range) + 1;
    const std::int64_t slots = std::min<std::int64_t>(reach, src->Height);
    // One column more than the window has: a new one comes before the old one goes.
    const std::int64_t columns = std::min<std::int64_t>(reach + 1, src->Width);
    const std::int64_t rowBytes = static_cast<std::int64_t>(src->Width) * wanted.count();
    if (slots > kMaxRingBytes / rowBytes || ImagesOverlap(src, wanted.dst.record)) {
        OilImage_Plain(wanted, classes, range);
        return;
    }
    PixelSides sides = wanted;
    OrderByBytes(&sides);
    const bool byVectors = ProcessKernels().tier != CpuTier::plain &&
                           OilRing::Serves(src->Width, sides.count(), classes, range, kMaxRingBytes);
    if (byVectors && PaintByVectors(sides, classes, range)) {
        return;
    }
    const HeapArray<std::uint8_t> samples(slots * rowBytes), outCopy(rowBytes);
    const HeapArray<bool> exists(slots);
    const HeapArray<const std::uint8_t*> rows(slots);
    if (!samples || !outCopy || !exists || !rows) {
        OilImage_Plain(wanted, classes, range);
        return;
    }
    const RowRing ring{samples.get(), exists.get(), rowBytes, slots};
    WithChannelCount(sides.count(), [&](auto kCount) {
        const auto paint = Painter<kCount>(slots * columns);
        paint(sides, classes, range, ring, rows.get(), outCopy.get());
    });
}

}  // namespace zor
