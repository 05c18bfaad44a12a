#include <algorithm>
#include <cmath>

#include "kernels/Tone.h"

namespace zor {

static void Luminance_Plain(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts,
                            std::uint32_t* countOfLevel) {
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    const std::ptrdiff_t step = rgb.step;
    const std::uint8_t* pixel = rgb.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += step) {
        const double luminance = parts.red[pixel[red]] + parts.green[pixel[green]] + parts.blue[pixel[blue]];
        ++countOfLevel[static_cast<int>(luminance)];
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

template <int kCount>
void Glow_Plain(const PixelRun& dst, const PixelRun& hereRun, const PixelRun& belowRun, std::ptrdiff_t count) {
    const GlowTable& table = Glows();
    const std::ptrdiff_t step = hereRun.step, dstStep = dst.step;
    std::ptrdiff_t from[kCount], to[kCount];
    std::copy_n(hereRun.channels.offset, kCount, from);
    std::copy_n(dst.channels.offset, kCount, to);
    const std::uint8_t *here = hereRun.pixels, *below = belowRun.pixels;
    std::uint8_t* out = dst.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, here += step, below += step, out += dstStep) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) {
            const int sample = here[from[c]], aside = sample - here[step + from[c]], down = sample - below[from[c]];
            samples[c] = table.Of(down * down + aside * aside);
        }
        for (int c = 0; c < kCount; ++c) out[to[c]] = samples[c];
    }
}

}  // namespace

std::uint8_t NeonGlow(int squares) {
    return Glows().Of(squares);
}

void InitTone_Plain(ToneKernels* kernels) {
    *kernels = {Luminance_Plain, {Glow_Plain<1>, Glow_Plain<2>, Glow_Plain<3>, Glow_Plain<4>, Glow_Plain<5>}};
}

}  // namespace zor
