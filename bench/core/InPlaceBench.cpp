// Operations on a whole image in place, beside memset and memcpy of the same bytes.

#include "core/InPlace.h"

#include <benchmark/benchmark.h>

#include <cstring>

#include "BenchImage.h"
#include "core/Formats.h"

using namespace zor;

namespace {

constexpr int kWidth = 6000, kHeight = 4000;  // 24 megapixels

void CountPixels(benchmark::State& state) {
    state.counters["Mpx/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                                                 benchmark::Counter::kIsRate);
}

template <class Run>
void OnImage(benchmark::State& state, int format, Run run) {
    BenchImage image(kWidth, kHeight, format);
    for (auto _ : state) {
        run(image.object());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void SetBytes(benchmark::State& state, int format) {
    BenchImage image(kWidth, kHeight, format);
    ImageClassData* const record = image.record();
    for (auto _ : state) {
        std::memset(record->Pixels, 7, static_cast<std::size_t>(record->TotalSize));
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void CopyBytes(benchmark::State& state, int format) {
    BenchImage to(kWidth, kHeight, format), from(kWidth, kHeight, format);
    for (auto _ : state) {
        std::memcpy(to.record()->Pixels, from.record()->Pixels, static_cast<std::size_t>(to.record()->TotalSize));
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void Fill(benchmark::State& state, int format) {
    OnImage(state, format, [](REALobject image) { FillRect1(image, 7); });
}
void FillRGB(benchmark::State& state, int format) {
    OnImage(state, format, [](REALobject image) { FillRectRGB1(image, 1, 2, 3); });
}
void LayOver(benchmark::State& state, int format) {
    OnImage(state, format, [](REALobject image) { FillRectApplyRGBA1(image, 1, 2, 3, 100); });
}
void Invert(benchmark::State& state, int format) {
    OnImage(state, format, [](REALobject image) { Invert1(image); });
}
void FillRandom(benchmark::State& state, int format) {
    OnImage(state, format, [](REALobject image) { FillRectRandom1(image); });
}

BENCHMARK_CAPTURE(SetBytes, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CopyBytes, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Fill, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Fill, XRGB, ImageFormatXRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FillRGB, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FillRGB, RGBA, ImageFormatRGBA)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LayOver, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Invert, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Invert, XRGB, ImageFormatXRGB)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Invert, CMYK, ImageFormatCMYK)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FillRandom, RGB, ImageFormatRGB)->Unit(benchmark::kMillisecond);

}  // namespace
