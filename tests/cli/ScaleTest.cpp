// The effects `scale` and `scalefast` on files.

#include <cmath>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class Scale : public ZorTest {
protected:
    Pixels Result(const std::vector<std::string>& effect, bool pluginBytes = false) {
        std::vector<std::string> words = {"in.png", "out.png"};
        if (pluginBytes) words.insert(words.begin(), "--plugin-bytes");
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

// Each channel of a picture is scaled by the plug-in as if it were a gray picture of its own, also alpha and all four
// inks.
TEST_F(Scale, ScalesEachChannelByItself) {
    for (int channels = 2; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(50, 40, channels, 8);
        for (const char* effect : {"scale", "scalefast"}) {
            SaveInput(pixels);
            const Pixels whole = Result({effect, "33x71"}, true);
            for (int c = 0; c < channels; ++c) {
                SaveInput(Channel(pixels, c));
                EXPECT_EQ(Channel(whole, c), Result({effect, "33x71"}, true))
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

Pixels Flat(int width, int height, const std::vector<std::uint8_t>& pixel) {
    Pixels pixels{width, height, static_cast<int>(pixel.size()), {}};
    for (int i = 0; i < width * height; ++i) pixels.bytes.insert(pixels.bytes.end(), pixel.begin(), pixel.end());
    return pixels;
}

double Mean(const Pixels& pixels) {
    double sum = 0;
    for (const std::uint8_t byte : pixels.bytes) sum += byte;
    return sum / static_cast<double>(pixels.bytes.size());
}

TEST_F(Scale, KeepsAWhitePageWhiteAndEveryFlatColourWhatItIs) {
    const std::vector<std::vector<std::uint8_t>> colours = {{255},   {255, 255, 255},      {1, 128, 254},   {77, 255},
                                                            {77, 3}, {255, 255, 255, 255}, {200, 100, 7, 2}};
    for (const std::vector<std::uint8_t>& colour : colours)
        for (const char* filter : {"lanczos3", "lanczos8", "mitchell", "cubic", "poly3", "triangle", "box"})
            for (const char* size : {"50%", "100%", "61x133"}) {
                SaveInput(Flat(80, 60, colour));
                const Pixels out = Result({"scale", size, std::string("filter=") + filter});
                EXPECT_EQ(out, Flat(out.width, out.height, colour)) << filter << " " << size << ", " << colour.size();
            }
    SaveInput(Flat(80, 60, {255, 255, 255}));
    EXPECT_LT(Mean(Result({"scale", "50%"}, true)), 255);
    EXPECT_LT(Mean(Result({"scale", "100%", "filter=cubic"}, true)), 255);
}

TEST_F(Scale, LosesNothingInTwentyScalings) {
    Pixels photo = LoadJpeg(Photo("rocket.jpg")).pixels;
    SaveInput(photo);
    std::vector<std::string> effects;
    for (int i = 0; i < 20; ++i) effects.insert(effects.end(), {"scale", i % 2 == 0 ? "641x" : "640x"});
    EXPECT_NEAR(Mean(Result(effects)), Mean(photo), 0.2);
    EXPECT_LT(Mean(Result(effects, true)), Mean(photo) - 10);
}

TEST_F(Scale, KeepsOpaquePicturesOpaqueWithTheColoursThatTheyHaveWithoutAlpha) {
    const Pixels colours = MakePixels(90, 70, 3, 12);
    Pixels opaque{90, 70, 4, {}};
    for (int i = 0; i < 90 * 70; ++i) {
        opaque.bytes.insert(opaque.bytes.end(), &colours.bytes[static_cast<std::size_t>(3 * i)],
                            &colours.bytes[static_cast<std::size_t>(3 * i)] + 3);
        opaque.bytes.push_back(255);
    }
    for (const char* size : {"31x29", "190x140"}) {
        SaveInput(colours);
        const Pixels expected = Result({"scale", size});
        SaveInput(opaque);
        const Pixels out = Result({"scale", size});
        for (int c = 0; c < 3; ++c) EXPECT_EQ(Channel(out, c), Channel(expected, c)) << size;
        EXPECT_EQ(Channel(out, 3), Flat(out.width, out.height, {255})) << size;
        EXPECT_NE(Channel(Result({"scale", size}, true), 3), Flat(out.width, out.height, {255})) << size;
    }
}

TEST_F(Scale, KeepsTheEdgesOfAWhiteDiscOnClearGroundWhite) {
    Pixels disc{200, 200, 4, {}};
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x) {
            const bool inside = std::hypot(x - 99.5, y - 99.5) < 80;
            const std::uint8_t byte = inside ? 255 : 0;
            disc.bytes.insert(disc.bytes.end(), {byte, byte, byte, byte});
        }
    SaveInput(disc);
    for (const char* size : {"37x37", "410x390"}) {
        const Pixels out = Result({"scale", size});
        int edges = 0;
        for (int y = 0; y < out.height; ++y)
            for (int x = 0; x < out.width; ++x) {
                const int alpha = out.At(x, y, 3);
                edges += alpha > 0 && alpha < 255 ? 1 : 0;
                for (int c = 0; c < 3; ++c) ASSERT_EQ(out.At(x, y, c), alpha > 0 ? 255 : 0) << alpha;
            }
        EXPECT_GT(edges, 50);
        bool gray = false;
        const Pixels plugin = Result({"scale", size}, true);
        for (int i = 0; i < plugin.width * plugin.height; ++i) {
            const int alpha = plugin.At(i % plugin.width, i / plugin.width, 3);
            gray = gray || (alpha > 20 && plugin.At(i % plugin.width, i / plugin.width, 0) < 250);
        }
        EXPECT_TRUE(gray) << "the plug-in does not weigh";
    }
}

// Halves by the box filter are means of four pixels.
TEST_F(Scale, RoundsMeansThatAreWeighedByAlpha) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(60, 44, channels, 21);
        SaveInput(in);
        const Pixels out = Result({"scale", "50%", "filter=box"});
        const bool alpha = channels % 2 == 0;
        for (int y = 0; y < 22; ++y)
            for (int x = 0; x < 30; ++x)
                for (int c = 0; c < channels; ++c) {
                    double sum = 0, weights = 0;
                    for (int i = 0; i < 4; ++i) {
                        const int sx = 2 * x + i % 2, sy = 2 * y + i / 2;
                        const double weight = alpha && c < channels - 1 ? in.At(sx, sy, channels - 1) : 1;
                        sum += weight * in.At(sx, sy, c);
                        weights += weight;
                    }
                    if (weights < 4) continue;
                    // What lies between two levels may be rounded to either.
                    ASSERT_NEAR(out.At(x, y, c), sum / weights, 0.52) << channels << " channels, " << x << "," << y;
                }
    }
}

TEST_F(Scale, TakesTheNearestPixelsOfRowsAsOfImages) {
    for (int channels = 1; channels <= 4; ++channels) {
        SaveInput(MakePixels(57, 43, channels, 9));
        for (const char* size : {"31x29", "300x200", "57x43", "1x1", "200x3", "3x200"})
            EXPECT_EQ(Result({"scalefast", size}), Result({"scalefast", size}, true)) << size << ", " << channels;
    }
}

TEST_F(Scale, TellsOfDamageInRowsThatTheResultDoesNotNeed) {
    SaveInput(MakePixels(300, 300, 3, 4));
    const std::string bytes = ReadFile(At("in.png"));
    WriteFile(At("cut.png"), bytes.substr(0, bytes.size() * 3 / 4));
    for (const char* effect : {"scale", "scalefast"})
        for (const char* size : {"1x1", "300x2"})
            ExpectFailure(Run({"cut.png", "out.png", effect, size}), 1, {"cut.png: damaged PNG"});
}

TEST_F(Scale, TakesEveryFormatByRows) {
    const Pixels pixels = MakePixels(120, 90, 3, 6);
    SaveInput(pixels);
    const Pixels small = Result({"scale", "50x40"}), nearest = Result({"scalefast", "50x40"});
    for (const char* name : {"in.ppm", "in.tif", "in.webp", "in.jpg"}) {
        if (std::string(name) == "in.webp")
            RunWell({"in.png", name, "--lossless"});
        else
            RunWell({"in.png", name});
        for (const auto& [effect, expected] : {std::pair{"scale", small}, {"scalefast", nearest}}) {
            RunWell({name, "out.png", effect, "50x40"});
            const Pixels out = PixelsOf(LoadPng(At("out.png")));
            if (std::string(name) != "in.jpg") {
                EXPECT_EQ(out, expected) << name << " " << effect;
            }
            EXPECT_NEAR(Mean(out), Mean(expected), 3) << name << " " << effect;
        }
    }
}

// Rows come out of an image there, and the rows after go into one.
TEST_F(Scale, WorksBetweenEffectsThatNeedTheWholePicture) {
    SaveInput(MakePixels(83, 61, 4, 2));
    const Pixels turned = Result({"rotate", "90"});
    SaveInput(turned);
    const Pixels scaled = Result({"scale", "40x50"});
    SaveInput(scaled);
    const Pixels expected = Result({"rotate", "90"});
    SaveInput(MakePixels(83, 61, 4, 2));
    EXPECT_EQ(Result({"rotate", "90", "scale", "40x50", "rotate", "90"}), expected);
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
