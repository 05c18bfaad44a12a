#pragma once
// A fixture for the import of host pictures that puts every call of the host, every row and every yield into one list.

#include <gmock/gmock.h>

#include "ImportModel.h"
#include "core/RowAccess.h"

using namespace zor;

inline const std::string kYield = "REALYieldToRB(nil)";

inline Calls operator+(Calls a, const Calls& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Row fetches stand in the log beside the host's calls.
inline std::uint8_t* NotedRow(ImageClassData* record, int y) {
    FakeHost::Current().Note("GetRow", nullptr);
    FakeHost::Current().Explain(std::to_string(y));
    return GetRowLinear(record, y);
}

inline Calls Row(int y) {
    return {"GetRow(nil, " + std::to_string(y) + ")"};
}

// The mask is asked for, and kept as long as it is read.
inline const Calls kMaskAsked = {"REALGetPictureMask(source, 0)", "REALLockObject(mask)"};
inline const Calls kMaskLeft = {"REALUnlockObject(mask)"};

class NotedImport : public EngineTest {
protected:
    FakePictures pictures{host, World::console};
    Random random{341};
    TestImage image;

    void TearDown() override {
        image = {};
        EngineTest::TearDown();
    }

    void Enter(World world) { pictures.Know(world); }  // nothing of the look-up stands in the log

    // An image of 5 x 4 in which every chance to yield is taken, since the time of the last yield is forgotten at every
    // call of the host and every row.
    void MakeImage(int format) {
        image = MakePlain(5, 4, format);
        FillWithNoise(image, random);
        ImageClassData* const record = image.record();
        record->GetRow = NotedRow;
        record->YieldTicks = kPatientTicks;
        host.pictures.name = [this, record, name = OriginalName()](const void* subject) {
            if (image) record->LastYieldTick = INT32_MIN / 2;
            return name(subject);
        };
        record->LastYieldTick = INT32_MIN / 2;
    }

    std::function<std::string(const void*)> OriginalName() {
        if (!originalName_) originalName_ = host.pictures.name;
        return originalName_;
    }

    // One lock, the test's.
    REALobject MakePicture(const std::string& name, int width = 6, int height = 5) {
        const bool desktop = IsDesktop;
        return pictures.NewNoise(desktop ? FakePicture::Kind::desktop : FakePicture::Kind::console, 32, width, height,
                                 random.Bits(), name);
    }

    REALobject MakeMasked(int maskWidth = 6, int maskHeight = 5) {
        const REALobject picture = MakePicture("source");
        pictures[picture].mask = MakePicture("mask", maskWidth, maskHeight);
        return picture;
    }

    Calls Opened(const std::string& name) const {
        if (IsConsole) return {"REALLockPictureDescription(" + name + ", 10)", "REALLockObject(" + name + ")"};
        const std::string world = "gworld of " + name, map = "pixmap of " + name;
        return {"lockPictureDescription(" + name + ")",
                "GetGWorldPixMap(" + world + ")",
                "GetPixDepth(" + map + ")",
                "LockPixels(" + map + ")",
                "GetPixBaseAddr(" + map + ")",
                "REALLockObject(" + name + ")",
                "GetPixRowBytes(" + map + ")"};
    }

    Calls Closed(const std::string& name) const {
        const Calls calls = {"unlockPictureDescription(" + name + ")", "REALUnlockObject(" + name + ")"};
        return IsConsole ? calls : Calls{"UnlockPixels(pixmap of " + name + ")"} + calls;
    }

    Calls Run(ImportMember member, REALobject picture, const ImportArguments& arguments = {0, 1, 5, 2, 1, 1, false}) {
        host.ClearLog();
        image->LastYieldTick = INT32_MIN / 2;
        CallImport(member, image, picture, arguments);
        return pictures.Calls();
    }

    void ExpectBalance(REALobject picture, int masksReferences = 0) {
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        EXPECT_EQ(pictures.LockedPixels(), 0);
        EXPECT_EQ(host.Locks(picture), 1);
        const REALobject mask = pictures[picture].mask;
        EXPECT_EQ(host.Locks(mask), mask ? 1 + masksReferences : 0);
    }

    void Release(REALobject picture) {
        const REALobject mask = pictures[picture].mask;
        while (mask && host.Locks(mask) > 1) REALUnlockObject(mask);
        REALUnlockObject(picture);
    }

private:
    std::function<std::string(const void*)> originalName_;
};

constexpr World kWorlds[] = {World::console, World::desktop};

inline const char* NameOf(World world) {
    return world == World::console ? "console" : "desktop";
}
