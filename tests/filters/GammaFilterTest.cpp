#include "filters/GammaFilter.h"

#include <cmath>
#include <limits>

#include "core/Formats.h"
#include "filters/Curves.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class GammaFilterTest : public EngineTest {};

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

int GammaOf(int byte, double gamma) {
    const double value = std::pow(byte / 255.0, 1.0 / gamma) * 255.0 + 0.5;
    if (!(value >= 0)) return 0;
    return value >= 255 ? 255 : static_cast<int>(std::floor(value));
}

// The gamma of each channel of the source's family by name; a channel that is not named is left alone.
using Gammas = std::vector<std::pair<std::string, double>>;

void ApplyGammas(FilterModel& model, const Gammas& gammas) {
    for (int y = 0; y < model.height; ++y) {
        for (int x = 0; x < model.width; ++x) {
            const std::vector<int> before = model.ReadPixel(x, y);
            for (std::size_t c = 0; c < before.size(); ++c) {
                for (const auto& [name, gamma] : gammas) {
                    const ModelChannel& channel = model.channels[c];
                    if (channel.name == name) model.Write(x, y, channel, GammaOf(before[c], gamma));
                }
            }
        }
    }
}

TEST_F(GammaFilterTest, GammaOfOneIsTheIdentity) {
    const ByteTable table = GammaTable(1.0);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], i);
}

TEST_F(GammaFilterTest, GammaOfZeroLeavesWhiteAlone) {
    const ByteTable table = GammaTable(0.0);
    for (int i = 0; i < 255; ++i) EXPECT_EQ(table.entry[i], 0) << i;
    EXPECT_EQ(table.entry[255], 255);
}

TEST_F(GammaFilterTest, NegativeGammaTurnsAllFromOneUpwardsWhite) {
    for (const double gamma : {-0.1, -1.0, -2.5}) {
        const ByteTable table = GammaTable(gamma);
        for (int i = 1; i < 256; ++i) EXPECT_EQ(table.entry[i], 255) << i << " at " << gamma;
    }
}

TEST_F(GammaFilterTest, GammaThatIsNoNumberTurnsAllBlackButWhite) {
    const ByteTable table = GammaTable(kNan);
    for (int i = 0; i < 255; ++i) EXPECT_EQ(table.entry[i], 0) << i;
    EXPECT_EQ(table.entry[255], 255) << "1 to any power is 1";
}

TEST_F(GammaFilterTest, InfiniteGammaTurnsAllWhite) {
    const ByteTable table = GammaTable(kInfinity);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], 255) << i;
}

TEST_F(GammaFilterTest, TablesFollowTheCurve) {
    EXPECT_EQ(GammaTable(2.0).entry[64], 128);  // the square root of a quarter
    EXPECT_EQ(GammaTable(0.5).entry[128], 64);
    for (const double gamma : {0.2, 0.45, 1.8, 2.2, 10.0}) {
        const ByteTable table = GammaTable(gamma);
        for (int i = 0; i < 256; ++i) EXPECT_EQ(table.entry[i], GammaOf(i, gamma)) << i << " at " << gamma;
    }
}

// --- one gamma out of three -----------------------------------------------------------------------------------------

struct Mix {
    double red, green, blue;
    double gray;
};

TEST_F(GammaFilterTest, GrayTakesTheMixInWholeNumbers) {
    const Mix kMixes[] = {
        {1.8, 1.8, 1.8, 1},
        {2.2, 2.2, 2.2, 2},
        {1.999, 1.0, 1.5, 1},
        {3.9, 1.0, 1.0, 1},  // (231 + 151 + 28) / 256 = 1.6
        {4.0, 4.0, 0.5, 3},  // (308 + 604) / 256 = 3.6
        {0.9, 0.9, 0.9, 0},
        {-1.9, -1.9, -1.9, -1},
        {-2.0, 0.0, 0.0, 0},                         // -154 / 256, toward zero
        {kNan, 2.0, kNan, 1},                        // 302 / 256
        {1e300, 0.0, 0.0, (2147483647 - 76) / 256},  // 77 times the largest integer, wrapped at 32 bits
    };
    for (const Mix& mix : kMixes) {
        SCOPED_TRACE(std::to_string(mix.red) + " " + std::to_string(mix.green) + " " + std::to_string(mix.blue));
        const TestImage source = MakePlain(256, 1, ImageFormatG);
        for (int i = 0; i < 256; ++i) source->GetRow(source.record(), 0)[i] = static_cast<std::uint8_t>(i);
        const TestImage result(GammaFilterRGB(source.object(), nullptr, mix.red, mix.green, mix.blue));
        const TestImage result2(GammaFilterRGBA(source.object(), nullptr, mix.red, mix.green, mix.blue, 5.0));
        for (int i = 0; i < 256; ++i) {
            EXPECT_EQ(PixelAt(result, i, 0).front(), GammaOf(i, mix.gray)) << i;
            EXPECT_EQ(PixelAt(result2, i, 0).front(), GammaOf(i, mix.gray)) << i;
        }
    }
}

TEST_F(GammaFilterTest, ThreeGammasBelowTwoLeaveGrayAloneAndFilterRGB) {
    Random random(1);
    const TestImage gray = MakePlain(20, 20, ImageFormatG), rgb = MakePlain(20, 20, ImageFormatRGB);
    FillWithNoise(gray, random);
    FillWithNoise(rgb, random);
    const TestImage grayResult(GammaFilterRGB(gray.object(), nullptr, 1.8, 1.8, 1.8));
    const TestImage rgbResult(GammaFilterRGB(rgb.object(), nullptr, 1.8, 1.8, 1.8));
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(PixelAt(grayResult, x, y), PixelAt(gray, x, y));
            const std::vector<int> before = PixelAt(rgb, x, y);
            EXPECT_EQ(PixelAt(rgbResult, x, y),
                      (std::vector<int>{GammaOf(before[0], 1.8), GammaOf(before[1], 1.8), GammaOf(before[2], 1.8)}));
        }
    }
}

TEST_F(GammaFilterTest, FormsWithoutAlphaLeaveAlphaOfANewImageAtZero) {
    for (const int format : {ImageFormatRGBA, ImageFormatABGR}) {
        const TestImage source = MakePlain(3, 2, format);
        FillPixels(source, {64, 16, 255, 200});
        const TestImage result(GammaFilterG(source.object(), nullptr, 2.0));
        EXPECT_EQ(PixelAt(result, 2, 1), (std::vector<int>{128, 64, 255, 0}));
    }
}

TEST_F(GammaFilterTest, CMYKComesBackUnchanged) {
    Random random(2);
    for (const int format : CMYKFormats()) {
        const TestImage source = MakePlain(5, 4, format), dest = MakePlain(5, 4, format);
        FillWithNoise(source, random);
        FillWithNoise(dest, random);
        const Storage before = SnapshotOf(dest);
        const TestImage result(GammaFilterRGBA(source.object(), dest.object(), 2.0, 2.0, 2.0, 2.0));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

// --- every method with every family ---------------------------------------------------------------------------------

struct FamilyRow {
    const char* name;
    REALobject (*run)(REALobject source, REALobject dest);
    Gammas gray, grayAlpha, rgb, rgbAlpha;
};

// red 2.5, green 3.5, blue 0.5, alpha 0.7, one gamma 1.6; mixed: (77 x 2 + 151 x 3 + 28 x 0) / 256 = 2.
const FamilyRow kRows[] = {
    {"GammaFilterG",
     [](REALobject s, REALobject d) { return GammaFilterG(s, d, 1.6); },
     {{"gray", 1.6}},
     {{"gray", 1.6}},
     {{"red", 1.6}, {"green", 1.6}, {"blue", 1.6}},
     {{"red", 1.6}, {"green", 1.6}, {"blue", 1.6}}},
    {"GammaFilterGA",
     [](REALobject s, REALobject d) { return GammaFilterGA(s, d, 1.6, 0.7); },
     {{"gray", 1.6}},
     {{"gray", 1.6}, {"alpha", 0.7}},
     {{"red", 1.6}, {"green", 1.6}, {"blue", 1.6}},
     {{"red", 1.6}, {"green", 1.6}, {"blue", 1.6}, {"alpha", 0.7}}},
    {"GammaFilterRGB",
     [](REALobject s, REALobject d) { return GammaFilterRGB(s, d, 2.5, 3.5, 0.5); },
     {{"gray", 2.0}},
     {{"gray", 2.0}},
     {{"red", 2.5}, {"green", 3.5}, {"blue", 0.5}},
     {{"red", 2.5}, {"green", 3.5}, {"blue", 0.5}}},
    {"GammaFilterRGBA",
     [](REALobject s, REALobject d) { return GammaFilterRGBA(s, d, 2.5, 3.5, 0.5, 0.7); },
     {{"gray", 2.0}},
     {{"gray", 2.0}, {"alpha", 0.7}},
     {{"red", 2.5}, {"green", 3.5}, {"blue", 0.5}},
     {{"red", 2.5}, {"green", 3.5}, {"blue", 0.5}, {"alpha", 0.7}}},
};

FilterCase CaseOf(const FamilyRow& row) {
    return {row.name, row.run, [&row](FilterModel& model) {
                const bool alpha = !model.channels.empty() && model.channels.back().name == "alpha";
                if (model.isGray()) ApplyGammas(model, alpha ? row.grayAlpha : row.gray);
                if (model.isRGB()) ApplyGammas(model, alpha ? row.rgbAlpha : row.rgb);
            }};
}

TEST_F(GammaFilterTest, ServesEachFamilyAsItsRowTells) {
    Random random(3);
    const TempDir directory;
    for (const FamilyRow& row : kRows) {
        for (const int format : AllFormats()) {
            CheckFilter(CaseOf(row), RandomPair(random, directory, Relation::made, format));
            CheckFilter(CaseOf(row), RandomPair(random, directory, Relation::apart, format));
        }
    }
}

TEST_F(GammaFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(4, 400, [](Random& random) { return CaseOf(kRows[random.Between(0, 3)]); });
}

}  // namespace
