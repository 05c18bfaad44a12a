// What holds for every effect there is: opaque pictures stay opaque, flat ones flat, and no colour that clear pixels
// hide can be seen in a result.

#include <algorithm>
#include <sstream>

#include "EffectTest.h"

namespace {

using EveryEffect = EffectTest;

enum class Flat { stays, changes };  // into other flat or patterned pictures, as is the purpose of the effect

struct Row {
    std::vector<std::string> words;  // the effect and its arguments
    Flat flat;
    bool raisesAlpha = false;  // makes clear pixels visible since that is what it was asked for
    bool makesClear = false;   // adds clear ground to opaque pictures, or takes their alpha away
};

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {{"scale", "61x29"}, Flat::stays},
        {{"scale", "20x13", "filter=mitchell"}, Flat::stays},
        {{"thumbnail", "20"}, Flat::stays},
        {{"scalefast", "61x29"}, Flat::stays},
        {{"crop", "3,4,20x15"}, Flat::stays},
        {{"canvas", "50x40", "at=4,5"}, Flat::changes, false, true},
        {{"canvas", "50x40", "at=4,5", "background=102030"}, Flat::changes},
        {{"flip", "h"}, Flat::stays},
        {{"flip", "v"}, Flat::stays},
        {{"rotate", "90"}, Flat::stays},
        {{"rotate", "17"}, Flat::changes, false, true},
        {{"rotate", "17", "background=102030"}, Flat::changes},
        {{"matrix", "1,2,1,2,4,2,1,2,1", "factor=0.0625"}, Flat::stays},
        {{"blur", "2"}, Flat::stays},
        {{"blur", "3", "iterations=3"}, Flat::stays},
        {{"softblur", "0.5"}, Flat::stays},
        {{"unsharp", "0.5", "radius=2"}, Flat::stays},
        {{"gamma", "1.8"}, Flat::changes},
        {{"curve", "0:9,100:200,255:0"}, Flat::changes},
        {{"gain", "0.6", "0.3"}, Flat::changes},
        {{"solarize"}, Flat::changes},
        {{"autolevel"}, Flat::stays},
        {{"autolevel", "area=3,4,20x15"}, Flat::stays},
        {{"dither", "ordered4x4", "4"}, Flat::changes},
        {{"oil"}, Flat::stays},
        {{"oil", "range=9", "levels=5"}, Flat::stays},
        {{"diffuse", "level=3"}, Flat::stays},
        {{"engrave", "level=2"}, Flat::changes},
        {{"neon"}, Flat::changes},
        {{"stamp", "radius=6"}, Flat::changes},
        {{"fill", "FF8000", "area=3,4,20x15"}, Flat::changes},
        {{"clear", "area=3,4,20x15"}, Flat::changes, false, true},
        {{"invert"}, Flat::changes},
        {{"invert", "alpha"}, Flat::changes, true, true},
        {{"tint", "FF8000", "opacity=99"}, Flat::changes},
        {{"random", "area=3,4,20x15"}, Flat::changes},
        {{"channel", "green"}, Flat::changes, false, true},
        {{"channel", "alpha"}, Flat::changes, false, true},
        {{"convert", "G"}, Flat::changes, false, true},
        {{"convert", "RGB"}, Flat::changes, false, true},
        {{"convert", "GA"}, Flat::changes},
        {{"flatten", "102030"}, Flat::changes, false, true},
        {{"combine", "in.png", "at=5,4"}, Flat::stays},
        {{"combine", "in.png", "at=5,4", "mask=mask.png"}, Flat::stays},
        {{"combine", "mask.png", "at=5,4", "colour=FF8000"}, Flat::changes},
        {{"paste", "in.png", "at=5,4"}, Flat::stays},
        {{"paste", "in.png", "at=5,4", "channel=red"}, Flat::changes},
        {{"paste", "mask.png", "at=5,4", "channel=alpha"}, Flat::changes, true, true},
    };
    return rows;
}

std::string Title(const Row& row) {
    std::string title;
    for (const std::string& word : row.words) title += (title.empty() ? "" : " ") + word;
    return title;
}

constexpr int kWidth = 37, kHeight = 23;

// A picture with clear, half clear and opaque places; what clear pixels hide goes by the seed.
Pixels Hiding(unsigned seed) {
    Pixels pixels = MakePixels(kWidth, kHeight, 4, 3);
    const Pixels hidden = MakePixels(kWidth, kHeight, 4, seed);
    for (std::size_t i = 0; i < pixels.bytes.size(); i += 4) {
        const std::size_t x = i / 4 % kWidth, y = i / 4 / kWidth;
        std::uint8_t& alpha = pixels.bytes[i + 3];
        if ((x / 5 + y / 4) % 3 == 0) alpha = 0;
        if ((x / 5 + y / 4) % 3 == 1) alpha = 255;
        if (alpha == 0)
            std::copy_n(hidden.bytes.begin() + static_cast<std::ptrdiff_t>(i), 3,
                        pixels.bytes.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return pixels;
}

// With nothing left where alpha is 0.
Pixels Seen(Pixels pixels) {
    const auto channels = static_cast<std::size_t>(pixels.channels);
    if (channels % 2 == 0)
        for (std::size_t i = 0; i < pixels.bytes.size(); i += channels)
            if (pixels.bytes[i + channels - 1] == 0)
                std::fill_n(pixels.bytes.begin() + static_cast<std::ptrdiff_t>(i), channels, std::uint8_t{0});
    return pixels;
}

class EveryEffectOnFiles : public EffectTest {
protected:
    EveryEffectOnFiles() { SavePng(At("mask.png"), PlainPng(MakePixels(kWidth, kHeight, 1, 8))); }
};

TEST_F(EveryEffect, HasItsRowHere) {
    std::istringstream help(RunWell({"help"}).out);
    std::vector<std::string> names;
    bool effects = false;
    for (std::string line; std::getline(help, line);) {
        if (!line.starts_with(' ')) effects = line.starts_with("Effects (");
        if (effects && line.starts_with("    ")) names.push_back(line.substr(4, line.find(' ', 4) - 4));
    }
    ASSERT_GT(names.size(), 20U);
    for (const std::string& name : names)
        EXPECT_TRUE(std::any_of(Rows().begin(), Rows().end(), [&](const Row& row) { return row.words[0] == name; }))
            << name << ": nobody looks at what it makes of clear, opaque and flat pictures";
}

TEST_F(EveryEffectOnFiles, LetsNoHiddenColourOut) {
    for (const Row& row : Rows()) {
        if (row.raisesAlpha) continue;
        Pixels results[2];
        for (const unsigned seed : {21U, 22U}) results[seed - 21] = Result(Hiding(seed), row.words);
        ASSERT_NE(Hiding(21), Hiding(22));
        EXPECT_TRUE(Seen(results[0]) == Seen(results[1])) << Title(row);
    }
}

TEST_F(EveryEffectOnFiles, LeavesOpaquePicturesOpaque) {
    Pixels opaque = MakePixels(kWidth, kHeight, 4, 3);
    for (std::size_t i = 3; i < opaque.bytes.size(); i += 4) opaque.bytes[i] = 255;
    for (const Row& row : Rows()) {
        const Pixels out = Result(opaque, row.words);
        if (row.makesClear) continue;
        ASSERT_EQ(out.channels % 2, 0) << Title(row);
        const Pixels alpha = Channel(out, out.channels - 1);
        EXPECT_TRUE(std::all_of(alpha.bytes.begin(), alpha.bytes.end(), [](std::uint8_t a) { return a == 255; }))
            << Title(row);
    }
}

TEST_F(EveryEffectOnFiles, LeavesFlatPicturesFlat) {
    for (const Row& row : Rows()) {
        if (row.flat == Flat::changes) continue;
        for (const int value : {0, 1, 127, 254, 255}) {
            Pixels flat{kWidth, kHeight, 4, {}};
            for (int i = 0; i < kWidth * kHeight; ++i)
                flat.bytes.insert(flat.bytes.end(), {static_cast<std::uint8_t>(value), 77, 255, 255});
            const Pixels out = Result(flat, row.words);
            ASSERT_EQ(out.channels, 4) << Title(row);
            for (std::size_t i = 0; i < out.bytes.size(); ++i)
                ASSERT_EQ(out.bytes[i], flat.bytes[i % 4]) << Title(row) << ", " << value << ", byte " << i;
        }
    }
}

}  // namespace
