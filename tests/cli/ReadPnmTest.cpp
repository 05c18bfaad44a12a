// PBM, PGM, PPM and PAM of every form and depth, made by the tests letter by letter.

#include <sys/stat.h>

#include <cmath>
#include <random>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

// A picture of samples from 0 to `most`, and the file that holds it.
struct Samples {
    int width = 0;
    int height = 0;
    int channels = 0;
    unsigned most = 255;
    std::vector<unsigned> values;
};

Samples MakeSamples(int width, int height, int channels, unsigned most) {
    std::mt19937 random(most);
    Samples samples{width, height, channels, most, {}};
    for (int i = 0; i < width * height * channels; ++i)
        samples.values.push_back(static_cast<unsigned>(random() % (most + 1)));
    samples.values.front() = most;
    samples.values.back() = 0;
    return samples;
}

std::string InBytes(const Samples& samples) {
    std::string bytes;
    for (const unsigned value : samples.values) {
        if (samples.most > 255) bytes += static_cast<char>(value >> 8);
        bytes += static_cast<char>(value & 255U);
    }
    return bytes;
}

std::string InText(const Samples& samples) {
    std::string text;
    for (std::size_t i = 0; i < samples.values.size(); ++i)
        text += std::to_string(samples.values[i]) + (i % 11 == 10 ? "\n" : i % 3 == 0 ? "  " : "\t");
    return text;
}

std::string Head(const char* magic, const Samples& samples) {
    return std::string(magic) + "\n" + std::to_string(samples.width) + " " + std::to_string(samples.height) + "\n" +
           std::to_string(samples.most) + "\n";
}

std::string PamHead(const Samples& samples, const std::string& type) {
    return "P7\nWIDTH " + std::to_string(samples.width) + "\nHEIGHT " + std::to_string(samples.height) + "\nDEPTH " +
           std::to_string(samples.channels) + "\nMAXVAL " + std::to_string(samples.most) + "\n" +
           (type.empty() ? "" : "TUPLTYPE " + type + "\n") + "ENDHDR\n";
}

// The nearest of 256 steps, halves upward.
Pixels InEightBits(const Samples& samples) {
    Pixels pixels{samples.width, samples.height, samples.channels, {}};
    for (const unsigned value : samples.values)
        pixels.bytes.push_back(static_cast<std::uint8_t>(std::floor(value * 255.0 / samples.most + 0.5)));
    return pixels;
}

int BitsOf(const Samples& samples) {
    return static_cast<int>(std::floor(std::log2(samples.most))) + 1;
}

class ReadPnm : public ZorTest {
protected:
    // More than 8 bits a channel are told of.
    Pixels ThroughPng(const std::string& bytes, int bits = 8) {
        WriteFile(At("in"), bytes);
        EXPECT_EQ(RunWell({"in", "out.png"}).err,
                  bits <= 8 ? "" : "zor: in: " + std::to_string(bits) + " bits a channel are reduced to 8\n");
        return PixelsOf(LoadPng(At("out.png")));
    }

    // Every length shorter than the whole is refused.
    void ExpectNoCutIsTaken(const std::string& whole) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            SCOPED_TRACE("cut to " + std::to_string(length) + " of " + std::to_string(whole.size()));
            WriteFile(At("cut"), whole.substr(0, length));
            ExpectFailure(Run({"cut", "cut.png"}), 1, {"cut: "});
            EXPECT_FALSE(std::filesystem::exists(At("cut.png")));
        }
    }
};

constexpr unsigned kMosts[] = {1, 2, 3, 15, 100, 254, 255, 256, 257, 1000, 4095, 65534, 65535};

TEST_F(ReadPnm, ScalesEveryDepthToTheNearestOf256Steps) {
    for (const unsigned most : kMosts)
        for (const int channels : {1, 3}) {
            SCOPED_TRACE(testing::Message() << channels << " channels to " << most);
            const Samples samples = MakeSamples(13, 7, channels, most);
            EXPECT_EQ(ThroughPng(Head(channels == 1 ? "P2" : "P3", samples) + InText(samples), BitsOf(samples)),
                      InEightBits(samples));
            EXPECT_EQ(ThroughPng(Head(channels == 1 ? "P5" : "P6", samples) + InBytes(samples), BitsOf(samples)),
                      InEightBits(samples));
        }
}

TEST_F(ReadPnm, ReadsEveryTypeOfPam) {
    const std::vector<std::pair<const char*, int>> types = {
        {"GRAYSCALE", 1}, {"GRAYSCALE_ALPHA", 2}, {"RGB", 3}, {"RGB_ALPHA", 4}, {"", 1}, {"", 2}, {"", 3}, {"", 4}};
    for (const auto& [type, channels] : types)
        for (const unsigned most : {1U, 100U, 255U, 1000U, 65535U}) {
            SCOPED_TRACE(testing::Message() << channels << " of type '" << type << "' to " << most);
            const Samples samples = MakeSamples(6, 5, channels, most);
            EXPECT_EQ(ThroughPng(PamHead(samples, type) + InBytes(samples), BitsOf(samples)), InEightBits(samples));
        }
    for (const auto& [type, channels] : {std::pair{"BLACKANDWHITE", 1}, {"BLACKANDWHITE_ALPHA", 2}}) {
        SCOPED_TRACE(type);
        const Samples samples = MakeSamples(9, 4, channels, 1);  // 1 is white here
        EXPECT_EQ(ThroughPng(PamHead(samples, type) + InBytes(samples), BitsOf(samples)), InEightBits(samples));
    }
}

TEST_F(ReadPnm, ReadsCmykAsInk) {
    const Samples samples = MakeSamples(8, 6, 4, 255);
    const std::string file = PamHead(samples, "CMYK") + InBytes(samples);
    WriteFile(At("in.pam"), file);
    EXPECT_EQ(RunWell({"in.pam", "out.pam"}).err, "");
    EXPECT_EQ(ReadFile(At("out.pam")), file);
    EXPECT_NE(RunWell({"info", "in.pam"}).out.find("CMYK, 8 bits a channel"), std::string::npos);
}

TEST_F(ReadPnm, ReadsBitsAsInkWhateverTheWidth) {
    for (const int width : {1, 2, 7, 8, 9, 16, 17, 31}) {
        SCOPED_TRACE(width);
        const Samples samples = MakeSamples(width, 3, 1, 1);
        std::string text = "P1 " + std::to_string(width) + " 3\n", packed = "P4 " + std::to_string(width) + " 3\n";
        for (int y = 0; y < 3; ++y) {
            std::string row(static_cast<std::size_t>((width + 7) / 8), '\0');
            for (int x = 0; x < width; ++x) {
                const unsigned ink = 1 - samples.values[static_cast<std::size_t>(y * width + x)];
                text += ink != 0 ? '1' : '0';
                char& byte = row[static_cast<std::size_t>(x / 8)];
                byte = static_cast<char>(byte | static_cast<char>(ink << (7 - x % 8)));
            }
            // What fills up the last byte of a row has no meaning.
            if (width % 8 != 0) row.back() = static_cast<char>(row.back() | 1);
            packed += row;
        }
        EXPECT_EQ(ThroughPng(text), InEightBits(samples));
        EXPECT_EQ(ThroughPng(packed), InEightBits(samples));
    }
}

TEST_F(ReadPnm, ReducesSixteenBitsAsOfPng) {
    PngFile png;
    png.width = png.height = 256;
    png.bitDepth = 16;
    Samples samples{256, 256, 1, 65535, {}};
    for (unsigned i = 0; i < 65536; ++i) {
        png.samples.push_back(static_cast<std::uint16_t>(i));
        samples.values.push_back(i);
    }
    SavePng(At("in.png"), png);
    RunWell({"--quiet", "in.png", "reduced.png"});
    EXPECT_EQ(ThroughPng(Head("P5", samples) + InBytes(samples), 16), PixelsOf(LoadPng(At("reduced.png"))));
}

TEST_F(ReadPnm, TakesCommentsAndSpaceWhereTheyMayStand) {
    const Pixels expected{3, 1, 1, {255, 0, 51}};
    const char* const files[] = {"P2 3 1 255 255 0 51",
                                 "P2\n3\n1\n255\n255\n0\n51\n",
                                 "P2\r\n3 1\r\n255\r\n255 0 51\r\n",
                                 "P2#at once\n3 1 255 255 0 51",
                                 "P2\n# one\n# two\n  3#three\n# four\n1\n#\n255\n255 0 51",
                                 "P2\t3\v1\f255   255   0\n\n\n51 and what follows is no matter",
                                 "P2 3 1 255 # among values\n255 # here 7 too\n0 51",
                                 "P2 003 01 0255 000255 00 051",
                                 "P5 3 1 255\n\xFF\x00\x33",
                                 "P5 3 1 255 \xFF\x00\x33",
                                 "P5 3 1 255#comment\n\xFF\x00\x33",
                                 "P5\n# \xC3\xA4\n3 1\n255\n\xFF\x00\x33 more"};
    const std::size_t sizes[] = {0, 0, 0, 0, 0, 0, 0, 0, 14, 14, 22, 24};
    for (std::size_t i = 0; i < std::size(files); ++i) {
        const std::string bytes = sizes[i] == 0 ? std::string(files[i]) : std::string(files[i], sizes[i]);
        SCOPED_TRACE(bytes);
        EXPECT_EQ(ThroughPng(bytes), expected);
    }
}

TEST_F(ReadPnm, TakesALineBreakOrANumberSignAsTheFirstPixel) {
    EXPECT_EQ(ThroughPng("P5 2 1 255\n\n#").bytes, (std::vector<std::uint8_t>{'\n', '#'}));
    EXPECT_EQ(ThroughPng("P5 2 1 255\n#\n").bytes, (std::vector<std::uint8_t>{'#', '\n'}));
}

TEST_F(ReadPnm, TakesThePartsOfPamInAnyOrder) {
    const Pixels expected{1, 2, 2, {1, 2, 3, 4}};
    const std::string pixels = "\x01\x02\x03\x04";
    for (const char* head : {"P7\nWIDTH 1\nHEIGHT 2\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n",
                             "P7\nTUPLTYPE GRAYSCALE_ALPHA\nMAXVAL 255\nDEPTH 2\nHEIGHT 2\nWIDTH 1\nENDHDR\n",
                             "P7\n# comment\n\n  WIDTH 1\nHEIGHT\t2\n#\nDEPTH 2\nMAXVAL 255\nENDHDR\n"}) {
        SCOPED_TRACE(head);
        EXPECT_EQ(ThroughPng(head + pixels), expected);
    }
}

TEST_F(ReadPnm, RefusesHostileHeaders) {
    const std::string pamEnd = "ENDHDR\n\x01\x02\x03\x04";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"P5 0 5 255\n", "damaged PGM: a size of 0 x 5 pixels"},
        {"P6 5 0 255\n", "damaged PPM: a size of 5 x 0 pixels"},
        {"P4 0 0\n", "damaged PBM: a size of 0 x 0 pixels"},
        {"P5 -3 5 255\n", "damaged PGM: the width is no number: '-3'"},
        {"P5 3 5x 255\n", "damaged PGM: the height is no number: '5x'"},
        {"P5 3.0 5 255\n", "the width is no number: '3.0'"},
        {"P5 0x10 5 255\n", "the width is no number: '0x10'"},
        {"P5 5 5 0\n12345", "damaged PGM: the largest value is 0, where 1 to 65535 are allowed"},
        {"P5 5 5 65536\n12345", "the largest value is 65536, where 1 to 65535 are allowed"},
        {"P5 5 5 -1\n12345", "the largest value is no number: '-1'"},
        {"P5 99999999999999999999 5 255\n", "damaged PGM: the width is too large: 99999999999999999999"},
        {"P5 4294967296 5 255\n", "the width is too large: 4294967296"},
        {"P5 4294967295 4294967295 255\n", "in: too large: 4294967295 x 4294967295 pixels"},
        {"P6 2147483647 2147483647 65535\n", "in: too large: 2147483647 x 2147483647 pixels"},
        {"P4 2147483647 2147483647\n", "in: too large: 2147483647 x 2147483647 pixels"},
        {"P2 2 1 100 101 0", "damaged PGM: it has a value of 101 where 100 is the largest"},
        {"P2 2 1 100 -1 0", "a value is no number: '-1'"},
        {"P5 2 1 100\n\x65\x01", "it has a value of 101 where 100 is the largest"},
        {std::string("P5 1 1 256\n\x01\x01", 13), "it has a value of 257 where 256 is the largest"},
        {"P1 2 1 0 2", "damaged PBM: '2' is neither 0 nor 1"},
        {"P5 " + std::string(5000, '9') + " 5 255\n", "damaged PGM: a word of its text has no end"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 5\nMAXVAL 255\n" + pamEnd, "unsupported PAM: 5 samples a pixel of type ''"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 0\nMAXVAL 255\n" + pamEnd, "unsupported PAM: 0 samples a pixel"},
        {"P7\nWIDTH 2\nHEIGHT 2\nMAXVAL 255\n" + pamEnd, "unsupported PAM: 0 samples a pixel"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\nTUPLTYPE RGB\n" + pamEnd,
         "unsupported PAM: 1 samples a pixel of type 'RGB'"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\nTUPLTYPE magic\n" + pamEnd, "of type 'magic'"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\n" + pamEnd, "damaged PAM: the largest value is 0"},
        {"P7\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\n" + pamEnd, "damaged PAM: a size of 0 x 2 pixels"},
        {"P7\nWIDTH 2\nHEIGHT 2\nCOLOUR 7\n" + pamEnd, "damaged PAM: unknown entry 'COLOUR' in its header"},
        {"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\n1234", "damaged PAM: "},
        {"P8 2 2 255\n1234", "not a picture of a known format"},
        {"P5x 2 2 255\n1234", "not a picture of a known format"},
        {"P", "not a picture of a known format"}};
    for (const auto& [bytes, told] : cases) {
        SCOPED_TRACE(told);
        WriteFile(At("in"), bytes);
        ExpectFailure(Run({"in", "out.png"}), 1, {"in: ", told});
        EXPECT_EQ(Files(), std::vector<std::string>{"in"});
    }
}

TEST_F(ReadPnm, TellsControlCharactersOfADamagedHeaderAsMarks) {
    WriteFile(At("in"), "P5 \x1B[2J 5 255\n");
    ExpectFailure(Run({"in", "out.png"}), 1, {"the width is no number: '?[2J'"});
}

TEST_F(ReadPnm, RefusesFilesCutAnywhere) {
    ExpectNoCutIsTaken("P1\n3 2\n1 0 1\n0 1 0");
    ExpectNoCutIsTaken("P2\n3 2\n7\n1 0 1\n0 1 7");
    ExpectNoCutIsTaken("P3\n1 2\n9\n1 0 1\n0 1 9");
    ExpectNoCutIsTaken("P4\n9 2\n\x01\x02\x03\x04");
    ExpectNoCutIsTaken("P5\n3 2\n255\n123456");
    ExpectNoCutIsTaken("P6\n1 2\n1000\n\x01\x02\x01\x02\x01\x02\x01\x02\x01\x02\x01\x02");
    ExpectNoCutIsTaken("P7\nWIDTH 1\nHEIGHT 2\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n12345678");
}

TEST_F(ReadPnm, ReadsTheFirstOfSeveralPictures) {
    const Samples first = MakeSamples(5, 4, 3, 255), second = MakeSamples(2, 9, 1, 255);
    EXPECT_EQ(ThroughPng(Head("P6", first) + InBytes(first) + Head("P5", second) + InBytes(second)),
              InEightBits(first));
}

TEST_F(ReadPnm, ReadsFromAPipe) {
    const Samples samples = MakeSamples(400, 300, 3, 1023);
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"pipe", "out.png"});
    WriteFile(At("pipe"), Head("P6", samples) + InBytes(samples));
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), InEightBits(samples));
}

TEST_F(ReadPnm, TellsHowTheFileHoldsItsPixels) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"P1 1 1 1",
         "format       PBM\n  size         1 x 1 pixels\n  pixels       gray, 1 bit a channel (plain text)"},
        {"P4 1 1 \x80", "gray, 1 bit a channel (bytes)"},
        {"P2 1 1 255 7", "gray, 8 bits a channel (plain text)"},
        {"P5 1 1 15 \x07", "gray, 4 bits a channel (bytes)"},
        {"P6 1 1 100 \x01\x02\x03", "RGB, 7 bits a channel (bytes, 0 to 100)"},
        {"P6 1 1 65535 \x01\x02\x03\x04\x05\x06", "RGB, 16 bits a channel (bytes)"}};
    for (const auto& [bytes, told] : cases) {
        WriteFile(At("in"), bytes);
        EXPECT_NE(RunWell({"info", "in"}).out.find(told), std::string::npos) << RunWell({"info", "in"}).out;
    }
}

}  // namespace
