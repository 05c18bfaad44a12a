#include "kernels/Vector.h"
#include "kernels/Windows.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
const hn::Repartition<std::uint32_t, decltype(kBytes)> kInts;
const hn::Repartition<std::uint64_t, decltype(kBytes)> kLongs;
const hn::RebindToSigned<decltype(kInts)> kSigned;
const hn::Repartition<float, decltype(kBytes)> kFloats;
const hn::Half<decltype(kBytes)> kHalfBytes;
const hn::Rebind<std::uint8_t, decltype(kInts)> kQuarterBytes;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
using Ints = hn::Vec<decltype(kInts)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));
constexpr std::ptrdiff_t kHalf = kLanes / 2, kQuarter = kLanes / 4;

// --- in the order of memory -----------------------------------------------------------------------------------------

// Ints that fit, as words.
HWY_INLINE Words OrderedWords(Ints first, Ints second) {
#if HWY_TARGET == HWY_AVX2
    return Words{_mm256_permute4x64_epi64(_mm256_packus_epi32(first.raw, second.raw), 0xD8)};
#elif HWY_TARGET == HWY_SSE4
    return Words{_mm_packus_epi32(first.raw, second.raw)};
#else
    return hn::ConcatEven(kWords, hn::BitCast(kWords, second), hn::BitCast(kWords, first));
#endif
}

// Words that fit, as bytes.
HWY_INLINE Bytes OrderedBytes(Words first, Words second) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_permute4x64_epi64(_mm256_packus_epi16(first.raw, second.raw), 0xD8)};
#elif HWY_TARGET == HWY_SSE4
    return Bytes{_mm_packus_epi16(first.raw, second.raw)};
#else
    return hn::ConcatEven(kBytes, hn::BitCast(kBytes, second), hn::BitCast(kBytes, first));
#endif
}

// Ints that fit, as bytes.
HWY_INLINE Bytes OrderedBytes(Ints a, Ints b, Ints c, Ints d) {
#if HWY_TARGET == HWY_AVX2
    const __m256i blocks = _mm256_packus_epi16(_mm256_packus_epi32(a.raw, b.raw), _mm256_packus_epi32(c.raw, d.raw));
    return Bytes{_mm256_permutevar8x32_epi32(blocks, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))};
#else
    return OrderedBytes(OrderedWords(a, b), OrderedWords(c, d));
#endif
}

// --- alpha ----------------------------------------------------------------------------------------------------------

void Weigh4(const std::uint8_t* pixels, std::ptrdiff_t count, std::uint16_t* words) {
    alignas(16) static constexpr std::uint8_t kAlphas[16] = {6,  7,  6,  7,  6,  7,  128, 128,
                                                             14, 15, 14, 15, 14, 15, 128, 128};
    alignas(16) static constexpr std::uint16_t kOfAlpha[8] = {0, 0, 0, 255, 0, 0, 0, 255};
    const Bytes alphas = hn::LoadDup128(kBytes, kAlphas);
    const Words ofAlpha = hn::LoadDup128(kWords, kOfAlpha);
    const std::ptrdiff_t samples = 4 * count;
    std::ptrdiff_t i = 0;
    for (; i + kHalf <= samples; i += kHalf) {
        const Words bytes = hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, pixels + i));
        const Words factors = hn::BitCast(kWords, hn::TableLookupBytesOr0(hn::BitCast(kBytes, bytes), alphas));
        hn::StoreU(hn::Mul(bytes, hn::Or(factors, ofAlpha)), kWords, words + i);
    }
    for (; i < samples; i += 4) {
        const int alpha = pixels[i + 3];
        for (int c = 0; c < 3; ++c) words[i + c] = static_cast<std::uint16_t>(pixels[i + c] * alpha);
        words[i + 3] = static_cast<std::uint16_t>(alpha * 255);
    }
}

// --- sums -----------------------------------------------------------------------------------------------------------

const hn::Full128<std::uint32_t> kFour;
const hn::Repartition<std::uint8_t, decltype(kFour)> kFourAsBytes;
using Four = hn::Vec<decltype(kFour)>;

// Where each of four sums finds the sum of its channel among the four before, as indices of bytes.
template <int kCount>
HWY_INLINE hn::Vec<decltype(kFourAsBytes)> PixelBefore() {
    alignas(16) std::uint8_t index[16];
    for (int i = 0; i < 16; ++i) index[i] = static_cast<std::uint8_t>(4 * (4 - kCount + i / 4 % kCount) + i % 4);
    return hn::Load(kFourAsBytes, index);
}

// Four sums along the row are those that begin with them, each added to those a pixel further on, and those of the
// pixel before.
template <int kCount, class Sample>
void Slide(std::uint32_t* sums, const Sample* leaves, const Sample* enters, std::ptrdiff_t pixels,
           std::uint32_t* along) {
    const hn::Rebind<Sample, decltype(kFour)> kSamples;
    const auto pixelBefore = PixelBefore<kCount>();
    const std::ptrdiff_t count = pixels * kCount;
    Four last = hn::Zero(kFour);
    std::ptrdiff_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const Four entering = hn::PromoteTo(kFour, hn::LoadU(kSamples, enters + i));
        const Four leaving = hn::PromoteTo(kFour, hn::LoadU(kSamples, leaves + i));
        const Four slid = hn::Add(hn::LoadU(kFour, sums + i), hn::Sub(entering, leaving));
        hn::StoreU(slid, kFour, sums + i);
        Four added = slid;
        if constexpr (kCount < 4) added = hn::Add(added, hn::ShiftLeftLanes<kCount>(kFour, added));
        if constexpr (kCount < 2) added = hn::Add(added, hn::ShiftLeftLanes<2>(kFour, added));
        const Four before =
            kCount == 4 ? last : hn::BitCast(kFour, hn::TableLookupBytes(hn::BitCast(kFourAsBytes, last), pixelBefore));
        last = hn::Add(added, before);
        hn::StoreU(last, kFour, along + i);
    }
    for (; i < count; ++i) {
        sums[i] += static_cast<std::uint32_t>(enters[i]) - static_cast<std::uint32_t>(leaves[i]);
        along[i] = sums[i] + (i < kCount ? 0 : along[i - kCount]);
    }
}

// --- means ----------------------------------------------------------------------------------------------------------

class Means {
public:
    HWY_INLINE explicit Means(const WindowMean& mean)
        : half_(hn::Set(kInts, mean.half)), factor_(hn::Set(kInts, mean.by.factor)), shift_(mean.by.shift) {}
    HWY_INLINE Ints operator()(const std::uint32_t* first, const std::uint32_t* last) const {
        const Ints sums = hn::Add(hn::Sub(hn::LoadU(kInts, last), hn::LoadU(kInts, first)), half_);
        const auto odd = hn::BitCast(kInts, hn::ShiftRight<32>(hn::BitCast(kLongs, sums)));
        const auto evens = hn::ShiftRightSame(hn::MulEven(sums, factor_), shift_);
        const auto odds = hn::ShiftRightSame(hn::MulEven(odd, factor_), shift_);
        return hn::BitCast(kInts, hn::Or(evens, hn::ShiftLeft<32>(odds)));
    }

private:
    Ints half_, factor_;
    int shift_;
};

template <class Sample>
HWY_INLINE Sample Mean(std::uint32_t sum, const WindowMean& mean) {
    return static_cast<Sample>(((sum + mean.half) * std::uint64_t{mean.by.factor}) >> mean.by.shift);
}

void ToBytes(const WindowSums& sums, std::ptrdiff_t count, const WindowMean& given, std::uint8_t* bytes) {
    const WindowMean mean = given;
    const std::uint32_t *first = sums.first, *last = sums.last;
    const Means means(mean);
    const auto at = [&](std::ptrdiff_t i) { return means(first + i, last + i); };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        hn::StoreU(OrderedBytes(at(i), at(i + kQuarter), at(i + 2 * kQuarter), at(i + 3 * kQuarter)), kBytes,
                   bytes + i);
    }
    for (; i < count; ++i) bytes[i] = Mean<std::uint8_t>(last[i] - first[i], mean);
}

void ToWords(const WindowSums& sums, std::ptrdiff_t count, const WindowMean& given, std::uint16_t* words) {
    const WindowMean mean = given;
    const std::uint32_t *first = sums.first, *last = sums.last;
    const Means means(mean);
    std::ptrdiff_t i = 0;
    for (; i + kHalf <= count; i += kHalf) {
        hn::StoreU(OrderedWords(means(first + i, last + i), means(first + i + kQuarter, last + i + kQuarter)), kWords,
                   words + i);
    }
    for (; i < count; ++i) words[i] = Mean<std::uint16_t>(last[i] - first[i], mean);
}

// --- weighed by alpha -----------------------------------------------------------------------------------------------

#if HWY_TARGET == HWY_AVX2

// The sums of a pixel of four channels.
HWY_INLINE __m256d PixelSums(const std::uint32_t* first, const std::uint32_t* last) {
    const __m128i from = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
    const __m128i to = _mm_loadu_si128(reinterpret_cast<const __m128i*>(last));
    return _mm256_cvtepi32_pd(_mm_sub_epi32(to, from));
}
// Number / alpha in every lane; alpha is the last sum.
HWY_INLINE __m256d ByAlpha(__m128d number, __m128d alphas) {
    const __m128d quotient = _mm_div_pd(number, alphas);
    return _mm256_permute4x64_pd(_mm256_castpd128_pd256(quotient), 0x55);
}
HWY_INLINE __m128i RoundedInts(__m256d values) {
    return _mm256_cvttpd_epi32(_mm256_add_pd(values, _mm256_set1_pd(0.5)));
}
// Four pixels at a time, of which pixel(i) makes the sample i and the three behind it as ints.
template <class Pixel>
HWY_INLINE void StorePixels(std::ptrdiff_t count, std::uint8_t* bytes, Pixel pixel) {
    std::ptrdiff_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i lower = _mm_packus_epi32(pixel(i), pixel(i + 4));
        const __m128i upper = _mm_packus_epi32(pixel(i + 8), pixel(i + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + i), _mm_packus_epi16(lower, upper));
    }
    for (; i < count; i += 4) {
        const __m128i words = _mm_packus_epi32(pixel(i), _mm_setzero_si128());
        _mm_storeu_si32(bytes + i, _mm_packus_epi16(words, words));
    }
}

void Unweigh4(const WindowSums& sums, std::ptrdiff_t pixels, double alphaScale, std::uint8_t* bytes) {
    const std::uint32_t *first = sums.first, *last = sums.last;
    const __m256d ofAlpha = _mm256_set1_pd(alphaScale);
    const __m128d most = _mm_set1_pd(255.0), one = _mm_set1_pd(1.0);
    StorePixels(4 * pixels, bytes, [&](std::ptrdiff_t i) {
        const __m256d pixel = PixelSums(first + i, last + i);
        const __m256d scale = ByAlpha(most, _mm_max_pd(_mm256_extractf128_pd(pixel, 1), one));
        return RoundedInts(_mm256_mul_pd(pixel, _mm256_blend_pd(scale, ofAlpha, 8)));
    });
}

void SharpenWeighed4(const WindowSums& sums, const std::uint8_t* middle, std::ptrdiff_t pixels,
                     const WeighedSharpening& sharpening, std::uint8_t* bytes) {
    const std::uint32_t *first = sums.first, *last = sums.last;
    const __m256d least = _mm256_set1_pd(sharpening.least), zero = _mm256_setzero_pd();
    const __m256d most = _mm256_set1_pd(255.0), sign = _mm256_set1_pd(-0.0);
    const __m128d scale = _mm_set1_pd(sharpening.scale), one = _mm_set1_pd(1.0);
    StorePixels(4 * pixels, bytes, [&](std::ptrdiff_t i) {
        const __m128i ints = _mm_cvtepu8_epi32(_mm_loadu_si32(middle + i));
        const __m256d pixel = _mm256_cvtepi32_pd(ints), window = PixelSums(first + i, last + i);
        const __m256d ownAlpha = _mm256_permute4x64_pd(pixel, 0xFF);
        // A clear pixel stays, whatever is around it.
        const __m256d windowAlpha = _mm256_permute4x64_pd(window, 0xFF);
        const __m256d clear = _mm256_or_pd(_mm256_cmp_pd(ownAlpha, zero, _CMP_EQ_OQ),
                                           _mm256_cmp_pd(windowAlpha, _mm256_set1_pd(1.0), _CMP_LT_OQ));
        const __m128d alphas = _mm_blendv_pd(_mm256_castpd256_pd128(windowAlpha), one, _mm256_castpd256_pd128(clear));
        const __m256d alpha = _mm256_permute4x64_pd(_mm256_castpd128_pd256(alphas), 0x55);
        const __m256d distance = _mm256_sub_pd(_mm256_mul_pd(pixel, alpha), _mm256_mul_pd(window, most));
        const __m256d sharp = _mm256_add_pd(pixel, _mm256_mul_pd(distance, ByAlpha(scale, alphas)));
        const __m256d cut = _mm256_min_pd(_mm256_max_pd(sharp, zero), most);
        const __m256d near = _mm256_cmp_pd(_mm256_andnot_pd(sign, distance), _mm256_mul_pd(least, alpha), _CMP_LT_OQ);
        const __m256d stays = _mm256_blend_pd(_mm256_or_pd(clear, near), _mm256_cmp_pd(zero, zero, _CMP_EQ_OQ), 8);
        return RoundedInts(_mm256_blendv_pd(cut, pixel, stays));
    });
}

#endif

// --- sharpening -----------------------------------------------------------------------------------------------------

void Sharpen(const WindowSums& sums, const std::uint8_t* middle, std::ptrdiff_t count,
             const WindowSharpening& sharpening, std::uint8_t* bytes) {
    const std::uint32_t *first = sums.first, *last = sums.last;
    const std::int32_t divisorOne = sharpening.divisor, leastOne = sharpening.least;
    const float scaleOne = sharpening.scale;
    const auto divisor = hn::Set(kSigned, divisorOne), least = hn::Set(kSigned, leastOne);
    const auto scale = hn::Set(kFloats, scaleOne), half = hn::Set(kFloats, 0.5f);
    const auto zero = hn::Zero(kFloats), most = hn::Set(kFloats, 255.0f);
    const auto at = [&](std::ptrdiff_t i) {
        const auto a = hn::PromoteTo(kSigned, hn::LoadU(kQuarterBytes, middle + i));
        const auto sum = hn::BitCast(kSigned, hn::Sub(hn::LoadU(kInts, last + i), hn::LoadU(kInts, first + i)));
        const auto distance = hn::Sub(hn::Mul(a, divisor), sum);
        const auto sharp = hn::Add(hn::ConvertTo(kFloats, a), hn::Mul(hn::ConvertTo(kFloats, distance), scale));
        const auto cut = hn::Min(hn::Max(sharp, zero), most);
        const auto rounded = hn::ConvertTo(kSigned, hn::Add(cut, half));
        return hn::BitCast(kInts, hn::IfThenElse(hn::Lt(hn::Abs(distance), least), a, rounded));
    };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        hn::StoreU(OrderedBytes(at(i), at(i + kQuarter), at(i + 2 * kQuarter), at(i + 3 * kQuarter)), kBytes,
                   bytes + i);
    }
    for (; i < count; ++i) {
        const std::int32_t distance = middle[i] * divisorOne - static_cast<std::int32_t>(last[i] - first[i]);
        const float sharp = static_cast<float>(middle[i]) + static_cast<float>(distance) * scaleOne;
        const float cut = sharp > 0.0f ? sharp < 255.0f ? sharp : 255.0f : 0.0f;
        const bool stays = (distance < 0 ? -distance : distance) < leastOne;
        bytes[i] = stays ? middle[i] : static_cast<std::uint8_t>(static_cast<int>(cut + 0.5f));
    }
}

// --- sums of three --------------------------------------------------------------------------------------------------

class SoftMean {
public:
    HWY_INLINE explicit SoftMean(const SoftWeights& weights)
        : middle_(hn::Set(kWords, weights.middle)), beside_(hn::Set(kWords, weights.beside)) {}
    // `neighbours` is the mean of the two.
    HWY_INLINE Words operator()(Words row, Words neighbours) const {
        return hn::Add(hn::MulHigh(row, middle_), hn::MulHigh(neighbours, beside_));
    }

private:
    Words middle_, beside_;
};

HWY_INLINE std::uint32_t HighHalf(std::uint32_t word, std::uint32_t weight) {
    return (word * weight) >> 16;
}

void SoftDown(const TapRows& rows, std::ptrdiff_t count, const SoftWeights& given, std::uint16_t* words) {
    const SoftWeights weights = given;
    const SoftMean mean(weights);
    const std::uint8_t *row = rows.row, *before = rows.before, *after = rows.after;
    const auto load = [](const std::uint8_t* bytes) { return hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, bytes)); };
    std::ptrdiff_t i = 0;
    for (; i + kHalf <= count; i += kHalf) {
        const Words neighbours = hn::ShiftLeft<7>(hn::Add(load(before + i), load(after + i)));
        hn::StoreU(mean(hn::ShiftLeft<8>(load(row + i)), neighbours), kWords, words + i);
    }
    for (; i < count; ++i) {
        const std::uint32_t neighbours = static_cast<std::uint32_t>(before[i] + after[i]) << 7;
        words[i] = static_cast<std::uint16_t>(HighHalf(static_cast<std::uint32_t>(row[i]) << 8, weights.middle) +
                                              HighHalf(neighbours, weights.beside));
    }
}

void SoftAlong(const std::uint16_t* row, std::ptrdiff_t pixel, std::ptrdiff_t count, const SoftWeights& given,
               std::uint8_t* bytes) {
    const SoftWeights weights = given;
    const SoftMean mean(weights);
    const Words half = hn::Set(kWords, kSoftHalf);
    const auto at = [&](std::ptrdiff_t i) {
        const Words beside = hn::AverageRound(hn::LoadU(kWords, row + i - pixel), hn::LoadU(kWords, row + i + pixel));
        return hn::ShiftRight<8>(hn::Add(mean(hn::LoadU(kWords, row + i), beside), half));
    };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) hn::StoreU(OrderedBytes(at(i), at(i + kHalf)), kBytes, bytes + i);
    for (; i < count; ++i) {
        const std::uint32_t neighbours = (static_cast<std::uint32_t>(row[i - pixel]) + row[i + pixel] + 1) >> 1;
        const std::uint32_t sum = HighHalf(row[i], weights.middle) + HighHalf(neighbours, weights.beside);
        bytes[i] = static_cast<std::uint8_t>((sum + kSoftHalf) >> 8);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitWindows)(WindowKernels* kernels) {
    kernels->weigh[1] = Weigh4;
    kernels->slideBytes[0] = Slide<1, std::uint8_t>;
    kernels->slideBytes[1] = Slide<2, std::uint8_t>;
    kernels->slideBytes[2] = Slide<3, std::uint8_t>;
    kernels->slideBytes[3] = Slide<4, std::uint8_t>;
    kernels->slideWords[0] = Slide<1, std::uint16_t>;
    kernels->slideWords[1] = Slide<2, std::uint16_t>;
    kernels->slideWords[2] = Slide<3, std::uint16_t>;
    kernels->slideWords[3] = Slide<4, std::uint16_t>;
    kernels->toBytes = ToBytes;
    kernels->toWords = ToWords;
#if HWY_TARGET == HWY_AVX2
    kernels->unweigh[1] = Unweigh4;
    kernels->sharpenWeighed[1] = SharpenWeighed4;
#endif
    kernels->sharpen = Sharpen;
    kernels->softDown = SoftDown;
    kernels->softAlong = SoftAlong;
}

}  // namespace zor
