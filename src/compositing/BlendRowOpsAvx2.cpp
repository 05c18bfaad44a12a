// Compiled for processors with AVX2, and nothing else may go in here.
#include "compositing/BlendRowLoops.h"

BlendRowOps BlendRowOps_Avx2() {
    return OpsOfThisTier();
}
