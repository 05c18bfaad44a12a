#pragma once
// The record of all kernels. An operation takes it once, outside its loops, and hands it or the functions in it along.
//
// A kernel is a loop over bytes that knows no image and no host. It has a plain twin, which defines the result, and
// where it pays twins for instruction sets; all twins of a slot give the same bytes. CONTRIBUTING.md tells how to add
// one.

#include "kernels/Blend.h"
#include "kernels/Blur.h"
#include "kernels/Bytes.h"
#include "kernels/Convert.h"
#include "kernels/Cpu.h"
#include "kernels/Cubic.h"
#include "kernels/Export.h"
#include "kernels/Geometry.h"
#include "kernels/Matrix.h"
#include "kernels/Nearest.h"
#include "kernels/Oil.h"
#include "kernels/Pack.h"
#include "kernels/Scaling.h"
#include "kernels/Swizzle.h"
#include "kernels/Tables.h"
#include "kernels/Tone.h"
#include "kernels/Touch.h"
#include "kernels/Weighed.h"
#include "kernels/Windows.h"
#include "kernels/Words.h"

namespace zor {

// Nothing but function pointers, all of them filled.
struct KernelTable {
    BytesKernels bytes;
    BlendKernels blend;
    MatrixKernels matrix;
    SwizzleKernels swizzle;
    PackKernels pack;
    ConvertKernels convert;
    WordsKernels words;
    TouchKernels touch;
    ExportKernels exports;
    NearestKernels nearest;
    ScalingKernels scaling;
    WeighedKernels weighed;
    TablesKernels tables;
    ToneKernels tone;
    BlurKernels blur;
    WindowKernels windows;
    GeometryKernels geometry;
    CubicKernels cubic;
    OilKernels oil;
};

constexpr int kKernelSlots = static_cast<int>(sizeof(KernelTable) / sizeof(void (*)()));

// "bytes.map", for example, in the order of the record.
const char* KernelSlotName(int slot);

// A record and the set that each of its twins is of.
struct KernelPick {
    KernelTable table;
    CpuTier tier;                // the highest set that was taken from
    CpuTier twin[kKernelSlots];  // by slot
};

// Plain twins first, overwritten by those of each set that the processor has, up to the limit.
KernelPick PickKernels(CpuTier limit);

// The pick of this process: made once, at the first call, by what ZOR_CPU says. A value that names no set counts as
// none.
const KernelPick& ProcessKernels();

inline const KernelTable& Kernels() {
    return ProcessKernels().table;
}

}  // namespace zor
