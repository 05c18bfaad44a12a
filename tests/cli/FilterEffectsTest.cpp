// The effects `matrix`, `blur`, `softblur` and `unsharp` on files.

#include <cstdlib>

#include "EffectTest.h"

namespace {

using FilterEffects = EffectTest;

constexpr int kWidth = 37, kHeight = 23;  // neither square nor even

bool IsAlpha(int channels, int c) {
    return channels % 2 == 0 && c == channels - 1;
}

TEST_F(FilterEffects, WeighNeighboursOfEveryColourAndKeepAlpha) {
    static constexpr int kWeights[9] = {0, -1, 2, -3, 9, 1, 4, -5, -1};
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 7);
        const Pixels out =
            Result(in, {"matrix", "0,-1,2,-3,9,1,4,-5,-1", "delta=-100", "factor=0.25", "--plugin-bytes"});
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < channels; ++c) {
                    int sum = -100;
                    for (int k = 0; k < 9; ++k) sum += kWeights[k] * Clamped(in, x - 1 + k % 3, y - 1 + k / 3, c);
                    const int expected = IsAlpha(channels, c) ? in.At(x, y, c) : std::clamp(sum / 4, 0, 255);
                    ASSERT_EQ(out.At(x, y, c), expected) << x << "," << y << " " << c << " of " << channels;
                }
    }
}

TEST_F(FilterEffects, TakeTheSideOfAMatrixFromTheCountOfItsWeights) {
    const Pixels in = MakePixels(kWidth, kHeight, 3, 7);
    std::string weights = "1";
    for (int k = 1; k < 16; ++k) weights += ",0";
    const Pixels out = Result(in, {"matrix", weights});
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) ASSERT_EQ(out.At(x, y, 1), Clamped(in, x - 2, y - 2, 1));
}

TEST_F(FilterEffects, BlurEveryChannelByTheMeanOfASquare) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 8);
        const Pixels out = Result(in, {"blur", "2", "--plugin-bytes"});
        Pixels columns = in;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < channels; ++c) {
                    int sum = 0;
                    for (int i = -2; i <= 2; ++i) sum += Clamped(in, x, y + i, c);
                    columns.bytes[static_cast<std::size_t>((y * kWidth + x) * channels + c)] =
                        static_cast<std::uint8_t>(sum / 5);
                }
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < channels; ++c) {
                    int sum = 0;
                    for (int i = -2; i <= 2; ++i) sum += Clamped(columns, x + i, y, c);
                    ASSERT_EQ(out.At(x, y, c), sum / 5) << x << "," << y << " " << c << " of " << channels;
                }
    }
}

TEST_F(FilterEffects, BlurAlongOneAxisAlone) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const bool across : {true, false}) {
            const Pixels in = MakePixels(kWidth, kHeight, channels, 8);
            const Pixels out = Result(in, {"blur", "3", across ? "axis=h" : "axis=v", "--plugin-bytes"});
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x)
                    for (int c = 0; c < channels; ++c) {
                        int sum = 0;
                        for (int i = -3; i <= 3; ++i) sum += Clamped(in, across ? x + i : x, across ? y : y + i, c);
                        ASSERT_EQ(out.At(x, y, c), sum / 7) << x << "," << y << " " << c << " of " << channels;
                    }
        }
}

TEST_F(FilterEffects, BlurAsOftenAsIterationsSay) {
    const Pixels in = MakePixels(kWidth, kHeight, 4, 8);
    const std::vector<std::string> blur = {"blur", "3", "--plugin-bytes"};
    const Pixels thrice = Result(Result(Result(in, blur), blur), blur);
    EXPECT_EQ(Result(in, {"blur", "3", "iterations=3", "--plugin-bytes"}), thrice);
    EXPECT_NE(Result(in, blur), thrice);
}

TEST_F(FilterEffects, BlurByLessThanAPixelInEveryChannel) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 9);
        EXPECT_EQ(Result(in, {"softblur", "0"}), in);
        const Pixels out = Result(in, {"softblur", "0.5", "--plugin-bytes"});
        const auto column = [&](int x, int y, int c) {
            return static_cast<int>((in.At(x, y, c) + (in.At(x, y - 1, c) + in.At(x, y + 1, c)) * 0.5) * 0.5);
        };
        for (int y = 1; y < kHeight - 1; ++y)
            for (int x = 1; x < kWidth - 1; ++x)
                for (int c = 0; c < channels; ++c)
                    ASSERT_EQ(
                        out.At(x, y, c),
                        static_cast<int>((column(x, y, c) + (column(x - 1, y, c) + column(x + 1, y, c)) * 0.5) * 0.5))
                        << x << "," << y << " " << c << " of " << channels;
    }
}

TEST_F(FilterEffects, SharpenAgainstABlurredCopyAndKeepAlpha) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 10);
        const Pixels blurred = Result(in, {"blur", "2", "--plugin-bytes"});
        const Pixels out = Result(in, {"unsharp", "0.5", "radius=2", "threshold=6", "--plugin-bytes"});
        for (std::size_t i = 0; i < in.bytes.size(); ++i) {
            const int a = in.bytes[i], b = blurred.bytes[i];
            const bool changes = std::abs(a - b) >= 6 && !IsAlpha(channels, static_cast<int>(i) % channels);
            ASSERT_EQ(out.bytes[i], changes ? std::clamp((a - b) * 3 + b, 0, 255) : a) << i << " of " << channels;
        }
    }
}

// --- right for people: rounded, and colours weighed by alpha --------------------------------------------------------

// Weighed sums of neighbours in doubles; colours count as their alpha, as the mean does that they make.
struct Neighbours {
    double sum = 0;     // of a colour, or of alpha
    double weight = 0;  // of that colour
};
template <class Weight>
Neighbours SumAround(const Pixels& in, int x, int y, int c, int reach, Weight weight) {
    Neighbours all;
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
            const bool weighs = in.channels % 2 == 0 && !IsAlpha(in.channels, c);
            const double w = weight(dx, dy) * (weighs ? Clamped(in, x + dx, y + dy, in.channels - 1) : 1);
            all.sum += w * Clamped(in, x + dx, y + dy, c);
            all.weight += w;
        }
    return all;
}

// Expects each byte to be the nearest to what `expected` gives for it, unless alpha makes it invisible.
template <class Expected>
void ExpectNearest(const Pixels& in, const Pixels& out, double slack, Expected expected) {
    ASSERT_EQ(out.bytes.size(), in.bytes.size());
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x)
            for (int c = 0; c < in.channels; ++c) {
                if (in.channels % 2 == 0 && out.At(x, y, in.channels - 1) == 0) continue;
                ASSERT_NEAR(out.At(x, y, c), expected(x, y, c), 0.5 + slack)
                    << x << "," << y << " " << c << " of " << in.channels;
            }
}

TEST_F(FilterEffects, RoundTheMeanOfASquareAndWeighItByAlpha) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 8);
        for (const char* axis : {"both", "h", "v"}) {
            const auto box = [axis](int dx, int dy) {
                return (axis[0] == 'h' && dy != 0) || (axis[0] == 'v' && dx != 0) ? 0.0 : 1.0;
            };
            ExpectNearest(in, Result(in, {"blur", "2", std::string("axis=") + axis}), 1e-6, [&](int x, int y, int c) {
                const Neighbours all = SumAround(in, x, y, c, 2, box);
                return all.weight > 0 ? all.sum / all.weight : 0.0;
            });
        }
    }
}

TEST_F(FilterEffects, RoundABlurOfLessThanAPixel) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 9);
        const auto soft = [](int dx, int dy) { return (dx != 0 ? 0.3 : 1.0) * (dy != 0 ? 0.3 : 1.0); };
        ExpectNearest(in, Result(in, {"softblur", "0.3"}), 0.05, [&](int x, int y, int c) {
            const Neighbours all = SumAround(in, x, y, c, 1, soft);
            return all.weight > 0 ? all.sum / all.weight : 0.0;
        });
    }
}

TEST_F(FilterEffects, SharpenAgainstTheExactMeanAndKeepAlpha) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 10);
        const Pixels out = Result(in, {"unsharp", "0.5", "radius=2", "threshold=6"});
        ExpectNearest(in, out, 0.001, [&](int x, int y, int c) {
            const Neighbours all = SumAround(in, x, y, c, 2, [](int, int) { return 1.0; });
            const double a = in.At(x, y, c), distance = all.weight > 0 ? a - all.sum / all.weight : 0.0;
            if (IsAlpha(channels, c) || std::abs(distance) < 6 - 1e-9) return a;
            return std::clamp(a + 2 * distance, 0.0, 255.0);
        });
    }
}

TEST_F(FilterEffects, RoundWhatAMatrixMakesAndKeepAlpha) {
    static constexpr int kWeights[9] = {0, -1, 2, -3, 9, 1, 4, -5, -1};
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 7);
        const Pixels out = Result(in, {"matrix", "0,-1,2,-3,9,1,4,-5,-1", "delta=-100", "factor=0.25"});
        ExpectNearest(in, out, 1e-6, [&](int x, int y, int c) {
            if (IsAlpha(channels, c)) return in.At(x, y, c) * 1.0;
            double sum = -100;
            for (int k = 0; k < 9; ++k) {
                const int u = x - 1 + k % 3, v = y - 1 + k / 3;
                const double share = channels % 2 == 0 ? Clamped(in, u, v, channels - 1) / 255.0 : 1.0;
                sum += kWeights[k] * (share * Clamped(in, u, v, c) + (1 - share) * in.At(x, y, c));
            }
            return std::clamp(sum * 0.25, 0.0, 255.0);
        });
    }
}

TEST_F(FilterEffects, KeepWhitePicturesWhite) {
    for (int channels = 1; channels <= 4; ++channels) {
        Pixels white{40, 30, channels, {}};
        white.bytes.assign(static_cast<std::size_t>(40 * 30 * channels), 255);
        std::vector<std::string> twenty;
        for (int i = 0; i < 20; ++i) twenty.insert(twenty.end(), {"blur", "3"});
        EXPECT_EQ(Result(white, twenty), white);
        EXPECT_EQ(Result(white, {"blur", "3", "iterations=20"}), white);
        EXPECT_EQ(Result(white, {"softblur", "0.7", "softblur", "0.2", "unsharp", "3"}), white);
        EXPECT_EQ(Result(white, {"matrix", "1,1,1,1,1,1,1,1,1", "factor=0.111111111111"}), white);
    }
}

TEST_F(FilterEffects, KeepOpaquePicturesOpaque) {
    for (const int channels : {2, 4}) {
        Pixels opaque = MakePixels(kWidth, kHeight, channels, 3);
        for (std::size_t i = static_cast<std::size_t>(channels) - 1; i < opaque.bytes.size();
             i += static_cast<std::size_t>(channels))
            opaque.bytes[i] = 255;
        const Pixels alpha = Channel(opaque, channels - 1);
        for (const std::vector<std::string>& effect :
             std::vector<std::vector<std::string>>{{"blur", "3"},
                                                   {"blur", "2", "iterations=5"},
                                                   {"softblur", "0.5"},
                                                   {"unsharp", "1"},
                                                   {"matrix", "0,-1,0,-1,5,-1,0,-1,0"}})
            EXPECT_EQ(Channel(Result(opaque, effect), channels - 1), alpha) << effect[0];
    }
}

// The ground is clear, and blue underneath, which nobody is to see.
TEST_F(FilterEffects, KeepTheEdgesOfAWhiteDiscOnClearGroundWhite) {
    Pixels disc{60, 60, 4, {}};
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) {
            const bool inside = (x - 30) * (x - 30) + (y - 30) * (y - 30) < 400;
            const std::uint8_t colour = inside ? 255 : 0;
            disc.bytes.insert(disc.bytes.end(), {colour, colour, 255, static_cast<std::uint8_t>(inside ? 255 : 0)});
        }
    for (const std::vector<std::string>& effect :
         std::vector<std::vector<std::string>>{{"blur", "5"},
                                               {"blur", "3", "iterations=3"},
                                               {"softblur", "0.9"},
                                               {"unsharp", "2", "radius=4"},
                                               {"matrix", "1,1,1,1,1,1,1,1,1", "factor=0.1111111"}}) {
        const Pixels out = Result(disc, effect);
        int between = 0;
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 60; ++x) {
                const int alpha = out.At(x, y, 3);
                between += alpha > 0 && alpha < 255;
                for (int c = 0; alpha > 0 && c < 3; ++c) {
                    ASSERT_EQ(out.At(x, y, c), 255) << effect[0] << " at " << x << "," << y;
                }
            }
        const bool softens = effect[0] == "blur" || effect[0] == "softblur";
        EXPECT_EQ(between > 100, softens) << effect[0];
    }
}

// Rows that wait take no more memory than they may.
TEST_F(FilterEffects, GiveTheSameWhereTheRowsThatWaitGoToScratch) {
    std::filesystem::create_directory(At("scratch"));
    const Pixels in = MakePixels(700, 500, 3, 5);
    for (std::vector<std::string> effect : std::vector<std::vector<std::string>>{
             {"blur", "200"}, {"blur", "30", "iterations=4"}, {"unsharp", "1", "radius=10000"}}) {
        const Pixels expected = Result(in, effect);
        effect.insert(effect.end(), {"--memory", "1M", "--scratch", At("scratch")});
        EXPECT_EQ(Result(in, effect), expected) << effect[0];
    }
    EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
}

TEST_F(FilterEffects, WorkOnEveryInkOfCmyk) {
    const std::array<int, 4> inks = {240, 180, 90, 30};
    for (const std::vector<std::string>& effect : std::vector<std::vector<std::string>>{
             {"matrix", "0,0,0,0,1,0,0,0,0"}, {"blur", "3"}, {"softblur", "0.5"}, {"unsharp", "1", "radius=2"}}) {
        SCOPED_TRACE(effect[0]);
        ExpectInks(InkResult({240, 180, 90, 30}, effect), inks);
    }
    // More light is less ink.
    ExpectInks(InkResult({200, 180, 90, 30}, {"matrix", "0,0,0,0,1,0,0,0,0", "delta=20"}), {220, 200, 110, 50});
}

TEST_F(FilterEffects, WorkOnTheSmallestPictures) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 5}, {5, 1}, {2, 2}}) {
            Pixels flat{width, height, channels, {}};
            flat.bytes.assign(static_cast<std::size_t>(width * height * channels), 100);
            EXPECT_EQ(Result(flat, {"matrix", "0,-1,0,-1,5,-1,0,-1,0"}), flat);
            EXPECT_EQ(Result(flat, {"blur", "4", "iterations=2"}), flat);
            EXPECT_EQ(Result(flat, {"unsharp", "2"}), flat);
        }
}

TEST_F(FilterEffects, RefuseWhatIsOutOfRange) {
    ExpectRefusals({{{"matrix"}, {"weights is missing"}},
                    {{"matrix", "1,2,3"}, {"'1,2,3'", "9, 16, 25", "-1000 to 254"}},
                    {{"matrix", "1,1,1,1,1,1,1,1"}, {"9, 16, 25"}},
                    {{"matrix", "1,1,1,1,255,1,1,1,1"}, {"-1000 to 254"}},
                    {{"matrix", "1,1,1,1,a,1,1,1,1"}, {"-1000 to 254"}},
                    {{"matrix", "1,1,1,1,1,1,1,1,1", "delta=99999"}, {"from -65535 to 65535"}},
                    {{"matrix", "1,1,1,1,1,1,1,1,1", "factor=x"}, {"from -1000 to 1000"}},
                    {{"blur", "0"}, {"'0'", "from 1 to 10000"}},
                    {{"blur", "0.5"}, {"a whole number from 1 to 10000"}},
                    {{"blur", "1", "iterations=0"}, {"from 1 to 100"}},
                    {{"softblur", "1"}, {"from 0 to 0.999"}},
                    {{"unsharp", "-1"}, {"from 0 to 100"}},
                    {{"unsharp", "1", "threshold=257"}, {"from 0 to 256"}},
                    {{"unsharp", "1", "radius=0"}, {"from 1 to 10000"}}});
}

TEST_F(FilterEffects, HaveHelpWithAnExample) {
    for (const char* effect : {"matrix", "blur", "softblur", "unsharp"}) ExpectHelpWithWorkingExample(effect);
}

}  // namespace
