#pragma once
// The resampler as a whole: tables, then both passes, on this thread or on workers.

#include "core/ImageClassData.h"
#include "kernels/KernelTable.h"
#include "scale/FilterKernels.h"
#include "scale/Pairs.h"

namespace zor {

// All images have been checked. width and height say what is written, not what the target has room for.
struct ResampleRequest {
    ImageClassData* dst;
    ImageClassData* src;
    ImageClassData* temp;
    const FilterKernel* kernel;
    const ScalePair* pair;
    int width;
    int height;
    bool threaded;  // no turns for the host but those of the fan-out
    int threads;    // for RunThreads, where threaded
    const KernelTable* kernels;
};

// False when the tables cannot be allocated; the target is unchanged then. May be left by an exception out of a turn
// that the host was given.
[[nodiscard]] bool Resample(const ResampleRequest& request);

// The work functions of the two passes; data is a HorizontalJob and a VerticalJob.
void PictureScale3mt(int first, int last, int index, signed char threaded, void const* data);
void PictureScale6mt(int first, int last, int index, signed char threaded, void const* data);

}  // namespace zor
