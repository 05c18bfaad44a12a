// Colour profile and resolution on their way through all formats that hold them.

#include "TestPictures.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

using Density = std::array<std::uint32_t, 3>;

constexpr Density kPrint{11811, 5906, 1};  // 300 and 150 an inch

class Tags : public ZorTest {
protected:
    void SaveSource(int channels, const std::string& space) {
        PngFile file = PlainPng(MakePixels(24, 16, channels, 3));
        profile_ = MakeProfile(space, "Travelling colours");
        file.profile = profile_;
        file.density = kPrint;
        SavePng(At("in.png"), file);
    }
    [[nodiscard]] const std::vector<std::uint8_t>& Profile() const { return profile_; }

private:
    std::vector<std::uint8_t> profile_;
};

TEST_F(Tags, SurviveFromEachFormatToEachOther) {
    SaveSource(3, "RGB ");
    for (const char* from : {"png", "jpg", "webp", "tif"}) {
        const std::string first = std::string("first.") + from;
        RunWell({"in.png", first});
        for (const char* to : {"png", "jpg", "webp", "tif"}) {
            SCOPED_TRACE(std::string(from) + " to " + to);
            const std::string second = std::string("second.") + to;
            EXPECT_EQ(RunWell({first, second, "scale", "50%"}).err, "");
            const Outcome info = RunWell({"info", second});
            EXPECT_NE(info.out.find("profile      Travelling colours (RGB, "), std::string::npos) << info.out;
            RunWell({second, "last.png"});
            EXPECT_EQ(LoadPng(At("last.png")).profile, Profile());
            EXPECT_EQ(LoadPng(At("last.png")).density, kPrint);
        }
    }
}

TEST_F(Tags, SurviveWithAlphaWhereThereIsAny) {
    SaveSource(4, "RGB ");
    for (const char* from : {"png", "webp", "tif"})
        for (const char* to : {"png", "webp", "tif"}) {
            SCOPED_TRACE(std::string(from) + " to " + to);
            RunWell({"in.png", std::string("first.") + from});
            EXPECT_EQ(RunWell({std::string("first.") + from, std::string("second.") + to}).err, "");
            RunWell({std::string("second.") + to, "last.png"});
            EXPECT_EQ(PixelsOf(LoadPng(At("last.png"))).channels, 4);
            EXPECT_EQ(LoadPng(At("last.png")).profile, Profile());
            EXPECT_EQ(LoadPng(At("last.png")).density, kPrint);
        }
}

TEST_F(Tags, SurviveInGray) {
    SaveSource(1, "GRAY");
    for (const char* from : {"png", "jpg", "tif"})
        for (const char* to : {"png", "jpg", "tif"}) {
            SCOPED_TRACE(std::string(from) + " to " + to);
            RunWell({"in.png", std::string("first.") + from});
            EXPECT_EQ(RunWell({std::string("first.") + from, std::string("second.") + to}).err, "");
            RunWell({std::string("second.") + to, "last.png"});
            EXPECT_EQ(LoadPng(At("last.png")).profile, Profile());
            EXPECT_EQ(LoadPng(At("last.png")).density, kPrint);
        }
}

TEST_F(Tags, SurviveInCmyk) {
    JpegFile file;
    file.pixels = MakePixels(24, 16, 4, 3);
    file.profile = MakeProfile("CMYK", "Ink");
    file.density = {1, 300, 150};
    SaveJpeg(At("in.jpg"), file);
    EXPECT_EQ(RunWell({"in.jpg", "middle.tif"}).err, "");
    EXPECT_EQ(RunWell({"middle.tif", "last.jpg"}).err, "");
    EXPECT_EQ(LoadJpeg(At("last.jpg")).profile, file.profile);
    EXPECT_EQ(LoadJpeg(At("last.jpg")).density, file.density);
}

TEST_F(Tags, StandInWebpAsOtherProgramsExpectThem) {
    SaveSource(3, "RGB ");
    RunWell({"in.png", "out.webp"});
    const WebpFile file = LoadWebp(At("out.webp"));
    EXPECT_EQ(file.profile, Profile());
    // Three entries, least byte first: 300 and 150, each as a fraction of 1, an inch.
    const std::vector<std::uint8_t> expected = {
        'I', 'I', 42, 0, 8, 0, 0, 0, 3,   0,        //
        26,  1,   5,  0, 1, 0, 0, 0, 50,  0, 0, 0,  // 282 across, behind the entries
        27,  1,   5,  0, 1, 0, 0, 0, 58,  0, 0, 0,  // 283 down
        40,  1,   3,  0, 1, 0, 0, 0, 2,   0, 0, 0,  // 296 inch
        0,   0,   0,  0,                            //
        44,  1,   0,  0, 1, 0, 0, 0, 150, 0, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ(file.exif, expected);
}

TEST_F(Tags, MakeNoPartsOfWebpWhereThereAreNone) {
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    RunWell({"in.png", "out.webp"});
    EXPECT_TRUE(LoadWebp(At("out.webp")).profile.empty());
    EXPECT_TRUE(LoadWebp(At("out.webp")).exif.empty());
    EXPECT_EQ(ReadFile(At("out.webp")).substr(12, 4), "VP8 ");
}

TEST_F(Tags, KeepCentimetresAndTheShapeOfPixels) {
    JpegFile file;
    file.pixels = MakePixels(24, 16, 3, 3);
    for (const std::array<int, 3>& density : {std::array{2, 118, 59}, {1, 65535, 1}, {0, 2, 1}}) {
        SCOPED_TRACE(testing::Message() << density[0] << ", " << density[1] << " x " << density[2]);
        file.density = density;
        SaveJpeg(At("in.jpg"), file);
        for (const char* middle : {"middle.webp", "middle.tif", "middle.jpg"}) {
            SCOPED_TRACE(middle);
            RunWell({"in.jpg", middle});
            RunWell({middle, "out.jpg"});
            EXPECT_EQ(LoadJpeg(At("out.jpg")).density, density);
        }
    }
}

TEST_F(Tags, FollowAKindThatTheyFitAndTellWhereNot) {
    SaveSource(3, "RGB ");
    EXPECT_EQ(RunWell({"in.png", "alpha.png", "convert", "RGBA"}).err, "");
    EXPECT_EQ(LoadPng(At("alpha.png")).profile, Profile());
    for (const char* name : {"gray.png", "gray.jpg", "gray.tif"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(RunWell({"in.png", name, "convert", "G"}).err,
                  std::string("zor: ") + name +
                      ": the colour profile is for RGB and does not fit gray pixels; it is left out\n");
        RunWell({name, "last.png"});
        EXPECT_TRUE(LoadPng(At("last.png")).profile.empty());
        EXPECT_EQ(LoadPng(At("last.png")).density, kPrint);
    }
    SaveSource(1, "GRAY");
    EXPECT_EQ(RunWell({"in.png", "gray.webp"}).err,
              "zor: gray.webp: the colour profile is for GRAY and does not fit RGB pixels; it is left out\n");
    EXPECT_TRUE(LoadWebp(At("gray.webp")).profile.empty());
}

TEST_F(Tags, AreToldOfWhereTheFormatHoldsNone) {
    SaveSource(3, "RGB ");
    for (const char* name : {"out.ppm", "out.pam", "out.pnm"}) {
        const Outcome outcome = RunWell({"in.png", name});
        EXPECT_TRUE(outcome.err.starts_with(std::string("zor: ") + name + ": P")) << outcome.err;
        EXPECT_TRUE(outcome.err.ends_with(" holds no colour profile; it is left out\n")) << outcome.err;
    }
    EXPECT_EQ(RunWell({"--quiet", "in.png", "out.ppm"}).err, "");
}

}  // namespace
