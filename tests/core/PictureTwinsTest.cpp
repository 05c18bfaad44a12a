// Images inside host pictures come out of every operation as plain images of the same bytes do.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/PictureImages.h"
#include "core/Storage.h"
#include "exchange/CopyPixels.h"
#include "exchange/RowConversion.h"
#include "filters/BoxBlur.h"
#include "filters/GammaFilter.h"
#include "filters/Mirror.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"
#include "support/FakePictures.h"
#include "support/Images.h"

using namespace zor;

namespace {

class PictureTwins : public EngineTest {
protected:
    FakePictures pictures{host, World::none};
};

// A plain image of the same bytes: its format has the channels where the picture has them.
TestImage TwinOf(const TestImage& image) {
    const int format =
        image->RedOffset == 2 ? (image->HasAlpha ? ImageFormatBGRA : ImageFormatBGRX) : image->ImageFormat;
    TestImage twin = MakePlain(image->Width, image->Height, format);
    for (int y = 0; y < image->Height; ++y) {
        std::copy_n(image->GetRow(image.record(), y), image->Width * image->PixelSize, twin->GetRow(twin.record(), y));
    }
    return twin;
}

void ExpectSameRows(const TestImage& expected, const TestImage& actual) {
    const std::ptrdiff_t bytes = expected->Width * expected->PixelSize;
    for (int y = 0; y < expected->Height; ++y) {
        const std::uint8_t* const e = expected->GetRow(expected.record(), y);
        const std::uint8_t* const a = actual->GetRow(actual.record(), y);
        EXPECT_TRUE(SameBytes({e, e + bytes}, {a, a + bytes})) << "row " << y;
    }
}

struct Operation {
    const char* name;
    std::function<void(REALobject image, REALobject other, Random& random)> apply;
};

const Operation kOperations[] = {
    {"Invert", [](REALobject i, REALobject, Random& r) { Invert5(i, r.Between(-3, 9), r.Between(-3, 9), 6, 5); }},
    {"ClearRect", [](REALobject i, REALobject, Random& r) { ClearRect5(i, r.Between(-3, 9), r.Between(-3, 9), 6, 5); }},
    {"FillRect", [](REALobject i, REALobject, Random& r) { FillRect5(i, r.Between(-3, 9), 1, 6, 5, r.Byte()); }},
    {"FillRectRGB", [](REALobject i, REALobject, Random& r) { FillRectRGB5(i, r.Between(-3, 9), 1, 6, 5, 1, 2, 3); }},
    {"FillRectRGBA",
     [](REALobject i, REALobject, Random& r) { FillRectRGBA5(i, r.Between(-3, 9), 1, 6, 5, 1, 2, 3, 4); }},
    {"FillRectApply", [](REALobject i, REALobject,
                         Random& r) { FillRectApplyRGBA5(i, r.Between(-3, 9), 1, 6, 5, 200, 100, 50, r.Byte()); }},
    {"CopyPixels to", [](REALobject i, REALobject other, Random&) { EXPECT_TRUE(rbCopyPixels2(i, other)); }},
    {"CopyPixels within",
     [](REALobject i, REALobject, Random& r) {
         const int shift = r.Between(0, 2);
         EXPECT_TRUE(rbCopyPixels8(i, i, 0, shift, 3, 3, 1, 0));
     }},
    {"HMirror", [](REALobject i, REALobject, Random&) { HMirrorSelf(i); }},
    {"VMirror", [](REALobject i, REALobject, Random&) { VMirrorSelf(i); }},
    {"BoxBlurFilter",
     [](REALobject i, REALobject, Random& r) {
         const REALobject result = BoxBlurFilter(i, i, r.Between(1, 3), true, true);
         if (result) REALUnlockObject(result);
     }},
    {"GammaFilter",
     [](REALobject i, REALobject, Random&) {
         const REALobject result = GammaFilterRGB(i, i, 0.5, 1.5, 2);
         if (result) REALUnlockObject(result);
     }},
    {"ScaleFast",
     [](REALobject i, REALobject other, Random&) {
         const ImageClassData* const record = ImageDataOf(i);
         EXPECT_TRUE(ScalePictureFast(i, other, record->Width, record->Height));
     }},
    {"Scale",
     [](REALobject i, REALobject other, Random& r) {
         const ImageClassData* const record = ImageDataOf(i);
         EXPECT_TRUE(PictureScaleZOR(i, other, nullptr, r.Between(1, 7), record->Width, record->Height));
     }},
    {"ScaleMT",
     [](REALobject i, REALobject other, Random& r) {
         const ImageClassData* const record = ImageDataOf(i);
         EXPECT_TRUE(PictureScaleZORMT(i, 2, other, nullptr, r.Between(1, 7), record->Width, record->Height));
     }},
};

TEST_F(PictureTwins, ComeOutOfEveryOperationAsPlainImagesDo) {
    Random random(6);
    const TempDir directory;
    for (int round = 0; round < 12; ++round) {
        for (const StorageKind kind : kPictureKinds) {
            for (const int format : {ImageFormatARGB, ImageFormatXRGB, ImageFormatRGB}) {
                if (FormatOn(kind, format) != format) continue;
                for (const Operation& operation : kOperations) {
                    const TestImage image = MakeOnPicture(kind, random.Between(5, 19), random.Between(5, 13), format);
                    SCOPED_TRACE(std::string(operation.name) + " on " + image.text);
                    FillWithNoise(image, random);
                    const TestImage twin = TwinOf(image);
                    const TestImage other = MakePlain(random.Between(1, 20), random.Between(1, 20), ImageFormatRGBA);
                    FillWithNoise(other, random);
                    const std::uint32_t seed = random.Bits();
                    Random first(seed), second(seed);
                    operation.apply(twin.object(), other.object(), first);
                    operation.apply(image.object(), other.object(), second);
                    ExpectSameRows(twin, image);
                }
            }
        }
    }
}

TEST_F(PictureTwins, AreSourcesAsPlainImagesAre) {
    Random random(7);
    for (int round = 0; round < 20; ++round) {
        for (const StorageKind kind : kPictureKinds) {
            const int format = FormatOn(kind, random.Format());
            const TestImage image = MakeOnPicture(kind, random.Between(1, 19), random.Between(1, 13), format);
            SCOPED_TRACE(image.text);
            FillWithNoise(image, random);
            const TestImage twin = TwinOf(image);
            EXPECT_EQ(CompareImages(image.object(), twin.object()), image->Width * image->Height);
            const int targetFormat = random.Pick(RGBFormats());
            const TestImage expected = MakePlain(image->Width, image->Height, targetFormat);
            const TestImage actual = MakePlain(image->Width, image->Height, targetFormat);
            EXPECT_TRUE(rbCopyPixels2(expected.object(), twin.object()));
            EXPECT_TRUE(rbCopyPixels2(actual.object(), image.object()));
            ExpectSameRows(expected, actual);
            EXPECT_TRUE(ScalePictureFast(expected.object(), twin.object(), image->Width, image->Height));
            EXPECT_TRUE(ScalePictureFast(actual.object(), image.object(), image->Width, image->Height));
            ExpectSameRows(expected, actual);
            const REALobject rows[] = {rbGetRowF(image.object(), 0, targetFormat),
                                       rbGetRowF(twin.object(), 0, targetFormat)};
            ASSERT_TRUE(rows[0] && rows[1]);
            const std::size_t size = host.BlockSize(rows[1]);
            EXPECT_EQ(host.BlockSize(rows[0]), size);
            EXPECT_TRUE(std::equal(host.BlockData(rows[0]), host.BlockData(rows[0]) + size, host.BlockData(rows[1])));
            for (const REALobject row : rows) REALUnlockObject(row);
        }
    }
}

TEST_F(PictureTwins, GiveAndTakeRowsAsPlainImagesDo) {
    Random random(8);
    const auto taken = [&](REALstring string) {
        EXPECT_TRUE(string);
        const std::string bytes = string ? host.Bytes(string) : "";
        REALUnlockString(string);
        return bytes;
    };
    for (int round = 0; round < 20; ++round) {
        for (const StorageKind kind : kPictureKinds) {
            const int format = FormatOn(kind, random.Format());
            const TestImage image = MakeOnPicture(kind, random.Between(1, 19), random.Between(1, 13), format);
            SCOPED_TRACE(image.text);
            FillWithNoise(image, random);
            const TestImage twin = TwinOf(image);
            const int y = random.Between(0, image->Height - 1);
            const int asked = random.Pick(RGBFormats());

            const REALobject raw = rbGetRow(image.object(), y);
            ASSERT_TRUE(raw);
            EXPECT_EQ(host.BlockData(raw), pictures[image->Target].Row(y)) << "the picture's own bytes";
            REALUnlockObject(raw);
            const REALobject row = rbGetRowCopy(image.object(), y);
            ASSERT_TRUE(row);
            ASSERT_EQ(host.BlockSize(row), static_cast<std::size_t>(image->RowSize));
            EXPECT_TRUE(
                std::equal(host.BlockData(row), host.BlockData(row) + image->RowSize, pictures[image->Target].Row(y)));
            EXPECT_EQ(taken(rbGetRowFS(image.object(), y, asked)), taken(rbGetRowFS(twin.object(), y, asked)));
            const std::string all = taken(rbGetAllFS(twin.object(), asked));
            EXPECT_EQ(taken(rbGetAllFS(image.object(), asked)), all);

            FillWithNoise(image, random);
            rbSetRow(image.object(), y, row);
            EXPECT_TRUE(
                std::equal(host.BlockData(row), host.BlockData(row) + image->RowSize, pictures[image->Target].Row(y)));
            REALUnlockObject(row);
            const TestImage changed = TwinOf(image);
            const REALstring given = host.NewString(all, kREALEncodingBytes);
            rbSetRowFS(image.object(), y, asked, given);
            rbSetRowFS(changed.object(), y, asked, given);
            ExpectSameRows(changed, image);
            rbSetAllFS(image.object(), asked, given);
            rbSetAllFS(changed.object(), asked, given);
            ExpectSameRows(changed, image);
            REALUnlockString(given);

            EXPECT_EQ(rbGetRow(image.object(), image->Height), nullptr);
            EXPECT_TRUE(host.TakeException());
            EXPECT_EQ(rbGetRowCopy(image.object(), -1), nullptr);
            EXPECT_TRUE(host.TakeException());
            ImageDestructor(image.object());
            EXPECT_EQ(rbGetRow(image.object(), y), nullptr) << "closed";
            EXPECT_EQ(rbGetRowCopy(image.object(), y), nullptr);
        }
    }
}

TEST_F(PictureTwins, OverlapOtherImagesOfTheirPicture) {
    for (const StorageKind kind : kPictureKinds) {
        const TestImage image = MakeOnPicture(kind, 5, 4, ImageFormatARGB);
        const TestImage other = MakeOnPicture(kind, 5, 4, ImageFormatARGB);
        const TestImage same(host.NewImage());
        const auto construct =
            kind == StorageKind::console ? ImageConstructorPictureConsole : ImageConstructorPictureGUI;
        construct(same.object(), image->Target, false);
        EXPECT_TRUE(ImagesOverlap(image.record(), same.record()));
        // The rows of a console picture may lie between those of another.
        if (kind == StorageKind::desktop) {
            EXPECT_FALSE(ImagesOverlap(image.record(), other.record()));
        }
        EXPECT_EQ(host.Locks(image->Target), 2);
    }
}

}  // namespace
