#include "kernels/Touch.h"

namespace zor {

namespace {

// byte = op(channel, byte) for every channel of every pixel.
template <int kCount, class Op>
void TouchRun(const PixelRun& run, std::ptrdiff_t count, const Op op) {
    std::ptrdiff_t offset[kCount];  // copies, which the stores below cannot change
    std::copy_n(run.channels.offset, kCount, offset);
    const std::ptrdiff_t step = run.step;
    std::uint8_t* pixel = run.pixels;
    if (kCount == 1 && step == 1) {  // bytes side by side, for the compiler to make vectors of
        pixel += offset[0];
        for (std::ptrdiff_t i = 0; i < count; ++i) pixel[i] = op(0, pixel[i]);
        return;
    }
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += step) {
        for (int c = 0; c < kCount; ++c) pixel[offset[c]] = op(c, pixel[offset[c]]);
    }
}

template <int kCount>
struct StoreValues {
    std::uint8_t value[kCount];
    std::uint8_t operator()(int channel, std::uint8_t) const { return value[channel]; }
};

struct ComplementByte {
    std::uint8_t operator()(int, std::uint8_t old) const { return static_cast<std::uint8_t>(255 - old); }
};

template <int kCount>
struct LayOverByte {
    std::uint32_t oldWeight;
    std::uint32_t added[kCount];
    std::uint8_t operator()(int channel, std::uint8_t old) const {
        return static_cast<std::uint8_t>((old * oldWeight + added[channel]) >> 16);
    }
};

template <int kCount>
void Store_Plain(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* value) {
    StoreValues<kCount> store{};
    std::copy_n(value, kCount, store.value);
    TouchRun<kCount>(dst, count, store);
}

template <int kCount>
void Complement_Plain(const PixelRun& dst, std::ptrdiff_t count) {
    TouchRun<kCount>(dst, count, ComplementByte{});
}

template <int kCount>
void LayOver_Plain(const PixelRun& dst, std::ptrdiff_t count, const LayOverWeights& weights) {
    LayOverByte<kCount> layOver{weights.oldWeight, {}};
    std::copy_n(weights.added, kCount, layOver.added);
    TouchRun<kCount>(dst, count, layOver);
}

}  // namespace

void InitTouch_Plain(TouchKernels* kernels) {
    *kernels = {
        {Store_Plain<1>, Store_Plain<2>, Store_Plain<3>, Store_Plain<4>, Store_Plain<5>},
        {Complement_Plain<1>, Complement_Plain<2>, Complement_Plain<3>, Complement_Plain<4>, Complement_Plain<5>},
        {LayOver_Plain<1>, LayOver_Plain<2>, LayOver_Plain<3>, LayOver_Plain<4>, LayOver_Plain<5>}};
}

}  // namespace zor
