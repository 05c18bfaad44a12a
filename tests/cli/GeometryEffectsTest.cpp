// The effects `flip` and `rotate` on files.

#include <cmath>

#include "EffectTest.h"

namespace {

using GeometryEffects = EffectTest;

// The picture whose pixel (x, y) is that of `in` at `from(x, y)`.
Pixels Moved(const Pixels& in, int width, int height, const std::function<std::pair<int, int>(int, int)>& from) {
    Pixels out{width, height, in.channels, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < in.channels; ++c) out.bytes.push_back(in.At(from(x, y).first, from(x, y).second, c));
    return out;
}

TEST_F(GeometryEffects, MovePixelsWhole) {
    for (const auto& [width, height] : {std::pair{37, 23}, {1, 1}, {1, 4}, {5, 1}, {2, 2}, {64, 3}})
        for (int channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", " + std::to_string(channels));
            const int w = width, h = height;
            const Pixels in = MakePixels(w, h, channels, 3);
            EXPECT_EQ(Result(in, {"flip", "h"}),
                      Moved(in, w, h, [=](int x, int y) { return std::pair(w - 1 - x, y); }));
            EXPECT_EQ(Result(in, {"flip", "v"}),
                      Moved(in, w, h, [=](int x, int y) { return std::pair(x, h - 1 - y); }));
            const Pixels left = Moved(in, h, w, [=](int x, int y) { return std::pair(w - 1 - y, x); });
            const Pixels half = Moved(in, w, h, [=](int x, int y) { return std::pair(w - 1 - x, h - 1 - y); });
            const Pixels right = Moved(in, h, w, [=](int x, int y) { return std::pair(y, h - 1 - x); });
            EXPECT_EQ(Result(in, {"rotate", "90"}), left);
            EXPECT_EQ(Result(in, {"rotate", "-270"}), left);
            EXPECT_EQ(Result(in, {"rotate", "180"}), half);
            EXPECT_EQ(Result(in, {"rotate", "270"}), right);
            EXPECT_EQ(Result(in, {"rotate", "-90"}), right);
            EXPECT_EQ(Result(in, {"rotate", "90", "slow"}), left);
            EXPECT_EQ(Result(in, {"rotate", "270", "slow"}), right);
            EXPECT_EQ(Result(in, {"rotate", "0"}), in);
            EXPECT_EQ(Result(in, {"rotate", "360"}), in);
        }
}

TEST_F(GeometryEffects, FillTheCornersOfATurnedPicture) {
    struct Case {
        int channels;
        std::vector<std::string> background;
        std::vector<int> corner;
    };
    const std::vector<Case> cases = {{1, {}, {0}},
                                     {2, {}, {0, 0}},
                                     {3, {}, {0, 0, 0}},
                                     {4, {}, {0, 0, 0, 0}},
                                     {1, {"background=#FFFFFF"}, {255}},
                                     {2, {"background=#646464"}, {100, 255}},
                                     {3, {"background=#FF8040"}, {255, 128, 64}},
                                     {4, {"background=#FF8040"}, {255, 128, 64, 255}},
                                     {4, {"background=#FF804020"}, {255, 128, 64, 32}}};
    for (const Case& c : cases) {
        Pixels in{100, 50, c.channels, {}};
        in.bytes.assign(static_cast<std::size_t>(100 * 50 * c.channels), 200);
        std::vector<std::string> effect = {"rotate", "30"};
        effect.insert(effect.end(), c.background.begin(), c.background.end());
        for (int way = 0; way < 2; ++way) {
            const Pixels out = Result(in, effect);
            EXPECT_EQ(out.width, 112);
            EXPECT_EQ(out.height, 94);
            for (int channel = 0; channel < c.channels; ++channel) {
                EXPECT_EQ(out.At(0, 0, channel), c.corner[static_cast<std::size_t>(channel)]);
                EXPECT_EQ(out.At(111, 93, channel), c.corner[static_cast<std::size_t>(channel)]);
                EXPECT_NEAR(out.At(56, 47, channel), 200, 2);
            }
            effect.emplace_back("--plugin-bytes");
        }
    }
}

// --- angles that are not right, against double precision -------------------------------------------------------------

// A pixel of the result: its colours as they show, and its alpha last; 255 where there is none.
struct Turned {
    std::vector<double> colours;
    double alpha;
};

// The weight of a pixel so far away.
double CubicWeight(double distance) {
    const double d = std::abs(distance);
    if (d < 1) return (1.5 * d - 2.5) * d * d + 1;
    return d < 2 ? ((-0.5 * d + 2.5) * d - 4) * d + 2 : 0;
}

// Counter-clockwise around the middle; without alpha on black, with alpha on clear ground unless one is given.
Turned TurnedPixel(const Pixels& in, double degrees, int width, int height, int x, int y,
                   const std::vector<int>& ground) {
    const bool hasAlpha = in.channels % 2 == 0;
    const int colours = in.channels - (hasAlpha ? 1 : 0);
    const double angle = degrees * std::acos(-1.0) / 180, right = x - (width - 1) / 2.0, down = y - (height - 1) / 2.0;
    const double sx = right * std::cos(angle) - down * std::sin(angle) + (in.width - 1) / 2.0;
    const double sy = right * std::sin(angle) + down * std::cos(angle) + (in.height - 1) / 2.0;
    const int left = static_cast<int>(std::floor(sx)) - 1, top = static_cast<int>(std::floor(sy)) - 1;
    std::vector<double> sum(static_cast<std::size_t>(colours));
    double alpha = 0;
    for (int j = top; j < top + 4; ++j)
        for (int i = left; i < left + 4; ++i) {
            const double opacity = hasAlpha ? Clamped(in, i, j, colours) : 255;
            const double weight = CubicWeight(sx - i) * CubicWeight(sy - j) * opacity;
            for (int c = 0; c < colours; ++c) sum[static_cast<std::size_t>(c)] += weight * Clamped(in, i, j, c);
            alpha += weight;
        }
    const auto inside = [](double at, int length) { return std::clamp(std::min(at + 1, length - at), 0.0, 1.0); };
    const double cover = inside(sx, in.width) * inside(sy, in.height);
    const double opacity = std::clamp(alpha, 0.0, 255.0), groundAlpha = ground.back();
    Turned turned{{}, opacity * cover + groundAlpha * (1 - cover)};
    for (std::size_t c = 0; c < sum.size(); ++c) {
        const double own = alpha > 0 ? std::clamp(sum[c] / alpha, 0.0, 255.0) : 0;
        turned.colours.push_back(
            turned.alpha > 0 ? (own * opacity * cover + ground[c] * groundAlpha * (1 - cover)) / turned.alpha : 0);
    }
    return turned;
}

// Differences of what is seen: colours as much as their alpha shows them, and the alpha itself.
struct Difference {
    double mean = 0, largest = 0;
};

Difference DifferenceToExact(const Pixels& in, const Pixels& out, double degrees, std::vector<int> ground) {
    const bool hasAlpha = in.channels % 2 == 0;
    const int colours = in.channels - (hasAlpha ? 1 : 0);
    Difference difference;
    int count = 0;
    const auto add = [&](double by) {
        difference.mean += by;
        difference.largest = std::max(difference.largest, by);
        ++count;
    };
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            const Turned exact = TurnedPixel(in, degrees, out.width, out.height, x, y, ground);
            const double alpha = std::floor(exact.alpha + 0.5);
            if (hasAlpha) add(std::abs(out.At(x, y, colours) - alpha));
            for (int c = 0; c < colours; ++c)
                add(std::abs(out.At(x, y, c) - std::floor(exact.colours[static_cast<std::size_t>(c)] + 0.5)) * alpha /
                    255);
        }
    difference.mean /= count;
    return difference;
}

// Noise in all colours; of alpha, where there is one, clear and opaque parts with ramps between them.
Pixels NoiseWithSoftAlpha(int width, int height, int channels) {
    Pixels pixels = MakePixels(width, height, channels, 11);
    if (channels % 2 != 0) return pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels.bytes[static_cast<std::size_t>((y * width + x) * channels + channels - 1)] =
                static_cast<std::uint8_t>(std::clamp(x * 6 - 300, 0, 255));
    return pixels;
}

TEST_F(GeometryEffects, TurnByFreeAnglesAsDoublePrecisionDoes) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = NoiseWithSoftAlpha(203, 141, channels);
        SaveInput(in);
        for (const char* angle : {"7", "-20", "45", "61.3", "100", "179.5", "225", "300", "359"}) {
            const Difference difference = DifferenceToExact(in, Result({"rotate", angle}), std::stod(angle),
                                                            {0, 0, 0, channels % 2 == 0 ? 0 : 255});
            EXPECT_LT(difference.mean, 0.05) << angle << ", " << channels;
            EXPECT_LE(difference.largest, 1) << angle << ", " << channels;
        }
    }
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 40}, {40, 1}, {2, 2}, {64, 65}, {5, 200}}) {
        const Pixels in = MakePixels(width, height, 3, 2);
        const Difference difference = DifferenceToExact(in, Result(in, {"rotate", "30"}), 30, {0, 0, 0, 255});
        EXPECT_LE(difference.largest, 1) << width << " x " << height;
    }
}

TEST_F(GeometryEffects, MixEdgesWithTheBackground) {
    for (const int channels : {3, 4}) {
        const Pixels in = NoiseWithSoftAlpha(120, 90, channels);
        const Difference difference =
            DifferenceToExact(in, Result(in, {"rotate", "17", "background=FF8040"}), 17, {255, 128, 64, 255});
        EXPECT_LT(difference.mean, 0.05);
        EXPECT_LE(difference.largest, 1);
        if (channels == 3) continue;
        const Pixels faint = Result(in, {"rotate", "17", "background=FF804040"});
        EXPECT_LE(DifferenceToExact(in, faint, 17, {255, 128, 64, 64}).largest, 1);
    }
}

TEST_F(GeometryEffects, KeepFlatFlatAndOpaqueOpaque) {
    for (const int level : {0, 1, 77, 254, 255})
        for (const int channels : {1, 3, 4}) {
            Pixels in{150, 100, channels, {}};
            in.bytes.assign(static_cast<std::size_t>(150 * 100 * channels), static_cast<std::uint8_t>(level));
            if (channels == 4)
                for (std::size_t i = 3; i < in.bytes.size(); i += 4) in.bytes[i] = 255;
            const Pixels out = Result(in, {"rotate", "23"});
            for (int y = 0; y < out.height; ++y)
                for (int x = 0; x < out.width; ++x) {
                    const Turned exact =
                        TurnedPixel(in, 23, out.width, out.height, x, y, {0, 0, 0, channels == 4 ? 0 : 255});
                    if (channels == 4) {
                        ASSERT_EQ(out.At(x, y, 3), std::floor(exact.alpha + 0.5));
                        if (out.At(x, y, 3) != 0) {
                            ASSERT_EQ(out.At(x, y, 0), level);
                        }
                    } else {
                        ASSERT_NEAR(out.At(x, y, 0), exact.colours[0], 0.5 + 1e-6);
                    }
                }
        }
}

TEST_F(GeometryEffects, KeepTheEdgesOfAWhiteDiscOnClearGroundWhite) {
    Pixels in{140, 110, 4, {}};
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x) {
            const bool disc = std::hypot(x - 70, y - 55) < 40;
            for (int c = 0; c < 3; ++c) in.bytes.push_back(disc ? 255 : 0);
            in.bytes.push_back(disc ? 255 : 0);
        }
    const Pixels out = Result(in, {"rotate", "33"});
    int edge = 0;
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            if (out.At(x, y, 3) == 0) continue;
            edge += out.At(x, y, 3) < 255 ? 1 : 0;
            for (int c = 0; c < 3; ++c) ASSERT_EQ(out.At(x, y, c), 255) << x << "," << y;
        }
    EXPECT_GT(edge, 100);
    EXPECT_EQ(out.At(0, 0, 3), 0);
}

// The engine's three shears and the one sampling of right results bring a part of a picture to the same place.
TEST_F(GeometryEffects, TurnToWhereTheEnginesMethodTurns) {
    Pixels in{201, 141, 1, std::vector<std::uint8_t>(201 * 141, 0)};
    for (int y = 20; y < 50; ++y)
        for (int x = 20; x < 60; ++x) in.bytes[static_cast<std::size_t>(y * 201 + x)] = 255;
    const auto middle = [](const Pixels& pixels) {
        double sum = 0, sumX = 0, sumY = 0;
        for (int y = 0; y < pixels.height; ++y)
            for (int x = 0; x < pixels.width; ++x) {
                sum += pixels.At(x, y, 0);
                sumX += pixels.At(x, y, 0) * x;
                sumY += pixels.At(x, y, 0) * y;
            }
        return std::pair(sumX / sum, sumY / sum);
    };
    for (const char* angle : {"7", "30", "-20", "60", "100", "200", "300", "350"}) {
        const Pixels right = Result(in, {"rotate", angle}), plugin = Result(in, {"rotate", angle, "--plugin-bytes"});
        EXPECT_EQ(right.width, plugin.width) << angle;
        EXPECT_EQ(right.height, plugin.height) << angle;
        EXPECT_NEAR(middle(right).first, middle(plugin).first, 0.75) << angle;
        EXPECT_NEAR(middle(right).second, middle(plugin).second, 0.75) << angle;
    }
}

TEST_F(GeometryEffects, PlanTheSizeThatATurnedPictureGets) {
    const Pixels in = MakePixels(100, 50, 3, 1);
    for (const char* angle :
         {"1", "44.9", "45", "46", "89", "91", "135", "136", "200", "260", "300", "315", "350", "-10"})
        // Another effect behind it works on the planned size.
        EXPECT_EQ(Result(in, {"rotate", angle, "flip", "h", "flip", "h", "blur", "1"}),
                  Result(Result(in, {"rotate", angle}), {"blur", "1"}))
            << angle;
}

TEST_F(GeometryEffects, TurnCmyk) {
    for (const char* angle : {"90", "180", "30"})
        ExpectInks(InkResult({240, 180, 90, 30}, {"rotate", angle}), {240, 180, 90, 30});
    ExpectInks(InkResult({240, 180, 90, 30}, {"flip", "v"}), {240, 180, 90, 30});
}

TEST_F(GeometryEffects, RefuseWhatIsOutOfRange) {
    ExpectRefusals({{{"flip"}, {"axis is missing", "one of h, v"}},
                    {{"flip", "x"}, {"'x'", "one of h, v"}},
                    {{"rotate"}, {"angle is missing", "from -360 to 360"}},
                    {{"rotate", "361"}, {"'361'", "from -360 to 360"}},
                    {{"rotate", "180", "slow"}, {"slow goes with 90 and 270"}},
                    {{"rotate", "nan"}, {"from -360 to 360"}},
                    {{"rotate", "10", "background=red"}, {"'background=red'", "a colour such as #FF8000"}}});
}

TEST_F(GeometryEffects, HaveHelpWithAnExample) {
    for (const char* effect : {"flip", "rotate"}) ExpectHelpWithWorkingExample(effect);
}

}  // namespace
