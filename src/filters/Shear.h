#pragma once
// Anti-aliased shears: each row or column moves by whole pixels, and neighbours along it are blended with one weight,
// so that nothing is resampled in two dimensions.
//
// Every pixel gives the part `weight` of its value on to its right or lower neighbour, truncated. What the moved
// pixels do not reach is background.

#include "filters/PixelSide.h"

namespace zor {

// One byte per channel, in the order of the side's channels.
struct ShearColour {
    std::uint8_t channel[ChannelSet::kMax];
};

// Distance that a row or column moves: whole pixels, and the fraction that goes on to the neighbour.
struct ShearStep {
    std::int64_t offset;
    double weight;
};
ShearStep StepOf(double shear);

// Shears rows, each by a step of its own. What all of them need is worked out once.
class RowShear {
public:
    RowShear(const PixelSides& sides, const ShearColour& background);

    // Row `row` of the source into the same row of the destination, whose whole width is written. The pixel behind the
    // last one takes the rest.
    void Skew(int row, ShearStep step) const;

private:
    void SkewPacked(const RowSpan& srcRow, int row, ShearStep step) const;
    void FillWithBackground(std::uint8_t* pixels, std::ptrdiff_t first, std::ptrdiff_t last) const;

    PixelSides sides_;
    ShearColour background_;
    std::ptrdiff_t width_;  // of the source
    std::ptrdiff_t dstWidth_;
    HeapArray<std::uint8_t> read_, written_;  // packed rows
    bool isPacked_;                           // false: rows go pixel by pixel
};

// One row by itself.
void HorizSkew(const PixelSides& sides, int row, ShearStep step, const ShearColour& background);

// All columns of the source into those of the destination. Column u moves by shear - u * slope, counted down column
// by column. The pixel stored last is written over with the rest.
struct ColumnShear {
    int rows;      // of the source that are moved
    int dstRows;   // of the destination that are written
    int columns;   // of both
    double shear;  // of column 0
    double slope;
};
void SkewColumns(const PixelSides& sides, const ColumnShear& job, const ShearColour& background);

// The loops that define the two: pixel by pixel, every row fetched anew.
void HorizSkew_Plain(const PixelSides& sides, int row, ShearStep step, const ShearColour& background);
void SkewColumns_Plain(const PixelSides& sides, const ColumnShear& job, const ShearColour& background);

}  // namespace zor
