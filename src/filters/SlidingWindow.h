#pragma once
// Sums of the samples around each pixel of a row, of rows that are fed from the top. Pixels of the border stand in for
// those outside.
//
//     window.Feed(row) while it wants one; sums() and middle() of the row that is whole then; Advance() to the next.
//
// It holds the rows that the window covers, 2 * down + 1 or all there are.

#include <cstdint>
#include <functional>

#include "core/HeapArray.h"
#include "kernels/KernelTable.h"

namespace zor {

// Where rows wait until they are needed again: gives the memory of a row, which stays as it was left and may move with
// the next call.
using RowStore = std::function<std::uint8_t*(std::int64_t row)>;

enum class WindowSamples {
    bytes,
    weighedBytes,  // with alpha last, by which colours are weighed for the sums
    words          // up to 65025
};

struct WindowShape {
    int width;
    int height;
    int channels;  // 1 to 4; 2 or 4 to be weighed
    WindowSamples samples;
    int across;  // radii, up to kMaxRadius
    int down;

    static constexpr int kMaxRadius = 16000;
    std::int64_t rows() const;      // that wait
    std::int64_t rowBytes() const;  // of each
};

class SlidingWindow {
public:
    // Ends what was going on before. The rows of the store are those from `firstRow` on. False without memory.
    [[nodiscard]] bool Start(const WindowShape& shape, RowStore store, std::int64_t firstRow,
                             const KernelTable& kernels);

    // Whether sums wait for more rows; not behind the last row.
    bool WantsRow() const { return next_ < shape_.height && fed_ < shape_.height && fed_ <= next_ + shape_.down; }
    void Feed(const std::uint8_t* row);

    bool IsWhole() const { return next_ < shape_.height && !WantsRow(); }
    WindowSums sums() const;
    const std::uint8_t* middle() const { return Waiting(next_); }
    void Advance();

    // The mean of a window is its sum divided by this. That of the number of its samples, unless sums of so many would
    // not fit: then each column counts by its mean, in as many steps as do fit.
    std::int64_t divisor() const { return std::int64_t{columnSteps_} * (2 * std::int64_t{shape_.across} + 1); }

private:
    std::uint8_t* Waiting(int row) const { return store_(firstRow_ + row % shape_.rows()); }
    std::ptrdiff_t samples() const { return std::ptrdiff_t{shape_.width} * shape_.channels; }
    std::uint32_t* AlongRow() const;
    const std::uint16_t* Words(const std::uint8_t* row, std::uint16_t* room) const;
    void AddRow(const std::uint8_t* row, std::uint32_t times);
    void Slide(const std::uint8_t* leaves, const std::uint8_t* enters);
    void StepColumns();
    void FillEdges();

    WindowShape shape_{};
    RowStore store_;
    std::int64_t firstRow_ = 0;
    const KernelTable* kernels_ = nullptr;
    int fed_ = 0, next_ = 0;
    std::int64_t columnSteps_ = 1;
    int leftEdge_ = 0, rightEdge_ = 0;          // pixels before and behind a row of along_
    HeapArray<std::uint32_t> sums_;             // of columns
    HeapArray<std::uint32_t> along_;            // of those, along the row with its edges
    HeapArray<std::uint8_t> last_;              // the row that was fed last
    HeapArray<std::uint16_t> enters_, leaves_;  // weighed
};

}  // namespace zor
