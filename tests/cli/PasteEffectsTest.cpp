// The effects `paste` and `canvas` on files.

#include "EffectTest.h"

namespace {

class PasteEffects : public EffectTest {
protected:
    void SaveOther(const Pixels& pixels) { SavePng(At("other.png"), PlainPng(pixels)); }
};

struct Place {
    int x, y;
    [[nodiscard]] std::string Word() const { return std::to_string(x) + "," + std::to_string(y); }
};

// Inside, at each corner, over every edge.
constexpr Place kPlaces[] = {{0, 0}, {7, 5}, {-4, 3}, {6, -3}, {30, 10}, {3, 20}, {-2, -2}};

// `in` with the pixels of `other` in their place.
Pixels Pasted(Pixels in, const Pixels& other, const Place& at) {
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x) {
            const int ox = x - at.x, oy = y - at.y;
            if (ox < 0 || oy < 0 || ox >= other.width || oy >= other.height) continue;
            for (int c = 0; c < in.channels; ++c)
                in.bytes[static_cast<std::size_t>((y * in.width + x) * in.channels + c)] = other.At(ox, oy, c);
        }
    return in;
}

TEST_F(PasteEffects, PutPixelsInThePlaceOfOthersAlphaIncluded) {
    for (int channels = 1; channels <= 4; ++channels) {
        const Pixels in = MakePixels(37, 23, channels, 1);
        const Pixels other = MakePixels(16, 11, channels, 2);
        SaveOther(other);
        for (const Place& at : kPlaces)
            EXPECT_EQ(Result(in, {"paste", "other.png", "at=" + at.Word()}), Pasted(in, other, at))
                << channels << " channels at " << at.Word();
        EXPECT_EQ(Result(in, {"paste", "other.png"}), Pasted(in, other, {0, 0}));
    }
}

TEST_F(PasteEffects, TakeAPartOfTheOtherPicture) {
    const Pixels in = MakePixels(37, 23, 4, 1);
    const Pixels other = MakePixels(16, 11, 4, 2);
    SaveOther(other);
    Pixels part{5, 4, 4, {}};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c) part.bytes.push_back(other.At(3 + x, 2 + y, c));
    for (const Place& at : kPlaces)
        EXPECT_EQ(Result(in, {"paste", "other.png", "area=3,2,5x4", "at=" + at.Word()}), Pasted(in, part, at));
}

TEST_F(PasteEffects, TurnTheOtherPictureIntoTheKindOfThisOne) {
    const Pixels rgb = MakePixels(16, 11, 3, 2);
    SaveOther(rgb);
    Pixels gray{16, 11, 2, {}};
    Pixels opaque{16, 11, 4, {}};
    for (int i = 0; i < 16 * 11; ++i) {
        const int x = i % 16, y = i / 16;
        gray.bytes.push_back(
            static_cast<std::uint8_t>((77 * rgb.At(x, y, 0) + 151 * rgb.At(x, y, 1) + 28 * rgb.At(x, y, 2)) / 256));
        gray.bytes.push_back(255);
        for (int c = 0; c < 3; ++c) opaque.bytes.push_back(rgb.At(x, y, c));
        opaque.bytes.push_back(255);
    }
    const Pixels inGray = MakePixels(37, 23, 2, 1);
    EXPECT_EQ(Result(inGray, {"--plugin-bytes", "paste", "other.png", "at=5,6"}), Pasted(inGray, gray, {5, 6}));
    for (std::size_t i = 0; i < gray.bytes.size(); i += 2) {
        const std::size_t at = i / 2 * 3;
        const double exact = (77 * rgb.bytes[at] + 151 * rgb.bytes[at + 1] + 28 * rgb.bytes[at + 2]) / 256.0;
        gray.bytes[i] = static_cast<std::uint8_t>(exact + 0.5);
    }
    EXPECT_EQ(Result(inGray, {"paste", "other.png", "at=5,6"}), Pasted(inGray, gray, {5, 6}));
    const Pixels inColour = MakePixels(37, 23, 4, 1);
    EXPECT_EQ(Result(inColour, {"paste", "other.png", "at=5,6"}), Pasted(inColour, opaque, {5, 6}));
}

TEST_F(PasteEffects, KeepHiddenColoursHiddenWhereThePictureHasNoAlpha) {
    Pixels other{2, 1, 4, {9, 9, 9, 0, 100, 0, 200, 255}};
    SaveOther(other);
    const Pixels in = MakePixels(37, 23, 3, 1);
    EXPECT_EQ(Result(in, {"paste", "other.png", "at=5,6"}),
              Pasted(in, {2, 1, 3, {255, 255, 255, 100, 0, 200}}, {5, 6}));
    const Pixels gray = MakePixels(37, 23, 1, 1);
    EXPECT_EQ(Result(gray, {"paste", "other.png", "at=5,6", "area=0,0,1x1", "channel=gray"}),
              Pasted(gray, {1, 1, 1, {255}}, {5, 6}));
}

TEST_F(PasteEffects, ReplaceOneChannelByAGrayPicture) {
    const Pixels other = MakePixels(16, 11, 1, 2);
    SaveOther(other);
    const std::vector<std::vector<std::string>> channels = {
        {"gray"}, {"gray", "alpha"}, {"red", "green", "blue"}, {"red", "green", "blue", "alpha"}};
    for (int count = 1; count <= 4; ++count)
        for (int c = 0; c < count; ++c) {
            const std::string& name = channels[static_cast<std::size_t>(count - 1)][static_cast<std::size_t>(c)];
            const Pixels in = MakePixels(37, 23, count, 1);
            for (const bool plugin : {false, true}) {
                std::vector<std::string> effect = {"paste", "other.png", "at=9,4", "channel=" + name};
                if (plugin) effect.emplace_back("--plugin-bytes");
                const Pixels out = Result(in, effect);
                for (int k = 0; k < count; ++k)
                    EXPECT_EQ(Channel(out, k), k == c ? Pasted(Channel(in, k), other, {9, 4}) : Channel(in, k)) << name;
            }
        }
    ExpectFailure(Run({"in.png", "new.png", "paste", "other.png", "channel=cyan"}), 1,
                  {"paste: the picture is RGB + alpha and has no channel cyan; it has red, green, blue, alpha"});
}

TEST_F(PasteEffects, RefuseWhatLiesBesideThePicture) {
    SavePng(At("in.png"), PlainPng(MakePixels(37, 23, 3, 1)));
    SaveOther(MakePixels(16, 11, 3, 2));
    for (const char* at : {"37,0", "0,23", "-16,0", "0,-11"})
        ExpectFailure(Run({"in.png", "new.png", "paste", "other.png", "at=" + std::string(at)}), 1,
                      {"paste: other.png: lies beside the picture of 37 x 23 pixels"});
    ExpectFailure(Run({"in.png", "new.png", "paste", "other.png", "area=16,0,4x4"}), 1,
                  {"paste: other.png: the area lies beside its 16 x 11 pixels"});
    ExpectFailure(Run({"in.png", "new.png", "paste", "none.png"}), 1, {"none.png: No such file"});
    ExpectFailure(Run({"in.png", "new.png", "canvas", "10x10", "at=10,0"}), 1,
                  {"canvas: nothing of the picture lies on the canvas of 10 x 10 pixels"});
    ExpectFailure(Run({"in.png", "new.png", "canvas"}), 2, {"canvas: size is missing"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png", "other.png"}));
}

TEST_F(PasteEffects, LayThePictureOnACanvas) {
    for (int channels = 1; channels <= 4; ++channels)
        for (const auto& [width, height] : {std::pair{60, 40}, {20, 40}, {60, 10}, {5, 5}})
            for (const Place& at : {Place{0, 0}, Place{3, 2}, Place{-6, -4}}) {
                const Pixels in = MakePixels(37, 23, channels, 3);
                Pixels canvas{width, height, channels, {}};
                canvas.bytes.assign(static_cast<std::size_t>(width * height * channels), 0);
                const std::string size = std::to_string(width) + "x" + std::to_string(height);
                EXPECT_EQ(Result(in, {"canvas", size, "at=" + at.Word()}), Pasted(canvas, in, at));
                for (std::size_t i = 0; i < canvas.bytes.size(); ++i) {
                    const int c = static_cast<int>(i) % channels;
                    canvas.bytes[i] = static_cast<std::uint8_t>(channels % 2 == 0 && c == channels - 1 ? 0x20
                                                                : channels <= 2 ? (77 * 255 + 151 * 128 + 28 * 64) / 256
                                                                : c == 0        ? 255
                                                                : c == 1        ? 128
                                                                                : 64);
                }
                std::vector<std::string> coloured = {"canvas", size, "at=" + at.Word(), "background=#FF804020"};
                if (channels > 2) {
                    EXPECT_EQ(Result(in, coloured), Pasted(canvas, in, at));
                }
                coloured.emplace_back("--plugin-bytes");
                EXPECT_EQ(Result(in, coloured), Pasted(canvas, in, at));
            }
}

TEST_F(PasteEffects, GiveTheCanvasInks) {
    // In these files 255 is no ink.
    ExpectInks(InkResult({240, 180, 90, 30}, {"canvas", "200x200", "at=2,2"}), {255, 255, 255, 255});
    ExpectInks(InkResult({240, 180, 90, 30}, {"canvas", "200x200", "at=80,80"}), {240, 180, 90, 30});
    ExpectInks(InkResult({240, 180, 90, 30}, {"canvas", "200x200", "background=55"}), {200, 200, 200, 200});
    ExpectFailure(Run({"in.jpg", "new.jpg", "canvas", "90x90", "background=FF0000"}), 1, {"canvas: CMYK takes one"});
}

}  // namespace
