// The six row accessors, the moving window and the size of its blocks.

#include "core/RowAccess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/Views.h"
#include "host/Platform.h"
#include "support/Images.h"

using namespace zor;

namespace {

class RowAccess : public EngineTest {
protected:
    TempDir directory;
};

// --- memory ---------------------------------------------------------------------------------------------------------

TEST_F(RowAccess, StepsByTheRowSize) {
    const TestImage image = MakePlain(10, 6, ImageFormatRGB);
    image->RowOffset = 2;
    for (int y = -2; y < 4; ++y) {
        EXPECT_EQ(GetRowLinear(image.record(), y), image->Pixels + (y + 2) * 64) << y;
    }
}

TEST_F(RowAccess, CountsFromTheLastRowWhenMirrored) {
    const TestImage image = MakePlain(10, 6, ImageFormatRGB);
    for (int y = 0; y < 6; ++y) EXPECT_EQ(GetRowLinearMirrored(image.record(), y), image->Pixels + (5 - y) * 64) << y;
    image->Height = 3;
    image->RowOffset = 2;
    for (int y = 0; y < 3; ++y) EXPECT_EQ(GetRowLinearMirrored(image.record(), y), image->Pixels + (4 - y) * 64) << y;
}

TEST_F(RowAccess, TellsAddressesOutsideTheImageToo) {
    const TestImage image = MakePlain(10, 6, ImageFormatRGB);
    const auto address = [](const std::uint8_t* row) { return reinterpret_cast<std::intptr_t>(row); };
    const std::intptr_t base = address(image->Pixels);
    for (const int y : {-1, 6, 1000, -1000, INT_MAX, INT_MIN}) {
        EXPECT_EQ(address(GetRowLinear(image.record(), y)), base + static_cast<std::intptr_t>(y) * 64) << y;
        EXPECT_EQ(address(GetRowLinearMirrored(image.record(), y)), base + (5 - static_cast<std::intptr_t>(y)) * 64);
    }
}

// --- rows of a host picture -----------------------------------------------------------------------------------------

TEST_F(RowAccess, TakesPictureRowsFromTheTable) {
    std::uint8_t pixels[4][8]{};
    std::uint8_t* rows[4] = {pixels[2], pixels[0], pixels[3], pixels[1]};
    ImageClassData record{};
    record.Height = 4;
    record.RowPointers = rows;
    record.TableRows = 4;
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(GetRowGDImage(&record, y), rows[y]);
        EXPECT_EQ(GetRowGDImageMirrored(&record, y), rows[3 - y]);
    }
    for (const int y : {-1, 4, INT_MIN, INT_MAX}) {
        EXPECT_EQ(GetRowGDImage(&record, y), nullptr) << y;
        EXPECT_EQ(GetRowGDImageMirrored(&record, y), nullptr) << y;
    }
    record.RowOffset = 1;
    EXPECT_EQ(GetRowGDImage(&record, 0), rows[1]);
    EXPECT_EQ(GetRowGDImage(&record, 3), nullptr);
    EXPECT_EQ(GetRowGDImage(&record, -1), rows[0]);
    EXPECT_EQ(GetRowGDImageMirrored(&record, 0), nullptr);
    EXPECT_EQ(GetRowGDImageMirrored(&record, 1), rows[3]);
    record.RowPointers = nullptr;
    EXPECT_EQ(GetRowGDImage(&record, 0), nullptr);
}

TEST_F(RowAccess, NeverReadsPastTheTableOfAPicture) {
    // A constructor that gave up may have stored a larger size on the record of a picture.
    std::uint8_t pixel[8]{};
    std::uint8_t* rows[2] = {pixel, pixel};
    ImageClassData record{};
    record.RowPointers = rows;
    record.TableRows = 2;
    record.Height = 1000000;
    EXPECT_EQ(GetRowGDImage(&record, 1), pixel);
    EXPECT_EQ(GetRowGDImage(&record, 2), nullptr);
    EXPECT_EQ(GetRowGDImage(&record, 999999), nullptr);
}

TEST_F(RowAccess, PairsEveryAccessorWithItsTwin) {
    const GetRowFunction plain[] = {GetRowLinear, GetRowMapping, GetRowGDImage};
    const GetRowFunction mirrored[] = {GetRowLinearMirrored, GetRowMappingMirrored, GetRowGDImageMirrored};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(MirroredTwin(plain[i]), mirrored[i]);
        EXPECT_EQ(MirroredTwin(mirrored[i]), plain[i]);
    }
    EXPECT_EQ(MirroredTwin(nullptr), nullptr);
}

// --- the window -----------------------------------------------------------------------------------------------------

// Which rows the window shows, told independently of addresses.
struct WindowModel {
    std::int64_t height, rowCount, rowSize;
    std::int64_t first = -1, last = -1;
    bool mapped = false;

    // Row r is asked for; true if the mapping succeeds.
    bool Ask(std::int64_t r) {
        if (mapped && r >= first && r <= last) return true;
        const std::int64_t start = r <= 1 ? r : r - 2;
        const std::int64_t limit = height - rowCount;
        const std::int64_t begin = start < limit ? start : limit;
        if (mapped) first = last = -1;
        mapped = begin >= 0;
        if (mapped) {
            first = begin;
            last = begin + rowCount - 1;
        }
        return mapped;
    }
};

void ExpectWindow(const ImageClassData* record, const WindowModel& model) {
    EXPECT_EQ(record->IsMapped, model.mapped);
    EXPECT_EQ(record->Pixels != nullptr, model.mapped);
    EXPECT_EQ(record->MappedFirstRow, model.first);
    EXPECT_EQ(record->MappedLastRow, model.last);
}

TEST_F(RowAccess, MovesTheWindowAsTheModelDoes) {
    Random random(7);
    for (int round = 0; round < 60; ++round) {
        const int height = random.Between(1, 40);
        const int rows = random.Between(std::min(height, 3), height);
        const TestImage image = MakeInFile(directory, random.Between(1, 3000), height, ImageFormatRGB, rows);
        ASSERT_TRUE(image);
        SCOPED_TRACE(image.text);
        Storage marks = SnapshotOf(image);
        for (int y = 0; y < height; ++y)
            marks.Put(static_cast<std::int64_t>(y) * image->RowSize, static_cast<std::uint8_t>(y + 1));
        SetStorage(image, marks);
        WindowModel model{height, rows, image->RowSize};
        ASSERT_TRUE(model.Ask(0));
        ExpectWindow(image.record(), model);
        const bool mirrored = random.Chance(30);
        for (int step = 0; step < 60; ++step) {
            const int y = random.Between(0, height - 1);
            const int r = mirrored ? height - 1 - y : y;
            const std::uint8_t* const row =
                mirrored ? GetRowMappingMirrored(image.record(), y) : GetRowMapping(image.record(), y);
            ASSERT_TRUE(model.Ask(r));
            ExpectWindow(image.record(), model);
            ASSERT_EQ(row, image->Pixels + (r - model.first) * image->RowSize);
            if (r <= model.last) {
                ASSERT_EQ(row[0], r + 1) << "row " << r;
            }
        }
    }
}

TEST_F(RowAccess, AsksForRowsOutsideTheImageAsTheModelDoes) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    ASSERT_TRUE(image);
    WindowModel model{20, 6, image->RowSize};
    model.Ask(0);
    for (const int y : {5, -1, 7, 30, -2, 25, 19, INT_MAX, 3, INT_MIN, 0}) {
        const std::uint8_t* const row = GetRowMapping(image.record(), y);
        EXPECT_EQ(row != nullptr, model.Ask(y)) << y;
        ExpectWindow(image.record(), model);
    }
}

TEST_F(RowAccess, StartsAFreshWindowByTheRowAskedFor) {
    struct Case {
        int row, first;
    };
    for (const Case& each : {Case{0, 0}, Case{1, 1}, Case{2, 0}, Case{3, 1}, Case{9, 7}, Case{14, 12}, Case{15, 13},
                             Case{16, 14}, Case{17, 14}, Case{19, 14}}) {
        const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
        ReleaseWindow(image.record());
        EXPECT_EQ(image->MappedFirstRow, -1);
        EXPECT_EQ(image->MappedLastRow, -1);
        EXPECT_TRUE(GetRowMapping(image.record(), each.row));
        EXPECT_EQ(image->MappedFirstRow, each.first) << "row " << each.row;
        EXPECT_EQ(image->MappedLastRow, each.first + 5) << "row " << each.row;
    }
}

TEST_F(RowAccess, KeepsTheWindowForEveryRowInIt) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    GetRowMapping(image.record(), 9);
    const std::uint8_t* const base = image->Pixels;
    for (int y = 7; y <= 12; ++y) {
        EXPECT_EQ(GetRowMapping(image.record(), y), base + (y - 7) * 4096);
        EXPECT_EQ(image->MappedFirstRow, 7);
    }
}

TEST_F(RowAccess, WritesThroughTheWindowIntoTheFile) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    for (int y = 0; y < 20; ++y) GetRowMapping(image.record(), y)[3] = static_cast<std::uint8_t>(100 + y);
    const Storage storage = SnapshotOf(image);
    for (int y = 0; y < 20; ++y) EXPECT_EQ(storage.At(y * 4096 + 3), 100 + y);
}

TEST_F(RowAccess, TriesAgainAfterAFailedMapping) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    const int descriptor = image->FileHandle;
    image->FileHandle = -1;
    EXPECT_TRUE(GetRowMapping(image.record(), 3)) << "inside the window";
    EXPECT_EQ(GetRowMapping(image.record(), 12), nullptr);
    EXPECT_FALSE(image->IsMapped);
    EXPECT_EQ(image->Pixels, nullptr);
    EXPECT_EQ(image->MappedFirstRow, -1);
    EXPECT_EQ(image->MappedLastRow, -1);
    EXPECT_EQ(GetRowMapping(image.record(), 12), nullptr);
    image->FileHandle = descriptor;
    EXPECT_TRUE(GetRowMapping(image.record(), 12));
    EXPECT_EQ(image->MappedFirstRow, 10);
}

TEST_F(RowAccess, HasNoRowsWhereTheWindowIsHigherThanTheImage) {
    const TestImage image = MakeInFile(directory, 10, 20, ImageFormatG, 6);
    const TestImage clip(ClipImage5(image.object(), 0, 0, 10, 5));
    ASSERT_TRUE(clip);
    EXPECT_EQ(clip->Pixels, nullptr) << "the limit is -1";
    for (int y = 0; y < 5; ++y) EXPECT_EQ(clip->GetRow(clip.record(), y), nullptr);
}

TEST_F(RowAccess, ClampsTheWindowOfAClipByItsOwnHeight) {
    // Height 10, window 6: no window begins below row 4 of the storage, wherever the clip lies.
    const TestImage image = MakeInFile(directory, 10, 30, ImageFormatG, 6);
    const TestImage clip(ClipImage5(image.object(), 0, 15, 10, 10));
    ASSERT_TRUE(clip);
    WindowModel model{10, 6, clip->RowSize};
    model.Ask(15);
    for (int y = 0; y < 10; ++y) {
        clip->GetRow(clip.record(), y);
        model.Ask(15 + y);
        ExpectWindow(clip.record(), model);
        EXPECT_EQ(clip->MappedFirstRow, 4);
    }
}

TEST_F(RowAccess, MovesTheWindowsOfAnImageAndItsViewsIndependently) {
    const TestImage image = MakeInFile(directory, 10, 40, ImageFormatG, 6);
    const TestImage view(ClipImage1(image.object()));
    EXPECT_NE(view->Pixels, image->Pixels);
    GetRowMapping(image.record(), 30)[1] = 77;
    EXPECT_EQ(view->MappedFirstRow, 0);
    EXPECT_EQ(GetRowMapping(view.record(), 30)[1], 77) << "they see each other's writes";
    GetRowMapping(view.record(), 10);
    EXPECT_EQ(image->MappedFirstRow, 28);
    EXPECT_EQ(view->MappedFirstRow, 8);
}

// --- the size of a block --------------------------------------------------------------------------------------------

struct Block {
    std::int64_t size, rows;
};

Block BlockModel(std::int64_t value, std::int64_t g, std::int64_t totalSize, std::int64_t rowSize) {
    std::int64_t block = value / g;
    if (block < g) block = g;
    block *= g;
    if (block > totalSize) block = static_cast<std::int32_t>(totalSize);
    if (block < 5 * rowSize) block = 5 * rowSize;
    while (block % g != 0) ++block;
    return {block, block / rowSize};
}

TEST_F(RowAccess, SizesBlocksLikeTheModel) {
    Random random(5);
    for (int i = 0; i < 3000; ++i) {
        ImageClassData record{};
        record.RowSize = random.Chance(50) ? random.Between(1, 300) * 4096 : random.Between(-3000, 3000);
        if (record.RowSize == 0) continue;
        record.TotalSize = static_cast<std::int64_t>(record.RowSize) * random.Between(1, 60000);
        const int value = random.Chance(30) ? random.Between(INT_MIN, INT_MAX) : random.Between(0, 200000000);
        const Block expected = BlockModel(value, AllocationGranularity, record.TotalSize, record.RowSize);
        ApplyBlockSizeRule(&record, value);
        ASSERT_EQ(record.MappingBlockSize, expected.size) << value << " rows of " << record.RowSize;
        ASSERT_EQ(record.MappedRowCount, expected.rows) << value << " rows of " << record.RowSize;
    }
}

TEST_F(RowAccess, NeverLetsABlockWrap) {
    for (const int rowSize : {429496832, 858993664, 1073741824, 2147479552}) {
        ImageClassData record{};
        record.RowSize = rowSize;
        record.TotalSize = static_cast<std::int64_t>(rowSize) * 10;
        ApplyBlockSizeRule(&record, INT_MAX);
        EXPECT_GT(record.MappingBlockSize, 0);
        EXPECT_EQ(record.MappingBlockSize % AllocationGranularity, 0);
        EXPECT_EQ(record.MappedRowCount, record.MappingBlockSize / rowSize);
    }
}

TEST_F(RowAccess, HasNoBlockBelowTheGranularitySquared) {
    const TestImage image = MakeInFile(directory, 4096, 5000, ImageFormatG);
    for (const int value : {1, 0, -1, INT_MIN, 4096, 16777216, 16777217}) {
        SetMemBlockSize(image.object(), 0, value);
        EXPECT_EQ(image->MappingBlockSize, 16777216) << value;
        EXPECT_EQ(image->MappedRowCount, 4096) << value;
    }
    SetMemBlockSize(image.object(), 0, 16777216 + 4096);
    EXPECT_EQ(image->MappingBlockSize, 16777216 + 4096);
    SetMemBlockSize(image.object(), 0, INT_MAX);
    EXPECT_EQ(image->MappingBlockSize, 5000 * 4096) << "no more than the image";
}

TEST_F(RowAccess, HasAWindowAtRowZeroOnceTheBlockSizeIsSet) {
    const TestImage image = MakeInFile(directory, 4096, 5000, ImageFormatG);
    GetRowMapping(image.record(), 4900);
    EXPECT_EQ(image->MappedFirstRow, 904);
    SetMemBlockSize(image.object(), 0, 18000000);
    EXPECT_EQ(image->MappedFirstRow, 0);
    EXPECT_EQ(image->MappedRowCount, 18000000 / 4096);
    EXPECT_EQ(image->MappedLastRow, image->MappedRowCount - 1);
    EXPECT_TRUE(image->IsMapped);
}

TEST_F(RowAccess, ChangesTheBlockOfAViewAlone) {
    const TestImage image = MakeInFile(directory, 4096, 5000, ImageFormatG);
    const TestImage view(ClipImage1(image.object()));
    SetMemBlockSize(view.object(), 0, INT_MAX);
    EXPECT_EQ(view->MappingBlockSize, 5000 * 4096);
    EXPECT_EQ(image->MappingBlockSize, 16777216);
    EXPECT_EQ(image->MappedRowCount, 4096);
}

TEST_F(RowAccess, ChangesTwoFieldsOfAnImageWithoutAFile) {
    const TestImage image = MakePlain(100, 20, ImageFormatRGB);
    const std::uint8_t* const pixels = image->Pixels;
    SetMemBlockSize(image.object(), 0, 1);
    EXPECT_EQ(image->MappingBlockSize, 8192) << "6400 bytes raised to the granularity";
    EXPECT_EQ(image->MappedRowCount, 8192 / 320);
    EXPECT_EQ(image->Pixels, pixels);
    EXPECT_FALSE(image->IsMapped);
    EXPECT_FALSE(image->IsMapping);
}

TEST_F(RowAccess, IgnoresABlockSizeOnAnImageWithoutRows) {
    const REALobject empty = host.NewImage();
    SetMemBlockSize(empty, 0, 1);
    EXPECT_EQ(ImageDataOf(empty)->MappingBlockSize, 0);
    ImageConstructor(empty, 3, 3, ImageFormatRGB);
    ImageDestructor(empty);
    SetMemBlockSize(empty, 0, 1);
    EXPECT_EQ(ImageDataOf(empty)->MappingBlockSize, 0);
    REALUnlockObject(empty);
    const TestImage rowless = MakeOnBlock(3, 3, ImageFormatRGB, 0);
    SetMemBlockSize(rowless.object(), 0, 1);
    EXPECT_EQ(rowless->MappingBlockSize, 0);
}

}  // namespace
