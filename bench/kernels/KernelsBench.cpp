// Every slot of the record of kernels with every set that the machine can run, by the names of the one test.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "kernels/KernelCases.h"

using namespace zor;

namespace {

constexpr std::ptrdiff_t kUnits = 4093;  // a row of a picture, of no round width
constexpr std::size_t kRoom = 128;

void RunKernel(benchmark::State& state, const KernelCase& kernel, const KernelTable& table) {
    const std::size_t size = static_cast<std::size_t>(kUnits) * KernelBytes::kMaxBytesPerUnit + 2 * kRoom;
    std::vector<std::uint8_t> inputs[KernelBytes::kInputs], output(size);
    KernelBytes bytes{};
    std::uint32_t noise = 1;
    for (int i = 0; i < KernelBytes::kInputs; ++i) {
        inputs[i].resize(size);
        for (std::uint8_t& byte : inputs[i]) {
            noise = noise * 1664525 + 1013904223;
            byte = static_cast<std::uint8_t>(noise >> 24);
        }
        bytes.in[i] = inputs[i].data() + kRoom;
    }
    bytes.out = output.data() + kRoom;
    const std::size_t count = static_cast<std::size_t>(kUnits) * KernelBytes::kMaxNumbersPerUnit;
    const std::vector<double> numbersIn(count + KernelBytes::kMoreNumbers, 77.7);
    std::vector<double> numbersOut(count);
    bytes.numbersIn = numbersIn.data();
    bytes.numbersOut = numbersOut.data();
    bytes.choice = 9;
    for (auto _ : state) {
        kernel.run(table, bytes, kUnits);
        benchmark::ClobberMemory();
    }
    state.counters["units/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kUnits, benchmark::Counter::kIsRate);
}

}  // namespace

int main(int argc, char** argv) {
    static std::vector<KernelPick> picks;
    for (const CpuTier tier : kCpuTiers) {
        if (CanRun(tier)) picks.push_back(PickKernels(tier));
    }
    for (int slot = 0; slot < kKernelSlots; ++slot) {
        const KernelCase* const kernel = CaseOfSlot(KernelSlotName(slot));
        if (!kernel) {
            std::fprintf(stderr, "bench_kernels: %s has no case\n", KernelSlotName(slot));
            return 1;
        }
        for (const KernelPick& pick : picks) {
            if (pick.twin[slot] != pick.tier) continue;  // no twin of its own
            const std::string name = std::string(kernel->slot) + "/" + NameOf(pick.tier);
            benchmark::RegisterBenchmark(name.c_str(), RunKernel, *kernel, pick.table);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
