#pragma once
// Dividing and sliding the sums of the box blur, a row at a time.

#include <cstddef>
#include <cstdint>

// Sums that stay below 256 times the divisor, as those of any 2 * radius + 1 bytes do, divided by multiplication:
// floor(sum / divisor) is (sum * factor) >> shift, exactly.
struct NarrowDivision {
    std::uint16_t factor;
    int shift;  // beyond the 16 of the high half of a product
};
// For sums of 16 bits. False where no factor of that size is exact; each quotient is tried at both of its ends.
bool MakeNarrowDivision(std::int64_t divisor, NarrowDivision* division);

struct WideDivision {
    std::uint32_t factor;
    int shift;
};
// For any odd divisor from 3 to 2097151. With 2^l the largest power of two below the divisor, the factor is above
// 2^(31 + l) / divisor by less than 1, so the product is above by less than the sum, which is below 2^(9 + l), and
// that never reaches the next quotient's 2^(31 + l) / divisor while l is at most 20.
WideDivision MakeWideDivision(std::int64_t divisor);

// The sums of a row as bytes.
void DivideSums(const std::uint16_t* sums, std::ptrdiff_t count, const NarrowDivision& by, std::uint8_t* bytes);
void DivideSums(const std::uint32_t* sums, std::ptrdiff_t count, const WideDivision& by, std::uint8_t* bytes);

// sums[i] += enters[i] - leaves[i]
void SlideSums(std::uint16_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count);
void SlideSums(std::uint32_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count);
