#pragma once
// What tests of effects share: an effect run on pixels, and what is expected of every effect.

#include <algorithm>
#include <array>
#include <functional>

#include "TestPictures.h"
#include "ZorTest.h"

class EffectTest : public ZorTest {
protected:
    // The effect on in.png, which SaveInput makes of these pixels.
    void SaveInput(const Pixels& pixels) { SavePng(At("in.png"), PlainPng(pixels)); }
    Pixels Result(const std::vector<std::string>& effect) {
        std::vector<std::string> words = {"in.png", "out.png"};
        words.insert(words.end(), effect.begin(), effect.end());
        RunWell(words);
        return PixelsOf(LoadPng(At("out.png")));
    }
    Pixels Result(const Pixels& pixels, const std::vector<std::string>& effect) {
        SaveInput(pixels);
        return Result(effect);
    }

    // The effect on a JPEG file of one CMYK colour, 255 being no ink: the colour in the middle of the result.
    std::array<int, 4> InkResult(const std::array<std::uint8_t, 4>& inks, const std::vector<std::string>& effect) {
        JpegFile file;
        file.pixels = {64, 48, 4, {}};
        for (int i = 0; i < 64 * 48; ++i) file.pixels.bytes.insert(file.pixels.bytes.end(), inks.begin(), inks.end());
        file.quality = 100;
        SaveJpeg(At("in.jpg"), file);
        std::vector<std::string> words = {"in.jpg", "out.jpg", "--quality", "100"};
        words.insert(words.end(), effect.begin(), effect.end());
        RunWell(words);
        const Pixels out = LoadJpeg(At("out.jpg")).pixels;
        std::array<int, 4> middle{};
        for (int c = 0; c < 4; ++c) middle[static_cast<std::size_t>(c)] = out.At(out.width / 2, out.height / 2, c);
        return middle;
    }

    void ExpectInks(const std::array<int, 4>& inks, const std::array<int, 4>& expected) {
        for (std::size_t c = 0; c < 4; ++c) EXPECT_NEAR(inks[c], expected[c], 3) << "ink " << c;
    }

    // Gray, gray with alpha, RGB and RGB with alpha: each byte of a colour is the function of the byte before, and
    // alpha is what it was.
    void ExpectToneOfEveryKind(const std::vector<std::string>& effect, const std::function<int(int)>& tone) {
        for (int channels = 1; channels <= 4; ++channels) {
            const Pixels in = MakePixels(40, 30, channels, 4);
            const Pixels out = Result(in, effect);
            ASSERT_EQ(out.bytes.size(), in.bytes.size());
            for (std::size_t i = 0; i < in.bytes.size(); ++i) {
                const bool alpha = channels % 2 == 0 && static_cast<int>(i) % channels == channels - 1;
                ASSERT_EQ(out.bytes[i], alpha ? in.bytes[i] : tone(in.bytes[i]))
                    << effect[0] << ", byte " << i << " of " << channels << " channels";
            }
        }
    }

    // Gray, gray with alpha, RGB, RGB with alpha and CMYK: the effect behind one that gives rows as they come, so that it
    // has some at a time, makes the same file as on an image. The rows are more than are worked on at once.
    void ExpectSameOnRows(const std::vector<std::string>& effect, const std::vector<std::string>& kinds) {
        for (const std::string& kind : kinds) {
            const int channels = kind == "GRAYSCALE" ? 1 : kind == "GRAYSCALE_ALPHA" ? 2 : kind == "RGB" ? 3 : 4;
            const Pixels pixels = MakePixels(600, 1800, channels, 9);
            WriteFile(At("in.pam"), "P7\nWIDTH 600\nHEIGHT 1800\nDEPTH " + std::to_string(channels) +
                                        "\nMAXVAL 255\nTUPLTYPE " + kind + "\nENDHDR\n" +
                                        std::string(pixels.bytes.begin(), pixels.bytes.end()));
            std::vector<std::string> onRows = {"in.pam", "rows.pam", "softblur", "0.2"};
            std::vector<std::string> onImage = {"in.pam", "image.pam", "softblur", "0.2", "flip", "v", "flip", "v"};
            onRows.insert(onRows.end(), effect.begin(), effect.end());
            onImage.insert(onImage.end(), effect.begin(), effect.end());
            RunWell(onRows);
            RunWell(onImage);
            EXPECT_TRUE(ReadFile(At("rows.pam")) == ReadFile(At("image.pam"))) << effect[0] << " of " << kind;
        }
    }

    struct Refusal {
        std::vector<std::string> effect;
        std::vector<std::string> told;
    };
    void ExpectRefusals(const std::vector<Refusal>& refusals) {
        SavePng(At("in.png"), PlainPng(MakePixels(8, 8, 3, 1)));
        for (const Refusal& refusal : refusals) {
            std::vector<std::string> words = {"in.png", "none.png"};
            words.insert(words.end(), refusal.effect.begin(), refusal.effect.end());
            SCOPED_TRACE(refusal.effect[0] + " " + refusal.effect.back());
            ExpectFailure(Run(words), 2, refusal.told);
        }
        EXPECT_FALSE(std::filesystem::exists(At("none.png")));
    }

    // Help names the channels, and its example works on a photograph and changes it.
    void ExpectHelpWithWorkingExample(const std::string& effect) {
        const std::string help = RunWell({"help", effect}).out;
        EXPECT_TRUE(help.find("channel") != std::string::npos || help.find("Works on") != std::string::npos ||
                    help.find("in the same way for gray, red") != std::string::npos)
            << help;
        const std::string before = "Example:\n  zor photo.jpg result.png ";
        ASSERT_NE(help.find(before), std::string::npos) << help;
        std::string example = help.substr(help.find(before) + before.size());
        example.erase(example.find('\n'));
        // A smaller photograph than that of the example will do.
        RunWell({Photo("chelsea.png"), "photo.png", "scale", "120x"});
        std::vector<std::string> words = {"photo.png", "result.png"};
        for (std::size_t start = 0; start <= example.size();) {
            const std::size_t end = std::min(example.find(' ', start), example.size());
            words.push_back(example.substr(start, end - start));
            start = end + 1;
        }
        RunWell(words);
        EXPECT_NE(PixelsOf(LoadPng(At("result.png"))), PixelsOf(LoadPng(At("photo.png")))) << example;
    }
};

// One channel of Pixels with columns and rows beyond the edges repeated.
inline int Clamped(const Pixels& pixels, int x, int y, int c) {
    return pixels.At(std::clamp(x, 0, pixels.width - 1), std::clamp(y, 0, pixels.height - 1), c);
}
