// The hot loops of the resampler by themselves.

#include <benchmark/benchmark.h>

#include <vector>

#include "scale/Contributions.h"
#include "scale/RowOps.h"

namespace {

void AccumulateRows(benchmark::State& state) {
    const auto count = static_cast<std::ptrdiff_t>(state.range(0));
    const int rowCount = ScaleRowOps::kRowsAtOnce;
    const std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count * rowCount), 99);
    std::vector<double> sums(static_cast<std::size_t>(count));
    const std::uint8_t* rows[ScaleRowOps::kRowsAtOnce];
    double weights[ScaleRowOps::kRowsAtOnce];
    for (int k = 0; k < rowCount; ++k) {
        rows[k] = bytes.data() + k * count;
        weights[k] = 0.1 * (k + 1);
    }
    for (auto _ : state) {
        PickedScaleRowOps().accumulateRows(sums.data(), rows, weights, rowCount, count);
        benchmark::DoNotOptimize(sums.data());
    }
    state.SetItemsProcessed(state.iterations() * count * rowCount);
}
BENCHMARK(AccumulateRows)->Arg(997)->Arg(6000);

// Lanczos3 to a quarter; range 0: channels, range 1: 0 for one row, 1 for a block.
void ResampleRows(benchmark::State& state) {
    constexpr int kColumns = 1500, kSamples = 6000;
    const int channels = static_cast<int>(state.range(0));
    const HorizontalOps& ops = PickedScaleRowOps().plain[channels][state.range(1)];
    ContributionTable table;
    TapTable taps;
    if (!table.Allocate(kColumns)) return state.SkipWithError("no memory");
    table.Build(*KernelOfMode(3), ScaleAxis::kHorizontal, 0.25, kSamples, kColumns, nullptr);
    if (!taps.Build(table.lists(), kColumns)) return state.SkipWithError("no memory");
    const std::vector<double> block(static_cast<std::size_t>((kSamples + taps.taps()) * channels * ops.rows), 77.0);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kColumns * channels * ops.rows));
    for (auto _ : state) {
        ops.resample(block.data(), taps, bytes.data());
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetItemsProcessed(state.iterations() * kColumns * channels * ops.rows * taps.taps());
}
BENCHMARK(ResampleRows)->ArgsProduct({{1, 2, 3, 4, 5}, {0, 1}});

}  // namespace
