// The blurs, the convolution, the unsharp mask and the turns on a 24 megapixel photo, as a user waits for them, beside
// a plain copy of the same bytes. One thread.

#include <benchmark/benchmark.h>

#include <cstring>
#include <map>

#include "BenchImage.h"
#include "core/Formats.h"
#include "filters/ApplyMatrix.h"
#include "filters/BoxBlur.h"
#include "filters/FractionalBlur.h"
#include "filters/FreeRotation.h"
#include "filters/Mirror.h"
#include "filters/RightAngle.h"
#include "filters/Unsharp.h"
#include "host/HostCalls.h"

using namespace zor;

namespace {

constexpr int kWidth = 6000, kHeight = 4000;

void CountPixels(benchmark::State& state) {
    const double pixels = static_cast<double>(kWidth) * kHeight * static_cast<double>(state.iterations());
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
}

void Copy(benchmark::State& state, int format) {
    const BenchImage source(kWidth, kHeight, format), dest(kWidth, kHeight, format);
    for (auto _ : state) {
        std::memcpy(dest.record()->Pixels, source.record()->Pixels,
                    static_cast<std::size_t>(source.record()->TotalSize));
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

template <class Filter>
void IntoImage(benchmark::State& state, int format, int width, int height, Filter filter) {
    const BenchImage source(kWidth, kHeight, format), dest(width, height, format);
    for (auto _ : state) {
        if (filter(source.object(), dest.object()) != dest.object()) return state.SkipWithError("no result");
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void InPlace(benchmark::State& state, int format, void (*method)(REALobject)) {
    const BenchImage image(kWidth, kHeight, format);
    for (auto _ : state) {
        method(image.object());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void Unsharp(benchmark::State& state, int format) {
    const BenchImage image(kWidth, kHeight, format), blurred(kWidth, kHeight, format);
    BoxBlurFilter(image.object(), blurred.object(), 2.0, true, true);
    for (auto _ : state) {
        if (!unsharpFilter(image.object(), blurred.object(), 0.5, 3)) return state.SkipWithError("no result");
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

// A matrix without a host: the array is a plain one.
constexpr int kSharpen[9] = {-1, -1, -1, -1, 16, -1, -1, -1, -1};
int CountOfMatrix(REALarray) {
    return 8;
}
int ValueOfMatrix(REALarray, int index) {
    return kSharpen[index];
}

// As much of a host as counts locks, for methods that make images.
std::map<REALobject, int> locks;
REALobject NewObject(const char*) {
    const auto object =
        static_cast<REALobject>(std::calloc(static_cast<std::size_t>(ImageClass.hostSlot) + sizeof(ImageClassData), 1));
    locks[object] = 1;
    return object;
}
void LockObject(REALobject object) {
    ++locks[object];
}
void UnlockObject(REALobject object) {
    if (--locks[object] > 0) return;
    locks.erase(object);
    ImageDestructor(object);
    std::free(object);
}

void* Resolve(const char* name) {
    if (std::strcmp(name, "PluginNewInstance") == 0) return reinterpret_cast<void*>(NewObject);
    if (std::strcmp(name, "REALLockObject") == 0) return reinterpret_cast<void*>(LockObject);
    if (std::strcmp(name, "REALUnlockObject") == 0) return reinterpret_cast<void*>(UnlockObject);
    if (std::strcmp(name, "RuntimeUBound") == 0) return reinterpret_cast<void*>(CountOfMatrix);
    if (std::strcmp(name, "RuntimeDirectReadIntArray") == 0) return reinterpret_cast<void*>(ValueOfMatrix);
    return nullptr;
}
int anything;

void Matrix(benchmark::State& state, int format, double scale) {
    gResolver = Resolve;
    const REALarray array = reinterpret_cast<REALarray>(&anything);
    IntoImage(state, format, kWidth, kHeight,
              [=](REALobject s, REALobject d) { return PictureMatrix5(s, d, 3, array, 0, scale); });
}

void BoxBlur(benchmark::State& state, int format, double radius, bool vertical, bool horizontal) {
    IntoImage(state, format, kWidth, kHeight,
              [=](REALobject s, REALobject d) { return BoxBlurFilter(s, d, radius, vertical, horizontal); });
}

void Fractional(benchmark::State& state, int format) {
    IntoImage(state, format, kWidth, kHeight,
              [](REALobject s, REALobject d) { return BoxBlurFractionalFilter(s, d, 0.4); });
}

using Turn = REALobject (*)(REALobject, REALobject);

void HalfTurn(benchmark::State& state, int format) {
    IntoImage(state, format, kWidth, kHeight, Rotate180);
}
void QuarterTurn(benchmark::State& state, int format, Turn turn) {
    IntoImage(state, format, kHeight, kWidth, turn);
}

void FreeTurn(benchmark::State& state, int format, double angle) {
    gResolver = Resolve;
    const BenchImage source(kWidth, kHeight, format);
    locks[source.object()] = 1;
    for (auto _ : state) {
        const REALobject result = rbRotate(source.object(), angle, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        if (!result) return state.SkipWithError("no result");
        benchmark::ClobberMemory();
        UnlockObject(result);
    }
    locks.erase(source.object());
    CountPixels(state);
}

constexpr int kRGB = ImageFormatRGB, kRGBA = ImageFormatRGBA, kG = ImageFormatG, kRGBX = ImageFormatRGBX;

#define MEASURE(function, ...) BENCHMARK_CAPTURE(function, __VA_ARGS__)->Unit(benchmark::kMillisecond)

MEASURE(Copy, rgb, kRGB);
MEASURE(Copy, rgba, kRGBA);
MEASURE(Copy, gray, kG);
MEASURE(BoxBlur, rgb_v2, kRGB, 2.0, true, false);
MEASURE(BoxBlur, rgb_v50, kRGB, 50.0, true, false);
MEASURE(BoxBlur, rgb_v500, kRGB, 500.0, true, false);
MEASURE(BoxBlur, rgb_h2, kRGB, 2.0, false, true);
MEASURE(BoxBlur, rgb_h50, kRGB, 50.0, false, true);
MEASURE(BoxBlur, rgb_h500, kRGB, 500.0, false, true);
MEASURE(BoxBlur, rgb_vh5, kRGB, 5.0, true, true);
MEASURE(BoxBlur, rgbx_vh5, kRGBX, 5.0, true, true);
MEASURE(Fractional, rgb, kRGB);
MEASURE(InPlace, rgb_HMirror, kRGB, HMirrorSelf);
MEASURE(InPlace, rgba_HMirror, kRGBA, HMirrorSelf);
MEASURE(InPlace, gray_HMirror, kG, HMirrorSelf);
MEASURE(InPlace, rgb_VMirror, kRGB, VMirrorSelf);
MEASURE(InPlace, rgb_Rotate180, kRGB, Rotate180Self);
MEASURE(HalfTurn, rgb, kRGB);
MEASURE(HalfTurn, rgba, kRGBA);
MEASURE(HalfTurn, gray, kG);
MEASURE(QuarterTurn, rgb_90, kRGB, Rotate90fast);
MEASURE(QuarterTurn, rgb_270, kRGB, Rotate270fast);
MEASURE(QuarterTurn, rgba_90, kRGBA, Rotate90fast);
MEASURE(QuarterTurn, gray_90, kG, Rotate90fast);
MEASURE(FreeTurn, rgb_30, kRGB, 30.0);
MEASURE(FreeTurn, rgb_2, kRGB, 2.0);
MEASURE(FreeTurn, rgb_120, kRGB, 120.0);
MEASURE(FreeTurn, rgb_45, kRGB, 45.0);
MEASURE(FreeTurn, rgbx_30, kRGBX, 30.0);
MEASURE(FreeTurn, rgba_30, kRGBA, 30.0);
MEASURE(FreeTurn, gray_30, kG, 30.0);
MEASURE(Matrix, rgb_3x3, kRGB, 1.0);
MEASURE(Matrix, rgb_3x3_scaled, kRGB, 0.125);
MEASURE(Unsharp, rgb, kRGB);

}  // namespace
