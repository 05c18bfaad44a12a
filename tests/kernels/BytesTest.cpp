#include <algorithm>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

// Every byte value through tables of noise, at every length up to four vectors and at odd places, between guards.
TEST(BytesKernels, EveryTwinLooksEachByteUp) {
    Random random(1);
    constexpr int kGuard = 5;
    for (const KernelTier& twin : RunnableTiers()) {
        SCOPED_TRACE(twin.name);
        for (int length = 0; length <= 131; ++length) {
            std::uint8_t table[256];
            for (std::uint8_t& entry : table) entry = random.Byte();
            std::vector<std::uint8_t> source(static_cast<std::size_t>(length) + 3), dest(source.size() + 2 * kGuard);
            for (std::uint8_t& byte : source) byte = random.Byte();
            for (std::uint8_t& byte : dest) byte = random.Byte();
            std::vector<std::uint8_t> expected = dest;
            for (int i = 0; i < length; ++i) {
                expected[static_cast<std::size_t>(kGuard + i)] = table[source[static_cast<std::size_t>(i + 1)]];
            }
            twin.table.bytes.map(source.data() + 1, dest.data() + kGuard, length, table);
            EXPECT_TRUE(SameBytes(expected, dest)) << length;
        }
        std::uint8_t every[256], table[256], mapped[256];
        for (int i = 0; i < 256; ++i) {
            every[i] = static_cast<std::uint8_t>(i);
            table[i] = random.Byte();
        }
        twin.table.bytes.map(every, mapped, 256, table);
        EXPECT_TRUE(std::equal(mapped, mapped + 256, table));
        twin.table.bytes.map(every, every, 256, table);  // in place
        EXPECT_TRUE(std::equal(every, every + 256, table));
    }
}

}  // namespace
