// Pictures with a mask, and the preview that debuggers show.

#include <gmock/gmock.h>

#include <algorithm>

#include "core/Formats.h"
#include "exchange/ExportModel.h"
#include "exchange/PictureExport.h"

using namespace zor;

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class PictureExportMasks : public EngineTest {
protected:
    FakePictures pictures{host, World::console};

    TestImage Noise(int width, int height, int format) {
        TestImage image = MakePlain(width, height, format);
        FillWithNoise(image, random_);
        return image;
    }

    // The calls that draw, which are those of masks.
    Calls Drawn() {
        Calls drawn;
        for (const std::string& call : pictures.Calls()) {
            if (call.starts_with("DrawPicture(")) drawn.push_back(call);
        }
        return drawn;
    }

private:
    Random random_{1};
};

// --- masks ----------------------------------------------------------------------------------------------------------

TEST_F(PictureExportMasks, DrawTheMaskAtTheSizeOfTheCall) {
    struct Case {
        ExportRect rect;
        const char* size;  // nil: no mask
    };
    const Case cases[] = {
        {{0, 0, 10, 8}, "10, 8"},     {{2, 3, 4, 5}, "4, 5"},   {{-2, 0, 6, 3}, "6, 3"},
        {{5, 5, 100, 90}, "100, 90"}, {{9, 7, -3, 1}, nullptr}, {{9, 7, 1, -3}, nullptr},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(TextOf(each.rect));
        const TestImage image = Noise(10, 8, ImageFormatRGBA);
        const Storage storage = SnapshotOf(image);
        pictures.ClearCalls();
        const REALobject picture =
            rbCopyPictureWithMask(image.object(), each.rect.x, each.rect.y, each.rect.w, each.rect.h);
        ASSERT_TRUE(picture);
        EXPECT_EQ(pictures[picture].Bytes(),
                  ModelExport(image, storage, ExportWhat::colours, each.rect, PixelTypeNative32, 0));
        EXPECT_EQ(host.Count("newPicture"), 2) << "one for the picture, one for the mask";
        ASSERT_EQ(Drawn().size(), each.size ? 1u : 0u);
        const REALobject mask = pictures[picture].mask;
        ASSERT_EQ(mask != nullptr, each.size != nullptr);
        if (each.size) {
            EXPECT_THAT(Drawn()[0], HasSubstr(std::string(", 0, 0, ") + each.size + ", 0, 0, " + each.size + ")"));
            EXPECT_EQ(pictures[mask].Bytes(),
                      ModelExport(image, storage, ExportWhat::alpha, each.rect, PixelTypeNative32, 0));
            EXPECT_EQ(host.Locks(mask), 1) << "the picture's own";
        }
        EXPECT_EQ(host.LiveObjects(), each.size ? 3u : 2u) << "the mask that was drawn has gone";
        EXPECT_EQ(host.Locks(picture), 1);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureExportMasks, GiveThePlainPictureOfAnImageWithoutAlpha) {
    const TestImage image = Noise(4, 4, ImageFormatRGB);
    pictures.ClearCalls();
    const REALobject picture = rbCopyPictureWithMaskAll(image.object());
    ASSERT_TRUE(picture);
    EXPECT_EQ(pictures[picture].mask, nullptr);
    EXPECT_EQ(host.Count("newPicture"), 1);
    EXPECT_EQ(host.Count("REALGetPictureMask"), 0);
    REALUnlockObject(picture);
}

TEST_F(PictureExportMasks, GiveThePictureWhereItsMaskFails) {
    for (const char* const function : {"REALGetPictureMask", "DrawPicture", "second newPicture"}) {
        SCOPED_TRACE(function);
        const TestImage image = Noise(4, 4, ImageFormatRGBA);
        if (std::string(function) == "second newPicture") {
            pictures.FailCall("newPicture", 2);
        } else {
            pictures.FailCall(function);
        }
        const REALobject picture = rbCopyPictureWithMaskAll(image.object());
        pictures.FailNothing();
        ASSERT_TRUE(picture);
        EXPECT_EQ(host.LiveObjects(), pictures[picture].mask ? 3u : 2u);
        REALUnlockObject(picture);
    }
}

TEST_F(PictureExportMasks, ReleaseTheMaskOfAPictureThatCouldNotBeMade) {
    const TestImage image = Noise(4, 4, ImageFormatRGBA);
    pictures.FailCall("newPicture", 1);
    EXPECT_EQ(rbCopyPictureWithMaskAll(image.object()), nullptr);
    EXPECT_EQ(host.Count("newPicture"), 2);
    EXPECT_EQ(host.Count("REALGetPictureMask"), 0);
    EXPECT_EQ(host.LiveObjects(), 1u);
}

TEST_F(PictureExportMasks, TakeTheWholeImageWithoutARectangle) {
    const TestImage image = ClipOf(Noise(20, 20, ImageFormatRGBA), 3, 4, 11, 7);
    for (const auto copy : {rbCopyPictureAll, rbCopyMaskAll, rbCopyPictureWithMaskAll}) {
        pictures.ClearCalls();
        const REALobject picture = copy(image.object());
        ASSERT_TRUE(picture);
        EXPECT_THAT(pictures.Calls(), Contains("newPicture(11, 7, 32)"));
        REALUnlockObject(picture);
    }
    EXPECT_THAT(Drawn(), ElementsAre(HasSubstr(", 0, 0, 11, 7, 0, 0, 11, 7)")));
}

// --- the preview ----------------------------------------------------------------------------------------------------

TEST_F(PictureExportMasks, ShowNothingUnlessDebugPicturesAreEnabled) {
    const TestImage image = Noise(100, 100, ImageFormatRGBA);
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick -= 1000;
    pictures.ClearCalls();
    EXPECT_EQ(GetDebugPicture(image.object(), 0), nullptr);
    EXPECT_THAT(pictures.Calls(), IsEmpty());
}

TEST_F(PictureExportMasks, ShowTheTopLeftCornerForDebugging) {
    const std::pair<int, int> sizes[] = {{100, 100}, {512, 3}, {600, 530}};
    for (const auto& [width, height] : sizes) {
        for (const int format : {ImageFormatRGBA, ImageFormatG}) {
            const TestImage image = Noise(width, height, format);
            SCOPED_TRACE(image.text);
            image->DebugPictureEnabled = true;
            const Storage storage = SnapshotOf(image);
            pictures.ClearCalls();
            const REALobject picture = GetDebugPicture(image.object(), 0);
            ASSERT_TRUE(picture);
            EXPECT_EQ(pictures[picture].width, std::min(width, 512));
            EXPECT_EQ(pictures[picture].height, std::min(height, 512));
            EXPECT_EQ(pictures[picture].Bytes(),
                      ModelExport(image, storage, ExportWhat::colours, {0, 0, 512, 512}, PixelTypeNative32, 0));
            const REALobject mask = pictures[picture].mask;
            ASSERT_EQ(mask != nullptr, format == ImageFormatRGBA);
            if (mask) {
                EXPECT_THAT(Drawn(), ElementsAre(HasSubstr(", 0, 0, 512, 512, 0, 0, 512, 512)")));
                EXPECT_EQ(pictures[mask].Bytes(),
                          ModelExport(image, storage, ExportWhat::alpha, {0, 0, 512, 512}, PixelTypeNative32, 0));
            }
            REALUnlockObject(picture);
        }
    }
}

}  // namespace
