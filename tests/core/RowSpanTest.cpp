// Rows with the bytes that may be touched, against a map of bytes that tells for each whether it may.

#include "core/RowSpan.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Storage.h"
#include "core/Views.h"
#include "support/Images.h"

using namespace zor;

namespace {

// A buffer of which the middle is the storage, and a row that begins anywhere in or beside it.
struct Window {
    std::vector<std::uint8_t> bytes;
    std::ptrdiff_t begin, end, origin;  // indices into bytes: the storage, and the row's column 0

    explicit Window(Random& random, int size = 120) {
        bytes.resize(static_cast<std::size_t>(size));
        for (std::uint8_t& byte : bytes) byte = random.Byte();
        begin = random.Between(0, size);
        end = random.Between(static_cast<int>(begin), size);
        origin = random.Between(0, size - 1);
    }
    RowSpan Row() { return {bytes.data() + origin, begin - origin, end - origin}; }
    bool MayTouch(std::ptrdiff_t at) const { return origin + at >= begin && origin + at < end; }
    std::uint8_t Load(std::ptrdiff_t at) const {
        return MayTouch(at) ? bytes[static_cast<std::size_t>(origin + at)] : std::uint8_t{0};
    }
    void Store(std::ptrdiff_t at, std::uint8_t value) {
        if (MayTouch(at)) bytes[static_cast<std::size_t>(origin + at)] = value;
    }
};

class Spans : public ::testing::Test {
protected:
    Random random{77};
};

TEST_F(Spans, TouchOnlyTheirStorage) {
    for (int round = 0; round < 300; ++round) {
        Window window(random);
        Window model = window;
        const RowSpan row = window.Row();
        for (int at = -250; at <= 250; ++at) {
            ASSERT_EQ(row.Contains(at), model.MayTouch(at));
            ASSERT_EQ(row.Load(at), model.Load(at));
        }
        for (int i = 0; i < 100; ++i) {
            const int at = random.Between(-250, 250);
            const std::uint8_t value = random.Byte();
            row.Store(at, value);
            model.Store(at, value);
        }
        ASSERT_EQ(window.bytes, model.bytes);
    }
}

TEST_F(Spans, CoverARunIfEveryByteOfItMayBeTouched) {
    for (int round = 0; round < 3000; ++round) {
        Window window(random, 30);
        const int first = random.Between(-40, 40), last = random.Between(-40, 40);
        bool expected = true;
        for (int at = first; at < last; ++at) expected = expected && window.MayTouch(at);
        ASSERT_EQ(window.Row().Covers(first, last), expected) << first << " to " << last;
    }
}

TEST_F(Spans, CutRunsToTheStorage) {
    for (int round = 0; round < 3000; ++round) {
        Window window(random, 40);
        const RowSpan row = window.Row();
        const int first = random.Between(-60, 60), last = random.Between(-60, 60);
        const ByteRun run = CutRun(row, first, last);
        std::vector<int> inside;
        for (int at = first; at < last; ++at) {
            if (window.MayTouch(at)) inside.push_back(at);
        }
        ASSERT_EQ(run.size, inside.size());
        if (!inside.empty()) {
            ASSERT_EQ(run.data, row.data + inside.front());
        }
    }
    EXPECT_EQ(CutRun(RowSpan{}, 0, 10).size, 0u);
}

// Copies as through a buffer of its own: the run is cut to the bytes that both sides have.
void CopyModel(Window& dst, std::ptrdiff_t to, const Window& src, std::ptrdiff_t from, std::ptrdiff_t count) {
    std::vector<std::uint8_t> buffer;
    for (std::ptrdiff_t i = 0; i < count; ++i) buffer.push_back(src.Load(from + i));
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (src.MayTouch(static_cast<int>(from + i))) dst.Store(to + i, buffer[static_cast<std::size_t>(i)]);
    }
}

TEST_F(Spans, LoadRunsWithZerosForWhatARowDoesNotHave) {
    for (int round = 0; round < 3000; ++round) {
        Window window(random, 40);
        const int from = random.Between(-60, 60), count = random.Between(0, 80);
        std::vector<std::uint8_t> buffer(static_cast<std::size_t>(count) + 1, 170), expected = buffer;
        LoadRun(window.Row(), from, count, buffer.data());
        for (int i = 0; i < count; ++i) expected[static_cast<std::size_t>(i)] = window.Load(from + i);
        ASSERT_EQ(buffer, expected) << count << " bytes from " << from;
    }
    std::vector<std::uint8_t> buffer(10, 170);
    LoadRun(RowSpan{}, 0, 10, buffer.data());
    EXPECT_EQ(buffer, std::vector<std::uint8_t>(10, 0));
}

TEST_F(Spans, CopyRunsLikeABuffer) {
    for (int round = 0; round < 5000; ++round) {
        Window src(random), dst(random);
        Window model = dst;
        const int to = random.Between(-80, 80), from = random.Between(-80, 80), count = random.Between(-5, 150);
        CopyRun(dst.Row(), to, src.Row(), from, count);
        CopyModel(model, to, src, from, count);
        ASSERT_EQ(dst.bytes, model.bytes) << from << " to " << to << ", " << count << " bytes";
    }
}

TEST_F(Spans, CopyOverlappingRunsLikeABuffer) {
    for (int round = 0; round < 5000; ++round) {
        Window window(random);
        Window model = window;
        RowSpan src = window.Row(), dst = window.Row();
        // Two rows over the same bytes, of which each may touch another part.
        Window before = window;
        const int lower = random.Between(0, 120), upper = random.Between(lower, 120);
        dst.begin = lower - window.origin;
        dst.end = upper - window.origin;
        model.begin = lower;
        model.end = upper;
        const int to = random.Between(-80, 80), from = random.Between(-80, 80), count = random.Between(0, 150);
        CopyRun(dst, to, src, from, count);
        CopyModel(model, to, before, from, count);
        ASSERT_EQ(window.bytes, model.bytes) << from << " to " << to << ", " << count << " bytes";
    }
}

TEST_F(Spans, WithoutARowCopyNothing) {
    Window window(random);
    const std::vector<std::uint8_t> before = window.bytes;
    CopyRun(RowSpan{}, 0, window.Row(), 0, 50);
    CopyRun(window.Row(), 0, RowSpan{}, 0, 50);
    EXPECT_EQ(window.bytes, before);
}

ChannelSet RandomChannels(Random& random) {
    ChannelSet set{};
    set.count = random.Between(1, 5);
    for (int c = 0; c < set.count; ++c) set.offset[c] = random.Between(-12, 20);  // some of them may meet
    return set;
}

TEST_F(Spans, GatherPixelsByteByByte) {
    for (int round = 0; round < 5000; ++round) {
        Window window(random);
        const ChannelSet set = RandomChannels(random);
        const int pixelSize = random.Between(0, 9), x = random.Between(-30, 30), width = random.Between(-2, 60);
        const std::size_t size = static_cast<std::size_t>(std::max(width, 0) * set.count);
        std::vector<std::uint8_t> packed(size + 8, 0xCD), expected(size + 8, 0xCD);
        GatherPixels(window.Row(), pixelSize, set, x, width, packed.data());
        for (int i = 0; i < width; ++i) {
            for (int c = 0; c < set.count; ++c) {
                expected[static_cast<std::size_t>(i * set.count + c)] =
                    window.Load(static_cast<std::ptrdiff_t>(x + i) * pixelSize + set.offset[c]);
            }
        }
        ASSERT_TRUE(SameBytes(expected, packed)) << "pixels of " << pixelSize << " from " << x << ", " << width;
    }
}

TEST_F(Spans, GatherZerosFromNoRow) {
    ChannelSet set{};
    set.count = 3;
    std::vector<std::uint8_t> packed(12, 9);
    GatherPixels(RowSpan{}, 3, set, 0, 3, packed.data());
    EXPECT_TRUE(SameBytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9}, packed));
    set.count = 0;
    packed.assign(12, 9);
    GatherPixels(RowSpan{}, 3, set, 0, 3, packed.data());
    EXPECT_TRUE(SameBytes(std::vector<std::uint8_t>(12, 9), packed)) << "no channels, no bytes";
}

TEST_F(Spans, ScatterPixelsInTheOrderOfPixelsAndChannels) {
    for (int round = 0; round < 5000; ++round) {
        Window window(random);
        Window model = window;
        const ChannelSet set = RandomChannels(random);
        const int pixelSize = random.Between(0, 9), x = random.Between(-30, 30), width = random.Between(-2, 60);
        std::vector<std::uint8_t> packed(static_cast<std::size_t>(std::max(width, 0) * set.count));
        for (std::uint8_t& byte : packed) byte = random.Byte();
        ScatterPixels(window.Row(), pixelSize, set, x, width, packed.data());
        for (int i = 0; i < width; ++i) {
            for (int c = 0; c < set.count; ++c) {
                model.Store(static_cast<std::ptrdiff_t>(x + i) * pixelSize + set.offset[c],
                            packed[static_cast<std::size_t>(i * set.count + c)]);
            }
        }
        ASSERT_TRUE(SameBytes(model.bytes, window.bytes)) << "pixels of " << pixelSize << " from " << x;
    }
    const std::uint8_t byte = 1;
    ScatterPixels(RowSpan{}, 1, RandomChannels(random), 0, 1, &byte);
}

// --- rows of images
// -----------------------------------------------------------------------------------------------------

class ImageRows : public EngineTest {
protected:
    TempDir directory;
    Random random{78};
};

TEST_F(ImageRows, WriteNothingPastTheStorage) {
    // Bytes far to all sides of every row: what lies in the storage is written, and nothing else is.
    for (int round = 0; round < 250; ++round) {
        const StorageKind kind = random.Pick(std::vector(std::begin(kStorageKinds), std::end(kStorageKinds)));
        if (kind == StorageKind::file) continue;  // a window shows only a part: below
        const TestImage image =
            RandomImage(random, directory, kind, random.Between(1, 12), random.Between(1, 12), random.Format());
        SCOPED_TRACE(image.text);
        Storage model = SnapshotOf(image);
        for (int i = 0; i < 200; ++i) {
            const int y = random.Between(-5, 20);
            const int at = random.Between(-300, 300);
            const RowSpan row = GetRowSpan(image.record(), y);
            ASSERT_TRUE(row);
            ASSERT_EQ(row.Load(at), model.At(PlaceOfRow(image, y) + at));
            const std::uint8_t value = random.Byte();
            row.Store(at, value);
            model.Put(PlaceOfRow(image, y) + at, value);
        }
        ASSERT_TRUE(SameStorage(model, SnapshotOf(image), image));
    }
}

TEST_F(ImageRows, OfAFileReachAsFarAsTheWindow) {
    for (int round = 0; round < 60; ++round) {
        const TestImage image = RandomImage(random, directory, StorageKind::file, random.Between(1, 12),
                                            random.Between(1, 20), random.Format());
        SCOPED_TRACE(image.text);
        Storage model = SnapshotOf(image);
        for (int i = 0; i < 100; ++i) {
            const int y = random.Between(0, image->Height - 1);
            const RowSpan row = GetRowSpan(image.record(), y);
            ASSERT_TRUE(row);
            const std::int64_t first = static_cast<std::int64_t>(image->MappedFirstRow) * image->RowSize;
            ASSERT_EQ(row.end - row.begin, image->MappingBlockSize);
            ASSERT_EQ(PlaceOfRow(image, y) + row.begin, first);
            const int at = random.Between(-9000, 9000);
            if (!row.Contains(at)) {
                ASSERT_EQ(row.Load(at), 0);
                continue;
            }
            ASSERT_EQ(row.Load(at), model.At(PlaceOfRow(image, y) + at));
            row.Store(at, 200);
            model.Put(PlaceOfRow(image, y) + at, 200);
        }
        ASSERT_TRUE(SameStorage(model, SnapshotOf(image), image));
    }
}

TEST_F(ImageRows, OfAWindowPastTheFileStopAtItsEnd) {
    // A block that is no multiple of the row size, at the last rows: its end lies behind the file's.
    const TestImage image = MakeInFile(directory, 8192, 40, ImageFormatG);
    ReleaseWindow(image.record());
    image->MappingBlockSize = 8192 * 5 + 3 * 4096;  // six rows and a half
    image->MappedRowCount = 5;
    const RowSpan row = GetRowSpan(image.record(), 39);
    ASSERT_TRUE(row);
    EXPECT_EQ(image->MappedFirstRow, 35);
    EXPECT_EQ(row.end, 8192 + 4096) << "the last row, and the page behind it";
    for (std::ptrdiff_t at = row.begin; at < row.end + 20000; at += 4096) row.Store(at, 1);
    EXPECT_EQ(row.Load(8192), 1);
    EXPECT_EQ(row.Load(8192 + 4096), 0);
}

TEST_F(ImageRows, OfFilesAreNilWhereNoWindowReaches) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    EXPECT_FALSE(GetRowSpan(image.record(), -1)) << "a window cannot begin there";
    const RowSpan below = GetRowSpan(image.record(), 20);
    ASSERT_TRUE(below) << "the window of the last rows";
    EXPECT_EQ(below.end, 0);
    EXPECT_EQ(below.begin, -6 * 4096);
    const RowSpan far = GetRowSpan(image.record(), 2000000000);
    EXPECT_FALSE(far.Covers(0, 1));
    EXPECT_EQ(far.Load(0), 0);
}

TEST_F(ImageRows, OfPicturesEndWithTheRow) {
    std::uint8_t pixels[2][32]{};
    std::uint8_t* rows[2] = {pixels[0] + 8, pixels[1] + 8};
    const TestImage picture(host.NewImage());
    picture->RowPointers = rows;
    picture->TableRows = 2;
    picture->Height = 2;
    picture->Width = 4;
    picture->StorageBytes = 16;
    picture->GetRow = GetRowGDImage;
    const RowSpan row = GetRowSpan(picture.record(), 1);
    EXPECT_EQ(row.data, pixels[1] + 8);
    EXPECT_EQ(row.begin, 0);
    EXPECT_EQ(row.end, 16);
    EXPECT_FALSE(GetRowSpan(picture.record(), 2));
    EXPECT_FALSE(GetRowSpan(picture.record(), -1));
}

TEST_F(ImageRows, OfAnObjectWithoutPixelsAreNil) {
    const TestImage empty(host.NewImage());
    EXPECT_FALSE(GetRowSpan(empty.record(), 0));
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    ImageDestructor(image.object());
    EXPECT_FALSE(GetRowSpan(image.record(), 0));
}

TEST_F(ImageRows, NameTheChannelsOfTheirFamilyWithAlphaLast) {
    for (const int format : AllFormats()) {
        const TestImage image = MakePlain(2, 2, format);
        for (const bool withAlpha : {false, true}) {
            std::vector<std::ptrdiff_t> expected;
            if (image->IsGray) expected.push_back(image->GrayOffset);
            if (image->IsRGB) {
                for (const int offset : {image->RedOffset, image->GreenOffset, image->BlueOffset}) {
                    expected.push_back(offset);
                }
            }
            if (image->IsCMYK) {
                for (const int offset :
                     {image->CyanOffset, image->MagentaOffset, image->YellowOffset, image->BlackOffset}) {
                    expected.push_back(offset);
                }
            }
            if (withAlpha && image->HasAlpha) expected.push_back(image->AlphaOffset);
            const ChannelSet set = ChannelsOf(image.record(), withAlpha);
            EXPECT_EQ(std::vector<std::ptrdiff_t>(set.offset, set.offset + set.count), expected) << format;
            if (set.count == 0) continue;
            EXPECT_EQ(set.lowest(), *std::min_element(expected.begin(), expected.end()));
            EXPECT_EQ(set.highest(), *std::max_element(expected.begin(), expected.end()));
        }
    }
}

// --- images that share bytes
// ---------------------------------------------------------------------------------------------

TEST_F(ImageRows, OfViewsOverlapTheirSource) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage source = MakeStorage(random, directory, kind, 6, 9, ImageFormatRGB);
        const TestImage other = MakeStorage(random, directory, kind, 6, 9, ImageFormatRGB);
        const TestImage red(RedChannel(source.object())), blue(BlueChannel(source.object())),
            mirrored(GetMirroredView(red.object()));
        EXPECT_TRUE(ImagesOverlap(source.record(), source.record()));
        EXPECT_TRUE(ImagesOverlap(source.record(), red.record()));
        EXPECT_TRUE(ImagesOverlap(red.record(), blue.record()));
        EXPECT_TRUE(ImagesOverlap(mirrored.record(), source.record()));
        EXPECT_FALSE(ImagesOverlap(source.record(), other.record()));
        EXPECT_FALSE(ImagesOverlap(other.record(), mirrored.record()));
    }
}

TEST_F(ImageRows, OfTwoImagesOnOneBlockOverlapWhereTheirBytesMeet) {
    const REALobject block = host.NewBlock(1000);
    const REALobject later = REALPtrToMemoryBlock(host.BlockData(block) + 500);
    const TestImage a(host.NewImage()), b(host.NewImage());
    ImageConstructorMemory(a.object(), block, 10, 10, ImageFormatG, 50);
    ImageConstructorMemory(b.object(), later, 10, 10, ImageFormatG, 50);
    EXPECT_FALSE(ImagesOverlap(a.record(), b.record()));
    ImageConstructorMemory(a.object(), block, 10, 10, ImageFormatG, 51);
    EXPECT_TRUE(ImagesOverlap(a.record(), b.record()));
    EXPECT_TRUE(ImagesOverlap(b.record(), a.record()));
    REALUnlockObject(later);
    REALUnlockObject(block);
}

TEST_F(ImageRows, OfPicturesOverlapByTheirTables) {
    std::uint8_t pixels[4][16]{};
    std::uint8_t* upper[2] = {pixels[0], pixels[1]};
    std::uint8_t* lower[2] = {pixels[2], pixels[3]};
    std::uint8_t* across[2] = {pixels[1], pixels[3]};
    TestImage pictures[3];
    std::uint8_t** const tables[3] = {upper, lower, across};
    for (int i = 0; i < 3; ++i) {
        pictures[i] = TestImage(host.NewImage());
        pictures[i]->RowPointers = tables[i];
        pictures[i]->TableRows = 2;
        pictures[i]->Height = 2;
        pictures[i]->StorageBytes = 16;
        pictures[i]->GetRow = GetRowGDImage;
    }
    EXPECT_FALSE(ImagesOverlap(pictures[0].record(), pictures[1].record()));
    EXPECT_TRUE(ImagesOverlap(pictures[0].record(), pictures[2].record()));
    EXPECT_TRUE(ImagesOverlap(pictures[1].record(), pictures[2].record()));
}

TEST_F(ImageRows, OfClosedImagesOverlapNothing) {
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    const TestImage view(ClipImage1(image.object()));
    const TestImage second(ClipImage1(image.object()));
    ImageDestructor(image.object());
    EXPECT_FALSE(ImagesOverlap(image.record(), view.record()));
    EXPECT_FALSE(ImagesOverlap(view.record(), second.record()));
}

// --- the life of a storage
// ------------------------------------------------------------------------------------------------

TEST_F(ImageRows, KnowTheFileTheyLiveIn) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG);
    const TestImage other = MakeInFile(directory, 10, 20, ImageFormatG);
    const TestImage plain = MakePlain(3, 3, ImageFormatRGB);
    EXPECT_TRUE(LivesInFile(image.record(), image->FilePath));
    EXPECT_FALSE(LivesInFile(image.record(), other->FilePath));
    EXPECT_FALSE(LivesInFile(plain.record(), image->FilePath));
    EXPECT_FALSE(LivesInFile(image.record(), directory.File("none").c_str()));
    const std::string link = directory.File("link");
    std::filesystem::create_hard_link(image->FilePath, link);
    EXPECT_TRUE(LivesInFile(image.record(), link.c_str()));
}

TEST_F(ImageRows, ShareOneMarkWithTheirViews) {
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    EXPECT_EQ(image->Mark, nullptr) << "nothing to share yet";
    {
        const TestImage view(ClipImage1(image.object()));
        const TestImage second(RedChannel(view.object()));
        ASSERT_TRUE(image->Mark);
        EXPECT_EQ(view->Mark, image->Mark);
        EXPECT_EQ(second->Mark, image->Mark);
        EXPECT_EQ(image->Mark->references, 3);
        EXPECT_FALSE(StorageIsGone(view.record()));
        MarkStorageGone(image.record());
        EXPECT_TRUE(StorageIsGone(second.record()));
    }
    EXPECT_EQ(image->Mark->references, 1);
}

}  // namespace
