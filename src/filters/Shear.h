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

// The part of a value that goes on to the neighbour.
inline std::uint8_t PartOf(std::uint8_t value, double weight) {
    return static_cast<std::uint8_t>(static_cast<int>(value * weight));
}

// The pixel behind the last one: background, of which the rest `left` of the last pixel takes its place.
inline std::uint8_t ClosingOf(std::uint8_t background, double weight, std::uint8_t left) {
    return static_cast<std::uint8_t>(static_cast<int>(background - (background * weight - left)));
}

// A weight as an integer: value * factor >> 16 is PartOf every value. Hardly any weight has none.
struct ShearFactor {
    std::uint16_t factor;
    bool exists;
};
ShearFactor FactorOf(double weight);

// A whole row of packed samples, all background but for columns first to last - 1.
struct ShearLine {
    const std::uint8_t* samples;
    std::ptrdiff_t first;
    std::ptrdiff_t last;
};

// Shears lines of one width into rows of another, each by a step of its own. What all of them need is made once.
class LineShear {
public:
    LineShear(int count, std::ptrdiff_t width, std::ptrdiff_t dstWidth, const ShearColour& background);

    explicit operator bool() const { return background_ && written_; }  // false: memory is short

    // Into the whole width of a row of an image whose pixels are apart and which shares no byte with the line. The
    // pixel behind the last one takes the rest.
    void Skew(const ShearLine& line, const PixelSide& dst, int row, ShearStep step) const;

private:
    void Blend(const ShearLine& line, ShearStep step, std::uint8_t* pixels) const;

    int count_;
    std::ptrdiff_t width_, dstWidth_;
    ShearColour colour_;
    HeapArray<std::uint8_t> background_, written_;  // packed rows of the destination
};

// Shears rows of an image.
class RowShear {
public:
    RowShear(const PixelSides& sides, const ShearColour& background);

    // Row `row` of the source into the same row of the destination.
    void Skew(int row, ShearStep step) const;

private:
    PixelSides sides_;
    ShearColour background_;
    LineShear line_;
    HeapArray<std::uint8_t> read_;  // a packed row of the source
    bool isPacked_;                 // false: rows go pixel by pixel
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
