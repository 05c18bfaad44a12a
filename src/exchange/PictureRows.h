#pragma once
// What becomes of a row of a host picture in an image: rules made ready, and the kernels for them.

#include "core/Walk.h"
#include "exchange/PictureEditor.h"
#include "kernels/Import.h"

namespace zor {

// A rule made ready for an image, a picture and, where the rule has one, its mask.
struct ImportPlan {
    ImportRule rule;
    std::uint8_t invert;  // what the mask's samples are exclusive-or'ed with: 0, or 255 for the complement
    ChannelSet image;     // written, in this order: alpha goes first, so that a colour on its byte replaces it
    ChannelSet picture;   // read: one colour or three
    ChannelSet mask;      // read: red, or all three; count 0 without a mask
    int imageSize;        // bytes from one pixel to the next
    int pictureSize;
    int maskSize;
};

// Red, green and blue in a pixel of one of the three types.
ChannelSet ColoursOfPixelType(int pixelType);

// The layers of an import, without their rows: image, picture, and a mask where the rule has one. A kernel for
// the whole of a row may reach all bytes of their pixels.
struct ImportLayers {
    Layer layer[3];
    int count;
};
ImportLayers LayersOf(const ImportPlan& plan, std::int64_t imageX, std::int64_t pictureX);

// Works the pixels of a walk over these layers.
void ImportRun(const ImportPlan& plan, const ImportLayers& layers, const RunSet& runs);

// The rows of one step and the place in them, in pixels. Picture and mask are read at the same columns.
struct ImportRows {
    RowSpan image;
    RowSpan picture;
    RowSpan mask;
    std::ptrdiff_t imageX;
    std::ptrdiff_t pictureX;
    std::ptrdiff_t width;
};

// Goes from left to right and decodes each pixel before it is written: where an image lies in the picture that is
// drawn, what is read may already have been written. Bytes outside a row read 0 and are not written; where one of the
// rows that the rule needs is null, nothing happens.
void ImportRow(const ImportPlan& plan, const ImportRows& rows);

// The same, always pixel by pixel: what defines the result.
void ImportRow_Plain(const ImportPlan& plan, const ImportRows& rows);

}  // namespace zor
