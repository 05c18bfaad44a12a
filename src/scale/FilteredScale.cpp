#include "scale/FilteredScale.h"

#include "core/Factory.h"
#include "core/ImageClassData.h"
#include "scale/FilterKernels.h"
#include "scale/Pairs.h"
#include "scale/Resample.h"

namespace zor {

namespace {

// A factory that gives another format than asked for is asked again, as it may choose otherwise the next time.
constexpr int kMaxRounds = 16;

enum class Round { kDone, kFailed, kWrongFormat };

bool CheckAndYield(ImageClassData* record) {
    if (!IsUsable(record)) return false;
    YieldIfAsked(record);
    return true;
}

Round RunRound(ResampleRequest request, REALobject suppliedTemp) {
    if (suppliedTemp && !ImageDataOf(suppliedTemp)->Valid) return Round::kFailed;
    if (!request.dst->Valid || !request.src->Valid) return Round::kFailed;
    request.pair = PairOf(request.src, request.dst);
    if (!request.pair) return Round::kFailed;

    const ObjectHolder made(
        suppliedTemp ? nullptr
                     : CreatePicture(request.src, request.width, request.src->Height, request.pair->tempFormat));
    const REALobject temp = suppliedTemp ? suppliedTemp : made.get();
    if (!temp) return Round::kFailed;
    request.temp = ImageDataOf(temp);
    if (made.get()) {
        if (!request.temp->Valid) return Round::kFailed;
        if (request.temp->ImageFormat != request.pair->tempFormat) return Round::kWrongFormat;
        if (request.temp->IsMapping) return Round::kFailed;
    }

    if (!request.temp->Valid || !request.dst->Valid) return Round::kFailed;
    if (!CheckAndYield(request.src)) return Round::kFailed;
    if (!CheckAndYield(request.dst)) return Round::kFailed;
    if (!CheckAndYield(request.temp)) return Round::kFailed;
    return Resample(request) ? Round::kDone : Round::kFailed;
}

// The kernel function of a mode; null kernel: no such mode.
bool ScaleWithKernel(const FilterKernel* kernel, REALobject dst, REALobject src, REALobject temp, int width, int height,
                     bool threaded, int threads) {
    if (!kernel) return false;
    ResampleRequest request{};
    request.dst = ImageDataOf(dst);
    request.src = ImageDataOf(src);
    request.kernel = kernel;
    request.width = width;
    request.height = height;
    request.threaded = threaded;
    request.threads = threads;
    request.kernels = &Kernels();
    Round round = RunRound(request, temp);
    // Only a temporary image made here can have the wrong format. Every further round runs on this thread.
    request.threaded = false;
    for (int rounds = 1; round == Round::kWrongFormat && rounds < kMaxRounds; ++rounds) {
        round = RunRound(request, nullptr);
    }
    return round == Round::kDone;
}

}  // namespace

REALboolean PictureScaleZOR(REALobject dst, REALobject src, REALobject temp, int mode, int width, int height) {
    if (!dst || !src || width <= 0 || height <= 0) return 0;
    return ScaleWithKernel(KernelOfMode(mode), dst, src, temp, width, height, false, 0) ? 1 : 0;
}

REALboolean PictureScaleZORMT(REALobject dst, int threads, REALobject src, REALobject temp, int mode, int width,
                              int height) {
    if (!dst || !src || width <= 0 || height <= 0) return 0;
    // A window that moves belongs to one thread.
    if (ImageDataOf(src)->IsMapping || ImageDataOf(dst)->IsMapping) {
        return PictureScaleZOR(dst, src, temp, mode, width, height);
    }
    return ScaleWithKernel(KernelOfMode(mode), dst, src, temp, width, height, true, threads) ? 1 : 0;
}

}  // namespace zor
