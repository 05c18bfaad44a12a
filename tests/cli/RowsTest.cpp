// Rows that go from file to file: parts and mirror images of pictures that nothing holds whole.

#include <fstream>

#include "TestPictures.h"
#include "TestTiffs.h"
#include "TestWebps.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

struct Part {
    int x, y, width, height;
};

std::string AreaText(const Part& part) {
    return std::to_string(part.x) + "," + std::to_string(part.y) + "," + std::to_string(part.width) + "x" +
           std::to_string(part.height);
}

Pixels PartOf(const Pixels& pixels, const Part& part) {
    Pixels result{part.width, part.height, pixels.channels, {}};
    for (int y = part.y; y < part.y + part.height; ++y)
        for (int x = part.x; x < part.x + part.width; ++x)
            for (int c = 0; c < pixels.channels; ++c) result.bytes.push_back(pixels.At(x, y, c));
    return result;
}

Pixels Mirrored(const Pixels& pixels) {
    Pixels result = pixels;
    for (int y = 0, at = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x)
            for (int c = 0; c < pixels.channels; ++c)
                result.bytes[static_cast<std::size_t>(at++)] = pixels.At(pixels.width - 1 - x, y, c);
    return result;
}

class Rows : public ZorTest {
protected:
    static constexpr int kWidth = 203, kHeight = 149;

    TiffFile Tiff(int channels, int compression, int tile, int rowsPerStrip, bool planes) const {
        TiffFile file = PlainTiff(MakePixels(kWidth, kHeight, channels, 7));
        file.compression = compression;
        file.tileWidth = file.tileHeight = tile;
        file.rowsPerStrip = rowsPerStrip;
        file.planes = planes;
        return file;
    }

    // One of each way that files cut pictures into pieces.
    std::vector<std::string> MakeFiles() {
        SavePng(At("plain.png"), PlainPng(MakePixels(kWidth, kHeight, 4, 1)));
        PngFile interlaced = PlainPng(MakePixels(kWidth, kHeight, 3, 2));
        interlaced.interlaced = true;
        SavePng(At("interlaced.png"), interlaced);
        JpegFile jpeg;
        jpeg.pixels = MakePixels(kWidth, kHeight, 3, 3);
        SaveJpeg(At("full.jpg"), jpeg);
        jpeg.sampling = {2, 2};
        SaveJpeg(At("half.jpg"), jpeg);
        jpeg.sampling = {2, 1};
        SaveJpeg(At("across.jpg"), jpeg);
        jpeg.progressive = true;
        SaveJpeg(At("progressive.jpg"), jpeg);
        jpeg.progressive = false;
        jpeg.sampling = {1, 1};
        jpeg.pixels = MakePixels(kWidth, kHeight, 4, 4);
        SaveJpeg(At("inks.jpg"), jpeg);
        SaveTiff(At("strips.tif"), Tiff(3, 1, 0, 10, false));
        SaveTiff(At("one.tif"), Tiff(4, 1, 0, kHeight, false));
        SaveTiff(At("packed.tif"), Tiff(3, 8, 0, 13, false));
        SaveTiff(At("tiles.tif"), Tiff(3, 8, 32, 0, false));
        SaveTiff(At("planes.tif"), Tiff(3, 1, 0, 9, true));
        SaveTiff(At("tileplanes.tif"), Tiff(4, 5, 48, 0, true));
        for (const char* name : {"bytes.ppm", "bytes.pam", "lossy.webp"}) RunWell({"plain.png", name});
        RunWell({"--lossless", "plain.png", "exact.webp"});
        WriteFile(At("bits.pbm"), "P4 203 149\n" + std::string(26 * 149, '\x5A'));
        std::string plain = "P2 203 149 99\n";
        for (int i = 0; i < kWidth * kHeight; ++i) plain += std::to_string(i * 7 % 100) + " ";
        WriteFile(At("plain.pgm"), plain);
        std::string wide = "P5 203 149 60000\n";
        for (int i = 0; i < kWidth * kHeight; ++i) wide += {static_cast<char>(i * 31 % 234), static_cast<char>(i)};
        WriteFile(At("wide.pgm"), wide);
        return {"plain.png",  "interlaced.png", "full.jpg",   "half.jpg",  "across.jpg", "progressive.jpg", "inks.jpg",
                "strips.tif", "one.tif",        "packed.tif", "tiles.tif", "planes.tif", "tileplanes.tif",  "bytes.ppm",
                "bytes.pam",  "lossy.webp",     "exact.webp", "bits.pbm",  "plain.pgm",  "wide.pgm"};
    }

    Pixels Result(const std::string& input, const std::vector<std::string>& effects) {
        std::vector<std::string> words = {"--quiet", input, "out.tif"};
        words.insert(words.end(), effects.begin(), effects.end());
        RunWell(words);
        return PixelsOf(LoadTiff(At("out.tif")));
    }
};

TEST_F(Rows, OfAPartAreThoseOfTheWholeInEveryFormat) {
    for (const std::string& name : MakeFiles()) {
        const Pixels whole = Result(name, {});
        ASSERT_EQ(whole.width, kWidth);
        for (const Part& part : {Part{0, 0, 1, 1}, Part{0, 0, kWidth, 20}, Part{17, 33, 64, 16}, Part{65, 1, 33, 129},
                                 Part{202, 148, 1, 1}, Part{3, 140, 200, 9}, Part{40, 64, 31, 40}}) {
            SCOPED_TRACE(name + " " + AreaText(part));
            EXPECT_TRUE(Result(name, {"crop", AreaText(part)}) == PartOf(whole, part));
        }
        SCOPED_TRACE(name);
        // Parts of mirror images of parts.
        const Pixels twice = Result(name, {"crop", "10,20,150x100", "flip", "h", "crop", "5,30,60x20"});
        EXPECT_TRUE(twice == PartOf(Mirrored(PartOf(whole, {10, 20, 150, 100})), {5, 30, 60, 20}));
    }
}

TEST_F(Rows, MirrorAsThePluginDoes) {
    for (const int channels : {1, 2, 3, 4})
        for (const int width : {1, 2, 15, 64, 203}) {
            SCOPED_TRACE(std::to_string(channels) + " " + std::to_string(width));
            const Pixels pixels = MakePixels(width, 9, channels, 5);
            SavePng(At("in.png"), PlainPng(pixels));
            EXPECT_TRUE(Result("in.png", {"flip", "h"}) == Mirrored(pixels));
            EXPECT_TRUE(Result("in.png", {"flip", "h", "--plugin-bytes"}) == Mirrored(pixels));
        }
}

// A pipe cannot be jumped in.
TEST_F(Rows, OfAPartComeFromAPipeToo) {
    SavePng(At("in.png"), PlainPng(MakePixels(kWidth, kHeight, 3, 1)));
    RunWell({"in.png", "in.ppm"});
    RunWell({"in.png", "in.tif"});
    for (const char* name : {"in.png", "in.ppm", "in.tif"}) {
        SCOPED_TRACE(name);
        const Pixels part = Result(name, {"crop", "20,90,50x30"});
        FILE* pipe = popen(("cat " + At(name)).c_str(), "r");
        RunOptions options;
        options.inputDescriptor = fileno(pipe);
        EXPECT_EQ(Run({"-", "out.tif", "crop", "20,90,50x30"}, options).exitCode, 0);
        pclose(pipe);
        EXPECT_TRUE(PixelsOf(LoadTiff(At("out.tif"))) == part);
    }
}

TEST_F(Rows, OfAPartAreRecolouredAsTheWholeIs) {
    PngFile file = PlainPng(MakePixels(kWidth, kHeight, 4, 1));
    file.gamma = 100000;  // not that of sRGB
    SavePng(At("in.png"), file);
    const Pixels whole = Result("in.png", {"--srgb"});
    EXPECT_FALSE(whole == PixelsOf(file));
    for (const Part& part : {Part{20, 90, 50, 30}, Part{0, 0, 1, 1}, Part{100, 1, 103, 148}})
        EXPECT_TRUE(Result("in.png", {"--srgb", "crop", AreaText(part)}) == PartOf(whole, part)) << AreaText(part);
}

// What is not looked at is not read, and may be missing or damaged; what is needed may not.
TEST_F(Rows, StopAtTheLastOneThatIsNeeded) {
    for (const std::string& name : MakeFiles()) {
        if (name == "interlaced.png" || name == "progressive.jpg" || name.ends_with(".tif") || name == "bytes.pam" ||
            name == "exact.webp")
            continue;  // decoded as a whole, or with places at the end; a copy of a format is as good as one
        SCOPED_TRACE(name);
        const Pixels part = Result(name, {"crop", "10,2,100x20"});
        const std::string bytes = ReadFile(At(name));
        if (!name.ends_with(".webp")) {
            WriteFile(At(name), bytes.substr(0, bytes.size() * 6 / 10));
            EXPECT_TRUE(Result(name, {"crop", "10,2,100x20"}) == part);
        }
        WriteFile(At(name), bytes.substr(0, bytes.size() * 6 / 10));
        std::filesystem::remove(At("out.tif"));
        const Outcome copy = Run({"--quiet", name, "out.tif"});
        ExpectFailure(copy, 1, {name + ": damaged"});
        const Outcome bottom = Run({"--quiet", name, "out.tif", "crop", "10,120,100x20"});
        ExpectFailure(bottom, 1, {name + ": damaged"});
        EXPECT_EQ(bottom.err, copy.err);
        EXPECT_FALSE(std::filesystem::exists(At("out.tif")));
    }
}

TEST_F(Rows, LeaveStripsAndTilesAloneThatAreNotNeeded) {
    const std::vector<std::pair<TiffFile, Part>> cases = {{Tiff(3, 8, 0, 10, false), {10, 60, 50, 20}},
                                                          {Tiff(3, 8, 32, 0, false), {70, 70, 20, 20}},
                                                          {Tiff(3, 8, 32, 0, true), {70, 70, 20, 20}},
                                                          {Tiff(3, 1, 0, 10, false), {10, 60, 50, 20}}};
    for (const auto& [file, part] : cases) {
        SaveTiff(At("in.tif"), file);
        const Pixels whole = Result("in.tif", {});
        const std::string bytes = ReadFile(At("in.tif"));
        int harmless = 0, harmful = 0, fine = 0;
        // One piece of the file after the other is overwritten.
        for (std::size_t at = 8; at + 64 < bytes.size(); at += bytes.size() / 30) {
            std::string damaged = bytes;
            damaged.replace(at, 64, 64, '\xFF');
            WriteFile(At("in.tif"), damaged);
            const Outcome copy = Run({"--quiet", "in.tif", "copy.tif"});
            const Outcome crop = Run({"--quiet", "in.tif", "crop.tif", "crop", AreaText(part)});
            if (crop.exitCode != 0) {
                ++harmful;
                EXPECT_NE(copy.exitCode, 0);
            } else if (PixelsOf(LoadTiff(At("crop.tif"))) == PartOf(whole, part)) {
                ++(copy.exitCode == 0 ? fine : harmless);
            }
        }
        if (file.compression == 8) {
            EXPECT_GT(harmless, 2 * harmful) << "most pieces are not needed";
            EXPECT_GT(harmful, 0);
        } else {
            EXPECT_GT(fine, 0);
        }
    }
}

// A picture of 900 MB goes through with some rows of it, and nothing beside.
TEST_F(Rows, OfALargePictureTakeLittleMemoryAndNoScratch) {
    if (kSlowBuild) GTEST_SKIP() << "sanitizers take memory of their own";
    constexpr int kSide = 17320;
    {
        std::ofstream file(At("large.ppm"), std::ios::binary);
        file << "P6 " << kSide << " " << kSide << " 255\n";
        std::vector<char> row(kSide * 3);
        for (int y = 0; y < kSide; ++y) {
            for (std::size_t i = 0; i < row.size(); i += 61) row[i] = static_cast<char>(i * 7 + y);
            file.write(row.data(), static_cast<std::streamsize>(row.size()));
        }
        ASSERT_TRUE(file.flush()) << "no room for the test's picture";
    }
    std::filesystem::create_directory(At("scratch"));
    RunWell({"--compression", "0", "large.ppm", "large.tif"});
    std::filesystem::remove(At("large.ppm"));
    constexpr std::int64_t kMost = std::int64_t{100} << 20;
    RunOptions options;
    options.fileSizeLimit = std::uint64_t{64} << 20;  // for the result only
    for (const std::vector<std::string>& effects :
         {std::vector<std::string>{"scale", "10%"}, {"crop", "9000,16000,500x500"}, {"flip", "h", "scale", "1000x"}}) {
        SCOPED_TRACE(effects[0]);
        std::vector<std::string> words = {"--memory", "16M", "--scratch", "scratch", "large.tif", "small.tif"};
        words.insert(words.end(), effects.begin(), effects.end());
        const Outcome outcome = Run(words, options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_LT(outcome.peakBytes, kMost);
        EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
    }
}

}  // namespace
