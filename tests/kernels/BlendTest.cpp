// The packed loops: every tier against arithmetic told here, at every width that a register may cut.

#include <string>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kGuard = 64;

// Noise with many extremes in it, between guards of noise.
Bytes NoiseRun(Random& random, int bytes) {
    Bytes run(static_cast<std::size_t>(bytes + 2 * kGuard));
    for (std::uint8_t& byte : run) byte = random.Chance(40) ? (random.Chance(50) ? 255 : 0) : random.Byte();
    return run;
}

class BlendKernelsTiers : public ::testing::Test {
protected:
    Random random{47};

    // Runs every tier at all widths and odd alignments; expected(i, target) is byte i of the target.
    template <class Call, class Expected>
    void CheckAll(int bytesPerUnit, Call call, Expected expected) {
        for (const KernelTier& tier : RunnableTiers()) {
            for (int units = 0; units <= 140; ++units) {
                const int bytes = units * bytesPerUnit;
                above = NoiseRun(random, bytes + 8);
                mask = NoiseRun(random, bytes + 8);
                below = NoiseRun(random, bytes + 8);
                const int shift = random.Between(0, 7);
                a = above.data() + kGuard + random.Between(0, 7);
                m = mask.data() + kGuard + random.Between(0, 7);
                b = below.data() + kGuard + random.Between(0, 7);
                Bytes target = NoiseRun(random, bytes + 8), model = target;
                for (int i = 0; i < bytes; ++i) {
                    std::uint8_t& byte = model[static_cast<std::size_t>(kGuard + shift + i)];
                    byte = static_cast<std::uint8_t>(expected(i, int{byte}) & 255);
                }
                const Bytes inputs[] = {above, mask, below};
                call(tier.table.blend, target.data() + kGuard + shift, units);
                ASSERT_TRUE(SameBytes(model, target)) << tier.name << " " << units;
                ASSERT_TRUE(above == inputs[0] && mask == inputs[1] && below == inputs[2]) << tier.name;
            }
        }
    }

    Bytes above, mask, below;
    const std::uint8_t *a = nullptr, *m = nullptr, *b = nullptr;
};

TEST_F(BlendKernelsTiers, Mix) {
    CheckAll(
        1, [&](const BlendKernels& ops, std::uint8_t* target, int units) { ops.mix(target, a, m, units); },
        [&](int i, int target) { return (a[i] * (255 - m[i]) + m[i] * target) / 255; });
}

TEST_F(BlendKernelsTiers, AddOver) {
    CheckAll(
        1, [&](const BlendKernels& ops, std::uint8_t* target, int units) { ops.addOver(target, a, m, units); },
        [&](int i, int target) { return a[i] + m[i] * target / 255; });
}

TEST_F(BlendKernelsTiers, AddOverOther) {
    CheckAll(
        1, [&](const BlendKernels& ops, std::uint8_t* target, int units) { ops.addOverOther(target, a, m, b, units); },
        [&](int i, int) { return a[i] + m[i] * b[i] / 255; });
}

TEST_F(BlendKernelsTiers, Add) {
    CheckAll(
        1, [&](const BlendKernels& ops, std::uint8_t* target, int units) { ops.add(target, a, m, units); },
        [&](int i, int) { return a[i] + m[i]; });
}

TEST_F(BlendKernelsTiers, Replicate3) {
    CheckAll(
        3, [&](const BlendKernels& ops, std::uint8_t* target, int units) { ops.replicate3(target, a, units); },
        [&](int i, int) { return int{a[i / 3]}; });
}

TEST_F(BlendKernelsTiers, Replicate4Opaque) {
    for (int alphaAt = 0; alphaAt < 4; ++alphaAt) {
        CheckAll(
            4,
            [&](const BlendKernels& ops, std::uint8_t* target, int units) {
                ops.replicate4Opaque(target, a, alphaAt, units);
            },
            [&](int i, int) { return i % 4 == alphaAt ? 255 : int{a[i / 4]}; });
    }
}

TEST_F(BlendKernelsTiers, ReplicateAlpha) {
    for (int alphaAt = 0; alphaAt < 4; ++alphaAt) {
        CheckAll(
            4,
            [&](const BlendKernels& ops, std::uint8_t* target, int units) {
                ops.replicateAlpha(target, a, alphaAt, units);
            },
            [&](int i, int) { return int{a[i / 4 * 4 + alphaAt]}; });
    }
}

// All sums that a blend can have, through the loops themselves.
TEST_F(BlendKernelsTiers, MixEveryAboveMaskAndBelow) {
    for (const KernelTier& tier : RunnableTiers()) {
        for (int maskValue = 0; maskValue < 256; ++maskValue) {
            Bytes target(65536), over(65536), by(65536, static_cast<std::uint8_t>(maskValue)), expected(65536);
            for (std::size_t i = 0; i < 65536; ++i) {
                over[i] = static_cast<std::uint8_t>(i >> 8);
                target[i] = static_cast<std::uint8_t>(i);
                expected[i] = static_cast<std::uint8_t>((over[i] * (255 - maskValue) + maskValue * target[i]) / 255);
            }
            tier.table.blend.mix(target.data(), over.data(), by.data(), 65536);
            ASSERT_TRUE(SameBytes(expected, target)) << tier.name << " " << maskValue;
        }
    }
}

TEST_F(BlendKernelsTiers, AddOverEveryProduct) {
    for (const KernelTier& tier : RunnableTiers()) {
        Bytes target(65536), over(65536, 0), by(65536), expected(65536);
        for (std::size_t i = 0; i < 65536; ++i) {
            by[i] = static_cast<std::uint8_t>(i >> 8);
            target[i] = static_cast<std::uint8_t>(i);
            expected[i] = static_cast<std::uint8_t>(by[i] * target[i] / 255);
        }
        tier.table.blend.addOver(target.data(), over.data(), by.data(), 65536);
        ASSERT_TRUE(SameBytes(expected, target)) << tier.name;
    }
}

}  // namespace
