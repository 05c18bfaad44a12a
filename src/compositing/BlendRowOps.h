#pragma once
// The hot loops of the masked blend on packed bytes, as a table of functions that is handed along. Every twin of a
// function gives the same bytes.

#include <cstddef>
#include <cstdint>

// What a function writes may not overlap what it reads, except that it writes over `target`.
struct BlendRowOps {
    // Byte by byte: target = Mix(above, mask, target)
    void (*mix)(std::uint8_t* target, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);
    // target = low byte of AddOver(above, mask, target)
    void (*addOver)(std::uint8_t* target, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);
    // target = low byte of AddOver(above, mask, below)
    void (*addOverOther)(std::uint8_t* target, const std::uint8_t* above, const std::uint8_t* mask,
                         const std::uint8_t* below, std::ptrdiff_t bytes);
    // target = low byte of above + mask
    void (*add)(std::uint8_t* target, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);

    // Each byte three times.
    void (*repeat3)(std::uint8_t* out, const std::uint8_t* bytes, std::ptrdiff_t count);
    // Each byte four times, of which byte alphaAt is 255 instead.
    void (*repeat4Opaque)(std::uint8_t* out, const std::uint8_t* bytes, int alphaAt, std::ptrdiff_t count);
    // Of each pixel of four bytes its byte alphaAt, four times.
    void (*repeatAlpha)(std::uint8_t* out, const std::uint8_t* pixels, int alphaAt, std::ptrdiff_t count);
};

BlendRowOps BlendRowOps_Plain();
// Only on processors that have these instructions.
BlendRowOps BlendRowOps_Avx2();

// The table that runs fastest on this processor; made once.
const BlendRowOps& PickedBlendRowOps();
