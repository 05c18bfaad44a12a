// Images so wide that bytes of a row are further from each other than 32 bits can tell. Their rows are a few bytes of a
// block, over and over: what lies beyond is no storage, on machines of any word.

#include <climits>

#include "compositing/Combine.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "exchange/CopyPixels.h"
#include "exchange/RowConversion.h"
#include "support/Images.h"

using namespace zor;

namespace {

constexpr int kFar = 1 << 30;  // times four bytes is 0 in 32 bits

class WideImages : public EngineTest {
protected:
    // The rows are the first bytes of 16 pixels.
    TestImage Wide(int width, int format) {
        TestImage image = MakeOnBlock(width, 2, format, 64);
        FillWithNoise(image, random);
        return image;
    }

    Random random{7};
};

TEST_F(WideImages, AreNotTouchedByRectanglesBeyondTheirStorage) {
    for (const int format : {ImageFormatRGBA, ImageFormatXBGR, ImageFormatCMYK, ImageFormatCMYKA, ImageFormatGA}) {
        for (const int x : {kFar, kFar + 2, 2 * (kFar - 1)}) {
            const TestImage image = Wide(INT_MAX, format);
            SCOPED_TRACE(image.text + " from column " + std::to_string(x));
            const Storage before = SnapshotOf(image);
            const REALobject object = image.object();
            FillRect5(object, x, 0, 5, 2, 0x77);
            FillRectRGBA5(object, x, 0, 5, 2, 1, 2, 3, 4);
            FillRectApplyRGBA5(object, x, 0, 5, 2, 9, 9, 9, 128);
            FillRectApplyRGBcA5(object, x, 0, 5, 2, 0x123456, 128);
            FillRectRandom5(object, x, 0, 5, 2);
            ClearRect5(object, x, 0, 5, 2);
            Invert5(object, x, 0, 5, 2);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        }
    }
}

TEST_F(WideImages, TakeNoPixelsOfAnotherBeyondTheirStorage) {
    for (const int format : {ImageFormatRGBA, ImageFormatBGRA, ImageFormatRGB, ImageFormatCMYK}) {
        for (const int from : {ImageFormatRGBA, ImageFormatGA}) {
            const TestImage image = Wide(INT_MAX, format);
            TestImage small = MakePlain(9, 2, from);
            FillWithNoise(small, random);
            SCOPED_TRACE(image.text + " from format " + std::to_string(from));
            const Storage before = SnapshotOf(image);
            rbCopyPixels6(image.object(), small.object(), kFar, 0, 9, 2);
            rbCopyPixels8(image.object(), small.object(), kFar + 3, 0, 2, 2, 1, 0);
            PictureCombine3(image.object(), small.object(), nullptr, kFar, 0, 0, 0, 9, 2, false);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        }
    }
}

TEST_F(WideImages, ReadAsZerosBeyondTheirStorage) {
    for (const int format : {ImageFormatRGBA, ImageFormatBGRA}) {
        const TestImage image = Wide(INT_MAX, format);
        TestImage small = MakePlain(9, 2, ImageFormatBGRA);
        FillWithNoise(small, random);
        SCOPED_TRACE(image.text);
        Storage expected = SnapshotOf(small);
        for (int y = 0; y < 2; ++y) {
            for (int at = 0; at < 9 * 4; ++at) {
                // Where both have the same layout, whole runs of bytes are moved, and what is not there moves nothing.
                if (format != ImageFormatBGRA) expected.Put(PlaceOf(small, 0, y) + at, 0);
            }
        }
        rbCopyPixels8(small.object(), image.object(), 0, 0, 9, 2, kFar, 0);
        EXPECT_TRUE(SameStorage(expected, SnapshotOf(small), small));
    }
}

}  // namespace
