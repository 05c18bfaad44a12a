#pragma once
// What scalers of two passes, along rows and across them, have in common where rows come and go one by one: source rows
// wait until sixteen can be filtered at once, and filtered ones until no row of the result needs them.

#include <cstdint>
#include <optional>

#include "core/HeapArray.h"
#include "core/Rectangles.h"
#include "kernels/KernelTable.h"
#include "scale/AxisTaps.h"
#include "scale/FilterKernels.h"

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

class TwoPassStream {
public:
    TwoPassStream() = default;
    TwoPassStream(const TwoPassStream&) = delete;
    TwoPassStream& operator=(const TwoPassStream&) = delete;

    // The columns and rows of the source that the block needs, which are those to be fed.
    const PixelRect& source() const { return source_; }

    // The next row, whose bytes are read from its column source().x on: those of a pixel side by side, and `step` bytes
    // from one pixel to the next. False if rows have to be taken first, if there was the last row already, and for a
    // step below the bytes of a pixel.
    [[nodiscard]] bool Feed(const std::uint8_t* row, std::ptrdiff_t step) { return FeedRows(&row, 1, step) == 1; }

    // The next rows; gives how many of them were fed, as the others could not. Faster where there are sixteen and more,
    // which are read where they are.
    [[nodiscard]] int FeedRows(const std::uint8_t* const* rows, int count, std::ptrdiff_t step);

    // In place of Feed where rows are filtered in several threads: the next rows, up to sixteen, counted from the top
    // of source(). None, where rows have to be taken first, as many blocks are open as are filtered at a time, or all
    // of them were there.
    struct Rows {
        int first, count;
    };
    [[nodiscard]] Rows OpenRows();
    // Filters all of the rows that were opened together, of packed pixels. In any thread, while others filter those
    // that were opened before and after.
    void FilterOpened(const Rows& opened, const std::uint8_t* const* rows) {
        FilterRows(rows, opened.first, opened.count, PlanesOf(shape_));
    }
    // Those that were opened first, of all that are open, have been filtered.
    void CloseRows();

    // The next row of the block into rowBytes() bytes. False, with nothing written, if there is none yet, or none any
    // more. Rows are filtered sixteen at a time, so that a row of the result may come up to 15 source rows later than
    // it could; the last ones come with the last source row.
    [[nodiscard]] bool Take(std::uint8_t* row);

    // Bytes of a row of the block, in which pixels lie side by side.
    std::ptrdiff_t rowBytes() const { return static_cast<std::ptrdiff_t>(rowBytes_); }

protected:
    ~TwoPassStream() = default;
    TwoPassStream(TwoPassStream&&) = default;
    TwoPassStream& operator=(TwoPassStream&&) = default;

    // False for sizes below 1, a block that is empty or not inside the target, tables that would be too large to be
    // worth it, and without memory. Rows are filtered in so many threads at most.
    [[nodiscard]] bool Prepare(const ScaleStreamRequest& request, int threads);

    // Filters rows, from number `first` on, into their slots: slot number % slots().
    virtual void FilterRows(const std::uint8_t* const* rows, int first, int count, int step) = 0;
    // Makes a row of the block whose list has taps, out of the filtered ones.
    virtual void MakeRow(int index, std::uint8_t* row) = 0;
    // Whether FilterRows reads rows with that many bytes from pixel to pixel. Where it does not, they are packed first.
    virtual bool Reads(std::ptrdiff_t step) const = 0;

    const KernelTable* kernels_ = nullptr;
    ResampleShape shape_{};
    AxisTaps acrossTaps_{}, downTaps_{};
    Taps across_{}, down_{};
    PixelRect source_{};
    PixelRect block_{};
    int slots_ = 0;
    int threads_ = 1;

private:
    bool NextIsWhole() const;
    void Advance();
    void FilterNext(const std::uint8_t* const* rows, int count, int step);
    std::uint8_t* WaitingRow(int index) const;

    std::int64_t sourceRowBytes_ = 0, rowBytes_ = 0;  // packed
    HeapArray<std::uint8_t> waitingRows_;             // of the source, packed, not yet filtered

    // Rows count from the top of source() and of the block.
    int waiting_ = 0;
    int filtered_ = 0;
    int opened_ = 0;  // filtered ones and those that are being filtered
    int next_ = 0;    // row of the block to be taken
};

}  // namespace zor
