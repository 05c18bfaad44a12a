#pragma once
// Rows of pixels in another kind, as people expect it: rounded, and what has alpha lies on a ground before it loses it,
// so that the colours of clear pixels, which nobody saw before, stay hidden.

#include <initializer_list>
#include <memory>
#include <vector>

#include "Raster.h"
#include "Rows.h"
#include "effects/Arguments.h"

constexpr RGBAColour kWhite{255, 255, 255, 255, true};

// The colours of pixels, and whether alpha stands behind them. CMYK with alpha is no kind of image, but what gray with
// alpha becomes where it is laid over CMYK.
struct PixelParts {
    int colours;
    bool alpha;
    [[nodiscard]] int Channels() const { return colours + (alpha ? 1 : 0); }
};
PixelParts PartsOf(PixelKind kind);

// Turns rows of one width, one after the other.
class RowTurner {
public:
    // Kinds that CanConvert; where the alpha goes, on that ground.
    RowTurner(PixelKind from, PixelParts to, int width, const RGBAColour& ground);

    // The row in the other kind; good until the next call, and as long as `row`.
    const std::uint8_t* Turn(const std::uint8_t* row);

private:
    PixelParts from_, to_;
    int width_;
    std::uint8_t ground_[4];
    std::vector<std::uint8_t> flat_, turned_;
};

// All rows in another kind, which they can become.
std::unique_ptr<RowSource> RowsInKind(std::unique_ptr<RowSource> rows, PixelKind kind,
                                      const RGBAColour& ground = kWhite);

// The shape of a picture that is to show such colours: a gray one becomes RGB for them, unless they are grays.
ImageShape ShapeInColours(const ImageShape& source, std::initializer_list<RGBAColour> colours);

// A RunError, which `effect` begins, where a colour is to go into CMYK: only grays can be numbers of an ink.
void CheckColourFits(const char* effect, PixelKind kind, const RGBAColour& colour);

// The channels of a colour in pixels that have no alpha: the gray of it, its red, green and blue, or for CMYK the
// number that every ink gets, which is given as a gray.
void ChannelsOf(const RGBAColour& colour, PixelKind kind, std::uint8_t* channels);
