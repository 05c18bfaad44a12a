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
        const Pixels out = Result(in, {"matrix", "0,-1,2,-3,9,1,4,-5,-1", "delta=-100", "factor=0.25"});
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
        const Pixels out = Result(in, {"blur", "2"});
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
            const Pixels out = Result(in, {"blur", "3", across ? "axis=h" : "axis=v"});
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
    const Pixels thrice = Result(Result(Result(in, {"blur", "3"}), {"blur", "3"}), {"blur", "3"});
    EXPECT_EQ(Result(in, {"blur", "3", "iterations=3"}), thrice);
    EXPECT_NE(Result(in, {"blur", "3"}), thrice);
}

TEST_F(FilterEffects, BlurByLessThanAPixelInEveryChannel) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(kWidth, kHeight, channels, 9);
        EXPECT_EQ(Result(in, {"softblur", "0"}), in);
        const Pixels out = Result(in, {"softblur", "0.5"});
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
        const Pixels blurred = Result(in, {"blur", "2"});
        const Pixels out = Result(in, {"unsharp", "0.5", "radius=2", "threshold=6"});
        for (std::size_t i = 0; i < in.bytes.size(); ++i) {
            const int a = in.bytes[i], b = blurred.bytes[i];
            const bool changes = std::abs(a - b) >= 6 && !IsAlpha(channels, static_cast<int>(i) % channels);
            ASSERT_EQ(out.bytes[i], changes ? std::clamp((a - b) * 3 + b, 0, 255) : a) << i << " of " << channels;
        }
    }
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
