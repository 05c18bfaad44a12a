// What the import of host pictures asks of its host, and in which order.

#include "NotedImport.h"
#include "core/Formats.h"
#include "exchange/PictureImport.h"

using namespace zor;

namespace {

using ::testing::ElementsAreArray;
using Kind = FakePicture::Kind;

class PictureImportCalls : public NotedImport {};

TEST_F(PictureImportCalls, ColoursAreDrawnRowByRowWithAYieldAfterEach) {
    for (const World world : kWorlds) {
        SCOPED_TRACE(NameOf(world));
        Enter(world);
        MakeImage(ImageFormatRGB);
        const REALobject picture = MakePicture("source");
        EXPECT_THAT(Run(ImportMember::colours, picture),
                    ElementsAreArray(Calls{kYield} + Opened("source") + Calls{kYield} + Row(1) + Calls{kYield} +
                                     Row(2) + Calls{kYield} + Closed("source") + Calls{kYield}));
        ExpectBalance(picture);
        Release(picture);
    }
}

TEST_F(PictureImportCalls, GrayMembersYieldOnceAtTheStart) {
    for (const World world : kWorlds) {
        Enter(world);
        for (const ImportMember member :
             {ImportMember::redToGray, ImportMember::greenToGray, ImportMember::blueToGray}) {
            SCOPED_TRACE(NameOf(world) + NameOf(member));
            MakeImage(ImageFormatGA);
            const REALobject picture = MakePicture("source");
            EXPECT_THAT(Run(member, picture),
                        ElementsAreArray(Calls{kYield} + Opened("source") + Row(1) + Row(2) + Closed("source")));
            ExpectBalance(picture);
            Release(picture);
        }
    }
}

TEST_F(PictureImportCalls, TheMaskIsOpenedLastAndClosedFirstAndItsReferenceIsLeft) {
    for (const World world : kWorlds) {
        Enter(world);
        for (const ImportMember member : {ImportMember::masked, ImportMember::applyMask}) {
            SCOPED_TRACE(NameOf(world) + NameOf(member));
            MakeImage(ImageFormatRGBA);
            const REALobject picture = MakeMasked();
            EXPECT_THAT(Run(member, picture),
                        ElementsAreArray(kMaskAsked + Calls{kYield} + Opened("source") + Opened("mask") +
                                         Calls{kYield} + Row(1) + Calls{kYield} + Row(2) + Calls{kYield} +
                                         Closed("mask") + Closed("source") + kMaskLeft + Calls{kYield}));
            ExpectBalance(picture, 1);
            Release(picture);
        }
    }
}

TEST_F(PictureImportCalls, WithoutAMaskThereIsOneEditor) {
    for (const ImportMember member : {ImportMember::masked, ImportMember::applyMask}) {
        SCOPED_TRACE(NameOf(member));
        Enter(World::console);
        MakeImage(ImageFormatRGBA);
        const REALobject picture = MakePicture("source");
        EXPECT_THAT(Run(member, picture), ElementsAreArray(Calls{"REALGetPictureMask(source, 0)", kYield} +
                                                           Opened("source") + Calls{kYield} + Row(1) + Calls{kYield} +
                                                           Row(2) + Calls{kYield} + Closed("source") + Calls{kYield}));
        ExpectBalance(picture);
        Release(picture);
    }
}

TEST_F(PictureImportCalls, ShortFormsAskForTheSizeFirst) {
    Enter(World::console);
    const REALobject picture = MakeMasked();
    const Calls size = {"REALGetPropValueInt(source, Width)", "REALGetPropValueInt(source, Height)"};
    const auto first = [&](const std::function<void(REALobject)>& call) {
        MakeImage(ImageFormatRGB);
        host.ClearLog();
        call(image.object());
        Calls calls = pictures.Calls();
        calls.resize(5);
        return calls;
    };
    const Calls masked = size + kMaskAsked + Calls{kYield};
    EXPECT_THAT(first([&](REALobject object) { rbDrawMaskedPictureRGB2(object, picture, false); }),
                ElementsAreArray(masked));
    EXPECT_THAT(first([&](REALobject object) { rbDrawMaskedPictureRGB4(object, picture, 1, 1, false); }),
                ElementsAreArray(masked));
    EXPECT_THAT(first([&](REALobject object) { rbDrawPictureApplyMaskRGB2(object, picture, false); }),
                ElementsAreArray(masked));
    EXPECT_THAT(first([&](REALobject object) { rbDrawPictureApplyMaskRGB4(object, picture, 1, 1, false); }),
                ElementsAreArray(masked));
    const Calls plain = size + Calls{kYield, "REALLockPictureDescription(source, 10)", "REALLockObject(source)"};
    EXPECT_THAT(first([&](REALobject object) { rbDrawPictureRGB2(object, picture); }), ElementsAreArray(plain));
    EXPECT_THAT(first([&](REALobject object) { rbDrawPictureRGB4(object, picture, 1, 1); }), ElementsAreArray(plain));
    Release(picture);
}

TEST_F(PictureImportCalls, NothingYieldsWithoutYieldTicks) {
    Enter(World::console);
    const REALobject picture = MakeMasked();
    for (const ImportMember member : kImportMembers) {
        for (const int ticks : {0, -1}) {
            MakeImage(member == ImportMember::colours || member == ImportMember::masked ? ImageFormatRGB
                                                                                        : ImageFormatG);
            image->YieldTicks = ticks;
            Run(member, picture);
            EXPECT_EQ(host.Count("REALYieldToRB"), 0) << NameOf(member);
        }
    }
    Release(picture);
}

TEST_F(PictureImportCalls, APictureThatCannotBeReadInPlaceIsReadThroughACopyThatGoesAway) {
    Enter(World::desktop);
    for (const int bits : {16, 8, 1}) {
        MakeImage(ImageFormatRGB);
        const REALobject picture = pictures.NewNoise(Kind::desktop, bits, 6, 5, 7, "source");
        const std::size_t objects = host.LiveObjects();
        Run(ImportMember::colours, picture);
        EXPECT_EQ(host.Count("newPicture"), 1);
        EXPECT_EQ(host.Count("DrawPicture"), 1);
        EXPECT_EQ(host.LiveObjects(), objects);
        ExpectBalance(picture);
        Release(picture);
    }
}

TEST_F(PictureImportCalls, AnApplicationOfNoKnownKindDrawsDesktopPictures) {
    pictures.Enter(World::none);
    FakePictures::LoadQuickDraw();
    MakeImage(ImageFormatRGB);
    const REALobject picture = pictures.NewNoise(Kind::desktop, 32, 6, 5, 3, "source");
    const FakePixel pixel = pictures[picture].Get(1, 1);
    Run(ImportMember::colours, picture);
    const Storage after = SnapshotOf(image);
    EXPECT_EQ(after.At(PlaceOf(image, 0, 1)), pixel.red);
    EXPECT_EQ(after.At(PlaceOf(image, 0, 1) + 1), pixel.green);
    EXPECT_EQ(after.At(PlaceOf(image, 0, 1) + 2), pixel.blue);
    ExpectBalance(picture);
    Release(picture);
}

}  // namespace
