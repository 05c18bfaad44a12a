// Whole scaling operations, as a user waits for them.

#include <benchmark/benchmark.h>

#include <string>

#include "BenchImage.h"
#include "core/Formats.h"
#include "scale/FastScale.h"
#include "scale/FilterKernels.h"
#include "scale/FilteredScale.h"
#include "scale/Pairs.h"

using namespace zor;

namespace {

struct Size {
    int width, height;
};
constexpr Size kPhoto = {6000, 4000};
constexpr Size kReduced = {1500, 1000};
constexpr Size kAwkward = {1237, 811};
constexpr int kLanczos3 = 3;

void CountPixels(benchmark::State& state, Size from, Size to) {
    const auto megapixels = [](Size size) { return static_cast<double>(size.width) * size.height / 1e6; };
    state.counters["sourceMpx/s"] =
        benchmark::Counter(megapixels(from) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["targetMpx/s"] =
        benchmark::Counter(megapixels(to) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// threads below 0: the form without threads.
void Filtered(benchmark::State& state, Size from, Size to, int sourceFormat, int targetFormat, int mode, int threads) {
    const BenchImage source(from.width, from.height, sourceFormat), target(to.width, to.height, targetFormat);
    const int tempFormat = PairOf(source.record(), target.record())->tempFormat;
    const BenchImage temp(to.width, from.height, tempFormat);
    for (auto _ : state) {
        const bool done =
            threads < 0 ? PictureScaleZOR(target.object(), source.object(), temp.object(), mode, to.width, to.height)
                        : PictureScaleZORMT(target.object(), threads, source.object(), temp.object(), mode, to.width,
                                            to.height);
        if (!done) state.SkipWithError("not scaled");
    }
    CountPixels(state, from, to);
}

void Fast(benchmark::State& state, Size from, Size to, int sourceFormat, int targetFormat) {
    const BenchImage source(from.width, from.height, sourceFormat), target(to.width, to.height, targetFormat);
    for (auto _ : state) {
        if (!ScalePictureFast(target.object(), source.object(), to.width, to.height)) {
            state.SkipWithError("not scaled");
        }
    }
    CountPixels(state, from, to);
}

struct FormatPair {
    const char* name;
    int source, target;
};
constexpr FormatPair kPairs[] = {
    {"G_to_G", ImageFormatG, ImageFormatG},
    {"G_to_RGB", ImageFormatG, ImageFormatRGB},
    {"RGB_to_G", ImageFormatRGB, ImageFormatG},
    {"GA_to_GA", ImageFormatGA, ImageFormatGA},
    {"GA_to_RGBA", ImageFormatGA, ImageFormatRGBA},
    {"RGBA_to_GA", ImageFormatRGBA, ImageFormatGA},
    {"RGB_to_RGB", ImageFormatRGB, ImageFormatRGB},
    {"RGBA_to_RGBA", ImageFormatRGBA, ImageFormatRGBA},
    {"CMYKA_to_CMYKA", ImageFormatCMYKA, ImageFormatCMYKA},
};

void Register() {
    const auto slow = [](const std::string& name, auto function) {
        benchmark::RegisterBenchmark(name.c_str(), function)->Unit(benchmark::kMillisecond)->UseRealTime();
    };
    for (const int threads : {-1, 1, 2, 0}) {
        slow("Scale/photo_to_quarter_lanczos3/threads:" + std::to_string(threads), [threads](benchmark::State& state) {
            Filtered(state, kPhoto, kReduced, ImageFormatRGB, ImageFormatRGB, kLanczos3, threads);
        });
    }
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        const std::string kernel = KernelOfMode(mode)->name;
        slow("Scale/photo_to_awkward_" + kernel, [mode](benchmark::State& state) {
            Filtered(state, kPhoto, kAwkward, ImageFormatRGB, ImageFormatRGB, mode, -1);
        });
        slow("Scale/awkward_to_photo_" + kernel, [mode](benchmark::State& state) {
            Filtered(state, kAwkward, kPhoto, ImageFormatRGB, ImageFormatRGB, mode, -1);
        });
    }
    for (const FormatPair& pair : kPairs) {
        slow(std::string("Scale/photo_to_awkward_lanczos3_") + pair.name, [pair](benchmark::State& state) {
            Filtered(state, kPhoto, kAwkward, pair.source, pair.target, kLanczos3, -1);
        });
        slow(std::string("ScaleFast/photo_to_awkward_") + pair.name,
             [pair](benchmark::State& state) { Fast(state, kPhoto, kAwkward, pair.source, pair.target); });
    }
}

[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
