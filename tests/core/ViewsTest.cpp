// Views: what each maker writes into the record of the view, for every kind of storage, and what the view then reads.

#include "core/Views.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/RowSpan.h"
#include "support/Images.h"

using namespace zor;

namespace {

class Views : public EngineTest {
protected:
    TempDir directory;
    Random random{11};

    TestImage Make(StorageKind kind, int width, int height, int format) {
        TestImage image = kind == StorageKind::plain   ? MakePlain(width, height, format)
                          : kind == StorageKind::block ? MakeOnBlock(width, height, format, width * 8 + 3)
                                                       : MakeInFile(directory, width, height, format, 6);
        FillWithNoise(image, random);
        // Fields that no view carries.
        image->YieldTicks = 5;
        image->LastYieldTick = 6;
        image->DebugPictureEnabled = 1;
        return image;
    }
};

using Maker = REALobject (*)(REALobject);

// The rows of the table of views that all makers but the copy share.
void ExpectShared(const TestImage& source, const TestImage& view) {
    EXPECT_EQ(view->PixelSize, source->PixelSize);
    EXPECT_EQ(view->RowSize, source->RowSize);
    EXPECT_EQ(view->TotalSize, source->TotalSize);
    EXPECT_EQ(view->Valid, source->Valid);
    EXPECT_EQ(view->Parent, source.object());
    EXPECT_EQ(view->Target, source->Target);
    EXPECT_FALSE(view->OwnsBuffer);
    EXPECT_FALSE(view->OwnsFile);
    EXPECT_EQ(view->YieldTicks, 0);
    EXPECT_EQ(view->LastYieldTick, 0);
    EXPECT_EQ(view->Factory, nullptr);
    EXPECT_EQ(view->DebugPictureEnabled, 0);
    EXPECT_EQ(view->RowPointers, nullptr);
    EXPECT_EQ(view->FileItem, nullptr);
    EXPECT_EQ(view->FilePath, nullptr);
    EXPECT_EQ(view->DataString, nullptr);
    EXPECT_EQ(view->IsMapping, source->IsMapping);
    if (source->IsMapping) {
        EXPECT_TRUE(view->IsMapped) << "a window of its own from the start";
        EXPECT_TRUE(view->Pixels);
        EXPECT_NE(view->Pixels, source->Pixels);
        EXPECT_EQ(view->FileHandle, source->FileHandle);
        EXPECT_EQ(view->MappedRowCount, source->MappedRowCount);
        EXPECT_EQ(view->MappingBlockSize, source->MappingBlockSize);
        EXPECT_EQ(view->MappingHandle, source->MappingHandle);
    } else {
        EXPECT_EQ(view->Pixels, source->Pixels);
        EXPECT_EQ(view->FileHandle, 0);
        EXPECT_EQ(view->MappedRowCount, 0);
        EXPECT_EQ(view->MappingBlockSize, 0);
    }
}

void ExpectNoChannels(const ImageClassData* record) {
    for (const ChannelOffset& channel : ChannelsByName(record)) EXPECT_EQ(channel.offset, -1) << channel.name;
}

struct ChannelMaker {
    const char* name;
    Maker maker;
    bool ImageClassData::*has;
    int ImageClassData::*offset;
};

const ChannelMaker kChannels[] = {
    {"alpha", AlphaChannel, &ImageClassData::HasAlpha, &ImageClassData::AlphaOffset},
    {"red", RedChannel, &ImageClassData::HasRed, &ImageClassData::RedOffset},
    {"green", GreenChannel, &ImageClassData::HasGreen, &ImageClassData::GreenOffset},
    {"blue", BlueChannel, &ImageClassData::HasBlue, &ImageClassData::BlueOffset},
    {"gray", GrayChannel, &ImageClassData::HasGray, &ImageClassData::GrayOffset},
    {"cyan", CyanChannel, &ImageClassData::HasCyan, &ImageClassData::CyanOffset},
    {"magenta", MagentaChannel, &ImageClassData::HasMagenta, &ImageClassData::MagentaOffset},
    {"yellow", YellowChannel, &ImageClassData::HasYellow, &ImageClassData::YellowOffset},
    {"black", BlackChannel, &ImageClassData::HasBlack, &ImageClassData::BlackOffset},
};

void ExpectChannelView(const TestImage& source, const TestImage& view, int offset) {
    ExpectShared(source, view);
    EXPECT_EQ(view->Width, source->Width);
    EXPECT_EQ(view->Height, source->Height);
    EXPECT_EQ(view->RowOffset, source->RowOffset);
    EXPECT_EQ(view->GetRow, source->GetRow);
    EXPECT_EQ(view->ImageFormat, 11);
    EXPECT_EQ(view->ChannelCount, 1);
    EXPECT_EQ(view->ChannelOffsets[0], offset);
    for (int i = 1; i < 8; ++i) EXPECT_EQ(view->ChannelOffsets[i], 0);
    EXPECT_TRUE(view->IsGray);
    EXPECT_FALSE(view->IsRGB || view->IsCMYK);
    for (const ChannelOffset& channel : ChannelsByName(view.record())) {
        EXPECT_EQ(channel.offset, std::strcmp(channel.name, "gray") == 0 ? offset : -1) << channel.name;
    }
    EXPECT_EQ(view->MemoryTarget, nullptr) << "not carried";
}

TEST_F(Views, OfOneChannelAreGrayAndStepThroughTheWiderPixel) {
    for (const StorageKind kind : kStorageKinds) {
        for (const int format : AllFormats()) {
            const TestImage source = Make(kind, 9, 8, format);
            SCOPED_TRACE(source.text);
            const Storage storage = SnapshotOf(source);
            for (const ChannelMaker& channel : kChannels) {
                const TestImage view(channel.maker(source.object()));
                EXPECT_EQ(static_cast<bool>(view), source.record()->*channel.has) << channel.name;
                if (!view) continue;
                ExpectChannelView(source, view, source.record()->*channel.offset);
                EXPECT_EQ(host.Locks(source.object()), 2);
                for (int y = 0; y < 8; ++y) {
                    const std::uint8_t* const row = view->GetRow(view.record(), y);
                    for (int x = 0; x < 9; ++x) {
                        ASSERT_EQ(row[x * view->PixelSize + view->GrayOffset],
                                  storage.At(PlaceOf(source, x, y) + source.record()->*channel.offset));
                    }
                }
            }
            EXPECT_EQ(host.Locks(source.object()), 1);
        }
    }
}

TEST_F(Views, OfTheRedChannelAreOfFormatG) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGBA);
    const TestImage view(RedChannel(source.object()));
    EXPECT_EQ(view->ImageFormat, 11);
    EXPECT_EQ(view->PixelSize, 4);
    EXPECT_EQ(view->GrayOffset, 0);
    const REALstring name = GetImageFormatString(view.object(), 0);
    EXPECT_EQ(host.Bytes(name), "G");
    REALUnlockString(name);
    const TestImage gray = MakePlain(4, 4, ImageFormatG);
    EXPECT_EQ(RedChannel(gray.object()), nullptr);
    const TestImage blue(BlueChannel(source.object()));
    const TestImage again(GrayChannel(blue.object()));
    EXPECT_EQ(again->GrayOffset, 2) << "the gray channel of a channel view is at the same place";
}

TEST_F(Views, ByIndexFollowThePixelOrder) {
    for (const int format : AllFormats()) {
        const TestImage source = Make(StorageKind::plain, 5, 6, format);
        for (int index = 0; index < source->ChannelCount; ++index) {
            const TestImage view(Channel(source.object(), index));
            ASSERT_TRUE(view);
            ExpectChannelView(source, view, source->ChannelOffsets[index]);
        }
        for (const int index : {-1, source->ChannelCount, source->ChannelCount + 5, INT_MIN, INT_MAX}) {
            EXPECT_EQ(Channel(source.object(), index), nullptr);
            const std::string text = "Parameter index to method Channel is too " +
                                     std::string(index < 0 ? "small" : "big") + ". Range is 0 to " +
                                     std::to_string(source->ChannelCount - 1) + ", but value is " +
                                     std::to_string(index) + ".";
            EXPECT_EQ(host.TakeException(), (FakeException{"OutOfBoundsException", text, true}));
        }
    }
    const TestImage xrgb = MakePlain(2, 2, ImageFormatXRGB);
    const TestImage first(Channel(xrgb.object(), 0));
    EXPECT_EQ(first->GrayOffset, 1);
}

TEST_F(Views, OfColoursHaveNoHasFlags) {
    for (const StorageKind kind : kStorageKinds) {
        for (const int format : AllFormats()) {
            const TestImage source = Make(kind, 9, 8, format);
            SCOPED_TRACE(source.text);
            const TestImage rgb(RGBChannel(source.object())), cmyk(CMYKChannel(source.object()));
            EXPECT_EQ(static_cast<bool>(rgb), source->IsRGB);
            EXPECT_EQ(static_cast<bool>(cmyk), source->IsCMYK);
            for (const TestImage* view : {&rgb, &cmyk}) {
                if (!*view) continue;
                ExpectShared(source, *view);
                ExpectNoChannels(view->record());
                EXPECT_EQ((*view)->Width, 9);
                EXPECT_EQ((*view)->Height, 8);
                EXPECT_EQ((*view)->GetRow, source->GetRow);
                EXPECT_EQ((*view)->RowOffset, 0);
                EXPECT_FALSE((*view)->IsGray);
                EXPECT_EQ((*view)->MemoryTarget, nullptr);
                EXPECT_EQ((*view)->AlphaOffset, 0);
                EXPECT_EQ(RedChannel(view->object()), nullptr);
            }
            if (rgb) {
                EXPECT_EQ(rgb->ImageFormat, format <= 5 ? 1 : 6);
                EXPECT_EQ(rgb->ChannelCount, 3);
                EXPECT_TRUE(rgb->IsRGB);
                EXPECT_FALSE(rgb->IsCMYK);
                const int r = source->RedOffset, g = source->GreenOffset, b = source->BlueOffset;
                EXPECT_EQ(rgb->RedOffset, r);
                EXPECT_EQ(rgb->GreenOffset, g);
                EXPECT_EQ(rgb->BlueOffset, b);
                const int expected[8] = {format <= 5 ? r : b, g, format <= 5 ? b : r};
                for (int i = 0; i < 8; ++i) EXPECT_EQ(rgb->ChannelOffsets[i], expected[i]);
            }
            if (cmyk) {
                EXPECT_EQ(cmyk->ImageFormat, format <= 27 ? 23 : 28);
                EXPECT_EQ(cmyk->ChannelCount, 4);
                EXPECT_TRUE(cmyk->IsCMYK);
                EXPECT_FALSE(cmyk->IsRGB);
                const int c = source->CyanOffset, m = source->MagentaOffset, y = source->YellowOffset,
                          k = source->BlackOffset;
                EXPECT_EQ(cmyk->CyanOffset, c);
                EXPECT_EQ(cmyk->MagentaOffset, m);
                EXPECT_EQ(cmyk->YellowOffset, y);
                EXPECT_EQ(cmyk->BlackOffset, k);
                const bool inOrder = format <= 27;
                const int expected[8] = {inOrder ? c : k, inOrder ? m : y, inOrder ? y : m, inOrder ? k : c};
                for (int i = 0; i < 8; ++i) EXPECT_EQ(cmyk->ChannelOffsets[i], expected[i]);
            }
        }
    }
}

TEST_F(Views, OfColoursOfAnyOtherFormatNumberAreNil) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGB);
    for (const int number : {0, 11, 23, 41, -1}) {
        source->ImageFormat = number;
        EXPECT_EQ(RGBChannel(source.object()), nullptr) << number;
    }
    const TestImage inks = MakePlain(4, 4, ImageFormatCMYK);
    for (const int number : {0, 1, 22, 33}) {
        inks->ImageFormat = number;
        EXPECT_EQ(CMYKChannel(inks.object()), nullptr) << number;
    }
    EXPECT_EQ(host.LiveObjects(), 2u) << "the new objects are given back";
}

TEST_F(Views, LockTheTargetOnceMore) {
    const REALobject picture = host.NewObject("Picture");
    const TestImage source = MakePlain(4, 8, ImageFormatRGB);
    source->Target = picture;  // the image's own lock is the test's
    {
        const TestImage views[] = {TestImage(RedChannel(source.object())), TestImage(RGBChannel(source.object())),
                                   TestImage(ClipImage1(source.object())), TestImage(GetMirroredView(source.object()))};
        EXPECT_EQ(host.Locks(picture), 5);
        EXPECT_EQ(host.Locks(source.object()), 5);
        const TestImage clone(Clone(source.object()));
        EXPECT_EQ(clone->Target, nullptr);
        EXPECT_EQ(host.Locks(picture), 5);
    }
    EXPECT_EQ(host.Locks(picture), 1);
    EXPECT_EQ(host.Locks(source.object()), 1);
}

TEST_F(Views, AreNilWithoutAnObject) {
    const TestImage rgb = MakePlain(4, 4, ImageFormatRGB), cmyk = MakePlain(4, 4, ImageFormatCMYK);
    const auto none = [&](Maker maker, const TestImage& source) {
        host.failNewInstance = 1;
        return maker(source.object()) == nullptr;
    };
    EXPECT_TRUE(none(RedChannel, rgb));
    EXPECT_TRUE(none(RGBChannel, rgb));
    EXPECT_TRUE(none(CMYKChannel, cmyk));
    EXPECT_TRUE(none(ClipImage1, rgb));
    EXPECT_TRUE(none(GetMirroredView, rgb));
    EXPECT_TRUE(none(Clone, rgb));
    host.failNewInstance = 1;
    EXPECT_EQ(Channel(rgb.object(), 0), nullptr);
    EXPECT_EQ(host.Locks(rgb.object()), 1);
}

// --- clips
// ------------------------------------------------------------------------------------------------------------

struct Span {
    std::int64_t start, extent;
};

// One direction of a clip, told step by step.
Span ClipModel(std::int64_t start, std::int64_t extent, std::int64_t whole) {
    if (extent < 0) {
        start = start + extent;
        extent = -extent;
    }
    if (start < 0) {
        extent = extent + start;
        start = 0;
    }
    if (start >= whole) return {start, 0};
    if (start + extent > whole) extent = whole - start;
    return {start, extent};
}

TEST_F(Views, OfARectangleFollowTheClipModel) {
    for (int round = 0; round < 4000; ++round) {
        const int extremes[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, 0, -1, 1};
        const auto number = [&] {
            return random.Chance(20) ? extremes[random.Between(0, 6)] : random.Between(-60, 60);
        };
        const TestImage source = MakePlain(random.Between(1, 40), random.Between(1, 40), random.Format());
        const int x = number(), y = number(), width = number(), height = number();
        const TestImage view(ClipImage5(source.object(), x, y, width, height));
        ASSERT_TRUE(view);
        SCOPED_TRACE(std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" +
                     std::to_string(height) + " of " + source.text);
        const Span across = ClipModel(x, width, source->Width), down = ClipModel(y, height, source->Height);
        EXPECT_EQ(view->Width, across.extent);
        EXPECT_EQ(view->Height, down.extent);
        EXPECT_EQ(view->RowOffset, down.start);
        const std::vector<ChannelOffset> from = ChannelsByName(source.record()), to = ChannelsByName(view.record());
        if (across.start < 1000000) {
            for (std::size_t i = 0; i < from.size(); ++i) {
                const std::int64_t shifted = from[i].offset + across.start * source->PixelSize;
                EXPECT_EQ(to[i].offset, from[i].offset < 0 ? -1 : shifted) << from[i].name;
            }
        }
        EXPECT_EQ(view->IsGray, source->IsGray);
        EXPECT_EQ(view->IsRGB, source->IsRGB);
        EXPECT_EQ(view->IsCMYK, source->IsCMYK);
        EXPECT_EQ(view->ImageFormat, source->ImageFormat);
        EXPECT_EQ(view->ChannelCount, source->ChannelCount);
        for (int i = 0; i < 8; ++i) EXPECT_EQ(view->ChannelOffsets[i], source->ChannelOffsets[i]);
        EXPECT_EQ(view->GetRow, source->GetRow);
        ExpectShared(source, view);
    }
}

TEST_F(Views, OfARectangleAreCutToTheImage) {
    const TestImage source = MakePlain(100, 50, ImageFormatRGB);
    struct Case {
        int x, y, width, height;
        int left, top, columns, rows;
    };
    for (const Case& c :
         {Case{10, 10, -5, -5, 5, 5, 5, 5}, Case{-3, 0, 10, 10, 0, 0, 7, 10}, Case{1000, 0, 10, 10, 1000, 0, 0, 10},
          Case{0, 50, 10, 10, 0, 50, 10, 0}, Case{95, 45, 10, 10, 95, 45, 5, 5}, Case{-20, 0, 10, 10, 0, 0, -10, 10},
          Case{0, 0, 100, 50, 0, 0, 100, 50}, Case{100, 0, 1, 1, 100, 0, 0, 1}}) {
        const TestImage view(ClipImage5(source.object(), c.x, c.y, c.width, c.height));
        SCOPED_TRACE(std::to_string(c.x) + "," + std::to_string(c.y));
        EXPECT_EQ(view->Width, c.columns);
        EXPECT_EQ(view->Height, c.rows);
        EXPECT_EQ(view->RowOffset, c.top);
        EXPECT_EQ(view->RedOffset, c.left * 3);
        EXPECT_TRUE(view->Valid);
    }
}

TEST_F(Views, OfARectangleShiftOffsetsButNotTheChannelList) {
    const TestImage source = MakePlain(100, 50, ImageFormatRGB);
    const TestImage view(ClipImage5(source.object(), 2, 0, 10, 10));
    EXPECT_EQ(view->RedOffset, 6);
    EXPECT_EQ(view->GreenOffset, 7);
    EXPECT_EQ(view->BlueOffset, 8);
    EXPECT_EQ(view->AlphaOffset, 0) << "a channel that is not there stays";
    EXPECT_EQ(view->ChannelOffsets[0], 0);
    EXPECT_EQ(view->ChannelOffsets[1], 1);
    EXPECT_EQ(view->ChannelOffsets[2], 2);
    const TestImage byIndex(Channel(view.object(), 0)), byName(RedChannel(view.object()));
    EXPECT_EQ(byIndex->GrayOffset, 0) << "reads from the source's left edge";
    EXPECT_EQ(byName->GrayOffset, 6);
    const REALobject memory = GetMemory(view.object(), 0);
    EXPECT_EQ(host.BlockData(memory), source->Pixels) << "the source's first pixel";
    REALUnlockObject(memory);
}

TEST_F(Views, OfARectangleShowItsPixels) {
    for (int round = 0; round < 300; ++round) {
        const TestImage image =
            RandomImage(random, directory, random.Between(1, 20), random.Between(5, 20), random.Format());
        SCOPED_TRACE(image.text);
        const Storage storage = SnapshotOf(image);
        const int x = random.Between(0, image->Width - 1), width = random.Between(1, image->Width - x);
        const TestImage clip(ClipImage5(image.object(), x, 0, width, image->Height));
        for (int y = 0; y < clip->Height; ++y) {
            const RowSpan row = GetRowSpan(clip.record(), y);
            ASSERT_TRUE(row);
            const std::vector<ChannelOffset> channels = ChannelsByName(clip.record());
            const std::vector<ChannelOffset> original = ChannelsByName(image.record());
            // A mirrored source is clipped in the storage's own order of rows.
            for (std::size_t c = 0; c < channels.size(); ++c) {
                if (channels[c].offset < 0) continue;
                for (int column = 0; column < width; ++column) {
                    ASSERT_EQ(row.Load(column * clip->PixelSize + channels[c].offset),
                              storage.At(PlaceOf(image, x + column, y) + original[c].offset));
                }
            }
        }
    }
}

TEST_F(Views, OfARectangleHoldTheMemoryBlockThemselves) {
    const REALobject block = host.NewBlock(1000);
    TestImage source(host.NewImage());
    ImageConstructorMemory(source.object(), block, 10, 10, ImageFormatRGB, 40);
    const TestImage clip(ClipImage1(source.object())), channel(RedChannel(source.object()));
    EXPECT_EQ(clip->MemoryTarget, block);
    EXPECT_EQ(host.Locks(block), 3) << "the test, the image, the clip";
    ImageDestructor(source.object());
    EXPECT_EQ(host.Locks(block), 2);
    EXPECT_TRUE(GetRowSpan(clip.record(), 9)) << "stays good";
    EXPECT_TRUE(GetRowSpan(channel.record(), 9)) << "as long as the application keeps the block";
    REALUnlockObject(block);
}

TEST_F(Views, OfAWholeImageAreTheCheapestSecondWindow) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage source = Make(kind, 9, 8, ImageFormatBGRA);
        const TestImage view(ClipImage1(source.object()));
        ExpectShared(source, view);
        EXPECT_EQ(view->Width, 9);
        EXPECT_EQ(view->Height, 8);
        EXPECT_EQ(view->RowOffset, 0);
        EXPECT_EQ(view->MemoryTarget, source->MemoryTarget);
    }
}

// --- mirrored views
// -----------------------------------------------------------------------------------------------------

TEST_F(Views, Mirrored) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage source = Make(kind, 9, 14, ImageFormatRGB);
        const TestImage mirrored(GetMirroredView(source.object()));
        const TestImage twice(GetMirroredView(mirrored.object()));
        ExpectShared(source, mirrored);
        EXPECT_EQ(mirrored->GetRow, MirroredTwin(source->GetRow));
        EXPECT_EQ(twice->GetRow, source->GetRow);
        EXPECT_EQ(mirrored->Parent, source.object());
        EXPECT_EQ(twice->Parent, mirrored.object());
        const Storage storage = SnapshotOf(source);
        for (int y = 0; y < 14; ++y) {
            const std::uint8_t* const down = mirrored->GetRow(mirrored.record(), y);
            const std::uint8_t* const up = twice->GetRow(twice.record(), y);
            for (int i = 0; i < 27; ++i) {
                ASSERT_EQ(down[i], storage.At((13 - y) * source->RowSize + i));
                ASSERT_EQ(up[i], storage.At(y * source->RowSize + i));
            }
        }
    }
}

TEST_F(Views, MirroredBeginWithAWindowOnTheLastRow) {
    const TestImage source = Make(StorageKind::file, 9, 30, ImageFormatRGB);
    const TestImage mirrored(GetMirroredView(source.object()));
    EXPECT_EQ(mirrored->MappedFirstRow, 24);
    EXPECT_EQ(mirrored->MappedLastRow, 29);
}

TEST_F(Views, OfAConsolePictureHaveNoRows) {
    std::uint8_t pixels[3][16]{};
    std::uint8_t* rows[3] = {pixels[0], pixels[1], pixels[2]};
    const TestImage picture(host.NewImage());
    InitImageClassData(picture.record(), 4, 3, ImageFormatXRGB);
    picture->RowPointers = rows;
    picture->TableRows = 3;
    picture->RowSize = 16;
    picture->TotalSize = 48;
    picture->StorageBytes = 16;
    picture->GetRow = GetRowGDImage;
    picture->Valid = true;
    EXPECT_TRUE(GetRowSpan(picture.record(), 2));
    const TestImage red(RedChannel(picture.object())), mirrored(GetMirroredView(picture.object())),
        clone(Clone(picture.object()));
    for (const TestImage* view : {&red, &mirrored, &clone}) {
        EXPECT_EQ((*view)->RowPointers, nullptr);
        for (int y = 0; y < 3; ++y) EXPECT_FALSE(GetRowSpan(view->record(), y));
    }
}

// --- copies
// -------------------------------------------------------------------------------------------------------------

TEST_F(Views, ThatAreClonesOwnACopyOfEveryByte) {
    for (const int format : AllFormats()) {
        const TestImage source = Make(StorageKind::plain, 7, 6, format);
        const TestImage clone(Clone(source.object()));
        ASSERT_TRUE(clone);
        EXPECT_EQ(clone->Width, 7);
        EXPECT_EQ(clone->Height, 6);
        EXPECT_EQ(clone->RowSize, source->RowSize);
        EXPECT_EQ(clone->PixelSize, source->PixelSize);
        EXPECT_EQ(clone->TotalSize, source->TotalSize);
        EXPECT_EQ(clone->ImageFormat, format);
        EXPECT_EQ(clone->ChannelCount, source->ChannelCount);
        for (int i = 0; i < 8; ++i) EXPECT_EQ(clone->ChannelOffsets[i], source->ChannelOffsets[i]);
        const std::vector<ChannelOffset> from = ChannelsByName(source.record()), to = ChannelsByName(clone.record());
        for (std::size_t i = 0; i < from.size(); ++i) EXPECT_EQ(to[i].offset, from[i].offset);
        EXPECT_EQ(clone->IsGray, source->IsGray);
        EXPECT_EQ(clone->IsRGB, source->IsRGB);
        EXPECT_EQ(clone->IsCMYK, source->IsCMYK);
        EXPECT_EQ(clone->GetRow, GetRowLinear);
        EXPECT_TRUE(clone->Valid);
        EXPECT_TRUE(clone->OwnsBuffer);
        EXPECT_EQ(clone->Parent, nullptr);
        EXPECT_EQ(clone->YieldTicks, 0);
        EXPECT_EQ(clone->DebugPictureEnabled, 0);
        EXPECT_NE(clone->Pixels, source->Pixels);
        EXPECT_TRUE(SameStorage(SnapshotOf(source), SnapshotOf(clone), clone));
        EXPECT_EQ(host.Locks(source.object()), 1);
    }
}

TEST_F(Views, ThatAreClonesAreNilForFilesAndInvalidImages) {
    const TestImage inFile = Make(StorageKind::file, 9, 14, ImageFormatRGB);
    EXPECT_EQ(Clone(inFile.object()), nullptr);
    const TestImage view(ClipImage1(inFile.object()));
    EXPECT_EQ(Clone(view.object()), nullptr);
    const TestImage empty(host.NewImage());
    EXPECT_EQ(Clone(empty.object()), nullptr);
    EXPECT_EQ(host.LiveObjects(), 4u) << "no object was asked for";
}

TEST_F(Views, ThatAreClonesOfAClipHoldTheFirstRowsOfTheStorage) {
    const TestImage source = Make(StorageKind::plain, 10, 20, ImageFormatRGB);
    const TestImage clip(ClipImage5(source.object(), 2, 6, 5, 8));
    const TestImage clone(Clone(clip.object()));
    EXPECT_EQ(clone->RowOffset, 6);
    EXPECT_EQ(clone->RedOffset, 6);
    EXPECT_EQ(clone->TotalSize, source->TotalSize);
    EXPECT_EQ(std::memcmp(clone->Pixels, source->Pixels, 8 * 64), 0);
    for (int y = 0; y < 8; ++y) {
        const RowSpan row = GetRowSpan(clone.record(), y);
        ASSERT_TRUE(row);
        for (int i = -64; i < 128; ++i) row.Store(i, 1);  // whatever lies outside is dropped
        EXPECT_EQ(row.Load(0), y + 6 < 8 ? 1 : 0) << "the copy ends before row " << y + 6;
    }
}

TEST_F(Views, ThatAreClonesOfEmptyClipsHaveNoBytes) {
    const TestImage source = Make(StorageKind::plain, 10, 20, ImageFormatRGB);
    const TestImage flat(ClipImage5(source.object(), 0, 20, 5, 8));
    const TestImage clone(Clone(flat.object()));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->Height, 0);
    EXPECT_FALSE(GetRowSpan(clone.record(), 0).Covers(0, 1));
    const TestImage above(ClipImage5(source.object(), 0, -20, 5, 8));
    EXPECT_EQ(above->Height, -12);
    EXPECT_EQ(Clone(above.object()), nullptr) << "a negative size";
    EXPECT_NE(host.WhatIsLeft(), "");
    leftoversAllowed = true;  // the object of the copy that was not made is not given back
}

TEST_F(Views, ThatAreClonesOfABlockStopWhereItsImageEnds) {
    const TestImage source = MakeOnBlock(10, 20, ImageFormatRGB, 31);
    FillWithNoise(source, random);
    const TestImage mirrored(GetMirroredView(source.object()));
    const TestImage clone(Clone(mirrored.object()));
    EXPECT_EQ(clone->GetRow, GetRowLinearMirrored);
    EXPECT_EQ(std::memcmp(clone->Pixels, source->Pixels, 20 * 31), 0);
}

// --- closed sources
// -----------------------------------------------------------------------------------------------------

TEST_F(Views, LoseTheirRowsWithTheirSource) {
    for (const StorageKind kind : {StorageKind::plain, StorageKind::file}) {
        const TestImage source = Make(kind, 9, 14, ImageFormatRGB);
        const TestImage red(RedChannel(source.object())), colours(RGBChannel(source.object())),
            clip(ClipImage1(source.object())), mirrored(GetMirroredView(clip.object())),
            channel(GrayChannel(red.object()));
        const TestImage* const views[] = {&red, &colours, &clip, &mirrored, &channel};
        for (const TestImage* view : views) EXPECT_TRUE(GetRowSpan(view->record(), 0));
        ImageDestructor(source.object());
        for (const TestImage* view : views) {
            for (int y = -1; y < 15; ++y) EXPECT_FALSE(GetRowSpan(view->record(), y));
            EXPECT_TRUE((*view)->Valid);
            const REALobject memory = GetMemory(view->object(), 0);
            EXPECT_EQ(memory, nullptr);
            SetMemBlockSize(view->object(), 0, 1);
            EXPECT_FALSE(GetRowSpan(view->record(), 0));
        }
    }
}

TEST_F(Views, KeepTheirRowsWhenAViewBetweenIsClosed) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage source = Make(kind, 9, 14, ImageFormatRGB);
        TestImage clip(ClipImage1(source.object()));
        const TestImage last(RedChannel(clip.object()));
        ImageDestructor(clip.object());
        EXPECT_FALSE(GetRowSpan(clip.record(), 0));
        for (int y = 0; y < 14; ++y) EXPECT_TRUE(GetRowSpan(last.record(), y));
        EXPECT_TRUE(GetRowSpan(source.record(), 0));
        clip = TestImage();
        EXPECT_TRUE(GetRowSpan(last.record(), 0));
        ImageDestructor(source.object());
        EXPECT_EQ(static_cast<bool>(GetRowSpan(last.record(), 0)), kind == StorageKind::block);
        // Here the block stays alive by nobody: the view is not used any more.
    }
}

TEST_F(Views, KeepTheirSourceAlive) {
    for (const StorageKind kind : kStorageKinds) {
        TestImage source = Make(kind, 9, 14, ImageFormatRGB);
        const REALobject object = source.object();
        const TestImage view(MirroredOf(std::move(source)));
        EXPECT_EQ(host.Locks(object), 1);
        for (int y = 0; y < 14; ++y) EXPECT_TRUE(GetRowSpan(view.record(), y).Covers(0, 27));
    }
}

TEST_F(Views, InAChainOfAnyLengthAreReleasedOnAStackOfAnySize) {
    for (const int length : {1, 63, 64, 65, 66, 130, 300000}) {
        TestImage last = Make(StorageKind::plain, 3, 2, ImageFormatRGB);
        const std::size_t before = host.LiveObjects();
        for (int i = 0; i < length; ++i) {
            REALobject view = ClipImage1(last.object());
            ASSERT_TRUE(view);
            last = TestImage(view);
        }
        EXPECT_EQ(host.LiveObjects(), before + static_cast<std::size_t>(length));
        last = TestImage();
        EXPECT_EQ(host.LiveObjects(), before - 1) << length;
    }
}

TEST_F(Views, OfOneSourceInALongChainLetGoOfItOnceEach) {
    TestImage last = Make(StorageKind::plain, 3, 2, ImageFormatRGB);
    for (int i = 0; i < 500; ++i) {
        const TestImage source = std::move(last);
        // The image that the application ends with its picture is a view of the same source.
        const REALobject sibling = ClipImage1(source.object());
        last = TestImage(ClipImage1(source.object()));
        host.SetPayload(last.object(), sibling);
    }
    host.pictures.destroyed = [&](REALobject object) {
        const REALobject sibling = static_cast<REALobject>(host.Payload(object));
        if (!sibling) return;
        host.SetPayload(object, nullptr);
        REALUnlockObject(sibling);
    };
    last = TestImage();
    host.pictures.destroyed = nullptr;
    EXPECT_EQ(host.LiveObjects(), 0U);
}

TEST_F(Views, OfAClosedImageHaveNoRows) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage source = Make(kind, 9, 14, ImageFormatRGB);
        ImageDestructor(source.object());
        const TestImage views[] = {TestImage(RedChannel(source.object())), TestImage(RGBChannel(source.object())),
                                   TestImage(ClipImage1(source.object())), TestImage(GetMirroredView(source.object())),
                                   TestImage(Channel(source.object(), 0))};
        for (const TestImage& view : views) {
            ASSERT_TRUE(view);
            EXPECT_EQ(view->GetRow, nullptr);
            EXPECT_TRUE(view->Valid);
            EXPECT_FALSE(GetRowSpan(view.record(), 0));
        }
        if (kind != StorageKind::file) {
            const TestImage clone(Clone(source.object()));
            EXPECT_FALSE(GetRowSpan(clone.record(), 0));
        }
    }
}

TEST_F(Views, OfAnImageBuiltAgainLoseTheOldRows) {
    const TestImage source = Make(StorageKind::plain, 9, 14, ImageFormatRGB);
    const TestImage old(ClipImage1(source.object()));
    ImageConstructor(source.object(), 9, 14, ImageFormatRGB);
    EXPECT_FALSE(GetRowSpan(old.record(), 0));
    const TestImage fresh(ClipImage1(source.object()));
    EXPECT_TRUE(GetRowSpan(fresh.record(), 0));
    EXPECT_TRUE(GetRowSpan(source.record(), 0));
}

}  // namespace
