// Copies between images of two formats, beside memcpy of as many bytes as the target has.

#include <benchmark/benchmark.h>

#include <cstring>

#include "BenchImage.h"
#include "core/Formats.h"
#include "exchange/CopyPixels.h"

using namespace zor;

namespace {

constexpr int kWidth = 6000, kHeight = 4000;  // 24 megapixels

void CountPixels(benchmark::State& state) {
    state.counters["Mpx/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                                                 benchmark::Counter::kIsRate);
}

void CopyBytes(benchmark::State& state, int format) {
    BenchImage to(kWidth, kHeight, format), from(kWidth, kHeight, format);
    for (auto _ : state) {
        std::memcpy(to.record()->Pixels, from.record()->Pixels, static_cast<std::size_t>(to.record()->TotalSize));
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void Copy(benchmark::State& state, int from, int to) {
    BenchImage target(kWidth, kHeight, to), source(kWidth, kHeight, from);
    for (auto _ : state) {
        if (!rbCopyPixels2(target.object(), source.object())) state.SkipWithError("refused");
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

BENCHMARK_CAPTURE(CopyBytes, G, ImageFormatG)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CopyBytes, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CopyBytes, RGBA, ImageFormatRGBA)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGB_to_RGB, ImageFormatRGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGB_to_BGR, ImageFormatRGB, ImageFormatBGR)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGB_to_G, ImageFormatRGB, ImageFormatG)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGB_to_RGBA, ImageFormatRGB, ImageFormatRGBA)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGBA_to_BGRA, ImageFormatRGBA, ImageFormatBGRA)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, RGBA_to_G, ImageFormatRGBA, ImageFormatG)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, G_to_RGB, ImageFormatG, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, CMYK_to_G, ImageFormatCMYK, ImageFormatG)->Unit(benchmark::kMillisecond);

}  // namespace
