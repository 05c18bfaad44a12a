// Turns by right angles into another image.

#include "filters/RightAngle.h"

#include <algorithm>
#include <cstring>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "filters/Canvas.h"

using namespace zor;

namespace {

class RightAngle : public EngineTest {};

using Channels = std::vector<ModelChannel>;

void ModelOfMove(const Canvas& source, const Canvas& dest, const Channels& channels, int sx, int sy, int dx, int dy) {
    std::vector<int> pixel;
    for (const ModelChannel& channel : channels) pixel.push_back(source.Get(sx, sy, channel.from));
    for (std::size_t c = 0; c < channels.size(); ++c) dest.Put(dx, dy, channels[c].to, pixel[c]);
}

void ModelOfHalfTurn(const Canvas& source, const Canvas& dest, const Channels& channels) {
    const int width = source->Width, height = source->Height;
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width; ++i) {
            ModelOfMove(source, dest, channels, width - 1 - i, y, i, height - 1 - y);
        }
    }
}

void ModelOfQuarterTurn(const Canvas& source, const Canvas& dest, const Channels& channels, bool clockwise,
                        bool blocked) {
    const int width = source->Width, height = source->Height;
    if (width < 1) return;
    int block = std::min(source->MappedRowCount, dest->MappedRowCount) - 2;
    if (!blocked || block < 1) block = std::max(width, height);
    for (int y0 = 0; y0 < height; y0 += block) {
        for (int x0 = 0; x0 < width; x0 += block) {
            for (int y = y0; y < std::min(y0 + block, height); ++y) {
                for (int x = x0; x < std::min(x0 + block, width); ++x) {
                    if (clockwise) {
                        ModelOfMove(source, dest, channels, x, y, height - 1 - y, x);
                    } else {
                        ModelOfMove(source, dest, channels, x, y, y, width - 1 - x);
                    }
                }
            }
        }
    }
}

NeighbourCase QuarterTurn(const char* text, REALobject (*run)(REALobject, REALobject), bool clockwise, bool blocked) {
    return {text, run,
            [=](const Canvas& source, const Canvas& dest, const Channels& channels) {
                ModelOfQuarterTurn(source, dest, channels, clockwise, blocked);
            },
            Transposed};
}

TEST_F(RightAngle, Rotate180AgreesWithItsModel) {
    CheckNeighboursOnRandomImages(544, 400, [](Random&) {
        return NeighbourCase{"Rotate180", Rotate180, ModelOfHalfTurn, SameSize};
    });
}
TEST_F(RightAngle, Rotate90slowAgreesWithItsModel) {
    CheckNeighboursOnRandomImages(545, 400,
                                  [](Random&) { return QuarterTurn("Rotate90slow", Rotate90, false, false); });
}
TEST_F(RightAngle, Rotate270slowAgreesWithItsModel) {
    CheckNeighboursOnRandomImages(546, 400,
                                  [](Random&) { return QuarterTurn("Rotate270slow", Rotate270, true, false); });
}
TEST_F(RightAngle, Rotate90AgreesWithItsModel) {
    CheckNeighboursOnRandomImages(547, 400, [](Random&) { return QuarterTurn("Rotate90", Rotate90fast, false, true); });
}
TEST_F(RightAngle, Rotate270AgreesWithItsModel) {
    CheckNeighboursOnRandomImages(548, 400,
                                  [](Random&) { return QuarterTurn("Rotate270", Rotate270fast, true, true); });
}

// Sizes that are no multiple of a tile and take several, in memory and with windows that move.
TEST_F(RightAngle, LargeImagesAgreeWithTheModel) {
    Random random(6);
    const TempDir directory;
    const std::vector<NeighbourCase> filters = {{"Rotate180", Rotate180, ModelOfHalfTurn, SameSize},
                                                QuarterTurn("Rotate90slow", Rotate90, false, false),
                                                QuarterTurn("Rotate270slow", Rotate270, true, false),
                                                QuarterTurn("Rotate90", Rotate90fast, false, true),
                                                QuarterTurn("Rotate270", Rotate270fast, true, true)};
    for (const Size size : {Size{200, 300}, {130, 70}, {64, 257}}) {
        for (const int format : {ImageFormatRGB, ImageFormatBGRX, ImageFormatRGBA, ImageFormatG, ImageFormatCMYKA}) {
            for (const StorageKind kind : {StorageKind::plain, StorageKind::file}) {
                for (const NeighbourCase& filter : filters) {
                    const Size made = filter.resultSize(size);
                    ImagePair pair;
                    pair.source = kind == StorageKind::file ? MakeInFile(directory, size.width, size.height, format, 40)
                                                            : MakePlain(size.width, size.height, format);
                    FillWithNoise(pair.source, random);
                    pair.dest = random.Chance(50) ? MakeInFile(directory, made.width, made.height, format, 50)
                                                  : MakePlain(made.width, made.height, format);
                    CheckNeighbours(filter, pair);
                }
            }
        }
    }
}

// Rows of the destination that run into each other, or that have room for one pixel only.
TEST_F(RightAngle, KeepsTheOrderOfStoresInADestinationWithShortRows) {
    Random random(5);
    for (int round = 0; round < 300; ++round) {
        const int width = random.Between(1, 12), height = random.Between(1, 12);
        const std::vector<NeighbourCase> filters = {{"Rotate180", Rotate180, ModelOfHalfTurn, SameSize},
                                                    QuarterTurn("Rotate90slow", Rotate90, false, false),
                                                    QuarterTurn("Rotate270slow", Rotate270, true, false),
                                                    QuarterTurn("Rotate90", Rotate90fast, false, true),
                                                    QuarterTurn("Rotate270", Rotate270fast, true, true)};
        ImagePair pair;
        pair.source = MakeOnBlock(width, height, ImageFormatRGB, random.Between(1, 40));
        // With room behind the last row, or without: there the bytes beyond are dropped.
        const int room = random.Chance(60) ? 40 : 0;
        pair.dest = MakeOnBlock(height, width + room, random.Pick(RGBFormats()), random.Between(1, 30));
        pair.dest = ClipOf(std::move(pair.dest), 0, 0, height, width);
        FillWithNoise(pair.source, random);
        FillWithNoise(pair.dest, random);
        CheckNeighbours(random.Pick(filters), pair);
    }
}

TestImage Numbered(int width, int height, int format = ImageFormatG) {
    TestImage image = MakePlain(width, height, format);
    PaintPixels(image, [](int x, int y, int c) { return 100 * c + 10 * y + x + 1; });
    return image;
}

TestImage Kept(REALobject result) {
    EXPECT_NE(result, nullptr);
    return TestImage(result, "result");
}

std::vector<int> GrayRow(const TestImage& image, int y) {
    std::vector<int> row;
    for (int x = 0; x < image->Width; ++x) row.push_back(PixelAt(image, x, y)[0]);
    return row;
}

TEST_F(RightAngle, TurnsTheWayItsNameSays) {
    const TestImage image = Numbered(3, 2);  // 1 2 3 over 11 12 13
    const TestImage left = Kept(Rotate90(image.object(), nullptr));
    EXPECT_EQ(GrayRow(left, 0), (std::vector<int>{3, 13}));
    EXPECT_EQ(GrayRow(left, 2), (std::vector<int>{1, 11}));
    const TestImage right = Kept(Rotate270(image.object(), nullptr));
    EXPECT_EQ(GrayRow(right, 0), (std::vector<int>{11, 1}));
    EXPECT_EQ(GrayRow(right, 2), (std::vector<int>{13, 3}));
    const TestImage over = Kept(Rotate180(image.object(), nullptr));
    EXPECT_EQ(GrayRow(over, 0), (std::vector<int>{13, 12, 11}));
    EXPECT_EQ(GrayRow(over, 1), (std::vector<int>{3, 2, 1}));
}

TEST_F(RightAngle, Rotate180IntoANewImageTurnsTheMiddleRow) {
    const TestImage over = Kept(Rotate180(Numbered(3, 3).object(), nullptr));
    EXPECT_EQ(GrayRow(over, 1), (std::vector<int>{13, 12, 11}));
}

TEST_F(RightAngle, ANewImageHasTheSizesExchangedAndTheSameFormat) {
    for (const int format : AllFormats()) {
        for (REALobject (*const turn)(REALobject, REALobject) : {Rotate90, Rotate270, Rotate90fast, Rotate270fast}) {
            const TestImage turned = Kept(turn(MakePlain(7, 4, format).object(), nullptr));
            EXPECT_EQ(turned->Width, 4);
            EXPECT_EQ(turned->Height, 7);
            EXPECT_EQ(turned->ImageFormat, format);
        }
    }
}

TEST_F(RightAngle, BlockedAndPlainWalksGiveTheSameBytesForEveryWindow) {
    Random random(9);
    const TempDir directory;
    const TestImage source = MakePlain(37, 29, ImageFormatRGB);
    FillWithNoise(source, random);
    const Storage expected = SnapshotOf(Kept(Rotate90(source.object(), nullptr)));
    const Storage expectedBack = SnapshotOf(Kept(Rotate270(source.object(), nullptr)));
    for (int rows = 3; rows <= 29; ++rows) {
        TestImage mapped = MakeInFile(directory, 37, 29, ImageFormatRGB, rows);
        for (int y = 0; y < 29; ++y) {
            std::memcpy(mapped->GetRow(mapped.record(), y), source->GetRow(source.record(), y), 37 * 3);
        }
        EXPECT_TRUE(SameBytes(expected.bytes, SnapshotOf(Kept(Rotate90fast(mapped.object(), nullptr))).bytes)) << rows;
        EXPECT_TRUE(SameBytes(expectedBack.bytes, SnapshotOf(Kept(Rotate270fast(mapped.object(), nullptr))).bytes))
            << rows;
    }
}

TEST_F(RightAngle, Rotate90AfterRotate270GivesTheStartingPicture) {
    Random random(10);
    const TestImage source = MakePlain(21, 13, ImageFormatCMYKA);
    FillWithNoise(source, random);
    const TestImage turned = Kept(Rotate270fast(source.object(), nullptr));
    const TestImage back = Kept(Rotate90fast(turned.object(), nullptr));
    for (int y = 0; y < 13; ++y) {
        for (int x = 0; x < 21; ++x) ASSERT_EQ(PixelAt(back, x, y), PixelAt(source, x, y));
    }
}

TEST_F(RightAngle, ChannelsLandRightInADestinationOfAnotherByteOrder) {
    const TestImage source = Numbered(3, 2, ImageFormatRGBA);
    const TestImage dest = MakePlain(2, 3, ImageFormatBGRA);
    const TestImage result = Kept(Rotate90fast(source.object(), dest.object()));
    EXPECT_EQ(result.object(), dest.object());
    EXPECT_EQ(host.Locks(dest.object()), 2);
    EXPECT_EQ(PixelAt(dest, 0, 0), PixelAt(source, 2, 0));
    EXPECT_EQ(PixelAt(dest, 1, 2), PixelAt(source, 0, 1));
}

TEST_F(RightAngle, ASourceOfNoFamilyGivesAnEmptyImage) {
    Random random(11);
    const TestImage source = MakePlain(5, 4, ImageFormatScaling4);
    FillWithNoise(source, random);
    for (REALobject (*const turn)(REALobject, REALobject) : {Rotate90, Rotate180, Rotate270, Rotate90fast}) {
        const TestImage result = Kept(turn(source.object(), nullptr));
        for (const std::uint8_t byte : SnapshotOf(result).bytes) ASSERT_EQ(byte, 0);
    }
}

TEST_F(RightAngle, ImagesOfFewRowsTurnLikeAnyOther) {
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 2}, {2, 1}, {2, 2}, {1, 9}, {9, 1}, {2, 9}}) {
        const TestImage source = Numbered(width, height);
        const TestImage turned = Kept(Rotate90fast(source.object(), nullptr));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                EXPECT_EQ(PixelAt(turned, y, width - 1 - x), PixelAt(source, x, y)) << width << "x" << height;
            }
        }
    }
}

// --- windows of mapped images ---------------------------------------------------------------------------------------

int windowMoves = 0;

// The storage guard takes this for rows in memory, so the window is entered as such.
std::uint8_t* CountingRow(ImageClassData* record, int y) {
    const std::uint8_t* const window = record->Pixels;
    const int first = record->MappedFirstRow;
    std::uint8_t* const row = GetRowMapping(record, y);
    windowMoves += record->Pixels != window || record->MappedFirstRow != first;
    record->StorageBytes = record->WindowBytes;
    return row;
}

// Counts the moves of both images' windows during a turn, and those of a walk from pixel to pixel.
struct Moves {
    int ofTurn;
    int ofPixelWalk;
};
Moves CountMoves(const TestImage& source, const TestImage& dest, REALobject (*turn)(REALobject, REALobject)) {
    for (const TestImage* image : {&source, &dest}) {
        if ((*image)->IsMapping) (*image)->GetRow = CountingRow;
    }
    Moves moves{};
    windowMoves = 0;
    for (int y = 0; y < source->Height; ++y) {
        for (int x = 0; x < source->Width; ++x) {
            source->GetRow(source.record(), y);
            dest->GetRow(dest.record(), source->Width - 1 - x);
        }
    }
    moves.ofPixelWalk = windowMoves;
    windowMoves = 0;
    Kept(turn(source.object(), dest.object()));
    moves.ofTurn = windowMoves;
    for (const TestImage* image : {&source, &dest}) {
        if ((*image)->IsMapping) (*image)->GetRow = GetRowMapping;
    }
    return moves;
}

TEST_F(RightAngle, ATurnMovesTheWindowsOfMappedImagesFarLessThanOncePerPixel) {
    constexpr int kWidth = 300, kHeight = 200, kWindow = 32;
    Random random(12);
    const TempDir directory;
    const TestImage memory = MakePlain(kWidth, kHeight, ImageFormatRGB);
    FillWithNoise(memory, random);
    const TestImage source = MakeInFile(directory, kWidth, kHeight, ImageFormatRGB, kWindow);
    for (int y = 0; y < kHeight; ++y) {
        std::memcpy(source->GetRow(source.record(), y), memory->GetRow(memory.record(), y), kWidth * 3);
    }
    struct Turn {
        REALobject (*run)(REALobject, REALobject);
        REALobject (*plain)(REALobject, REALobject);
    };
    for (const Turn& turn : {Turn{Rotate90fast, Rotate90}, Turn{Rotate270fast, Rotate270}}) {
        const TestImage dest = MakeInFile(directory, kHeight, kWidth, ImageFormatRGB, kWindow);
        const Moves moves = CountMoves(source, dest, turn.run);
        EXPECT_GT(moves.ofPixelWalk, kWidth * kHeight / 10) << "the walk from pixel to pixel should move a lot";
        // Blocks of 30 x 30 pixels, each of which moves either window twice at most.
        EXPECT_LE(moves.ofTurn, 10 * 7 * 4);
        EXPECT_GT(moves.ofTurn, 0);
        const TestImage expected = Kept(turn.plain(memory.object(), nullptr));
        for (int y = 0; y < kWidth; ++y) {
            const std::uint8_t* const row = dest->GetRow(dest.record(), y);
            ASSERT_EQ(std::memcmp(row, expected->GetRow(expected.record(), y), kHeight * 3), 0) << "row " << y;
        }
    }
}

TEST_F(RightAngle, ATurnFromMemoryIntoAMappedImageKeepsToItsWindow) {
    const TempDir directory;
    const TestImage source = MakePlain(300, 200, ImageFormatRGB);
    const TestImage dest = MakeInFile(directory, 200, 300, ImageFormatRGB, 32);
    const Moves moves = CountMoves(source, dest, Rotate90fast);
    EXPECT_LE(moves.ofTurn, 10 * 7 * 2);
    EXPECT_GT(moves.ofTurn, 0);
}

}  // namespace
