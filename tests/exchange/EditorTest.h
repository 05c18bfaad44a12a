#pragma once
// What the tests of the picture editor share: the calls of the host that belong together, and a fixture.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "exchange/PictureEditor.h"
#include "support/FakePictures.h"

using namespace zor;

using Kind = FakePicture::Kind;

// The calls that ask for the pixel map and its depth, and those that open it.
inline Calls AskingFor(const std::string& name) {
    return {"lockPictureDescription(" + name + ")", "GetGWorldPixMap(gworld of " + name + ")",
            "GetPixDepth(pixmap of " + name + ")"};
}
inline Calls Opening(const std::string& name) {
    return Joined({AskingFor(name),
                   {"LockPixels(pixmap of " + name + ")", "GetPixBaseAddr(pixmap of " + name + ")",
                    "REALLockObject(" + name + ")", "GetPixRowBytes(pixmap of " + name + ")"}});
}
inline Calls AskingForSize(const std::string& name) {
    return {"REALGetPropValueInt(" + name + ", Width)", "REALGetPropValueInt(" + name + ", Height)"};
}
// Of a picture of 4 x 3 pixels.
inline Calls CopyingAsNew1(const std::string& name) {
    return {"newPicture(4, 3, 32)", "pluginPictureGraphicsGetter(new 1)",
            "REALLoadObjectMethod(graphics of new 1, DrawPicture)",
            "DrawPicture(graphics of new 1, " + name + ", 0, 0, 4, 3, 0, 0, 4, 3)",
            "REALUnlockObject(graphics of new 1)"};
}

inline bool IsCleared(const PictureEditor& editor) {
    PictureEditor cleared;
    std::memset(static_cast<void*>(&cleared), 0, sizeof cleared);
    return editor.RowBytes == 0 && editor.Width == 0 && editor.Height == 0 && editor.BytesPerPixel == 0 &&
           editor.PixelType == 0 && !editor.CurrentRow && !editor.FirstRow && !editor.Buffer && !editor.Picture &&
           std::memcmp(&editor.Description, &cleared.Description, sizeof editor.Description) == 0 && !editor.PixMap &&
           !editor.RowTable && editor.ColumnIndex == 0 && editor.RowIndex == 0 && !editor.AllowCopy &&
           !editor.ForWriting;
}

inline PictureEditor Dirty() {
    PictureEditor editor;
    std::memset(static_cast<void*>(&editor), 0x5B, sizeof editor);
    return editor;
}

class PictureEditors : public EngineTest {
protected:
    FakePictures pictures{host, World::desktop};

    void Know(World world) { pictures.Know(world); }

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
