// The effects `channel`, `convert` and `flatten` on files, and what becomes of alpha where a format holds none.

#include <algorithm>
#include <array>
#include <cmath>

#include "EffectTest.h"

namespace {

class ConvertEffects : public EffectTest {
protected:
    // A flat CMYK file: inks of 255 are full.
    void SaveInks(const std::vector<int>& inks) {
        JpegFile file;
        file.pixels = {16, 16, 4, {}};
        for (int i = 0; i < 16 * 16; ++i)
            for (const int ink : inks) file.pixels.bytes.push_back(static_cast<std::uint8_t>(255 - ink));
        file.quality = 100;
        SaveJpeg(At("in.jpg"), file);
    }
};

// The pixels in another number of channels: 1 gray, 2 with alpha, 3 RGB, 4 with alpha.
Pixels InChannels(const Pixels& pixels, int channels) {
    Pixels result{pixels.width, pixels.height, channels, {}};
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x) {
            const auto at = [&](int c) { return pixels.At(x, y, c); };
            const bool gray = pixels.channels <= 2;
            const int alpha = pixels.channels % 2 == 0 ? at(pixels.channels - 1) : 255;
            for (int c = 0; c < channels; ++c) {
                int value = alpha;
                if (channels <= 2 && c == 0) value = gray ? at(0) : (77 * at(0) + 151 * at(1) + 28 * at(2)) / 256;
                if (channels >= 3 && c < 3) value = at(gray ? 0 : c);
                result.bytes.push_back(static_cast<std::uint8_t>(value));
            }
        }
    return result;
}

TEST_F(ConvertEffects, ConvertEveryKindIntoEveryOther) {
    const char* formats[] = {"G", "GA", "RGB", "RGBA"};
    for (int from = 1; from <= 4; ++from) {
        const Pixels pixels = MakePixels(37, 23, from, 1);
        SaveInput(pixels);
        for (int to = 1; to <= 4; ++to)
            EXPECT_EQ(Result({"--plugin-bytes", "convert", formats[to - 1]}), InChannels(pixels, to))
                << from << " channels to " << formats[to - 1];
    }
}

TEST_F(ConvertEffects, KeepGrayLightOnItsWayThroughInk) {
    for (int channels = 1; channels <= 2; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 2);
        SaveInput(pixels);
        EXPECT_EQ(Result({"--plugin-bytes", "convert", "CMYK", "convert", "G"}), Channel(pixels, 0));
        Pixels inked = Result({"--plugin-bytes", "convert", "CMYK", "channel", "black"});
        for (std::uint8_t& byte : inked.bytes) byte = static_cast<std::uint8_t>(255 - byte);
        EXPECT_EQ(inked, Channel(pixels, 0));
        for (const char* ink : {"cyan", "magenta", "yellow"})
            EXPECT_EQ(Result({"convert", "CMYK", "channel", ink}).bytes, std::vector<std::uint8_t>(37 * 23, 0)) << ink;
        Pixels opaque = InChannels(Channel(pixels, 0), 2);
        EXPECT_EQ(Result({"--plugin-bytes", "convert", "CMYK", "convert", "GA"}), opaque);
    }
}

// The pixels in another number of channels as people expect it: on that ground where alpha goes, and rounded.
Pixels OnGround(const Pixels& pixels, int channels, const std::array<int, 3>& ground) {
    const auto gray = [](const std::array<int, 3>& rgb) {
        return std::floor((77 * rgb[0] + 151 * rgb[1] + 28 * rgb[2]) / 256.0 + 0.5);
    };
    Pixels result{pixels.width, pixels.height, channels, {}};
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x) {
            const bool isGray = pixels.channels <= 2, hasAlpha = pixels.channels % 2 == 0;
            const int alpha = hasAlpha ? pixels.At(x, y, pixels.channels - 1) : 255;
            std::array<int, 3> rgb{};
            for (int c = 0; c < 3; ++c) {
                const auto i = static_cast<std::size_t>(c);
                const double under = isGray ? gray(ground) : ground[i];
                const double part = channels % 2 == 0 ? 1 : alpha / 255.0;
                rgb[i] = static_cast<int>(pixels.At(x, y, isGray ? 0 : c) * part + under * (1 - part) + 0.5);
            }
            for (int c = 0; c < (channels <= 2 ? 1 : 3); ++c)
                result.bytes.push_back(
                    static_cast<std::uint8_t>(channels <= 2 ? gray(rgb) : rgb[static_cast<std::size_t>(c)]));
            if (channels % 2 == 0) result.bytes.push_back(static_cast<std::uint8_t>(alpha));
        }
    return result;
}

TEST_F(ConvertEffects, RoundAndLayOnWhiteWhatLosesItsAlpha) {
    const char* formats[] = {"G", "GA", "RGB", "RGBA"};
    for (int from = 1; from <= 4; ++from) {
        const Pixels pixels = MakePixels(37, 23, from, 1);
        SaveInput(pixels);
        for (int to = 1; to <= 4; ++to)
            EXPECT_EQ(Result({"convert", formats[to - 1]}), OnGround(pixels, to, {255, 255, 255}))
                << from << " channels to " << formats[to - 1];
        if (from > 2) continue;
        EXPECT_EQ(Result({"convert", "CMYK", "convert", "G"}), OnGround(pixels, 1, {255, 255, 255}));
    }
}

TEST_F(ConvertEffects, FlattenOnAnyColour) {
    const std::array<int, 3> ground{16, 180, 77};
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 5);
        const int left = channels - (channels % 2 == 0 ? 1 : 0);
        const Pixels expected = OnGround(pixels, left, ground);
        // Gray with alpha becomes RGB for a colour, and stays gray on a gray.
        if (channels == 2) {
            EXPECT_EQ(Result(pixels, {"convert", "RGBA", "flatten", "10B44D"}), Result(pixels, {"flatten", "10B44D"}));
            EXPECT_EQ(Result(pixels, {"flatten", "77"}), OnGround(pixels, 1, {77, 77, 77}));
        } else {
            EXPECT_EQ(Result(pixels, {"flatten", "10B44D"}), expected);
        }
        // The engine's methods come near: they cut off, and their gray too.
        const Pixels plugin = Result({"--plugin-bytes", "flatten", "10B44D"});
        ASSERT_EQ(plugin.channels, left);
        for (std::size_t i = 0; i < plugin.bytes.size(); ++i) ASSERT_NEAR(plugin.bytes[i], expected.bytes[i], 2);
    }
    ExpectFailure(Run({"in.png", "new.png", "flatten"}), 2, {"flatten: colour is missing"});
    ExpectFailure(Run({"in.png", "new.png", "flatten", "red"}), 2, {"'red'", "a colour such as"});
    ExpectHelpWithWorkingExample("flatten");
}

// A clear pixel may hide any colour; nobody is to see it where there is no alpha any more.
TEST_F(ConvertEffects, KeepHiddenColoursHiddenInEveryFormatWithoutAlpha) {
    for (const int channels : {2, 4}) {
        Pixels pixels{24, 16, channels, {}};
        for (int i = 0; i < 24 * 16; ++i) {
            for (int c = 1; c < channels; ++c) pixels.bytes.push_back(i % 24 < 8 ? 3 : 60);
            pixels.bytes.push_back(i % 24 < 8 ? 0 : i % 24 < 16 ? 255 : 51);
        }
        const Pixels seen = OnGround(pixels, channels - 1, {255, 255, 255});
        SaveInput(pixels);
        const std::string remark =
            " holds no transparency; the picture is laid on white ('flatten' takes another colour)\n";
        EXPECT_EQ(RunWell({"in.png", "out.jpg", "--quality", "100"}).err, "zor: out.jpg: JPEG" + remark);
        const Pixels jpeg = LoadJpeg(At("out.jpg")).pixels;
        ASSERT_EQ(jpeg.bytes.size(), seen.bytes.size());
        for (std::size_t i = 0; i < seen.bytes.size(); ++i) ASSERT_NEAR(jpeg.bytes[i], seen.bytes[i], 3);
        const std::string name = channels == 2 ? "out.pgm" : "out.ppm";
        EXPECT_EQ(RunWell({"in.png", name}).err, "zor: " + name + ": " + (channels == 2 ? "PGM" : "PPM") + remark);
        RunWell({name, "back.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("back.png"))), seen);
        // On a colour of one's own nothing is left to remark on.
        const std::array<int, 3> ground = channels == 2 ? std::array{80, 80, 80} : std::array{64, 80, 96};
        EXPECT_EQ(RunWell({"in.png", name, "flatten", channels == 2 ? "505050" : "405060"}).err, "");
        RunWell({name, "back.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("back.png"))), OnGround(pixels, channels - 1, ground));
        // Where alpha can stay, it stays with all that lies behind it.
        EXPECT_EQ(RunWell({"in.png", "out.pam"}).err, "");
        RunWell({"out.pam", "back.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("back.png"))), pixels);
    }
}

TEST_F(ConvertEffects, TakeEveryChannelThatThereIs) {
    const std::vector<std::vector<std::string>> names = {
        {"gray"}, {"gray", "alpha"}, {"red", "green", "blue"}, {"red", "green", "blue", "alpha"}};
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 3);
        SaveInput(pixels);
        const std::vector<std::string>& own = names[static_cast<std::size_t>(channels - 1)];
        std::string list;
        for (std::size_t c = 0; c < own.size(); ++c) {
            const Pixels bytes = Channel(pixels, static_cast<int>(c));
            EXPECT_EQ(Result({"channel", own[c], "--plugin-bytes"}), bytes) << own[c];
            // What clear pixels hide becomes white.
            Pixels seen = bytes;
            for (std::size_t i = 0; i < seen.bytes.size() && channels % 2 == 0 && own[c] != "alpha"; ++i)
                if (Channel(pixels, channels - 1).bytes[i] == 0) seen.bytes[i] = 255;
            EXPECT_EQ(Result({"channel", own[c]}), seen) << own[c];
            list += (list.empty() ? "" : ", ") + own[c];
        }
        for (const std::string name : {"red", "green", "blue", "alpha", "gray", "cyan", "magenta", "yellow", "black"}) {
            if (std::find(own.begin(), own.end(), name) != own.end()) continue;
            ExpectFailure(Run({"in.png", "new.png", "channel", name}), 1,
                          {"channel: the picture is ", "has no channel " + name + "; it has " + list});
        }
    }
}

TEST_F(ConvertEffects, TakeEveryInk) {
    const std::vector<int> inks = {10, 70, 160, 220};
    SaveInks(inks);
    const char* names[] = {"cyan", "magenta", "yellow", "black"};
    for (std::size_t c = 0; c < 4; ++c) {
        RunWell({"in.jpg", "out.png", "channel", names[c]});
        const Pixels out = PixelsOf(LoadPng(At("out.png")));
        ASSERT_EQ(out.channels, 1);
        ASSERT_EQ(out.bytes.size(), 256U);
        for (const std::uint8_t byte : out.bytes) ASSERT_NEAR(byte, inks[c], 2) << names[c];
    }
    RunWell({"in.jpg", "out.png", "convert", "G"});
    for (const std::uint8_t byte : PixelsOf(LoadPng(At("out.png"))).bytes) ASSERT_NEAR(byte, 255 - 220, 2);
    ExpectFailure(Run({"in.jpg", "new.png", "channel", "red"}), 1,
                  {"channel: the picture is CMYK and has no channel red; it has cyan, magenta, yellow, black"});
}

TEST_F(ConvertEffects, RefuseWhatNeedsProfilesBeforeTheWorkStarts) {
    SaveInks({10, 70, 160, 220});
    // The pixels of these files cannot be read, so a complaint about the kind shows that nothing was read before.
    for (const int channels : {3, 4}) {
        SaveInput(MakePixels(300, 200, channels, 4));
        WriteFile(At("in.png"), ReadFile(At("in.png")).substr(0, 200));
        ExpectFailure(Run({"in.png", "new.jpg", "convert", "CMYK"}), 1,
                      {"convert: RGB", " cannot become CMYK", "colour profiles"});
        ExpectFailure(Run({"in.png", "new.png", "channel", "cyan"}), 1, {"channel: the picture is RGB"});
    }
    WriteFile(At("in.jpg"), ReadFile(At("in.jpg")).substr(0, ReadFile(At("in.jpg")).size() - 20));
    for (const char* format : {"RGB", "RGBA"})
        ExpectFailure(Run({"in.jpg", "new.png", "convert", format}), 1, {"convert: CMYK cannot become RGB"});
    ExpectFailure(Run({"in.png", "new.png", "convert", "G", "convert", "CMYK"}), 1, {"new.png: PNG cannot hold CMYK"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.jpg", "in.png"}));
}

TEST_F(ConvertEffects, SayWhatIsWrongWithTheirWords) {
    SaveInput(MakePixels(5, 5, 3, 6));
    ExpectFailure(Run({"in.png", "new.png", "convert"}), 2, {"convert: format is missing", "G, GA, RGB, RGBA, CMYK"});
    ExpectFailure(Run({"in.png", "new.png", "convert", "BGR"}), 2, {"'BGR'", "one of G, GA, RGB, RGBA, CMYK"});
    ExpectFailure(Run({"in.png", "new.png", "channel"}), 2, {"channel: name is missing", "red, green, blue"});
    ExpectFailure(Run({"in.png", "new.png", "channel", "balck"}), 2, {"'balck'", "did you mean 'black'?"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png"}));
}

}  // namespace
