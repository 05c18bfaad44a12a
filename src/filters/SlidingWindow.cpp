#include "filters/SlidingWindow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zor {

namespace {

std::int64_t SideOf(int radius) {
    return 2 * std::int64_t{radius} + 1;
}

// The sum of a window of words, 65025 at most each, stays below 2^31 up to here.
constexpr std::int64_t kMostWords = 33025;

}  // namespace

std::int64_t WindowShape::rows() const {
    return std::min<std::int64_t>(SideOf(down), height);
}

std::int64_t WindowShape::rowBytes() const {
    return std::int64_t{width} * channels * (samples == WindowSamples::words ? 2 : 1);
}

bool SlidingWindow::Start(const WindowShape& shape, RowStore store, std::int64_t firstRow, const KernelTable& kernels) {
    shape_ = shape;
    store_ = std::move(store);
    firstRow_ = firstRow;
    kernels_ = &kernels;
    fed_ = next_ = 0;
    const std::int64_t most = shape.samples == WindowSamples::bytes ? WindowMean::kExact : kMostWords;
    columnSteps_ = std::min(SideOf(shape.down), most / SideOf(shape.across));
    leftEdge_ = std::min(shape.across + 1, shape.width);
    rightEdge_ = std::min(shape.across, shape.width);
    constexpr std::int64_t kSpare = 4;
    const std::int64_t samples = std::int64_t{shape.width} * shape.channels;
    sums_ = HeapArray<std::uint32_t>(samples);
    along_ = HeapArray<std::uint32_t>((std::int64_t{leftEdge_} + shape.width + rightEdge_) * shape.channels + kSpare);
    last_ = HeapArray<std::uint8_t>(shape.rowBytes());
    const bool weighs = shape.samples == WindowSamples::weighedBytes;
    enters_ = HeapArray<std::uint16_t>(weighs ? samples : 0);
    leaves_ = HeapArray<std::uint16_t>(weighs ? samples : 0);
    return sums_ && along_ && last_ && enters_ && leaves_;
}

// Around the rows above the first, which are all like it, the window has come from; it slides down to the first row as
// rows enter.
void SlidingWindow::Feed(const std::uint8_t* row) {
    const int leaving = static_cast<int>(std::max<std::int64_t>(fed_ - SideOf(shape_.down), 0));
    const std::size_t bytes = static_cast<std::size_t>(shape_.rowBytes());
    if (fed_ == 0) {
        AddRow(row, static_cast<std::uint32_t>(SideOf(shape_.down)));
        Slide(row, row);
    } else {
        Slide(Waiting(leaving), row);
    }
    std::memcpy(Waiting(fed_), row, bytes);
    ++fed_;
    if (fed_ < shape_.height) return;
    std::memcpy(last_.get(), row, bytes);
    // The last row stands in for those below that the window of the first one covers.
    const std::uint32_t below = static_cast<std::uint32_t>(std::max(shape_.down - (shape_.height - 1), 0));
    if (next_ > 0 || below == 0) return;
    AddRow(last_.get(), below);
    AddRow(Waiting(0), std::uint32_t{0} - below);
    Slide(row, row);
}

void SlidingWindow::Advance() {
    ++next_;
    if (fed_ < shape_.height || next_ >= shape_.height) return;
    Slide(Waiting(std::max(next_ - 1 - shape_.down, 0)), last_.get());
}

WindowSums SlidingWindow::sums() const {
    const std::ptrdiff_t between = leftEdge_ + rightEdge_;
    return {along_.get(), along_.get() + between * shape_.channels};
}

std::uint32_t* SlidingWindow::AlongRow() const {
    return along_.get() + std::ptrdiff_t{leftEdge_} * shape_.channels;
}

// The row as words that count.
const std::uint16_t* SlidingWindow::Words(const std::uint8_t* row, std::uint16_t* room) const {
    if (shape_.samples == WindowSamples::words) {
        return static_cast<const std::uint16_t*>(static_cast<const void*>(row));
    }
    kernels_->windows.weigh[shape_.channels / 4](row, shape_.width, room);
    return room;
}

void SlidingWindow::AddRow(const std::uint8_t* row, std::uint32_t times) {
    const auto add = [&](const auto* values) {
        std::uint32_t* const sums = sums_.get();
        for (std::ptrdiff_t i = 0; i < samples(); ++i) sums[i] += times * values[i];
    };
    if (shape_.samples == WindowSamples::bytes) {
        add(row);
    } else {
        add(Words(row, enters_.get()));
    }
}

void SlidingWindow::Slide(const std::uint8_t* leaves, const std::uint8_t* enters) {
    const int slot = shape_.channels - 1;
    if (shape_.samples == WindowSamples::bytes) {
        kernels_->windows.slideBytes[slot](sums_.get(), leaves, enters, shape_.width, AlongRow());
    } else {
        const std::uint16_t* const leaving = Words(leaves, leaves_.get());
        const std::uint16_t* const entering = Words(enters, enters_.get());
        kernels_->windows.slideWords[slot](sums_.get(), leaving, entering, shape_.width, AlongRow());
    }
    if (columnSteps_ < SideOf(shape_.down)) StepColumns();
    FillEdges();
}

// The sums along the row of means of columns, in steps.
void SlidingWindow::StepColumns() {
    const double steps = static_cast<double>(columnSteps_) / static_cast<double>(SideOf(shape_.down));
    std::uint32_t* const along = AlongRow();
    const std::uint32_t* const sums = sums_.get();
    const std::ptrdiff_t count = samples(), channels = shape_.channels;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const double stepped = static_cast<double>(static_cast<std::int32_t>(sums[i])) * steps + 0.5;
        along[i] = static_cast<std::uint32_t>(static_cast<std::int32_t>(stepped));
    }
    for (std::ptrdiff_t i = channels; i < count; ++i) along[i] += along[i - channels];
}

// Beyond both ends sums grow by the first and the last column. As far as windows reach: where they are wider than the
// row, its own sums lie within all of them.
void SlidingWindow::FillEdges() {
    const std::ptrdiff_t channels = shape_.channels;
    std::uint32_t* const row = AlongRow();
    std::uint32_t* const behind = row + samples();
    const std::uint32_t across = static_cast<std::uint32_t>(shape_.across);
    const std::uint32_t firstBehind = static_cast<std::uint32_t>(std::max(shape_.across - shape_.width, 0)) + 1;
    for (std::ptrdiff_t c = 0; c < channels; ++c) {
        const std::uint32_t first = row[c], whole = behind[c - channels];
        const std::uint32_t last = shape_.width > 1 ? whole - behind[c - 2 * channels] : whole;
        for (int i = 0; i < leftEdge_; ++i) {
            along_.get()[i * channels + c] = (static_cast<std::uint32_t>(i) - across) * first;
        }
        for (int i = 0; i < rightEdge_; ++i) {
            behind[i * channels + c] = whole + (firstBehind + static_cast<std::uint32_t>(i)) * last;
        }
    }
}

}  // namespace zor
