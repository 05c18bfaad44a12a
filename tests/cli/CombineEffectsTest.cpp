// The effect `combine` on files, against a picture that the test composes by itself, pixel by pixel.

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

struct Layer {
    Pixels file;
    std::optional<Pixels> mask;
    std::optional<std::array<int, 3>> colour;
    std::optional<std::array<int, 3>> maskColour;
    int x = 0;
    int y = 0;
    bool premultiplied = false;
};

bool HasAlpha(const Pixels& pixels) {
    return pixels.channels % 2 == 0;
}

int Colours(const Pixels& pixels) {
    return pixels.channels <= 2 ? 1 : 3;
}

int Gray(int red, int green, int blue) {
    return (77 * red + 151 * green + 28 * blue) / 256;
}

// A colour of a pixel as a picture of one or three colours sees it.
int ColourAt(const Pixels& pixels, int x, int y, int c, int colours) {
    if (Colours(pixels) == 1) return pixels.At(x, y, 0);
    if (colours == 3) return pixels.At(x, y, c);
    return Gray(pixels.At(x, y, 0), pixels.At(x, y, 1), pixels.At(x, y, 2));
}

// A gray picture as one of three colours.
Pixels InColours(const Pixels& gray) {
    Pixels result{gray.width, gray.height, gray.channels + 2, {}};
    for (std::size_t i = 0; i < gray.bytes.size(); ++i)
        result.bytes.insert(result.bytes.end(), i % static_cast<std::size_t>(gray.channels) == 0 ? 3 : 1,
                            gray.bytes[i]);
    return result;
}

int AlphaAt(const Pixels& pixels, int x, int y) {
    return HasAlpha(pixels) ? pixels.At(x, y, pixels.channels - 1) : 255;
}

int Mix(int over, int under, int mask, bool premultiplied) {
    return premultiplied ? over + mask * under / 255 : (over * (255 - mask) + mask * under) / 255;
}

// What the colours of one pixel of the picture become, its alpha being last.
std::vector<int> ComposePixel(const Pixels& picture, int x, int y, const Layer& layer, int fx, int fy) {
    const int colours = Colours(picture);
    const Pixels& file = layer.file;
    std::vector<int> result;
    for (int c = 0; c < colours; ++c) {
        const int under = picture.At(x, y, c);
        const int over = ColourAt(file, fx, fy, c, colours);
        const auto index = static_cast<std::size_t>(c);
        if (layer.colour) {
            const int mask = Colours(file) == 1 ? file.At(fx, fy, 0)
                                                : (file.At(fx, fy, 0) + file.At(fx, fy, 1) + file.At(fx, fy, 2)) / 3;
            std::array<int, 3> painted{};
            for (std::size_t i = 0; i < 3; ++i) {
                const int colour = (*layer.colour)[i];
                painted[i] =
                    layer.premultiplied ? colour + under * mask / 255 : (under * mask + colour * (255 - mask)) / 255;
            }
            result.push_back(colours == 3 ? painted[index] : Gray(painted[0], painted[1], painted[2]));
        } else if (layer.maskColour) {
            const auto& m = *layer.maskColour;
            result.push_back(Mix(over, under, colours == 3 ? m[index] : Gray(m[0], m[1], m[2]), layer.premultiplied));
        } else if (layer.mask) {
            result.push_back(Mix(over, under, ColourAt(*layer.mask, fx, fy, c, colours), layer.premultiplied));
        } else if (HasAlpha(file)) {
            result.push_back(Mix(over, under, 255 - AlphaAt(file, fx, fy), layer.premultiplied));
        } else {
            result.push_back(over);
        }
    }
    if (!HasAlpha(picture)) return result;
    const int under = AlphaAt(picture, x, y);
    const int over = AlphaAt(file, fx, fy);
    if (layer.colour || layer.maskColour)
        result.push_back(under);
    else if (layer.mask)
        result.push_back(Mix(over, under, ColourAt(*layer.mask, fx, fy, 0, 1), layer.premultiplied && HasAlpha(file)));
    else
        result.push_back(over + (255 - over) * under / 255);
    return result;
}

// The same as people expect it, in double precision: colours weigh as much as their alpha, and nothing is cut off.
std::vector<double> ExpectedPixel(const Pixels& picture, int x, int y, const Layer& layer, int fx, int fy) {
    const int colours = Colours(picture);
    const Pixels& file = layer.file;
    const auto gray = [](double red, double green, double blue) {
        return std::floor((77 * red + 151 * green + 28 * blue) / 256 + 0.5);
    };
    const auto colourAt = [&](const Pixels& pixels, int c) -> double {
        if (Colours(pixels) == 1) return pixels.At(fx, fy, 0);
        if (colours == 3) return pixels.At(fx, fy, c);
        return gray(pixels.At(fx, fy, 0), pixels.At(fx, fy, 1), pixels.At(fx, fy, 2));
    };
    const auto valueOf = [&](const std::array<int, 3>& colour, int c) -> double {
        return colours == 3 ? colour[static_cast<std::size_t>(c)] : gray(colour[0], colour[1], colour[2]);
    };
    // What is let through of a colour, or for c == colours of the alpha.
    const auto through = [&](int c) {
        if (layer.maskColour) {
            const auto& m = *layer.maskColour;
            return 1 - (c == colours ? gray(m[0], m[1], m[2]) : valueOf(m, c)) / 255;
        }
        if (!layer.mask) return 1.0;
        const Pixels& m = *layer.mask;
        if (c < colours) return 1 - colourAt(m, c) / 255;
        if (Colours(m) == 1) return 1 - m.At(fx, fy, 0) / 255.0;
        return 1 - gray(m.At(fx, fy, 0), m.At(fx, fy, 1), m.At(fx, fy, 2)) / 255;
    };
    const double underAlpha = AlphaAt(picture, x, y) / 255.0;
    const double fileAlpha =
        layer.mask && !HasAlpha(picture) && !layer.premultiplied ? 1 : AlphaAt(file, fx, fy) / 255.0;
    std::vector<double> result;
    for (int c = 0; c < colours; ++c) {
        const double under = picture.At(x, y, c), over = colourAt(file, c), part = through(c);
        if (layer.colour) {
            const double keeps =
                std::floor((Colours(file) == 1 ? file.At(fx, fy, 0)
                                               : (file.At(fx, fy, 0) + file.At(fx, fy, 1) + file.At(fx, fy, 2)) / 3.0) +
                           0.5) /
                255;
            const double painted = valueOf(*layer.colour, c);
            result.push_back(std::min(painted * (layer.premultiplied ? 1 : 1 - keeps) + under * keeps, 255.0));
            continue;
        }
        // What of the two shows, and what of the upper one has been multiplied into its colour.
        double shows = fileAlpha * part, shown = shows;
        if (layer.premultiplied) {
            shows = HasAlpha(file) ? fileAlpha : part;
            shown = 1;
        }
        const double left = underAlpha * (1 - (layer.mask ? part : shows));
        double whole = shows + left;
        if (layer.premultiplied && layer.mask && !HasAlpha(picture)) whole = 1;
        result.push_back(whole == 0 ? under : std::min((over * shown + under * left) / whole, 255.0));
    }
    if (!HasAlpha(picture)) return result;
    if (layer.colour) {
        result.push_back(255 * underAlpha);
        return result;
    }
    const double part = through(colours);
    const double shows = !layer.premultiplied ? fileAlpha * part : HasAlpha(file) ? fileAlpha : part;
    result.push_back(255 * std::min(shows + underAlpha * (1 - (layer.mask ? part : shows)), 1.0));
    return result;
}

void ExpectRounded(const Pixels& out, const Pixels& picture, const Layer& layer) {
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const int fx = x - layer.x, fy = y - layer.y;
            const bool meets = fx >= 0 && fy >= 0 && fx < layer.file.width && fy < layer.file.height;
            std::vector<double> expected;
            if (meets) {
                expected = ExpectedPixel(picture, x, y, layer, fx, fy);
            } else {
                for (int c = 0; c < picture.channels; ++c) expected.push_back(picture.At(x, y, c));
            }
            for (int c = 0; c < picture.channels; ++c)
                ASSERT_LE(std::abs(out.At(x, y, c) - expected[static_cast<std::size_t>(c)]), 0.5 + 1e-9)
                    << "channel " << c << " at " << x << "," << y;
        }
}

Pixels Compose(const Pixels& picture, const Layer& layer) {
    Pixels result = picture;
    for (int fy = 0; fy < layer.file.height; ++fy)
        for (int fx = 0; fx < layer.file.width; ++fx) {
            const int x = layer.x + fx;
            const int y = layer.y + fy;
            if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) continue;
            const std::vector<int> pixel = ComposePixel(picture, x, y, layer, fx, fy);
            for (std::size_t c = 0; c < pixel.size(); ++c)
                result.bytes[static_cast<std::size_t>((y * picture.width + x) * picture.channels) + c] =
                    static_cast<std::uint8_t>(pixel[c]);
        }
    return result;
}

std::string Word(const std::array<int, 3>& colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02X%02X%02X", static_cast<unsigned>(colour[0]),
                  static_cast<unsigned>(colour[1]), static_cast<unsigned>(colour[2]));
    return text;
}

class CombineEffects : public ZorTest {
protected:
    void Save(const std::string& name, const Pixels& pixels) { SavePng(At(name), PlainPng(pixels)); }

    // Runs the program on the two, or three, and compares: what the engine's method gives, and what people get.
    void Expect(const Pixels& picture, const Layer& layer) {
        Save("in.png", picture);
        Save("over.png", layer.file);
        std::vector<std::string> words = {"in.png", "out.png", "combine", "over.png"};
        words.push_back("at=" + std::to_string(layer.x) + "," + std::to_string(layer.y));
        if (layer.mask) {
            Save("mask.png", *layer.mask);
            words.emplace_back("mask=mask.png");
        }
        if (layer.colour) words.push_back("colour=" + Word(*layer.colour));
        if (layer.maskColour) words.push_back("maskcolour=" + Word(*layer.maskColour));
        if (layer.premultiplied) words.emplace_back("premultiplied");
        SCOPED_TRACE(std::to_string(layer.file.channels) + " onto " + std::to_string(picture.channels));
        RunWell(words);
        // A gray picture becomes RGB for a colour.
        const Pixels shown = layer.colour && Colours(picture) == 1 ? InColours(picture) : picture;
        const Pixels out = PixelsOf(LoadPng(At("out.png")));
        ASSERT_EQ(out.channels, shown.channels);
        ExpectRounded(out, shown, layer);
        words.emplace_back("--plugin-bytes");
        RunWell(words);
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Compose(picture, layer))
            << layer.file.channels << " channels onto " << picture.channels << " at " << layer.x << "," << layer.y
            << ", mask of " << (layer.mask ? layer.mask->channels : 0)
            << (layer.premultiplied ? ", premultiplied" : "");
    }

    // For every kind of picture and every kind of file.
    template <typename Make>
    void ForEveryKind(const Make& make) {
        for (int channels = 1; channels <= 4; ++channels)
            for (int fileChannels = 1; fileChannels <= 4; ++fileChannels)
                make(MakePixels(37, 23, channels, 1), MakePixels(19, 14, fileChannels, 2));
    }
};

TEST_F(CombineEffects, LayAPictureWhereItIsToLie) {
    for (const auto& [x, y] : {std::pair{0, 0}, {5, 4}, {-6, 3}, {25, 15}, {36, 22}, {-18, -13}, {30, -5}}) {
        Expect(MakePixels(37, 23, 3, 1), {MakePixels(19, 14, 3, 2), {}, {}, {}, x, y});
        Expect(MakePixels(37, 23, 4, 1), {MakePixels(19, 14, 4, 2), {}, {}, {}, x, y});
    }
    // Over every edge at once.
    Expect(MakePixels(37, 23, 3, 1), {MakePixels(60, 50, 3, 2), {}, {}, {}, -10, -9});
}

TEST_F(CombineEffects, LayEveryKindOnEveryKindByItsAlpha) {
    ForEveryKind([this](const Pixels& picture, const Pixels& file) {
        Expect(picture, {file, {}, {}, {}, 7, 3});
        if (HasAlpha(file)) Expect(picture, {file, {}, {}, {}, 7, 3, true});
    });
}

TEST_F(CombineEffects, LayEveryKindOnEveryKindThroughAMask) {
    ForEveryKind([this](const Pixels& picture, const Pixels& file) {
        for (int channels = 1; channels <= 4; ++channels) {
            const Pixels mask = MakePixels(19, 14, channels, 3);
            // A mask's own alpha plays no part.
            Expect(picture, {file, mask, {}, {}, -4, 12});
            if (channels % 2 == 1) Expect(picture, {file, mask, {}, {}, 20, 3, true});
        }
    });
}

TEST_F(CombineEffects, PaintAColourThroughTheFile) {
    ForEveryKind([this](const Pixels& picture, const Pixels& file) {
        for (const bool premultiplied : {false, true}) {
            Layer layer{file, {}, std::array{200, 30, 90}, {}, 7, 3, premultiplied};
            Expect(picture, layer);
        }
    });
}

TEST_F(CombineEffects, MixByOneMaskForAllPixels) {
    ForEveryKind([this](const Pixels& picture, const Pixels& file) {
        for (const bool premultiplied : {false, true}) {
            Layer layer{file, {}, {}, std::array{200, 0, 90}, 7, 3, premultiplied};
            Expect(picture, layer);
        }
    });
}

TEST_F(CombineEffects, LayInkOnInkAndGrayOnInk) {
    const auto save = [this](const std::string& name, const std::vector<int>& inks) {
        JpegFile file;
        file.pixels = {16, 16, 4, {}};
        for (int i = 0; i < 16 * 16; ++i)
            for (const int ink : inks) file.pixels.bytes.push_back(static_cast<std::uint8_t>(255 - ink));
        file.quality = 100;
        SaveJpeg(At(name), file);
    };
    const auto expect = [this](const std::vector<std::string>& words, const std::array<int, 4>& inks) {
        std::vector<std::string> all = {"in.jpg", "out.jpg", "--quality", "100", "combine"};
        all.insert(all.end(), words.begin(), words.end());
        RunWell(all);
        const Pixels out = LoadJpeg(At("out.jpg")).pixels;
        ASSERT_EQ(out.bytes.size(), 16U * 16U * 4U);
        for (std::size_t i = 0; i < out.bytes.size(); ++i) ASSERT_NEAR(255 - out.bytes[i], inks[i % 4], 3) << words[0];
    };
    save("in.jpg", {10, 70, 160, 220});
    save("over.jpg", {110, 170, 60, 20});
    Save("half.png", {16, 16, 1, std::vector<std::uint8_t>(256, 128)});
    expect({"over.jpg"}, {110, 170, 60, 20});
    expect({"over.jpg", "mask=half.png"}, {60, 120, 110, 120});
    expect({"half.png"}, {0, 0, 0, 127});
    ExpectFailure(Run({"in.jpg", "new.jpg", "combine", "half.png", "colour=FF0000"}), 1, {"combine: ", "not on CMYK"});
    ExpectFailure(Run({"half.png", "new.png", "combine", "in.jpg", "maskcolour=5"}), 1, {"combine: ", "not on CMYK"});
    ExpectFailure(Run({"half.png", "new.png", "combine", "half.png", "mask=in.jpg"}), 1,
                  {"combine: in.jpg: a mask is gray or RGB"});
    Save("rgb.png", MakePixels(16, 16, 3, 1));
    ExpectFailure(Run({"rgb.png", "new.png", "combine", "in.jpg"}), 1,
                  {"combine: in.jpg: is CMYK and cannot be laid over RGB"});
    ExpectFailure(Run({"in.jpg", "new.jpg", "combine", "rgb.png"}), 1,
                  {"combine: rgb.png: is RGB and cannot be laid over CMYK"});
    Save("ga.png", MakePixels(16, 16, 2, 1));
    ExpectFailure(Run({"in.jpg", "new.jpg", "combine", "ga.png", "premultiplied"}), 1,
                  {"combine: ga.png: premultiplied does not work between gray and CMYK"});
    for (const std::string& name : Files()) EXPECT_FALSE(name.starts_with("new.")) << name;
}

TEST_F(CombineEffects, SayWhatIsWrongBeforeTheWorkStarts) {
    // Reading this picture fails, so any other complaint shows that its pixels were not read before.
    Save("in.png", MakePixels(300, 200, 3, 1));
    WriteFile(At("in.png"), ReadFile(At("in.png")).substr(0, 200));
    Save("over.png", MakePixels(19, 14, 3, 2));
    Save("small.png", MakePixels(19, 13, 1, 2));
    WriteFile(At("text.png"), "no picture");
    const std::vector<std::string> before = Files();
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> failures = {
        {{"none.png"}, {"none.png: No such file"}},
        {{"text.png"}, {"text.png: not a picture"}},
        {{"over.png", "mask=none.png"}, {"none.png: No such file"}},
        {{"over.png", "mask=small.png"},
         {"combine: small.png: is 19 x 13 pixels, but over.png, which it masks, 19 x 14"}},
        {{"over.png", "at=300,0"}, {"combine: over.png: lies beside the picture of 300 x 200 pixels"}},
        {{"over.png", "at=0,200"}, {"lies beside the picture"}},
        {{"over.png", "at=-19,0"}, {"lies beside the picture"}},
        {{"over.png", "at=0,-14"}, {"lies beside the picture"}},
        {{"over.png", "at=-2147483648,2147483647"}, {"lies beside the picture"}},
        {{"over.png", "premultiplied"}, {"combine: over.png: has no alpha"}},
        {{"over.png"}, {"in.png: damaged PNG"}},
    };
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> usage = {
        {{}, {"combine: file is missing: a picture file"}},
        {{"over.png", "over.png"}, {"'over.png' is neither an argument of combine nor an effect"}},
        {{"over.png", "at=5"}, {"'at=5'", "a place X,Y such as 10,20"}},
        {{"over.png", "mask="}, {"'mask='", "a picture file"}},
        {{"over.png", "colour=blue"}, {"'colour=blue'", "a colour such as"}},
        {{"over.png", "color=#FF0000"}, {"'color'", "did you mean 'colour'?"}},
        {{"over.png", "premultiplied=yes"}, {"'premultiplied=yes'", "by the word alone"}},
        {{"over.png", "mask=over.png", "colour=5"}, {"mask, colour and maskcolour exclude each other"}},
        {{"over.png", "maskcolour=5", "colour=5"}, {"mask, colour and maskcolour exclude each other"}},
    };
    for (const auto& [cases, code] : {std::pair{failures, 1}, {usage, 2}})
        for (const auto& [effect, told] : cases) {
            std::vector<std::string> words = {"in.png", "new.png", "combine"};
            words.insert(words.end(), effect.begin(), effect.end());
            ExpectFailure(Run(words), code, told);
        }
    EXPECT_EQ(Files(), before);
}

TEST_F(CombineEffects, TakeAFileThatCanBeReadOnceOnly) {
    const Pixels picture = MakePixels(37, 23, 3, 1);
    const Pixels file = MakePixels(19, 14, 4, 2);
    Save("in.png", picture);
    Save("over.png", file);
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"--plugin-bytes", "in.png", "out.png", "combine", "pipe", "at=4,5"});
    const std::string bytes = ReadFile(At("over.png"));
    WriteFile(At("pipe"), bytes);
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Compose(picture, {file, {}, {}, {}, 4, 5}));
}

Pixels Flat(const std::vector<int>& pixel) {
    Pixels pixels{16, 9, static_cast<int>(pixel.size()), {}};
    for (int i = 0; i < 16 * 9; ++i)
        for (const int byte : pixel) pixels.bytes.push_back(static_cast<std::uint8_t>(byte));
    return pixels;
}

TEST_F(CombineEffects, GiveALogoItsOwnColourOverClearGround) {
    const auto laid = [this](const Pixels& picture, const Pixels& file) {
        Save("in.png", picture);
        Save("over.png", file);
        RunWell({"in.png", "out.png", "combine", "over.png"});
        return PixelsOf(LoadPng(At("out.png")));
    };
    // Whatever the clear ground hides.
    EXPECT_EQ(laid(Flat({0, 0, 0, 0}), Flat({255, 0, 0, 128})), Flat({255, 0, 0, 128}));
    EXPECT_EQ(laid(Flat({0, 255, 90, 0}), Flat({255, 0, 0, 128})), Flat({255, 0, 0, 128}));
    EXPECT_EQ(laid(Flat({7, 0}), Flat({200, 1})), Flat({200, 1}));
    // And whatever a clear logo hides.
    EXPECT_EQ(laid(Flat({40, 50, 60, 70}), Flat({255, 0, 0, 0})), Flat({40, 50, 60, 70}));
    // Over opaque ground by half of both, and over half of the ground by their weights.
    EXPECT_EQ(laid(Flat({0, 0, 255, 255}), Flat({255, 0, 0, 128})), Flat({128, 0, 127, 255}));
    EXPECT_EQ(laid(Flat({0, 0, 255, 128}), Flat({255, 0, 0, 128})), Flat({170, 0, 85, 192}));
    EXPECT_EQ(laid(Flat({255, 255, 255}), Flat({255, 255, 255, 77})), Flat({255, 255, 255}));
}

}  // namespace
