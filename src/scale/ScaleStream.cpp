#include "scale/ScaleStream.h"

#include <utility>

namespace zor {

bool ScaleStream::Start(const ScaleStreamRequest& request) {
    ScaleStream started;
    const bool done = started.Begin(request);
    *this = done ? std::move(started) : ScaleStream();
    return done;
}

bool ScaleStream::Begin(const ScaleStreamRequest& request) {
    if (!Prepare(request, 1)) return false;
    ring_ = HeapArray<std::uint8_t>(slots_, rowBytes());
    scratch_ = HeapArray<std::uint8_t>(RowScratchBytes(shape_, across_.stride));
    stack_ = HeapArray<const std::uint8_t*>(down_.stride);
    return ring_ && scratch_ && stack_;
}

std::uint8_t* ScaleStream::RowInRing(int row) const {
    return ring_.get() + static_cast<std::ptrdiff_t>(row % slots_) * rowBytes();
}

void ScaleStream::FilterRows(const std::uint8_t* const* rows, int first, int count, int step) {
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
        block.dst[r] = RowInRing(first + r);
    }
    kernels_->scaling.alongRows[shape_](block);
}

void ScaleStream::MakeRow(int index, std::uint8_t* row) {
    const TapList& list = down_.lists[index];
    for (int k = 0; k < list.taps; ++k) stack_.get()[k] = RowInRing(list.first + k);
    RowStack stack{};
    stack.rows = stack_.get();
    stack.count = rowBytes();
    stack.taps = &down_;
    stack.list = index;
    stack.lists = 1;
    stack.dst[0] = row;
    kernels_->scaling.acrossRows(stack);
}

}  // namespace zor
