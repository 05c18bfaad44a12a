#pragma once
// What becomes of a row of a host picture in an image: the loops behind the import of pictures.

#include "core/RowSpan.h"
#include "exchange/PictureEditor.h"

enum class ImportRule : unsigned char {
    colours,      // the picture's samples as they are
    constant,     // the same behind a constant alpha: 255, or 0 inverted
    maskToAlpha,  // the same behind an alpha that is the mask's red, or its complement
    blend,  // (mask * image + (255 - mask) * picture) / 255, channel by channel; inverted: by the mask's complement
};

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
// rows that the rule needs is nil, nothing happens.
void ImportRow(const ImportPlan& plan, const ImportRows& rows);

// The same, always pixel by pixel: what defines the result.
void ImportRow_Plain(const ImportPlan& plan, const ImportRows& rows);
