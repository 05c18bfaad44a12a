// The effects `gamma`, `curve`, `gain`, `solarize`, `autolevel` and `dither` on files.

#include <cmath>

#include "EffectTest.h"

namespace {

using ToneEffects = EffectTest;

TEST_F(ToneEffects, BendMiddleTonesByGamma) {
    for (const char* gamma : {"1", "1.8", "0.5"})
        ExpectToneOfEveryKind({"gamma", gamma}, [&](int v) {
            return static_cast<int>(std::pow(v / 255.0, 1.0 / std::stod(gamma)) * 255.0 + 0.5);
        });
}

TEST_F(ToneEffects, FollowACurve) {
    ExpectToneOfEveryKind({"curve", "0:255,255:0"}, [](int v) { return 255 - v; });
    ExpectToneOfEveryKind({"curve", "10:20,110:220"}, [](int v) { return 2 * std::clamp(v, 10, 110); });
    ExpectToneOfEveryKind({"curve", "7:99"}, [](int) { return 99; });
    std::string values;
    for (int i = 0; i < 256; ++i) values += std::to_string(i * 7 % 256) + (i % 16 == 15 ? "\n" : " ");
    WriteFile(At("all.txt"), values);
    ExpectToneOfEveryKind({"curve", "all.txt"}, [](int v) { return v * 7 % 256; });
    WriteFile(At("points.txt"), "0:255\n255:0\n");
    ExpectToneOfEveryKind({"curve", "points.txt"}, [](int v) { return 255 - v; });
}

// Red, green and blue each by a value of their own, alpha by one or as it was.
TEST_F(ToneEffects, TakeAValueForEachChannel) {
    const auto gamma = [](int v, double g) { return static_cast<int>(std::pow(v / 255.0, 1.0 / g) * 255.0 + 0.5); };
    struct Case {
        int channels;
        std::vector<std::string> words;
        std::array<double, 4> gammas;  // 1: nothing changes
    };
    for (const Case& c : std::vector<Case>{{3, {"2"}, {2, 2, 2, 1}},
                                           {3, {"2", "red=0.5"}, {0.5, 2, 2, 1}},
                                           {4, {"2", "green=0.5"}, {2, 0.5, 2, 1}},
                                           {4, {"2", "alpha=0.5"}, {2, 2, 2, 0.5}},
                                           {4, {"1", "blue=3", "alpha=0.5", "red=1.5"}, {1.5, 1, 3, 0.5}},
                                           {2, {"2", "alpha=0.5"}, {2, 0.5, 1, 1}}}) {
        const Pixels in = MakePixels(40, 30, c.channels, 4);
        std::vector<std::string> effect = {"gamma"};
        effect.insert(effect.end(), c.words.begin(), c.words.end());
        const Pixels out = Result(in, effect);
        for (std::size_t i = 0; i < in.bytes.size(); ++i)
            ASSERT_EQ(out.bytes[i], gamma(in.bytes[i], c.gammas[i % static_cast<std::size_t>(c.channels)])) << i;
    }
    const Pixels in = MakePixels(40, 30, 4, 5);
    WriteFile(At("half.txt"), "0:0 255:51");
    const Pixels out = Result(in, {"curve", "0:0,255:255", "red=0:255,255:0", "blue=9:9", "alpha=half.txt"});
    for (std::size_t i = 0; i < in.bytes.size(); i += 4) {
        ASSERT_EQ(out.bytes[i], 255 - in.bytes[i]);
        ASSERT_EQ(out.bytes[i + 1], in.bytes[i + 1]);
        ASSERT_EQ(out.bytes[i + 2], 9);
        ASSERT_EQ(out.bytes[i + 3], std::lround(in.bytes[i + 3] / 5.0));
    }
}

TEST_F(ToneEffects, RefuseValuesForChannelsThatAreNotThere) {
    SavePng(At("rgb.png"), PlainPng(MakePixels(8, 8, 3, 1)));
    SavePng(At("gray.png"), PlainPng(MakePixels(8, 8, 2, 1)));
    ExpectFailure(Run({"rgb.png", "x.png", "gamma", "1", "alpha=2"}), 1,
                  {"gamma: the picture is RGB and has no alpha"});
    ExpectFailure(Run({"gray.png", "x.png", "gamma", "1", "green=2"}), 1, {"gray + alpha and has no green"});
    ExpectFailure(Run({"gray.png", "x.png", "curve", "1:1", "blue=2:2"}), 1, {"curve: ", "has no blue"});
    ExpectFailure(Run({"rgb.png", "x.png", "curve", "1:1", "blue=none.txt"}), 1, {"none.txt"});
}

TEST_F(ToneEffects, LevelAnAreaByItself) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(40, 30, channels, 9);
        const Pixels out = Result(in, {"autolevel", "area=10,5,20x15"});
        const Pixels part = Result(Result(in, {"crop", "10,5,20x15"}), {"autolevel"});
        EXPECT_NE(part, Result(in, {"crop", "10,5,20x15"}));
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x)
                for (int c = 0; c < channels; ++c) {
                    const bool inside = x >= 10 && x < 30 && y >= 5 && y < 20;
                    ASSERT_EQ(out.At(x, y, c), inside ? part.At(x - 10, y - 5, c) : in.At(x, y, c));
                }
    }
}

TEST_F(ToneEffects, TellWhatIsWrongWithAFileThatHoldsNoCurve) {
    SavePng(At("in.png"), PlainPng(MakePixels(8, 8, 3, 1)));
    for (const char* name : {"none.txt", "0:0,255;255"})
        ExpectFailure(Run({"in.png", "out.png", "curve", name}), 1,
                      {"curve: '" + std::string(name) + "' is neither points X:Y,X:Y,... nor a file: No such file"});
    for (const char* text : {"", "1 2 3", "0:0 5:300", "5:5 5:6", "hello"}) {
        WriteFile(At("bad.txt"), text);
        ExpectFailure(Run({"in.png", "out.png", "curve", "bad.txt"}), 1, {"bad.txt", "holds no curve"});
    }
    EXPECT_FALSE(std::filesystem::exists(At("out.png")));
}

TEST_F(ToneEffects, ChangeNothingByAMiddlingGainAndBias) {
    ExpectToneOfEveryKind({"gain", "0.5", "0.5"}, [](int v) { return v; });
    const Pixels ramp{3, 1, 1, {64, 128, 192}};
    const Pixels brighter = Result(ramp, {"gain", "0.5", "0.7"});
    const Pixels harder = Result(ramp, {"gain", "0.7", "0.5"});
    for (int x = 0; x < 3; ++x) EXPECT_GT(brighter.At(x, 0, 0), ramp.At(x, 0, 0));
    EXPECT_LT(harder.At(0, 0, 0), 64);
    EXPECT_GT(harder.At(2, 0, 0), 192);
}

TEST_F(ToneEffects, RoundWhatGainAndBiasMake) {
    const double gain = 0.7, bias = 0.4, exponent = std::log(1 - gain) / std::log(0.5);
    const auto bent = [&](int v) {
        const double t = v / 255.0;
        const double x = t < 0.5 ? std::pow(2 * t, exponent) / 2 : 1 - std::pow(2 * (1 - t), exponent) / 2;
        return v == 0 ? 0.0 : v == 255 ? 255.0 : x / ((1 / bias - 2) * (1 - x) + 1) * 255.0;
    };
    ExpectToneOfEveryKind({"gain", "0.7", "0.4"}, [&](int v) { return static_cast<int>(std::lround(bent(v))); });
    ExpectToneOfEveryKind({"gain", "0.7", "0.4", "--plugin-bytes"}, [&](int v) { return static_cast<int>(bent(v)); });
}

TEST_F(ToneEffects, WorkOnRowsAsOnTheWholePicture) {
    const std::vector<std::string> kinds = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA", "CMYK"};
    for (const std::vector<std::string>& effect : std::vector<std::vector<std::string>>{
             {"gamma", "1.8"}, {"curve", "0:9,100:200,255:0"}, {"gain", "0.6", "0.3"}, {"solarize"}})
        ExpectSameOnRows(effect, kinds);
    ExpectSameOnRows({"gamma", "0.7", "blue=3", "alpha=2"}, {"RGB_ALPHA"});
}

TEST_F(ToneEffects, MakeTheMiddleBlackBySolarizing) {
    for (int channels = 1; channels <= 4; ++channels) {
        Pixels in{4, 1, channels, {}};
        for (const int v : {0, 127, 128, 255})
            in.bytes.insert(in.bytes.end(), static_cast<std::size_t>(channels), static_cast<std::uint8_t>(v));
        const Pixels out = Result(in, {"solarize"});
        static constexpr int kExpected[] = {255, 0, 0, 255};
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(out.At(x, 0, c), channels % 2 == 0 && c == channels - 1 ? in.At(x, 0, c) : kExpected[x]);
    }
}

TEST_F(ToneEffects, StretchContrastAlikeInGrayAndRgb) {
    for (int channels = 1; channels <= 4; ++channels) {
        Pixels in{101, 10, channels, {}};
        for (int i = 0; i < 101 * 10; ++i)
            for (int c = 0; c < channels; ++c) in.bytes.push_back(static_cast<std::uint8_t>(50 + i % 101));
        const Pixels out = Result(in, {"autolevel"});
        for (int c = 0; c < channels; ++c) {
            if (channels % 2 == 0 && c == channels - 1) {
                EXPECT_EQ(Channel(out, c), Channel(in, c));
                continue;
            }
            EXPECT_LE(out.At(0, 0, c), 2);
            EXPECT_GE(out.At(100, 0, c), 253);
            EXPECT_NEAR(out.At(50, 5, c), 128, 3);
        }
    }
    InkResult({1, 2, 3, 4}, {"flip", "h"});
    ExpectFailure(Run({"in.jpg", "out2.jpg", "autolevel"}), 1, {"autolevel", "not on CMYK"});
}

constexpr const char* kMatrices[] = {"magic2x2",   "magic4x4",   "ordered4x4", "lines4x4", "halftone",
                                     "ordered6x6", "ordered8x8", "cluster3",   "cluster4", "cluster8"};

// Of each square of that side, how far the mean of a channel is from what it was; the farthest.
double FarthestMean(const Pixels& in, const Pixels& out, int side) {
    double farthest = 0;
    for (int top = 0; top + side <= in.height; top += side)
        for (int left = 0; left + side <= in.width; left += side)
            for (int c = 0; c < in.channels; ++c) {
                int sum = 0;
                for (int y = top; y < top + side; ++y)
                    for (int x = left; x < left + side; ++x) sum += out.At(x, y, c) - in.At(x, y, c);
                farthest = std::max(farthest, std::abs(sum) / static_cast<double>(side * side));
            }
    return farthest;
}

TEST_F(ToneEffects, DitherToWhatLooksLikeThePictureFromAfar) {
    // Flat tones in squares of a side in which every pattern repeats as a whole, slopes, and two photographs.
    constexpr int kSide = 384;
    Pixels flats{16 * kSide, kSide, 1, {}}, slopes{256, 256, 3, {}};
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < 16 * kSide; ++x) flats.bytes.push_back(static_cast<std::uint8_t>(x / kSide * 16 + 7));
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x)
            for (const int value : {x, 255 - y, (x + y) / 2}) slopes.bytes.push_back(static_cast<std::uint8_t>(value));
    RunWell({Photo("chelsea.png"), "photo.png"});
    RunWell({Photo("rocket.jpg"), "other.png"});
    for (const Pixels& in : {flats, slopes, PixelsOf(LoadPng(At("photo.png"))), PixelsOf(LoadPng(At("other.png")))}) {
        SaveInput(in);
        for (const char* matrix : kMatrices)
            for (const char* levels : {"2", "4", "16"}) {
                const Pixels out = Result({"dither", matrix, levels});
                if (in.channels == 1) {
                    EXPECT_LE(FarthestMean(in, out, kSide), 0.6) << matrix << " " << levels;
                    continue;
                }
                EXPECT_LT(FarthestMean(in, out, 256), 2) << matrix << " " << levels;
                EXPECT_LT(FarthestMean(in, out, 64), 8) << matrix << " " << levels;  // dots are cut at its sides
            }
    }
}

TEST_F(ToneEffects, DitherToOneOfTheTwoNextLevels) {
    for (const char* matrix : kMatrices)
        for (int channels = 1; channels <= 4; ++channels) {
            const Pixels in = MakePixels(600, 21, channels, 6);  // wider than what repeats
            SaveInput(in);
            for (const int levels : {2, 3, 5, 16, 100, 256}) {
                const Pixels out = Result({"dither", matrix, std::to_string(levels)});
                ASSERT_EQ(out.bytes.size(), in.bytes.size());
                for (std::size_t i = 0; i < in.bytes.size(); ++i) {
                    if (channels % 2 == 0 && static_cast<int>(i) % channels == channels - 1) {
                        ASSERT_EQ(out.bytes[i], in.bytes[i]) << "alpha";
                        continue;
                    }
                    const double step = 255.0 / (levels - 1), lower = std::floor(in.bytes[i] / step + 1e-9);
                    const double upper = std::ceil(in.bytes[i] / step - 1e-9);
                    ASSERT_TRUE(out.bytes[i] == std::floor(lower * step + 0.5) ||
                                out.bytes[i] == std::floor(upper * step + 0.5))
                        << matrix << " " << levels << ": " << int{in.bytes[i]} << " to " << int{out.bytes[i]};
                }
            }
            EXPECT_EQ(Result({"dither", matrix, "256"}), in) << matrix;
        }
}

// Whatever a row is made of: its place in the picture decides, and cells of one matrix repeat.
TEST_F(ToneEffects, DitherFlatTonesByAMatrixThatRepeats) {
    Pixels flat{300, 300, 1, std::vector<std::uint8_t>(300 * 300, 128)};
    SaveInput(flat);
    const Pixels out = Result({"dither", "ordered4x4", "2"});
    for (int y = 0; y < 300 - 32; ++y)
        for (int x = 0; x < 300 - 32; ++x) {
            ASSERT_EQ(out.At(x, y, 0), out.At(x + 32, y, 0));
            ASSERT_EQ(out.At(x, y, 0), out.At(x, y + 32, 0));
        }
    // Half of all: the chessboard of the larger cells, but for the cell that stands in the middle.
    int differing = 0;
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 300; ++x) {
            const int cells[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
            differing += (out.At(x, y, 0) == 255) != (cells[y % 4][x % 4] >= 8) ? 1 : 0;
        }
    EXPECT_LE(differing, 300 * 300 / 100);
}

TEST_F(ToneEffects, DitherToLevelsThatAPatternChooses) {
    for (const char* matrix : {"magic2x2", "magic4x4", "ordered4x4", "lines4x4", "halftone", "ordered6x6", "ordered8x8",
                               "cluster3", "cluster4", "cluster8"})
        for (int channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE(std::string(matrix) + ", " + std::to_string(channels));
            const Pixels in = MakePixels(40, 30, channels, 6);
            const Pixels out = Result(in, {"--plugin-bytes", "dither", matrix, "2"});
            for (int y = 0; y < 30; ++y)
                for (int x = 0; x < 40; ++x)
                    for (int c = 0; c < channels; ++c) {
                        const bool alpha = channels % 2 == 0 && c == channels - 1;
                        if (alpha) {
                            ASSERT_EQ(out.At(x, y, c), in.At(x, y, c));
                        } else {
                            ASSERT_TRUE(out.At(x, y, c) == 0 || out.At(x, y, c) == 255);
                        }
                    }
            // Black becomes white everywhere.
            Pixels black{9, 9, channels, {}};
            black.bytes.assign(static_cast<std::size_t>(81 * channels), 0);
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(Result(black, {"--plugin-bytes", "dither", matrix, "2"}).At(4, 4, c),
                          channels % 2 == 0 && c == channels - 1 ? 0 : 255);
        }
}

TEST_F(ToneEffects, TakeInksAsTheLightThatTheyLeave) {
    // In these files 255 is no ink, so that a value is the light.
    ExpectInks(InkResult({240, 180, 90, 30}, {"curve", "0:255,255:0"}), {15, 75, 165, 225});
    ExpectInks(InkResult({240, 180, 90, 30}, {"gain", "0.5", "0.5"}), {240, 180, 90, 30});
    ExpectInks(InkResult({64, 64, 64, 64}, {"gamma", "2"}), {128, 128, 128, 128});
    ExpectInks(InkResult({0, 255, 127, 255}, {"solarize"}), {255, 255, 0, 255});
    ExpectInks(InkResult({0, 0, 0, 0}, {"--plugin-bytes", "dither", "magic2x2", "2"}), {255, 255, 255, 255});
    ExpectInks(InkResult({0, 255, 0, 255}, {"dither", "magic2x2", "2"}), {0, 255, 0, 255});
    ExpectInks(InkResult({85, 170, 85, 170}, {"dither", "magic2x2", "4"}), {85, 170, 85, 170});
}

TEST_F(ToneEffects, RefuseWhatIsOutOfRange) {
    ExpectRefusals({{{"gamma"}, {"gamma is missing"}},
                    {{"gamma", "0"}, {"'0'", "from 0.01 to 100"}},
                    {{"curve", "0:0,0:5"}, {"'0:0,0:5'", "rising X"}},
                    {{"curve", "0:0,5:256"}, {"from 0 to 255"}},
                    {{"curve", "12"}, {"points X:Y"}},
                    {{"gain", "0.5"}, {"bias is missing", "from 0.001 to 0.999"}},
                    {{"gain", "1", "0.5"}, {"from 0.001 to 0.999"}},
                    {{"gain", "0.5", "0"}, {"from 0.001 to 0.999"}},
                    {{"solarize", "1"}, {"'1'", "zor help solarize"}},
                    {{"autolevel", "1"}, {"'1'", "zor help autolevel"}},
                    {{"dither", "magic", "2"}, {"'magic'", "one of magic2x2", "cluster8"}},
                    {{"dither", "magic2x2"}, {"levels is missing"}},
                    {{"dither", "magic2x2", "1"}, {"from 2 to 256"}},
                    {{"dither", "magic2x2", "257"}, {"from 2 to 256"}}});
}

TEST_F(ToneEffects, HaveHelpWithAnExample) {
    for (const char* effect : {"gamma", "curve", "gain", "solarize", "autolevel", "dither"})
        ExpectHelpWithWorkingExample(effect);
}

}  // namespace
