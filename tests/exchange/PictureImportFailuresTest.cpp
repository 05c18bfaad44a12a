// What the import of host pictures leaves behind when something fails or changes in the middle.

#include "NotedImport.h"
#include "core/Construction.h"
#include "core/Formats.h"
#include "exchange/PictureImport.h"

using namespace zor;

namespace {

using ::testing::ElementsAreArray;

class PictureImportFailures : public NotedImport {};

// --- the gate -------------------------------------------------------------------------------------------------------

TEST_F(PictureImportFailures, AnImageWithoutTheChannelsIsLeftWithoutACall) {
    Enter(World::console);
    const REALobject picture = MakeMasked();
    for (const int format : AllFormats()) {
        for (const ImportMember member : kImportMembers) {
            MakeImage(format);
            const bool toGray = member == ImportMember::redToGray || member == ImportMember::greenToGray ||
                                member == ImportMember::blueToGray;
            if (toGray ? image->HasGray : image->HasRed) continue;
            const Storage before = SnapshotOf(image);
            EXPECT_THAT(Run(member, picture), ::testing::IsEmpty()) << NameOf(member) << format;
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        }
    }
    Release(picture);
}

TEST_F(PictureImportFailures, AnImageThatIsNotUsableIsAskedForItsMaskAtMost) {
    Enter(World::console);
    const REALobject picture = MakeMasked();
    for (const ImportMember member : kImportMembers) {
        const bool usesMask = member == ImportMember::masked || member == ImportMember::applyMask;
        const Calls expected = usesMask ? Calls{"REALGetPictureMask(source, 0)"} : Calls{};
        const bool toGray = !usesMask && member != ImportMember::colours;
        const int format = toGray ? ImageFormatGA : ImageFormatRGBA;
        MakeImage(format);
        image->Valid = false;
        EXPECT_THAT(Run(member, picture), ElementsAreArray(expected)) << NameOf(member);
        MakeImage(format);
        image->GetRow = nullptr;
        EXPECT_THAT(Run(member, picture), ElementsAreArray(expected)) << NameOf(member);
        MakeImage(format);
        image->Width = -1;
        EXPECT_THAT(Run(member, picture), ElementsAreArray(expected)) << NameOf(member);
        MakeImage(format);
        image->Height = 0;
        EXPECT_THAT(Run(member, picture), ElementsAreArray(expected)) << NameOf(member);
    }
    Release(picture);
}

TEST_F(PictureImportFailures, NothingIsDrawnFromNoPicture) {
    for (const World world : kWorlds) {
        Enter(world);
        for (const ImportMember member : kImportMembers) {
            const bool toGray = member == ImportMember::redToGray || member == ImportMember::greenToGray ||
                                member == ImportMember::blueToGray;
            MakeImage(toGray ? ImageFormatGA : ImageFormatRGBA);
            const Storage before = SnapshotOf(image);
            const Calls calls = Run(member, nullptr);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
            EXPECT_GE(host.Count("REALYieldToRB"), 1) << NameOf(member);
            EXPECT_EQ(host.Count("REALLockObject"), 0);
        }
        MakeImage(ImageFormatRGBA);
        const Storage before = SnapshotOf(image);
        rbDrawPictureRGB2(image.object(), nullptr);
        rbDrawMaskedPictureRGB2(image.object(), nullptr, false);
        rbDrawPictureApplyMaskRGB2(image.object(), nullptr, true);
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    }
}

TEST_F(PictureImportFailures, AnEmptyRectangleClosesTheEditorsAsUsual) {
    for (const World world : kWorlds) {
        SCOPED_TRACE(NameOf(world));
        Enter(world);
        const REALobject picture = MakeMasked();
        for (const ImportArguments& a :
             {ImportArguments{5, 0, 5, 4, 0, 0, false}, ImportArguments{0, 0, 0, 4, 0, 0, false},
              ImportArguments{0, 0, 5, 4, 0, 5, false}}) {
            SCOPED_TRACE(TextOf(a));
            MakeImage(ImageFormatRGBA);
            const Storage before = SnapshotOf(image);
            EXPECT_THAT(Run(ImportMember::colours, picture, a),
                        ElementsAreArray(Calls{kYield} + Opened("source") + Closed("source") + Calls{kYield}));
            EXPECT_THAT(Run(ImportMember::masked, picture, a),
                        ElementsAreArray(kMaskAsked + Calls{kYield} + Opened("source") + Opened("mask") +
                                         Closed("mask") + Closed("source") + kMaskLeft + Calls{kYield}));
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
            MakeImage(ImageFormatGA);
            EXPECT_THAT(Run(ImportMember::redToGray, picture, a),
                        ElementsAreArray(Calls{kYield} + Opened("source") + Closed("source")));
        }
        Release(picture);
    }
}

// --- openings that fail ---------------------------------------------------------------------------------------------

TEST_F(PictureImportFailures, APictureThatCannotBeOpenedLeavesTheImage) {
    struct Failure {
        World world;
        const char* function;
    };
    for (const Failure& failure :
         {Failure{World::console, "REALLockPictureDescription"}, Failure{World::desktop, "GetGWorldPixMap"},
          Failure{World::desktop, "LockPixels"}, Failure{World::desktop, "GetPixBaseAddr"}}) {
        SCOPED_TRACE(failure.function);
        Enter(failure.world);
        const REALobject picture = MakeMasked();
        for (const ImportMember member : kImportMembers) {
            SCOPED_TRACE(NameOf(member));
            const bool usesMask = member == ImportMember::masked || member == ImportMember::applyMask;
            const bool toGray = !usesMask && member != ImportMember::colours;
            MakeImage(toGray ? ImageFormatGA : ImageFormatRGBA);
            const Storage before = SnapshotOf(image);
            pictures.FailCall(failure.function);
            const Calls calls = Run(member, picture);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
            EXPECT_EQ(host.Count("REALYieldToRB"), toGray ? 1 : 2);
            EXPECT_EQ(host.Count("GetRow"), 0);
            EXPECT_EQ(calls.back() == kYield, !toGray);
            EXPECT_EQ(pictures.LockedDescriptions() + pictures.LockedPixels(), 0);
            EXPECT_EQ(host.Locks(picture), 1);
        }
        Release(picture);
    }
}

TEST_F(PictureImportFailures, AMaskThatCannotBeOpenedLeavesTheImageAndClosesThePicture) {
    for (const ImportMember member : {ImportMember::masked, ImportMember::applyMask}) {
        SCOPED_TRACE(NameOf(member));
        Enter(World::console);
        MakeImage(ImageFormatRGBA);
        const Storage before = SnapshotOf(image);
        const REALobject picture = MakeMasked();
        pictures.FailCall("REALLockPictureDescription", 2);
        EXPECT_THAT(Run(member, picture), ElementsAreArray(kMaskAsked + Calls{kYield} + Opened("source") +
                                                           Calls{"REALLockPictureDescription(mask, 10)"} +
                                                           Closed("source") + kMaskLeft + Calls{kYield}));
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        ExpectBalance(picture, 1);
        Release(picture);
    }
}

TEST_F(PictureImportFailures, AMaskOfPaletteColoursLeavesTheImage) {
    Enter(World::console);
    MakeImage(ImageFormatRGBA);
    const Storage before = SnapshotOf(image);
    const REALobject picture = MakePicture("source");
    pictures[picture].mask = pictures.NewPalette(6, 5, "mask");
    EXPECT_THAT(Run(ImportMember::masked, picture),
                ElementsAreArray(kMaskAsked + Calls{kYield} + Opened("source") +
                                 Calls{"REALLockPictureDescription(mask, 10)", "unlockPictureDescription(mask)"} +
                                 Closed("source") + kMaskLeft + Calls{kYield}));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    ExpectBalance(picture, 1);
    Release(picture);
}

TEST_F(PictureImportFailures, APictureThatIsNeitherReadableNorCopiedLeavesTheImage) {
    const auto untouched = [&](REALobject picture) {
        for (const ImportMember member : {ImportMember::colours, ImportMember::masked, ImportMember::applyMask}) {
            MakeImage(ImageFormatRGBA);
            const Storage before = SnapshotOf(image);
            pictures.FailCall("newPicture");
            Run(member, picture);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image)) << NameOf(member);
            EXPECT_EQ(host.Count("REALYieldToRB"), 2);
            EXPECT_EQ(host.Count("GetRow"), 0);
        }
        EXPECT_EQ(host.Locks(picture), 1);
    };
    Enter(World::console);
    for (const REALobject picture : {pictures.NewPalette(6, 5, "palette"), pictures.NewOther(6, 5, "other")}) {
        untouched(picture);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        REALUnlockObject(picture);
    }
    Enter(World::desktop);
    for (const int bits : {16, 8, 1}) {
        const REALobject picture = pictures.NewDesktop(6, 5, bits, "source");
        untouched(picture);
        EXPECT_EQ(pictures.LockedDescriptions() + pictures.LockedPixels(), 0);
        REALUnlockObject(picture);
    }
    const REALobject other = pictures.NewOther(6, 5, "other");
    untouched(other);
    pictures.TakeDescriptionLocks(other, 3);  // one for each try
    REALUnlockObject(other);
}

// --- what may happen in a yield -------------------------------------------------------------------------------------

TEST_F(PictureImportFailures, GoesOnWithoutRowsWhenAYieldClosesTheImage) {
    for (const World world : kWorlds) {
        for (const ImportMember member : {ImportMember::colours, ImportMember::masked, ImportMember::applyMask}) {
            for (int closing = 1; closing <= 5; ++closing) {
                Enter(world);
                MakeImage(ImageFormatRGBA);
                const REALobject picture = MakeMasked();
                int yields = 0;
                host.onYield = [&] {
                    if (++yields == closing) ImageDestructor(image.object());
                };
                Run(member, picture);
                host.onYield = nullptr;
                EXPECT_GE(yields, closing);
                EXPECT_EQ(host.Count("GetRow"), std::max(0, std::min(closing - 2, 2)));
                ExpectBalance(picture, member == ImportMember::colours ? 0 : 1);
                Release(picture);
            }
        }
    }
}

TEST_F(PictureImportFailures, StaysInsideAnImageThatAYieldMakesAnew) {
    for (const ImportMember member : {ImportMember::colours, ImportMember::masked, ImportMember::applyMask}) {
        for (int changed = 1; changed <= 4; ++changed) {
            Enter(World::console);
            MakeImage(ImageFormatABGR);
            const REALobject picture = MakeMasked();
            int yields = 0;
            host.onYield = [&] {
                if (++yields == changed) ImageConstructor(image.object(), 2, 1, ImageFormatG);
            };
            Run(member, picture, {0, 0, 5, 4, 0, 0, false});
            host.onYield = nullptr;
            EXPECT_GE(yields, changed);
            EXPECT_EQ(image->Width, 2);
            ExpectBalance(picture, member == ImportMember::colours ? 0 : 1);
            Release(picture);
        }
    }
}

// A host that gives no reference with a mask: that of its picture is the only one.
TEST_F(PictureImportFailures, AMaskThatAYieldTakesFromItsPictureIsReadToTheEnd) {
    for (const World world : kWorlds) {
        for (const ImportMember member : {ImportMember::masked, ImportMember::applyMask}) {
            constexpr int turns = 6;  // before the pictures are opened, before the rows and behind each of four
            const auto importWith = [&](int turn, std::vector<std::uint8_t>* bytes) {
                Enter(world);
                MakeImage(ImageFormatARGB);
                const REALobject picture = MakeMasked(), mask = pictures[picture].mask;
                host.pictures.mask = [&](REALobject asked, int) { return pictures[asked].mask; };
                int yields = 0;
                bool alive = true;  // in all turns but the one behind the import
                host.onYield = [&] {
                    if (++yields == turn) {
                        pictures[picture].mask = nullptr;
                        host.Release(mask);
                    }
                    const bool last = yields > turns;
                    alive = alive && (last || host.IsAlive(mask));
                };
                Run(member, picture, {0, 0, 5, 4, 0, 0, false});
                host.onYield = nullptr;
                EXPECT_TRUE(alive) << "the mask went in turn " << turn;
                EXPECT_EQ(yields, turns + 1);
                EXPECT_EQ(host.IsAlive(mask), turn == 0) << "nothing keeps it behind the import";
                EXPECT_EQ(pictures.LockedDescriptions(), 0);
                *bytes = SnapshotOf(image).bytes;
                REALUnlockObject(picture);
            };
            std::vector<std::uint8_t> expected, bytes;
            random = Random(5);
            importWith(0, &expected);
            for (int turn = 1; turn <= turns; ++turn) {
                random = Random(5);
                importWith(turn, &bytes);
                EXPECT_TRUE(SameBytes(expected, bytes)) << NameOf(world) << " turn " << turn;
            }
        }
    }
}

TEST_F(PictureImportFailures, AYieldThatCancelsLeavesNothingOpen) {
    for (const World world : kWorlds) {
        for (const ImportMember member : kImportMembers) {
            const bool usesMask = member == ImportMember::masked || member == ImportMember::applyMask;
            const bool toGray = !usesMask && member != ImportMember::colours;
            for (int cancelled = 1; cancelled <= (toGray ? 1 : 5); ++cancelled) {
                Enter(world);
                MakeImage(toGray ? ImageFormatG : ImageFormatRGB);
                const REALobject picture = MakeMasked();
                int yields = 0;
                host.onYield = [&] {
                    if (++yields == cancelled) throw 42;
                };
                EXPECT_THROW(Run(member, picture), int);
                host.onYield = nullptr;
                ExpectBalance(picture, usesMask);
                Release(picture);
            }
        }
    }
}

}  // namespace
