#pragma once
// Rows of pixels laid over each other as people expect it: colours weigh as much as their alpha, what is clear has
// none, and results are rounded. Exact in integers; no images, no host.

#include <cstddef>
#include <cstdint>

namespace zor {

// Pixels are their colours, 1 to 4 bytes, and behind those their alpha where they have one; colours are not multiplied
// by it.
struct LaidRows {
    std::uint8_t* under;  // becomes the result
    std::ptrdiff_t pixels;
    const std::uint8_t* over;
    int colours;  // of both
    bool underHasAlpha;
    bool overHasAlpha;
    // The colours of `over` are multiplied by its alpha, and both by what a mask lets through; those that are not come
    // out too light, up to 255.
    bool premultiplied;
};

// How much of each colour and of the alpha is let through: 255 for all.
struct LetThrough {
    std::uint8_t colour[4];
    std::uint8_t alpha;
};

// The first one or three bytes of each pixel, 0 where what is laid over shows, 255 where what is there stays.
struct MaskRow {
    const std::uint8_t* bytes;
    int colours;
    int step;  // from one pixel to the next
};

// Over what is there, by the alpha of `over` and the part of it that is let through.
void LayByAlpha(const LaidRows& rows, const LetThrough& part);

// A mask in the place of the alpha, which is mixed like the colours. With three colours it works on each of three by
// itself, and its gray on the alpha. Where there is no alpha below, that of `over` plays no part.
void LayThroughMask(const LaidRows& rows, const MaskRow& mask);

// One colour instead of `over`. The mean of the mask's colours counts, and alpha stays.
void PaintThroughMask(const LaidRows& rows, const MaskRow& mask, const std::uint8_t* colour);

// Pixels with alpha on a ground of one colour, without their alpha. dst may be src.
void FlattenRow(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t pixels, int colours,
                const std::uint8_t* ground);

}  // namespace zor
