// Combine through a mask, beside a plain copy of as many bytes as the target's rows have.

#include <benchmark/benchmark.h>

#include <cstring>

#include "BenchImage.h"
#include "compositing/Combine.h"
#include "core/Formats.h"

using namespace zor;

namespace {

constexpr int kWidth = 1237, kHeight = 811;

void CountPixels(benchmark::State& state) {
    state.counters["Mpx/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                                                 benchmark::Counter::kIsRate);
}

void MaskedBlend(benchmark::State& state, int target, int source, int mask, bool preMultiplied) {
    BenchImage d(kWidth, kHeight, target), s(kWidth, kHeight, source), m(kWidth, kHeight, mask);
    for (auto _ : state) {
        PictureCombine3pm(d.object(), s.object(), preMultiplied, m.object(), 0, 0, 0, 0, kWidth, kHeight, 0);
    }
    CountPixels(state);
}

void ColourBlend(benchmark::State& state, int target, int image, int fore, int maskColour) {
    BenchImage d(kWidth, kHeight, target), s(kWidth, kHeight, image);
    for (auto _ : state) {
        PictureCombine1(d.object(), s.object(), nullptr, 0, 0, 0, 0, kWidth, kHeight, 1, fore, maskColour);
    }
    CountPixels(state);
}

void CopyBytes(benchmark::State& state, int format) {
    BenchImage d(kWidth, kHeight, format), s(kWidth, kHeight, format);
    ImageClassData *const to = d.record(), *const from = s.record();
    for (auto _ : state) {
        for (int y = 0; y < kHeight; ++y) {
            std::memcpy(to->GetRow(to, y), from->GetRow(from, y), static_cast<std::size_t>(kWidth) * from->PixelSize);
        }
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

BENCHMARK_CAPTURE(MaskedBlend, RGB_on_RGB_by_G, ImageFormatRGB, ImageFormatRGB, ImageFormatG, false);
BENCHMARK_CAPTURE(CopyBytes, RGB, ImageFormatRGB);
BENCHMARK_CAPTURE(MaskedBlend, RGBA_on_RGBA_by_G_premultiplied, ImageFormatRGBA, ImageFormatRGBA, ImageFormatG, true);
BENCHMARK_CAPTURE(MaskedBlend, RGBA_on_RGBA_by_RGBA_premultiplied, ImageFormatRGBA, ImageFormatRGBA, ImageFormatRGBA,
                  true);
BENCHMARK_CAPTURE(CopyBytes, RGBA, ImageFormatRGBA);
BENCHMARK_CAPTURE(MaskedBlend, BGRA_on_RGB_by_G, ImageFormatRGB, ImageFormatBGRA, ImageFormatG, false);
BENCHMARK_CAPTURE(MaskedBlend, RGBA_on_RGBX_by_G, ImageFormatRGBX, ImageFormatRGBA, ImageFormatG, false);
BENCHMARK_CAPTURE(MaskedBlend, G_on_G_by_G, ImageFormatG, ImageFormatG, ImageFormatG, false);
BENCHMARK_CAPTURE(CopyBytes, G, ImageFormatG);
BENCHMARK_CAPTURE(ColourBlend, paint_RGB_through_G, ImageFormatRGB, ImageFormatG, 0x3366CC, -1);
BENCHMARK_CAPTURE(ColourBlend, lay_RGB_on_RGB, ImageFormatRGB, ImageFormatRGB, -1, 0x3366CC);

}  // namespace
