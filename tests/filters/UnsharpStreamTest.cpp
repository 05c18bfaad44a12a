// Rounded unsharp masks of row streams against slow means in doubles.

#include "filters/UnsharpStream.h"

#include "filters/StreamModel.h"
#include "kernels/Tiers.h"

using namespace zor;

namespace {

UnsharpStreamRequest RequestFor(const StreamPicture& picture, double amount, int radius, int threshold) {
    return {picture.width, picture.height, picture.channels, picture.hasAlpha, amount, radius, threshold};
}

StreamPicture Sharpened(const StreamPicture& picture, const UnsharpStreamRequest& request) {
    UnsharpStream stream;
    EXPECT_TRUE(stream.Start(request));
    return Streamed(stream, picture);
}

ExactPicture Reference(const StreamPicture& picture, double amount, int radius, int threshold) {
    const ExactPicture means = MeansOf(picture, radius, [](int, int) { return 1.0; });
    ExactPicture sharp = means;
    const std::size_t channels = static_cast<std::size_t>(picture.channels);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i) {
        const double a = picture.bytes[i], distance = a - means[i];
        const std::uint8_t alpha = picture.hasAlpha ? picture.bytes[i - i % channels + channels - 1] : 255;
        const bool stays =
            alpha == 0 || (picture.hasAlpha && i % channels == channels - 1) || std::abs(distance) < threshold - 1e-9;
        sharp[i] = stays ? a : std::clamp(a + distance * 4 * amount, 0.0, 255.0);
    }
    return sharp;
}

TEST(UnsharpStream, PushesValuesAwayFromTheExactMean) {
    Random random(11);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto [width, height] : kStreamSizes) {
            for (const int radius : {1, 3, 9}) {
                for (const double amount : {0.0, 0.1, 0.5, 2.0, 100.0}) {
                    const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                    const int threshold = random.Chance(50) ? random.Between(0, 20) : 0;
                    ExpectRounded(Sharpened(picture, RequestFor(picture, amount, radius, threshold)),
                                  Reference(picture, amount, radius, threshold), amount > 10 ? 0.05 : 0.001);
                }
            }
        }
    }
}

TEST(UnsharpStream, LeavesWhatIsNearerThanTheThreshold) {
    Random random(12);
    for (const StreamKind kind : kStreamKinds) {
        const StreamPicture picture = AnyStreamPicture(random, 20, 20, kind);
        EXPECT_EQ(Sharpened(picture, RequestFor(picture, 3, 2, 256)).bytes, picture.bytes);
    }
    // A step of exactly 9 from a mean is at the threshold of 9: it moves by 4 * 0.25 times as much.
    StreamPicture dot = FlatStreamPicture(3, 3, {1, false}, 100);
    dot.bytes[4] = 109;
    EXPECT_EQ(Sharpened(dot, RequestFor(dot, 0.25, 1, 8)).bytes[4], 117);
    EXPECT_EQ(Sharpened(dot, RequestFor(dot, 0.25, 1, 9)).bytes[4], 109);
}

// Neither their hidden colours nor their being dark may show around what is opaque.
TEST(UnsharpStream, TakesNoColourFromClearPixels) {
    StreamPicture picture = FlatStreamPicture(12, 12, {4, true}, 200);
    for (int y = 0; y < 12; ++y) {
        for (int x = 6; x < 12; ++x) {
            std::uint8_t* const pixel = picture.Row(y) + x * 4;
            pixel[0] = 255, pixel[1] = 0, pixel[2] = 9, pixel[3] = 0;
        }
    }
    EXPECT_EQ(Sharpened(picture, RequestFor(picture, 5, 3, 0)).bytes, picture.bytes);
}

TEST(UnsharpStream, TakesRadiiBeyondThePicture) {
    for (const StreamKind kind : kStreamKinds) {
        for (const int radius : {30, 91, 800, 10000, 16000}) {
            const StreamPicture flat = FlatStreamPicture(11, 7, kind, 200);
            EXPECT_EQ(Sharpened(flat, RequestFor(flat, 1, radius, 0)).bytes, flat.bytes) << radius;
        }
    }
    // Half of what is around each pixel is the row above, half that below, nearly.
    StreamPicture two = FlatStreamPicture(1, 2, {1, false}, 100);
    two.bytes[1] = 120;
    EXPECT_EQ(Sharpened(two, RequestFor(two, 0.5, 10000, 0)).bytes, (std::vector<std::uint8_t>{80, 140}));
}

TEST(UnsharpStream, IsTheSameByKernelsOfEverySet) {
    Random random(13);
    for (const StreamKind kind : kStreamKinds) {
        const StreamPicture picture = AnyStreamPicture(random, 71, 19, kind);
        const StreamPicture expected = Sharpened(picture, RequestFor(picture, 0.6, 4, 3));
        for (const KernelTier& tier : RunnableTiers()) {
            UnsharpStreamRequest request = RequestFor(picture, 0.6, 4, 3);
            request.kernels = &tier.table;
            EXPECT_EQ(Sharpened(picture, request).bytes, expected.bytes) << tier.name;
        }
    }
}

TEST(UnsharpStream, RefusesWhatItCannotDo) {
    UnsharpStream stream;
    std::uint8_t row[4] = {};
    for (const UnsharpStreamRequest& request : std::vector<UnsharpStreamRequest>{{0, 1, 1, false, 1, 1, 0},
                                                                                 {1, 0, 1, false, 1, 1, 0},
                                                                                 {1, 1, 3, true, 1, 1, 0},
                                                                                 {1, 1, 1, false, -1, 1, 0},
                                                                                 {1, 1, 1, false, NAN, 1, 0},
                                                                                 {1, 1, 1, false, 1, 16001, 0},
                                                                                 {1, 1, 1, false, 1, 1, 257}}) {
        EXPECT_FALSE(stream.Start(request));
        EXPECT_FALSE(stream.Feed(row));
        EXPECT_FALSE(stream.Take(row));
    }
}

}  // namespace
