#include "kernels/Tables.h"

namespace {

// The offsets of a run, which stores cannot change here.
template <int kCount>
struct Offsets {
    explicit Offsets(const PixelRun& run) { std::copy_n(run.channels.offset, kCount, at); }
    std::ptrdiff_t at[kCount];
};

// tableOf(channel) for the pixel that is next.
template <int kCount, class TableOf>
void MapRun(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, TableOf tableOf) {
    const Offsets<kCount> from(src), to(dst);
    const std::ptrdiff_t srcStep = src.step, dstStep = dst.step;
    const std::uint8_t* read = src.pixels;
    std::uint8_t* written = dst.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, read += srcStep, written += dstStep) {
        const auto tables = tableOf();
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) samples[c] = tables(c).entry[read[from.at[c]]];
        for (int c = 0; c < kCount; ++c) written[to.at[c]] = samples[c];
    }
}

template <int kCount>
void Map_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const ByteTable* tables) {
    MapRun<kCount>(dst, src, count,
                   [tables] { return [tables](int channel) -> const ByteTable& { return tables[channel]; }; });
}

template <int kCount>
void Cycle_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const TableCycle& cycle) {
    const ByteTable* const first = cycle.tables;
    const ByteTable* const end = first + cycle.length;
    const ByteTable* next = first + cycle.first;
    MapRun<kCount>(dst, src, count, [first, end, &next] {
        const ByteTable* const table = next;
        if (++next == end) next = first;
        return [table](int) -> const ByteTable& { return *table; };
    });
}

template <int kCount>
void Combine_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table) {
    const Offsets<kCount> from(src), to(dst);
    const std::ptrdiff_t srcStep = src.step, dstStep = dst.step;
    const std::uint8_t* read = src.pixels;
    std::uint8_t* written = dst.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, read += srcStep, written += dstStep) {
        for (int c = 0; c < kCount; ++c) {
            std::uint8_t* const byte = written + to.at[c];
            *byte = table.entry[*byte][read[from.at[c]]];
        }
    }
}

}  // namespace

void InitTables_Plain(TablesKernels* kernels) {
    *kernels = {{Map_Plain<1>, Map_Plain<2>, Map_Plain<3>, Map_Plain<4>, Map_Plain<5>},
                {Cycle_Plain<1>, Cycle_Plain<2>, Cycle_Plain<3>, Cycle_Plain<4>, Cycle_Plain<5>},
                {Combine_Plain<1>, Combine_Plain<2>, Combine_Plain<3>, Combine_Plain<4>, Combine_Plain<5>}};
}
