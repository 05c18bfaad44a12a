#include <gtest/gtest.h>

#include "core/Construction.h"
#include "core/Formats.h"
#include "support/Images.h"

using namespace zor;

namespace {

class Support : public EngineTest {};

TEST_F(Support, MakesImagesOfEveryStorageAndFormatThatKeepTheirNoise) {
    Random random(1);
    const TempDir directory;
    for (const int format : AllFormats()) {
        for (const StorageKind kind : kStorageKinds) {
            const int width = random.Between(1, 20), height = random.Between(1, 12);
            const TestImage image = RandomImage(random, directory, kind, width, height, format);
            ASSERT_TRUE(image);
            SCOPED_TRACE(image.text);
            EXPECT_EQ(image->Width, width);
            EXPECT_EQ(image->Height, height);
            EXPECT_EQ(image->ImageFormat, format);
            const Storage storage = SnapshotOf(image);
            ASSERT_GT(storage.bytes.size(), 0u);
            for (int y = 0; y < height; ++y) {
                const std::uint8_t* const row = image->GetRow(image.record(), y);
                ASSERT_TRUE(row) << "row " << y;
                for (int i = 0; i < width * image->PixelSize; ++i) {
                    ASSERT_EQ(row[i], storage.At(PlaceOf(image, 0, y) + i)) << "row " << y << " byte " << i;
                }
            }
        }
    }
}

TEST_F(Support, TellsTheFirstDifference) {
    const TestImage image = MakePlain(2, 2, ImageFormatRGB);
    const Storage before = SnapshotOf(image);
    image->GetRow(image.record(), 1)[4] = 9;
    const ::testing::AssertionResult result = SameStorage(before, SnapshotOf(image), image);
    EXPECT_FALSE(result);
    EXPECT_NE(std::string(result.message()).find("1 of 128 bytes differ, the first at 68"), std::string::npos);
    EXPECT_NE(std::string(result.message()).find("storage row 1, byte 4, storage column 1 byte 1"), std::string::npos);
}

TEST_F(Support, NamesWhatIsLeft) {
    const REALobject image = host.NewImage();
    EXPECT_EQ(host.WhatIsLeft(), "PictureZOR no. 1 with 1 lock(s)\n");
    REALUnlockObject(image);
    EXPECT_EQ(host.WhatIsLeft(), "");
}

TEST_F(Support, RemovesItsDirectory) {
    std::filesystem::path path;
    {
        const TempDir directory;
        path = directory.path();
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
