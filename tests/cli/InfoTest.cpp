// `zor info`.

#include <png.h>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

using Info = ZorTest;

TEST_F(Info, TellsAllAboutAPhotograph) {
    EXPECT_EQ(RunWell({"info", Photo("rocket.jpg")}).out, Photo("rocket.jpg") +
                                                              "\n"
                                                              "  format       JPEG\n"
                                                              "  size         640 x 427 pixels (0.3 megapixels)\n"
                                                              "  pixels       RGB, 8 bits a channel (YCbCr 4:4:4)\n"
                                                              "  quality      about 96\n"
                                                              "  profile      Adobe RGB (1998) (RGB, 560 bytes)\n"
                                                              "  resolution   72 x 72 pixels per inch\n"
                                                              "  printed      225.8 x 150.6 mm (8.89 x 5.93 inches)\n"
                                                              "  comment      cmp3.10.3.2Lq3 0x756ffbf7\n"
                                                              "  file size    112525 bytes (109.9 KiB)\n"
                                                              "  in memory    819840 bytes (800.6 KiB)\n");
}

TEST_F(Info, TellsAboutPalettesProfilesAndDensity) {
    PngFile file;
    file.width = 3;
    file.height = 2;
    file.colourType = PNG_COLOR_TYPE_PALETTE;
    file.bitDepth = 2;
    file.interlaced = true;
    file.samples = {0, 1, 2, 2, 1, 0};
    file.palette = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    file.paletteAlpha = {0};
    file.profile = MakeProfile("RGB ", "Bright colours");
    file.density = {11811, 11811, 1};
    SavePng(At("in.png"), file);
    EXPECT_EQ(RunWell({"info", "in.png"}).out,
              "in.png\n"
              "  format       PNG\n"
              "  size         3 x 2 pixels\n"
              "  pixels       RGB + alpha, 2 bits a channel (palette of 3, interlaced)\n"
              "  profile      Bright colours (RGB, " +
                  std::to_string(file.profile.size()) +
                  " bytes)\n"
                  "  resolution   11811 x 11811 pixels per metre (300 x 300 per inch)\n"
                  "  printed      0.3 x 0.2 mm (0.01 x 0.01 inches)\n"
                  "  file size    " +
                  std::to_string(ReadFile(At("in.png")).size()) +
                  " bytes\n"
                  "  in memory    128 bytes\n");
}

TEST_F(Info, TellsHowColourIsMarked) {
    PngFile file = PlainPng(MakePixels(3, 2, 3, 1));
    file.srgbIntent = 0;
    SavePng(At("srgb.png"), file);
    EXPECT_NE(RunWell({"info", "srgb.png"}).out.find("profile      none; marked as sRGB\n"), std::string::npos);
    file.srgbIntent.reset();
    file.gamma = 50000;
    SavePng(At("gamma.png"), file);
    EXPECT_NE(RunWell({"info", "gamma.png"}).out.find("profile      none; gamma 1/2\n"), std::string::npos);
    file.density = {2, 1, 0};
    SavePng(At("shape.png"), file);
    EXPECT_NE(RunWell({"info", "shape.png"}).out.find("resolution   2 x 1 (shape of a pixel)\n"), std::string::npos);
}

TEST_F(Info, TellsAboutSixteenBitsWithoutReducingThem) {
    PngFile file = PlainPng(MakePixels(3, 2, 2, 1));
    file.bitDepth = 16;
    SavePng(At("in.png"), file);
    const Outcome outcome = RunWell({"info", "in.png"});
    EXPECT_NE(outcome.out.find("pixels       gray + alpha, 16 bits a channel\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Info, TellsAboutCmyk) {
    JpegFile file;
    file.pixels = MakePixels(20, 10, 4, 1);
    file.progressive = true;
    file.density = {2, 118, 118};
    SaveJpeg(At("in.jpg"), file);
    const std::string out = RunWell({"info", "in.jpg"}).out;
    EXPECT_NE(out.find("pixels       CMYK, 8 bits a channel (CMYK, progressive)\n"), std::string::npos) << out;
    EXPECT_NE(out.find("resolution   118 x 118 pixels per centimetre\n"), std::string::npos) << out;
}

}  // namespace
