#include "kernels/Tables.h"

namespace zor {

namespace {

void MapInTurn_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables,
                     int period) {
    const ByteTable* table = tables;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        dst[i] = table->entry[src[i]];
        if (++table == tables + period) table = tables;
    }
}

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
void Combine_Plain(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table) {
    Cursor<kCount> from(src), to(dst);
    for (std::ptrdiff_t i = 0; i < count; ++i, ++from, ++to) {
        for (int c = 0; c < kCount; ++c) to[c] = table.entry[to[c]][from[c]];
    }
}

}  // namespace

void InitTables_Plain(TablesKernels* kernels) {
    *kernels = {MapInTurn_Plain,
                {Combine_Plain<1>, Combine_Plain<2>, Combine_Plain<3>, Combine_Plain<4>, Combine_Plain<5>}};
}

}  // namespace zor
