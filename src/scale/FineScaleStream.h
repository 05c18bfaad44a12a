#pragma once
// The filtered scaler that is right to the nearest level: rows in and out as with ScaleStream, of the same weights, but
// between its passes samples are finer than bytes and nothing is cut off, so that the result is rounded once, at the
// end.
//
// Where alpha weighs the colours, those of clear pixels show nowhere, and what is opaque or flat stays so. Rows that
// are opaque throughout are filtered as if there were no alpha, and give what they give without.
//
// It holds rows of the result in two bytes a channel, and with alpha in four bytes besides, as many as the taps of a
// row of the target and 15, sixteen rows of the source, and tables that grow with the width and the height of the
// block; all of it from Start on. Each thread beside the first takes sixteen rows more.

#include <cstdint>

#include "scale/TwoPassStream.h"

namespace zor {

class FineScaleStream final : public TwoPassStream {
public:
    // As that of ScaleStream, for one to four channels without luma, and whatever ending is asked for. Where alpha
    // weighs the others it is the last of two or four channels. Rows may be filtered in so many threads at a time.
    [[nodiscard]] bool Start(const ScaleStreamRequest& request, bool alphaWeighs, int threads = 1);

    // About how many bytes of memory it takes. Below 0: more than it starts with.
    static std::int64_t MemoryFor(const ScaleStreamRequest& request, bool alphaWeighs, int threads);

private:
    // What the slot of a filtered row holds.
    enum class RowForm : unsigned char { fine, weighed, both };

    bool Begin(const ScaleStreamRequest& request, bool alphaWeighs, int threads);
    bool MakeIntegers();
    void FilterRows(const std::uint8_t* const* rows, int first, int count, int step) override;
    void MakeRow(int index, std::uint8_t* row) override;
    bool Reads(std::ptrdiff_t step) const override {
        return weighs_ ? step == ChannelsOf(shape_) : step <= RowBlock::kMaxStep;
    }

    void FilterFine(const std::uint8_t* const* rows, int first, int count, int step);
    void FilterWeighed(const std::uint8_t* const* rows, int first, int count);
    void MakeFineRow(int index, std::uint8_t* row);
    void MakeWeighedRow(int index, std::uint8_t* row);
    void WidenRow(int row);
    bool AreOpaque(const std::uint8_t* const* rows, int count) const;
    bool AreFine(const TapList& list) const;

    WeighedShape Weighed() const { return shape_ == kChannels2 ? kGrayByAlpha : kColoursByAlpha; }
    std::ptrdiff_t FineSamples() const { return static_cast<std::ptrdiff_t>(block_.width * colours_); }
    std::uint8_t* ScratchOf(int firstRow) const {
        return scratch_.get() + firstRow / RowBlock::kMaxRows % threads_ * static_cast<std::ptrdiff_t>(scratchBytes_);
    }
    std::int16_t* FineRow(int row) const { return fineRing_.get() + row % slots_ * FineSamples(); }
    float* WeighedRow(int row) const {
        return weighedRing_.get() +
               row % slots_ * static_cast<std::ptrdiff_t>(WeighedRowFloats(Weighed(), block_.width));
    }

    bool weighs_ = false;
    int colours_ = 0;  // channels besides an alpha that weighs them

    HeapArray<std::int16_t> fineRing_;  // filtered rows, number r in slot r % slots_
    HeapArray<float> weighedRing_;
    HeapArray<RowForm> forms_;  // by slot
    HeapArray<std::int16_t> downIntegers_;
    HeapArray<bool> hasIntegers_;      // by row of the block
    HeapArray<std::uint8_t> scratch_;  // one for each thread
    std::int64_t scratchBytes_ = 0;
    HeapArray<std::uint8_t> colourRow_;
    HeapArray<const std::int16_t*> fineStack_;
    HeapArray<const float*> weighedStack_;
};

}  // namespace zor
