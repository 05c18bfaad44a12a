#include "filters/GainFilter.h"

#include <cmath>
#include <limits>

#include "core/Formats.h"
#include "filters/Curves.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class GainFilterTest : public EngineTest {};

int GainOf(int byte, double gain, double bias) {
    const double t = byte / 255.0, e = std::log(1.0 - gain) / std::log(0.5), b = 1.0 / bias - 2.0;
    double x = 0, r = 1;
    if (t > 0.999) {
        x = 1;
        r = 0;
    } else if (t >= 0.001) {
        x = t < 0.5 ? 0.5 * std::pow(2 * t, e) : 1.0 - 0.5 * std::pow(2 * (1.0 - t), e);
        r = 1.0 - x;
    }
    const double v = x / (r * b + 1.0) * 255.0;
    if (std::isnan(v) || v < 0) return 0;
    return v > 255.0 ? 255 : static_cast<int>(v);
}

FilterCase CaseOf(double gain, double bias) {
    return {"gain " + std::to_string(gain) + " bias " + std::to_string(bias),
            [=](REALobject s, REALobject d) { return GainFilter(s, d, gain, bias); },
            [=](FilterModel& model) {
                if (model.isCMYK()) return;
                model.MapPixels([=](std::size_t, int byte, int, int) { return GainOf(byte, gain, bias); });
            }};
}

TEST_F(GainFilterTest, HalfAndHalfIsTheIdentity) {
    const ByteTable table = GainTable(0.5, 0.5);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], i);
    Random random(1);
    const TestImage source = MakePlain(30, 20, ImageFormatARGB);
    FillWithNoise(source, random);
    const TestImage result(GainFilter(source.object(), nullptr, 0.5, 0.5));
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 30; ++x) EXPECT_EQ(PixelAt(result, x, y), PixelAt(source, x, y));
    }
}

TEST_F(GainFilterTest, GainSteepensTheMiddleAndBiasLiftsIt) {
    const ByteTable steep = GainTable(0.8, 0.5), lifted = GainTable(0.5, 0.8);
    EXPECT_LT(steep.entry[64], 64);
    EXPECT_GT(steep.entry[192], 192);
    for (int i = 1; i < 255; ++i) EXPECT_GE(lifted.entry[i], i);
    EXPECT_GT(lifted.entry[128], 180);
}

TEST_F(GainFilterTest, EndsStayWhereTheyAre) {
    for (const double gain : {-3.0, 0.1, 0.5, 0.9, 2.0}) {
        for (const double bias : {-0.7, 0.1, 0.5, 0.9, 3.0}) {
            EXPECT_EQ(GainTable(gain, bias).entry[0], 0);
            EXPECT_EQ(GainTable(gain, bias).entry[255], 255);
        }
    }
}

TEST_F(GainFilterTest, WhatIsNoNumberBecomesZero) {
    const ByteTable table = GainTable(2.0, 0.5);  // the logarithm of a negative number
    EXPECT_EQ(table.entry[0], 0);
    for (int i = 1; i < 255; ++i) EXPECT_EQ(table.entry[i], 0) << i;
    EXPECT_EQ(table.entry[255], 255);
}

TEST_F(GainFilterTest, TablesFollowTheCurve) {
    const double inf = std::numeric_limits<double>::infinity();
    for (const double gain : {-2.0, 0.0, 0.25, 0.5, 0.75, 1.0, 1.5, inf}) {
        for (const double bias : {-1.0, 0.0, 0.25, 0.5, 0.75, 1.0, 2.0, inf}) {
            const ByteTable table = GainTable(gain, bias);
            for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], GainOf(i, gain, bias)) << gain << " " << bias;
        }
    }
}

TEST_F(GainFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(
        6, 300, [](Random& random) { return CaseOf(random.Between(0, 100) / 100.0, random.Between(0, 100) / 100.0); });
}

}  // namespace
