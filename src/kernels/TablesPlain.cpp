#include "kernels/Tables.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace zor {

// --- curves ---------------------------------------------------------------------------------------------------------

namespace {

constexpr int kRowLength = 16;

// What the entries of a row are above the line of that slope: false if those are more than two values side by side.
bool FitLine(const std::uint8_t* row, int slope, int (&above)[kRowLength]) {
    for (int l = 0; l < kRowLength; ++l) above[l] = row[l] - (slope * l >> 4);
    const auto [least, most] = std::minmax_element(std::begin(above), std::end(above));
    return *most - *least <= 1;
}

// The slopes about that from the first entry to the last, which is where those that fit are.
bool FitLine(const std::uint8_t* row, int* slope, int (&above)[kRowLength]) {
    constexpr int kAbout = 4;
    const int rise = (row[kRowLength - 1] - row[0]) * 16 / (kRowLength - 1);
    for (int away = 0; away <= kAbout; ++away) {
        for (const int side : {-1, 1}) {
            *slope = rise + side * away;
            if (*slope >= -128 && *slope <= 127 && FitLine(row, *slope, above)) return true;
        }
    }
    return false;
}

}  // namespace

ByteCurve CurveOf(const ByteTable& table) {
    ByteCurve curve{table, true, {}, {}, {}, 0, {}, {}};
    for (int h = 0; h < ByteCurve::kRows; ++h) {
        const std::uint8_t* const row = table.entry + kRowLength * h;
        int slope, above[kRowLength];
        if (FitLine(row, &slope, above)) {
            const int base = *std::min_element(std::begin(above), std::end(above));
            curve.slope[h] = static_cast<std::int8_t>(slope);
            curve.base[h] = static_cast<std::uint8_t>(base);
            for (int l = 0; l < kRowLength; ++l) {
                curve.bits[h / 8][l] = static_cast<std::uint8_t>(curve.bits[h / 8][l] | (above[l] - base) << h % 8);
            }
        } else if (curve.rough < ByteCurve::kRough) {
            curve.base[h] = row[0];
            curve.start[curve.rough] = static_cast<std::uint8_t>(kRowLength * h);
            for (int l = 0; l < kRowLength; ++l) {
                curve.more[curve.rough][l] = static_cast<std::uint8_t>(row[l] - row[0]);
            }
            ++curve.rough;
        } else {
            curve.smooth = false;
            break;
        }
    }
    return curve;
}

namespace {

void MapInTurn_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves,
                     int period) {
    const ByteCurve* curve = curves;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        dst[i] = curve->table.entry[src[i]];
        if (++curve == curves + period) curve = curves;
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
