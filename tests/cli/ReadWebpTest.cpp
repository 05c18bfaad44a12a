// WebP files of every kind, against whole files decoded by libwebp for the test.

#include <sys/stat.h>

#include "TestWebps.h"
#include "ZorTest.h"

namespace {

class ReadWebp : public ZorTest {
protected:
    Pixels ThroughPng(const std::string& name) {
        EXPECT_EQ(RunWell({name, "out.png"}).err, "");
        return PixelsOf(LoadPng(At("out.png")));
    }
};

TEST_F(ReadWebp, GivesTheSamePixelsAsTheLibrary) {
    for (const bool lossless : {false, true})
        for (const int channels : {3, 4})
            for (const auto& [width, height] : {std::pair{1, 1}, {2, 1}, {7, 9}, {16, 16}, {64, 48}, {131, 77}}) {
                SCOPED_TRACE(testing::Message()
                             << (lossless ? "lossless, " : "lossy, ") << channels << ", " << width << " x " << height);
                WebpFile file;
                file.pixels = MakePixels(width, height, channels, 7);
                file.pixels.bytes.back() = 9;  // some alpha, where there is any
                file.lossless = lossless;
                SaveWebp(At("in.webp"), file);
                const Pixels seen = ThroughPng("in.webp");
                EXPECT_EQ(seen, LoadWebp(At("in.webp")).pixels);
                if (lossless) {
                    EXPECT_EQ(seen, file.pixels);
                }
            }
}

TEST_F(ReadWebp, GivesPhotographsAsTheLibraryDoes) {
    for (const bool lossless : {false, true}) {
        WebpFile file;
        file.pixels = PixelsOf(LoadPng(Photo("coffee.png")));
        file.lossless = lossless;
        SaveWebp(At("in.webp"), file);
        EXPECT_EQ(ThroughPng("in.webp"), LoadWebp(At("in.webp")).pixels);
    }
}

// The two decode in different ways: straight into the image, and row by row.
TEST_F(ReadWebp, GivesTheSamePixelsInMemoryAndInScratchFiles) {
    const Pixels whole = PixelsOf(LoadPng(Photo("coffee.png")));
    for (const bool lossless : {false, true}) {
        WebpFile file;
        file.pixels = whole;
        file.lossless = lossless;
        SaveWebp(At("in.webp"), file);
        const Pixels inMemory = ThroughPng("in.webp");
        RunWell({"--memory", "1M", "in.webp", "scratch.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("scratch.png"))), inMemory);
    }
    SaveWebpAnimation(At("in.webp"), 640, 430, {{whole, 8, 4}, {MakePixels(640, 430, 3, 2), 0, 0}});
    RunWell({"in.webp", "memory.png"});
    RunWell({"--memory", "1M", "in.webp", "scratch.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("scratch.png"))), PixelsOf(LoadPng(At("memory.png"))));
}

TEST_F(ReadWebp, TakesTheFirstFrameOfAnAnimation) {
    const Pixels first = MakePixels(30, 20, 3, 1);
    SaveWebpAnimation(At("in.webp"), 30, 20, {{first, 0, 0}, {MakePixels(30, 20, 3, 2), 0, 0}});
    EXPECT_EQ(RunWell({"in.webp", "out.png"}).err,
              "zor: in.webp: an animation of 2 frames, of which the first is taken\n");
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), first);
    EXPECT_NE(RunWell({"info", "in.webp"}).out.find("  pictures     2, of which the first is read\n"),
              std::string::npos);
}

TEST_F(ReadWebp, PutsASmallFirstFrameInItsPlace) {
    const Pixels first = MakePixels(10, 6, 3, 1);
    SaveWebpAnimation(At("in.webp"), 30, 20, {{first, 8, 4}, {MakePixels(30, 20, 3, 2), 0, 0}});
    RunWell({"in.webp", "out.png"});
    Pixels expected{30, 20, 4, std::vector<std::uint8_t>(std::size_t{30} * 20 * 4, 0)};
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 10; ++x)
            for (int c = 0; c < 4; ++c)
                expected.bytes[static_cast<std::size_t>(((y + 4) * 30 + x + 8) * 4 + c)] =
                    c == 3 ? 255 : first.At(x, y, c);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), expected);
}

TEST_F(ReadWebp, TellsWhatItHolds) {
    WebpFile file;
    file.pixels = MakePixels(40, 30, 4, 3);
    file.profile = MakeProfile("RGB ", "Web colours");
    file.exif = MakeExifBlock(6, 240, 180, 2);
    SaveWebp(At("in.webp"), file);
    const std::string out = RunWell({"info", "in.webp"}).out;
    EXPECT_NE(out.find("  format       WebP\n  size         40 x 30 pixels\n"
                       "  pixels       RGB + alpha, 8 bits a channel (lossless)\n"
                       "  profile      Web colours (RGB, "),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("  resolution   240 x 180 pixels per inch\n"), std::string::npos) << out;
    EXPECT_NE(out.find("  orientation  6, shown turned right by 90 degrees\n"), std::string::npos) << out;
    file.lossless = false;
    SaveWebp(At("in.webp"), file);
    EXPECT_NE(RunWell({"info", "in.webp"}).out.find("8 bits a channel (lossy)\n"), std::string::npos);
}

TEST_F(ReadWebp, TakesExifWithThePrefixOfJpegToo) {
    WebpFile file;
    file.pixels = MakePixels(4, 3, 3, 3);
    file.exif = MakeExifBlock(1, 118, 59, 3);
    file.exif.insert(file.exif.begin(), {'E', 'x', 'i', 'f', 0, 0});
    SaveWebp(At("in.webp"), file);
    EXPECT_NE(RunWell({"info", "in.webp"}).out.find("  resolution   118 x 59 pixels per centimetre\n"),
              std::string::npos);
}

TEST_F(ReadWebp, SurvivesADamagedExifBlock) {
    WebpFile file;
    file.pixels = MakePixels(4, 3, 3, 3);
    const std::vector<std::uint8_t> whole = MakeExifBlock(3, 300, 300, 2);
    for (std::size_t length = 1; length < whole.size(); length += 3) {
        file.exif.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        SaveWebp(At("in.webp"), file);
        RunWell({"--quiet", "in.webp", "out.png"});
    }
}

TEST_F(ReadWebp, LeavesOutAProfileOfAnotherColourSpace) {
    WebpFile file;
    file.pixels = MakePixels(4, 3, 3, 3);
    file.profile = MakeProfile("CMYK");
    SaveWebp(At("in.webp"), file);
    EXPECT_EQ(RunWell({"in.webp", "out.png"}).err,
              "zor: in.webp: the colour profile does not fit the pixels and is left out\n");
}

TEST_F(ReadWebp, RefusesFilesCutAnywhere) {
    for (const bool lossless : {false, true}) {
        WebpFile file;
        file.pixels = MakePixels(60, 50, 4, 3);
        file.profile = MakeProfile("RGB ");
        file.exif = MakeExifBlock(1, 72, 72, 2);
        file.lossless = lossless;
        SaveWebp(At("whole"), file);
        const std::string whole = ReadFile(At("whole"));
        std::vector<std::size_t> lengths;
        for (std::size_t i = 0; i < 34; ++i) lengths.push_back(i);
        for (std::size_t i = 0; i < 40; ++i) lengths.push_back(34 + (whole.size() - 34) * i / 40);
        lengths.push_back(whole.size() - 1);
        for (const std::size_t length : lengths) {
            SCOPED_TRACE("cut to " + std::to_string(length) + " of " + std::to_string(whole.size()));
            WriteFile(At("cut"), whole.substr(0, length));
            ExpectFailure(Run({"cut", "out.png"}), 1, {"cut: "});
            EXPECT_EQ(Files(), (std::vector<std::string>{"cut", "whole"}));
        }
    }
}

// The same cuts with the sizes in the file made to fit, as a broken program would write them.
TEST_F(ReadWebp, RefusesPixelsThatEndTooEarly) {
    for (const bool lossless : {false, true}) {
        WebpFile file;
        file.pixels = MakePixels(90, 70, 3, 3);
        file.lossless = lossless;
        SaveWebp(At("whole"), file);
        const std::string whole = ReadFile(At("whole"));
        for (const std::size_t part : {2, 3, 5, 9}) {
            const std::size_t size = (whole.size() - whole.size() / part) / 2 * 2;
            std::string bytes = whole.substr(0, size);
            for (int i = 0; i < 4; ++i) {
                bytes[static_cast<std::size_t>(4 + i)] = static_cast<char>((size - 8) >> (8 * i));
                bytes[static_cast<std::size_t>(16 + i)] = static_cast<char>((size - 20) >> (8 * i));
            }
            WriteFile(At("cut"), bytes);
            ExpectFailure(Run({"cut", "out.png"}), 1, {"cut: damaged WebP: "});
        }
    }
}

TEST_F(ReadWebp, SurvivesAnyFlippedByte) {
    for (const bool lossless : {false, true}) {
        WebpFile file;
        file.pixels = MakePixels(20, 15, 4, 3);
        file.profile = MakeProfile("RGB ");
        file.lossless = lossless;
        SaveWebp(At("whole"), file);
        const std::string whole = ReadFile(At("whole"));
        for (std::size_t at = 0; at < whole.size(); at += 1 + whole.size() / 100) {
            SCOPED_TRACE(at);
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ 0x5A);
            WriteFile(At("bad"), bytes);
            const Outcome outcome = Run({"--quiet", "bad", "new.png", "scale", "8x8"});
            if (outcome.exitCode != 0) {
                ExpectFailure(outcome, 1, {"bad: "});
                EXPECT_FALSE(std::filesystem::exists(At("new.png")));
            }
            std::filesystem::remove(At("new.png"));
        }
    }
}

TEST_F(ReadWebp, RefusesHostileHeaders) {
    WebpFile file;
    file.pixels = MakePixels(20, 15, 4, 3);
    file.profile = MakeProfile("RGB ");
    SaveWebp(At("whole"), file);
    const std::string whole = ReadFile(At("whole"));
    ASSERT_EQ(whole.substr(12, 4), "VP8X");
    const auto with = [&whole](std::size_t at, const std::string& bytes) {
        std::string changed = whole;
        return changed.replace(at, bytes.size(), bytes);
    };
    const std::string huge(4, '\xFF'), none(4, '\0');
    for (const auto& [bytes, what] : {std::pair{with(4, huge), "a file of four gigabytes"},
                                      {with(4, none), "a file of nothing"},
                                      {with(4, std::string("\x04\0\0\0", 4)), "a file that is its own name"},
                                      {with(16, huge), "a first part of four gigabytes"},
                                      {with(16, none), "a first part of nothing"},
                                      {with(24, std::string(6, '\xFF')), "16777216 pixels a side"},
                                      {with(24, std::string(6, '\0')), "one pixel"},
                                      {with(34, huge), "a profile of four gigabytes"}}) {
        SCOPED_TRACE(what);
        WriteFile(At("bad"), bytes);
        ExpectFailure(Run({"bad", "out.png"}), 1, {"bad: "});
        ExpectFailure(Run({"info", "bad"}), 1, {"bad: "});
    }
}

TEST_F(ReadWebp, LeavesWhatFollowsThePicture) {
    WebpFile file;
    file.pixels = MakePixels(20, 15, 4, 3);
    SaveWebp(At("in"), file);
    WriteFile(At("in"), ReadFile(At("in")) + "and so on");
    EXPECT_EQ(ThroughPng("in"), file.pixels);
}

TEST_F(ReadWebp, ReadsFromAPipe) {
    WebpFile file;
    file.pixels = MakePixels(400, 300, 3, 3);
    SaveWebp(At("in"), file);
    const std::string bytes = ReadFile(At("in"));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"pipe", "out.png"});
    WriteFile(At("pipe"), bytes);
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), file.pixels);
}

}  // namespace
