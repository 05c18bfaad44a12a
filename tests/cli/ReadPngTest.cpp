// PNG files of every pixel format and bit depth, against what the samples mean by the definition of the format.

#include <png.h>

#include <random>

#include "CorpusBytes.h"
#include "TestMetadata.h"
#include "TestPictures.h"
#include "ZorTest.h"

namespace {

struct PngCase {
    const char* name;
    int colourType;
    int bitDepth;
    bool interlaced;
    bool transparent;  // by a tRNS chunk
};

void PrintTo(const PngCase& c, std::ostream* out) {
    *out << c.name;
}

std::vector<PngCase> AllCases() {
    static constexpr struct {
        int type;
        const char* name;
        std::array<int, 5> depths;
        bool canClear;
    } kTypes[] = {{PNG_COLOR_TYPE_GRAY, "gray", {1, 2, 4, 8, 16}, true},
                  {PNG_COLOR_TYPE_GRAY_ALPHA, "gray_alpha", {8, 16, 0, 0, 0}, false},
                  {PNG_COLOR_TYPE_RGB, "rgb", {8, 16, 0, 0, 0}, true},
                  {PNG_COLOR_TYPE_RGB_ALPHA, "rgb_alpha", {8, 16, 0, 0, 0}, false},
                  {PNG_COLOR_TYPE_PALETTE, "palette", {1, 2, 4, 8, 0}, true}};
    static std::vector<std::string> names;
    names.reserve(100);
    std::vector<PngCase> cases;
    for (const auto& type : kTypes)
        for (const int depth : type.depths)
            for (const bool interlaced : {false, true})
                for (const bool transparent : {false, true}) {
                    if (depth == 0 || (transparent && !type.canClear)) continue;
                    names.push_back(type.name + std::to_string(depth) + (interlaced ? "_interlaced" : "") +
                                    (transparent ? "_transparent" : ""));
                    cases.push_back({names.back().c_str(), type.type, depth, interlaced, transparent});
                }
    return cases;
}

PngFile MakeFile(const PngCase& c, int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    PngFile file;
    file.width = width;
    file.height = height;
    file.colourType = c.colourType;
    file.bitDepth = c.bitDepth;
    file.interlaced = c.interlaced;
    const unsigned most = (1U << c.bitDepth) - 1;
    if (c.colourType == PNG_COLOR_TYPE_PALETTE) {
        for (unsigned i = 0; i <= most; ++i)
            file.palette.push_back({static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()),
                                    static_cast<std::uint8_t>(random())});
        // Fewer entries than colours: those behind the last are opaque.
        if (c.transparent)
            for (unsigned i = 0; i < most; ++i) file.paletteAlpha.push_back(static_cast<std::uint8_t>(random()));
    }
    const int channels = c.colourType == PNG_COLOR_TYPE_RGB          ? 3
                         : c.colourType == PNG_COLOR_TYPE_RGB_ALPHA  ? 4
                         : c.colourType == PNG_COLOR_TYPE_GRAY_ALPHA ? 2
                                                                     : 1;
    for (int i = 0; i < width * height * channels; ++i)
        file.samples.push_back(static_cast<std::uint16_t>(random() & most));
    if (c.transparent && file.palette.empty())
        file.clearColour = {file.samples[0], channels == 3 ? file.samples[1] : file.samples[0],
                            channels == 3 ? file.samples[2] : file.samples[0]};
    return file;
}

class ReadPng : public ZorTest, public testing::WithParamInterface<PngCase> {};

TEST_P(ReadPng, GivesTheMeaningOfEverySample) {
    unsigned seed = 1;
    for (const auto& [width, height] : {std::pair{1, 1}, {3, 2}, {9, 17}, {65, 33}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const PngFile file = MakeFile(GetParam(), width, height, seed++);
        SavePng(At("in.png"), file);
        const Outcome outcome = RunWell({"in.png", "out.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Expand(file));
        EXPECT_EQ(outcome.err, file.bitDepth == 16 ? "zor: in.png: 16 bits a channel are reduced to 8\n" : "");
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ReadPng, testing::ValuesIn(AllCases()),
                         [](const auto& format) { return std::string(format.param.name); });

using PngTags = ZorTest;

TEST_F(PngTags, KeepsAFittingColourProfile) {
    PngFile file = PlainPng(MakePixels(5, 4, 3, 1));
    file.profile = MakeProfile("RGB ");
    SavePng(At("in.png"), file);
    EXPECT_EQ(RunWell({"in.png", "out.png", "scale", "200%"}).err, "");
    EXPECT_EQ(LoadPng(At("out.png")).profile, file.profile);
    RunWell({"in.png", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).profile, file.profile);
}

TEST_F(PngTags, KeepsAGrayProfileOfGrayPixels) {
    PngFile file = PlainPng(MakePixels(5, 4, 2, 1));
    file.profile = MakeProfile("GRAY");
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).profile, file.profile);
}

TEST_F(PngTags, KeepsTheMarkOfSrgb) {
    PngFile file = PlainPng(MakePixels(5, 4, 3, 1));
    file.srgbIntent = 2;
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).srgbIntent, 2);
}

TEST_F(PngTags, KeepsGamma) {
    PngFile file = PlainPng(MakePixels(5, 4, 3, 1));
    file.gamma = 100000;
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).gamma, 100000);
    EXPECT_FALSE(LoadPng(At("out.png")).srgbIntent.has_value());
}

TEST_F(PngTags, AddsNoMarkOfItsOwn) {
    SavePng(At("in.png"), PlainPng(MakePixels(5, 4, 3, 1)));
    RunWell({"in.png", "out.png"});
    const PngFile out = LoadPng(At("out.png"));
    EXPECT_FALSE(out.srgbIntent.has_value());
    EXPECT_FALSE(out.gamma.has_value());
    EXPECT_FALSE(out.density.has_value());
    EXPECT_TRUE(out.profile.empty());
}

TEST_F(PngTags, KeepsTheResolutionExactly) {
    PngFile file = PlainPng(MakePixels(5, 4, 3, 1));
    file.density = {11811, 2835, 1};
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).density, file.density);
    RunWell({"in.png", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).density, (std::array{1, 300, 72}));
}

TEST_F(PngTags, KeepsTheShapeOfAPixel) {
    PngFile file = PlainPng(MakePixels(5, 4, 3, 1));
    file.density = {4, 3, 0};
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).density, file.density);
    RunWell({"in.png", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).density, (std::array{0, 4, 3}));
}

TEST_F(PngTags, TellsThatTheFirstOfManyFramesIsTaken) {
    const Pixels pixels = MakePixels(9, 7, 3, 1);
    SavePng(At("in.png"), PlainPng(pixels));
    AddPngChunks(At("in.png"), PngChunk("acTL", Big(12, 4) + Big(0, 4)));
    EXPECT_EQ(RunWell({"in.png", "out.png"}).err,
              "zor: in.png: an animation of 12 frames, of which the first is taken\n");
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), pixels);
    const Outcome told = RunWell({"info", "in.png"});
    EXPECT_NE(told.out.find("  pictures     12, of which the first is read\n"), std::string::npos) << told.out;
    EXPECT_EQ(told.err, "");
}

}  // namespace
