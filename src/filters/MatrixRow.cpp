#include "filters/MatrixRow.h"

#include <algorithm>
#include <climits>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

std::uint8_t MatrixFinish::operator()(std::uint32_t sum) const {
    const int value = static_cast<int>(sum + static_cast<std::uint32_t>(delta));
    if (!scales()) return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    // Cut before it is truncated: the same byte, and not-a-number is 0.
    const double scaled = value * scaleFactor;
    const double atLeast0 = scaled > 0.0 ? scaled : 0.0;
    return static_cast<std::uint8_t>(static_cast<int>(atLeast0 < 255.0 ? atLeast0 : 255.0));
}

void ConvolveRow_Plain(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                       std::uint8_t* bytes) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint32_t sum = 0;
        for (int t = 0; t < tapCount; ++t) sum += taps[t].samples[i] * static_cast<std::uint32_t>(taps[t].weight);
        bytes[i] = finish(sum);
    }
}

#ifdef __SSE2__

// Sixteen sums of 32 bits.
struct Sums16 {
    __m128i part[4];
};

static __m128i LoadBytes(const std::uint8_t* from) {
    __m128i bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
}

// Two taps at a time: their bytes are interleaved, so that one instruction multiplies both and adds the products.
static void AddTaps(Sums16* sums, __m128i first, __m128i second, __m128i weights) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(first, second), high = _mm_unpackhi_epi8(first, second);
    const __m128i pairs[4] = {_mm_unpacklo_epi8(low, zero), _mm_unpackhi_epi8(low, zero), _mm_unpacklo_epi8(high, zero),
                              _mm_unpackhi_epi8(high, zero)};
    for (int k = 0; k < 4; ++k) sums->part[k] = _mm_add_epi32(sums->part[k], _mm_madd_epi16(pairs[k], weights));
}

static __m128i WeightPair(int first, int second) {
    return _mm_set1_epi32(
        static_cast<int>((static_cast<std::uint32_t>(second) << 16) | (static_cast<std::uint32_t>(first) & 0xFFFFu)));
}

// Four sums as the four doubles that they are scaled to, cut to 0 to 255 and truncated. Of a product that is not a
// number the larger with 0 is 0.
static __m128i Scaled(__m128i sums, __m128d factor) {
    const __m128d zero = _mm_setzero_pd(), most = _mm_set1_pd(255.0);
    const __m128d low = _mm_mul_pd(_mm_cvtepi32_pd(sums), factor);
    const __m128d high = _mm_mul_pd(_mm_cvtepi32_pd(_mm_srli_si128(sums, 8)), factor);
    const __m128i lowInts = _mm_cvttpd_epi32(_mm_min_pd(_mm_max_pd(low, zero), most));
    const __m128i highInts = _mm_cvttpd_epi32(_mm_min_pd(_mm_max_pd(high, zero), most));
    return _mm_unpacklo_epi64(lowInts, highInts);
}

// Weights that fit 16 bits; a pair of products then fits 32.
static bool FitsPairs(const MatrixTap* taps, int tapCount) {
    return std::all_of(taps, taps + tapCount,
                       [](const MatrixTap& tap) { return tap.weight >= SHRT_MIN && tap.weight <= SHRT_MAX; });
}

void ConvolveRow(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                 std::uint8_t* bytes) {
    constexpr std::ptrdiff_t kStep = 16;
    std::ptrdiff_t done = 0;
    if (FitsPairs(taps, tapCount)) {
        const __m128i delta = _mm_set1_epi32(finish.delta);
        const __m128d factor = _mm_set1_pd(finish.scaleFactor);
        const bool scales = finish.scales();
        for (; done + kStep <= count; done += kStep) {
            Sums16 sums{{delta, delta, delta, delta}};
            int t = 0;
            for (; t + 1 < tapCount; t += 2) {
                AddTaps(&sums, LoadBytes(taps[t].samples + done), LoadBytes(taps[t + 1].samples + done),
                        WeightPair(taps[t].weight, taps[t + 1].weight));
            }
            if (t < tapCount) {
                AddTaps(&sums, LoadBytes(taps[t].samples + done), _mm_setzero_si128(), WeightPair(taps[t].weight, 0));
            }
            if (scales) {
                for (__m128i& part : sums.part) part = Scaled(part, factor);
            }
            const __m128i result = _mm_packus_epi16(_mm_packs_epi32(sums.part[0], sums.part[1]),
                                                    _mm_packs_epi32(sums.part[2], sums.part[3]));
            std::memcpy(bytes + done, &result, sizeof result);
        }
    }
    if (done == count) return;
    for (std::ptrdiff_t i = done; i < count; ++i) {
        std::uint32_t sum = 0;
        for (int t = 0; t < tapCount; ++t) sum += taps[t].samples[i] * static_cast<std::uint32_t>(taps[t].weight);
        bytes[i] = finish(sum);
    }
}

#else

void ConvolveRow(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                 std::uint8_t* bytes) {
    ConvolveRow_Plain(taps, tapCount, finish, count, bytes);
}

#endif
