// The command `compare`: its numbers, its exit codes.

#include <cmath>
#include <cstdio>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

class Compare : public ZorTest {
protected:
    void Save(const std::string& name, const Pixels& pixels) { SavePng(At(name), PlainPng(pixels)); }
};

TEST_F(Compare, FindsEqualPicturesEqualWhateverTheirFiles) {
    const Pixels pixels = MakePixels(31, 17, 3, 1);
    Save("a.png", pixels);
    RunWell({"a.png", "b.png", "--compression", "0"});
    ASSERT_NE(ReadFile(At("a.png")), ReadFile(At("b.png")));
    const Outcome outcome = Run({"compare", "a.png", "b.png"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "different pixels    0 of 527\nlargest difference  0\nPSNR                infinite\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Run({"compare", "a.png", "a.png"}).exitCode, 0);
}

TEST_F(Compare, CountsPixelsAndMeasuresDifferences) {
    for (int channels = 1; channels <= 4; ++channels) {
        Pixels a{20, 10, channels, std::vector<std::uint8_t>(static_cast<std::size_t>(200 * channels), 100)};
        Pixels b = a;
        // Two channels of one pixel where there are two, one of another, and the last of all.
        const auto last = b.bytes.size() - 1;
        b.bytes[0] = 130;
        b.bytes[static_cast<std::size_t>(channels - 1)] = 130;
        b.bytes[static_cast<std::size_t>(50 * channels)] = 97;
        b.bytes[last] = 60;
        Save("a.png", a);
        Save("b.png", b);
        const double squares = (channels == 1 ? 1 : 2) * 900 + 9 + 1600;
        const double psnr = 20 * std::log10(255 / std::sqrt(squares / (200 * channels)));
        char text[200];
        std::snprintf(text, sizeof text,
                      "different pixels    3 of 200\nlargest difference  40\nPSNR                %.2f dB\n", psnr);
        for (const auto& [one, other] : {std::pair{"a.png", "b.png"}, {"b.png", "a.png"}}) {
            const Outcome outcome = Run({"compare", one, other});
            EXPECT_EQ(outcome.exitCode, 1) << channels;
            EXPECT_EQ(outcome.out, text) << channels;
            EXPECT_EQ(outcome.err, "") << channels;
        }
    }
}

TEST_F(Compare, TellsBlackFromWhite) {
    Save("a.png", {5, 5, 1, std::vector<std::uint8_t>(25, 0)});
    Save("b.png", {5, 5, 1, std::vector<std::uint8_t>(25, 255)});
    const Outcome outcome = Run({"compare", "a.png", "b.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "different pixels    25 of 25\nlargest difference  255\nPSNR                0.00 dB\n");
}

TEST_F(Compare, SaysThatSizesOrKindsDiffer) {
    Save("a.png", MakePixels(5, 6, 3, 1));
    Save("wide.png", MakePixels(6, 6, 3, 1));
    Save("high.png", MakePixels(5, 7, 3, 1));
    Save("alpha.png", MakePixels(5, 6, 4, 1));
    Save("gray.png", MakePixels(5, 6, 1, 1));
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"wide.png", "different sizes: 5 x 6 and 6 x 6 pixels\n"},
        {"high.png", "different sizes: 5 x 6 and 5 x 7 pixels\n"},
        {"alpha.png", "different kinds of pixels: RGB and RGB + alpha\n"},
        {"gray.png", "different kinds of pixels: RGB and gray\n"}};
    for (const auto& [name, told] : cases) {
        const Outcome outcome = Run({"compare", "a.png", name});
        EXPECT_EQ(outcome.exitCode, 1) << name;
        EXPECT_EQ(outcome.out, told);
        EXPECT_EQ(outcome.err, "") << name;
    }
}

TEST_F(Compare, HoldsSomeRowsOfBothAndNoPicture) {
    for (const char* name : {"a.ppm", "b.ppm"})
        WriteFile(At(name), "P6 4000 4000 255\n" + std::string(std::size_t{4000} * 4000 * 3, 'x'));
    const Outcome outcome = Run({"compare", "a.ppm", "b.ppm"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "different pixels    0 of 16000000\nlargest difference  0\nPSNR                infinite\n");
    if (!kSanitized) {
        EXPECT_LT(outcome.peakBytes, 40 << 20);
    }
}

TEST_F(Compare, ReadsWhatCannotBeHadRowByRowAsAWhole) {
    PngFile png = PlainPng(MakePixels(37, 23, 3, 1));
    SavePng(At("rows.png"), png);
    png.interlaced = true;
    SavePng(At("interlaced.png"), png);
    for (const auto& [a, b] : {std::pair{"rows.png", "interlaced.png"}, {"interlaced.png", "rows.png"}})
        EXPECT_EQ(RunWell({"compare", a, b}).out.substr(0, 27), "different pixels    0 of 85") << a;
}

TEST_F(Compare, HasACodeOfItsOwnWhereItCannotCompare) {
    Save("a.png", MakePixels(50, 60, 3, 1));
    WriteFile(At("cut.png"), ReadFile(At("a.png")).substr(0, 300));
    WriteFile(At("text.png"), "no picture");
    ExpectFailure(Run({"compare"}), 2, {"compare: it takes two files"});
    ExpectFailure(Run({"compare", "a.png"}), 2, {"compare: it takes two files"});
    ExpectFailure(Run({"compare", "a.png", "a.png", "a.png"}), 2, {"compare: unexpected 'a.png'", "two files"});
    ExpectFailure(Run({"compare", "a.png", "none.png"}), 2, {"none.png: No such file"});
    ExpectFailure(Run({"compare", "none.png", "a.png"}), 2, {"none.png: No such file"});
    ExpectFailure(Run({"compare", "a.png", "cut.png"}), 2, {"cut.png: damaged PNG"});
    ExpectFailure(Run({"compare", "text.png", "a.png"}), 2, {"text.png: not a picture"});
}

TEST_F(Compare, MeasuresWhatCompressionDoesToAPhotograph) {
    RunWell({Photo("coffee.png"), "good.jpg", "--quality", "95"});
    RunWell({Photo("coffee.png"), "poor.jpg", "--quality", "10"});
    const auto psnr = [this](const std::string& name) {
        const Outcome outcome = Run({"compare", "--quiet", Photo("coffee.png"), name});
        EXPECT_EQ(outcome.exitCode, 1);
        return std::stod(outcome.out.substr(outcome.out.find("PSNR") + 4));
    };
    EXPECT_GT(psnr("good.jpg"), 35);
    EXPECT_LT(psnr("poor.jpg"), 32);
}

}  // namespace
