// The tone, dither and artistic filters on a 24 megapixel photo, as a user waits for them, beside a plain copy of the
// same bytes. One thread.

#include <benchmark/benchmark.h>

#include <cstring>

#include "BenchImage.h"
#include "core/Formats.h"
#include "filters/AutoLevel.h"
#include "filters/DiffuseFilter.h"
#include "filters/DitherFilter.h"
#include "filters/EngraveFilter.h"
#include "filters/GammaFilter.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/OilWindow.h"
#include "filters/SolarizeFilter.h"

using namespace zor;

namespace {

constexpr int kWidth = 6000, kHeight = 4000;

void CountPixels(benchmark::State& state) {
    const double pixels = static_cast<double>(kWidth) * kHeight * static_cast<double>(state.iterations());
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
}

void Copy(benchmark::State& state) {
    const BenchImage source(kWidth, kHeight, ImageFormatRGB), dest(kWidth, kHeight, ImageFormatRGB);
    for (auto _ : state) {
        std::memcpy(dest.record()->Pixels, source.record()->Pixels,
                    static_cast<std::size_t>(source.record()->TotalSize));
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

template <class Filter>
void Run(benchmark::State& state, int sourceFormat, int destFormat, Filter filter) {
    const BenchImage source(kWidth, kHeight, sourceFormat), dest(kWidth, kHeight, destFormat);
    for (auto _ : state) {
        if (filter(source.object(), dest.object()) != dest.object()) return state.SkipWithError("no result");
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void AutoLevelInPlace(benchmark::State& state) {
    const BenchImage image(kWidth, kHeight, ImageFormatRGB);
    for (auto _ : state) {
        if (!AutoLevel1(image.object())) return state.SkipWithError("no result");
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

using Object = REALobject;
constexpr int kRGB = ImageFormatRGB;

const auto oneGamma = [](Object s, Object d) { return GammaFilterG(s, d, 2.2); };
const auto threeGammas = [](Object s, Object d) { return GammaFilterRGB(s, d, 2.2, 1.8, 1.4); };

#define ZOR_BENCH(name, ...) BENCHMARK_CAPTURE(Run, name, __VA_ARGS__)->Unit(benchmark::kMillisecond)

BENCHMARK(Copy)->Unit(benchmark::kMillisecond);
BENCHMARK(AutoLevelInPlace)->Unit(benchmark::kMillisecond);
ZOR_BENCH(Gamma, kRGB, kRGB, oneGamma);
ZOR_BENCH(GammaToBGRA, kRGB, ImageFormatBGRA, oneGamma);
ZOR_BENCH(GammaByChannel, kRGB, kRGB, threeGammas);
ZOR_BENCH(Solarize, kRGB, kRGB, [](Object s, Object d) { return SolarizeFilter(s, d); });
ZOR_BENCH(Dither8x8, kRGB, kRGB, [](Object s, Object d) { return DitherFilter(s, d, 7, 4); });
ZOR_BENCH(Dither6x6, kRGB, kRGB, [](Object s, Object d) { return DitherFilter(s, d, 5, 4); });
ZOR_BENCH(Engrave, kRGB, kRGB, [](Object s, Object d) { return EngraveFilter(s, d, 1); });
ZOR_BENCH(EngraveToBGRA, kRGB, ImageFormatBGRA, [](Object s, Object d) { return EngraveFilter(s, d, 1); });
ZOR_BENCH(Neon, kRGB, kRGB, [](Object s, Object d) { return NeonFilter(s, d); });
ZOR_BENCH(Diffuse, kRGB, kRGB, [](Object s, Object d) { return DifuseFilter(s, d, 4); });
ZOR_BENCH(OilRange3Levels20, kRGB, kRGB, [](Object s, Object d) { return OilFilter(s, d, 20, 3); });
ZOR_BENCH(OilRange3Levels256, kRGB, kRGB, [](Object s, Object d) { return OilFilter(s, d, 256, 3); });
ZOR_BENCH(OilRange12Levels20, kRGB, kRGB, [](Object s, Object d) { return OilFilter(s, d, 20, 12); });

// The window gathered anew for each pixel, on a twentieth of the image: what moving it saves.
void OilGathered(benchmark::State& state) {
    const BenchImage source(kWidth / 4, kHeight / 5, kRGB), dest(kWidth / 4, kHeight / 5, kRGB);
    for (auto _ : state) {
        OilImage_Plain(SidesOf(source.record(), dest.record()), 20, 3);
        benchmark::ClobberMemory();
    }
    const double pixels = kWidth / 4.0 * kHeight / 5.0 * static_cast<double>(state.iterations());
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(OilGathered)->Unit(benchmark::kMillisecond);

}  // namespace
