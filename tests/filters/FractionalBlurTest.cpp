// The blur over three pixels for fractional radii.

#include "filters/FractionalBlur.h"

#include <cmath>
#include <limits>

#include "core/Formats.h"
#include "filters/Canvas.h"

using namespace zor;

namespace {

class FractionalBlurTest : public EngineTest {};

using Channels = std::vector<ModelChannel>;

// Images that are not gray are treated as red, green and blue, wherever the records keep these.
Channels TreatedChannels(const Canvas& source, const Canvas& dest) {
    if (source->IsGray) return ChannelsOfFamily(source.record(), dest.record());
    Channels channels = {{"red", source->RedOffset, dest->RedOffset},
                         {"green", source->GreenOffset, dest->GreenOffset},
                         {"blue", source->BlueOffset, dest->BlueOffset}};
    if (source->HasAlpha) channels.push_back({"alpha", source->AlphaOffset, dest->AlphaOffset});
    return channels;
}

void ModelOfFractionalBlur(const Canvas& source, const Canvas& dest, double radius) {
    double f = radius - std::floor(radius);
    if (std::isnan(f)) f = 0;
    const double norm = 1.0 / (f + f + 1.0);
    const int width = source->Width, height = source->Height;
    const Channels channels = TreatedChannels(source, dest);
    const auto copy = [&](int y) {
        std::vector<int> row;
        for (int x = 0; x < width; ++x) {
            for (const ModelChannel& channel : channels) row.push_back(source.Get(x, y, channel.from));
        }
        return row;
    };
    std::vector<int> above = copy(-1), row = copy(0);
    for (int y = 0; y < height; ++y) {
        const std::vector<int> below = y + 1 < height ? copy(y + 1) : row;
        for (int x = 0; x < width; ++x) {
            for (std::size_t c = 0; c < channels.size(); ++c) {
                const std::size_t at = static_cast<std::size_t>(x) * channels.size() + c;
                const int m = row[at], p = above[at], n = below[at];
                double value = (m + (p + n) * f) * norm;
                if (y == 0) value = (m + m * 2 * f) * norm;
                if (y == height - 1) value = (m + (p + m) * f) * norm;
                dest.Put(x, y, channels[c].to, static_cast<int>(value));
            }
        }
        above = row;
        row = below;
    }
    for (int y = 0; y < height; ++y) {
        std::vector<int> bytes;
        for (int at = 0; at < dest->RowSize; ++at) bytes.push_back(dest.RowByte(y, at));
        const auto read = [&](int x, std::size_t c) {
            const int at = x * dest->PixelSize + channels[c].to;
            return at < dest->RowSize ? bytes[static_cast<std::size_t>(at)] : 0;
        };
        for (int x = 0; x < width; ++x) {
            for (std::size_t c = 0; c < channels.size(); ++c) {
                const int m = read(x, c);
                double value = 0;
                if (x == width - 1) {
                    value = (m + m * 2 * f) * norm;
                } else if (x == 0) {
                    value = (m + (read(1, c) + m) * f) * norm;
                } else {
                    value = (m + (read(x - 1, c) + read(x + 1, c)) * f) * norm;
                }
                dest.Put(x, y, channels[c].to, static_cast<int>(value));
            }
        }
    }
}

NeighbourCase FractionalCase(double radius) {
    return {
        "fractional blur " + std::to_string(radius),
        [=](REALobject source, REALobject dest) { return BoxBlurFractionalFilter(source, dest, radius); },
        [=](const Canvas& source, const Canvas& dest, const Channels&) { ModelOfFractionalBlur(source, dest, radius); },
        SameSize, [](const ImageClassData* source) { return !source->IsGray && !source->IsRGB && !source->IsCMYK; }};
}

TEST_F(FractionalBlurTest, AgreesWithItsModel) {
    const std::vector<double> radii = {0.0,   0.1,   0.25,  0.333333,     0.5,
                                       0.75,  0.999, 1.0,   2.25,         17.6,
                                       -0.25, -3.0,  1e300, std::nan(""), std::numeric_limits<double>::infinity()};
    CheckNeighboursOnRandomImages(521, 1000, [&](Random& random) { return FractionalCase(random.Pick(radii)); });
}

// Large enough for integers to be tried.
TEST_F(FractionalBlurTest, LargeImagesGiveTheSameBytes) {
    Random random(5);
    for (const double radius : {0.3, 0.5, 0.77}) {
        ImagePair pair;
        pair.source = MakePlain(500, 400, ImageFormatRGB);
        FillWithNoise(pair.source, random);
        pair.dest = MakePlain(500, 400, ImageFormatXBGR);
        CheckNeighbours(FractionalCase(radius), pair);
    }
}

TEST_F(FractionalBlurTest, KeepsTheOrderOfStoresInADestinationWithShortRows) {
    Random random(6);
    for (int round = 0; round < 200; ++round) {
        const int width = random.Between(1, 12), height = random.Between(2, 12);
        ImagePair pair;
        pair.source = MakeOnBlock(width, height, ImageFormatRGBA, random.Between(1, 60));
        pair.dest = MakeOnBlock(width, height, random.Pick(RGBFormats()), random.Between(1, 50));
        FillWithNoise(pair.source, random);
        FillWithNoise(pair.dest, random);
        CheckNeighbours(FractionalCase(0.4), pair);
    }
}

TestImage Gray(int width, int height, const std::vector<int>& values) {
    TestImage image = MakePlain(width, height, ImageFormatG);
    PaintPixels(image, [&](int x, int y, int) { return values[static_cast<std::size_t>(y * width + x)]; });
    return image;
}

std::vector<int> Filtered(int width, int height, const std::vector<int>& values, double radius) {
    const TestImage source = Gray(width, height, values);
    const TestImage result(BoxBlurFractionalFilter(source.object(), nullptr, radius));
    std::vector<int> pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) pixels.push_back(PixelAt(result, x, y)[0]);
    }
    return pixels;
}

TEST_F(FractionalBlurTest, AWholeRadiusCopies) {
    for (const double radius : {0.0, 1.0, 5.0, -2.0}) {
        EXPECT_EQ(Filtered(2, 3, {0, 1, 100, 200, 254, 255}, radius), (std::vector<int>{0, 1, 100, 200, 254, 255}));
    }
}

TEST_F(FractionalBlurTest, TheWholePartOfTheRadiusPlaysNoRole) {
    const std::vector<int> image = {7, 90, 200, 13, 255, 0, 44, 128, 99};
    EXPECT_EQ(Filtered(3, 3, image, 2.25), Filtered(3, 3, image, 0.25));
}

TEST_F(FractionalBlurTest, TheFirstRowAndTheLastColumnTakeThePixelAlone) {
    // f = 0.5: a pixel weighs half, each neighbour a quarter. Down a column of one pixel the last step takes it alone.
    EXPECT_EQ(Filtered(1, 3, {0, 100, 200}, 0.5), (std::vector<int>{0, 100, 175}));
    // Along rows that are all the same, so that the vertical pass changes nothing.
    EXPECT_EQ(Filtered(3, 2, {0, 100, 200, 0, 100, 200}, 0.5), (std::vector<int>{25, 100, 200, 25, 100, 200}));
}

TEST_F(FractionalBlurTest, ThreePixelsWeighOneAndTwiceTheFraction) {
    EXPECT_EQ(Filtered(1, 3, {10, 20, 70}, 0.25)[1], static_cast<int>((20 + 80 * 0.25) / 1.5));
}

TEST_F(FractionalBlurTest, OfCMYKOnlyTheFirstByteOfEachPixelIsFiltered) {
    const TestImage source = MakePlain(3, 3, ImageFormatKYMC), dest = MakePlain(3, 3, ImageFormatKYMC);
    PaintPixels(source, [](int x, int y, int c) { return 50 * c + 9 * y + 3 * x; });
    PaintPixels(dest, [](int, int, int) { return 77; });
    const TestImage result(BoxBlurFractionalFilter(source.object(), dest.object(), 0.5));
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 3; ++x) {
            const std::vector<int> pixel = PixelAt(dest, x, y);
            EXPECT_EQ(pixel[0], 77);
            EXPECT_EQ(pixel[1], 77);
            EXPECT_EQ(pixel[2], 77);
            EXPECT_NE(pixel[3], 77) << "black is the first byte of this format";
        }
    }
}

TEST_F(FractionalBlurTest, AnImageOfNoFamilyGivesNilAndReleasesTheDestination) {
    const TestImage source = MakePlain(3, 3, ImageFormatBuffer), dest = MakePlain(3, 3, ImageFormatRGB);
    EXPECT_EQ(BoxBlurFractionalFilter(source.object(), dest.object(), 0.5), nullptr);
    EXPECT_EQ(host.Locks(dest.object()), 1);
    EXPECT_EQ(BoxBlurFractionalFilter(source.object(), nullptr, 0.5), nullptr);
    EXPECT_EQ(host.LiveObjects(), 2u);
}

// The last row asks for the row above it, which an image of one row does not have: it reads 0, and a view of one row
// finds the row of its source there.
TEST_F(FractionalBlurTest, ASingleRowReadsNothingOutsideTheImage) {
    EXPECT_EQ(Filtered(2, 1, {100, 100}, 0.0), (std::vector<int>{100, 100}));
    EXPECT_EQ(Filtered(1, 1, {100}, 0.5), (std::vector<int>{75}));
    const TestImage view = ClipOf(Gray(1, 3, {60, 100, 0}), 0, 1, 1, 1);
    const TestImage result(BoxBlurFractionalFilter(view.object(), nullptr, 0.5));
    EXPECT_EQ(PixelAt(result, 0, 0)[0], 90);
}

TEST_F(FractionalBlurTest, TheSourceMayBeTheDestination) {
    Random random(7);
    const TestImage source = MakePlain(9, 8, ImageFormatRGBA);
    FillWithNoise(source, random);
    const TestImage apart(BoxBlurFractionalFilter(source.object(), nullptr, 0.4));
    const TestImage inPlace(BoxBlurFractionalFilter(source.object(), source.object(), 0.4));
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 9; ++x) EXPECT_EQ(PixelAt(apart, x, y), PixelAt(inPlace, x, y));
    }
}

}  // namespace
