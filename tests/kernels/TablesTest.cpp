// Curves: the shorter way to a table's entries leads to just those entries, or is said not to be there.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "kernels/Tiers.h"
#include "support/Images.h"

using namespace zor;

namespace {

ByteTable TableOf(double (*curve)(double)) {
    ByteTable table;
    for (int i = 0; i < 256; ++i) table.entry[i] = static_cast<std::uint8_t>(curve(i / 255.0) * 255 + 0.5);
    return table;
}

// What a curve says of its entries.
std::uint8_t EntryOf(const ByteCurve& curve, int byte) {
    const int h = byte / 16, l = byte % 16;
    int entry = curve.base[h] + (curve.slope[h] * l >> 4) + (curve.bits[h / 8][l] >> h % 8 & 1);
    for (int k = 0; k < ByteCurve::kRough; ++k) {
        if (curve.start[k] == 16 * h) entry += curve.more[k][l];
    }
    return static_cast<std::uint8_t>(entry);
}

void CheckCurve(const ByteCurve& curve) {
    for (int i = 0; i < 256 && curve.smooth; ++i) ASSERT_EQ(EntryOf(curve, i), curve.table.entry[i]) << i;
    std::uint8_t every[256], mapped[256];
    std::iota(every, every + 256, std::uint8_t{0});
    for (const KernelTier& tier : RunnableTiers()) {
        tier.table.tables.mapInTurn(every, mapped, 256, &curve, 1);
        for (int i = 0; i < 256; ++i) ASSERT_EQ(mapped[i], curve.table.entry[i]) << tier.name << " " << i;
    }
}

TEST(ByteCurves, CurvesOfToneAreSmooth) {
    double (*const curves[])(double) = {
        [](double t) { return t; },
        [](double t) { return 1 - t; },
        [](double) { return 0.5; },
        [](double t) { return std::pow(t, 1 / 2.2); },
        [](double t) { return std::pow(t, 1 / 1.4); },
        [](double t) { return std::pow(t, 2.2); },
        [](double t) { return std::abs(1 - 2 * t); },
        [](double t) { return t * t * (3 - 2 * t); },
        [](double t) { return std::min(1.0, std::max(0.0, (t - 0.1) * 1.3)); },
        [](double t) { return t < 0.5 ? 0.0 : 1.0; },
    };
    for (const auto curve : curves) {
        const ByteCurve made = CurveOf(TableOf(curve));
        EXPECT_TRUE(made.smooth) << &curve - curves;
        CheckCurve(made);
    }
}

TEST(ByteCurves, NoiseHasNoShorterWay) {
    Random random(1);
    ByteTable table;
    for (std::uint8_t& entry : table.entry) entry = random.Byte();
    EXPECT_FALSE(CurveOf(table).smooth);
    CheckCurve(CurveOf(table));
}

// Steps of any size in single rows, among lines: from smooth to not.
TEST(ByteCurves, RowsThatNoLineFitsAreToldEntryByEntry) {
    Random random(2);
    int smooth = 0, withRows = 0, others = 0;
    for (int round = 0; round < 3000; ++round) {
        ByteTable table = TableOf([](double t) { return t * t; });
        for (int k = random.Between(0, 5); k > 0; --k) table.entry[random.Between(0, 255)] = random.Byte();
        const ByteCurve curve = CurveOf(table);
        CheckCurve(curve);
        ++(!curve.smooth ? others : curve.rough > 1 ? withRows : smooth);
    }
    EXPECT_GT(smooth, 100);
    EXPECT_GT(withRows, 100);
    EXPECT_GT(others, 100);
}

// All slopes that a signed byte holds, and the ends of a byte.
TEST(ByteCurves, LinesOfEverySlopeAreExact) {
    for (int slope = -272; slope <= 272; ++slope) {
        ByteTable table;
        const int rise = slope * 15 >> 4;
        for (int i = 0; i < 256; ++i) {
            const int value = std::max(0, -rise) + (slope * (i % 16) >> 4) + i / 16;
            table.entry[i] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        }
        const ByteCurve curve = CurveOf(table);
        EXPECT_TRUE(curve.smooth || std::abs(slope) > 120) << slope;
        CheckCurve(curve);
    }
}

TEST(ByteCurves, EveryPeriodTakesItsTablesInTurn) {
    Random random(3);
    double (*const curves[])(double) = {[](double t) { return std::pow(t, 1 / 2.2); }, [](double t) { return t * t; },
                                        [](double t) { return 1 - t; }, [](double t) { return t / 2; },
                                        [](double t) { return t * t * t; }};
    for (int period = 1; period <= 5; ++period) {
        for (const bool smooth : {true, false}) {
            std::vector<ByteCurve> turns;
            for (int k = 0; k < period; ++k) {
                ByteTable table = TableOf(curves[k]);
                if (!smooth && k == period - 1) {
                    for (std::uint8_t& entry : table.entry) entry = random.Byte();
                }
                turns.push_back(CurveOf(table));
            }
            std::vector<std::uint8_t> bytes(1500), expected(bytes.size());
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                bytes[i] = random.Byte();
                expected[i] = turns[i % turns.size()].table.entry[bytes[i]];
            }
            for (const KernelTier& tier : RunnableTiers()) {
                std::vector<std::uint8_t> mapped = bytes;
                tier.table.tables.mapInTurn(mapped.data(), mapped.data(), 1500, turns.data(), period);
                EXPECT_EQ(mapped, expected) << tier.name << " " << period;
            }
        }
    }
}

}  // namespace
