#include "filters/TableBytes.h"

#include <algorithm>
#include <vector>

#include "support/Images.h"

namespace {

struct Twin {
    const char* name;
    MapBytesFn run;
};

std::vector<Twin> Twins() {
    std::vector<Twin> twins = {{"plain", MapBytes_Plain}, {"picked", PickedMapBytes()}};
#ifdef ZOR_HAS_AVX2_TWINS
    if (__builtin_cpu_supports("avx2")) twins.push_back({"avx2", MapBytes_Avx2});
#endif
    return twins;
}

// Every byte value through tables of noise, at every length up to four vectors and at odd places, between guards.
TEST(TableBytes, EveryTwinLooksEachByteUp) {
    Random random(1);
    constexpr int kGuard = 5;
    for (const Twin& twin : Twins()) {
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
            twin.run(source.data() + 1, dest.data() + kGuard, length, table);
            EXPECT_TRUE(SameBytes(expected, dest)) << length;
        }
        std::uint8_t every[256], table[256], mapped[256];
        for (int i = 0; i < 256; ++i) {
            every[i] = static_cast<std::uint8_t>(i);
            table[i] = random.Byte();
        }
        twin.run(every, mapped, 256, table);
        EXPECT_TRUE(std::equal(mapped, mapped + 256, table));
        twin.run(every, every, 256, table);  // in place
        EXPECT_TRUE(std::equal(every, every + 256, table));
    }
}

}  // namespace
