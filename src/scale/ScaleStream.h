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
#include <optional>

#include "core/HeapArray.h"
#include "core/Rectangles.h"
#include "kernels/KernelTable.h"
#include "scale/FilterKernels.h"
#include "scale/TapTable.h"

namespace zor {

struct ScaleStreamRequest {
    const FilterKernel* kernel;
    int srcWidth;  // of the whole source
    int srcHeight;
    int width;  // of the whole target
    int height;
    ResampleShape shape;  // how many bytes a pixel of the source has, and one of the result
    Ending ending = Ending::truncate;
    std::optional<PixelRect> block = std::nullopt;  // of the target, what is made; without: all of it
    const KernelTable* kernels = &Kernels();
};

class ScaleStream {
public:
    // Ends what was going on before. False for sizes below 1, a block that is empty or not inside the target, tables or
    // rows that would be too large to be worth it, and without memory; there is nothing to feed or to take then.
    [[nodiscard]] bool Start(const ScaleStreamRequest& request);

    // The columns and rows of the source that the block needs, which are those to be fed.
    const PixelRect& source() const { return source_; }

    // The next row, whose bytes are read from its column source().x on: those of a pixel side by side, and `step` bytes
    // from one pixel to the next. False if rows have to be taken first, if there was the last row already, and for a
    // step below the bytes of a pixel.
    [[nodiscard]] bool Feed(const std::uint8_t* row, std::ptrdiff_t step) { return FeedRows(&row, 1, step) == 1; }

    // The next rows; gives how many of them were fed, as the others could not. Faster where there are sixteen and more,
    // which are read where they are.
    [[nodiscard]] int FeedRows(const std::uint8_t* const* rows, int count, std::ptrdiff_t step);

    // The next row of the block into rowBytes() bytes. False, with nothing written, if there is none yet, or none any
    // more. Rows are filtered sixteen at a time, so that a row of the result may come up to 15 source rows later than
    // it could; the last ones come with the last source row.
    [[nodiscard]] bool Take(std::uint8_t* row);

    // Bytes of a row of the block, in which pixels lie side by side.
    std::ptrdiff_t rowBytes() const { return static_cast<std::ptrdiff_t>(rowBytes_); }

private:
    bool Prepare(const ScaleStreamRequest& request);
    bool NextIsWhole() const;
    void Advance();
    void FilterRows(const std::uint8_t* const* rows, int count, int step);
    std::uint8_t* RowInRing(int row) const;
    std::uint8_t* WaitingRow(int index) const;

    const KernelTable* kernels_ = nullptr;
    ResampleShape shape_{};
    TapTable acrossTable_, downTable_;
    Taps across_{}, down_{};
    PixelRect source_{};
    std::int64_t sourceRowBytes_ = 0, rowBytes_ = 0;  // packed
    int slots_ = 0;

    HeapArray<std::uint8_t> waitingRows_;  // of the source, packed, not yet filtered
    HeapArray<std::uint8_t> ring_;         // filtered rows, number r in slot r % slots_
    HeapArray<std::uint8_t> scratch_;
    HeapArray<const std::uint8_t*> stack_;

    // Rows count from the top of source() and of the block.
    int waiting_ = 0;
    int filtered_ = 0;
    int next_ = 0;  // row of the block to be taken
};

}  // namespace zor
