// WebP as the program writes it.

#include <cmath>

#include "TestWebps.h"
#include "ZorTest.h"

namespace {

class WriteWebp : public ZorTest {
protected:
    WebpFile Written(const Pixels& pixels, std::vector<std::string> options) {
        SavePng(At("in.png"), PlainPng(pixels));
        options.insert(options.end(), {"in.png", "out.webp"});
        EXPECT_EQ(RunWell(options).err, "");
        return LoadWebp(At("out.webp"));
    }
};

// Gray three times, and alpha.
Pixels InColour(const Pixels& pixels) {
    if (pixels.channels > 2) return pixels;
    Pixels colour{pixels.width, pixels.height, pixels.channels + 2, {}};
    for (std::size_t i = 0; i < pixels.bytes.size(); i += static_cast<std::size_t>(pixels.channels)) {
        colour.bytes.insert(colour.bytes.end(), 3, pixels.bytes[i]);
        if (pixels.channels == 2) colour.bytes.push_back(pixels.bytes[i + 1]);
    }
    return colour;
}

TEST_F(WriteWebp, KeepsEveryPixelWithoutLoss) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const auto& [width, height] : {std::pair{1, 1}, {3, 5}, {67, 43}}) {
            SCOPED_TRACE(testing::Message() << channels << ", " << width << " x " << height);
            Pixels pixels = MakePixels(width, height, channels, 9);
            if (channels % 2 == 0) pixels.bytes.back() = 0;  // colour stays where nothing of it is seen
            const WebpFile written = Written(pixels, {"--lossless"});
            EXPECT_TRUE(written.lossless);
            EXPECT_EQ(written.pixels, InColour(pixels));
        }
}

TEST_F(WriteWebp, KeepsPhotographsWithoutLoss) {
    RunWell({"--lossless", "--compression", "2", Photo("chelsea.png"), "out.webp"});
    EXPECT_EQ(LoadWebp(At("out.webp")).pixels, PixelsOf(LoadPng(Photo("chelsea.png"))));
}

TEST_F(WriteWebp, WritesTheSameBytesAsTheLibrary) {
    for (const int channels : {3, 4})
        for (const int quality : {1, 50, 75, 100}) {
            SCOPED_TRACE(testing::Message() << channels << ", quality " << quality);
            const Pixels pixels = MakePixels(67, 43, channels, 9);
            EXPECT_FALSE(Written(pixels, {"--quality", std::to_string(quality)}).lossless);
            WebpFile same;
            same.pixels = pixels;
            same.lossless = false;
            same.quality = static_cast<float>(quality);
            SaveWebp(At("same.webp"), same);
            EXPECT_EQ(ReadFile(At("out.webp")), ReadFile(At("same.webp")));
        }
}

TEST_F(WriteWebp, TakesQuality90UnlessToldOtherwise) {
    RunWell({Photo("coffee.png"), "default.webp"});
    RunWell({Photo("coffee.png"), "90.webp", "--quality", "90"});
    RunWell({Photo("coffee.png"), "50.webp", "--quality", "50"});
    EXPECT_EQ(ReadFile(At("default.webp")), ReadFile(At("90.webp")));
    EXPECT_LT(ReadFile(At("50.webp")).size() * 3 / 2, ReadFile(At("90.webp")).size());
}

TEST_F(WriteWebp, StaysNearThePhotograph) {
    RunWell({Photo("coffee.png"), "out.webp"});
    const Pixels before = PixelsOf(LoadPng(Photo("coffee.png"))), after = LoadWebp(At("out.webp")).pixels;
    ASSERT_EQ(before.bytes.size(), after.bytes.size());
    double squares = 0;
    for (std::size_t i = 0; i < before.bytes.size(); ++i) {
        const double difference = before.bytes[i] - after.bytes[i];
        squares += difference * difference;
    }
    EXPECT_LT(std::sqrt(squares / static_cast<double>(before.bytes.size())), 6);
}

TEST_F(WriteWebp, FollowsTheEffortWithoutLoss) {
    RunWell({"--lossless", "--compression", "0", Photo("coffee.png"), "fast.webp", "scale", "50%"});
    RunWell({"--lossless", "--compression", "9", Photo("coffee.png"), "small.webp", "scale", "50%"});
    EXPECT_LT(ReadFile(At("small.webp")).size(), ReadFile(At("fast.webp")).size());
    EXPECT_EQ(LoadWebp(At("small.webp")).pixels, LoadWebp(At("fast.webp")).pixels);
}

TEST_F(WriteWebp, LeavesOutAlphaThatIsOpaqueEverywhere) {
    Pixels pixels = MakePixels(8, 6, 4, 9);
    for (std::size_t i = 3; i < pixels.bytes.size(); i += 4) pixels.bytes[i] = 255;
    EXPECT_EQ(Written(pixels, {"--lossless"}).pixels.channels, 3);
}

TEST_F(WriteWebp, ReachesTheLongestSideAndNotBeyond) {
    SavePng(At("in.png"), PlainPng(MakePixels(1, 1, 3, 3)));
    RunWell({"in.png", "wide.webp", "scalefast", "16383x1"});
    RunWell({"in.png", "tall.webp", "--lossless", "scalefast", "1x16383"});
    EXPECT_EQ(LoadWebp(At("wide.webp")).pixels.width, 16383);
    EXPECT_EQ(LoadWebp(At("tall.webp")).pixels.height, 16383);
    ExpectFailure(Run({"in.png", "over.webp", "scalefast", "16384x1"}), 1,
                  {"over.webp: WebP holds at most 16383 pixels a side, not 16384 x 1"});
}

TEST_F(WriteWebp, ReplacesItsOwnInput) {
    const Pixels pixels = MakePixels(30, 20, 3, 3);
    WebpFile file;
    file.pixels = pixels;
    SaveWebp(At("a.webp"), file);
    RunWell({"--lossless", "a.webp", "a.webp"});
    EXPECT_EQ(LoadWebp(At("a.webp")).pixels, pixels);
    EXPECT_EQ(Files(), std::vector<std::string>{"a.webp"});
}

}  // namespace
