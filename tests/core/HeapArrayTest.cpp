// Memory for an operation's own use, and the sizes for which there is none.

#include "core/HeapArray.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace zor;

namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMaxBytes = static_cast<std::int64_t>(PTRDIFF_MAX);

template <class T>
void ExpectRefused(std::int64_t count) {
    const HeapArray<T> array(count);
    EXPECT_FALSE(array) << count;
    EXPECT_EQ(array.get(), nullptr) << count;
}

TEST(HeapArray, IsZeroFilled) {
    const HeapArray<int> array(1000);
    ASSERT_TRUE(array);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(array.get()[i], 0) << i;
}

TEST(HeapArray, OfNoElementsCanBeHad) {
    EXPECT_TRUE(HeapArray<int>(0));
    EXPECT_TRUE(HeapArray<int>(0, 7));
    EXPECT_TRUE(HeapArray<int>(7, 0));
    EXPECT_TRUE(HeapArray<int>(kMax, 0));
    EXPECT_TRUE(HeapArray<int>(0, kMax));
}

TEST(HeapArray, RefusesNegativeCounts) {
    ExpectRefused<std::uint8_t>(-1);
    ExpectRefused<std::uint8_t>(std::numeric_limits<std::int64_t>::min());
    ExpectRefused<double>(-1);
    EXPECT_FALSE(HeapArray<int>(-1, 0));
    EXPECT_FALSE(HeapArray<int>(0, -1));
    EXPECT_FALSE(HeapArray<int>(-1, -1)) << "the product is positive, its factors are not";
}

TEST(HeapArray, RefusesCountsBeyondWhatCanBeAddressed) {
    ExpectRefused<std::uint64_t>(kMaxBytes / 8 + 1);
    ExpectRefused<std::uint64_t>(kMax);
    ExpectRefused<std::uint16_t>(kMax);
    // As a number of bytes these wrap to 8 and to 0.
    ExpectRefused<std::uint64_t>((std::int64_t{1} << 61) + 1);
    ExpectRefused<std::uint64_t>(std::int64_t{1} << 61);
    if (sizeof(void*) == 8) ExpectRefused<std::uint8_t>(kMaxBytes);  // can be addressed, and no machine has it
}

TEST(HeapArray, RefusesProductsThatHaveNoRoom) {
    // These wrap to a negative number, to 0, and to 16.
    EXPECT_FALSE(HeapArray<std::uint8_t>(std::int64_t{3} << 31, std::int64_t{1} << 32));
    EXPECT_FALSE(HeapArray<std::uint8_t>(std::int64_t{1} << 32, std::int64_t{1} << 32));
    EXPECT_FALSE(HeapArray<std::uint8_t>((std::int64_t{1} << 60) + 1, 16));
    EXPECT_FALSE(HeapArray<std::uint32_t>(kMax, kMax));
    EXPECT_TRUE(HeapArray<std::uint32_t>(100, 100));
}

}  // namespace
