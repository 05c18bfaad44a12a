// Console pictures in the editor, applications of neither world, and the walk from row to row.

#include "exchange/EditorTest.h"

using namespace zor;

namespace {

class ConsoleEditors : public PictureEditors {};

// --- console pictures -----------------------------------------------------------------------------------------------

TEST_F(ConsoleEditors, OpenConsolePictures) {
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

TEST_F(ConsoleEditors, RefuseConsolePicturesWithoutTrueColour) {
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

TEST_F(ConsoleEditors, KeepToTheImageWhereItsDescriptionTellsMore) {
    Know(World::console);
    const REALobject picture = pictures.NewConsole(4, 3, "source");
    pictures[picture].told.width = 9;
    pictures[picture].told.height = 7;
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(editor.Width, 4);
    EXPECT_EQ(editor.Height, 3);
    EXPECT_EQ(editor.RowBytes, 16);
    ClosePictureReader(editor);

    pictures[picture].told.width = 3;
    pictures[picture].told.height = 2;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(editor.Width, 3) << "the description counts where it tells less";
    EXPECT_EQ(editor.Height, 2);
    ClosePictureReader(editor);
    REALUnlockObject(picture);
}

TEST_F(ConsoleEditors, LookAtNoRowOfAnImageWithoutRows) {
    Know(World::console);
    const REALobject picture = pictures.NewConsole(4, 1, "source");
    int* const noRow = reinterpret_cast<int*>(16);
    pictures[picture].table[0] = noRow;  // behind the end of a table without entries
    pictures[picture].image->height = 0;
    PictureEditor editor;
    ASSERT_TRUE(OpenAlone(editor, picture));
    EXPECT_EQ(editor.CurrentRow, nullptr);
    NextRow(editor);
    EXPECT_FALSE(CurrentRowSpan(editor));
    ClosePictureReader(editor);
    REALUnlockObject(picture);
}

TEST_F(ConsoleEditors, RefuseWhatCannotBeLockedAsGDImageOnHostsOfEveryAge) {
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

TEST_F(ConsoleEditors, TryBothWorldsWhereTheApplicationIsOfNone) {
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

TEST_F(ConsoleEditors, CopyAConsolePictureOnceWhereTheApplicationIsOfNone) {
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

TEST_F(ConsoleEditors, RefuseTheDesktopsPicturesAndTheConsolesInEachOthersWorld) {
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

TEST_F(ConsoleEditors, RefuseEveryPictureOnceBothWorldsAreSet) {
    IsConsole = IsDesktop = true;
    const REALobject picture = pictures.NewConsole(4, 3);
    PictureEditor editor;
    EXPECT_FALSE(OpenAlone(editor, picture));
    EXPECT_EQ(pictures.Calls(), Calls{});
    REALUnlockObject(picture);
}

TEST_F(ConsoleEditors, RefuseNilWithoutACallOfTheHost) {
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

TEST_F(ConsoleEditors, StepFromRowToRowAndBackToTheFirst) {
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

}  // namespace
