#include "compositing/LayRows.h"

#include <algorithm>

#include "exchange/ColourRows.h"

namespace zor {

namespace {

constexpr std::uint32_t kFull = 255;
constexpr std::uint32_t kFullSquared = kFull * kFull;

// To the nearest, for anything up to 255 * 255.
std::uint32_t DividedByFull(std::uint32_t value) {
    const std::uint32_t more = value + 128;
    return (more + (more >> 8)) >> 8;
}

std::uint8_t Byte(std::uint32_t value) {
    return static_cast<std::uint8_t>(value);
}

// a where `part` is 255, b where it is 0.
std::uint8_t Mixed(std::uint32_t a, std::uint32_t b, std::uint32_t part) {
    return Byte(DividedByFull(a * part + b * (kFull - part)));
}

// To the nearest; both weights together are 255 * 255 * 255 at most, so that nothing leaves 32 bits. What has no weight
// at all stays as it is below.
std::uint8_t Weighed(std::uint32_t over, std::uint32_t overWeight, std::uint32_t under, std::uint32_t underWeight) {
    const std::uint32_t sum = overWeight + underWeight;
    if (sum == 0) return Byte(under);
    return Byte((over * overWeight + under * underWeight + sum / 2) / sum);
}

// A colour that has been multiplied already, added to what is left of the one below. `alpha` is that of the result
// times 255; 0 leaves what is there.
std::uint8_t Added(std::uint32_t over, std::uint32_t under, std::uint32_t underWeight, std::uint32_t alpha) {
    if (alpha == 0) return Byte(under);
    return Byte(std::min((over * kFullSquared + under * underWeight + alpha / 2) / alpha, kFull));
}

bool LetsAllThrough(const LetThrough& part, int colours) {
    return part.alpha == kFull && std::all_of(part.colour, part.colour + colours, [](auto c) { return c == kFull; });
}

// Over pixels that are opaque, or have nothing but colours: the frequent case, without a division.
void LayOverOpaque(std::uint8_t* under, const std::uint8_t* over, int colours, std::uint32_t alpha) {
    for (int c = 0; c < colours; ++c) under[c] = Mixed(over[c], under[c], alpha);
}

void LayPixelByAlpha(std::uint8_t* under, const std::uint8_t* over, const LaidRows& rows, const LetThrough& part) {
    const std::uint32_t underAlpha = rows.underHasAlpha ? under[rows.colours] : kFull;
    const std::uint32_t overAlpha = rows.overHasAlpha ? over[rows.colours] : kFull;
    for (int c = 0; c < rows.colours; ++c) {
        const std::uint32_t weight = overAlpha * part.colour[c];
        under[c] = Weighed(over[c], weight * kFull, under[c], underAlpha * (kFullSquared - weight));
    }
    if (!rows.underHasAlpha) return;
    const std::uint32_t weight = overAlpha * part.alpha;
    under[rows.colours] =
        Byte((weight * kFull + underAlpha * (kFullSquared - weight) + kFullSquared / 2) / kFullSquared);
}

// What is multiplied beforehand and has no alpha is as opaque as it was let through.
void AddPixel(std::uint8_t* under, const std::uint8_t* over, const LaidRows& rows, const LetThrough& part) {
    const std::uint32_t underAlpha = rows.underHasAlpha ? under[rows.colours] : kFull;
    const auto overAlpha = [&](std::uint8_t through) -> std::uint32_t {
        return rows.overHasAlpha ? over[rows.colours] : through;
    };
    for (int c = 0; c < rows.colours; ++c) {
        const std::uint32_t alpha = overAlpha(part.colour[c]), left = underAlpha * (kFull - alpha);
        under[c] = Added(over[c], under[c], left, alpha * kFull + left);
    }
    if (!rows.underHasAlpha) return;
    const std::uint32_t alpha = overAlpha(part.alpha);
    under[rows.colours] = Mixed(kFull, underAlpha, alpha);
}

// part: what the mask lets through.
void MixPixel(std::uint8_t* under, const std::uint8_t* over, const LaidRows& rows, const LetThrough& part) {
    if (!rows.underHasAlpha) {
        for (int c = 0; c < rows.colours; ++c) under[c] = Mixed(over[c], under[c], part.colour[c]);
        return;
    }
    const std::uint32_t underAlpha = under[rows.colours];
    const std::uint32_t overAlpha = rows.overHasAlpha ? over[rows.colours] : kFull;
    for (int c = 0; c < rows.colours; ++c) {
        const std::uint32_t through = part.colour[c];
        under[c] = Weighed(over[c], overAlpha * through, under[c], underAlpha * (kFull - through));
    }
    under[rows.colours] = Mixed(overAlpha, underAlpha, part.alpha);
}

void AddPixelThroughMask(std::uint8_t* under, const std::uint8_t* over, const LaidRows& rows, const LetThrough& part) {
    const std::uint32_t underAlpha = rows.underHasAlpha ? under[rows.colours] : kFull;
    const auto overAlpha = [&](std::uint8_t through) -> std::uint32_t {
        return rows.overHasAlpha ? over[rows.colours] : through;
    };
    for (int c = 0; c < rows.colours; ++c) {
        const std::uint32_t left = underAlpha * (kFull - part.colour[c]);
        const std::uint32_t alpha = rows.underHasAlpha ? overAlpha(part.colour[c]) * kFull + left : kFullSquared;
        under[c] = Added(over[c], under[c], left, alpha);
    }
    if (!rows.underHasAlpha) return;
    const std::uint32_t left = underAlpha * (kFull - part.alpha);
    under[rows.colours] = Byte(std::min(overAlpha(part.alpha) + DividedByFull(left), kFull));
}

}  // namespace

void LayByAlpha(const LaidRows& rows, const LetThrough& part) {
    const int step = rows.colours + (rows.underHasAlpha ? 1 : 0), overStep = rows.colours + (rows.overHasAlpha ? 1 : 0);
    const bool plain = !rows.premultiplied && LetsAllThrough(part, rows.colours);
    std::uint8_t* under = rows.under;
    const std::uint8_t* over = rows.over;
    for (std::ptrdiff_t i = 0; i < rows.pixels; ++i, under += step, over += overStep) {
        const std::uint32_t overAlpha = rows.overHasAlpha ? over[rows.colours] : kFull;
        if (rows.premultiplied) {
            AddPixel(under, over, rows, part);
        } else if (overAlpha == 0) {
            continue;
        } else if (plain && (!rows.underHasAlpha || overAlpha == kFull || under[rows.colours] == kFull)) {
            LayOverOpaque(under, over, rows.colours, overAlpha);
            if (rows.underHasAlpha && overAlpha == kFull) under[rows.colours] = Byte(kFull);
        } else {
            LayPixelByAlpha(under, over, rows, part);
        }
    }
}

void LayThroughMask(const LaidRows& rows, const MaskRow& mask) {
    const int step = rows.colours + (rows.underHasAlpha ? 1 : 0), overStep = rows.colours + (rows.overHasAlpha ? 1 : 0);
    std::uint8_t* under = rows.under;
    const std::uint8_t* over = rows.over;
    const std::uint8_t* keeps = mask.bytes;
    LetThrough part{};
    for (std::ptrdiff_t i = 0; i < rows.pixels; ++i, under += step, over += overStep, keeps += mask.step) {
        for (int c = 0; c < 4; ++c) part.colour[c] = Byte(kFull - keeps[c < mask.colours ? c : 0]);
        part.alpha = mask.colours == 1 ? part.colour[0] : Byte(kFull - GrayOf(keeps[0], keeps[1], keeps[2]));
        (rows.premultiplied ? AddPixelThroughMask : MixPixel)(under, over, rows, part);
    }
}

void PaintThroughMask(const LaidRows& rows, const MaskRow& mask, const std::uint8_t* colour) {
    const int step = rows.colours + (rows.underHasAlpha ? 1 : 0);
    std::uint8_t* under = rows.under;
    const std::uint8_t* keeps = mask.bytes;
    for (std::ptrdiff_t i = 0; i < rows.pixels; ++i, under += step, keeps += mask.step) {
        const std::uint32_t left = mask.colours == 1 ? keeps[0] : (keeps[0] + keeps[1] + keeps[2] + 1u) / 3;
        for (int c = 0; c < rows.colours; ++c)
            under[c] = rows.premultiplied ? Byte(std::min(colour[c] + DividedByFull(under[c] * left), kFull))
                                          : Mixed(under[c], colour[c], left);
    }
}

void FlattenRow(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t pixels, int colours,
                const std::uint8_t* ground) {
    for (std::ptrdiff_t i = 0; i < pixels; ++i, src += colours + 1, dst += colours) {
        const std::uint32_t alpha = src[colours];
        for (int c = 0; c < colours; ++c) dst[c] = Mixed(src[c], ground[c], alpha);
    }
}

}  // namespace zor
