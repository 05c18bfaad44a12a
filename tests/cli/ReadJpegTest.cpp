// JPEG files of every colour space, against a whole file read through libjpeg by the test itself.

#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class ReadJpeg : public ZorTest {
protected:
    // What the program makes of the file, as pixels.
    Pixels ThroughPng(const JpegFile& file) {
        SaveJpeg(At("in.jpg"), file);
        EXPECT_EQ(RunWell({"in.jpg", "out.png"}).err, "");
        return PixelsOf(LoadPng(At("out.png")));
    }
};

TEST_F(ReadJpeg, GivesGrayAndColourAsTheLibraryDoes) {
    for (const int channels : {1, 3})
        for (const bool progressive : {false, true})
            for (const auto& [width, height] : {std::pair{1, 1}, {7, 9}, {64, 48}, {131, 77}}) {
                SCOPED_TRACE(testing::Message() << channels << " channels, " << width << " x " << height);
                JpegFile file;
                file.pixels = MakePixels(width, height, channels, 7);
                file.progressive = progressive;
                const Pixels seen = ThroughPng(file);
                EXPECT_EQ(seen, LoadJpeg(At("in.jpg")).pixels);
            }
}

TEST_F(ReadJpeg, GivesFilesStoredAsRgb) {
    JpegFile file;
    file.pixels = MakePixels(31, 20, 3, 3);
    file.colourSpace = JCS_RGB;
    const Pixels seen = ThroughPng(file);
    EXPECT_EQ(seen, LoadJpeg(At("in.jpg")).pixels);
}

TEST_F(ReadJpeg, ReadsTheSamePhotographAsTheLibrary) {
    for (const char* name : {"rocket.jpg", "hubble_deep_field.jpg"}) {
        RunWell({Photo(name), "out.png"});
        EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), LoadJpeg(Photo(name)).pixels) << name;
    }
}

// Quality 100 keeps ink within a few steps, so that a picture that was inverted once too often would be far away.
void ExpectNear(const Pixels& a, const Pixels& b, int most) {
    ASSERT_EQ(a.bytes.size(), b.bytes.size());
    for (std::size_t i = 0; i < a.bytes.size(); ++i) ASSERT_LE(std::abs(a.bytes[i] - b.bytes[i]), most) << "byte " << i;
}

Pixels Inverted(Pixels pixels) {
    for (std::uint8_t& byte : pixels.bytes) byte = static_cast<std::uint8_t>(255 - byte);
    return pixels;
}

TEST_F(ReadJpeg, KeepsCmykThroughAllWaysOfStoringIt) {
    for (const int space : {JCS_CMYK, JCS_YCCK})
        for (const bool adobe : {false, true}) {
            if (space == JCS_YCCK && !adobe) continue;  // without the marker nothing tells it from CMYK
            SCOPED_TRACE(testing::Message() << "space " << space << (adobe ? ", Adobe" : ""));
            JpegFile file;
            file.pixels = MakePixels(40, 24, 4, 5);
            for (std::uint8_t& byte : file.pixels.bytes) byte = static_cast<std::uint8_t>(byte / 2);
            file.colourSpace = space;
            file.adobe = adobe;
            file.jfif = false;
            file.quality = 100;
            SaveJpeg(At("in.jpg"), file);
            RunWell({"--quality", "100", "in.jpg", "out.jpg"});
            const JpegFile out = LoadJpeg(At("out.jpg"));
            EXPECT_EQ(out.colourSpace, JCS_CMYK);
            EXPECT_TRUE(out.sawAdobe);
            const Pixels stored = LoadJpeg(At("in.jpg")).pixels;
            // The result is stored Adobe's way; a file without the marker was stored by the letter.
            ExpectNear(out.pixels, adobe ? stored : Inverted(stored), 4);
        }
}

TEST_F(ReadJpeg, KeepsProfileAndResolution) {
    for (const int channels : {1, 3, 4}) {
        SCOPED_TRACE(channels);
        JpegFile file;
        file.pixels = MakePixels(20, 10, channels, 2);
        file.profile = MakeProfile(channels == 1 ? "GRAY" : channels == 3 ? "RGB " : "CMYK");
        file.density = {2, 118, 59};
        SaveJpeg(At("in.jpg"), file);
        EXPECT_EQ(RunWell({"in.jpg", "out.jpg", "scale", "50%"}).err, "");
        const JpegFile out = LoadJpeg(At("out.jpg"));
        EXPECT_EQ(out.profile, file.profile);
        EXPECT_EQ(out.density, file.density);
        if (channels == 4) continue;
        RunWell({"in.jpg", "out.png"});
        EXPECT_EQ(LoadPng(At("out.png")).profile, file.profile);
        EXPECT_EQ(LoadPng(At("out.png")).density, (std::array<std::uint32_t, 3>{11800, 5900, 1}));
    }
}

TEST_F(ReadJpeg, KeepsTheProfileOfAPhotograph) {
    const std::vector<std::uint8_t> profile = LoadJpeg(Photo("rocket.jpg")).profile;
    ASSERT_EQ(profile.size(), 560U);
    RunWell({Photo("rocket.jpg"), "out.png", "scale", "100x"});
    EXPECT_EQ(LoadPng(At("out.png")).profile, profile);
    EXPECT_EQ(LoadPng(At("out.png")).density, (std::array<std::uint32_t, 3>{2835, 2835, 1}));
    RunWell({"out.png", "again.jpg"});
    EXPECT_EQ(LoadJpeg(At("again.jpg")).profile, profile);
    EXPECT_EQ(LoadJpeg(At("again.jpg")).density, (std::array{1, 72, 72}));
}

TEST_F(ReadJpeg, KeepsAProfileThatNeedsManyMarkers) {
    JpegFile file;
    file.pixels = MakePixels(20, 10, 3, 2);
    file.profile = MakeProfile("RGB ");
    file.profile.resize(200000, 7);
    for (std::size_t i = 0; i < 4; ++i)
        file.profile[i] = static_cast<std::uint8_t>(file.profile.size() >> (24 - 8 * i));
    SaveJpeg(At("in.jpg"), file);
    RunWell({"in.jpg", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).profile, file.profile);
}

TEST_F(ReadJpeg, LeavesOutAProfileOfAnotherColourSpace) {
    JpegFile file;
    file.pixels = MakePixels(20, 10, 3, 2);
    file.profile = MakeProfile("CMYK");
    SaveJpeg(At("in.jpg"), file);
    const Outcome outcome = RunWell({"in.jpg", "out.jpg"});
    EXPECT_EQ(outcome.err, "zor: in.jpg: the colour profile does not fit the pixels and is left out\n");
    EXPECT_TRUE(LoadJpeg(At("out.jpg")).profile.empty());
}

// An EXIF block with orientation, both resolutions and their unit.
std::vector<std::uint8_t> MakeExif(bool bigEndian, int orientation, int x, int y, int unit) {
    std::vector<std::uint8_t> bytes = {'E', 'x', 'i', 'f', 0, 0};
    const auto number = [&](std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i)
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (bigEndian ? count - 1 - i : i))));
    };
    const auto entry = [&](int tag, int type, std::uint32_t value, bool small) {
        number(static_cast<std::uint32_t>(tag), 2);
        number(static_cast<std::uint32_t>(type), 2);
        number(1, 4);
        number(value, small ? 2 : 4);
        if (small) number(0, 2);
    };
    bytes.push_back(bigEndian ? 'M' : 'I');
    bytes.push_back(bigEndian ? 'M' : 'I');
    number(42, 2);
    number(8, 4);
    number(4, 2);
    entry(274, 3, static_cast<std::uint32_t>(orientation), true);
    entry(282, 5, 62, false);
    entry(283, 5, 70, false);
    entry(296, 3, static_cast<std::uint32_t>(unit), true);
    number(0, 4);
    for (const int value : {x, 1, y * 10, 10}) number(static_cast<std::uint32_t>(value), 4);
    return bytes;
}

TEST_F(ReadJpeg, TakesTheResolutionOutOfExifWhereJfifHasNone) {
    for (const bool bigEndian : {false, true}) {
        JpegFile file;
        file.pixels = MakePixels(20, 10, 3, 2);
        file.exif = MakeExif(bigEndian, 1, 240, 180, 2);
        file.jfif = false;
        SaveJpeg(At("in.jpg"), file);
        EXPECT_EQ(RunWell({"in.jpg", "out.jpg"}).err, "");
        EXPECT_EQ(LoadJpeg(At("out.jpg")).density, (std::array{1, 240, 180})) << bigEndian;
    }
}

TEST_F(ReadJpeg, SurvivesADamagedExifBlock) {
    JpegFile file;
    file.pixels = MakePixels(20, 10, 3, 2);
    const std::vector<std::uint8_t> exif = MakeExif(false, 3, 300, 300, 2);
    for (std::size_t length = 6; length < exif.size(); length += 5) {
        file.exif.assign(exif.begin(), exif.begin() + static_cast<std::ptrdiff_t>(length));
        SaveJpeg(At("in.jpg"), file);
        RunWell({"--quiet", "in.jpg", "out.jpg"});
    }
    file.exif = exif;
    for (std::size_t i = 8; i < 20; ++i) file.exif[i] = 0xFF;  // a directory far behind the end
    SaveJpeg(At("in.jpg"), file);
    RunWell({"--quiet", "in.jpg", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).pixels.width, 20);
}

}  // namespace
