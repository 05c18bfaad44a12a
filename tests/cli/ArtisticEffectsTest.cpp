// The effects `oil`, `diffuse`, `engrave`, `neon` and `stamp` on files.

#include <cmath>

#include <algorithm>
#include <vector>

#include "EffectTest.h"

namespace {

using ArtisticEffects = EffectTest;

Pixels Flat(int channels, std::uint8_t value) {
    Pixels flat{20, 10, channels, {}};
    flat.bytes.assign(static_cast<std::size_t>(20 * 10 * channels), value);
    return flat;
}

bool IsAlpha(int channels, int c) {
    return channels % 2 == 0 && c == channels - 1;
}

TEST_F(ArtisticEffects, PaintTheMeanOfTheMostFrequentClass) {
    for (int channels = 1; channels <= 4; ++channels) {
        EXPECT_EQ(Result(Flat(channels, 77), {"oil"}), Flat(channels, 77));
        const Pixels in = MakePixels(30, 20, channels, 5);
        EXPECT_EQ(Result(in, {"oil", "range=0"}), in);
        const Pixels out = Result(in, {"oil", "range=1", "levels=1", "--plugin-bytes"});
        for (int y = 1; y < 19; ++y)
            for (int x = 1; x < 29; ++x)
                for (int c = 0; c < channels; ++c) {
                    int sum = 0;
                    for (int k = 0; k < 9; ++k) sum += in.At(x - 1 + k % 3, y - 1 + k / 3, c);
                    ASSERT_EQ(out.At(x, y, c), sum / 9);
                }
    }
}

TEST_F(ArtisticEffects, ScatterWholePixelsNearBy) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(30, 20, channels, 5);
        EXPECT_EQ(Result(in, {"diffuse", "level=0"}), in);
        const Pixels out = Result(in, {"diffuse", "level=2", "seed=9"});
        EXPECT_NE(out, in);
        EXPECT_EQ(Result(in, {"diffuse", "level=2", "seed=9"}), out);
        EXPECT_NE(Result(in, {"diffuse", "level=2", "seed=10"}), out);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 30; ++x) {
                bool found = false;
                for (int k = 0; k < 25 && !found; ++k) {
                    found = true;
                    for (int c = 0; c < channels; ++c)
                        found = found && out.At(x, y, c) == Clamped(in, x - 2 + k % 5, y - 2 + k / 5, c);
                }
                ASSERT_TRUE(found) << x << "," << y;
            }
    }
}

TEST_F(ArtisticEffects, EngraveDifferencesAroundTheMiddle) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(30, 20, channels, 5);
        for (const int level : {1, -2}) {
            const Pixels out = Result(in, {"engrave", "level=" + std::to_string(level), "--plugin-bytes"});
            for (int y = 0; y < 20; ++y)
                for (int x = 0; x < 30; ++x)
                    for (int c = 0; c < channels; ++c)
                        ASSERT_EQ(
                            out.At(x, y, c),
                            IsAlpha(channels, c)
                                ? in.At(x, y, c)
                                : std::clamp(in.At(x, y, c) - Clamped(in, x + level, y + level, c) + 128, 0, 255));
        }
    }
}

TEST_F(ArtisticEffects, LightTheEdges) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(30, 20, channels, 5);
        const Pixels out = Result(in, {"neon", "--plugin-bytes"});
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 30; ++x)
                for (int c = 0; c < channels; ++c) {
                    const int p = in.At(x, y, c);
                    const int right = p - (x + 1 < 30 ? in.At(x + 1, y, c) : 0);
                    const int below = p - (y + 1 < 20 ? in.At(x, y + 1, c) : 0);
                    const int glow =
                        static_cast<int>(static_cast<float>(std::sqrt(2.0 * (right * right + below * below))));
                    ASSERT_EQ(out.At(x, y, c), IsAlpha(channels, c) ? p : std::min(glow, 255))
                        << x << "," << y << " " << c << " of " << channels;
                }
    }
}

TEST_F(ArtisticEffects, StampInTwoColours) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const int value : {40, 220}) {
            const Pixels out = Result(Flat(channels, static_cast<std::uint8_t>(value)),
                                      {"stamp", "softness=0", "black=#102030", "white=#F0E0D0", "--plugin-bytes"});
            const std::vector<int> colour =
                value == 40 ? std::vector<int>{0x10, 0x20, 0x30} : std::vector<int>{0xF0, 0xE0, 0xD0};
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(out.At(9, 5, c), IsAlpha(channels, c) ? value
                                           : channels < 3       ? colour[1]
                                                                : colour[static_cast<std::size_t>(c)]);
        }
}

// --- right for people: rounded, and clear pixels left out -----------------------------------------------------------

int AlphaAt(const Pixels& pixels, int x, int y) {
    return pixels.channels % 2 == 0 ? Clamped(pixels, x, y, pixels.channels - 1) : 255;
}

// Expects each colour that can be seen to be the nearest to what `expected` gives, and alpha and clear pixels to stay.
template <class Expected>
void ExpectNearest(const Pixels& in, const Pixels& out, double slack, Expected expected) {
    ASSERT_EQ(out.bytes.size(), in.bytes.size());
    double off = 0;
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x)
            for (int c = 0; c < in.channels; ++c) {
                const bool stays = IsAlpha(in.channels, c) || AlphaAt(in, x, y) == 0;
                const double wanted = stays ? in.At(x, y, c) : expected(x, y, c);
                if (stays && !IsAlpha(in.channels, c)) continue;
                ASSERT_NEAR(out.At(x, y, c), wanted, 0.5 + slack) << x << "," << y << " " << c << " of " << in.channels;
                off += std::abs(out.At(x, y, c) - std::floor(wanted + 0.5 + 1e-9));
            }
    EXPECT_LT(off / static_cast<double>(in.bytes.size()), 0.05);
}

TEST_F(ArtisticEffects, PaintTheRoundedMeanAndLeaveOutWhatIsClear) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(37, 23, channels, 5);
        for (const auto& [range, levels] : {std::pair{1, 1}, {3, 20}, {2, 256}, {9, 6}, {30, 3}}) {
            const Pixels out =
                Result(in, {"oil", "range=" + std::to_string(range), "levels=" + std::to_string(levels)});
            ExpectNearest(in, out, 1e-9, [&, range = range, levels = levels](int x, int y, int c) {
                std::vector<double> weights(256), sums(256);
                for (int v = std::max(y - range, 0); v <= std::min(y + range, in.height - 1); ++v)
                    for (int u = std::max(x - range, 0); u <= std::min(x + range, in.width - 1); ++u) {
                        const auto k = static_cast<std::size_t>(in.At(u, v, c) * levels / 256);
                        weights[k] += AlphaAt(in, u, v);
                        sums[k] += static_cast<double>(AlphaAt(in, u, v)) * in.At(u, v, c);
                    }
                const auto most = std::max_element(weights.begin(), weights.end()) - weights.begin();
                return sums[static_cast<std::size_t>(most)] / weights[static_cast<std::size_t>(most)];
            });
        }
    }
}

TEST_F(ArtisticEffects, EngraveAgainstNeighboursAsFarAsTheyAreOpaque) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(37, 23, channels, 5);
        for (const int level : {1, -2, 0, 50})
            ExpectNearest(in, Result(in, {"engrave", "level=" + std::to_string(level)}), 1e-9,
                          [&](int x, int y, int c) {
                              const double part = AlphaAt(in, x + level, y + level) / 255.0;
                              const int difference = in.At(x, y, c) - Clamped(in, x + level, y + level, c);
                              return std::clamp(difference * part + 128, 0.0, 255.0);
                          });
    }
}

TEST_F(ArtisticEffects, LightEdgesBetweenWhatCanBeSeen) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(37, 23, channels, 5);
        ExpectNearest(in, Result(in, {"neon"}), 1e-9, [&](int x, int y, int c) {
            const auto step = [&](int u, int v) {
                return (in.At(x, y, c) - Clamped(in, u, v, c)) * (AlphaAt(in, u, v) / 255.0);
            };
            return std::min(std::sqrt(2 * (std::pow(step(x + 1, y), 2) + std::pow(step(x, y + 1), 2))), 255.0);
        });
        Pixels flat = Flat(channels, 200), dark = Flat(channels, 0);
        for (std::size_t i = 0; i < flat.bytes.size(); ++i)
            if (IsAlpha(channels, static_cast<int>(i) % channels)) dark.bytes[i] = flat.bytes[i];
        EXPECT_EQ(Result(flat, {"neon"}), dark);
    }
}

// Three means of a square, each of them weighed by alpha, and nothing rounded in between.
TEST_F(ArtisticEffects, StampWhatABlurWithoutLevelsLeaves) {
    constexpr int kRadius = 2;
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(37, 23, channels, 5);
        const Pixels out = Result(in, {"stamp", "radius=6", "softness=0.4", "black=#202020", "white=#E0E0E0"});
        std::vector<double> values(in.bytes.begin(), in.bytes.end());
        const auto at = [&](int x, int y, int c) {
            x = std::clamp(x, 0, in.width - 1);
            y = std::clamp(y, 0, in.height - 1);
            return values[static_cast<std::size_t>((y * in.width + x) * channels + c)];
        };
        for (int step = 0; step < 3; ++step) {
            std::vector<double> next;
            for (int y = 0; y < in.height; ++y)
                for (int x = 0; x < in.width; ++x)
                    for (int c = 0; c < channels; ++c) {
                        double sum = 0, weight = 0;
                        for (int k = 0; k < 25; ++k) {
                            const int u = x - kRadius + k % 5, v = y - kRadius + k / 5;
                            const double w = channels % 2 == 0 && !IsAlpha(channels, c) ? at(u, v, channels - 1) : 1;
                            sum += w * at(u, v, c);
                            weight += w;
                        }
                        next.push_back(weight > 0 ? sum / weight : 0);
                    }
            values = next;
        }
        // The blur has 255 steps in a level, and the passage makes up to 3 of one.
        ExpectNearest(in, out, 0.1, [&](int x, int y, int c) {
            const double t = std::clamp((at(x, y, c) / 255 - 0.3) / 0.4, 0.0, 1.0);
            return (3 - 2 * t) * t * t * (0xE0 - 0x20) + 0x20;
        });
    }
}

TEST_F(ArtisticEffects, WorkOnCmyk) {
    ExpectInks(InkResult({240, 180, 90, 30}, {"oil"}), {240, 180, 90, 30});
    ExpectInks(InkResult({240, 180, 90, 30}, {"diffuse"}), {240, 180, 90, 30});
    ExpectInks(InkResult({240, 180, 90, 30}, {"engrave"}), {128, 128, 128, 128});
    ExpectInks(InkResult({240, 180, 90, 30}, {"neon"}), {0, 0, 0, 0});
    ExpectInks(InkResult({240, 180, 90, 30}, {"stamp"}), {255, 255, 0, 0});
}

TEST_F(ArtisticEffects, MoveTheInksOfCmykTogether) {
    JpegFile file;
    file.pixels = {64, 48, 4, {}};
    for (int i = 0; i < 64 * 48; ++i)
        file.pixels.bytes.insert(file.pixels.bytes.end(), 4,
                                 static_cast<std::uint8_t>((i / 8 + i / 512) % 2 * 200 + 20));
    file.quality = 100;
    SaveJpeg(At("in.jpg"), file);
    RunWell({"in.jpg", "out.jpg", "diffuse", "level=6", "--quality", "100"});
    const Pixels out = LoadJpeg(At("out.jpg")).pixels;
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            for (int c = 1; c < 4; ++c) ASSERT_NEAR(out.At(x, y, c), out.At(x, y, 0), 12) << x << "," << y;
}

TEST_F(ArtisticEffects, RefuseWhatIsOutOfRange) {
    ExpectRefusals({{{"oil", "range=101"}, {"from 0 to 100"}},
                    {{"oil", "levels=0"}, {"from 1 to 256"}},
                    {{"diffuse", "level=-1"}, {"from 0 to 1000"}},
                    {{"diffuse", "seed=-1"}, {"from 0 to 2147483647"}},
                    {{"engrave", "level=x"}, {"from -1000 to 1000"}},
                    {{"neon", "5"}, {"'5'", "zor help neon"}},
                    {{"stamp", "radius=2"}, {"from 3 to 10000"}},
                    {{"stamp", "threshold=2"}, {"from 0 to 1"}},
                    {{"stamp", "softness=-1"}, {"from 0 to 1"}},
                    {{"stamp", "black=dark"}, {"a colour such as #FF8000"}}});
}

TEST_F(ArtisticEffects, HaveHelpWithAnExample) {
    for (const char* effect : {"oil", "diffuse", "engrave", "neon", "stamp"}) ExpectHelpWithWorkingExample(effect);
}

}  // namespace
