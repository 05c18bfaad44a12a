// The pictures of the test host themselves.

#include "support/FakePictures.h"

#include <gmock/gmock.h>

#include "host/HostCalls.h"
#include "host/QuickDraw.h"
#include "support/Images.h"

using namespace zor;

namespace {

using ::testing::ElementsAre;

class Pictures : public EngineTest {
protected:
    FakePictures pictures{host, World::desktop};
};

constexpr int kDepths[] = {32, 24, 16, 8, 1};

TEST_F(Pictures, KeepPixelsInEveryKindOfMemory) {
    const FakePixel white = {255, 255, 255, 255}, black = {0, 0, 0, 255};
    for (const int bits : kDepths) {
        SCOPED_TRACE(bits);
        const REALobject picture = pictures.NewDesktop(19, 3, bits);
        FakePicture& found = pictures[picture];
        EXPECT_EQ(found.Get(18, 2), white);
        const std::vector<std::uint8_t> before = found.Bytes();
        found.Set(17, 1, black);
        EXPECT_EQ(found.Get(17, 1), black);
        EXPECT_EQ(found.Get(16, 1), white);
        EXPECT_EQ(found.Get(18, 1), white);
        EXPECT_EQ(found.Get(17, 0), white);
        found.Set(17, 1, white);
        EXPECT_EQ(found.Bytes(), before);
        EXPECT_EQ(before.size(), static_cast<std::size_t>(found.BytesOfRow() * 3));
        REALUnlockObject(picture);
    }
    const REALobject console = pictures.NewConsole(2, 2);
    pictures[console].Set(1, 1, {1, 2, 3, 4});
    EXPECT_EQ(pictures[console].image->tpixels[1][1], 0x04010203);
    EXPECT_EQ(pictures[console].Get(1, 1), (FakePixel{1, 2, 3, 4}));
    EXPECT_EQ(pictures[console].Get(0, 1), (FakePixel{255, 255, 255, 0}));
    REALUnlockObject(console);
}

TEST_F(Pictures, LieInMemoryAsTheHostHasThem) {
    const REALobject deep = pictures.NewDesktop(2, 2, 32, "", 3);
    const REALobject flat = pictures.NewDesktop(2, 2, 24, "", 0);
    pictures[deep].Set(1, 1, {10, 20, 30, 40});
    pictures[flat].Set(1, 0, {10, 20, 30, 40});
    EXPECT_EQ(pictures[deep].BytesOfRow(), 11);
    EXPECT_THAT(std::vector<std::uint8_t>(pictures[deep].Row(1) + 4, pictures[deep].Row(1) + 11),
                ElementsAre(40, 10, 20, 30, 0x5A, 0x5A, 0x5A));
    EXPECT_THAT(pictures[flat].Bytes(), ElementsAre(255, 255, 255, 10, 20, 30, 255, 255, 255, 255, 255, 255));
    REALUnlockObject(deep);
    REALUnlockObject(flat);
}

TEST_F(Pictures, TellAllCallsInOrder) {
    const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
    pictures.ClearCalls();
    REALpictureDescription description{};
    REALLockPictureDescription(picture, &description);
    PixMap** const pixMap = GetGWorldPixMap(static_cast<OpaqueGrafPtr*>(description.data));
    EXPECT_TRUE(LockPixels(pixMap));
    EXPECT_EQ(pictures.LockedPixels(), 1);
    EXPECT_EQ(pictures.LockedDescriptions(), 1);
    UnlockPixels(pixMap);
    REALUnlockPictureDescription(picture);
    const REALobject made = REALNewPicture(2, 1, 32);
    const REALobject graphics = REALGetPictureGraphics(made);
    EXPECT_THAT(pictures.Calls(), ElementsAre("lockPictureDescription(source)", "GetGWorldPixMap(gworld of source)",
                                              "LockPixels(pixmap of source)", "UnlockPixels(pixmap of source)",
                                              "unlockPictureDescription(source)", "newPicture(2, 1, 32)",
                                              "pluginPictureGraphicsGetter(new 1)"));
    REALUnlockObject(graphics);
    REALUnlockObject(made);
    REALUnlockObject(picture);
    EXPECT_EQ(pictures.Calls().back(), "REALUnlockObject(source)");
}

TEST_F(Pictures, CarryImagesOfEveryFormatThatKeepTheirNoise) {
    Random random(2);
    const TempDir directory;
    for (int round = 0; round < 60; ++round) {
        const StorageKind kind = round % 2 ? StorageKind::console : StorageKind::desktop;
        const int width = random.Between(1, 20), height = random.Between(1, 12), format = random.Format();
        const TestImage image = RandomImage(random, directory, kind, width, height, format);
        ASSERT_TRUE(image);
        SCOPED_TRACE(image.text);
        EXPECT_EQ(image->Width, width);
        EXPECT_EQ(image->Height, height);
        EXPECT_EQ(image->ImageFormat, FormatOn(kind, format));
        const Storage storage = SnapshotOf(image);
        EXPECT_EQ(storage.bytes, pictures[image.root()->Target].Bytes());
        for (int y = 0; y < height; ++y) {
            const std::uint8_t* const row = image->GetRow(image.record(), y);
            ASSERT_TRUE(row) << "row " << y;
            for (int i = 0; i < width * image->PixelSize; ++i) {
                ASSERT_EQ(row[i], storage.At(PlaceOf(image, 0, y) + i)) << "row " << y << " byte " << i;
            }
        }
    }
}

TEST_F(Pictures, FailWhenTheyAreTold) {
    pictures.FailCall("newPicture", 2);
    const REALobject first = REALNewPicture(1, 1, 32);
    const REALobject second = REALNewPicture(1, 1, 32);
    const REALobject third = REALNewPicture(1, 1, 32);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    REALUnlockObject(first);
    REALUnlockObject(third);
}

TEST_F(Pictures, HaveMasksThatTheyKeep) {
    const REALobject picture = pictures.New(3, 2, "source");
    EXPECT_EQ(REALGetPictureMask(picture, 0), nullptr);
    const REALobject mask = REALGetPictureMask(picture, 1);
    EXPECT_EQ(pictures[mask].name, "mask of source");
    EXPECT_EQ(host.Locks(mask), 2);
    EXPECT_EQ(REALGetPictureMask(picture, 0), mask);
    REALUnlockObject(mask);
    REALUnlockObject(mask);
    REALUnlockObject(picture);
}

TEST_F(Pictures, DrawScaledOnesOfAnyKind) {
    const REALobject source = pictures.NewOther(2, 1);
    pictures[source].Set(0, 0, {9, 8, 7, 6});
    pictures[source].Set(1, 0, {1, 2, 3, 4});
    const REALobject target = pictures.NewConsole(5, 1);
    const REALobject graphics = REALGetPictureGraphics(target);
    using Draw = void (*)(REALobject, REALobject, int, int, int, int, int, int, int, int);
    const Draw draw =
        reinterpret_cast<Draw>(REALLoadObjectMethod(graphics,
                                                    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as "
                                                    "Integer, h as Integer, sx as Integer = 0, sy as "
                                                    "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"));
    ASSERT_TRUE(draw);
    draw(graphics, source, 1, 0, 4, 1, 0, 0, 2, 1);
    const FakePixel left = {9, 8, 7, 0}, right = {1, 2, 3, 0};
    EXPECT_EQ(pictures[target].Get(0, 0), (FakePixel{255, 255, 255, 0}));
    EXPECT_EQ(pictures[target].Get(1, 0), left);
    EXPECT_EQ(pictures[target].Get(2, 0), left);
    EXPECT_EQ(pictures[target].Get(3, 0), right);
    EXPECT_EQ(pictures[target].Get(4, 0), right);
    REALUnlockObject(graphics);
    REALUnlockObject(source);
    REALUnlockObject(target);
}

TEST_F(Pictures, LeaveTheLockOnWhenAnOldHostRefuses) {
    const REALobject picture = pictures.New(1, 1);
    REALpictureDescription description{};
    EXPECT_FALSE(REALLockPictureDescription(picture, &description, 10));
    EXPECT_EQ(pictures.LockedDescriptions(), 0);
    host.SetVersion(2011.4);
    EXPECT_FALSE(REALLockPictureDescription(picture, &description, 10));
    EXPECT_EQ(pictures.LockedDescriptions(), 1);
    pictures.TakeDescriptionLocks(picture, 1);
    REALUnlockObject(picture);
}

}  // namespace
