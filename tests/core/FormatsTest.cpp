#include "core/Formats.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "host/HostCalls.h"
#include "host/Platform.h"
#include "support/Images.h"

using namespace zor;

namespace {

enum class Family { none, gray, rgb, cmyk };

struct FormatRow {
    int number;
    Family family;
    int pixelSize, channelCount;
    int channels[8];  // 0 behind the last
    int offsets[9];   // red, green, blue, gray, alpha, cyan, magenta, yellow, black; -1: not there
    const char* name;
};

// clang-format off
const FormatRow kFormats[] = {
    {1, Family::rgb, 3, 3, {0, 1, 2}, {0, 1, 2, -1, -1, -1, -1, -1, -1}, "RGB"},
    {2, Family::rgb, 4, 4, {0, 1, 2, 3}, {0, 1, 2, -1, 3, -1, -1, -1, -1}, "RBBA"},
    {3, Family::rgb, 4, 3, {0, 1, 2}, {0, 1, 2, -1, -1, -1, -1, -1, -1}, "RGBX"},
    {4, Family::rgb, 4, 4, {0, 1, 2, 3}, {1, 2, 3, -1, 0, -1, -1, -1, -1}, "ARGB"},
    {5, Family::rgb, 4, 3, {1, 2, 3}, {1, 2, 3, -1, -1, -1, -1, -1, -1}, "XRGB"},
    {6, Family::rgb, 3, 3, {0, 1, 2}, {2, 1, 0, -1, -1, -1, -1, -1, -1}, "BGR"},
    {7, Family::rgb, 4, 4, {0, 1, 2, 3}, {2, 1, 0, -1, 3, -1, -1, -1, -1}, "BGRA"},
    {8, Family::rgb, 4, 3, {0, 1, 2}, {2, 1, 0, -1, -1, -1, -1, -1, -1}, "BGRX"},
    {9, Family::rgb, 4, 4, {0, 1, 2, 3}, {3, 2, 1, -1, 0, -1, -1, -1, -1}, "ABGR"},
    {10, Family::rgb, 4, 3, {1, 2, 3}, {3, 2, 1, -1, -1, -1, -1, -1, -1}, "XBGR"},
    {11, Family::gray, 1, 1, {0}, {-1, -1, -1, 0, -1, -1, -1, -1, -1}, "G"},
    {12, Family::gray, 2, 2, {0, 1}, {-1, -1, -1, 0, 1, -1, -1, -1, -1}, "GA"},
    {13, Family::gray, 2, 2, {0, 1}, {-1, -1, -1, 1, 0, -1, -1, -1, -1}, "AG"},
    {15, Family::gray, 3, 1, {0}, {-1, -1, -1, 0, -1, -1, -1, -1, -1}, nullptr},
    {16, Family::gray, 3, 1, {1}, {-1, -1, -1, 1, -1, -1, -1, -1, -1}, nullptr},
    {17, Family::gray, 3, 1, {2}, {-1, -1, -1, 2, -1, -1, -1, -1, -1}, nullptr},
    {18, Family::gray, 4, 1, {0}, {-1, -1, -1, 0, -1, -1, -1, -1, -1}, nullptr},
    {19, Family::gray, 4, 1, {1}, {-1, -1, -1, 1, -1, -1, -1, -1, -1}, nullptr},
    {20, Family::gray, 4, 1, {2}, {-1, -1, -1, 2, -1, -1, -1, -1, -1}, nullptr},
    {21, Family::gray, 4, 1, {3}, {-1, -1, -1, 3, -1, -1, -1, -1, -1}, nullptr},
    {22, Family::none, 1, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, nullptr},
    {23, Family::cmyk, 4, 4, {0, 1, 2, 3}, {-1, -1, -1, -1, -1, 0, 1, 2, 3}, "CMYK"},
    {24, Family::cmyk, 5, 5, {0, 1, 2, 3, 4}, {-1, -1, -1, -1, 4, 0, 1, 2, 3}, "CMYKA"},
    {25, Family::cmyk, 5, 5, {0, 1, 2, 3, 4}, {-1, -1, -1, -1, 0, 1, 2, 3, 4}, "ACMYK"},
    {26, Family::cmyk, 5, 4, {0, 1, 2, 3}, {-1, -1, -1, -1, -1, 0, 1, 2, 3}, "CMYKX"},
    {27, Family::cmyk, 5, 4, {1, 2, 3, 4}, {-1, -1, -1, -1, -1, 1, 2, 3, 4}, "XCMYK"},
    {28, Family::cmyk, 4, 4, {0, 1, 2, 3}, {-1, -1, -1, -1, -1, 3, 2, 1, 0}, "KYMC"},
    {29, Family::cmyk, 5, 5, {0, 1, 2, 3, 4}, {-1, -1, -1, -1, 4, 3, 2, 1, 0}, "KYMCA"},
    {30, Family::cmyk, 5, 5, {0, 1, 2, 3, 4}, {-1, -1, -1, -1, 0, 4, 3, 2, 1}, "AKYMC"},
    {31, Family::cmyk, 5, 4, {0, 1, 2, 3}, {-1, -1, -1, -1, -1, 3, 2, 1, 0}, "KYMCX"},
    {32, Family::cmyk, 5, 4, {1, 2, 3, 4}, {-1, -1, -1, -1, -1, 4, 3, 2, 1}, "XKYMC"},
    {33, Family::none, 1, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {34, Family::none, 2, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {35, Family::none, 3, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {36, Family::none, 4, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {37, Family::none, 5, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {38, Family::none, 6, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {39, Family::none, 7, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
    {40, Family::none, 8, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, "Scaling"},
};
// clang-format on

class Formats : public EngineTest {};

class EachFormat : public EngineTest, public ::testing::WithParamInterface<FormatRow> {};

void ExpectLayout(const ImageClassData& record, const FormatRow& row) {
    EXPECT_EQ(record.PixelSize, row.pixelSize);
    EXPECT_EQ(record.ChannelCount, row.channelCount);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(record.ChannelOffsets[i], row.channels[i]) << "channel " << i;
    EXPECT_EQ(record.IsRGB, row.family == Family::rgb);
    EXPECT_EQ(record.IsGray, row.family == Family::gray);
    EXPECT_EQ(record.IsCMYK, row.family == Family::cmyk);
    const std::vector<ChannelOffset> found = ChannelsByName(&record);
    for (std::size_t i = 0; i < found.size(); ++i) EXPECT_EQ(found[i].offset, row.offsets[i]) << found[i].name;
}

TEST_P(EachFormat, HasTheLayoutOfItsRow) {
    ImageClassData record{};
    EXPECT_TRUE(InitImageClassData(&record, 7, 5, GetParam().number));
    EXPECT_EQ(record.Width, 7);
    EXPECT_EQ(record.Height, 5);
    EXPECT_EQ(record.ImageFormat, GetParam().number);
    EXPECT_EQ(record.RowSize, 0);
    ExpectLayout(record, GetParam());
}

TEST_P(EachFormat, ClearsWhatAnEarlierFormatLeft) {
    for (const int earlier : AllFormats()) {
        ImageClassData record{};
        InitImageClassData(&record, 1, 1, earlier);
        record.RowSize = 99;
        EXPECT_TRUE(InitImageClassData(&record, 1, 1, GetParam().number));
        ExpectLayout(record, GetParam());
        EXPECT_EQ(record.RowSize, 0);
        // Also the offsets of channels that are not there are 0.
        EXPECT_TRUE(record.HasRed || record.RedOffset == 0);
        EXPECT_TRUE(record.HasAlpha || record.AlphaOffset == 0);
        EXPECT_TRUE(record.HasGray || record.GrayOffset == 0);
        EXPECT_TRUE(record.HasBlack || record.BlackOffset == 0);
    }
}

TEST_P(EachFormat, HasItsName) {
    const TestImage image = MakePlain(2, 2, GetParam().number);
    const REALstring name = GetImageFormatString(image.object(), 0);
    if (!GetParam().name) {
        EXPECT_EQ(name, nullptr);
        return;
    }
    ASSERT_TRUE(name);
    EXPECT_EQ(host.Bytes(name), GetParam().name);
    EXPECT_EQ(host.Encoding(name), 0x600u);
    EXPECT_EQ(host.Locks(name), 1);
    REALUnlockString(name);
}

INSTANTIATE_TEST_SUITE_P(Formats, EachFormat, ::testing::ValuesIn(kFormats),
                         [](const auto& instance) { return "no" + std::to_string(instance.param.number); });

TEST_F(Formats, AreThirtyNine) {
    EXPECT_EQ(std::size(kFormats), 39u);
}

TEST_F(Formats, OfOtherNumbersAreRejectedButRemembered) {
    for (const int number : {0, 14, -1, 41, 42, 255, INT_MIN, INT_MAX}) {
        ImageClassData record{};
        InitImageClassData(&record, 9, 9, ImageFormatACMYK);
        EXPECT_FALSE(InitImageClassData(&record, 7, 5, number)) << number;
        EXPECT_EQ(record.ImageFormat, number);
        EXPECT_EQ(record.Width, 7);
        EXPECT_EQ(record.Height, 5);
        const FormatRow cleared = {number, Family::none, 0, 0, {}, {-1, -1, -1, -1, -1, -1, -1, -1, -1}, nullptr};
        ExpectLayout(record, cleared);
    }
}

TEST_F(Formats, AreNotTakenWithABadSize) {
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {1, -1}, {0, 0}, {INT_MIN, INT_MIN}}) {
        ImageClassData record{};
        std::memset(static_cast<void*>(&record), 1, sizeof record);
        const ImageClassData before = record;
        EXPECT_FALSE(InitImageClassData(&record, width, height, ImageFormatRGB));
        EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << "the record is untouched";
    }
    EXPECT_FALSE(InitImageClassData(nullptr, 1, 1, ImageFormatRGB));
}

TEST_F(Formats, ChangeNothingOfTheStorage) {
    ImageClassData record{};
    std::uint8_t pixel = 0;
    record.YieldTicks = 1;
    record.LastYieldTick = 2;
    record.Valid = true;
    record.Pixels = &pixel;
    record.RowOffset = 3;
    record.TotalSize = 4;
    record.MappingBlockSize = 5;
    record.MappedFirstRow = 6;
    record.MappedLastRow = 7;
    record.MappedRowCount = 8;
    record.FileHandle = 9;
    record.OwnsBuffer = record.OwnsFile = record.IsMapped = record.IsMapping = true;
    record.DebugPictureEnabled = 1;
    EXPECT_TRUE(InitImageClassData(&record, 7, 5, ImageFormatRGB));
    EXPECT_EQ(record.YieldTicks, 1);
    EXPECT_EQ(record.LastYieldTick, 2);
    EXPECT_TRUE(record.Valid);
    EXPECT_EQ(record.Pixels, &pixel);
    EXPECT_EQ(record.RowOffset, 3);
    EXPECT_EQ(record.TotalSize, 4);
    EXPECT_EQ(record.MappingBlockSize, 5);
    EXPECT_EQ(record.MappedFirstRow, 6);
    EXPECT_EQ(record.MappedLastRow, 7);
    EXPECT_EQ(record.MappedRowCount, 8);
    EXPECT_EQ(record.FileHandle, 9);
    EXPECT_TRUE(record.OwnsBuffer && record.OwnsFile && record.IsMapped && record.IsMapping);
    EXPECT_EQ(record.DebugPictureEnabled, 1);
}

TEST_F(Formats, WithoutAClassHaveNoNameButOne) {
    const REALobject image = host.NewImage();
    ImageClassData* const record = ImageDataOf(image);
    for (const int number : {-1, 14, 41, INT_MAX, INT_MIN}) {
        record->ImageFormat = number;
        EXPECT_EQ(GetImageFormatString(image, 0), nullptr) << number;
    }
    record->ImageFormat = 0;
    const REALstring unknown = GetImageFormatString(image, 0);
    EXPECT_EQ(host.Bytes(unknown), "Unknown");
    REALUnlockString(unknown);
    REALUnlockObject(image);
}

// --- sizes ----------------------------------------------------------------------------------------------------------

TEST_F(Formats, TellTheMemoryOfAnImage) {
    EXPECT_EQ(CalculateMemory(1, 1, 1), 64);
    EXPECT_EQ(CalculateMemory(100, 2, 11), 256);
    EXPECT_EQ(CalculateMemory(64, 1, 11), 64);
    EXPECT_EQ(CalculateMemory(65, 1, 11), 128);
    EXPECT_EQ(CalculateMemory(0, 1, 1), 0);
    EXPECT_EQ(CalculateMemory(1, 0, 1), 0);
    EXPECT_EQ(CalculateMemory(-5, 1, 1), 0);
    EXPECT_EQ(CalculateMemory(1, 1, 14), 0);
    EXPECT_EQ(CalculateMemory(1, 1, 0), 0);
    EXPECT_EQ(CalculateMemory(1, 1, 41), 0);
    EXPECT_EQ(CalculateMemory(64, 33554432, 11), 2147483648) << "no limit";
    EXPECT_EQ(CalculateMemory(1000000, 1000000, 2), 4000000000000);
}

TEST_F(Formats, TellTheMemoryAsTheRowSizeWraps) {
    // 536870912 pixels of four bytes are 2^31 bytes: the row size reads as negative.
    EXPECT_EQ(CalculateMemory(536870912, 1, 2), -2147483648LL);
    EXPECT_EQ(CalculateMemory(536870912, 3, 2), -3 * 2147483648LL);
    EXPECT_EQ(CalculateMemory(536870911, 1, 2), -2147483648LL) << "raising it to 64 wraps";
    EXPECT_EQ(CalculateMemory(1073741824, 7, 2), 0) << "2^32 bytes wrap to none";
    EXPECT_EQ(CalculateMemory(1073741825, 2, 2), 128);
    EXPECT_EQ(CalculateMemory(2147483647, 2147483647, 40), -64LL * 2147483647 + 64LL * 2147483647)
        << "8 * (2^31 - 1) wraps to 2^32 - 8, raised to 0";
}

TEST_F(Formats, TellMemoryLikeASlowModel) {
    Random random(21);
    for (int i = 0; i < 20000; ++i) {
        const int format = random.Format();
        const int width = random.Chance(50) ? random.Between(1, 5000) : random.Between(1, INT_MAX);
        const int height = random.Chance(50) ? random.Between(1, 5000) : random.Between(1, INT_MAX);
        ImageClassData layout{};
        ASSERT_TRUE(InitImageClassData(&layout, width, height, format));
        std::uint32_t row = static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(layout.PixelSize);
        while (row % 64 != 0) ++row;
        const std::int64_t expected = static_cast<std::int64_t>(static_cast<std::int32_t>(row)) * height;
        ASSERT_EQ(CalculateMemory(width, height, format), expected) << width << " " << height << " " << format;
    }
}

TEST_F(Formats, CanBeAllocatedBelowTwoGigabytes) {
    EXPECT_TRUE(CanAllocateImage(1, 1, 1));
    EXPECT_TRUE(CanAllocateImage(1000, 1000, 30));
    EXPECT_FALSE(CanAllocateImage(0, 1, 1));
    EXPECT_FALSE(CanAllocateImage(1, -1, 1));
    EXPECT_FALSE(CanAllocateImage(1, 1, 14));
    EXPECT_FALSE(CanAllocateImage(64, 33554432, 11)) << "exactly 2147483648 bytes";
    EXPECT_FALSE(CanAllocateImage(100000, 100000, 1));
    EXPECT_FALSE(CanAllocateImage(536870912, 1, 2)) << "a row size that wraps to a negative number";
    EXPECT_FALSE(CanAllocateImage(1073741824, 7, 2)) << "a row size that wraps to nothing";
    EXPECT_FALSE(CanAllocateImage(INT_MAX, INT_MAX, 40));
}

TEST_F(Formats, ReadThePageSizeOfTheMachine) {
    const int before = AllocationGranularity;
    AllocationGranularity = 1;
    const int pageSize = GetAllocationGranularity();
    EXPECT_EQ(AllocationGranularity, std::max(pageSize, 4096));
    AllocationGranularity = before;
}

// --- layout tests ---------------------------------------------------------------------------------------------------

TEST_F(Formats, WithOneByteAChannelHavePixelsOnBlock) {
    const std::vector<int> expected = {1, 2, 4, 6, 7, 9, 11, 12, 13};
    std::vector<int> found;
    for (const int format : AllFormats()) {
        ImageClassData record{};
        InitImageClassData(&record, 1, 1, format);
        if (HasPixelsOnBlock(&record)) found.push_back(format);
    }
    EXPECT_EQ(found, expected);
}

TEST_F(Formats, OfChannelViewsHaveNoPixelsOnBlock) {
    const TestImage red = ChannelOf(MakePlain(3, 3, ImageFormatRGBA), 0);
    EXPECT_FALSE(HasPixelsOnBlock(red.record()));
    const TestImage gray = ChannelOf(MakePlain(3, 3, ImageFormatG), 0);
    EXPECT_TRUE(HasPixelsOnBlock(gray.record()));
}

TEST_F(Formats, AreBlockCompatibleByTheTestsOfTheirChannels) {
    for (const int a : AllFormats()) {
        for (const int b : AllFormats()) {
            ImageClassData left{}, right{};
            InitImageClassData(&left, 1, 1, a);
            InitImageClassData(&right, 1, 1, b);
            bool expected = left.PixelSize == right.PixelSize;
            const std::vector<ChannelOffset> l = ChannelsByName(&left), r = ChannelsByName(&right);
            for (std::size_t i = 0; i < 5; ++i) {  // red, green, blue, gray, alpha
                expected = expected && (l[i].offset >= 0) == (r[i].offset >= 0);
                if (i != 3) expected = expected && l[i].offset == r[i].offset;
            }
            EXPECT_EQ(PictureBlockCompatible(&left, &right), expected) << a << " and " << b;
        }
    }
}

TEST_F(Formats, CompareOffsetsOfMissingColoursButNotOfAMissingAlpha) {
    ImageClassData a{}, b{};
    InitImageClassData(&a, 1, 1, ImageFormatG);
    InitImageClassData(&b, 1, 1, ImageFormatG);
    b.AlphaOffset = 3;
    EXPECT_TRUE(PictureBlockCompatible(&a, &b)) << "no alpha in either";
    b.RedOffset = 1;
    EXPECT_FALSE(PictureBlockCompatible(&a, &b));
    b.RedOffset = 0;
    b.GrayOffset = 7;
    EXPECT_TRUE(PictureBlockCompatible(&a, &b)) << "the gray byte is not compared";
    InitImageClassData(&a, 1, 1, ImageFormatGA);
    InitImageClassData(&b, 1, 1, ImageFormatAG);
    EXPECT_FALSE(PictureBlockCompatible(&a, &b));
}

TEST_F(Formats, KnowTheirLowestChannel) {
    for (const int format : AllFormats()) {
        ImageClassData record{};
        InitImageClassData(&record, 1, 1, format);
        int expected = -1;
        const std::vector<ChannelOffset> channels = ChannelsByName(&record);
        for (std::size_t i = 0; i < 5; ++i) {
            if (channels[i].offset >= 0 && (expected < 0 || channels[i].offset < expected)) {
                expected = channels[i].offset;
            }
        }
        EXPECT_EQ(GetMinOffset(&record), expected) << format;
    }
    ImageClassData xrgb{}, cmyk{};
    InitImageClassData(&xrgb, 1, 1, ImageFormatXRGB);
    EXPECT_EQ(GetMinOffset(&xrgb), 1);
    InitImageClassData(&cmyk, 1, 1, ImageFormatCMYK);
    EXPECT_EQ(GetMinOffset(&cmyk), -1) << "inks do not count";
    InitImageClassData(&cmyk, 1, 1, ImageFormatCMYKA);
    EXPECT_EQ(GetMinOffset(&cmyk), 4) << "alpha does";
}

TEST_F(Formats, KnowTheirLowestChannelAlsoLeftOfThePixel) {
    // A clip far beyond the right edge wraps its offsets; the lowest stays the lowest.
    ImageClassData record{};
    InitImageClassData(&record, 1, 1, ImageFormatRGB);
    record.RedOffset = -4;
    record.GreenOffset = -3;
    record.BlueOffset = -2;
    EXPECT_EQ(GetMinOffset(&record), -4);
}

}  // namespace
