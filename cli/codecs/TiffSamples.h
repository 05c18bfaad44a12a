#pragma once
// How the samples of a TIFF file become rows of the program's pixels.

#include <array>
#include <cstdint>
#include <vector>

#include "PixelKind.h"

struct TiffSamples {
    PixelKind kind = PixelKind::Gray;                  // of the rows that come out
    int bits = 8;                                      // of a sample, 1 to 16
    int samples = 1;                                   // a pixel of the file
    int colours = 1;                                   // the first so many samples
    int alphaAt = -1;                                  // sample that is alpha; below 0: none
    bool associated = false;                           // colours are stored multiplied by alpha
    bool whiteIsZero = false;                          // gray as ink: 0 is white
    bool planes = false;                               // each sample of all pixels by itself, one after the other
    std::vector<std::array<std::uint8_t, 3>> palette;  // where `colours` is 1 and the kind is RGB; 2 to the `bits`
};

// Converts pixels of one row: all samples, or one plane of them. `packed` holds them as libtiff gives them, 16 bits in
// the machine's order. `out` has the kind's channels for each pixel; a plane fills its own and leaves the others. The
// last plane also divides associated colours by alpha, for which all others must be there.
class TiffRowConverter {
public:
    explicit TiffRowConverter(const TiffSamples& layout);
    void Convert(int plane, const std::uint8_t* packed, int width, std::uint8_t* out);

private:
    void ConvertPiece(int plane, const std::uint8_t* packed, int width, std::uint8_t* out);
    template <typename Sample>
    void ConvertSamples(int plane, const Sample* in, int width, std::uint8_t* out) const;
    template <typename Sample>
    void DivideRow(const Sample* in, int width, std::uint8_t* out) const;
    template <typename Sample>
    std::uint8_t Level(Sample sample) const;

    TiffSamples layout_;
    int channels_;
    std::uint32_t most_;                      // value of a sample
    std::array<std::uint8_t, 256> levels_{};  // 8 bits for samples of at most 8
    std::vector<std::uint16_t> unpacked_;
};
