// Opening, walking and closing host pictures: what the editor holds, and every call of the host in its order.

#include "exchange/PictureEditor.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/FakePictures.h"

namespace {

using Calls = std::vector<std::string>;
using Kind = FakePicture::Kind;

const Calls kLookUps = {"pluginObjectType(Application)", "pluginObjectType(WebApplication)",
                        "pluginObjectType(ConsoleApplication)"};

Calls Joined(std::initializer_list<Calls> parts) {
    Calls all;
    for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// The calls that ask for the pixel map and its depth, and those that open it.
Calls AskingFor(const std::string& name) {
    return {"lockPictureDescription(" + name + ")", "GetGWorldPixMap(gworld of " + name + ")",
            "GetPixDepth(pixmap of " + name + ")"};
}
Calls Opening(const std::string& name) {
    return Joined({AskingFor(name),
                   {"LockPixels(pixmap of " + name + ")", "GetPixBaseAddr(pixmap of " + name + ")",
                    "REALLockObject(" + name + ")", "GetPixRowBytes(pixmap of " + name + ")"}});
}
Calls AskingForSize(const std::string& name) {
    return {"REALGetPropValueInt(" + name + ", Width)", "REALGetPropValueInt(" + name + ", Height)"};
}
// Of a picture of 4 x 3 pixels.
Calls CopyingAsNew1(const std::string& name) {
    return {"newPicture(4, 3, 32)", "pluginPictureGraphicsGetter(new 1)",
            "REALLoadObjectMethod(graphics of new 1, DrawPicture)",
            "DrawPicture(graphics of new 1, " + name + ", 0, 0, 4, 3, 0, 0, 4, 3)",
            "REALUnlockObject(graphics of new 1)"};
}

bool IsCleared(const PictureEditor& editor) {
    PictureEditor cleared;
    std::memset(static_cast<void*>(&cleared), 0, sizeof cleared);
    return editor.RowBytes == 0 && editor.Width == 0 && editor.Height == 0 && editor.BytesPerPixel == 0 &&
           editor.PixelType == 0 && !editor.CurrentRow && !editor.FirstRow && !editor.Buffer && !editor.Picture &&
           std::memcmp(&editor.Description, &cleared.Description, sizeof editor.Description) == 0 && !editor.PixMap &&
           !editor.RowTable && editor.ColumnIndex == 0 && editor.RowIndex == 0 && !editor.AllowCopy &&
           !editor.ForWriting;
}

PictureEditor Dirty() {
    PictureEditor editor;
    std::memset(static_cast<void*>(&editor), 0x5B, sizeof editor);
    return editor;
}

class PictureEditors : public EngineTest {
protected:
    FakePictures pictures{host, World::desktop};

    // That world, already known to the engine.
    void Know(World world) {
        pictures.Enter(world);
        IsDesktop = world == World::desktop;
        IsConsole = world == World::console || world == World::web;
    }

    // Opens with a fresh log.
    bool OpenAlone(PictureEditor& editor, REALobject picture, bool allowCopy, bool forWriting) {
        pictures.ClearCalls();
        return GetPictureReader(editor, picture, allowCopy, forWriting);
    }
    bool OpenAlone(PictureEditor& editor, REALobject picture) {
        pictures.ClearCalls();
        return GetPictureReader(editor, picture);
    }

    Calls CallsOfClosing(PictureEditor& editor) {
        pictures.ClearCalls();
        ClosePictureReader(editor);
        return pictures.Calls();
    }

    // Nothing is held: closing has nothing to do.
    void ExpectNothingHeld(PictureEditor& editor) {
        EXPECT_EQ(editor.Picture, nullptr);
        EXPECT_EQ(editor.PixMap, nullptr);
        EXPECT_EQ(editor.CurrentRow, nullptr);
        EXPECT_EQ(CallsOfClosing(editor), Calls{});
        EXPECT_EQ(pictures.LockedPixels(), 0);
    }
};

// --- desktop pictures -----------------------------------------------------------------------------------------------

TEST_F(PictureEditors, OpenDesktopPicturesOf32And24Bits) {
    struct Case {
        int bits, pixelType, bytesPerPixel, rowBytes;
    };
    for (const Case& each : {Case{32, 13, 4, 21}, Case{24, 12, 3, 17}}) {
        SCOPED_TRACE(each.bits);
        Know(World::desktop);
        const REALobject picture = pictures.NewDesktop(4, 3, each.bits, "source", 5);
        PictureEditor editor = Dirty();
        ASSERT_TRUE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(), Opening("source"));
        EXPECT_EQ(editor.PixelType, each.pixelType);
        EXPECT_EQ(editor.BytesPerPixel, each.bytesPerPixel);
        EXPECT_EQ(editor.RowBytes, each.rowBytes);
        EXPECT_EQ(editor.Width, 4);
        EXPECT_EQ(editor.Height, 3);
        EXPECT_EQ(editor.FirstRow, pictures[picture].Row(0));
        EXPECT_EQ(editor.CurrentRow, pictures[picture].Row(0));
        EXPECT_EQ(editor.Buffer, nullptr);
        EXPECT_EQ(editor.Picture, picture);
        EXPECT_EQ(editor.Description.kind, 4);
        EXPECT_EQ(static_cast<void*>(editor.PixMap), pictures[picture].gworld->handle());
        EXPECT_EQ(editor.RowTable, nullptr);
        EXPECT_EQ(editor.ColumnIndex, 0);
        EXPECT_EQ(editor.RowIndex, 0);
        EXPECT_TRUE(editor.AllowCopy);
        EXPECT_FALSE(editor.ForWriting);
        EXPECT_EQ(host.Locks(picture), 2);
        EXPECT_EQ(pictures.LockedDescriptions(), 1);
        EXPECT_EQ(pictures.LockedPixels(), 1);

        EXPECT_EQ(CallsOfClosing(editor), (Calls{"UnlockPixels(pixmap of source)", "unlockPictureDescription(source)",
                                                 "REALUnlockObject(source)"}));
        EXPECT_EQ(editor.PixMap, nullptr);
        EXPECT_EQ(editor.Picture, nullptr);
        EXPECT_EQ(CallsOfClosing(editor), Calls{}) << "closing twice does no harm";
        EXPECT_EQ(pictures[picture].cacheClears, 0);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureEditors, ClearTheCacheOfWhatTheyWrote) {
    Know(World::desktop);
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "target");
    PictureEditor editor = Dirty();
    ASSERT_TRUE(OpenAlone(editor, desktop, false, true));
    EXPECT_FALSE(editor.AllowCopy);
    EXPECT_TRUE(editor.ForWriting);
    EXPECT_EQ(CallsOfClosing(editor), (Calls{"UnlockPixels(pixmap of target)", "unlockPictureDescription(target)",
                                             "REALPictureClearCache(target)", "REALUnlockObject(target)"}));
    Know(World::console);
    const REALobject console = pictures.NewConsole(4, 3, "target");
    ASSERT_TRUE(OpenAlone(editor, console, false, true));
    EXPECT_EQ(CallsOfClosing(editor),
              (Calls{"unlockPictureDescription(target)", "REALPictureClearCache(target)", "REALUnlockObject(target)"}));
    EXPECT_EQ(CallsOfClosing(editor), Calls{}) << "closing twice does no harm";
    REALUnlockObject(desktop);
    REALUnlockObject(console);
}

TEST_F(PictureEditors, FindOutTheWorldWhereItIsUnknown) {
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "source");
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, desktop));
    EXPECT_EQ(pictures.Calls(), Joined({kLookUps, Opening("source")}));
    EXPECT_TRUE(IsDesktop);
    EXPECT_FALSE(IsConsole);
    ClosePictureReader(editor);
    REALUnlockObject(desktop);

    for (const World world : {World::console, World::web}) {
        pictures.Enter(world);
        const REALobject console = pictures.NewConsole(4, 3, "source");
        ASSERT_TRUE(OpenAlone(editor, console));
        EXPECT_EQ(pictures.Calls(),
                  Joined({kLookUps, {"REALLockPictureDescription(source, 10)", "REALLockObject(source)"}}));
        EXPECT_TRUE(IsConsole);
        EXPECT_FALSE(IsDesktop);
        ClosePictureReader(editor);
        REALUnlockObject(console);
    }
}

TEST_F(PictureEditors, ReadOtherDepthsThroughACopyThatGoesAtClosing) {
    for (const int bits : {16, 8, 1}) {
        for (const bool allowCopy : {true, false}) {  // the depth alone asks for this copy
            SCOPED_TRACE(bits);
            Know(World::desktop);
            const REALobject picture = pictures.NewNoise(Kind::desktop, bits, 4, 3, 77, "source");
            PictureEditor editor;
            pictures.RestartNumbers();
            ASSERT_TRUE(OpenAlone(editor, picture, allowCopy, false));
            EXPECT_EQ(pictures.Calls(), Joined({AskingFor("source"),
                                                {"unlockPictureDescription(source)"},
                                                CopyingAsNew1("source"),
                                                Opening("new 1"),
                                                {"REALUnlockObject(new 1)"}}));
            EXPECT_EQ(editor.PixelType, PixelTypeARGB32);
            EXPECT_EQ(editor.BytesPerPixel, 4);
            EXPECT_EQ(editor.Width, 4);
            EXPECT_EQ(editor.Height, 3);
            EXPECT_EQ(editor.AllowCopy != 0, allowCopy);
            const REALobject copy = editor.Picture;
            EXPECT_EQ(pictures[copy].name, "new 1");
            EXPECT_EQ(host.Locks(copy), 1) << "the editor's own";
            EXPECT_EQ(host.Locks(picture), 1);
            EXPECT_EQ(pictures[picture].descriptionLocks, 0);
            for (int y = 0; y < 3; ++y) {
                for (int x = 0; x < 4; ++x) {
                    const FakePixel expected = pictures[picture].Get(x, y);
                    const std::uint8_t* const pixel = editor.CurrentRow + x * 4;
                    EXPECT_EQ(pixel[1], expected.red);
                    EXPECT_EQ(pixel[2], expected.green);
                    EXPECT_EQ(pixel[3], expected.blue);
                }
                NextRow(editor);
            }
            ClosePictureReader(editor);
            EXPECT_FALSE(host.IsAlive(copy));
            REALUnlockObject(picture);
        }
    }
}

TEST_F(PictureEditors, DoNotWriteOtherDepths) {
    for (const int bits : {16, 8, 1}) {
        for (const bool allowCopy : {true, false}) {
            SCOPED_TRACE(bits);
            Know(World::desktop);
            const REALobject picture = pictures.NewDesktop(4, 3, bits, "target");
            PictureEditor editor = Dirty();
            EXPECT_FALSE(OpenAlone(editor, picture, allowCopy, true));
            EXPECT_EQ(pictures.Calls(), Joined({AskingFor("target"), {"unlockPictureDescription(target)"}}));
            ExpectNothingHeld(editor);
            REALUnlockObject(picture);
        }
    }
}

TEST_F(PictureEditors, GiveUpOtherDepthsThatCannotBeCopied) {
    Know(World::desktop);
    const Calls asked = Joined({AskingFor("source"), {"unlockPictureDescription(source)"}});
    const REALobject picture = pictures.NewDesktop(4, 3, 16, "source");
    PictureEditor editor;
    for (const auto& [width, height] : {std::pair(0, 3), std::pair(4, 0), std::pair(-4, 3), std::pair(4, -1)}) {
        pictures[picture].told.width = width;
        pictures[picture].told.height = height;
        EXPECT_FALSE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(), asked) << width << " x " << height;
        ExpectNothingHeld(editor);
    }
    pictures[picture].told.width = 4;
    pictures[picture].told.height = 3;
    pictures.FailCall("newPicture");
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Joined({asked, {"newPicture(4, 3, 32)"}}));
    ExpectNothingHeld(editor);
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, CopyOnceOnlyWhereNewPicturesCannotBeReadEither) {
    Know(World::desktop);
    pictures.newBits = 16;
    const REALobject picture = pictures.NewDesktop(4, 3, 8, "source");
    PictureEditor editor;
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Joined({AskingFor("source"),
                                        {"unlockPictureDescription(source)"},
                                        CopyingAsNew1("source"),
                                        AskingFor("new 1"),
                                        {"unlockPictureDescription(new 1)", "REALUnlockObject(new 1)"}}));
    ExpectNothingHeld(editor);
    EXPECT_EQ(host.LiveObjects(), 1u);
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, ReadThroughACopyWhereTheDepthIsNotTold) {
    Know(World::desktop);
    const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
    pictures.FailCall("GetPixDepth");
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures[editor.Picture].name, "new 1");
    ClosePictureReader(editor);
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, HoldNothingWhenOpeningADesktopPictureFails) {
    struct Case {
        const char* failing;
        Calls calls;
    };
    const Case cases[] = {
        {"GetGWorldPixMap",
         {"lockPictureDescription(source)", "GetGWorldPixMap(gworld of source)", "unlockPictureDescription(source)"}},
        {"LockPixels",
         Joined({AskingFor("source"), {"LockPixels(pixmap of source)", "unlockPictureDescription(source)"}})},
        {"GetPixBaseAddr", Joined({AskingFor("source"),
                                   {"LockPixels(pixmap of source)", "GetPixBaseAddr(pixmap of source)",
                                    "UnlockPixels(pixmap of source)", "unlockPictureDescription(source)"}})},
    };
    for (const Case& each : cases) {
        for (const bool forWriting : {false, true}) {
            SCOPED_TRACE(each.failing);
            Know(World::desktop);
            const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
            pictures.FailCall(each.failing);
            PictureEditor editor = Dirty();
            EXPECT_FALSE(OpenAlone(editor, picture, !forWriting, forWriting));
            EXPECT_EQ(pictures.Calls(), each.calls);
            ExpectNothingHeld(editor);
            EXPECT_EQ(host.Locks(picture), 1);
            REALUnlockObject(picture);
        }
    }
}

TEST_F(PictureEditors, RefuseADesktopPictureWithoutData) {
    pictures.Enter(World::none);
    const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
    pictures[picture].told.data = nullptr;
    PictureEditor editor;
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(),
              Joined({kLookUps, {"lockPictureDescription(source)", "unlockPictureDescription(source)"}}));
    EXPECT_TRUE(IsDesktop) << "its kind tells that much";
    EXPECT_FALSE(IsConsole);
    ExpectNothingHeld(editor);
    REALUnlockObject(picture);
}

// --- pictures of another kind ---------------------------------------------------------------------------------------

TEST_F(PictureEditors, ReadPicturesOfAnotherKindThroughACopyAndLeaveTheirLock) {
    Know(World::desktop);
    for (const Kind kind : {Kind::other, Kind::console}) {
        const REALobject picture = pictures.NewNoise(kind, 32, 4, 3, 5, "source");
        pictures.RestartNumbers();
        PictureEditor editor;
        ASSERT_TRUE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(), Joined({{"lockPictureDescription(source)"},
                                            AskingForSize("source"),
                                            CopyingAsNew1("source"),
                                            Opening("new 1"),
                                            {"REALUnlockObject(new 1)"}}));
        EXPECT_EQ(editor.PixelType, PixelTypeARGB32);
        const FakePixel first = pictures[picture].Get(0, 0);
        EXPECT_EQ(editor.CurrentRow[1], first.red);
        EXPECT_EQ(editor.CurrentRow[2], first.green);
        EXPECT_EQ(editor.CurrentRow[3], first.blue);
        const REALobject copy = editor.Picture;
        EXPECT_EQ(host.Locks(copy), 1);
        ClosePictureReader(editor);
        EXPECT_FALSE(host.IsAlive(copy));
        pictures.TakeDescriptionLocks(picture, 1);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureEditors, NeitherWriteNorReadAnotherKindWithoutACopy) {
    struct Case {
        bool allowCopy, forWriting;
    };
    for (const Case each : {Case{false, false}, Case{true, true}, Case{false, true}}) {
        Know(World::desktop);
        const REALobject picture = pictures.NewOther(4, 3, "source");
        PictureEditor editor;
        EXPECT_FALSE(OpenAlone(editor, picture, each.allowCopy, each.forWriting));
        EXPECT_EQ(pictures.Calls(), Calls{"lockPictureDescription(source)"});
        pictures.TakeDescriptionLocks(picture, 1);
        ExpectNothingHeld(editor);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureEditors, GiveUpAnotherKindThatCannotBeCopied) {
    struct Case {
        const char* failing;
        Calls calls;
    };
    const Calls sizes = AskingForSize("source");
    const Case cases[] = {
        {"REALGetPropValueInt", Joined({{"lockPictureDescription(source)"}, sizes})},
        {"newPicture", Joined({{"lockPictureDescription(source)"}, sizes, {"newPicture(4, 3, 32)"}})},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.failing);
        Know(World::desktop);
        const REALobject picture = pictures.NewOther(4, 3, "source");
        pictures.FailCall(each.failing);
        PictureEditor editor;
        EXPECT_FALSE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(), each.calls);
        pictures.TakeDescriptionLocks(picture, 1);
        ExpectNothingHeld(editor);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureEditors, CopyAnotherKindOnceOnly) {
    Know(World::desktop);
    pictures.newKind = Kind::other;
    pictures.locksAreCounted = false;
    const REALobject picture = pictures.NewOther(4, 3, "source");
    PictureEditor editor;
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Joined({{"lockPictureDescription(source)"},
                                        AskingForSize("source"),
                                        CopyingAsNew1("source"),
                                        {"lockPictureDescription(new 1)", "REALUnlockObject(new 1)"}}));
    ExpectNothingHeld(editor);
    EXPECT_EQ(host.LiveObjects(), 1u);
    pictures.TakeDescriptionLocks(picture, 1);
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, ReleaseTheCopyThatCannotBeOpened) {
    Know(World::desktop);
    for (const char* failing : {"GetGWorldPixMap", "LockPixels", "GetPixBaseAddr"}) {
        SCOPED_TRACE(failing);
        const REALobject picture = pictures.NewOther(4, 3, "source");
        pictures.FailCall(failing);
        PictureEditor editor;
        EXPECT_FALSE(OpenAlone(editor, picture));
        EXPECT_EQ(host.LiveObjects(), 1u);
        pictures.TakeDescriptionLocks(picture, 1);
        ExpectNothingHeld(editor);
        REALUnlockObject(picture);
    }
}

// --- console pictures -----------------------------------------------------------------------------------------------

TEST_F(PictureEditors, OpenConsolePictures) {
    Know(World::console);
    const REALobject picture = pictures.NewConsole(4, 3, "source");
    PictureEditor editor = Dirty();
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), (Calls{"REALLockPictureDescription(source, 10)", "REALLockObject(source)"}));
    EXPECT_EQ(editor.PixelType, PixelTypeNative32);
    EXPECT_EQ(editor.PixelType, 8);
    EXPECT_EQ(editor.BytesPerPixel, 4);
    EXPECT_EQ(editor.RowBytes, 16);
    EXPECT_EQ(editor.Width, 4);
    EXPECT_EQ(editor.Height, 3);
    EXPECT_EQ(editor.FirstRow, pictures[picture].Row(0));
    EXPECT_EQ(editor.CurrentRow, pictures[picture].Row(0));
    EXPECT_EQ(editor.RowTable, pictures[picture].image->tpixels);
    EXPECT_EQ(editor.PixMap, nullptr);
    EXPECT_EQ(editor.Buffer, nullptr);
    EXPECT_EQ(editor.Picture, picture);
    EXPECT_EQ(editor.Description.kind, 10);
    EXPECT_EQ(editor.ColumnIndex, 0);
    EXPECT_EQ(editor.RowIndex, 0);
    EXPECT_TRUE(editor.AllowCopy);
    EXPECT_FALSE(editor.ForWriting);
    EXPECT_EQ(host.Locks(picture), 2);
    EXPECT_EQ(pictures.LockedDescriptions(), 1);
    EXPECT_EQ(CallsOfClosing(editor), (Calls{"unlockPictureDescription(source)", "REALUnlockObject(source)"}));
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, RefuseConsolePicturesWithoutTrueColour) {
    struct Case {
        const char* what;
        void (*spoil)(FakePicture&);
    };
    const Case cases[] = {
        {"a palette picture", nullptr},
        {"a palette beside the rows", [](FakePicture& p) { p.image->pixels = p.paletteTable.data(); }},
        {"no rows", [](FakePicture& p) { p.image->tpixels = nullptr; }},
        {"no true colour", [](FakePicture& p) { p.image->trueColor = 0; }},
        {"no data", [](FakePicture& p) { p.told.data = nullptr; }},
        {"another kind", [](FakePicture& p) { p.told.kind = 4; }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        pictures.Enter(World::console);
        const REALobject picture =
            each.spoil ? pictures.NewConsole(10, 10, "source") : pictures.NewPalette(10, 10, "source");
        if (each.spoil) each.spoil(pictures[picture]);
        PictureEditor editor = Dirty();
        EXPECT_FALSE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(),
                  Joined({kLookUps, {"REALLockPictureDescription(source, 10)", "unlockPictureDescription(source)"}}));
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        EXPECT_EQ(host.Locks(picture), 1);
        ExpectNothingHeld(editor);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureEditors, RefuseWhatCannotBeLockedAsGDImageOnHostsOfEveryAge) {
    struct Case {
        double version;
        Calls calls;
    };
    const Calls lock = {"REALLockPictureDescription(source, 10)"};
    const Case cases[] = {
        {2013.0, lock}, {2012.0, lock}, {2011.99, Joined({lock, {"unlockPictureDescription(source)"}})}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.version);
        host.SetVersion(each.version);
        Know(World::console);
        const REALobject picture = pictures.NewOther(4, 3, "source");
        PictureEditor editor;
        EXPECT_FALSE(OpenAlone(editor, picture));
        EXPECT_EQ(pictures.Calls(), each.calls) << "no copy in a console application";
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        ExpectNothingHeld(editor);
        REALUnlockObject(picture);
    }
}

// --- neither world --------------------------------------------------------------------------------------------------

TEST_F(PictureEditors, TryBothWorldsWhereTheApplicationIsOfNone) {
    pictures.Enter(World::none);
    PictureEditor editor;
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "source");
    ASSERT_TRUE(OpenAlone(editor, desktop));
    EXPECT_EQ(pictures.Calls(), Joined({kLookUps, Opening("source")}));
    EXPECT_TRUE(IsDesktop);
    EXPECT_FALSE(IsConsole);
    ClosePictureReader(editor);
    REALUnlockObject(desktop);

    pictures.Enter(World::none);
    const REALobject console = pictures.NewConsole(4, 3, "source");
    ASSERT_TRUE(OpenAlone(editor, console, false, false));
    EXPECT_EQ(pictures.Calls(), Joined({kLookUps,
                                        {"lockPictureDescription(source)", "REALLockPictureDescription(source, 10)",
                                         "REALLockObject(source)"}}));
    EXPECT_TRUE(IsConsole);
    EXPECT_FALSE(IsDesktop);
    EXPECT_EQ(editor.PixelType, PixelTypeNative32);
    ClosePictureReader(editor);
    pictures.TakeDescriptionLocks(console, 1);
    REALUnlockObject(console);
}

TEST_F(PictureEditors, CopyAConsolePictureOnceWhereTheApplicationIsOfNone) {
    pictures.Enter(World::none);
    pictures.locksAreCounted = false;  // the copy keeps its first lock as well
    const REALobject picture = pictures.NewConsole(4, 3, "source");
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Joined({kLookUps,
                                        {"lockPictureDescription(source)"},
                                        AskingForSize("source"),
                                        CopyingAsNew1("source"),
                                        kLookUps,
                                        {"lockPictureDescription(new 1)", "REALLockPictureDescription(new 1, 10)",
                                         "REALLockObject(new 1)", "REALUnlockObject(new 1)"}}));
    EXPECT_TRUE(IsConsole);
    const REALobject copy = editor.Picture;
    EXPECT_EQ(host.Locks(copy), 1);
    ClosePictureReader(editor);
    EXPECT_FALSE(host.IsAlive(copy));
    pictures.TakeDescriptionLocks(picture, 1);

    // Once the console is found out, pictures are read directly.
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(editor.Picture, picture);
    ClosePictureReader(editor);
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, RefuseTheDesktopsPicturesAndTheConsolesInEachOthersWorld) {
    Know(World::console);
    PictureEditor editor;
    const REALobject desktop = pictures.NewDesktop(4, 3, 32, "source");
    EXPECT_FALSE(OpenAlone(editor, desktop));
    EXPECT_EQ(pictures.Calls(), Calls{"REALLockPictureDescription(source, 10)"});
    EXPECT_FALSE(IsDesktop);
    REALUnlockObject(desktop);

    Know(World::desktop);
    const REALobject console = pictures.NewConsole(4, 3, "source");
    EXPECT_FALSE(OpenAlone(editor, console, false, true));
    EXPECT_EQ(pictures.Calls(), Calls{"lockPictureDescription(source)"});
    EXPECT_FALSE(IsConsole);
    pictures.TakeDescriptionLocks(console, 1);
    REALUnlockObject(console);
}

TEST_F(PictureEditors, RefuseEveryPictureOnceBothWorldsAreSet) {
    IsConsole = IsDesktop = true;
    const REALobject picture = pictures.NewConsole(4, 3);
    PictureEditor editor;
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Calls{});
    REALUnlockObject(picture);
}

TEST_F(PictureEditors, RefuseNilWithoutACallOfTheHost) {
    PictureEditor editor = Dirty();
    EXPECT_FALSE(OpenAlone(editor, nullptr));
    EXPECT_EQ(pictures.Calls(), Calls{});
    EXPECT_TRUE(IsCleared(editor));
    ExpectNothingHeld(editor);
}

TEST(PictureEditorWithoutQuickDraw, SeesNoPixelMap) {
    InFreshProcess([] {
        FakeHost host;
        FakePictures pictures(host, World::none);
        IsDesktop = true;
        const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
        PictureEditor editor;
        for (int attempt = 0; attempt < 2; ++attempt) {
            pictures.ClearCalls();
            EXPECT_FALSE(GetPictureReader(editor, picture));
            EXPECT_EQ(pictures.Calls(), (Calls{"lockPictureDescription(source)", "unlockPictureDescription(source)"}));
        }
        FakePictures::LoadQuickDraw();
        EXPECT_TRUE(GetPictureReader(editor, picture)) << "looked for again";
        ClosePictureReader(editor);
        REALUnlockObject(picture);
    });
}

// --- rows -----------------------------------------------------------------------------------------------------------

TEST_F(PictureEditors, StepFromRowToRowAndBackToTheFirst) {
    struct Case {
        World world;
        int bits;
    };
    for (const Case each : {Case{World::desktop, 32}, Case{World::desktop, 24}, Case{World::console, 32}}) {
        SCOPED_TRACE(each.bits);
        Know(each.world);
        const REALobject picture =
            each.world == World::desktop ? pictures.NewDesktop(4, 3, each.bits) : pictures.NewConsole(4, 3);
        PictureEditor editor;
        ASSERT_TRUE(GetPictureReader(editor, picture));
        for (int y = 0; y < 3; ++y) {
            EXPECT_EQ(editor.RowIndex, y);
            EXPECT_EQ(editor.CurrentRow, pictures[picture].Row(y)) << "row " << y;
            editor.ColumnIndex = 7;
            NextRow(editor);
            EXPECT_EQ(editor.ColumnIndex, 0);
        }
        for (int beyond = 3; beyond < 6; ++beyond) {
            EXPECT_EQ(editor.RowIndex, beyond);
            EXPECT_EQ(editor.CurrentRow, pictures[picture].Row(0)) << "behind the last row";
            NextRow(editor);
        }
        ClosePictureReader(editor);
        REALUnlockObject(picture);
    }
}

// --- writers --------------------------------------------------------------------------------------------------------

TEST_F(PictureEditors, WriteNewPicturesInBothWorlds) {
    for (const World world : {World::desktop, World::console, World::none}) {
        Know(world);
        pictures.RestartNumbers();
        pictures.locksAreCounted = world != World::none;
        PictureEditor editor = Dirty();
        pictures.ClearCalls();
        ASSERT_TRUE(NewPictureWriter(editor, 4, 3));
        const Calls opening = world == World::desktop ? Opening("new 1")
                              : world == World::console
                                  ? Calls{"REALLockPictureDescription(new 1, 10)", "REALLockObject(new 1)"}
                                  : Joined({kLookUps,
                                            {"lockPictureDescription(new 1)", "REALLockPictureDescription(new 1, 10)",
                                             "REALLockObject(new 1)"}});
        EXPECT_EQ(pictures.Calls(), Joined({{"newPicture(4, 3, 32)"}, opening, {"REALUnlockObject(new 1)"}}));
        EXPECT_FALSE(editor.AllowCopy);
        EXPECT_TRUE(editor.ForWriting);
        EXPECT_EQ(editor.Width, 4);
        EXPECT_EQ(editor.Height, 3);
        EXPECT_EQ(host.Locks(editor.Picture), 1);

        const REALobject made = editor.Picture;
        pictures.ClearCalls();
        EXPECT_EQ(RenderPictureWriter(editor), made);
        Calls closing = {"REALLockObject(new 1)",           "UnlockPixels(pixmap of new 1)",
                         "unlockPictureDescription(new 1)", "REALPictureClearCache(new 1)",
                         "REALUnlockObject(new 1)",         "REALPictureClearCache(new 1)"};
        if (world != World::desktop) closing.erase(closing.begin() + 1);
        EXPECT_EQ(pictures.Calls(), closing);
        EXPECT_EQ(pictures[made].cacheClears, 2);
        EXPECT_EQ(host.Locks(made), 1) << "the caller's";
        EXPECT_EQ(editor.Picture, nullptr);
        EXPECT_EQ(RenderPictureWriter(editor), nullptr) << "it is closed";
        REALUnlockObject(made);
    }
}

TEST_F(PictureEditors, GoAwayWithTheirNewPictureWhenClosed) {
    for (const World world : {World::desktop, World::console}) {
        Know(world);
        PictureEditor editor;
        ASSERT_TRUE(NewPictureWriter(editor, 4, 3));
        ClosePictureReader(editor);
        EXPECT_EQ(host.LiveObjects(), 0u);
    }
}

TEST_F(PictureEditors, MakePicturesOfUpTo32767PixelsASide) {
    for (const World world : {World::desktop, World::console}) {
        Know(world);
        for (const auto& [width, height] : {std::pair(32767, 1), std::pair(1, 32767), std::pair(1, 1)}) {
            PictureEditor editor;
            EXPECT_TRUE(NewPictureWriter(editor, width, height)) << width << " x " << height;
            EXPECT_EQ(editor.Width, width);
            EXPECT_EQ(editor.Height, height);
            ClosePictureReader(editor);
        }
    }
    pictures.ClearCalls();
    for (const auto& [width, height] : {std::pair(32768, 1), std::pair(1, 32768), std::pair(0, 10), std::pair(10, 0),
                                        std::pair(-1, 5), std::pair(5, -1), std::pair(2147483647, 2147483647)}) {
        PictureEditor editor = Dirty();
        EXPECT_FALSE(NewPictureWriter(editor, width, height)) << width << " x " << height;
        EXPECT_TRUE(IsCleared(editor));
    }
    EXPECT_EQ(pictures.Calls(), Calls{});
}

TEST_F(PictureEditors, HoldNothingWhenAWriterCannotBeMade) {
    Know(World::desktop);
    PictureEditor editor = Dirty();
    pictures.FailCall("newPicture");
    pictures.ClearCalls();
    EXPECT_FALSE(NewPictureWriter(editor, 4, 3));
    EXPECT_EQ(pictures.Calls(), Calls{"newPicture(4, 3, 32)"});
    EXPECT_TRUE(IsCleared(editor));
    for (const char* failing : {"GetGWorldPixMap", "GetPixDepth", "LockPixels", "GetPixBaseAddr"}) {
        SCOPED_TRACE(failing);
        pictures.FailCall(failing);
        EXPECT_FALSE(NewPictureWriter(editor, 4, 3));
        EXPECT_EQ(host.LiveObjects(), 0u);
        ExpectNothingHeld(editor);
        EXPECT_EQ(RenderPictureWriter(editor), nullptr);
    }
    Know(World::console);
    pictures.FailCall("REALLockPictureDescription");
    EXPECT_FALSE(NewPictureWriter(editor, 4, 3));
    EXPECT_EQ(host.LiveObjects(), 0u);
    pictures.newKind = Kind::palette;
    EXPECT_FALSE(NewPictureWriter(editor, 4, 3));
    EXPECT_EQ(host.LiveObjects(), 0u);
}

TEST_F(PictureEditors, RenderABufferWhereThereIsNoPicture) {
    std::uint8_t pixels[64] = {};
    PictureEditor editor{};
    editor.Width = 4;
    editor.Height = 3;
    editor.RowBytes = 20;
    editor.Buffer = pixels;
    pictures.ClearCalls();
    const REALobject built = RenderPictureWriter(editor);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(pictures.Calls(),
              (Calls{"REALBuildPictureFromBuffer(4, 3, 1, buffer, 20)", "REALPictureClearCache(built)"}));
    EXPECT_EQ(host.Locks(built), 1);
    REALUnlockObject(built);

    pictures.FailCall("REALBuildPictureFromBuffer");
    pictures.ClearCalls();
    EXPECT_EQ(RenderPictureWriter(editor), nullptr);
    EXPECT_EQ(pictures.Calls(), Calls{"REALBuildPictureFromBuffer(4, 3, 1, buffer, 20)"});

    // A picture goes before a buffer.
    Know(World::console);
    ASSERT_TRUE(NewPictureWriter(editor, 4, 3));
    const REALobject made = editor.Picture;
    editor.Buffer = pixels;
    pictures.ClearCalls();
    EXPECT_EQ(RenderPictureWriter(editor), made);
    EXPECT_EQ(host.Count("REALBuildPictureFromBuffer"), 0);
    REALUnlockObject(made);
}

TEST_F(PictureEditors, RenderNothingFromAnEmptyEditor) {
    PictureEditor editor{};
    pictures.ClearCalls();
    EXPECT_EQ(RenderPictureWriter(editor), nullptr);
    EXPECT_EQ(pictures.Calls(), Calls{});
}

// --- every failure --------------------------------------------------------------------------------------------------

TEST_F(PictureEditors, LoseNoLockAndNoReferenceWhicheverCallFails) {
    const char* const functions[] = {"newPicture",
                                     "lockPictureDescription",
                                     "REALLockPictureDescription",
                                     "pluginPictureGraphicsGetter",
                                     "REALLoadObjectMethod",
                                     "DrawPicture",
                                     "GetGWorldPixMap",
                                     "GetPixDepth",
                                     "LockPixels",
                                     "GetPixBaseAddr",
                                     "GetPixRowBytes"};
    struct Source {
        World world;
        Kind kind;
        int bits;
    };
    const Source sources[] = {{World::desktop, Kind::desktop, 32}, {World::desktop, Kind::desktop, 24},
                              {World::desktop, Kind::desktop, 16}, {World::desktop, Kind::desktop, 1},
                              {World::console, Kind::console, 32}, {World::web, Kind::console, 32},
                              {World::console, Kind::palette, 8},  {World::console, Kind::other, 32}};
    int failures = 0;
    for (const Source& source : sources) {
        for (const char* function : functions) {
            for (const bool forWriting : {false, true}) {
                for (int n = 1; n <= 3; ++n) {
                    SCOPED_TRACE(std::string(function) + " fails, bits " + std::to_string(source.bits));
                    Know(source.world);
                    const REALobject picture = pictures.NewNoise(source.kind, source.bits, 4, 3, 9);
                    const std::vector<std::uint8_t> before =
                        source.kind == Kind::other ? std::vector<std::uint8_t>{} : pictures[picture].Bytes();
                    // A copy whose kind is not told keeps its lock when it goes.
                    pictures.locksAreCounted = std::string(function) != "lockPictureDescription";
                    pictures.FailCall(function, n);
                    PictureEditor editor;
                    const bool opened = GetPictureReader(editor, picture, !forWriting, forWriting);
                    failures += !opened;
                    if (!opened) {
                        EXPECT_EQ(editor.Picture, nullptr);
                        EXPECT_EQ(editor.PixMap, nullptr);
                    }
                    ClosePictureReader(editor);
                    pictures.FailNothing();
                    EXPECT_EQ(host.Locks(picture), 1);
                    EXPECT_EQ(host.LiveObjects(), 1u);
                    EXPECT_EQ(pictures.LockedPixels(), 0);
                    const bool notOfTheWorldsKind =
                        source.world == World::desktop && std::string(function) == "lockPictureDescription" && n == 1;
                    pictures.TakeDescriptionLocks(picture, notOfTheWorldsKind ? 1 : 0);
                    if (source.kind != Kind::other) {
                        EXPECT_EQ(pictures[picture].Bytes(), before);
                    }
                    REALUnlockObject(picture);
                }
            }
        }
    }
    EXPECT_GT(failures, 20);
}

}  // namespace
