// Editors that write new pictures, and what is held whichever call of the host fails.

#include "exchange/EditorTest.h"

using namespace zor;

namespace {

class PictureWriters : public PictureEditors {};

// --- writers --------------------------------------------------------------------------------------------------------

TEST_F(PictureWriters, WriteNewPicturesInBothWorlds) {
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

TEST_F(PictureWriters, GoAwayWithTheirNewPictureWhenClosed) {
    for (const World world : {World::desktop, World::console}) {
        Know(world);
        PictureEditor editor;
        ASSERT_TRUE(NewPictureWriter(editor, 4, 3));
        ClosePictureReader(editor);
        EXPECT_EQ(host.LiveObjects(), 0u);
    }
}

TEST_F(PictureWriters, MakePicturesOfUpTo32767PixelsASide) {
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

TEST_F(PictureWriters, HoldNothingWhenAWriterCannotBeMade) {
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

TEST_F(PictureWriters, RenderABufferWhereThereIsNoPicture) {
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

TEST_F(PictureWriters, RenderNothingFromAnEmptyEditor) {
    PictureEditor editor{};
    pictures.ClearCalls();
    EXPECT_EQ(RenderPictureWriter(editor), nullptr);
    EXPECT_EQ(pictures.Calls(), Calls{});
}

// --- every failure --------------------------------------------------------------------------------------------------

TEST_F(PictureWriters, LoseNoLockAndNoReferenceWhicheverCallFails) {
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
