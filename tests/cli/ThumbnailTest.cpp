// The effect `thumbnail`.

#include <cmath>
#include <cstdlib>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

double MeanDifference(const Pixels& a, const Pixels& b) {
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    if (a.bytes.size() != b.bytes.size()) return 255;
    double sum = 0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i) sum += std::abs(a.bytes[i] - b.bytes[i]);
    return sum / static_cast<double>(a.bytes.size());
}

class Thumbnail : public ZorTest {
protected:
    Pixels Result(const std::vector<std::string>& words) {
        std::vector<std::string> all = {words.front(), "out.png"};
        all.insert(all.end(), words.begin() + 1, words.end());
        RunWell(all);
        return PixelsOf(LoadPng(At("out.png")));
    }
};

TEST_F(Thumbnail, FitsIntoItsBox) {
    struct Row {
        int width, height;
        const char* box;
        int newWidth, newHeight;
    };
    for (const Row& row : {Row{300, 200, "100", 100, 67}, Row{200, 300, "100", 67, 100}, Row{300, 200, "60x10", 15, 10},
                           Row{300, 200, "60x1000", 60, 40}, Row{300, 200, "300", 300, 200},
                           Row{300, 200, "301x9999", 300, 200}, Row{300, 1, "10", 10, 1}, Row{1, 1, "5", 1, 1}}) {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " to " << row.box);
        SavePng(At("in.png"), PlainPng(MakePixels(row.width, row.height, 3, 1)));
        const Pixels result = Result({"in.png", "thumbnail", row.box});
        EXPECT_EQ(result.width, row.newWidth);
        EXPECT_EQ(result.height, row.newHeight);
    }
}

TEST_F(Thumbnail, LeavesAPictureAloneThatIsSmallEnough) {
    for (const int channels : {1, 2, 3, 4}) {
        const Pixels pixels = MakePixels(40, 30, channels, 1);
        SavePng(At("in.png"), PlainPng(pixels));
        EXPECT_TRUE(Result({"in.png", "thumbnail", "40"}) == pixels);
    }
}

TEST_F(Thumbnail, IsWhatScaleMakesWhereTheFileGivesTheWhole) {
    SavePng(At("in.png"), PlainPng(MakePixels(300, 200, 3, 1)));
    EXPECT_TRUE(Result({"in.png", "thumbnail", "50"}) == Result({"in.png", "scale", "50x33"}));
    // Behind another effect a JPEG is a picture like others.
    EXPECT_TRUE(Result({Photo("rocket.jpg"), "flip", "h", "thumbnail", "50"}) ==
                Result({Photo("rocket.jpg"), "flip", "h", "scale", "50x33"}));
}

TEST_F(Thumbnail, OfAPhotographLooksLikeItsScaledPicture) {
    for (const char* name : {"rocket.jpg", "hubble_deep_field.jpg"})
        for (const char* box : {"20", "50", "100", "160", "300"}) {
            SCOPED_TRACE(std::string(name) + " " + box);
            const Pixels small = Result({Photo(name), "thumbnail", box});
            const std::string size = std::to_string(small.width) + "x" + std::to_string(small.height);
            EXPECT_LT(MeanDifference(small, Result({Photo(name), "scale", size})), 1.5);
        }
}

// The decoder is what makes the first step: a picture of stripes as fine as they get is flat after it.
TEST_F(Thumbnail, OfAJpegIsDecodedNoLargerThanItNeeds) {
    JpegFile file;
    file.pixels = MakePixels(640, 480, 1, 1);
    SaveJpeg(At("in.jpg"), file);
    // At 80 pixels a quarter of the sides is twice the target; above, only half of them is more than that.
    EXPECT_FALSE(Result({"in.jpg", "thumbnail", "80"}) == Result({"in.jpg", "scale", "80x60"}));
    EXPECT_FALSE(Result({"in.jpg", "thumbnail", "160"}) == Result({"in.jpg", "scale", "160x120"}));
    EXPECT_TRUE(Result({"in.jpg", "thumbnail", "161"}) == Result({"in.jpg", "scale", "161x121"}));
    // Not where the plug-in's bytes are asked for.
    EXPECT_TRUE(Result({"in.jpg", "thumbnail", "80", "--plugin-bytes"}) ==
                Result({"in.jpg", "scale", "80x60", "--plugin-bytes"}));
}

TEST_F(Thumbnail, IsTurnedToItsOrientation) {
    JpegFile file;
    file.pixels = LoadJpeg(Photo("rocket.jpg")).pixels;
    SaveJpeg(At("flat.jpg"), file);
    file.exif = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1,
                 1,   18,  0,   3,   0, 0, 0,   1,   0, 6,  0, 0, 0, 0, 0, 0};
    SaveJpeg(At("turned.jpg"), file);
    const Pixels turned = Result({"turned.jpg", "thumbnail", "100"});
    EXPECT_EQ(turned.height, 100);
    EXPECT_LT(turned.width, 100);
    EXPECT_LT(MeanDifference(turned, Result({"flat.jpg", "rotate", "-90", "thumbnail", "100"})), 1.0);
}

TEST_F(Thumbnail, RefusesWhatIsNoBox) {
    SavePng(At("in.png"), PlainPng(MakePixels(30, 20, 3, 1)));
    for (const char* box : {"0", "-5", "50%", "800x", "x800", "0x5", "5x0", "1.5", "99999999999", "5x5x5", "big"})
        ExpectFailure(Run({"in.png", "out.png", "thumbnail", box}), 2, {"thumbnail", "800x600"});
    ExpectFailure(Run({"in.png", "out.png", "thumbnail"}), 2, {"thumbnail"});
    EXPECT_EQ(Files(), std::vector<std::string>{"in.png"});
}

}  // namespace
