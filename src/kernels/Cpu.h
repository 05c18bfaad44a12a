#pragma once
// The instruction sets that kernels are compiled for, and which of them may be used.

#include <string_view>

namespace zor {

// In ascending order on each kind of processor. Plain code is what defines the results.
enum class CpuTier : unsigned char { plain, sse4, avx2, neon };
constexpr CpuTier kCpuTiers[] = {CpuTier::plain, CpuTier::sse4, CpuTier::avx2, CpuTier::neon};

// "plain", "sse4", "avx2", "neon".
const char* NameOf(CpuTier tier);

// False for a name that is none of these; tier is then unchanged.
bool TierFromName(std::string_view name, CpuTier* tier);

// True if there are kernels for this set in this build and the processor has it.
bool CanRun(CpuTier tier);

// The highest set that the processor can run, not above the limit. A limit of another kind of processor limits
// nothing away but what this one lacks: on ARM, sse4 and avx2 leave plain.
CpuTier BestTier(CpuTier limit);

// What the environment variable ZOR_CPU says, for a picture that looks wrong: with ZOR_CPU=plain it is made by plain
// code only.
struct CpuWish {
    const char* text;  // the variable's value; null if it is not set
    bool known;        // it names a set
    CpuTier limit;     // the set; where none is named, the highest of this kind of processor
};
CpuWish ReadCpuWish();

}  // namespace zor
