// The format of the result: by suffix, by --format, and on standard output.

#include "TestPictures.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

std::string Raw(const Pixels& pixels) {
    return {pixels.bytes.begin(), pixels.bytes.end()};
}

std::string ClassicFile(const char* magic, const Pixels& pixels) {
    return std::string(magic) + "\n" + std::to_string(pixels.width) + " " + std::to_string(pixels.height) + "\n255\n" +
           Raw(pixels);
}

std::string PamFile(const char* type, const Pixels& pixels) {
    return "P7\nWIDTH " + std::to_string(pixels.width) + "\nHEIGHT " + std::to_string(pixels.height) + "\nDEPTH " +
           std::to_string(pixels.channels) + "\nMAXVAL 255\nTUPLTYPE " + type + "\nENDHDR\n" + Raw(pixels);
}

Pixels WithoutLast(const Pixels& pixels) {
    Pixels kept{pixels.width, pixels.height, pixels.channels - 1, {}};
    for (std::size_t i = 0; i < pixels.bytes.size(); ++i)
        if (i % static_cast<std::size_t>(pixels.channels) != static_cast<std::size_t>(kept.channels))
            kept.bytes.push_back(pixels.bytes[i]);
    return kept;
}

Pixels Tripled(const Pixels& gray) {
    Pixels rgb{gray.width, gray.height, 3, {}};
    for (const std::uint8_t byte : gray.bytes) rgb.bytes.insert(rgb.bytes.end(), 3, byte);
    return rgb;
}

class FormatOption : public ZorTest {
protected:
    FormatOption() {
        for (int channels = 1; channels <= 4; ++channels) {
            made_.push_back(MakePixels(21, 13, channels, 5));
            SavePng(At("in" + std::to_string(channels) + ".png"), PlainPng(made_.back()));
        }
    }
    [[nodiscard]] const Pixels& Made(int channels) const { return made_[static_cast<std::size_t>(channels - 1)]; }
    static std::string In(int channels) { return "in" + std::to_string(channels) + ".png"; }

    // The file that the program writes, and what it remarks.
    std::string Written(int channels, const std::string& name, const std::string& remark = "") {
        EXPECT_EQ(RunWell({"--plugin-bytes", In(channels), name}).err,
                  remark.empty() ? "" : "zor: " + name + ": " + remark + "\n");
        return ReadFile(At(name));
    }

private:
    std::vector<Pixels> made_;
};

constexpr const char* kNoAlphaInPgm = "PGM holds no transparency; the alpha channel is left out";
constexpr const char* kNoAlphaInPpm = "PPM holds no transparency; the alpha channel is left out";

TEST_F(FormatOption, WritesPgm) {
    EXPECT_EQ(Written(1, "a.pgm"), ClassicFile("P5", Made(1)));
    EXPECT_EQ(Written(2, "b.PGM", kNoAlphaInPgm), ClassicFile("P5", WithoutLast(Made(2))));
    for (const int channels : {3, 4})
        ExpectFailure(Run({In(channels), "c.pgm"}), 1, {"c.pgm: PGM holds gray pictures only"});
    EXPECT_FALSE(std::filesystem::exists(At("c.pgm")));
    RunWell({In(3), "d.pgm", "convert", "G"});
    EXPECT_EQ(ReadFile(At("d.pgm")).substr(0, 13), "P5\n21 13\n255\n");
}

TEST_F(FormatOption, WritesPpmAndTurnsGrayIntoColour) {
    EXPECT_EQ(Written(1, "a.ppm"), ClassicFile("P6", Tripled(Made(1))));
    EXPECT_EQ(Written(2, "b.ppm", kNoAlphaInPpm), ClassicFile("P6", Tripled(WithoutLast(Made(2)))));
    EXPECT_EQ(Written(3, "c.ppm"), ClassicFile("P6", Made(3)));
    EXPECT_EQ(Written(4, "d.ppm", kNoAlphaInPpm), ClassicFile("P6", WithoutLast(Made(4))));
}

TEST_F(FormatOption, WritesPamOfEveryKind) {
    EXPECT_EQ(Written(1, "a.pam"), PamFile("GRAYSCALE", Made(1)));
    EXPECT_EQ(Written(2, "b.pam"), PamFile("GRAYSCALE_ALPHA", Made(2)));
    EXPECT_EQ(Written(3, "c.pam"), PamFile("RGB", Made(3)));
    EXPECT_EQ(Written(4, "d.pam"), PamFile("RGB_ALPHA", Made(4)));
}

TEST_F(FormatOption, PicksTheOneThatFitsForPnmAndForStandardOutput) {
    const std::string expected[] = {ClassicFile("P5", Made(1)), PamFile("GRAYSCALE_ALPHA", Made(2)),
                                    ClassicFile("P6", Made(3)), PamFile("RGB_ALPHA", Made(4))};
    for (int channels = 1; channels <= 4; ++channels) {
        SCOPED_TRACE(channels);
        EXPECT_EQ(Written(channels, "a.pnm"), expected[channels - 1]);
        EXPECT_EQ(RunWell({In(channels), "-"}).out, expected[channels - 1]);
    }
    WriteFile(At("cmyk.pam"), PamFile("CMYK", Made(4)));
    EXPECT_EQ(RunWell({"cmyk.pam", "-"}).out, PamFile("CMYK", Made(4)));
    ExpectFailure(Run({"cmyk.pam", "-", "--format", "png"}), 1, {"standard output: PNG cannot hold CMYK"});
}

TEST_F(FormatOption, RefusesCmykInPpmAndWebp) {
    WriteFile(At("cmyk.pam"), PamFile("CMYK", Made(4)));
    ExpectFailure(Run({"cmyk.pam", "a.ppm"}), 1, {"a.ppm: PPM cannot hold CMYK"});
    ExpectFailure(Run({"cmyk.pam", "a.pgm"}), 1, {"a.pgm: PGM holds gray pictures only"});
    ExpectFailure(Run({"cmyk.pam", "a.webp"}), 1, {"a.webp: WebP cannot hold CMYK"});
}

TEST_F(FormatOption, ChoosesTheFormatWhateverTheSuffix) {
    const auto begins = [this](const std::vector<std::string>& format, const std::string& bytes) {
        std::vector<std::string> words = format;
        words.insert(words.end(), {In(3), "out.png"});
        RunWell(words);
        EXPECT_EQ(ReadFile(At("out.png")).substr(0, bytes.size()), bytes) << words[0];
    };
    begins({"--format", "png"}, "\x89PNG\r\n\x1A\n");
    begins({"--format", "jpeg"}, "\xFF\xD8\xFF");
    begins({"--format=jpg"}, "\xFF\xD8\xFF");
    begins({"--format", "JPEG"}, "\xFF\xD8\xFF");
    begins({"--format", "webp"}, "RIFF");
    begins({"--format", "ppm"}, "P6\n");
    begins({"--format", "pam"}, "P7\n");
    begins({"--format", "pnm"}, "P6\n");
}

TEST_F(FormatOption, WritesAnyFormatToStandardOutput) {
    for (const char* format : {"png", "jpeg", "webp", "pam"}) {
        RunWell({"--format", format, In(3), std::string("out.") + format});
        EXPECT_EQ(RunWell({In(3), "-", "--format", format}).out, ReadFile(At(std::string("out.") + format))) << format;
    }
}

TEST_F(FormatOption, RefusesNamesThatAreNoFormat) {
    ExpectFailure(Run({"--format", "bmp", In(3), "-"}), 2,
                  {"--format: 'bmp' is no format that can be written; known are png, jpeg, "});
    ExpectFailure(Run({"--format", "wepb", In(3), "-"}), 2, {"'wepb' is no format", "webp"});
    ExpectFailure(Run({"--format", "pbm", In(3), "-"}), 2, {"'pbm' is no format that can be written"});
    ExpectFailure(Run({"--format", "", In(3), "-"}), 2, {"--format"});
    ExpectFailure(Run({"--format", "x.png", In(3), "-"}), 2, {"'x.png' is no format that can be written"});
}

TEST_F(FormatOption, RefusesLosslessWhereThereIsNoSuchThing) {
    ExpectFailure(Run({"--lossless", In(3), "out.jpg"}), 2, {"out.jpg: --lossless: JPEG"});
    EXPECT_FALSE(std::filesystem::exists(At("out.jpg")));
    ExpectFailure(Run({"--lossless", "--each", "{stem}.jpg", In(3), In(4)}), 2, {"in3.jpg: --lossless: JPEG"});
    RunWell({"--lossless", In(3), "out.png"});
    RunWell({"--lossless", In(3), "out.ppm"});
}

TEST_F(FormatOption, NeedsASuffixOrAName) {
    ExpectFailure(Run({In(3), "out"}), 2, {"out: the suffix names no format that can be written", ".webp", ".pnm"});
    ExpectFailure(Run({In(3), "out.pbm"}), 2, {"out.pbm: the suffix names no format that can be written"});
    RunWell({In(3), "out", "--format", "webp", "--lossless"});
    EXPECT_EQ(LoadWebp(At("out")).pixels, Made(3));
}

TEST_F(FormatOption, TellsOfAFullDiskForEachFormat) {
    for (const char* format : {"pgm", "ppm", "pam", "webp"}) {
        std::filesystem::create_symlink("/dev/full", At(format));
        ExpectFailure(Run({In(1), format, "--format", format}), 1, {std::string(format) + ": No space left on device"});
        ExpectFailure(Run({In(1), format, "--format", format, "scale", "500x500"}), 1,
                      {std::string(format) + ": No space left on device"});
    }
}

}  // namespace
