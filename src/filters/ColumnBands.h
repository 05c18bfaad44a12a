#pragma once
// The columns of an image sheared some rows at a time.

#include <algorithm>

#include "filters/Shear.h"
#include "kernels/Geometry.h"

namespace zor {

// Makes rows of the destination of a column shear as packed samples, so that neither image is walked through column by
// column, and a shear that comes next can take the rows while they are in the cache. The source must stay as it is.
class ColumnBands {
public:
    ColumnBands(const PixelSide& src, const ColumnShear& job, const ShearColour& background);

    explicit operator bool() const { return usable_; }  // false: memory is short

    // Calls work(row, line) for every row of the destination, from the top.
    template <class Work>
    void ForRows(Work work) {
        for (int first = 0, rows; first < job_.dstRows; first += rows) {
            rows = std::min(kRows, job_.dstRows - first);
            Make(first, rows);
            for (int row = 0; row < rows; ++row) work(first + row, Line(row));
        }
    }

    // The pixels stored last may lie above row 0 of the destination, where there may be storage, too.
    void StoreAbove(const PixelSide& dst) const;

private:
    static constexpr int kRows = 64;  // of a band, at most

    struct Column {
        ShearStep step;
        ShearFactor factor;
    };
    // Columns side by side that are made together.
    struct Strip {
        int first, count;
        std::int64_t lowest, highest;  // offset
        bool hasFactors;
    };

    void FillColumns();
    void Make(int first, int rows);
    ShearLine Line(int row) const;
    Strip StripFrom(int first) const;
    void TakeRow(std::int64_t y, const Strip& strip, std::uint8_t* samples) const;
    bool MakeStrip(const Strip& strip, int first, int rows);
    void ShearByWeights(const Strip& strip, const ShearTile& tile) const;
    void CloseColumns(const Strip& strip, int first, int rows) const;

    PixelSide src_;
    ColumnShear job_;
    ShearColour colour_;
    int count_;
    int stripColumns_;
    std::ptrdiff_t rowBytes_;  // of a band
    HeapArray<Column> columns_;
    HeapArray<std::uint8_t> background_, closing_, band_, tile_;  // packed rows; closing: the pixels stored last
    HeapArray<RowSpan> rows_;                                     // of a source whose rows stay where they are
    int firstMade_ = 0, lastMade_ = 0;                            // columns of the band with more than background
    bool usable_;
};

}  // namespace zor
