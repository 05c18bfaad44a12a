// Compiled for processors with AVX2, and nothing else may go in here.
#include <immintrin.h>

#include "filters/TableBytes.h"

namespace {

// A shuffle looks 16 entries up, by the low half of an index byte, and gives 0 where the index is negative. So the
// table is cut into rows of 16, and each row is kept as its difference (exclusive or) to the row before. An index
// that loses 16 from row to row meets, before it turns negative, just the differences that add up to its own row:
//
//     byte 0x25:  index 0x25 -> row 0   0x15 -> row 1   0x05 -> row 2   negative from here on
//
// Rows 0 to 7 serve bytes below 128, which are positive; the others serve the rest, with the top bit turned over.
constexpr int kRows = 16, kHalf = 8;

struct RowDifferences {
    __m256i row[kRows];
};

RowDifferences DifferencesOf(const std::uint8_t* table) {
    RowDifferences differences;
    for (int r = 0; r < kRows; ++r) {
        const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * r));
        __m128i difference = row;
        if (r % kHalf != 0) {
            difference = _mm_xor_si128(row, _mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * (r - 1))));
        }
        differences.row[r] = _mm256_broadcastsi128_si256(difference);
    }
    return differences;
}

__m256i LookUp(const RowDifferences& differences, __m256i bytes) {
    const __m256i step = _mm256_set1_epi8(16);
    __m256i low = bytes, high = _mm256_xor_si256(bytes, _mm256_set1_epi8(static_cast<char>(0x80)));
    __m256i result = _mm256_setzero_si256();
    for (int r = 0; r < kHalf; ++r) {
        result = _mm256_xor_si256(result, _mm256_shuffle_epi8(differences.row[r], low));
        result = _mm256_xor_si256(result, _mm256_shuffle_epi8(differences.row[kHalf + r], high));
        low = _mm256_subs_epi8(low, step);  // saturates: what is negative stays so
        high = _mm256_subs_epi8(high, step);
    }
    return result;
}

}  // namespace

void MapBytes_Avx2(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table) {
    constexpr std::ptrdiff_t kBlock = 32;
    const RowDifferences differences = DifferencesOf(table);
    std::ptrdiff_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), LookUp(differences, bytes));
    }
    for (; i < count; ++i) dst[i] = table[src[i]];
}
