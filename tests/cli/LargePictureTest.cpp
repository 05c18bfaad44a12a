// Pictures larger than the memory that the program may have.

#include <fstream>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

// Sanitizers take addresses without end, and slow builds would take minutes.
constexpr bool kWholeSize = !kSlowBuild;

class LargePicture : public ZorTest {
protected:
    // Noise that moves from row to row, written a row at a time.
    void MakeRgb(const std::string& name, int width, int height) {
        const Pixels noise = MakePixels(width + 4096, 1, 3, 5);
        std::ofstream file(At(name), std::ios::binary);
        file << "P6\n" << width << " " << height << "\n255\n";
        for (int y = 0; y < height; ++y)
            file.write(reinterpret_cast<const char*>(noise.bytes.data()) + y * 37 % 4096 * 3, width * 3L);
        ASSERT_TRUE(file.flush()) << "no room for the test's picture";
    }
};

TEST_F(LargePicture, OfSixHundredMegabytesIsScaledAndSharpenedInHalfAGigabyteOfAddresses) {
    MakeRgb("in.ppm", kWholeSize ? 20000 : 4000, kWholeSize ? 10000 : 3000);
    const std::vector<std::string> effects = {"scale", kWholeSize ? "6000x" : "1200x", "unsharp", "0.3"};
    std::filesystem::create_directory(At("scratch"));
    std::vector<std::string> words = {"--scratch", "scratch", "in.ppm", "large.ppm"};
    RunOptions options;
    if (kWholeSize) {
        options.addressLimit = std::uint64_t{512} << 20;
    } else {
        words.insert(words.begin(), {"--memory", "8M"});
    }
    words.insert(words.end(), effects.begin(), effects.end());
    const Outcome outcome = Run(words, options);
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));

    words = {"--memory", "16G", "in.ppm", "memory.ppm"};
    words.insert(words.end(), effects.begin(), effects.end());
    RunWell(words);
    EXPECT_TRUE(ReadFile(At("large.ppm")) == ReadFile(At("memory.ppm")));
}

// Where not even windows find addresses there is an error, and no result with holes.
TEST_F(LargePicture, TellsWhenEvenAddressesAreShort) {
    if (!kWholeSize) GTEST_SKIP() << "sanitizers take addresses without end";
    MakeRgb("in.ppm", 4000, 3000);
    RunWell({"in.ppm", "reference.ppm", "scale", "2000x", "unsharp", "0.3", "rotate", "3"});
    int done = 0, failed = 0;
    for (std::uint64_t megabytes = 20; megabytes <= 160; megabytes += 10) {
        SCOPED_TRACE(megabytes);
        RunOptions options;
        options.addressLimit = megabytes << 20;
        const Outcome outcome = Run({"--memory", "2M", "--scratch", ".", "in.ppm", "out.ppm", "scale", "2000x",
                                     "unsharp", "0.3", "rotate", "3"},
                                    options);
        if (outcome.exitCode == 0) {
            ++done;
            EXPECT_TRUE(ReadFile(At("out.ppm")) == ReadFile(At("reference.ppm")));
            std::filesystem::remove(At("out.ppm"));
        } else {
            ++failed;
            EXPECT_FALSE(std::filesystem::exists(At("out.ppm")));
            EXPECT_NE(outcome.err, "");
        }
    }
    EXPECT_GT(done, 0);
    EXPECT_GT(failed, 0);
}

// What libjpeg gathers of all its scans is larger than the picture.
TEST_F(LargePicture, OfAProgressiveFileGoesThroughScratchToo) {
    JpegFile file;
    file.pixels = kWholeSize ? MakePixels(6000, 4000, 3, 1) : MakePixels(1600, 1200, 3, 1);
    file.progressive = true;
    SaveJpeg(At("in.jpg"), file);
    file = {};
    std::filesystem::create_directory(At("scratch"));
    const Outcome outcome = Run({"--memory", "2M", "--scratch", "scratch", "in.jpg", "scratch.ppm"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    if (kWholeSize) {
        EXPECT_LT(outcome.peakBytes, std::int64_t{64} << 20);  // where the coefficients take 72
    }
    EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
    RunWell({"--memory", "16G", "in.jpg", "memory.ppm"});
    EXPECT_TRUE(ReadFile(At("scratch.ppm")) == ReadFile(At("memory.ppm")));

    // Room for what is decoded at an eighth of its size, but not for that.
    RunOptions options;
    options.fileSizeLimit = std::uint64_t{5} << 19;
    ExpectFailure(Run({"--memory", "2M", "--scratch", "scratch", "in.jpg", "none.png", "thumbnail", "100"}, options), 1,
                  {"scratch directory scratch: File too large"});
    EXPECT_FALSE(std::filesystem::exists(At("none.png")));
}

}  // namespace
