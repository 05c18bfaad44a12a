// Every slot of the record of kernels: each twin against the plain one that defines the result, at every width past
// two vectors, at odd places, with extremes among noise, and with guards around what is written.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <string>

#include "kernels/KernelCases.h"

using namespace zor;

namespace {

constexpr int kMaxUnits = 131;  // past two vectors of 64 bytes
constexpr int kGuard = 64;

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<double>;

bool SameBits(const Numbers& a, const Numbers& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

class Noise {
public:
    // Runs of 0 and 255 among noise.
    Noise() {
        for (std::uint8_t& byte : pool_) {
            const std::uint32_t bits = Bits() >> 8;
            byte = bits % 3 == 0 ? (bits / 3 % 2 ? 255 : 0) : static_cast<std::uint8_t>(bits / 3);
        }
    }
    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }
    // From anywhere in the pool: noise anew for every call would take most of the time of the test.
    Bytes Run(std::size_t size) {
        const auto first = pool_.begin() + static_cast<std::ptrdiff_t>(Bits() % (pool_.size() - size));
        return {first, first + static_cast<std::ptrdiff_t>(size)};
    }
    // Of both signs.
    Numbers RunOfNumbers(std::size_t size) {
        Numbers numbers(size);
        for (double& number : numbers) number = static_cast<double>(Bits() >> 12) / 1048.6 - 499.99;
        return numbers;
    }

private:
    std::mt19937 engine_{20};
    Bytes pool_ = Bytes(std::size_t{1} << 20);
};

std::string FirstDifference(const Bytes& expected, const Bytes& actual) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] != actual[i]) {
            return "byte " + std::to_string(static_cast<std::ptrdiff_t>(i) - kGuard) + ": " +
                   std::to_string(expected[i]) + " became " + std::to_string(actual[i]);
        }
    }
    return "";
}

class Twins : public ::testing::TestWithParam<CpuTier> {};

TEST_P(Twins, AgreeWithPlainInEverySlot) {
    const CpuTier tier = GetParam();
    if (!CanRun(tier)) GTEST_SKIP() << "this machine cannot run " << NameOf(tier);
    const KernelPick plain = PickKernels(CpuTier::plain), fast = PickKernels(tier);
    Noise noise;
    const Numbers numbers =
        noise.RunOfNumbers(kMaxUnits * KernelBytes::kMaxNumbersPerUnit + KernelBytes::kMoreNumbers + 2 * kGuard);
    for (int slot = 0; slot < kKernelSlots; ++slot) {
        const KernelCase* const kernel = CaseOfSlot(KernelSlotName(slot));
        ASSERT_NE(kernel, nullptr) << KernelSlotName(slot) << " has no case";
        for (int units = 0; units <= kMaxUnits; ++units) {
            for (int round = 0; round < 4; ++round) {
                const std::size_t size =
                    static_cast<std::size_t>(units * KernelBytes::kMaxBytesPerUnit + 2 * kGuard + 8);
                Bytes inputs[KernelBytes::kInputs];
                KernelBytes bytes{};
                for (int i = 0; i < KernelBytes::kInputs; ++i) {
                    inputs[i] = noise.Run(size);
                    bytes.in[i] = inputs[i].data() + kGuard + noise.Bits() % 8;
                }
                bytes.choice = noise.Bits() >> 8;
                const std::size_t at = kGuard + noise.Bits() % 8;
                Bytes expected = noise.Run(size), actual = expected;
                const Bytes before[] = {inputs[0], inputs[1], inputs[2], inputs[3]};
                bytes.numbersIn = numbers.data() + kGuard + noise.Bits() % 8;
                const std::ptrdiff_t room = units * KernelBytes::kMaxNumbersPerUnit;
                Numbers expectedNumbers(numbers.begin(), numbers.begin() + room + 2 * kGuard);
                Numbers actualNumbers = expectedNumbers;

                bytes.out = expected.data() + at;
                bytes.numbersOut = expectedNumbers.data() + kGuard;
                kernel->run(plain.table, bytes, units);
                bytes.out = actual.data() + at;
                bytes.numbersOut = actualNumbers.data() + kGuard;
                kernel->run(fast.table, bytes, units);
                ASSERT_EQ(FirstDifference(expected, actual), "")
                    << kernel->slot << ", " << NameOf(fast.twin[slot]) << ", " << units << " units";
                ASSERT_TRUE(SameBits(expectedNumbers, actualNumbers))
                    << kernel->slot << ", " << NameOf(fast.twin[slot]) << ", " << units << " units";
                ASSERT_TRUE(std::equal(before, before + 4, inputs)) << kernel->slot << " changed what it reads";
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Twins, ::testing::ValuesIn(kCpuTiers),
                         [](const auto& param) { return std::string(NameOf(param.param)); });

TEST(KernelTable, HasAPlainTwinInEverySlot) {
    const KernelPick plain = PickKernels(CpuTier::plain);
    void (*pointers[kKernelSlots])();
    std::memcpy(pointers, &plain.table, sizeof plain.table);
    for (int slot = 0; slot < kKernelSlots; ++slot) {
        EXPECT_NE(pointers[slot], nullptr) << KernelSlotName(slot);
        EXPECT_EQ(plain.twin[slot], CpuTier::plain) << KernelSlotName(slot);
    }
}

TEST(KernelTable, HasOneCaseForEverySlotAndNoOther) {
    std::set<std::string> slots;
    for (int slot = 0; slot < kKernelSlots; ++slot) {
        EXPECT_TRUE(slots.insert(KernelSlotName(slot)).second) << KernelSlotName(slot) << " stands twice";
        EXPECT_NE(CaseOfSlot(KernelSlotName(slot)), nullptr) << KernelSlotName(slot);
    }
    for (const KernelCase& each : KernelCases()) EXPECT_EQ(slots.count(each.slot), 1u) << each.slot;
    EXPECT_EQ(KernelCases().size(), slots.size());
}

TEST(KernelTable, ALimitKeepsHigherSetsOut) {
    for (const CpuTier limit : kCpuTiers) {
        const KernelPick pick = PickKernels(limit);
        EXPECT_LE(pick.tier, limit);
        EXPECT_EQ(pick.tier, BestTier(limit));
        for (int slot = 0; slot < kKernelSlots; ++slot) EXPECT_LE(pick.twin[slot], limit) << KernelSlotName(slot);
    }
}

// What a processor can do is used: a build whose vector kernels got lost would pass all comparisons.
TEST(KernelTable, SetsThatTheMachineHasFillSlots) {
    for (const CpuTier tier : kCpuTiers) {
        if (!CanRun(tier)) continue;
        const KernelPick pick = PickKernels(tier);
        EXPECT_EQ(pick.tier, tier);
        EXPECT_EQ(pick.twin[0], tier) << KernelSlotName(0);
    }
}

TEST(Cpu, NamesGoThereAndBack) {
    for (const CpuTier tier : kCpuTiers) {
        CpuTier found = CpuTier::plain;
        EXPECT_TRUE(TierFromName(NameOf(tier), &found));
        EXPECT_EQ(found, tier);
    }
    CpuTier untouched = CpuTier::sse4;
    EXPECT_FALSE(TierFromName("avx", &untouched));
    EXPECT_FALSE(TierFromName("", &untouched));
    EXPECT_FALSE(TierFromName("AVX2", &untouched));
    EXPECT_EQ(untouched, CpuTier::sse4);
}

class CpuVariable : public ::testing::Test {
protected:
    void SetUp() override {
        const char* const text = getenv("ZOR_CPU");
        before_ = text ? text : "";
        wasSet_ = text != nullptr;
    }
    void TearDown() override {
        if (wasSet_) {
            setenv("ZOR_CPU", before_.c_str(), 1);
        } else {
            unsetenv("ZOR_CPU");
        }
    }

private:
    std::string before_;
    bool wasSet_ = false;
};

TEST_F(CpuVariable, NamesTheHighestSet) {
    setenv("ZOR_CPU", "plain", 1);
    EXPECT_EQ(PickKernels(ReadCpuWish().limit).tier, CpuTier::plain);
    EXPECT_TRUE(ReadCpuWish().known);
    setenv("ZOR_CPU", "sse4", 1);
    EXPECT_EQ(PickKernels(ReadCpuWish().limit).tier, BestTier(CpuTier::sse4));
}

TEST_F(CpuVariable, LimitsNothingWhereItIsNotSetOrUnknown) {
    unsetenv("ZOR_CPU");
    const CpuTier best = BestTier(CpuTier::neon);
    EXPECT_EQ(ReadCpuWish().text, nullptr);
    EXPECT_EQ(BestTier(ReadCpuWish().limit), best);
    setenv("ZOR_CPU", "mmx", 1);
    EXPECT_STREQ(ReadCpuWish().text, "mmx");
    EXPECT_FALSE(ReadCpuWish().known);
    EXPECT_EQ(BestTier(ReadCpuWish().limit), best);
}

}  // namespace
