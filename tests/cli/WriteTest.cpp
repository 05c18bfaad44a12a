// What the program writes: formats by suffix, options, and what a format leaves out.

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

using Write = ZorTest;

TEST_F(Write, ChoosesTheFormatBySuffixInAnyCase) {
    for (const char* name : {"a.png", "b.PNG", "c.Png"}) {
        RunWell({Photo("coffee.png"), name});
        EXPECT_EQ(LoadPng(At(name)).width, 600) << name;
    }
    for (const char* name : {"a.jpg", "b.jpeg", "c.JPG", "d.JpEg"}) {
        RunWell({Photo("coffee.png"), name});
        EXPECT_EQ(LoadJpeg(At(name)).pixels.width, 600) << name;
    }
}

TEST_F(Write, TellsTheInputByItsContentAndNotByItsSuffix) {
    std::filesystem::copy(Photo("coffee.png"), At("wrong.jpg"));
    RunWell({"wrong.jpg", "out.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), PixelsOf(LoadPng(Photo("coffee.png"))));
}

TEST_F(Write, KeepsEveryKindOfPixelInPng) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(67, 43, channels, 9);
        SavePng(At("in.png"), PlainPng(pixels));
        RunWell({"in.png", "out.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), pixels) << channels;
    }
}

TEST_F(Write, KeepsPhotographsInPng) {
    for (const char* name : {"coffee.png", "chelsea.png"}) {
        RunWell({Photo(name), "out.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), PixelsOf(LoadPng(Photo(name)))) << name;
    }
}

TEST_F(Write, LeavesAlphaOutOfJpegAndSaysSo) {
    for (const int channels : {2, 4}) {
        const Pixels pixels = MakePixels(40, 30, channels, 4);
        SavePng(At("in.png"), PlainPng(pixels));
        const Outcome outcome = RunWell({"--plugin-bytes", "in.png", "out.jpg"});
        EXPECT_EQ(outcome.err, "zor: out.jpg: JPEG holds no transparency; the alpha channel is left out\n");
        JpegFile expected;
        expected.pixels = {40, 30, channels - 1, {}};
        for (std::size_t i = 0; i < pixels.bytes.size(); ++i)
            if (static_cast<int>(i) % channels != channels - 1) expected.pixels.bytes.push_back(pixels.bytes[i]);
        expected.quality = 90;
        if (channels == 4) {
            EXPECT_EQ(LoadJpeg(At("out.jpg")).sampling, (std::array{1, 1}));
        } else {
            SaveJpeg(At("expected.jpg"), expected);
            EXPECT_EQ(LoadJpeg(At("out.jpg")).pixels, LoadJpeg(At("expected.jpg")).pixels);
        }
    }
}

TEST_F(Write, RefusesCmykInPngBeforeItTouchesAnything) {
    JpegFile file;
    file.pixels = MakePixels(20, 10, 4, 2);
    SaveJpeg(At("in.jpg"), file);
    WriteFile(At("out.png"), "old");
    ExpectFailure(Run({"in.jpg", "out.png"}), 1, {"out.png", "PNG cannot hold CMYK"});
    EXPECT_EQ(ReadFile(At("out.png")), "old");
}

TEST_F(Write, FollowsTheQualityOfJpeg) {
    RunWell({"--quality", "10", Photo("coffee.png"), "low.jpg"});
    RunWell({"--quality=75", Photo("coffee.png"), "mid.jpg"});
    RunWell({Photo("coffee.png"), "default.jpg"});
    RunWell({Photo("coffee.png"), "90.jpg", "--quality", "90"});
    const std::size_t low = ReadFile(At("low.jpg")).size(), mid = ReadFile(At("mid.jpg")).size();
    EXPECT_LT(low * 3, mid);
    EXPECT_LT(mid * 3 / 2, ReadFile(At("90.jpg")).size());
    EXPECT_EQ(ReadFile(At("default.jpg")), ReadFile(At("90.jpg")));
    EXPECT_EQ(LoadJpeg(At("mid.jpg")).sampling, (std::array{2, 2}));
    EXPECT_EQ(LoadJpeg(At("90.jpg")).sampling, (std::array{1, 1}));

    JpegFile same;
    same.pixels = PixelsOf(LoadPng(Photo("coffee.png")));
    same.quality = 75;
    SaveJpeg(At("same.jpg"), same);
    EXPECT_EQ(LoadJpeg(At("mid.jpg")).pixels, LoadJpeg(At("same.jpg")).pixels);
}

TEST_F(Write, FollowsTheCompressionOfPng) {
    RunWell({"--compression", "0", Photo("coffee.png"), "none.png"});
    RunWell({"--compression", "9", Photo("coffee.png"), "best.png"});
    EXPECT_GT(ReadFile(At("none.png")).size(), 600U * 400 * 3);
    EXPECT_LT(ReadFile(At("best.png")).size(), 600U * 400 * 2);
    EXPECT_EQ(PixelsOf(LoadPng(At("none.png"))), PixelsOf(LoadPng(At("best.png"))));
}

TEST_F(Write, ReplacesItsOwnInput) {
    const Pixels pixels = MakePixels(40, 30, 3, 6);
    SavePng(At("a.png"), PlainPng(pixels));
    RunWell({"a.png", "a.png", "scalefast", "200%"});
    EXPECT_EQ(LoadPng(At("a.png")).width, 80);
    EXPECT_EQ(Files(), (std::vector<std::string>{"a.png"}));
}

TEST_F(Write, KeepsThePermissionsOfAFileItReplaces) {
    namespace fs = std::filesystem;
    SavePng(At("a.png"), PlainPng(MakePixels(4, 3, 3, 6)));
    fs::permissions(At("a.png"), fs::perms{0640});
    RunWell({"a.png", "a.png"});
    EXPECT_EQ(fs::status(At("a.png")).permissions(), fs::perms{0640});
    fs::permissions(At("a.png"), fs::perms{0604});
    RunWell({"a.png", "a.png"});
    EXPECT_EQ(fs::status(At("a.png")).permissions(), fs::perms{0604});
}

TEST_F(Write, GivesANewFileThePermissionsOfTheUmask) {
    namespace fs = std::filesystem;
    const mode_t before = umask(027);
    RunWell({Photo("coffee.png"), "out.png"});
    umask(before);
    EXPECT_EQ(fs::status(At("out.png")).permissions(), fs::perms{0640});
}

TEST_F(Write, FollowsALinkAndKeepsIt) {
    std::filesystem::create_directory(At("deep"));
    WriteFile(At("deep/real.png"), "old");
    std::filesystem::create_symlink("deep/real.png", At("link.png"));
    RunWell({Photo("coffee.png"), "link.png"});
    EXPECT_TRUE(std::filesystem::is_symlink(At("link.png")));
    EXPECT_EQ(LoadPng(At("deep/real.png")).width, 600);
}

TEST_F(Write, MakesTheFileThatALinkLeadsTo) {
    std::filesystem::create_directory(At("deep"));
    std::filesystem::create_symlink("deep/second", At("first.png"));
    std::filesystem::create_symlink("../real.png", At("deep/second"));
    RunWell({Photo("coffee.png"), "first.png"});
    EXPECT_TRUE(std::filesystem::is_symlink(At("first.png")));
    EXPECT_TRUE(std::filesystem::is_symlink(At("deep/second")));
    EXPECT_EQ(LoadPng(At("real.png")).width, 600);
    std::filesystem::create_symlink("circle.png", At("circle.png"));
    ExpectFailure(Run({Photo("coffee.png"), "circle.png"}), 1, {"circle.png: Too many levels of symbolic links"});
    std::filesystem::create_symlink("missing/real.png", At("nowhere.png"));
    ExpectFailure(Run({Photo("coffee.png"), "nowhere.png"}), 1, {"nowhere.png: No such file or directory"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"circle.png", "deep", "first.png", "nowhere.png", "real.png"}));
}

TEST_F(Write, WritesToADeviceDirectly) {
    std::filesystem::create_symlink("/dev/null", At("null.png"));
    RunWell({Photo("coffee.png"), "null.png"});
    EXPECT_TRUE(std::filesystem::is_symlink(At("null.png")));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Write, TakesPathsWithSpacesAndForeignLetters) {
    const std::string directory = "Bilder \xC3\xA4\xE2\x82\xAC \xFF";  // the last byte is no UTF-8 at all
    std::filesystem::create_directory(At(directory));
    std::filesystem::copy(Photo("rocket.jpg"), At(directory + "/in put.jpg"));
    RunWell({directory + "/in put.jpg", directory + "/\xE5\x86\x99\xE7\x9C\x9F.png", "scale", "10%"});
    EXPECT_EQ(LoadPng(At(directory + "/\xE5\x86\x99\xE7\x9C\x9F.png")).width, 64);
}

TEST_F(Write, TakesNamesThatLookLikeOptionsBehindTwoDashes) {
    std::filesystem::copy(Photo("rocket.jpg"), At("-in.jpg"));
    RunWell({"--", "-in.jpg", "--out.png", "scale", "10%"});
    EXPECT_EQ(LoadPng(At("--out.png")).width, 64);
}

TEST_F(Write, ReadsAPipe) {
    const std::string bytes = ReadFile(Photo("rocket.jpg"));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"pipe", "out.png"});
    WriteFile(At("pipe"), bytes);
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), LoadJpeg(Photo("rocket.jpg")).pixels);
}

TEST_F(Write, ShowsNoProgressWhereThereIsNoTerminal) {
    const Outcome outcome = RunWell({Photo("coffee.png"), "out.png", "scale", "3000x", "filter=lanczos8"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Write, IsSilentWhenAskedToBe) {
    PngFile file = PlainPng(MakePixels(4, 3, 4, 6));
    file.bitDepth = 16;
    SavePng(At("in.png"), file);
    EXPECT_EQ(RunWell({"in.png", "out.jpg", "-q"}).err, "");
    EXPECT_NE(RunWell({"in.png", "out.jpg"}).err, "");
}

}  // namespace
