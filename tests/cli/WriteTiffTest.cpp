// TIFF files that the program writes, read back with libtiff.

#include <fcntl.h>
#include <sys/stat.h>
#include <tiff.h>
#include <unistd.h>

#include <csignal>

#include "TestPictures.h"
#include "TestTiffs.h"
#include "ZorTest.h"

namespace {

using WriteTiff = ZorTest;

TEST_F(WriteTiff, KeepsEveryKindOfPixel) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const auto& [width, height] : {std::pair{1, 1}, {67, 43}, {3, 700}}) {
            SCOPED_TRACE(testing::Message() << channels << " channels, " << width << " x " << height);
            const Pixels pixels = MakePixels(width, height, channels, 9);
            SavePng(At("in.png"), PlainPng(pixels));
            EXPECT_EQ(RunWell({"in.png", "out.tif"}).err, "");
            const TiffFile file = LoadTiff(At("out.tif"));
            EXPECT_EQ(PixelsOf(file), pixels);
            EXPECT_EQ(file.photometric, channels <= 2 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
            EXPECT_EQ(file.extras, channels % 2 == 0 ? std::vector<std::uint16_t>{EXTRASAMPLE_UNASSALPHA}
                                                     : std::vector<std::uint16_t>{});
            EXPECT_EQ(file.compression, COMPRESSION_ADOBE_DEFLATE);
            EXPECT_EQ(file.predictor, PREDICTOR_HORIZONTAL);
            EXPECT_EQ(file.orientation, 1);
            EXPECT_EQ(file.unit, 0);
            EXPECT_FALSE(file.big);
            EXPECT_FALSE(file.bigEndian);
            EXPECT_TRUE(file.profile.empty());
            RunWell({"out.tif", "again.tiff"});
            EXPECT_EQ(ReadFile(At("again.tiff")), ReadFile(At("out.tif")));
            RunWell({"out.tif", "back.png"});
            EXPECT_EQ(PixelsOf(LoadPng(At("back.png"))), pixels);
        }
}

TEST_F(WriteTiff, KeepsInks) {
    TiffFile file = PlainTiff(MakePixels(31, 22, 4, 5), true);
    file.profile = MakeProfile("CMYK");
    SaveTiff(At("in.tif"), file);
    RunWell({"in.tif", "out.tif"});
    const TiffFile out = LoadTiff(At("out.tif"));
    EXPECT_EQ(out.photometric, PHOTOMETRIC_SEPARATED);
    EXPECT_EQ(PixelsOf(out), PixelsOf(file));
    EXPECT_EQ(out.profile, file.profile);
    EXPECT_TRUE(out.extras.empty());
    // JPEG files as most programs write them hold 255 for no ink.
    RunWell({"in.tif", "out.jpg", "--quality", "100"});
    const Pixels jpeg = LoadJpeg(At("out.jpg")).pixels;
    for (std::size_t i = 0; i < jpeg.bytes.size(); ++i)
        ASSERT_NEAR(255 - jpeg.bytes[i], file.values[i], 4) << "byte " << i;
}

TEST_F(WriteTiff, KeepsPhotographs) {
    for (const char* name : {"coffee.png", "chelsea.png"}) {
        RunWell({Photo(name), "out.tif"});
        EXPECT_EQ(PixelsOf(LoadTiff(At("out.tif"))), PixelsOf(LoadPng(Photo(name)))) << name;
    }
    RunWell({Photo("rocket.jpg"), "out.tif"});
    EXPECT_EQ(PixelsOf(LoadTiff(At("out.tif"))), LoadJpeg(Photo("rocket.jpg")).pixels);
    EXPECT_EQ(LoadTiff(At("out.tif")).profile, LoadJpeg(Photo("rocket.jpg")).profile);
}

TEST_F(WriteTiff, FollowsTheCompression) {
    for (const char* level : {"0", "1", "9"})
        RunWell({Photo("coffee.png"), std::string(level) + ".tif", "--compression", level});
    EXPECT_EQ(LoadTiff(At("0.tif")).compression, COMPRESSION_NONE);
    EXPECT_GT(ReadFile(At("0.tif")).size(), 600U * 400 * 3);
    EXPECT_LT(ReadFile(At("9.tif")).size(), ReadFile(At("1.tif")).size());
    EXPECT_EQ(PixelsOf(LoadTiff(At("0.tif"))), PixelsOf(LoadTiff(At("9.tif"))));
}

TEST_F(WriteTiff, CutsThePictureIntoStrips) {
    RunWell({Photo("coffee.png"), "out.tif", "scalefast", "300%"});
    const TiffFile file = LoadTiff(At("out.tif"));
    EXPECT_LE(file.rowsPerStrip * file.width * 3, 1 << 18);
    EXPECT_GT(file.rowsPerStrip, 1);
}

TEST_F(WriteTiff, GivesTheSameBytesEachTime) {
    RunWell({Photo("coffee.png"), "a.tif"});
    RunWell({Photo("coffee.png"), "b.tif"});
    EXPECT_EQ(ReadFile(At("a.tif")), ReadFile(At("b.tif")));
}

TEST_F(WriteTiff, KeepsTheResolutionExactly) {
    using Density = std::array<std::uint32_t, 3>;
    for (const Density& density : {Density{11811, 2835, 1}, {3780, 3780, 1}, {4, 3, 0}, {1, 1, 1}, {100, 200, 1}}) {
        PngFile png = PlainPng(MakePixels(5, 4, 3, 1));
        png.density = density;
        SavePng(At("in.png"), png);
        RunWell({"in.png", "out.tif"});
        RunWell({"out.tif", "out.png"});
        EXPECT_EQ(LoadPng(At("out.png")).density, density) << density[0];
    }
    for (const int unit : {1, 2}) {
        JpegFile jpeg;
        jpeg.pixels = MakePixels(5, 4, 3, 1);
        jpeg.density = {unit, 300, 72};
        SaveJpeg(At("in.jpg"), jpeg);
        RunWell({"in.jpg", "out.tif"});
        EXPECT_EQ(LoadTiff(At("out.tif")).unit, unit + 1);
        EXPECT_EQ(LoadTiff(At("out.tif")).x, 300);
        EXPECT_EQ(LoadTiff(At("out.tif")).y, 72);
        RunWell({"out.tif", "out.jpg"});
        EXPECT_EQ(LoadJpeg(At("out.jpg")).density, jpeg.density);
    }
}

TEST_F(WriteTiff, WritesTheSameBytesIntoPipes) {
    RunWell({Photo("coffee.png"), "file.tif"});
    const Outcome outcome = Run({Photo("coffee.png"), "-", "--format", "tiff"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out, ReadFile(At("file.tif")));
    EXPECT_EQ(Files(), (std::vector<std::string>{"file.tif"}));
}

TEST_F(WriteTiff, ReadsTheSameOutOfPipes) {
    RunWell({Photo("coffee.png"), "file.tif"});
    const std::string bytes = ReadFile(At("file.tif"));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"pipe", "out.png"});
    WriteFile(At("pipe"), bytes);
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), PixelsOf(LoadPng(Photo("coffee.png"))));
}

TEST_F(WriteTiff, TellsOfFullDisksAndClosedPipes) {
    RunOptions options;
    options.fileSizeLimit = 4096;
    WriteFile(At("out.tif"), "old");
    ExpectFailure(Run({Photo("coffee.png"), "out.tif"}, options), 1, {"out.tif: File too large"});
    EXPECT_EQ(ReadFile(At("out.tif")), "old");
    std::filesystem::create_symlink("/dev/full", At("full.tif"));
    ExpectFailure(Run({Photo("coffee.png"), "full.tif"}), 1, {"full.tif: No space left on device"});
    ExpectFailure(Run({Photo("coffee.png"), "full.tif", "scale", "1x1"}), 1, {"full.tif: No space left on device"});
    // What is gathered for a pipe can fill a disk as well.
    ExpectFailure(Run({Photo("coffee.png"), "full.tif"}, options), 1, {"scratch directory ", "File too large"});

    ASSERT_EQ(mkfifo(At("pipe.tif").c_str(), 0600), 0);
    const pid_t process = Start({Photo("coffee.png"), "pipe.tif"});
    const int reader = open(At("pipe.tif").c_str(), O_RDONLY | O_CLOEXEC);
    char first = 0;
    EXPECT_EQ(read(reader, &first, 1), 1);
    close(reader);
    ExpectFailure(Wait(process), 1, {"pipe.tif: Broken pipe"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"full.tif", "out.tif", "pipe.tif"}));
}

TEST_F(WriteTiff, TellsOfAPipeThatFillsTheScratchDisk) {
    RunWell({Photo("coffee.png"), "in.tif"});
    const std::string bytes = ReadFile(At("in.tif"));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    RunOptions options;
    options.fileSizeLimit = 4096;
    const pid_t process = Start({"pipe", "out.png"}, options);
    std::signal(SIGPIPE, SIG_IGN);
    WriteFile(At("pipe"), bytes);
    ExpectFailure(Wait(process), 1, {"scratch directory ", "File too large"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.tif", "pipe"}));
}

}  // namespace
