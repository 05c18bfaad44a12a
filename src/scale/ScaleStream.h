#pragma once
// The filtered scaler without images: source rows are fed one by one, from the top, and rows of the result are taken as
// soon as they are whole. Neither picture has to be in memory.
//
//     ScaleStream stream;
//     if (!stream.Start(request)) return false;
//     for (std::int64_t y = 0; y < stream.source().height; ++y) {
//         if (!stream.Feed(RowOfSource(stream.source().y + y), pixelSize)) return false;
//         while (stream.Take(row)) Write(row);
//     }
//
// Weights are those of the whole pictures, so that the blocks of a target, put together, are the whole target, and what
// ends by truncation is what the scaling methods give.
//
// It holds rows of the result, as many as the taps of a row of the target and 15, sixteen rows of the source, and
// tables that grow with the width and the height of the block; all of it from Start on.

#include <cstdint>

#include "scale/TwoPassStream.h"

namespace zor {

class ScaleStream final : public TwoPassStream {
public:
    // Ends what was going on before. False for sizes below 1, a block that is empty or not inside the target, tables or
    // rows that would be too large to be worth it, and without memory; there is nothing to feed or to take then.
    [[nodiscard]] bool Start(const ScaleStreamRequest& request);

private:
    bool Begin(const ScaleStreamRequest& request);
    void FilterRows(const std::uint8_t* const* rows, int first, int count, int step) override;
    void MakeRow(int index, std::uint8_t* row) override;
    bool Reads(std::ptrdiff_t step) const override { return step <= RowBlock::kMaxStep; }
    std::uint8_t* RowInRing(int row) const;

    HeapArray<std::uint8_t> ring_;  // filtered rows, number r in slot r % slots_
    HeapArray<std::uint8_t> scratch_;
    HeapArray<const std::uint8_t*> stack_;
};

}  // namespace zor
