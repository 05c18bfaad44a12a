#include "filters/NeonFilter.h"

#include <algorithm>
#include <cmath>

#include "core/Construction.h"
#include "core/Formats.h"
#include "filters/FilterModel.h"
#include "kernels/Tone.h"

using namespace zor;

namespace {

class NeonFilterTest : public EngineTest {};

int GlowOf(int squares) {
    const float single = static_cast<float>(squares);
    const float root = static_cast<float>(std::sqrt(2.0 * static_cast<double>(single)));
    return std::min(static_cast<int>(root), 255);
}

FilterCase Case() {
    return {"neon", [](REALobject s, REALobject d) { return NeonFilter(s, d); },
            [](FilterModel& model) {
                const auto rowOf = [&](int y) {
                    std::vector<int> bytes(static_cast<std::size_t>(model.rowSize() + 16));
                    for (int i = 0; i < model.rowSize() && y < model.height; ++i) {
                        bytes[static_cast<std::size_t>(i)] = model.ByteOfRow(y, i);
                    }
                    return bytes;
                };
                const auto byteOf = [](const std::vector<int>& row, int at) {
                    return at < static_cast<int>(row.size()) ? row[static_cast<std::size_t>(at)] : 0;
                };
                std::vector<int> here = rowOf(0);
                for (int y = 0; y < model.height; ++y) {
                    const std::vector<int> below = rowOf(y + 1);
                    for (int x = 0; x < model.width; ++x) {
                        std::vector<int> glow;
                        for (const ModelChannel& channel : model.channels) {
                            const int at = x * model.pixelSize() + channel.from;
                            const int p = byteOf(here, at), q = byteOf(here, at + model.pixelSize());
                            const int b = byteOf(below, at);
                            glow.push_back(GlowOf((p - b) * (p - b) + (p - q) * (p - q)));
                        }
                        model.WritePixel(x, y, glow);
                    }
                    here = below;
                }
            }};
}

TEST_F(NeonFilterTest, UniformImagesGlowAtTheLastRowAndColumnOnly) {
    const TestImage source = MakePlain(6, 5, ImageFormatRGBA);  // rows of 64 bytes: padding of zeros
    FillPixels(source, {100, 100, 100, 100});
    const TestImage result(NeonFilter(source.object(), nullptr));
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 6; ++x) {
            const int edges = (x == 5) + (y == 4);
            const int glow = edges == 0 ? 0 : edges == 1 ? 141 : 200;  // sqrt(2 x 100 x 100), sqrt(4 x 100 x 100)
            EXPECT_EQ(PixelAt(result, x, y), std::vector<int>(4, glow)) << x << "," << y;
        }
    }
}

TEST_F(NeonFilterTest, TheLastPixelReadsThePaddingOfItsRow) {
    const TestImage source = MakeOnBlock(3, 1, ImageFormatG, 4);
    std::uint8_t* const row = source->GetRow(source.record(), 0);
    row[0] = row[1] = row[2] = 50;
    row[3] = 48;  // padding
    const TestImage result(NeonFilter(source.object(), nullptr));
    EXPECT_EQ(PixelAt(result, 1, 0).front(), 70);  // sqrt(2 x 50 x 50)
    EXPECT_EQ(PixelAt(result, 2, 0).front(), 70);  // sqrt(2 x (2500 + 4)) = 70.77
}

TEST_F(NeonFilterTest, TheLastPixelReadsZerosWhereItsRowHasNoPadding) {
    for (const int format : {ImageFormatG, ImageFormatRGB, ImageFormatCMYKA}) {
        const TestImage source = MakeOnBlock(2, 2, format, 2 * MakePlain(1, 1, format)->PixelSize);
        FillPixels(source, std::vector<int>(ChannelsOfFamily(source.record(), source.record()).size(), 100));
        const TestImage result(NeonFilter(source.object(), nullptr));
        EXPECT_EQ(PixelAt(result, 1, 0).front(), 141);
        EXPECT_EQ(PixelAt(result, 1, 1).back(), 200);
    }
}

TEST_F(NeonFilterTest, EveryGlowFollowsTheFormula) {
    for (int squares = 0; squares <= 2 * 255 * 255; ++squares) {
        ASSERT_EQ(NeonGlow(squares), GlowOf(squares)) << squares;
        ASSERT_EQ(NeonGlow_Plain(squares), GlowOf(squares)) << squares;
    }
}

TEST_F(NeonFilterTest, RowsShorterThanTheirPixelsReadZerosBehindTheTail) {
    // Rows of one byte for images ten wide: the copies hold 17 bytes, the storage 30.
    const TestImage source = MakeOnBlock(10, 30, ImageFormatRGB, 1);
    Random random(1);
    FillWithNoise(source, random);
    const TestImage dest = MakePlain(10, 30, ImageFormatRGB);
    FilterModel model(source, dest);
    Case().model(model);
    const TestImage result(NeonFilter(source.object(), dest.object()));
    EXPECT_TRUE(model.Matches());
}

TEST_F(NeonFilterTest, ANegativeRowSizeCopiesNothing) {
    const REALobject block = host.NewBlock(64);
    const TestImage source(host.NewImage());
    ImageConstructorMemory(source.object(), block, 4, 1, ImageFormatG, -8);
    REALUnlockObject(block);
    const TestImage dest = MakePlain(4, 1, ImageFormatG);
    FillPixels(dest, {9});
    const TestImage result(NeonFilter(source.object(), dest.object()));
    EXPECT_EQ(result.object(), dest.object());
    EXPECT_EQ(PixelAt(dest, 3, 0).front(), 0) << "black beside black does not glow";
    source->RowSize = -17;
    FillPixels(dest, {9});
    const TestImage other(NeonFilter(source.object(), dest.object()));
    EXPECT_EQ(PixelAt(dest, 3, 0).front(), 9) << "no buffer of a negative size";
    source->RowSize = INT32_MAX - 3;
    const TestImage third(NeonFilter(source.object(), dest.object()));
    EXPECT_EQ(PixelAt(dest, 3, 0).front(), 9) << "the size does not wrap";
}

TEST_F(NeonFilterTest, ServesEveryFamily) {
    Random random(2);
    const TempDir directory;
    for (const int format : AllFormats()) {
        CheckFilter(Case(), RandomPair(random, directory, Relation::made, format));
        CheckFilter(Case(), RandomPair(random, directory, Relation::apart, format));
        CheckFilter(Case(), RandomPair(random, directory, Relation::same, format));
    }
}

TEST_F(NeonFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(13, 400, [](Random&) { return Case(); });
}

}  // namespace
