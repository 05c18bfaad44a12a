#include "filters/OilWindow.h"

#include <algorithm>
#include <cstring>

#include "core/Storage.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

// Index of the first of a number of counts that is equal to the given one. One is.
template <class Count>
int FirstOf(const Count* count, int, Count wanted) {
    int k = 0;
    while (count[k] != wanted) ++k;
    return k;
}
int FirstOf(const std::uint8_t* count, int number, std::uint8_t wanted) {
    const void* const found = std::memchr(count, wanted, static_cast<std::size_t>(number));
    return static_cast<int>(static_cast<const std::uint8_t*>(found) - count);
}

// --- the classes of one channel -------------------------------------------------------------------------------------

// What the window holds, by class. The smaller the types, the more counts are searched at once; a window of as many
// samples as Count can tell has sums that Sum can hold, up to the widest, whose sums wrap and come back.
template <class Count, class Sum>
struct Classes {
    static constexpr int kMaxClasses = 256;
    static constexpr int kBlock = 16;  // as many as a vector of the smallest counts has

    Count count[kMaxClasses];
    Sum sum[kMaxClasses];
    int best;

    void Clear() {
        std::fill_n(count, kMaxClasses, Count{0});
        std::fill_n(sum, kMaxClasses, Sum{0});
        best = 0;
    }
    void Add(int k, int sample) {
        count[k] = static_cast<Count>(count[k] + 1);
        sum[k] = static_cast<Sum>(sum[k] + static_cast<Sum>(sample));
    }
    void Remove(int k, int sample) {
        count[k] = static_cast<Count>(count[k] - 1);
        sum[k] = static_cast<Sum>(sum[k] - static_cast<Sum>(sample));
    }
    // Mean of the lowest of the most frequent classes; samples: how many the window holds, at least 1.
    std::uint8_t MeanOfMode(int classes, std::int64_t samples) {
        const bool isMajority = 2 * static_cast<std::int64_t>(count[best]) > samples;
        if (!isMajority) best = FindMode(classes);
        return static_cast<std::uint8_t>(static_cast<std::int32_t>(sum[best]) / static_cast<std::int32_t>(count[best]));
    }

private:
    int FindMode(int classes) const {
        const int searched = (classes + kBlock - 1) / kBlock * kBlock;  // classes that are not used count 0
        Count most = 0;
        for (int k = 0; k < searched; ++k) most = std::max(most, count[k]);
        return FirstOf(count, searched, most);
    }
};

using SmallClasses = Classes<std::uint8_t, std::uint16_t>;  // 255 samples add up to 65025 at most
using MediumClasses = Classes<std::uint16_t, std::uint32_t>;
using LargeClasses = Classes<std::uint32_t, std::uint32_t>;
constexpr std::int64_t kMaxSmall = 255, kMaxMedium = 65535;

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

template <int kCount, class ClassesOf>
struct OilWindow {
    ClassesOf channel[kCount];
    std::uint8_t classOf[256];
    int classes;
    const std::uint8_t** rows;  // those that exist
    int rowCount;

    void AddColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) channel[c].Add(classOf[pixel[c]], pixel[c]);
        }
    }
    void RemoveColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) channel[c].Remove(classOf[pixel[c]], pixel[c]);
        }
    }
    // A row of the destination, packed. At least one row exists.
    void PaintRow(std::int64_t width, std::int64_t range, std::uint8_t* out) {
        for (ClassesOf& each : channel) each.Clear();
        for (std::int64_t x = 0; x < std::min(range, width); ++x) AddColumn(x);
        for (std::int64_t x = 0; x < width; ++x) {
            if (x + range < width) AddColumn(x + range);
            if (x - range > 0) RemoveColumn(x - range - 1);
            const std::int64_t columns = std::min(x + range, width - 1) - std::max<std::int64_t>(x - range, 0) + 1;
            for (int c = 0; c < kCount; ++c) {
                out[x * kCount + c] = channel[c].MeanOfMode(classes, columns * rowCount);
            }
        }
    }
};

// Walks by itself, as each row of the result needs the rows of a window.
template <int kCount, class ClassesOf>
void Paint(const PixelSides& sides, int classes, std::int64_t range, const RowRing& ring, const std::uint8_t** rows,
           std::uint8_t* outCopy) {
    ImageClassData* const src = sides.src.record;
    const int width = src->Width;
    OilWindow<kCount, ClassesOf> window;
    window.classes = classes;
    window.rows = rows;
    for (int i = 0; i < 256; ++i) window.classOf[i] = static_cast<std::uint8_t>(i * classes / 256);
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

// For each class a row of its counts in the columns of the window, which gains the row of the source that enters it
// and loses the one that leaves it. Rows are wider than the image by the reach of the window on both sides, where
// nothing is ever counted.
class OilRing {
public:
    OilRing(const PixelSides& sides, int classes, int range)
        : src_(sides.src),
          classes_(classes),
          range_(range),
          count_(sides.count()),
          width_(sides.src.record->Width),
          slots_(2 * std::int64_t{range} + 2),
          rowBytes_((width_ + 2 * std::int64_t{range}) * count_),
          counts_(rowBytes_, classes),
          ofClass_(rowBytes_, slots_),
          excess_(rowBytes_, slots_),
          exists_(slots_),
          packed_(std::int64_t{width_} * count_) {
        for (int i = 255; i >= 0; --i) {
            classOf_[i] = static_cast<std::uint8_t>(i * classes / 256);
            least_[classOf_[i]] = static_cast<std::uint8_t>(i);
        }
        for (int i = 0; i < 256; ++i) {
            excessOf_[i] = static_cast<std::uint8_t>(i - least_[classOf_[i]]);
            mostExcess_ = std::max<int>(mostExcess_, excessOf_[i]);
        }
    }
    explicit operator bool() const { return counts_ && ofClass_ && excess_ && exists_ && packed_; }

    static std::int64_t BytesFor(const PixelSides& sides, int classes, int range) {
        const std::int64_t rowBytes = (sides.src.record->Width + 2 * std::int64_t{range}) * sides.count();
        return rowBytes * (classes + 2 * (2 * std::int64_t{range} + 2));
    }

    void Bring(std::int64_t y) {
        const RowSpan row = GetRowSpan(src_.record, static_cast<int>(y));
        exists_.get()[y % slots_] = static_cast<bool>(row);
        if (!row) return;
        const std::ptrdiff_t samples = width_ * count_;
        const std::uint8_t* const bytes = PackedSamples(row, src_, width_, packed_.get());
        Kernels().bytes.map(bytes, Row(ofClass_, y) + Margin(), samples, classOf_);
        Kernels().bytes.map(bytes, Row(excess_, y) + Margin(), samples, excessOf_);
    }
    bool Exists(std::int64_t y) const { return y >= 0 && exists_.get()[y % slots_]; }

    // The columns from sample `first` to the one before `end`. Row `above` leaves and row `below` enters; either may
    // be none that exists.
    void Slide(std::int64_t above, std::int64_t below, std::ptrdiff_t first, std::ptrdiff_t end) const {
        const std::uint8_t* const leaves = Exists(above) ? Row(ofClass_, above) + Margin() + first : nullptr;
        const std::uint8_t* const enters = Exists(below) ? Row(ofClass_, below) + Margin() + first : nullptr;
        Kernels().oil.slide(CountsAt(Margin() + first), leaves, enters, end - first);
    }
    // Samples `first` and on of the row whose window has these rows, of which some exist.
    void Paint(std::int64_t firstRow, std::int64_t lastRow, std::ptrdiff_t first, std::ptrdiff_t count,
               std::uint8_t* out) const {
        const OilColumns columns{2 * range_ + 1, count_};
        const std::uint8_t *classRows[kMaxRows], *excessRows[kMaxRows];
        OilRows rows{classRows, excessRows, 0, mostExcess_};
        for (std::int64_t y = firstRow; y <= lastRow; ++y) {
            if (!Exists(y)) continue;
            classRows[rows.count] = Row(ofClass_, y) + first;
            excessRows[rows.count++] = Row(excess_, y) + first;
        }
        std::uint8_t modes[kSamplesAtOnce], times[kSamplesAtOnce], least[kSamplesAtOnce];
        Kernels().oil.mode(CountsAt(first), columns, count, modes, times);
        Kernels().bytes.map(modes, least, count, least_);
        Kernels().oil.mean(rows, columns, count, modes, times, least, out);
    }

    // So many that the counts of all classes stay in the cache from one kernel to the next.
    static constexpr std::ptrdiff_t kSamplesAtOnce = 1024;
    static constexpr int kMaxRows = 15;  // of a window that holds 255 samples at most
    // Beyond, moving the window along the row is faster: its cost does not grow with the classes.
    static constexpr int kMaxClasses = 100;

private:
    std::ptrdiff_t Margin() const { return std::ptrdiff_t{range_} * count_; }
    std::uint8_t* Row(const HeapArray<std::uint8_t>& rows, std::int64_t y) const {
        return rows.get() + y % slots_ * rowBytes_;
    }
    OilCounts CountsAt(std::ptrdiff_t column) const {
        return {counts_.get() + column, static_cast<std::ptrdiff_t>(rowBytes_), classes_};
    }

    PixelSide src_;
    int classes_, range_, count_;
    std::ptrdiff_t width_;
    std::int64_t slots_, rowBytes_;
    HeapArray<std::uint8_t> counts_, ofClass_, excess_;
    HeapArray<bool> exists_;
    HeapArray<std::uint8_t> packed_;
    std::uint8_t classOf_[256], excessOf_[256], least_[256] = {};
    int mostExcess_ = 0;
};

// Walks by itself, as each row of the result needs the rows of a window. False, with nothing stored, where memory is
// short.
bool PaintByVectors(const PixelSides& sides, int classes, int range) {
    OilRing ring(sides, classes, range);
    const std::int64_t width = sides.src.record->Width, height = sides.src.record->Height;
    const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(width * sides.count());
    const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(range) * sides.count();
    const HeapArray<std::uint8_t> outCopy(samples);
    if (!ring || !outCopy) return false;
    constexpr std::int64_t kNone = -1;
    for (std::int64_t y = 0; y < std::min<std::int64_t>(range, height); ++y) {
        ring.Bring(y);
        ring.Slide(kNone, y, 0, samples);
    }
    for (std::int64_t y = 0; y < height; ++y) {
        const std::int64_t above = y - range - 1, below = y + range < height ? y + range : kNone;
        if (below != kNone) ring.Bring(below);
        const std::int64_t first = std::max<std::int64_t>(y - range, 0), last = std::min(y + range, height - 1);
        const RowSpan dstRow = GetRowSpan(sides.dst.record, static_cast<int>(y));
        bool any = static_cast<bool>(dstRow);
        for (std::int64_t row = first; any && !ring.Exists(row); ++row) any = row < last;
        std::uint8_t* const out = any ? BeginPacked(dstRow, sides.dst, width, outCopy.get()) : nullptr;
        std::ptrdiff_t slid = 0;
        for (std::ptrdiff_t at = 0; at < samples; at += OilRing::kSamplesAtOnce) {
            const std::ptrdiff_t count = std::min(OilRing::kSamplesAtOnce, samples - at);
            const std::ptrdiff_t needed = std::min(at + count + reach, samples);
            ring.Slide(above, below, slid, needed);
            slid = needed;
            if (any) ring.Paint(first, last, at, count, out + at);
        }
        if (any) EndPacked(dstRow, sides.dst, width, out);
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
    const bool byVectors =
        ProcessKernels().tier != CpuTier::plain && reach <= OilRing::kMaxRows && classes <= OilRing::kMaxClasses;
    if (byVectors && OilRing::BytesFor(sides, classes, range) <= kMaxRingBytes &&
        PaintByVectors(sides, classes, range)) {
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
