#pragma once
// The records of kernels that this machine can run, each made as if its set were the highest.

#include <vector>

#include "kernels/KernelTable.h"

using namespace zor;

struct KernelTier {
    const char* name;
    KernelTable table;
};

inline std::vector<KernelTier> RunnableTiers() {
    std::vector<KernelTier> tiers;
    for (const CpuTier tier : kCpuTiers) {
        if (CanRun(tier)) tiers.push_back({NameOf(tier), PickKernels(tier).table});
    }
    tiers.push_back({"picked", Kernels()});
    return tiers;
}
