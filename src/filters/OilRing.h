#pragma once
// Windows of few samples of the oil filter, by vectors.

#include <algorithm>
#include <cstdint>

#include "core/HeapArray.h"
#include "kernels/KernelTable.h"

namespace zor {

// For each class a row of its counts in the columns of the window, which gains the row of the source that enters it
// and loses the one that leaves it. Rows are wider than the image by the reach of the window on both sides, where
// nothing is ever counted.
class OilRing {
public:
    OilRing() = default;
    OilRing(int width, int count, int classes, int range)
        : classes_(classes),
          range_(range),
          count_(count),
          width_(width),
          slots_(2 * std::int64_t{range} + 2),
          rowBytes_((width_ + 2 * std::int64_t{range}) * count_),
          counts_(rowBytes_, classes),
          ofClass_(rowBytes_, slots_),
          excess_(rowBytes_, slots_),
          exists_(slots_) {
        for (int i = 255; i >= 0; --i) {
            classOf_[i] = static_cast<std::uint8_t>(i * classes / 256);
            least_[classOf_[i]] = static_cast<std::uint8_t>(i);
        }
        for (int i = 0; i < 256; ++i) {
            excessOf_[i] = static_cast<std::uint8_t>(i - least_[classOf_[i]]);
            mostExcess_ = std::max<int>(mostExcess_, excessOf_[i]);
        }
    }
    explicit operator bool() const { return counts_ && ofClass_ && excess_ && exists_; }

    // Whether there may be one for such windows, and whether it takes no more than so many bytes.
    static bool Serves(int width, int count, int classes, int range, std::int64_t mostBytes) {
        return 2 * std::int64_t{range} + 1 <= kMaxRows && classes <= kMaxClasses &&
               BytesFor(width, count, classes, range) <= mostBytes;
    }
    static std::int64_t BytesFor(int width, int count, int classes, int range) {
        const std::int64_t rowBytes = (width + 2 * std::int64_t{range}) * count;
        return rowBytes * (classes + 2 * (2 * std::int64_t{range} + 2));
    }

    // Row y, packed; null: there is none.
    void Bring(std::int64_t y, const std::uint8_t* bytes) {
        exists_.get()[y % slots_] = bytes != nullptr;
        if (bytes == nullptr) return;
        const std::ptrdiff_t samples = width_ * count_;
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
    // A row of the result, packed; `firstRow` to `lastRow` are those of its window, of which some exist.
    void SlideAndPaint(std::int64_t above, std::int64_t below, std::int64_t firstRow, std::int64_t lastRow,
                       OilMeans means, std::uint8_t* out) const {
        const std::ptrdiff_t samples = width_ * count_;
        std::ptrdiff_t slid = 0;
        for (std::ptrdiff_t at = 0; at < samples; at += kSamplesAtOnce) {
            const std::ptrdiff_t count = std::min(kSamplesAtOnce, samples - at);
            const std::ptrdiff_t needed = std::min(at + count + Margin(), samples);
            Slide(above, below, slid, needed);
            slid = needed;
            Paint(firstRow, lastRow, at, count, means, out + at);
        }
    }

    static constexpr std::int64_t kNone = -1;  // no row

private:
    // Samples `first` and on of the row whose window has these rows, of which some exist.
    void Paint(std::int64_t firstRow, std::int64_t lastRow, std::ptrdiff_t first, std::ptrdiff_t count, OilMeans means,
               std::uint8_t* out) const {
        const OilColumns columns{2 * range_ + 1, count_};
        const std::uint8_t *classRows[kMaxRows], *excessRows[kMaxRows];
        OilRows rows{classRows, excessRows, 0, mostExcess_, means};
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

    std::ptrdiff_t Margin() const { return std::ptrdiff_t{range_} * count_; }
    std::uint8_t* Row(const HeapArray<std::uint8_t>& rows, std::int64_t y) const {
        return rows.get() + y % slots_ * rowBytes_;
    }
    OilCounts CountsAt(std::ptrdiff_t column) const {
        return {counts_.get() + column, static_cast<std::ptrdiff_t>(rowBytes_), classes_};
    }

    int classes_ = 0, range_ = 0, count_ = 0;
    std::ptrdiff_t width_ = 0;
    std::int64_t slots_ = 0, rowBytes_ = 0;
    HeapArray<std::uint8_t> counts_, ofClass_, excess_;
    HeapArray<bool> exists_;
    std::uint8_t classOf_[256] = {}, excessOf_[256] = {}, least_[256] = {};
    int mostExcess_ = 0;
};

}  // namespace zor
