#include "scale/FineScaleStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zor {

namespace {

// Integers in place of shares, each off by less than 1; what one lacks the next has more. False where a sum of them
// with samples could leave 32 bits, and for so many that their errors would add up to something.
bool MakeIntegersOf(const float* shares, int count, std::int16_t* integers) {
    constexpr int kMost = 256;
    if (count > kMost) return false;
    double sum = 0.0;
    int before = 0, sizes = 0;
    for (int k = 0; k < count; ++k) {
        sum += std::ldexp(static_cast<double>(shares[k]), FineStack::kWeightBits);
        const double upTo = std::nearbyint(sum), integer = upTo - before;
        if (!(std::fabs(integer) <= 32767.0)) return false;
        integers[k] = static_cast<std::int16_t>(integer);
        before = static_cast<int>(upTo);
        sizes += std::abs(int{integers[k]});
    }
    return sizes < 65000;
}

}  // namespace

bool FineScaleStream::Start(const ScaleStreamRequest& request, bool alphaWeighs, int threads) {
    FineScaleStream started;
    const bool done = started.Begin(request, alphaWeighs, threads);
    *this = done ? std::move(started) : FineScaleStream();
    return done;
}

std::int64_t FineScaleStream::MemoryFor(const ScaleStreamRequest& request, bool alphaWeighs, int threads) {
    const double across = static_cast<double>(request.width) / request.srcWidth;
    const double down = static_cast<double>(request.height) / request.srcHeight;
    const std::int64_t columnTaps = ListCapacity(*request.kernel, ScaleAxis::kHorizontal, across);
    const std::int64_t rowTaps = ListCapacity(*request.kernel, ScaleAxis::kVertical, down);
    if (columnTaps > TapTable::kMaxWeights / request.width || rowTaps > TapTable::kMaxWeights / request.height) {
        return -1;
    }
    const std::int64_t channels = ChannelsOf(request.shape), blocks = std::int64_t{RowBlock::kMaxRows} * threads;
    const std::int64_t rows = std::min<std::int64_t>(request.srcHeight, rowTaps + blocks);
    return rows * request.width * channels * (alphaWeighs ? 6 : 2) + blocks * request.srcWidth * channels +
           16 * (columnTaps * request.width + rowTaps * request.height);
}

bool FineScaleStream::Begin(const ScaleStreamRequest& request, bool alphaWeighs, int threads) {
    if (threads < 1) return false;
    if (request.shape > kChannels4) return false;
    if (alphaWeighs && request.shape != kChannels2 && request.shape != kChannels4) return false;
    if (!Prepare(request, threads) || !MakeShares(&downTaps_) || !MakeIntegers()) return false;
    weighs_ = alphaWeighs;
    colours_ = ChannelsOf(shape_) - (weighs_ ? 1 : 0);
    fineRing_ = HeapArray<std::int16_t>(slots_, FineSamples());
    fineStack_ = HeapArray<const std::int16_t*>(down_.stride);
    scratchBytes_ =
        std::max(RowScratchBytes(shape_, across_.stride), weighs_ ? WeighedScratchBytes(across_.stride) : 0);
    scratchBytes_ = (scratchBytes_ + 63) / 64 * 64;
    scratch_ = HeapArray<std::uint8_t>(threads, scratchBytes_);
    if (!fineRing_ || !fineStack_ || !scratch_) return false;
    if (!weighs_) return true;
    weighedRing_ = HeapArray<float>(slots_, WeighedRowFloats(Weighed(), block_.width));
    weighedStack_ = HeapArray<const float*>(down_.stride);
    forms_ = HeapArray<RowForm>(slots_);
    colourRow_ = HeapArray<std::uint8_t>(FineSamples());
    return weighedRing_ && weighedStack_ && forms_ && colourRow_ && MakeShares(&acrossTaps_);
}

bool FineScaleStream::MakeIntegers() {
    downIntegers_ = HeapArray<std::int16_t>(down_.count, down_.stride);
    hasIntegers_ = HeapArray<bool>(down_.count);
    if (!downIntegers_ || !hasIntegers_) return false;
    for (int i = 0; i < down_.count; ++i) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i) * down_.stride;
        hasIntegers_.get()[i] =
            MakeIntegersOf(downTaps_.shares.get() + at, down_.lists[i].taps, downIntegers_.get() + at);
    }
    return true;
}

void FineScaleStream::FilterRows(const std::uint8_t* const* rows, int first, int count, int step) {
    const bool fine = !weighs_ || AreOpaque(rows, count);
    if (fine) {
        FilterFine(rows, first, count, step);
    } else {
        FilterWeighed(rows, first, count);
    }
    for (int r = 0; r < count && weighs_; ++r) {
        forms_.get()[(first + r) % slots_] = fine ? RowForm::fine : RowForm::weighed;
    }
}

void FineScaleStream::FilterFine(const std::uint8_t* const* rows, int first, int count, int step) {
    RowBlock block{};
    block.rows = count;
    block.step = step;
    for (int c = 0; c < colours_; ++c) block.offset[c] = c;
    block.width = static_cast<int>(source_.width);
    block.taps = &across_;
    block.scratch = ScratchOf(first);
    for (int r = 0; r < count; ++r) {
        block.src[r] = rows[r];
        block.fine[r] = FineRow(first + r);
    }
    kernels_->scaling.alongFine[colours_ - 1](block);
}

void FineScaleStream::FilterWeighed(const std::uint8_t* const* rows, int first, int count) {
    WeighedBlock block{};
    block.rows = count;
    block.taps = &across_;
    block.shares = acrossTaps_.shares.get();
    block.scratch = ScratchOf(first);
    for (int r = 0; r < count; ++r) {
        block.src[r] = rows[r];
        block.dst[r] = WeighedRow(first + r);
    }
    kernels_->weighed.alongRows[Weighed()](block);
}

bool FineScaleStream::AreOpaque(const std::uint8_t* const* rows, int count) const {
    return std::all_of(rows, rows + count, [&](const std::uint8_t* row) {
        return kernels_->weighed.isOpaque[Weighed()](row, static_cast<std::ptrdiff_t>(source_.width));
    });
}

bool FineScaleStream::AreFine(const TapList& list) const {
    for (int k = 0; k < list.taps; ++k) {
        if (forms_.get()[(list.first + k) % slots_] == RowForm::weighed) return false;
    }
    return true;
}

void FineScaleStream::MakeRow(int index, std::uint8_t* row) {
    if (!weighs_) return MakeFineRow(index, row);
    if (!AreFine(down_.lists[index])) return MakeWeighedRow(index, row);
    MakeFineRow(index, colourRow_.get());
    std::fill_n(row, rowBytes(), std::uint8_t{255});
    const PixelRun run = {row, ChannelsOf(shape_), {colours_, {0, 1, 2}}};
    kernels_->pack.scatter[colours_ - 1](run, static_cast<std::ptrdiff_t>(block_.width), colourRow_.get());
}

void FineScaleStream::MakeFineRow(int index, std::uint8_t* row) {
    const TapList& list = down_.lists[index];
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(index) * down_.stride;
    for (int k = 0; k < list.taps; ++k) fineStack_.get()[k] = FineRow(list.first + k);
    FineStack stack{};
    stack.rows = fineStack_.get();
    stack.taps = list.taps;
    stack.weights = hasIntegers_.get()[index] ? downIntegers_.get() + at : nullptr;
    stack.shares = downTaps_.shares.get() + at;
    stack.count = FineSamples();
    stack.dst = row;
    kernels_->scaling.acrossFine(stack);
}

void FineScaleStream::MakeWeighedRow(int index, std::uint8_t* row) {
    const TapList& list = down_.lists[index];
    for (int k = 0; k < list.taps; ++k) {
        WidenRow(list.first + k);
        weighedStack_.get()[k] = WeighedRow(list.first + k);
    }
    WeighedStack stack{};
    stack.rows = weighedStack_.get();
    stack.taps = list.taps;
    stack.shares = downTaps_.shares.get() + static_cast<std::ptrdiff_t>(index) * down_.stride;
    stack.count = static_cast<std::ptrdiff_t>(block_.width);
    stack.dst = row;
    kernels_->weighed.acrossRows[Weighed()](stack);
}

// An opaque row among others, beside what it is.
void FineScaleStream::WidenRow(int row) {
    RowForm& form = forms_.get()[row % slots_];
    if (form != RowForm::fine) return;
    form = RowForm::both;
    const std::int16_t* sample = FineRow(row);
    float* floats = WeighedRow(row);
    for (std::int64_t x = 0; x < block_.width; ++x) {
        for (int c = 0; c < colours_; ++c) *floats++ = static_cast<float>(*sample++) * (255.0F / (1 << kFineBits));
        *floats++ = 255.0F;
    }
}

}  // namespace zor
