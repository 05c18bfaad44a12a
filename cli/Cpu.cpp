#include "Cpu.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "Commands.h"
#include "Errors.h"
#include "kernels/KernelTable.h"

using namespace zor;

namespace {

// ZOR_CPU as the engine reads it; set to nothing it counts as not set.
CpuWish Wish() {
    CpuWish wish = ReadCpuWish();
    if (wish.text != nullptr && *wish.text == '\0') wish.text = nullptr;
    return wish;
}

std::string Reason(const CpuWish& wish) {
    if (wish.text == nullptr) return "the best of the processor";
    if (CanRun(wish.limit)) return "the limit that ZOR_CPU sets";
    return std::string("the best below ") + NameOf(wish.limit) + ", which ZOR_CPU names and the processor lacks";
}

}  // namespace

std::string KnownCpus() {
    std::string list;
    for (const CpuTier tier : kCpuTiers) list += (list.empty() ? "" : ", ") + std::string(NameOf(tier));
    return list;
}

void CheckCpuVariable() {
    const CpuWish wish = Wish();
    if (wish.text != nullptr && !wish.known)
        throw UsageError("ZOR_CPU: '" + std::string(wish.text) + "' is no instruction set; known are " + KnownCpus());
}

// The program has the engine's kernels linked in, from the sources that the plug-in is made of, and both read the same
// environment: what is picked here is what the plug-in picks.
void PrintCpu() {
    const KernelPick& pick = ProcessKernels();
    std::string text = std::string("processor ") + NameOf(BestTier(std::end(kCpuTiers)[-1])) + ", used " +
                       NameOf(pick.tier) + ": " + Reason(Wish()) + "\n";
    std::size_t column = 0;
    for (int slot = 0; slot < kKernelSlots; ++slot) column = std::max(column, std::strlen(KernelSlotName(slot)));
    for (int slot = 0; slot < kKernelSlots; ++slot) {
        std::string name = KernelSlotName(slot);
        name.resize(column, ' ');
        text += name + "  " + NameOf(pick.twin[slot]) + "\n";
    }
    PrintText(text);
}
