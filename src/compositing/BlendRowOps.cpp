#include "compositing/BlendRowOps.h"

#include "compositing/BlendRowLoops.h"

BlendRowOps BlendRowOps_Plain() {
    return OpsOfThisTier();
}

const BlendRowOps& PickedBlendRowOps() {
    static const BlendRowOps picked = [] {
#ifdef ZOR_HAS_AVX2_TWINS
        if (__builtin_cpu_supports("avx2")) return BlendRowOps_Avx2();
#endif
        return BlendRowOps_Plain();
    }();
    return picked;
}
