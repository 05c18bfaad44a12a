#pragma once
// The kinds of pixels that files and effects exchange, 8 bits a channel.

enum class PixelKind { Gray, GrayAlpha, RGB, RGBA, CMYK };

struct PixelKindRow {
    const char* name;      // for people
    const char* constant;  // the format constant of PictureZOR
    int channels;          // bytes a pixel, in this order; alpha last, not premultiplied; CMYK: 255 is full ink
    bool hasAlpha;
    const char* profileSpace;  // the data colour space that a colour profile for such pixels names
};

inline const PixelKindRow& Describe(PixelKind kind) {
    static constexpr PixelKindRow kRows[] = {
        {"gray", "ImageFormatG", 1, false, "GRAY"},    {"gray + alpha", "ImageFormatGA", 2, true, "GRAY"},
        {"RGB", "ImageFormatRGB", 3, false, "RGB "},   {"RGB + alpha", "ImageFormatRGBA", 4, true, "RGB "},
        {"CMYK", "ImageFormatCMYK", 4, false, "CMYK"},
    };
    return kRows[static_cast<int>(kind)];
}

// What an image is before it exists: enough to check every limit before the work starts.
struct ImageShape {
    int width;   // pixels, at least 1
    int height;  // rows, at least 1
    PixelKind kind;
};
