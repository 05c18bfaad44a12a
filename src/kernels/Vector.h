// Included by sources of vector kernels only, each of which is compiled once for every instruction set with
// ZOR_TIER as its name. Everything in such a source is local to it but the function that fills the record, and nothing
// inline that other sources share is called from it: the linker keeps one copy of a shared function, which might be
// one for newer processors only.

#include <cstddef>
#include <cstdint>

#define HWY_COMPILE_ONLY_STATIC
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_F16C
#ifdef __i386__
#define HWY_BROKEN_TARGETS 0  // AVX2 is left out on 32-bit x86 otherwise, for the sake of compilers that failed on it
#endif
#include <hwy/highway.h>

namespace zor {

#define ZOR_JOIN_NAMES(name, tier) name##_##tier
#define ZOR_JOIN(name, tier) ZOR_JOIN_NAMES(name, tier)
// InitBytes, for example, as InitBytes_Avx2.
#define ZOR_TIER_FUNCTION(name) ZOR_JOIN(name, ZOR_TIER)

#if ZOR_TIER_IS == 1
static_assert(HWY_TARGET == HWY_SSE4);
#elif ZOR_TIER_IS == 2
static_assert(HWY_TARGET == HWY_AVX2);
#elif ZOR_TIER_IS == 3
static_assert(HWY_TARGET == HWY_NEON);
#endif

namespace hn = hwy::HWY_NAMESPACE;

}  // namespace zor
