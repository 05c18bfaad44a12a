#include "kernels/Cpu.h"

#include <cstdlib>

namespace zor {

namespace {

struct TierName {
    CpuTier tier;
    std::string_view name;
};
constexpr TierName kNames[] = {
    {CpuTier::plain, "plain"}, {CpuTier::sse4, "sse4"}, {CpuTier::avx2, "avx2"}, {CpuTier::neon, "neon"}};

#if defined(ZOR_KERNELS_NEON)
constexpr CpuTier kHighest = CpuTier::neon;
#elif defined(ZOR_KERNELS_X86)
constexpr CpuTier kHighest = CpuTier::avx2;
#else
constexpr CpuTier kHighest = CpuTier::plain;
#endif

}  // namespace

const char* NameOf(CpuTier tier) {
    return kNames[static_cast<int>(tier)].name.data();
}

bool TierFromName(std::string_view name, CpuTier* tier) {
    for (const TierName& each : kNames) {
        if (each.name != name) continue;
        *tier = each.tier;
        return true;
    }
    return false;
}

bool CanRun(CpuTier tier) {
#if defined(ZOR_KERNELS_X86)
    __builtin_cpu_init();
    if (tier == CpuTier::sse4) return __builtin_cpu_supports("sse4.2");
    if (tier == CpuTier::avx2) {
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi") &&
               __builtin_cpu_supports("bmi2");
    }
#elif defined(ZOR_KERNELS_NEON)
    if (tier == CpuTier::neon) return true;  // every processor that this build runs on has it
#endif
    return tier == CpuTier::plain;
}

CpuTier BestTier(CpuTier limit) {
    CpuTier best = CpuTier::plain;
    for (const CpuTier tier : kCpuTiers) {
        if (tier <= limit && CanRun(tier)) best = tier;
    }
    return best;
}

CpuWish ReadCpuWish() {
    CpuWish wish{std::getenv("ZOR_CPU"), false, kHighest};
    if (wish.text) wish.known = TierFromName(wish.text, &wish.limit);
    return wish;
}

}  // namespace zor
