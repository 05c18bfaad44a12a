// Combine on images that share bytes: what a pixel reads may have been written by the one before it.

#include "compositing/Combine.h"
#include "compositing/CombineModel.h"
#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"

using namespace zor;

namespace {

class Overlap : public EngineTest {
protected:
    Random random{31};
    TempDir directory;

    // Some view of the image, of the size given.
    TestImage ViewOf(const TestImage& image, int width, int height) {
        TestImage view = Another(image);
        if (width < image->Width || height < image->Height) {
            const bool file = image->IsMapping;
            const int y = file ? 0 : random.Between(0, image->Height - height);
            view = ClipOf(std::move(view), random.Between(0, image->Width - width), y, width, height);
        }
        if (random.Chance(30)) view = MirroredOf(std::move(view));
        const int kind = random.Between(0, 4);
        if (kind == 0 && view->ChannelCount > 0) {
            const int index = random.Between(0, view->ChannelCount - 1);
            view = ChannelOf(std::move(view), index);
        }
        if (kind == 1 && view->IsRGB && view->ImageFormat <= 10) view = ColoursOf(std::move(view));
        return view;
    }

    CombineCall Somewhere(const TestImage& target, const TestImage& image, const TestImage* mask) {
        CombineCall call{.target = &target, .image = &image, .mask = mask, .preMultiplied = random.Chance(50)};
        call.destX = random.Between(0, 4);
        call.destY = random.Between(0, 3);
        call.sourceX = random.Between(0, 4);
        call.sourceY = random.Between(0, 3);
        call.width = random.Between(1, 40);
        call.height = random.Between(1, 20);
        if (!mask) {
            call.useColours = random.Chance(80);
            (random.Chance(50) ? call.foreColour : call.maskColour) = static_cast<int>(random.Bits() & 0xFFFFFF);
        }
        return call;
    }
};

TEST_F(Overlap, ViewsOfOneImageGiveTheBytesOfPixelByPixel) {
    const std::vector<int> formats = {1, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13, 16, 20};
    for (int round = 0; round < 1500; ++round) {
        const int width = random.Between(1, 40), height = random.Between(1, 14);
        const StorageKind kind = kStorageKinds[random.Between(0, 2)];
        const TestImage root = MakeStorage(random, directory, kind, width, height, random.Pick(formats));
        FillWithNoise(root, random);
        const TestImage other = MakePlain(width, height, random.Pick(formats));
        FillWithNoise(other, random);
        // Clips of files keep their height: theirs must begin at row 0.
        const bool file = kind == StorageKind::file;
        const int w = random.Between(1, width), h = file ? height : random.Between(1, height);
        const TestImage target = random.Chance(50) ? Another(root) : ViewOf(root, width, height);
        const TestImage source = ViewOf(random.Chance(80) ? root : other, w, h);
        const TestImage mask = ViewOf(random.Chance(60) ? root : other, w, h);
        ASSERT_TRUE(CombineAgreesWithModel(Somewhere(target, source, random.Chance(70) ? &mask : nullptr)))
            << "round " << round;
    }
}

TEST_F(Overlap, OneImageInTwoOrThreePlacesGivesTheBytesOfPixelByPixel) {
    const std::vector<int> formats = {1, 2, 4, 7, 8, 11, 12, 13, 17};
    for (int round = 0; round < 1500; ++round) {
        const int width = random.Between(1, 40), height = random.Between(1, 20);
        const StorageKind kind = kStorageKinds[random.Between(0, 2)];
        const auto image = [&] {
            TestImage made = MakeStorage(random, directory, kind, width, height, random.Pick(formats));
            FillWithNoise(made, random);
            return made;
        };
        const TestImage a = image(), b = image();
        const TestImage* const places[][3] = {
            {&a, &a, &b}, {&a, &b, &a}, {&a, &a, &a}, {&a, &b, &b}, {&a, &a, nullptr}};
        const auto& [target, source, mask] = places[random.Between(0, 4)];
        ASSERT_TRUE(CombineAgreesWithModel(Somewhere(*target, *source, mask))) << "round " << round;
    }
}

TEST_F(Overlap, ASampleRunsAlongTheRowFromTheLeft) {
    // Each pixel takes over its left neighbour, which has just taken over its own.
    for (const StorageKind kind : kStorageKinds) {
        for (const int format : {ImageFormatRGB, ImageFormatRGBA, ImageFormatG}) {
            const TestImage image = MakeStorage(random, directory, kind, 600, 2, format);
            FillWithNoise(image, random);
            const TestImage mask = MakePlain(600, 2, ImageFormatG);
            const Storage before = SnapshotOf(image);
            EXPECT_TRUE(
                CallCombine({.target = &image, .image = &image, .mask = &mask, .destX = 1, .width = 599, .height = 2}));
            const Storage after = SnapshotOf(image);
            const int first = image->IsGray ? image->GrayOffset : image->RedOffset;
            for (int y = 0; y < 2; ++y) {
                for (int x = 0; x < 600; ++x) {
                    ASSERT_EQ(after.At(PlaceOf(image, x, y) + first), before.At(PlaceOf(image, 0, y) + first))
                        << x << "," << y << " " << image.text;
                }
            }
        }
    }
}

TEST_F(Overlap, RowsRunDownTheImageFromTheTop) {
    for (const StorageKind kind : kStorageKinds) {
        const TestImage image = MakeStorage(random, directory, kind, 5, 20, ImageFormatRGBA);
        FillWithNoise(image, random);
        const TestImage mask = MakePlain(5, 20, ImageFormatG);
        const Storage before = SnapshotOf(image);
        EXPECT_TRUE(
            CallCombine({.target = &image, .image = &image, .mask = &mask, .destY = 1, .width = 5, .height = 19}));
        const Storage after = SnapshotOf(image);
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 5; ++x) {
                ASSERT_EQ(after.At(PlaceOf(image, x, y) + image->GreenOffset),
                          before.At(PlaceOf(image, x, 0) + image->GreenOffset));
            }
        }
    }
}

// Rows of one file-backed image too far from each other for one window: the address of the first is gone when the
// second is there.
TEST_F(Overlap, RowsOfOneFileThatNoWindowHoldsTogetherAreStillRight) {
    for (const int distance : {1, 3, 9, 25}) {
        for (const bool down : {false, true}) {
            const TestImage image = MakeInFile(directory, 30, 40, ImageFormatRGBA, 5);
            FillWithNoise(image, random);
            const TestImage mask = MakePlain(30, 40, ImageFormatG);
            FillWithNoise(mask, random);
            for (const TestImage* with : {&mask, &image, static_cast<const TestImage*>(nullptr)}) {
                CombineCall call{.target = &image, .image = &image, .mask = with, .width = 30, .height = 15};
                (down ? call.destY : call.sourceY) = distance;
                if (!with) call.foreColour = 0x336699;
                EXPECT_TRUE(CombineAgreesWithModel(call));
            }
        }
    }
}

// A row accessor for plain images that lets the next yield of another image come at once.
ImageClassData* aging = nullptr;

std::uint8_t* GetRowAging(ImageClassData* record, int y) {
    aging->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}

TEST_F(Overlap, AFileMayMoveItsWindowInTheYieldAfterEachRow) {
    const TestImage image = MakeInFile(directory, 30, 40, ImageFormatRGBA, 5), other = MakePlain(30, 40, ImageFormatG);
    FillWithNoise(image, random);
    FillWithNoise(other, random);
    aging = image.record();
    other->GetRow = GetRowAging;
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick -= 1000;
    int yields = 0;
    host.onYield = [&] { ShrinkWindow(image.record(), 5 + ++yields % 3); };
    EXPECT_TRUE(CombineAgreesWithModel(
        {.target = &image, .image = &image, .mask = &other, .destY = 20, .width = 30, .height = 20}));
    EXPECT_EQ(yields, 1 + 20);
    host.onYield = nullptr;
}

// After a yield the target may be another image in the same object, smaller and no longer in the file.
TEST_F(Overlap, AFileMayBeClosedOrReplacedInAnyYield) {
    for (const bool close : {false, true}) {
        for (int when = 1; when < 8; ++when) {
            const TestImage image = MakeInFile(directory, 30, 40, ImageFormatRGBA, 5);
            const TestImage other = MakePlain(30, 40, ImageFormatG);
            FillWithNoise(image, random);
            aging = image.record();
            other->GetRow = GetRowAging;
            image->YieldTicks = kPatientTicks;
            image->LastYieldTick -= 1000;
            int yields = 0;
            host.onYield = [&] {
                if (++yields != when) return;
                if (close) {
                    ImageDestructor(image.object());
                } else {
                    ImageConstructor(image.object(), 2, 2, ImageFormatG);
                }
            };
            const bool result = CallCombine(
                {.target = &image, .image = &image, .mask = &other, .destY = 20, .width = 30, .height = 20});
            EXPECT_EQ(result, when > 1) << when;  // the first comes before anything is looked at
            EXPECT_GE(yields, when);
            host.onYield = nullptr;
            if (close) continue;
            const Storage storage = SnapshotOf(image);
            EXPECT_EQ(std::count(storage.bytes.begin(), storage.bytes.end(), 0),
                      static_cast<std::ptrdiff_t>(storage.bytes.size()));
        }
    }
}

}  // namespace
