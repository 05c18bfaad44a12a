// The effects `fill`, `clear`, `invert` and `crop` on files, against pixels that the test works out by itself.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "EffectTest.h"

namespace {

// Which pixels an area covers, by its plain meaning.
struct Area {
    int x, y, width, height;

    [[nodiscard]] bool Holds(int px, int py) const { return px >= x && px < x + width && py >= y && py < y + height; }
    [[nodiscard]] std::string Word() const {
        return std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(width) + "x" + std::to_string(height);
    }
};

// Inside, over each edge, one pixel, the whole, and more than the whole.
const Area kAreas[] = {{5, 4, 10, 7},  {-3, 2, 8, 5},  {4, -6, 9, 10},   {30, 3, 40, 4},          {6, 18, 5, 90},
                       {36, 22, 1, 1}, {0, 0, 37, 23}, {-5, -5, 99, 99}, {-9, -9, 2147483647, 12}};

class PixelEffects : public EffectTest {};

// Each byte of the area through a function of the old byte and its channel.
Pixels Changed(Pixels pixels, const Area& area, const std::function<int(int old, int channel)>& change) {
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x)
            for (int c = 0; c < pixels.channels; ++c)
                if (const auto i = static_cast<std::size_t>((y * pixels.width + x) * pixels.channels + c);
                    area.x <= x && std::int64_t{x} < std::int64_t{area.x} + area.width && area.y <= y &&
                    y < area.y + area.height)
                    pixels.bytes[i] = static_cast<std::uint8_t>(change(pixels.bytes[i], c));
    return pixels;
}

bool IsAlpha(int channels, int c) {
    return channels % 2 == 0 && c == channels - 1;
}

TEST_F(PixelEffects, FillAnAreaWithAColourAndNothingElse) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 1);
        SaveInput(pixels);
        for (const Area& area : kAreas) {
            const auto colour = [channels](int, int c) {
                if (IsAlpha(channels, c)) return 255;
                if (channels <= 2) return (77 * 0xF0 + 151 * 0x81 + 28 * 0x07) / 256;
                return c == 0 ? 0xF0 : c == 1 ? 0x81 : 0x07;
            };
            std::vector<std::string> fill = {"fill", "f08107", "area=" + area.Word()};
            if (channels > 2) {
                EXPECT_EQ(Result(fill), Changed(pixels, area, colour)) << channels << " channels, " << area.Word();
            }
            fill.emplace_back("--plugin-bytes");
            EXPECT_EQ(Result(fill), Changed(pixels, area, colour)) << channels << " channels, " << area.Word();
        }
    }
}

TEST_F(PixelEffects, FillTakesAColourInEveryForm) {
    const Pixels pixels = MakePixels(9, 8, 4, 2);
    SaveInput(pixels);
    const auto filled = [&](int red, int green, int blue, int alpha) {
        return Changed(pixels, {0, 0, 9, 8}, [=](int, int c) {
            return c == 0 ? red : c == 1 ? green : c == 2 ? blue : alpha;
        });
    };
    EXPECT_EQ(Result({"fill", "#102030"}), filled(16, 32, 48, 255));
    EXPECT_EQ(Result({"fill", "colour=#aAbBcC"}), filled(170, 187, 204, 255));
    EXPECT_EQ(Result({"fill", "000001", "alpha=7"}), filled(0, 0, 1, 7));
    EXPECT_EQ(Result({"fill", "200"}), filled(200, 200, 200, 255));
    EXPECT_EQ(Result({"fill", "0", "alpha=0"}), filled(0, 0, 0, 0));
}

TEST_F(PixelEffects, FillGivesEveryInkTheSame) {
    JpegFile file;
    file.pixels = {16, 16, 4, std::vector<std::uint8_t>(16 * 16 * 4, 200)};
    file.quality = 100;
    SaveJpeg(At("in.jpg"), file);
    RunWell({"in.jpg", "out.jpg", "fill", "40", "--quality", "100"});
    // As libjpeg gives them to the tests inks are the other way about.
    for (const std::uint8_t byte : LoadJpeg(At("out.jpg")).pixels.bytes) ASSERT_NEAR(byte, 255 - 40, 2);
    ExpectFailure(Run({"in.jpg", "new.jpg", "fill", "FF0000"}), 1, {"fill: CMYK takes one number"});
}

TEST_F(PixelEffects, ClearAnAreaToZeroAlphaIncluded) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 3);
        SaveInput(pixels);
        for (const Area& area : kAreas)
            EXPECT_EQ(Result({"clear", "area=" + area.Word()}), Changed(pixels, area, [](int, int) { return 0; }))
                << channels << " channels, " << area.Word();
        EXPECT_EQ(Result({"clear"}), Changed(pixels, {0, 0, 37, 23}, [](int, int) { return 0; }));
    }
}

TEST_F(PixelEffects, InvertColoursAndLeaveAlphaUnlessAsked) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 4);
        SaveInput(pixels);
        const auto colours = [channels](int old, int c) { return IsAlpha(channels, c) ? old : 255 - old; };
        const auto all = [](int old, int) { return 255 - old; };
        for (const Area& area : kAreas) {
            EXPECT_EQ(Result({"invert", "area=" + area.Word()}), Changed(pixels, area, colours))
                << channels << " channels, " << area.Word();
            if (channels % 2 != 0) continue;
            EXPECT_EQ(Result({"invert", "alpha", "area=" + area.Word()}), Changed(pixels, area, all))
                << channels << " channels, " << area.Word();
        }
        EXPECT_EQ(Result({"invert", "invert"}), pixels);
        if (channels % 2 == 1)
            ExpectFailure(Run({"in.png", "new.png", "invert", "alpha"}), 1, {"invert: ", "has no alpha"});
    }
}

TEST_F(PixelEffects, TintAnAreaByTheOpacityAndLeaveAlpha) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 7);
        SaveInput(pixels);
        for (const Area& area : kAreas)
            for (const int opacity : {0, 96, 255}) {
                const auto mixed = [=](int old, int c) {
                    if (IsAlpha(channels, c)) return old;
                    const int gray = (77 * 0xF0 + 151 * 0x81 + 28 * 0x07) / 256;
                    const int value = channels <= 2 ? gray : c == 0 ? 0xF0 : c == 1 ? 0x81 : 0x07;
                    return (old * (255 - opacity) + value * opacity) * 257 / 65536;
                };
                std::vector<std::string> tint = {"tint", "f08107", "opacity=" + std::to_string(opacity),
                                                 "area=" + area.Word(), "--plugin-bytes"};
                EXPECT_EQ(Result(tint), Changed(pixels, area, mixed))
                    << channels << " channels, " << area.Word() << ", " << opacity;
                const auto rounded = [=](int old, int c) {
                    if (IsAlpha(channels, c)) return old;
                    const int gray = (77 * 0xF0 + 151 * 0x81 + 28 * 0x07) / 256;
                    const int value = channels <= 2 ? gray : c == 0 ? 0xF0 : c == 1 ? 0x81 : 0x07;
                    return static_cast<int>(std::lround(old + (value - old) * (opacity / 255.0)));
                };
                tint.pop_back();
                if (channels <= 2) tint[1] = std::to_string((77 * 0xF0 + 151 * 0x81 + 28 * 0x07) / 256);
                EXPECT_EQ(Result(tint), Changed(pixels, area, rounded))
                    << channels << " channels, " << area.Word() << ", " << opacity;
            }
    }
}

TEST_F(PixelEffects, AreTheSameRowByRowAndByThePlugIn) {
    for (int channels = 1; channels <= 4; ++channels)
        for (std::vector<std::string> effect :
             std::vector<std::vector<std::string>>{{"fill", channels <= 2 ? "81" : "f08107", "area=3,2,60x70"},
                                                   {"clear", "area=-3,20,30x999"},
                                                   {"invert"},
                                                   {"invert", "area=70,60,1x99"}}) {
            const Pixels in = MakePixels(90, 80, channels, 9), rows = Result(in, effect);
            effect.push_back("--plugin-bytes");
            EXPECT_EQ(rows, Result(in, effect)) << effect[0] << ", " << channels << " channels";
        }
}

TEST_F(PixelEffects, WorkOnRowsAsOnTheWholePicture) {
    ExpectSameOnRows({"clear", "area=-3,200,300x99999"}, {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA", "CMYK"});
    ExpectSameOnRows({"tint", "40", "opacity=96", "area=0,0,1x1100"}, {"GRAYSCALE_ALPHA", "RGB", "CMYK"});
    ExpectSameOnRows({"fill", "f08107", "alpha=9"}, {"GRAYSCALE_ALPHA", "RGB_ALPHA"});
    ExpectSameOnRows({"invert", "area=300,1000,10x800"}, {"GRAYSCALE", "RGB_ALPHA", "CMYK"});
}

// What a gray picture cannot show it becomes RGB for, in every effect that takes a colour; not for a gray.
TEST_F(PixelEffects, ShowColoursInGrayPicturesToo) {
    SavePng(At("mask.png"), PlainPng(MakePixels(37, 23, 1, 6)));
    const std::vector<std::vector<std::string>> effects = {{"fill", "area=3,2,20x10", "colour="},
                                                           {"tint", "opacity=99", "colour="},
                                                           {"canvas", "50x40", "at=4,5", "background="},
                                                           {"rotate", "17", "background="},
                                                           {"stamp", "radius=3", "white="},
                                                           {"stamp", "radius=3", "black="},
                                                           {"combine", "mask.png", "at=5,3", "colour="},
                                                           {"flatten", "colour="}};
    for (const int channels : {1, 2})
        for (std::vector<std::string> effect : effects) {
            SCOPED_TRACE(effect[0] + " of " + std::to_string(channels));
            const bool stays = effect[0] == "flatten" && channels == 1;
            SaveInput(MakePixels(37, 23, channels, 8));
            const std::string name = effect.back();
            effect.back() = name + "F08107";
            const Pixels coloured = Result(effect);
            if (!stays) {
                EXPECT_GE(coloured.channels, 3);
            }
            std::vector<std::string> onRgb = {"convert", channels == 1 ? "RGB" : "RGBA"};
            onRgb.insert(onRgb.end(), effect.begin(), effect.end());
            if (!stays) {
                EXPECT_EQ(coloured, Result(onRgb));
            }
            effect.emplace_back("--plugin-bytes");
            EXPECT_LE(Result(effect).channels, 2);
            effect.pop_back();
            effect.back() = name + "818181";
            EXPECT_LE(Result(effect).channels, 2);
        }
    SaveInput(MakePixels(37, 23, 1, 8));
    ExpectFailure(Run({"in.png", "new.pgm", "fill", "F08107"}), 1, {"new.pgm"});
}

TEST_F(PixelEffects, TintEveryInkByANumber) {
    JpegFile file;
    file.pixels = {16, 16, 4, std::vector<std::uint8_t>(16 * 16 * 4, 200)};
    file.quality = 100;
    SaveJpeg(At("in.jpg"), file);
    RunWell({"in.jpg", "out.jpg", "tint", "155", "opacity=51", "--quality", "100"});
    // An ink of 55 a fifth of the way to one of 155.
    for (const std::uint8_t byte : LoadJpeg(At("out.jpg")).pixels.bytes) ASSERT_NEAR(byte, 255 - 75, 3);
    ExpectFailure(Run({"in.jpg", "new.jpg", "tint", "FF0000"}), 1, {"tint: CMYK takes one number"});
}

TEST_F(PixelEffects, FillAnAreaWithTheRandomNumbersOfASeed) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const bool alpha : {false, true}) {
            if (alpha && channels % 2 != 0) continue;
            const Pixels pixels = MakePixels(37, 23, channels, 8);
            SaveInput(pixels);
            for (const Area& area : kAreas) {
                std::srand(7);
                Pixels expected = pixels;
                for (int y = 0; y < 23; ++y)
                    for (int x = 0; x < 37; ++x)
                        for (int c = 0; c < channels; ++c)
                            if (Changed(
                                    {37, 23, 1, std::vector<std::uint8_t>(37 * 23, 0)}, area,
                                    [](int, int) {
                                        return 1;
                                    }).At(x, y, 0) == 1 &&
                                (alpha || !IsAlpha(channels, c)))
                                expected.bytes[static_cast<std::size_t>((y * 37 + x) * channels + c)] =
                                    static_cast<std::uint8_t>(std::rand());
                std::vector<std::string> words = {"random", "seed=7", "area=" + area.Word()};
                if (alpha) words.emplace_back("alpha");
                EXPECT_EQ(Result(words), expected) << channels << " channels, " << area.Word();
            }
            EXPECT_NE(Result({"random", "seed=8"}), Result({"random", "seed=7"}));
        }
    SaveInput(MakePixels(9, 9, 3, 1));
    ExpectFailure(Run({"in.png", "new.png", "random", "alpha"}), 1, {"random: the picture is RGB and has no alpha"});
}

TEST_F(PixelEffects, CropToWhatLiesOnThePicture) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels pixels = MakePixels(37, 23, channels, 5);
        SaveInput(pixels);
        for (const Area& area : kAreas) {
            Pixels expected{0, 0, channels, {}};
            for (int y = 0; y < 23; ++y) {
                int across = 0;
                for (int x = 0; x < 37; ++x) {
                    if (area.width == 2147483647 ? y >= area.y + area.height : !area.Holds(x, y)) continue;
                    ++across;
                    for (int c = 0; c < channels; ++c) expected.bytes.push_back(pixels.At(x, y, c));
                }
                if (across > 0) ++expected.height;
                expected.width = std::max(expected.width, across);
            }
            EXPECT_EQ(Result({"crop", area.Word()}), expected) << channels << " channels, " << area.Word();
        }
    }
}

TEST_F(PixelEffects, CropEveryInkOfCmyk) {
    JpegFile file;
    file.pixels = {64, 64, 4, {}};
    for (int i = 0; i < 64 * 64; ++i) {
        const bool right = i % 64 >= 32;
        for (const int ink : {240, 180, 90, 30})
            file.pixels.bytes.push_back(static_cast<std::uint8_t>(right ? ink : 255 - ink));
    }
    file.quality = 100;
    SaveJpeg(At("in.jpg"), file);
    RunWell({"in.jpg", "out.jpg", "crop", "40,10,20x30", "--quality", "100"});
    const Pixels out = LoadJpeg(At("out.jpg")).pixels;
    ASSERT_EQ(out.width, 20);
    ASSERT_EQ(out.height, 30);
    for (int i = 0; i < 20 * 30; ++i)
        for (int c = 0; c < 4; ++c)
            ASSERT_NEAR(out.At(i % 20, i / 20, c), (std::array<int, 4>{240, 180, 90, 30})[static_cast<std::size_t>(c)],
                        3);
}

TEST_F(PixelEffects, SayWhatIsWrongWithTheirWords) {
    SaveInput(MakePixels(37, 23, 3, 6));
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> usage = {
        {{"fill"}, {"fill: colour is missing", "#FF8000"}},
        {{"fill", "red"}, {"'red'", "a colour such as #FF8000, or a gray from 0 to 255"}},
        {{"fill", "#12345"}, {"'#12345'"}},
        {{"fill", "#128"}, {"'#128'"}},
        {{"fill", "256"}, {"'256'", "from 0 to 255"}},
        {{"fill", "-1"}, {"'-1'"}},
        {{"fill", "12345G"}, {"'12345G'"}},
        {{"fill", "0", "alpha=256"}, {"'alpha=256'", "from 0 to 255"}},
        {{"fill", "0", "area=1,2,3"}, {"'area=1,2,3'", "X,Y,WxH such as 10,20,300x200"}},
        {{"clear", "area=1,2,0x5"}, {"'area=1,2,0x5'"}},
        {{"clear", "area=1,2,5x-5"}, {"'area=1,2,5x-5'"}},
        {{"clear", "area="}, {"'area='"}},
        {{"clear", "area=1,2,3x4,5"}, {"'area=1,2,3x4,5'"}},
        {{"invert", "aplha"}, {"'aplha'", "zor help invert"}},
        {{"invert", "alpha=1"}, {"'alpha=1'", "by the word alone"}},
        {{"invert", "alpha", "alpha"}, {"'alpha'", "second time"}},
        {{"crop"}, {"crop: area is missing"}},
        {{"crop", "5x5"}, {"'5x5'", "an area X,Y,WxH"}},
        {{"crop", "1,99999999999,5x5"}, {"'1,99999999999,5x5'"}},
    };
    for (const auto& [effect, told] : usage) {
        std::vector<std::string> words = {"in.png", "new.png"};
        words.insert(words.end(), effect.begin(), effect.end());
        ExpectFailure(Run(words), 2, told);
    }
    for (const char* area : {"37,0,5x5", "0,23,5x5", "-5,0,5x5", "0,-5,5x5", "-2147483648,0,2147483647x5"})
        for (const char* effect : {"fill", "clear", "invert", "tint", "random", "autolevel", "crop"}) {
            std::vector<std::string> words = {"in.png", "new.png", effect, "area=" + std::string(area)};
            if (words[2] == "fill" || words[2] == "tint") words.emplace_back("255");
            ExpectFailure(Run(words), 1,
                          {std::string(effect) + ": the area lies beside the picture of 37 x 23 pixels"});
        }
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png"}));
}

// What the help of these effects shows must work, and fit a terminal.
TEST_F(PixelEffects, HaveExamplesThatWork) {
    std::filesystem::copy(Photo("rocket.jpg"), At("photo.jpg"));
    for (const char* effect :
         {"fill", "clear", "invert", "tint", "random", "crop", "channel", "convert", "combine", "paste", "canvas"}) {
        const std::string help = RunWell({"help", effect}).out;
        std::istringstream example(help.substr(help.find("Example:\n  zor ") + 15));
        std::vector<std::string> words;
        for (std::string word; example >> word;) words.push_back(word);
        ASSERT_GE(words.size(), 3U) << help;
        EXPECT_EQ(words[2], effect);
        RunWell(words);
        for (std::size_t start = 0; start < help.size(); start = help.find('\n', start) + 1)
            EXPECT_LE(help.find('\n', start) - start, 118U) << help.substr(start, help.find('\n', start) - start);
    }
}

}  // namespace
