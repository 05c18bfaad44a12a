// Images that lie inside host pictures: their records, their calls of the host, and that they are images like others.

#include "core/PictureImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/RowAccess.h"
#include "core/RowSpan.h"
#include "core/Views.h"
#include "support/FakePictures.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Kind = FakePicture::Kind;

const Calls kDesktopCalls = {"lockPictureDescription(source)",  "unlockPictureDescription(source)",
                             "GetPortPixMap(gworld of source)", "GetPixBaseAddr(pixmap of source)",
                             "GetPixDepth(pixmap of source)",   "GetPixRowBytes(pixmap of source)",
                             "REALLockObject(source)"};
const Calls kConsoleCalls = {"REALLockPictureDescription(source, 10)", "unlockPictureDescription(source)",
                             "REALLockObject(source)"};

class PictureImages : public EngineTest {
protected:
    FakePictures pictures{host, World::desktop};

    void Know(World world) { pictures.Know(world); }

    // Constructs a new image with a fresh log.
    TestImage Constructed(REALobject picture, bool useAlpha) {
        TestImage image(host.NewImage());
        pictures.ClearCalls();
        ImageConstructorPicture(image.object(), picture, useAlpha);
        return image;
    }

    void ExpectNoImage(const TestImage& image) {
        EXPECT_FALSE(image->Valid);
        EXPECT_EQ(image->GetRow, nullptr);
        EXPECT_EQ(image->Target, nullptr);
        EXPECT_EQ(image->Pixels, nullptr);
        EXPECT_EQ(image->RowPointers, nullptr);
        EXPECT_EQ(pictures.LockedPixels(), 0);
        EXPECT_EQ(host.Count("REALLockObject"), 0);
    }
};

// --- records --------------------------------------------------------------------------------------------------------

struct Source {
    const char* name;
    World world;
    int bits;
    bool useAlpha;
    int format, pixelSize, red, green, blue, alpha;
    bool hasAlpha;
};

// Where a byte of a word lies, the lowest being 0.
constexpr int InWord(int byte) {
    return std::endian::native == std::endian::little ? byte : 3 - byte;
}

const Source kSources[] = {
    {"desktop 32, alpha", World::desktop, 32, true, 4, 4, 1, 2, 3, 0, true},
    {"desktop 32", World::desktop, 32, false, 5, 4, 1, 2, 3, 0, false},
    {"desktop 24, alpha", World::desktop, 24, true, 1, 3, 0, 1, 2, 0, false},
    {"desktop 24", World::desktop, 24, false, 1, 3, 0, 1, 2, 0, false},
    {"console, alpha", World::console, 32, true, 4, 4, InWord(2), InWord(1), InWord(0), InWord(3), true},
    {"console", World::console, 32, false, 5, 4, InWord(2), InWord(1), InWord(0), InWord(3), false},
};

TEST_F(PictureImages, HaveTheRecordOfTheirKind) {
    for (const Source& source : kSources) {
        SCOPED_TRACE(source.name);
        Know(source.world);
        const bool desktop = source.world == World::desktop;
        const REALobject picture =
            desktop ? pictures.NewDesktop(7, 4, source.bits, "source", 6) : pictures.NewConsole(7, 4, "source");
        const TestImage image = Constructed(picture, source.useAlpha);
        EXPECT_EQ(pictures.Calls(), desktop ? kDesktopCalls : kConsoleCalls);
        FakePicture& found = pictures[picture];

        // From the table of formats.
        EXPECT_EQ(image->ImageFormat, source.format);
        EXPECT_EQ(image->PixelSize, source.pixelSize);
        EXPECT_EQ(image->RedOffset, source.red);
        EXPECT_EQ(image->GreenOffset, source.green);
        EXPECT_EQ(image->BlueOffset, source.blue);
        EXPECT_EQ(image->AlphaOffset, source.alpha);
        EXPECT_EQ(image->HasAlpha, source.hasAlpha);

        // From the table of storage kinds.
        const int rowSize = desktop ? 7 * source.pixelSize + 6 : 28;
        EXPECT_EQ(image->GetRow, desktop ? GetRowLinear : GetRowGDImage);
        EXPECT_EQ(image->Pixels, desktop ? found.Row(0) : nullptr);
        EXPECT_EQ(image->RowPointers, desktop ? nullptr : reinterpret_cast<std::uint8_t**>(found.image->tpixels));
        EXPECT_EQ(image->RowSize, rowSize);
        EXPECT_FALSE(image->OwnsBuffer);
        EXPECT_FALSE(image->IsMapping);
        EXPECT_FALSE(image->OwnsFile);
        EXPECT_EQ(image->MemoryTarget, nullptr);
        EXPECT_EQ(image->Target, picture);
        EXPECT_EQ(host.Locks(picture), 2) << "the test's and the image's";
        EXPECT_EQ(image->FileItem, nullptr);
        EXPECT_EQ(image->FilePath, nullptr);
        EXPECT_EQ(image->FileHandle, 0);
        EXPECT_EQ(image->MappedRowCount, desktop ? 4 : 0);
        EXPECT_EQ(image->ChannelCount, 0);
        EXPECT_EQ(image->TotalSize, rowSize * 4);
        EXPECT_EQ(GetTotalSizeInt64(image.object(), 0), rowSize * 4);

        // Told with the steps.
        EXPECT_TRUE(image->Valid);
        EXPECT_EQ(image->Width, 7);
        EXPECT_EQ(image->Height, 4);
        EXPECT_EQ(image->MappedFirstRow, -1);
        EXPECT_EQ(image->MappedLastRow, -1);
        EXPECT_TRUE(image->IsRGB && image->HasRed && image->HasGreen && image->HasBlue);
        EXPECT_FALSE(image->IsGray || image->HasGray || image->IsCMYK || image->HasCyan || image->HasMagenta ||
                     image->HasYellow || image->HasBlack);
        EXPECT_EQ(image->GrayOffset, 0);
        for (const int offset : image->ChannelOffsets) EXPECT_EQ(offset, 0);
        EXPECT_EQ(image->Parent, nullptr);
        EXPECT_EQ(image->RowOffset, 0);
        EXPECT_EQ(image->MappingBlockSize, 0);
        EXPECT_FALSE(image->IsMapped);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        EXPECT_EQ(pictures.LockedPixels(), 0);
        EXPECT_EQ(found.cacheClears, 0);
        for (int y = 0; y < 4; ++y) EXPECT_EQ(image->GetRow(image.record(), y), found.Row(y));
        REALUnlockObject(picture);
    }
}

// --- the application's world ----------------------------------------------------------------------------------------

TEST_F(PictureImages, AreTriedByTheApplicationsWorld) {
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "source");
    EXPECT_TRUE(Constructed(desktop, false)->Valid);
    EXPECT_EQ(pictures.Calls(),
              Joined({kLookUps, kDesktopCalls, {"REALUnlockObject(PictureZOR)", "REALUnlockObject(source)"}}));
    EXPECT_TRUE(IsDesktop);
    EXPECT_TRUE(Constructed(desktop, false)->Valid);
    EXPECT_EQ(host.Count("pluginObjectType"), 0) << "known by now";
    REALUnlockObject(desktop);

    for (const World world : {World::console, World::web}) {
        pictures.Enter(world);
        const REALobject console = pictures.NewConsole(4, 3, "source");
        EXPECT_TRUE(Constructed(console, false)->Valid);
        EXPECT_EQ(pictures.Calls(),
                  Joined({kLookUps, kConsoleCalls, {"REALUnlockObject(PictureZOR)", "REALUnlockObject(source)"}}));
        EXPECT_TRUE(IsConsole);
        REALUnlockObject(console);
    }
}

TEST_F(PictureImages, AreTriedAsBothKindsWhereTheApplicationIsOfNone) {
    pictures.Enter(World::none);
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "source");
    {
        const TestImage image = Constructed(desktop, false);
        EXPECT_EQ(pictures.Calls(), Joined({kLookUps, kDesktopCalls, {"REALLockPictureDescription(source, 10)"}}));
        EXPECT_EQ(image->GetRow, GetRowLinear);
        EXPECT_FALSE(IsConsole);
        EXPECT_FALSE(IsDesktop) << "no proof of a desktop";
    }
    host.SetVersion(2011.0);
    {
        const TestImage image = Constructed(desktop, false);
        EXPECT_EQ(pictures.Calls(),
                  Joined({kLookUps,
                          kDesktopCalls,
                          {"REALLockPictureDescription(source, 10)", "unlockPictureDescription(source)"}}))
            << "an old host leaves its lock on";
        EXPECT_TRUE(image->Valid);
    }
    host.SetVersion(FakeHost::kVersion);
    REALUnlockObject(desktop);

    const REALobject console = pictures.NewConsole(4, 3, "source");
    const TestImage image = Constructed(console, true);
    EXPECT_EQ(
        pictures.Calls(),
        Joined({kLookUps, {"lockPictureDescription(source)", "unlockPictureDescription(source)"}, kConsoleCalls}));
    EXPECT_EQ(image->GetRow, GetRowGDImage);
    EXPECT_TRUE(IsConsole) << "this is the proof";
    REALUnlockObject(console);
}

TEST_F(PictureImages, AreOfTheConsoleWhereAPictureIsOfBothKinds) {
    pictures.Enter(World::none);
    const REALobject picture = pictures.NewDesktop(9, 9, 32, "source");
    const REALobject twin = pictures.NewConsole(4, 3, "twin");
    const auto lockKind = host.pictures.lockKind;
    host.pictures.lockKind = [&](REALobject object, REALpictureDescription* description, REALword kind) {
        if (object != picture) return lockKind(object, description, kind);
        *description = pictures[twin].told;
        ++pictures[picture].descriptionLocks;
        return true;
    };
    TestImage image = Constructed(picture, true);
    EXPECT_EQ(image->GetRow, GetRowGDImage);
    EXPECT_EQ(image->Width, 4);
    EXPECT_EQ(image->Height, 3);
    EXPECT_EQ(image->Pixels, nullptr);
    EXPECT_EQ(image->MappedRowCount, 0);
    EXPECT_EQ(image->TotalSize, 48);
    EXPECT_EQ(image->RedOffset, InWord(2));
    EXPECT_EQ(host.Locks(picture), 3) << "each of the two locks it";
    image = TestImage();
    EXPECT_EQ(host.Locks(picture), 2) << "and the end of the image gives one back";
    REALUnlockObject(picture);
    REALUnlockObject(picture);
    REALUnlockObject(twin);
}

// --- pictures that cannot carry an image ----------------------------------------------------------------------------

TEST_F(PictureImages, AreNotMadeOfDesktopPicturesThatCannotCarryThem) {
    struct Case {
        const char* what;
        std::function<void(FakePictures&, FakePicture&)> spoil;
        std::size_t calls;  // of kDesktopCalls
    };
    const Case cases[] = {
        {"16 bits", [](FakePictures&, FakePicture& p) { p.gworld->bits = 16; }, 5},
        {"8 bits", [](FakePictures&, FakePicture& p) { p.gworld->bits = 8; }, 5},
        {"1 bit", [](FakePictures&, FakePicture& p) { p.gworld->bits = 1; }, 5},
        {"no depth", [](FakePictures& all, FakePicture&) { all.FailCall("GetPixDepth"); }, 5},
        {"no pixels", [](FakePictures& all, FakePicture&) { all.FailCall("GetPixBaseAddr"); }, 4},
        {"no pixel map", [](FakePictures& all, FakePicture&) { all.FailCall("GetPortPixMap"); }, 3},
        {"another kind", [](FakePictures&, FakePicture& p) { p.told.kind = 10; }, 2},
        {"no kind", [](FakePictures& all, FakePicture&) { all.FailCall("lockPictureDescription"); }, 2},
        {"no data", [](FakePictures&, FakePicture& p) { p.told.data = nullptr; }, 2},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Know(World::desktop);
        const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
        each.spoil(pictures, pictures[picture]);
        const TestImage image = Constructed(picture, true);
        EXPECT_EQ(pictures.Calls(),
                  Calls(kDesktopCalls.begin(), kDesktopCalls.begin() + static_cast<std::ptrdiff_t>(each.calls)));
        ExpectNoImage(image);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        EXPECT_EQ(host.Locks(picture), 1);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureImages, AreNotMadeOfConsolePicturesThatCannotCarryThem) {
    struct Case {
        const char* what;
        void (*spoil)(FakePicture&);
    };
    const Case cases[] = {
        {"a palette picture", nullptr},
        {"no rows", [](FakePicture& p) { p.image->tpixels = nullptr; }},
        {"no true colour", [](FakePicture& p) { p.image->trueColor = 0; }},
        {"no data", [](FakePicture& p) { p.told.data = nullptr; }},
        {"another kind", [](FakePicture& p) { p.told.kind = 4; }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        pictures.Enter(World::console);
        const REALobject picture =
            each.spoil ? pictures.NewConsole(4, 3, "source") : pictures.NewPalette(4, 3, "source");
        if (each.spoil) each.spoil(pictures[picture]);
        const TestImage image = Constructed(picture, false);
        EXPECT_EQ(pictures.Calls(), Joined({kLookUps, {kConsoleCalls.begin(), kConsoleCalls.begin() + 2}}));
        ExpectNoImage(image);
        EXPECT_TRUE(IsConsole);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureImages, AreNotMadeOfPicturesThatCannotBeLockedOnHostsOfEveryAge) {
    for (const double version : {2013.0, 2011.0}) {
        SCOPED_TRACE(version);
        host.SetVersion(version);
        Know(World::console);
        const REALobject picture = pictures.NewOther(4, 3, "source");
        const TestImage image = Constructed(picture, false);
        Calls expected = {"REALLockPictureDescription(source, 10)"};
        if (version < 2012.0) expected.push_back("unlockPictureDescription(source)");
        EXPECT_EQ(pictures.Calls(), expected);
        ExpectNoImage(image);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureImages, HandNilOnToTheHost) {
    Know(World::desktop);
    const TestImage desktop = Constructed(nullptr, true);
    EXPECT_EQ(pictures.Calls(), (Calls{"lockPictureDescription(nil)", "unlockPictureDescription(nil)"}));
    ExpectNoImage(desktop);
    Know(World::console);
    const TestImage console = Constructed(nullptr, true);
    EXPECT_EQ(pictures.Calls(), Calls{"REALLockPictureDescription(nil, 10)"});
    ExpectNoImage(console);
}

TEST(PictureImagesWithoutQuickDraw, AreNotMade) {
    InFreshProcess([] {
        FakeHost host;
        FakePictures pictures(host, World::none);
        IsDesktop = true;
        const REALobject picture = pictures.NewDesktop(4, 3, 32);
        const TestImage image(host.NewImage());
        ImageConstructorPicture(image.object(), picture, true);
        EXPECT_FALSE(image->Valid);
        EXPECT_EQ(host.Locks(picture), 1);
        FakePictures::LoadQuickDraw();
        ImageConstructorPicture(image.object(), picture, true);
        EXPECT_TRUE(image->Valid) << "looked for again";
        REALUnlockObject(picture);
    });
}

// --- pixels and life ------------------------------------------------------------------------------------------------

TEST_F(PictureImages, ChangeThePictureAtOnceAndLeaveItAsItStands) {
    for (const Source& source : kSources) {
        SCOPED_TRACE(source.name);
        Know(source.world);
        const REALobject picture = source.world == World::desktop ? pictures.NewDesktop(4, 3, source.bits, "source")
                                                                  : pictures.NewConsole(4, 3, "source");
        const TestImage image = Constructed(picture, source.useAlpha);
        std::uint8_t* const pixel = image->GetRow(image.record(), 2) + 3 * image->PixelSize;
        pixel[image->RedOffset] = 11;
        pixel[image->GreenOffset] = 22;
        pixel[image->BlueOffset] = 33;
        if (source.hasAlpha) pixel[image->AlphaOffset] = 44;
        FakePixel expected = pictures[picture].Get(3, 2);
        EXPECT_EQ(expected.red, 11);
        EXPECT_EQ(expected.green, 22);
        EXPECT_EQ(expected.blue, 33);
        if (source.hasAlpha) {
            EXPECT_EQ(expected.alpha, 44);
        }
        pictures[picture].Set(0, 1, {5, 6, 7, 8});
        EXPECT_EQ(image->GetRow(image.record(), 1)[image->GreenOffset], 6) << "what the host draws is seen";

        const std::vector<std::uint8_t> bytes = pictures[picture].Bytes();
        pictures.ClearCalls();
        ImageDestructor(image.object());
        EXPECT_EQ(pictures.Calls(), Calls{"REALUnlockObject(source)"});
        EXPECT_EQ(pictures[picture].Bytes(), bytes);
        EXPECT_EQ(pictures[picture].cacheClears, 0) << "the host is not told";
        EXPECT_EQ(host.Locks(picture), 1);
        EXPECT_EQ(image->Target, nullptr);
        EXPECT_EQ(image->GetRow, nullptr);
        EXPECT_TRUE(image->Valid);
        EXPECT_FALSE(GetRowSpan(image.record(), 0));
        pictures.ClearCalls();
        ImageDestructor(image.object());
        EXPECT_EQ(pictures.Calls(), Calls{}) << "once is enough";
        REALUnlockObject(picture);
    }
}

TEST_F(PictureImages, KeepTheirPictureAlive) {
    for (const StorageKind kind : kPictureKinds) {
        TestImage image = MakeOnPicture(kind, 5, 4, ImageFormatARGB);
        const REALobject picture = image->Target;
        EXPECT_EQ(host.Locks(picture), 1);
        Invert1(image.object());
        image = TestImage();
        EXPECT_FALSE(host.IsAlive(picture));
    }
}

TEST_F(PictureImages, HaveNoChannelsByIndex) {
    for (const StorageKind kind : kPictureKinds) {
        const TestImage image = MakeOnPicture(kind, 5, 4, ImageFormatARGB);
        EXPECT_EQ(Channel(image.object(), 0), nullptr);
        const auto exception = host.TakeException();
        ASSERT_TRUE(exception);
        EXPECT_EQ(exception->className, "OutOfBoundsException");
    }
}

TEST_F(PictureImages, GiveTheirMemoryOnTheDesktopOnly) {
    const TestImage console = MakeOnPicture(StorageKind::console, 5, 4, ImageFormatXRGB);
    EXPECT_EQ(GetMemory(console.object(), 0), nullptr);
    EXPECT_TRUE(pictures.IsPicture(console->Target));
    const TestImage desktop = MakeOnPicture(StorageKind::desktop, 5, 4, ImageFormatRGB);
    const REALobject block = GetMemory(desktop.object(), 0);
    ASSERT_TRUE(block);
    EXPECT_EQ(host.BlockData(block), pictures[desktop->Target].Row(0));
    REALUnlockObject(block);
}

TEST_F(PictureImages, AreGuardedRowByRowInTheConsoleAndAsAWholeOnTheDesktop) {
    const TestImage console = MakeOnPicture(StorageKind::console, 5, 4, ImageFormatXRGB);
    for (int y = 0; y < 4; ++y) {
        const RowSpan row = GetRowSpan(console.record(), y);
        EXPECT_EQ(row.data, pictures[console->Target].Row(y));
        EXPECT_EQ(row.begin, 0);
        EXPECT_EQ(row.end, 20);
    }
    EXPECT_FALSE(GetRowSpan(console.record(), -1));
    EXPECT_FALSE(GetRowSpan(console.record(), 4));
    const TestImage desktop = MakeOnPicture(StorageKind::desktop, 5, 4, ImageFormatXRGB);
    for (int y = 0; y < 4; ++y) {
        const RowSpan row = GetRowSpan(desktop.record(), y);
        EXPECT_EQ(row.data, pictures[desktop->Target].Row(y));
        EXPECT_EQ(row.begin, -25 * y);
        EXPECT_EQ(row.end, 25 * (4 - y));
    }
}

TEST_F(PictureImages, TouchNoMoreRowsThanTheirPictureHas) {
    Know(World::console);
    const REALobject picture = pictures.NewConsole(4, 3);
    pictures[picture].told.width = 9;
    pictures[picture].told.height = 8;
    const TestImage image = Constructed(picture, false);
    EXPECT_EQ(image->Width, 9);
    EXPECT_EQ(image->Height, 8);
    EXPECT_EQ(GetRowSpan(image.record(), 2).end, 16);
    EXPECT_FALSE(GetRowSpan(image.record(), 3));
    FillRectRGB1(image.object(), 1, 2, 3);
    EXPECT_EQ(pictures[picture].Get(3, 2).green, 2);
    REALUnlockObject(picture);  // its guard bytes are looked at
}

TEST_F(PictureImages, CountTheirBytesIn32Bits) {
    Know(World::desktop);
    const REALobject picture = pictures.NewDesktop(4, 3, 32);
    pictures[picture].gworld->rowBytes = 0x40000000;
    const TestImage image = Constructed(picture, false);
    EXPECT_EQ(image->RowSize, 0x40000000);
    EXPECT_EQ(image->TotalSize, -0x40000000LL);
    EXPECT_TRUE(image->Valid);
    const RowSpan row = GetRowSpan(image.record(), 0);
    EXPECT_LE(row.end, 0) << "nothing of it may be touched";
    FillRect1(image.object(), 9);
    pictures[picture].gworld->rowBytes = 21;
    REALUnlockObject(picture);
}

// --- constructing again ---------------------------------------------------------------------------------------------

TEST_F(PictureImages, GiveBackWhatTheObjectHeldBefore) {
    const TempDir directory;
    for (const StorageKind earlier :
         {StorageKind::plain, StorageKind::block, StorageKind::file, StorageKind::console, StorageKind::desktop}) {
        for (const World world : {World::console, World::desktop}) {
            Know(world);
            Random random(4);
            const TestImage image = MakeStorage(random, directory, earlier, 6, 7, ImageFormatAKYMC);
            const REALobject block = image->MemoryTarget, earlierPicture = image->Target;
            const std::string path = image->FilePath ? image->FilePath : "";
            const REALobject picture = pictures.New(4, 3);
            ImageConstructorPicture(image.object(), picture, true);
            EXPECT_TRUE(image->Valid);
            EXPECT_EQ(image->Width, 4);
            EXPECT_EQ(image->Target, picture);
            EXPECT_EQ(image->GetRow, world == World::console ? GetRowGDImage : GetRowLinear);
            EXPECT_FALSE(host.IsAlive(block));
            EXPECT_FALSE(host.IsAlive(earlierPicture));
            EXPECT_FALSE(!path.empty() && std::filesystem::exists(path));
            EXPECT_FALSE(image->OwnsBuffer || image->OwnsFile || image->IsMapping || image->IsMapped);
            EXPECT_EQ(image->MemoryTarget, nullptr);
            EXPECT_EQ(image->FileItem, nullptr);
            EXPECT_EQ(image->FilePath, nullptr);
            EXPECT_FALSE(image->IsCMYK || image->HasCyan || image->HasMagenta || image->HasYellow || image->HasBlack);
            EXPECT_EQ(image->ChannelCount, 0);
            for (const int offset : image->ChannelOffsets) EXPECT_EQ(offset, 0);
            EXPECT_EQ(image->BlackOffset, 0);
            Invert1(image.object());
            REALUnlockObject(picture);
        }
    }
}

TEST_F(PictureImages, CanBeConstructedAgainOfTheSamePictureAndAsOtherImages) {
    for (const StorageKind kind : kPictureKinds) {
        const TestImage image = MakeOnPicture(kind, 5, 4, ImageFormatXRGB);
        const REALobject picture = image->Target;
        const auto again = kind == StorageKind::console ? ImageConstructorPictureConsole : ImageConstructorPictureGUI;
        again(image.object(), picture, true);
        EXPECT_TRUE(image->HasAlpha);
        EXPECT_EQ(host.Locks(picture), 1) << "the image's own, which was all that kept it";

        pictures.FailCall("lockPictureDescription");
        pictures.FailCall("REALLockPictureDescription");
        again(image.object(), picture, false);
        pictures.FailNothing();
        EXPECT_TRUE(image->HasAlpha) << "what cannot be read changes nothing";
        EXPECT_TRUE(GetRowSpan(image.record(), 3));

        ImageConstructor(image.object(), 3, 2, ImageFormatG);
        EXPECT_FALSE(host.IsAlive(picture));
        EXPECT_EQ(image->Target, nullptr);
        EXPECT_EQ(image->RowPointers, nullptr);
        EXPECT_EQ(image->GetRow, GetRowLinear);
        FillRect1(image.object(), 3);
        IsConsole = IsDesktop = false;
    }
}

// --- views ----------------------------------------------------------------------------------------------------------

TEST_F(PictureImages, HaveViewsOnTheDesktopThatHoldThePicture) {
    Know(World::desktop);
    const REALobject picture = pictures.NewNoise(Kind::desktop, 32, 6, 5, 3, "source");
    TestImage image = Constructed(picture, true);
    TestImage views[] = {TestImage(ClipImage5(image.object(), 2, 1, 3, 3)), TestImage(GetMirroredView(image.object())),
                         TestImage(GreenChannel(image.object())), TestImage(RGBChannel(image.object()))};
    EXPECT_EQ(host.Locks(picture), 2 + 4);
    for (const TestImage& view : views) EXPECT_EQ(view->Target, picture);
    ImageDestructor(image.object());
    EXPECT_EQ(host.Locks(picture), 1 + 4);
    EXPECT_EQ(GetRowSpan(views[0].record(), 0).data[views[0]->RedOffset], pictures[picture].Get(2, 1).red);
    EXPECT_EQ(GetRowSpan(views[1].record(), 0).data[views[1]->AlphaOffset], pictures[picture].Get(0, 4).alpha);
    EXPECT_EQ(GetRowSpan(views[2].record(), 3).data[views[2]->GrayOffset], pictures[picture].Get(0, 3).green);
    EXPECT_EQ(GetRowSpan(views[3].record(), 3).data[views[3]->BlueOffset], pictures[picture].Get(0, 3).blue);
    EXPECT_EQ(views[3]->ImageFormat, ImageFormatRGB);
    const int channelsInOrder[] = {1, 2, 3};
    EXPECT_TRUE(std::equal(channelsInOrder, channelsInOrder + 3, views[3]->ChannelOffsets));
    const TestImage red(Channel(views[3].object(), 0));
    EXPECT_EQ(GetRowSpan(red.record(), 0).data[red->GrayOffset], pictures[picture].Get(0, 0).red);
    REALUnlockObject(picture);
}

TEST_F(PictureImages, HaveViewsWithoutRowsInTheConsole) {
    const TestImage image = MakeOnPicture(StorageKind::console, 6, 5, ImageFormatARGB);
    const TestImage views[] = {TestImage(ClipImage5(image.object(), 2, 1, 3, 3)),
                               TestImage(GetMirroredView(image.object())), TestImage(RedChannel(image.object())),
                               TestImage(RGBChannel(image.object()))};
    const std::vector<std::uint8_t> before = pictures[image->Target].Bytes();
    for (const TestImage& view : views) {
        ASSERT_TRUE(view);
        EXPECT_EQ(view->Target, image->Target);
        EXPECT_EQ(view->RowPointers, nullptr);
        for (int y = -1; y < 6; ++y) EXPECT_FALSE(GetRowSpan(view.record(), y));
        FillRect1(view.object(), 0);
        Invert1(view.object());
        EXPECT_FALSE(view->GetRow(view.record(), 0));
    }
    EXPECT_EQ(pictures[image->Target].Bytes(), before);
}

TEST_F(PictureImages, HaveClonesOfTheirOwn) {
    const TestImage desktop = MakeOnPicture(StorageKind::desktop, 6, 5, ImageFormatARGB);
    Random random(5);
    FillWithNoise(desktop, random);
    const TestImage clone(Clone(desktop.object()));
    EXPECT_EQ(clone->Target, nullptr);
    EXPECT_TRUE(clone->OwnsBuffer);
    EXPECT_EQ(std::vector(clone->Pixels, clone->Pixels + clone->StorageBytes), SnapshotOf(desktop).bytes);
    EXPECT_EQ(CompareImages(desktop.object(), clone.object()), 30);

    const TestImage console = MakeOnPicture(StorageKind::console, 6, 5, ImageFormatARGB);
    const TestImage empty(Clone(console.object()));
    EXPECT_EQ(empty->RowSize, 24);
    for (int y = 0; y < 5; ++y) EXPECT_FALSE(GetRowSpan(empty.record(), y)) << "there is no table of its rows";
}

}  // namespace
