#include <algorithm>
#include <cmath>

#include "kernels/Tone.h"

namespace zor {

// --- luminance ------------------------------------------------------------------------------------------------------

LuminanceParts MakeLuminanceParts(int red, int green, int blue) {
    LuminanceParts parts{{red, green, blue}, {}, {}, {}, {}};
    for (int i = 0; i < 256; ++i) {
        parts.red[i] = red / 1000.0 * i;
        parts.green[i] = green / 1000.0 * i;
        parts.blue[i] = blue / 1000.0 * i;
        parts.ofGray[i] = static_cast<std::uint8_t>(parts.red[i] + parts.green[i] + parts.blue[i]);
    }
    return parts;
}

static void Luminance_Plain(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts,
                            LevelCounts* counts) {
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    const std::ptrdiff_t step = rgb.step;
    const std::uint8_t* pixel = rgb.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += step) {
        const double luminance = parts.red[pixel[red]] + parts.green[pixel[green]] + parts.blue[pixel[blue]];
        ++counts->lane[i % LevelCounts::kLanes][static_cast<int>(luminance)];
    }
}

// --- glow -----------------------------------------------------------------------------------------------------------

std::uint8_t NeonGlow_Plain(int squares) {
    const double doubled = static_cast<double>(static_cast<float>(squares)) * 2;
    const float glow = static_cast<float>(std::sqrt(doubled));
    return static_cast<std::uint8_t>(std::min(static_cast<int>(glow), 255));
}

namespace {

// From here on, half of 255 squared, the glow is full.
constexpr int kFullGlow = 32513;

struct GlowTable {
    std::uint8_t glow[kFullGlow + 1];
    GlowTable() {
        for (int squares = 0; squares <= kFullGlow; ++squares) glow[squares] = NeonGlow_Plain(squares);
    }
    std::uint8_t Of(int squares) const { return glow[std::min(squares, kFullGlow)]; }
};

const GlowTable& Glows() {
    static const GlowTable table;
    return table;
}

void Glow_Plain(const std::uint8_t* here, const std::uint8_t* aside, const std::uint8_t* below, std::uint8_t* dst,
                std::ptrdiff_t count) {
    const GlowTable& table = Glows();
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const int across = here[i] - aside[i], down = here[i] - below[i];
        dst[i] = table.Of(across * across + down * down);
    }
}

}  // namespace

std::uint8_t NeonGlow(int squares) {
    return Glows().Of(squares);
}

// --- dither ---------------------------------------------------------------------------------------------------------

DitherTables MakeDitherTables(int levels, int side) {
    DitherTables tables{levels, side * side, {}, {}, {}};
    for (int k = 0; k < levels; ++k) tables.level[k] = 255 * k / (levels - 1);
    for (int i = 0; i < 256; ++i) {
        tables.quotient[i] = i * (levels - 1) / 256;
        tables.remainder[i] = i * (tables.cells + 1) / 256;
    }
    return tables;
}

static void Dither_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const DitherTables& tables,
                         const DitherRow& row, int phase) {
    int at = phase;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        dst[i] = DitherByte(tables, row.threshold[at], src[i]);
        if (++at == row.period) at = 0;
    }
}

void InitTone_Plain(ToneKernels* kernels) {
    *kernels = {Luminance_Plain, Glow_Plain, Dither_Plain};
}

}  // namespace zor
