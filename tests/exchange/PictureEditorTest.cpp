// Opening and closing desktop pictures and pictures of another kind: what the editor holds, and every call of the
// host in its order.

#include "exchange/EditorTest.h"

using namespace zor;

namespace {

class DesktopEditors : public PictureEditors {};

// --- desktop pictures -----------------------------------------------------------------------------------------------

TEST_F(DesktopEditors, OpenDesktopPicturesOf32And24Bits) {
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

TEST_F(DesktopEditors, ClearTheCacheOfWhatTheyWrote) {
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

TEST_F(DesktopEditors, FindOutTheWorldWhereItIsUnknown) {
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

TEST_F(DesktopEditors, ReadOtherDepthsThroughACopyThatGoesAtClosing) {
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

TEST_F(DesktopEditors, DoNotWriteOtherDepths) {
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

TEST_F(DesktopEditors, GiveUpOtherDepthsThatCannotBeCopied) {
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

TEST_F(DesktopEditors, CopyOnceOnlyWhereNewPicturesCannotBeReadEither) {
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

TEST_F(DesktopEditors, ReadThroughACopyWhereTheDepthIsNotTold) {
    Know(World::desktop);
    const REALobject picture = pictures.NewDesktop(4, 3, 32, "source");
    pictures.FailCall("GetPixDepth");
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures[editor.Picture].name, "new 1");
    ClosePictureReader(editor);
    REALUnlockObject(picture);
}

TEST_F(DesktopEditors, HoldNothingWhenOpeningADesktopPictureFails) {
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

TEST_F(DesktopEditors, RefuseADesktopPictureWithoutData) {
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

TEST_F(DesktopEditors, ReadPicturesOfAnotherKindThroughACopyAndLeaveTheirLock) {
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

TEST_F(DesktopEditors, NeitherWriteNorReadAnotherKindWithoutACopy) {
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

TEST_F(DesktopEditors, GiveUpAnotherKindThatCannotBeCopied) {
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

TEST_F(DesktopEditors, CopyAnotherKindOnceOnly) {
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

TEST_F(DesktopEditors, ReleaseTheCopyThatCannotBeOpened) {
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

}  // namespace
