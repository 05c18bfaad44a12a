// The effects `flip` and `rotate` on files.

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
        const Pixels out = Result(in, effect);
        EXPECT_EQ(out.width, 112);
        EXPECT_EQ(out.height, 94);
        for (int channel = 0; channel < c.channels; ++channel) {
            EXPECT_EQ(out.At(0, 0, channel), c.corner[static_cast<std::size_t>(channel)]);
            EXPECT_EQ(out.At(111, 93, channel), c.corner[static_cast<std::size_t>(channel)]);
            EXPECT_NEAR(out.At(56, 47, channel), 200, 2);
        }
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
