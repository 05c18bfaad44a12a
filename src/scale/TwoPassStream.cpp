#include "scale/TwoPassStream.h"

#include <algorithm>

namespace zor {

namespace {

bool IsInside(const PixelRect& block, int width, int height) {
    return !block.IsEmpty() && block.x >= 0 && block.y >= 0 && block.x < width && block.y < height &&
           block.width <= width - block.x && block.height <= height - block.y;
}

}  // namespace

bool TwoPassStream::Prepare(const ScaleStreamRequest& request, int threads) {
    if (!request.kernel || request.srcWidth < 1 || request.srcHeight < 1) return false;
    block_ = request.block.value_or(PixelRect{0, 0, request.width, request.height});
    if (!IsInside(block_, request.width, request.height)) return false;
    kernels_ = request.kernels;
    shape_ = request.shape;

    const AxisSizes columns = {ScaleAxis::kHorizontal, request.srcWidth, request.width, static_cast<int>(block_.x),
                               static_cast<int>(block_.width)};
    const AxisSizes rows = {ScaleAxis::kVertical, request.srcHeight, request.height, static_cast<int>(block_.y),
                            static_cast<int>(block_.height)};
    if (!MakeAxisTaps(*request.kernel, columns, shape_ >= kLumaOnly, request.ending, &acrossTaps_) ||
        !MakeAxisTaps(*request.kernel, rows, false, request.ending, &downTaps_)) {
        return false;
    }
    across_ = acrossTaps_.table.taps();
    down_ = downTaps_.table.taps();
    source_ = {acrossTaps_.first, downTaps_.first, acrossTaps_.count, downTaps_.count};

    sourceRowBytes_ = source_.width * PlanesOf(shape_);
    rowBytes_ = block_.width * ChannelsOf(shape_);
    // The next row of the block lacks one row at least when more are filtered, or it would have to be taken first.
    threads_ = threads;
    slots_ = static_cast<int>(std::min<std::int64_t>(
        source_.height, std::int64_t{down_.stride} - 1 + std::int64_t{RowBlock::kMaxRows} * threads));
    waitingRows_ = HeapArray<std::uint8_t>(std::min<std::int64_t>(source_.height, RowBlock::kMaxRows), sourceRowBytes_);
    return static_cast<bool>(waitingRows_);
}

std::uint8_t* TwoPassStream::WaitingRow(int index) const {
    return waitingRows_.get() + index * static_cast<std::ptrdiff_t>(sourceRowBytes_);
}

bool TwoPassStream::NextIsWhole() const {
    if (next_ >= down_.count) return false;
    const TapList& list = down_.lists[next_];
    return list.first + list.taps <= filtered_;
}

// Filters the waiting rows as soon as there are sixteen, or the last ones. Filtered rows that are still needed are
// those of a row of the block that is not whole.
void TwoPassStream::Advance() {
    if (waiting_ == 0 || NextIsWhole()) return;
    if (waiting_ < RowBlock::kMaxRows && filtered_ + waiting_ < source_.height) return;
    const std::uint8_t* rows[RowBlock::kMaxRows];
    for (int r = 0; r < waiting_; ++r) rows[r] = WaitingRow(r);
    FilterNext(rows, waiting_, PlanesOf(shape_));
    waiting_ = 0;
}

void TwoPassStream::FilterNext(const std::uint8_t* const* rows, int count, int step) {
    FilterRows(rows, filtered_, count, step);
    filtered_ += count;
    opened_ = filtered_;
}

TwoPassStream::Rows TwoPassStream::OpenRows() {
    if (!kernels_ || next_ >= down_.count || opened_ - filtered_ >= threads_ * RowBlock::kMaxRows) return {0, 0};
    const Rows rows = {opened_, std::min(static_cast<int>(source_.height) - opened_, RowBlock::kMaxRows)};
    if (rows.count == 0 || rows.first + rows.count - down_.lists[next_].first > slots_) return {0, 0};
    opened_ += rows.count;
    return rows;
}

void TwoPassStream::CloseRows() {
    filtered_ = std::min(opened_, filtered_ + RowBlock::kMaxRows);
}

int TwoPassStream::FeedRows(const std::uint8_t* const* rows, int count, std::ptrdiff_t step) {
    const int planes = PlanesOf(shape_), height = static_cast<int>(source_.height);
    if (!kernels_ || step < planes) return 0;
    int fed = 0;
    while (fed < count && filtered_ + waiting_ < height && waiting_ < RowBlock::kMaxRows) {
        const int atOnce = std::min({count - fed, height - filtered_, RowBlock::kMaxRows});
        const bool complete = atOnce == RowBlock::kMaxRows || filtered_ + atOnce == height;
        if (waiting_ == 0 && complete && Reads(step) && !NextIsWhole()) {
            FilterNext(rows + fed, atOnce, static_cast<int>(step));
            fed += atOnce;
            continue;
        }
        const PixelRun run = {const_cast<std::uint8_t*>(rows[fed++]), step, {planes, {0, 1, 2, 3, 4}}};
        kernels_->pack.gather[planes - 1](run, static_cast<std::ptrdiff_t>(source_.width), WaitingRow(waiting_++));
        Advance();
    }
    return fed;
}

bool TwoPassStream::Take(std::uint8_t* row) {
    if (!NextIsWhole()) return false;
    if (down_.lists[next_].taps > 0) {
        MakeRow(next_, row);
    } else {
        std::fill_n(row, rowBytes(), std::uint8_t{0});
    }
    ++next_;
    Advance();
    return true;
}

}  // namespace zor
