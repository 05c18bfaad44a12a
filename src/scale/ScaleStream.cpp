#include "scale/ScaleStream.h"

#include <algorithm>
#include <utility>

namespace zor {

namespace {

// The lists of one axis of a block, and the samples of the source that they take.
struct AxisTaps {
    TapTable table;
    int first;
    int count;
};

struct AxisSizes {
    int from, to;      // of the whole pictures
    int begin, count;  // of the block
};

bool MakeAxisTaps(const ScaleStreamRequest& request, ScaleAxis axis, const AxisSizes& sizes, bool luma,
                  AxisTaps* taps) {
    const double scale = static_cast<double>(sizes.to) / sizes.from;
    if (ListCapacity(*request.kernel, axis, scale) > TapTable::kMaxWeights / sizes.count) return false;
    ContributionTable lists;
    if (!lists.Allocate(sizes.count)) return false;
    lists.Build(*request.kernel, axis, scale, sizes.from, sizes.count, nullptr, sizes.begin);
    int first = sizes.from, pastLast = 0;
    for (int i = 0; i < sizes.count; ++i) {
        const ContributionList& list = lists.lists()[i];
        if (!list.entries) return false;
        if (list.count == 0) continue;
        first = std::min(first, list.entries[0].pixel);
        pastLast = std::max(pastLast, list.entries[list.count - 1].pixel + 1);
    }
    // Where nothing is needed, one sample is asked for all the same.
    if (pastLast == 0) first = 0, pastLast = 1;
    taps->first = first;
    taps->count = pastLast - first;
    return taps->table.Build(lists.lists(), sizes.count, axis, luma, request.ending, first);
}

bool IsInside(const PixelRect& block, int width, int height) {
    return !block.IsEmpty() && block.x >= 0 && block.y >= 0 && block.x < width && block.y < height &&
           block.width <= width - block.x && block.height <= height - block.y;
}

}  // namespace

bool ScaleStream::Start(const ScaleStreamRequest& request) {
    ScaleStream started;
    const bool done = started.Prepare(request);
    *this = done ? std::move(started) : ScaleStream();
    return done;
}

bool ScaleStream::Prepare(const ScaleStreamRequest& request) {
    if (!request.kernel || request.srcWidth < 1 || request.srcHeight < 1) return false;
    const PixelRect block = request.block.value_or(PixelRect{0, 0, request.width, request.height});
    if (!IsInside(block, request.width, request.height)) return false;
    kernels_ = request.kernels;
    shape_ = request.shape;

    AxisTaps across, down;
    const AxisSizes columns = {request.srcWidth, request.width, static_cast<int>(block.x),
                               static_cast<int>(block.width)};
    const AxisSizes rows = {request.srcHeight, request.height, static_cast<int>(block.y),
                            static_cast<int>(block.height)};
    if (!MakeAxisTaps(request, ScaleAxis::kHorizontal, columns, shape_ >= kLumaOnly, &across) ||
        !MakeAxisTaps(request, ScaleAxis::kVertical, rows, false, &down)) {
        return false;
    }
    acrossTable_ = std::move(across.table);
    downTable_ = std::move(down.table);
    across_ = acrossTable_.taps();
    down_ = downTable_.taps();
    source_ = {across.first, down.first, across.count, down.count};

    sourceRowBytes_ = source_.width * PlanesOf(shape_);
    rowBytes_ = block.width * ChannelsOf(shape_);
    // The next row of the block lacks one row at least when more are filtered, or it would have to be taken first.
    slots_ =
        static_cast<int>(std::min<std::int64_t>(source_.height, std::int64_t{down_.stride} - 1 + RowBlock::kMaxRows));
    waitingRows_ = HeapArray<std::uint8_t>(std::min<std::int64_t>(source_.height, RowBlock::kMaxRows), sourceRowBytes_);
    ring_ = HeapArray<std::uint8_t>(slots_, rowBytes_);
    scratch_ = HeapArray<std::uint8_t>(RowScratchBytes(shape_, across_.stride));
    stack_ = HeapArray<const std::uint8_t*>(down_.stride);
    return waitingRows_ && ring_ && scratch_ && stack_;
}

std::uint8_t* ScaleStream::RowInRing(int row) const {
    return ring_.get() + static_cast<std::ptrdiff_t>(row % slots_) * rowBytes();
}

std::uint8_t* ScaleStream::WaitingRow(int index) const {
    return waitingRows_.get() + index * static_cast<std::ptrdiff_t>(sourceRowBytes_);
}

bool ScaleStream::NextIsWhole() const {
    if (next_ >= down_.count) return false;
    const TapList& list = down_.lists[next_];
    return list.first + list.taps <= filtered_;
}

// Filters the waiting rows as soon as there are sixteen, or the last ones. Rows of the ring that are still needed are
// those of a row of the block that is not whole.
void ScaleStream::Advance() {
    if (waiting_ == 0 || NextIsWhole()) return;
    if (waiting_ < RowBlock::kMaxRows && filtered_ + waiting_ < source_.height) return;
    const std::uint8_t* rows[RowBlock::kMaxRows];
    for (int r = 0; r < waiting_; ++r) rows[r] = WaitingRow(r);
    FilterRows(rows, waiting_, PlanesOf(shape_));
    waiting_ = 0;
}

void ScaleStream::FilterRows(const std::uint8_t* const* rows, int count, int step) {
    RowBlock block{};
    block.rows = count;
    block.step = step;
    for (int p = 0; p < PlanesOf(shape_); ++p) block.offset[p] = p;
    block.width = static_cast<int>(source_.width);
    block.taps = &across_;
    block.pitch = ChannelsOf(shape_);
    for (int c = 0; c < block.pitch; ++c) block.byteOf[c] = c;
    block.scratch = scratch_.get();
    for (int r = 0; r < count; ++r) {
        block.src[r] = rows[r];
        block.dst[r] = RowInRing(filtered_ + r);
    }
    kernels_->scaling.alongRows[shape_](block);
    filtered_ += count;
}

int ScaleStream::FeedRows(const std::uint8_t* const* rows, int count, std::ptrdiff_t step) {
    const int planes = PlanesOf(shape_), height = static_cast<int>(source_.height);
    if (!kernels_ || step < planes) return 0;
    int fed = 0;
    while (fed < count && filtered_ + waiting_ < height && waiting_ < RowBlock::kMaxRows) {
        const int atOnce = std::min({count - fed, height - filtered_, RowBlock::kMaxRows});
        const bool complete = atOnce == RowBlock::kMaxRows || filtered_ + atOnce == height;
        if (waiting_ == 0 && complete && step <= RowBlock::kMaxStep && !NextIsWhole()) {
            FilterRows(rows + fed, atOnce, static_cast<int>(step));
            fed += atOnce;
            continue;
        }
        const PixelRun run = {const_cast<std::uint8_t*>(rows[fed++]), step, {planes, {0, 1, 2, 3, 4}}};
        kernels_->pack.gather[planes - 1](run, static_cast<std::ptrdiff_t>(source_.width), WaitingRow(waiting_++));
        Advance();
    }
    return fed;
}

bool ScaleStream::Take(std::uint8_t* row) {
    if (!NextIsWhole()) return false;
    const TapList& list = down_.lists[next_];
    for (int k = 0; k < list.taps; ++k) stack_.get()[k] = RowInRing(list.first + k);
    RowStack stack{};
    stack.rows = stack_.get();
    stack.count = rowBytes();
    stack.taps = &down_;
    stack.list = next_++;
    stack.lists = 1;
    stack.dst[0] = row;
    if (list.taps > 0) {
        kernels_->scaling.acrossRows(stack);
    } else {
        std::fill_n(row, rowBytes(), std::uint8_t{0});
    }
    Advance();
    return true;
}

}  // namespace zor
