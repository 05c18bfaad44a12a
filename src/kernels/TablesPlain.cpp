#include "kernels/Tables.h"

namespace zor {

namespace {

// Goes along a run. Channels are told from the first one, which leaves the loops below a register more.
template <int kCount>
class Cursor {
public:
    explicit Cursor(const PixelRun& run) : pixel_(run.pixels + run.channels.offset[0]), step_(run.step) {
        for (int c = 0; c < kCount; ++c) at_[c] = run.channels.offset[c] - run.channels.offset[0];
    }
    std::uint8_t& operator[](int channel) const { return channel == 0 ? *pixel_ : pixel_[at_[channel]]; }
    void operator++() { pixel_ += step_; }

private:
    std::uint8_t* pixel_;
    std::ptrdiff_t step_;
    std::ptrdiff_t at_[kCount];
};

template <int kCount>
void Map_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const ByteTable* tables) {
    Cursor<kCount> from(src), to(dst);
    for (std::ptrdiff_t i = 0; i < count; ++i, ++from, ++to) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) samples[c] = tables[c].entry[from[c]];
        for (int c = 0; c < kCount; ++c) to[c] = samples[c];
    }
}

template <int kCount>
void Cycle_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const TableCycle& cycle) {
    Cursor<kCount> from(src), to(dst);
    const ByteTable* const first = cycle.tables;
    const ByteTable* const end = first + cycle.length;
    const ByteTable* table = first + cycle.first;
    for (std::ptrdiff_t i = 0; i < count; ++i, ++from, ++to) {
        std::uint8_t samples[kCount];
        for (int c = 0; c < kCount; ++c) samples[c] = table->entry[from[c]];
        for (int c = 0; c < kCount; ++c) to[c] = samples[c];
        if (++table == end) table = first;
    }
}

template <int kCount>
void Combine_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table) {
    Cursor<kCount> from(src), to(dst);
    for (std::ptrdiff_t i = 0; i < count; ++i, ++from, ++to) {
        for (int c = 0; c < kCount; ++c) to[c] = table.entry[to[c]][from[c]];
    }
}

}  // namespace

void InitTables_Plain(TablesKernels* kernels) {
    *kernels = {{Map_Plain<1>, Map_Plain<2>, Map_Plain<3>, Map_Plain<4>, Map_Plain<5>},
                {Cycle_Plain<1>, Cycle_Plain<2>, Cycle_Plain<3>, Cycle_Plain<4>, Cycle_Plain<5>},
                {Combine_Plain<1>, Combine_Plain<2>, Combine_Plain<3>, Combine_Plain<4>, Combine_Plain<5>}};
}

}  // namespace zor
