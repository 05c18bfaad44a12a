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
        const bool fallsShort = parts.red[i] + parts.green[i] + parts.blue[i] < i;
        std::uint8_t& bits = parts.grayFallsShort[i / 128][i % 16];
        bits = static_cast<std::uint8_t>(bits | (fallsShort ? 1 << i / 16 % 8 : 0));
    }
    return parts;
}

static void Luminance_Plain(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts,
                            std::uint8_t* levels) {
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    const std::ptrdiff_t step = rgb.step;
    const std::uint8_t* pixel = rgb.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += step) {
        const double luminance = parts.red[pixel[red]] + parts.green[pixel[green]] + parts.blue[pixel[blue]];
        levels[i] = static_cast<std::uint8_t>(luminance);
    }
}

// --- counts ---------------------------------------------------------------------------------------------------------

static void Count_Plain(const std::uint8_t* bytes, std::ptrdiff_t count, LevelCounts* counts) {
    constexpr int kLanes = LevelCounts::kLanes;
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        for (int k = 0; k < kLanes; ++k) ++counts->lane[k][bytes[i + k]];
    }
    for (; i < count; ++i) ++counts->lane[0][bytes[i]];
}

static void CountAbove_Plain(const std::uint8_t* bytes, std::ptrdiff_t count, const std::uint8_t* limits,
                             std::uint32_t* counts) {
    for (int k = 0; k < kLevelLimits; ++k) {
        const std::uint8_t limit = limits[k];
        std::uint32_t above = 0;
        for (std::ptrdiff_t i = 0; i < count; ++i) above += bytes[i] > limit ? 1 : 0;
        counts[k] += above;
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
    *kernels = {Luminance_Plain, Count_Plain, CountAbove_Plain, Glow_Plain, Dither_Plain};
}

}  // namespace zor
