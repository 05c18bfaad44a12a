// The effects `scale` and `scalefast` on files.

#include <cmath>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class Scale : public ZorTest {
protected:
    Pixels Result(const std::vector<std::string>& effect) {
        std::vector<std::string> words = {"in.png", "out.png"};
        words.insert(words.end(), effect.begin(), effect.end());
        RunWell(words);
        return PixelsOf(LoadPng(At("out.png")));
    }
    void SaveInput(const Pixels& pixels) { SavePng(At("in.png"), PlainPng(pixels)); }
};

TEST_F(Scale, TakesEveryFormOfASize) {
    static constexpr struct {
        const char* word;
        int width, height;
    } kCases[] = {{"40x30", 40, 30}, {"size=40x30", 40, 30}, {"50x", 50, 15}, {"x60", 200, 60}, {"50%", 50, 15},
                  {"200%", 200, 60}, {"12.5%", 13, 4},       {"1x", 1, 1},    {"x1", 3, 1},     {"0.1%", 1, 1},
                  {"1x1", 1, 1},     {"33x", 33, 10},        {"35x", 35, 11}, {"x7", 23, 7},    {"7x200", 7, 200}};
    SaveInput(MakePixels(100, 30, 3, 1));
    for (const char* effect : {"scale", "scalefast"})
        for (const auto& c : kCases) {
            const Pixels out = Result({effect, c.word});
            EXPECT_EQ(out.width, c.width) << effect << " " << c.word;
            EXPECT_EQ(out.height, c.height) << effect << " " << c.word;
        }
}

TEST_F(Scale, GivesTheSameBytesForAnyNumberOfThreads) {
    for (int channels = 1; channels <= 4; ++channels) {
        SaveInput(MakePixels(83, 61, channels, 2));
        const Pixels expected = Result({"scale", "57x90", "threads=1"});
        for (const char* threads : {"threads=0", "threads=2", "threads=7", "threads=32"})
            EXPECT_EQ(Result({"scale", "57x90", threads}), expected) << threads << ", " << channels << " channels";
        EXPECT_EQ(Result({"scale", "57x90"}), expected);
    }
}

TEST_F(Scale, HasSevenFiltersThatDiffer) {
    SaveInput(MakePixels(64, 64, 1, 3));
    std::vector<Pixels> results;
    for (const char* filter : {"lanczos3", "lanczos8", "mitchell", "cubic", "poly3", "triangle", "box"}) {
        const Pixels out = Result({"scale", "40x50", std::string("filter=") + filter});
        for (const Pixels& other : results) EXPECT_NE(out, other) << filter;
        results.push_back(out);
    }
    EXPECT_EQ(Result({"scale", "40x50"}), results[0]);
}

TEST_F(Scale, KeepsAFlatPictureFlat) {
    for (const char* filter : {"lanczos3", "lanczos8", "mitchell", "cubic", "poly3", "triangle", "box"}) {
        Pixels flat{30, 20, 3, std::vector<std::uint8_t>(30 * 20 * 3, 100)};
        SaveInput(flat);
        // Each of the two passes rounds down.
        for (const std::uint8_t byte : Result({"scale", "47x13", std::string("filter=") + filter}).bytes)
            ASSERT_TRUE(byte >= 98 && byte <= 100) << filter << " gives " << int{byte};
    }
}

// Each channel of a picture is scaled as if it were a gray picture of its own, also alpha and all four inks.
TEST_F(Scale, ScalesEachChannelByItself) {
    for (int channels = 2; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(50, 40, channels, 8);
        for (const char* effect : {"scale", "scalefast"}) {
            SaveInput(pixels);
            const Pixels whole = Result({effect, "33x71"});
            for (int c = 0; c < channels; ++c) {
                SaveInput(Channel(pixels, c));
                EXPECT_EQ(Channel(whole, c), Result({effect, "33x71"}))
                    << effect << ", channel " << c << " of " << channels;
            }
        }
    }
}

TEST_F(Scale, ScalesEveryInkOfCmyk) {
    // Flat inks pass through JPEG unharmed, and each ink must keep its own value.
    JpegFile file;
    file.pixels = {64, 64, 4, {}};
    for (int i = 0; i < 64 * 64; ++i) file.pixels.bytes.insert(file.pixels.bytes.end(), {240, 180, 90, 30});
    file.quality = 100;
    SaveJpeg(At("in.jpg"), file);
    for (const char* effect : {"scale", "scalefast"}) {
        RunWell({"in.jpg", "out.jpg", effect, "24x40", "--quality", "100"});
        const Pixels out = LoadJpeg(At("out.jpg")).pixels;
        ASSERT_EQ(out.width, 24);
        ASSERT_EQ(out.height, 40);
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 24; ++x) {
                ASSERT_NEAR(out.At(x, y, 0), 240, 3) << effect;
                ASSERT_NEAR(out.At(x, y, 1), 180, 3) << effect;
                ASSERT_NEAR(out.At(x, y, 2), 90, 3) << effect;
                ASSERT_NEAR(out.At(x, y, 3), 30, 3) << effect;
            }
    }
}

TEST_F(Scale, TakesTheNearestPixelWhenFast) {
    const Pixels pixels = MakePixels(37, 23, 3, 5);
    SaveInput(pixels);
    for (const auto& [width, height] : {std::pair{74, 46}, {10, 50}, {1, 1}, {37, 23}}) {
        const Pixels out = Result({"scalefast", std::to_string(width) + "x" + std::to_string(height)});
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(out.At(x, y, c), pixels.At(static_cast<int>(x * (37.0 / width)),
                                                         static_cast<int>(y * (23.0 / height)), c));
    }
}

TEST_F(Scale, RunsEffectsInTheirOrder) {
    const Pixels pixels = MakePixels(40, 40, 3, 5);
    SaveInput(pixels);
    const Pixels inOne = Result({"scale", "20x20", "filter=box", "scalefast", "200%"});
    SaveInput(Result({"scale", "20x20", "filter=box"}));
    EXPECT_EQ(Result({"scalefast", "40x40"}), inOne);
    SaveInput(pixels);
    EXPECT_NE(Result({"scalefast", "200%", "scale", "40x40", "filter=box"}), inOne);
}

TEST_F(Scale, MakesAPhotographSmaller) {
    RunWell({Photo("hubble_deep_field.jpg"), "out.png", "scale", "800x600"});
    const PngFile out = LoadPng(At("out.png"));
    EXPECT_EQ(out.width, 800);
    EXPECT_EQ(out.height, 600);
    // The mean of a photograph survives filtering.
    const auto mean = [](const Pixels& pixels) {
        double sum = 0;
        for (const std::uint8_t byte : pixels.bytes) sum += byte;
        return sum / static_cast<double>(pixels.bytes.size());
    };
    EXPECT_NEAR(mean(PixelsOf(out)), mean(LoadJpeg(Photo("hubble_deep_field.jpg")).pixels), 1);
}

}  // namespace
