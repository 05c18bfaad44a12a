// Rounded blurs of less than a pixel of row streams against slow means in doubles.

#include "filters/SoftBlurStream.h"

#include "filters/StreamModel.h"
#include "kernels/Tiers.h"

using namespace zor;

namespace {

SoftBlurStreamRequest RequestFor(const StreamPicture& picture, double radius) {
    return {picture.width, picture.height, picture.channels, picture.hasAlpha, radius};
}

StreamPicture Softened(const StreamPicture& picture, const SoftBlurStreamRequest& request) {
    SoftBlurStream stream;
    EXPECT_TRUE(stream.Start(request));
    return Streamed(stream, picture);
}

TEST(SoftBlurStream, GivesTheRoundedMeanOfAnyPicture) {
    Random random(21);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto [width, height] : kStreamSizes) {
            for (const double radius : {0.001, 0.1, 0.3, 0.5, 0.77, 0.999, 1.0}) {
                const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                const ExactPicture means = MeansOf(picture, 1, [radius](int dx, int dy) {
                    return (dx != 0 ? radius : 1.0) * (dy != 0 ? radius : 1.0);
                });
                // Colours that only corners of little weight have are as exact as that weight.
                ExpectRounded(Softened(picture, RequestFor(picture, radius)), means, kind.hasAlpha ? 0.3 : 0.02);
            }
        }
    }
}

TEST(SoftBlurStream, LeavesPicturesAsTheyAreWhereNeighboursWeighNothing) {
    Random random(22);
    for (const StreamKind kind : kStreamKinds) {
        const StreamPicture picture = AnyStreamPicture(random, 20, 20, kind);
        EXPECT_EQ(Softened(picture, RequestFor(picture, 0)).bytes, picture.bytes);
    }
}

TEST(SoftBlurStream, LeavesFlatPicturesAsTheyAre) {
    for (const StreamKind kind : kStreamKinds) {
        for (int value = 0; value < 256; ++value) {
            const StreamPicture flat = FlatStreamPicture(5, 4, kind, static_cast<std::uint8_t>(value));
            for (const double radius : {0.0001, 0.123, 0.5, 0.999}) {
                EXPECT_EQ(Softened(flat, RequestFor(flat, radius)).bytes, flat.bytes) << value << " by " << radius;
            }
        }
    }
}

TEST(SoftBlurStream, IsTheSameByKernelsOfEverySet) {
    Random random(23);
    for (const StreamKind kind : kStreamKinds) {
        const StreamPicture picture = AnyStreamPicture(random, 71, 19, kind);
        const StreamPicture expected = Softened(picture, RequestFor(picture, 0.6));
        for (const KernelTier& tier : RunnableTiers()) {
            SoftBlurStreamRequest request = RequestFor(picture, 0.6);
            request.kernels = &tier.table;
            EXPECT_EQ(Softened(picture, request).bytes, expected.bytes) << tier.name;
        }
    }
}

TEST(SoftBlurStream, RefusesWhatItCannotDo) {
    SoftBlurStream stream;
    std::uint8_t row[4] = {};
    for (const SoftBlurStreamRequest& request : std::vector<SoftBlurStreamRequest>{{0, 1, 1, false, 0.5},
                                                                                   {1, 0, 1, false, 0.5},
                                                                                   {1, 1, 5, false, 0.5},
                                                                                   {1, 1, 3, true, 0.5},
                                                                                   {1, 1, 1, false, -0.1},
                                                                                   {1, 1, 1, false, 1.1},
                                                                                   {1, 1, 1, false, NAN}}) {
        EXPECT_FALSE(stream.Start(request));
        EXPECT_FALSE(stream.Feed(row));
        EXPECT_FALSE(stream.Take(row));
    }
}

}  // namespace
