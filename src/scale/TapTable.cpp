#include "scale/TapTable.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace zor {

namespace {

// --- integers for weights -------------------------------------------------------------------------------------------
//
// A list's result is the sum of b_k * s_k over its taps, where b_k is a byte and s_k the share of the weight in the
// weight sum. Let c_k be integers near s_k * 2^shift, and e_k = s_k * 2^shift - c_k what they leave. Then
//
//     2^shift * sum(b_k * s_k) - sum(b_k * c_k) = sum(b_k * e_k)
//                                               = sum((b_k - 127.5) * e_k) + 127.5 * sum(e_k)
//
// and since |b_k - 127.5| is at most 127.5, the integers are off by at most
//
//     127.5 * (sum|e_k| + |sum(e_k)|).
//
// So roundings are chosen that add up to nothing as nearly as whole numbers can. The fine integers stand for e_k in the
// same way, and leave what is bounded in the same way, counted in 2^-(shift + fineShift).
//
// Bytes that lie within d levels of each other are at most d / 2 from the middle of them, which is at most 255; with it
// in place of 127.5,
//
//     d / 2 * sum|e_k| + 255 * |sum(e_k)|.
//
// The result that is to be met is itself a sum in double precision. A product of byte and weight is exact (8 and 24
// bits); of luma, byte * factor * weight, it has two roundings. Every addition adds one, at most 2^-53 of a partial
// sum, which is at most 255 * sum|s_k| times the weight sum, and so do the division and the half that is added for the
// nearest. That is covered by (4 * count + 16) * 2^-53 * 255 * sum|s_k|.

// One weight is below 2^15, as a tap is taken by a multiplication of 16 bits; all together stay far from 2^31.
constexpr double kMaxInteger = 32766.0;
constexpr double kMaxSum = static_cast<double>(1 << 29);
constexpr int kMaxShift = 20, kMinShift = 4, kMaxFineShift = 14, kMaxShifts = 30;
// Beyond, sums of rounding errors are no longer small, and nothing is gained.
constexpr int kMaxTaps = 1 << 14;

double SumOfSizes(const double* values, int count) {
    return std::accumulate(values, values + count, 0.0,
                           [](double sum, double value) { return sum + std::fabs(value); });
}

// The nearest integers, but for as many of them as it takes to make their sum the nearest to that of the values.
// `order` is working memory for as many numbers.
void RoundWithTheirSum(const double* values, int count, std::int16_t* integers, int* order) {
    double sum = 0.0, rounded = 0.0;
    for (int k = 0; k < count; ++k) {
        integers[k] = static_cast<std::int16_t>(std::nearbyint(values[k]));
        sum += values[k];
        rounded += integers[k];
    }
    int missing = static_cast<int>(std::nearbyint(sum - rounded));
    if (missing == 0) return;
    const int step = missing > 0 ? 1 : -1;
    missing = std::min(missing * step, count);
    std::iota(order, order + count, 0);
    std::nth_element(order, order + (missing - 1), order + count,
                     [&](int a, int b) { return step * (values[a] - integers[a]) > step * (values[b] - integers[b]); });
    for (int i = 0; i < missing; ++i) {
        std::int16_t& integer = integers[order[i]];
        integer = static_cast<std::int16_t>(integer + step);
    }
}

// What integers leave of values: the sum of it, and that of the sizes.
struct Rest {
    double sum = 0.0, sizes = 0.0;

    // For any bytes, and for bytes within `levels` of each other.
    double Bound() const { return 127.5 * (sizes + std::fabs(sum)); }
    double BoundWithin(double levels) const { return levels / 2.0 * sizes + 255.0 * std::fabs(sum); }
};

// The values become what the integers leave of them.
Rest TakeOff(const std::int16_t* integers, int count, double* values) {
    Rest rest;
    for (int k = 0; k < count; ++k) {
        values[k] -= static_cast<double>(integers[k]);
        rest.sum += values[k];
        rest.sizes += std::fabs(values[k]);
    }
    return rest;
}

IntegerForm NoForm(int count, std::int16_t* coarse, std::int16_t* fine) {
    std::fill_n(coarse, count, std::int16_t{0});
    std::fill_n(fine, count, std::int16_t{0});
    return {};
}

// The largest shift that these shares allow; below kMinShift: none.
int ShiftFor(const double* shares, int count) {
    double largest = 0.0;
    for (int k = 0; k < count; ++k) largest = std::max(largest, std::fabs(shares[k]));
    const double all = 255.0 * SumOfSizes(shares, count);
    int shift = kMaxShift;
    while (shift >= kMinShift && !(std::ldexp(largest, shift) <= kMaxInteger && std::ldexp(all, shift) <= kMaxSum)) {
        --shift;
    }
    return shift;
}

// Equal weights of 1 make a mean, a whole number of 1/n. Shares rounded up are off by less than half of that for any
// bytes if n * 255 * (integer / 2^shift - 1 / n) is below 1 / 2n; so the byte, and also the nearest one, is always that
// of the mean.
bool MakeMean(const float* weights, int count, double weightSum, int shift, std::int16_t* coarse) {
    int n = 0;
    for (int k = 0; k < count; ++k) {
        if (weights[k] == 0.0F) continue;
        if (weights[k] != 1.0F) return false;
        ++n;
    }
    if (n == 0 || static_cast<double>(n) != weightSum) return false;
    const std::int64_t one = std::int64_t{1} << shift, integer = (one + n - 1) / n;
    if (integer > static_cast<std::int64_t>(kMaxInteger) || 2 * 255 * n * (integer * n - one) >= one) return false;
    for (int k = 0; k < count; ++k) coarse[k] = static_cast<std::int16_t>(weights[k] == 0.0F ? 0 : integer);
    return true;
}

}  // namespace

IntegerMaker::IntegerMaker(int mostTaps)
    : doubles_(3, std::min(mostTaps, kMaxTaps)), order_(std::min(mostTaps, kMaxTaps)) {
    const int room = std::min(mostTaps, kMaxTaps);
    shares_ = doubles_.get();
    if (!shares_) return;
    rest_ = shares_ + room;
    finest_ = rest_ + room;
}

IntegerForm IntegerMaker::OfShares(const double* shares, int count, std::int16_t* coarse, std::int16_t* fine) const {
    const double sizes = SumOfSizes(shares, count);
    if (count > kMaxTaps || !(sizes < 64.0)) return NoForm(count, coarse, fine);
    const int shift = ShiftFor(shares, count);
    if (shift < kMinShift) return NoForm(count, coarse, fine);
    const double rounding = (4.0 * count + 16.0) * std::ldexp(255.0 * sizes, -53);

    const double scale = std::ldexp(1.0, shift);
    for (int k = 0; k < count; ++k) rest_[k] = shares[k] * scale;
    RoundWithTheirSum(rest_, count, coarse, order_.get());
    IntegerForm form{};
    form.usable = true;
    form.shift = static_cast<std::int8_t>(shift);
    const Rest rest = TakeOff(coarse, count, rest_);
    const double rounded = std::ldexp(rounding, shift), bound = rest.Bound() + rounded;
    if (!(bound < std::ldexp(1.0, shift - 1))) return NoForm(count, coarse, fine);
    form.bound = static_cast<std::int32_t>(bound) + 2;
    form.boundOfNone = static_cast<std::int16_t>(rest.BoundWithin(0.0) + rounded + 2.0);
    form.boundOfLevel = static_cast<std::int16_t>(rest.BoundWithin(1.0) - rest.BoundWithin(0.0) + 1.0);

    for (int fineShift = std::min(kMaxFineShift, kMaxShifts - shift); fineShift >= 0; --fineShift) {
        const double fineScale = std::ldexp(1.0, fineShift);
        for (int k = 0; k < count; ++k) finest_[k] = rest_[k] * fineScale;
        const double all = 255.0 * (SumOfSizes(finest_, count) + count);
        RoundWithTheirSum(finest_, count, fine, order_.get());
        const double fineBound = TakeOff(fine, count, finest_).Bound() + std::ldexp(rounding, shift + fineShift);
        if (!(all + 2.0 * fineBound < kMaxSum)) continue;
        form.fineShift = static_cast<std::int8_t>(fineShift);
        form.fineBound = static_cast<std::int32_t>(fineBound) + 2;
        return form;
    }
    return NoForm(count, coarse, fine);
}

IntegerForm IntegerMaker::OfWeights(const float* weights, int count, double weightSum, std::int16_t* coarse,
                                    std::int16_t* fine) const {
    if (count > kMaxTaps || !(weightSum > 0.0)) return NoForm(count, coarse, fine);
    for (int k = 0; k < count; ++k) shares_[k] = static_cast<double>(weights[k]) / weightSum;
    IntegerForm form = OfShares(shares_, count, coarse, fine);
    if (!form.usable) return form;

    // Integers that are just the weights make sums that double precision holds exactly: they are of 24 bits times
    // 2^shift times a byte at most, 53 bits with one to spare for shares that add up to more than 1.
    const double scale = std::ldexp(1.0, form.shift);
    bool exact = form.shift <= kMaxShift;
    for (int k = 0; k < count; ++k) {
        exact = exact && coarse[k] * weightSum == static_cast<double>(weights[k]) * scale;
    }
    if (exact || MakeMean(weights, count, weightSum, form.shift, coarse)) {
        std::fill_n(fine, count, std::int16_t{0});
        form.bound = form.fineBound = 0;
        form.boundOfLevel = form.boundOfNone = 0;
    }
    return form;
}

FlatResult FlatResultOf(const float* weights, int count, double weightSum, Ending ending) {
    double sum = 0.0, sizes = 0.0;
    for (int k = 0; k < count; ++k) {
        sum += static_cast<double>(weights[k]);
        sizes += std::fabs(static_cast<double>(weights[k]));
    }
    // What is beyond the rounding errors of any order of these sums is decided by the sum of the shares.
    const double more = sum / weightSum - 1.0;
    const double errors = (4.0 * count + 16.0) * std::ldexp(sizes / weightSum, -53);
    if (!(std::fabs(more) < 1e-3)) return FlatResult::unknown;
    if (ending == Ending::nearest) return FlatResult::same;
    if (more > errors) return FlatResult::same;
    if (more < -errors) return FlatResult::oneLess;
    // Multiples of 2^-40 below 2^13 have 53 bits, so that nothing is rounded until the quotient, which is the byte.
    bool wholes = sum == weightSum && sizes < 32.0;
    for (int k = 0; k < count && wholes; ++k) {
        const double units = static_cast<double>(weights[k]) * 0x1p40;
        wholes = units == std::trunc(units);
    }
    if (wholes) return FlatResult::same;
    bool same = true, oneLess = true;
    for (int byte = 1; byte < 256; ++byte) {
        double exact = 0.0;
        for (int k = 0; k < count; ++k) exact += static_cast<double>(byte) * static_cast<double>(weights[k]);
        const int result = ScaledByte(exact, weightSum, ending);
        same = same && result == byte;
        oneLess = oneLess && result == byte - 1;
    }
    return same ? FlatResult::same : oneLess ? FlatResult::oneLess : FlatResult::unknown;
}

// --- the table ------------------------------------------------------------------------------------------------------

Taps TapTable::taps() const {
    Taps taps = taps_;
    taps.lists = lists_.get();
    taps.weights = weights_.get();
    taps.coarse = integers_.get();
    taps.fine = integers_.get() + static_cast<std::ptrdiff_t>(taps_.count) * taps_.stride * taps_.sets();
    return taps;
}

bool TapTable::Build(const ContributionList* lists, int count, ScaleAxis axis, bool luma, Ending ending, int origin) {
    lists_ = HeapArray<TapList>(count);
    if (!lists_) return false;
    // A sample that happens to have weight 0 makes a list begin later than the next one, here only.
    int first = 2147483647, stride = 2;
    for (int i = count - 1; i >= 0; --i) {
        const ContributionList& from = lists[i];
        if (from.count == 0) continue;
        first = std::min(first, from.entries[0].pixel - origin);
        TapList& list = lists_.get()[i];
        list.first = axis == ScaleAxis::kHorizontal ? first / 2 * 2 : first;
        list.taps = from.entries[from.count - 1].pixel - origin - list.first + 1;
        stride = std::max(stride, list.taps);
    }
    if (stride > 2147483646) return false;
    stride += stride % 2;
    taps_ = {};
    taps_.count = count;
    taps_.stride = stride;
    taps_.ending = ending;
    taps_.luma = luma;
    const std::int64_t weights = std::int64_t{stride} * count, integers = weights * taps_.sets();
    if (weights > kMaxWeights) return false;

    weights_ = HeapArray<float>(weights);
    integers_ = HeapArray<std::int16_t>(2 * integers);
    const IntegerMaker maker(luma && stride <= kMaxTaps ? 3 * stride : stride);
    const HeapArray<double> shares(luma ? 3 : 0, stride);
    if (!weights_ || !integers_ || !maker || !shares) return false;

    for (int i = 0; i < count; ++i) {
        const ContributionList& from = lists[i];
        TapList& list = lists_.get()[i];
        list.weightSum = static_cast<double>(from.weightSum);
        if (from.count == 0) continue;
        float* const weight = weights_.get() + static_cast<std::ptrdiff_t>(i) * stride;
        for (int k = 0; k < from.count; ++k) {
            weight[from.entries[k].pixel - origin - list.first] = from.entries[k].weight;
        }

        std::int16_t* coarse = integers_.get() + static_cast<std::ptrdiff_t>(i) * stride * taps_.sets();
        std::int16_t* fine = coarse + integers;
        if (luma) {
            for (int c = 0; c < 3; ++c) {
                double* const share = shares.get() + static_cast<std::ptrdiff_t>(c) * stride;
                for (int k = 0; k < stride; ++k) {
                    share[k] = kLumaFactors[c] * static_cast<double>(weight[k]) / list.weightSum;
                }
            }
            if (list.weightSum > 0.0 && stride <= kMaxTaps) {
                list.lumaForm = maker.OfShares(shares.get(), 3 * stride, coarse, fine);
            }
            coarse += 3 * static_cast<std::ptrdiff_t>(stride);
            fine += 3 * static_cast<std::ptrdiff_t>(stride);
        }
        list.form = maker.OfWeights(weight, stride, list.weightSum, coarse, fine);
        list.flat = FlatResultOf(weight, list.taps, list.weightSum, ending);
    }
    return true;
}

}  // namespace zor
