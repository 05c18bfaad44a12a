// Pictures that are stored in another way than they are shown.

#include "CorpusBytes.h"
#include "TestMetadata.h"
#include "TestPictures.h"
#include "TestTiffs.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

// Where the pixel of a stored row and column is seen: the definition of the eight numbers.
std::pair<int, int> Place(const Pixels& stored, int orientation, int row, int column) {
    const int left = column, right = stored.width - 1 - column, top = row, bottom = stored.height - 1 - row;
    switch (orientation) {
        case 2:  // the first row is the top, the first column the right side
            return {right, top};
        case 3:  // bottom, right
            return {right, bottom};
        case 4:  // bottom, left
            return {left, bottom};
        case 5:  // left, top
            return {top, left};
        case 6:  // right, top
            return {bottom, left};
        case 7:  // right, bottom
            return {bottom, right};
        case 8:  // left, bottom
            return {top, right};
        default:
            return {left, top};
    }
}

Pixels Shown(const Pixels& stored, int orientation) {
    Pixels shown = stored;
    if (orientation >= 5) std::swap(shown.width, shown.height);
    const auto channels = static_cast<std::size_t>(stored.channels);
    for (int row = 0; row < stored.height; ++row)
        for (int column = 0; column < stored.width; ++column) {
            const auto [x, y] = Place(stored, orientation, row, column);
            for (std::size_t c = 0; c < channels; ++c)
                shown.bytes[static_cast<std::size_t>(y * shown.width + x) * channels + c] =
                    stored.At(column, row, static_cast<int>(c));
        }
    return shown;
}

// The camera's block with this number and nothing else.
std::vector<std::uint8_t> Exif(int orientation) {
    return {'E', 'x', 'i', 'f', 0,  0, 'M', 'M', 0, 42, 0, 0, 0,
            8,   0,   1,   1,   18, 0, 3,   0,   0, 0,  1, 0, static_cast<std::uint8_t>(orientation),
            0,   0,   0,   0,   0,  0};
}

class Orientation : public ZorTest {
protected:
    JpegFile SaveCameraJpeg(int orientation, int channels = 3) {
        JpegFile file;
        file.pixels = MakePixels(37, 22, channels, 3);
        file.exif = Exif(orientation);
        SaveJpeg(At("in.jpg"), file);
        file.pixels = LoadJpeg(At("in.jpg")).pixels;
        return file;
    }
};

TEST_F(Orientation, OfJpegIsApplied) {
    for (const int channels : {1, 3})
        for (int orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(testing::Message() << orientation << ", " << channels << " channels");
            const JpegFile file = SaveCameraJpeg(orientation, channels);
            EXPECT_EQ(RunWell({"in.jpg", "out.png"}).err, "");
            EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Shown(file.pixels, orientation));
        }
}

TEST_F(Orientation, OfPngAndWebpIsApplied) {
    for (const int channels : {1, 4})
        for (int orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(testing::Message() << orientation << ", " << channels << " channels");
            const Pixels pixels = MakePixels(37, 22, channels, 3);
            SavePng(At("in.png"), PlainPng(pixels));
            const std::vector<std::uint8_t> exif = Exif(orientation);
            AddPngChunks(At("in.png"), PngChunk("eXIf", std::string(exif.begin() + 6, exif.end())));
            EXPECT_EQ(RunWell({"in.png", "out.png"}).err, "");
            EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Shown(pixels, orientation));
            if (channels == 1) continue;
            WebpFile webp;
            webp.pixels = pixels;
            webp.exif.assign(exif.begin() + 6, exif.end());
            SaveWebp(At("in.webp"), webp);
            webp.pixels = LoadWebp(At("in.webp")).pixels;
            EXPECT_EQ(RunWell({"in.webp", "out.png"}).err, "");
            EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Shown(webp.pixels, orientation));
        }
}

TEST_F(Orientation, OfTiffIsApplied) {
    for (int channels = 1; channels <= 5; ++channels)
        for (int orientation = 1; orientation <= 8; ++orientation)
            for (const auto& [width, height] : {std::pair{1, 1}, {1, 5}, {6, 1}, {21, 14}}) {
                SCOPED_TRACE(testing::Message()
                             << orientation << ", " << channels << " channels, " << width << " x " << height);
                // Five stand for CMYK.
                const Pixels pixels = MakePixels(width, height, std::min(channels, 4), 8);
                TiffFile file = PlainTiff(pixels, channels == 5);
                file.orientation = orientation;
                SaveTiff(At("in.tif"), file);
                EXPECT_EQ(RunWell({"in.tif", "out.tif"}).err, "");
                const TiffFile out = LoadTiff(At("out.tif"));
                EXPECT_EQ(PixelsOf(out), Shown(pixels, orientation));
                EXPECT_EQ(out.orientation, 1);
            }
}

TEST_F(Orientation, IsAppliedOnceAndBeforeEffects) {
    const JpegFile file = SaveCameraJpeg(6);
    RunWell({"in.jpg", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).pixels.width, 22);
    RunWell({"out.jpg", "out.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), LoadJpeg(At("out.jpg")).pixels);
    RunWell({"in.jpg", "out.png", "scalefast", "44x"});
    EXPECT_EQ(LoadPng(At("out.png")).width, 44);
    EXPECT_EQ(LoadPng(At("out.png")).height, 74);
    RunWell({"in.jpg", "out.png", "flip", "h"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Shown(file.pixels, 5));
}

TEST_F(Orientation, CanBeLeftAlone) {
    const JpegFile file = SaveCameraJpeg(6);
    const Outcome outcome = RunWell({"--no-orientation", "in.jpg", "out.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), file.pixels);
    EXPECT_EQ(outcome.err, "zor: in.jpg: the orientation (6) is neither applied nor kept\n");
    SaveCameraJpeg(1);
    EXPECT_EQ(RunWell({"--no-orientation", "in.jpg", "out.png"}).err, "");
}

TEST_F(Orientation, TurnsTheResolutionToo) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        TiffFile file = PlainTiff(MakePixels(8, 5, 3, 1));
        file.orientation = orientation;
        file.unit = 2;
        file.x = 300;
        file.y = 150;
        SaveTiff(At("in.tif"), file);
        RunWell({"in.tif", "out.jpg"});
        EXPECT_EQ(LoadJpeg(At("out.jpg")).density,
                  orientation >= 5 ? (std::array{1, 150, 300}) : (std::array{1, 300, 150}));
    }
}

TEST_F(Orientation, IsAppliedWhereTwoPicturesMeet) {
    const JpegFile file = SaveCameraJpeg(8);
    SavePng(At("shown.png"), PlainPng(Shown(file.pixels, 8)));
    SavePng(At("stored.png"), PlainPng(file.pixels));
    EXPECT_EQ(Run({"compare", "in.jpg", "shown.png"}).exitCode, 0);
    EXPECT_EQ(Run({"compare", "shown.png", "in.jpg"}).exitCode, 0);
    EXPECT_EQ(Run({"compare", "in.jpg", "stored.png"}).exitCode, 1);
    EXPECT_EQ(Run({"--no-orientation", "compare", "in.jpg", "stored.png"}).exitCode, 0);
}

TEST_F(Orientation, IsToldWithTheStoredSize) {
    SaveCameraJpeg(6);
    const std::string out = RunWell({"info", "in.jpg"}).out;
    EXPECT_NE(out.find("37 x 22"), std::string::npos) << out;
    EXPECT_NE(out.find("  orientation  6"), std::string::npos) << out;
}

TEST_F(Orientation, GivesTheSameWhereImagesAreFiles) {
    for (int orientation = 2; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        TiffFile file = PlainTiff(MakePixels(701, 467, 3, 2));
        file.orientation = orientation;
        SaveTiff(At("in.tif"), file);
        RunWell({"--memory", "1M", "in.tif", "out.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), Shown(PixelsOf(file), orientation));
    }
}

}  // namespace
