// What the export to host pictures asks of the host, in which order, and what it does when the host refuses.

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "exchange/ExportModel.h"
#include "exchange/PictureExport.h"

using namespace zor;

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PictureExportCalls : public EngineTest {
protected:
    FakePictures pictures{host, World::console};
    TempDir directory;

    PictureExportCalls() { IsConsole = true; }  // found out before

    TestImage Noise(int width, int height, int format) {
        TestImage image = MakePlain(width, height, format);
        FillWithNoise(image, random_);
        return image;
    }

    // Every place that may yield does, as every call of the host in between takes a long time. Until the next one.
    void YieldEverywhere(ImageClassData* record) {
        record->YieldTicks = kPatientTicks;
        record->LastYieldTick -= 1000;
        host.pictures.clearCache = [record, next = clearCache_](REALobject picture) {
            record->LastYieldTick -= 1000;
            next(picture);
        };
        host.pictures.newPicture = [record, next = newPicture_](int width, int height, int depth) {
            record->LastYieldTick -= 1000;
            return next(width, height, depth);
        };
    }

    int CountOf(const std::string& call) {
        const Calls calls = pictures.Calls();
        return static_cast<int>(std::count(calls.begin(), calls.end(), call));
    }

private:
    Random random_{1};
    decltype(host.pictures.clearCache) clearCache_ = host.pictures.clearCache;
    decltype(host.pictures.newPicture) newPicture_ = host.pictures.newPicture;
};

std::uint8_t* SlowRow(ImageClassData* record, int y) {
    FakeHost::Current().Note("row", nullptr);
    FakeHost::Current().Explain(std::to_string(y));
    record->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}

const char* const kYield = "REALYieldToRB(nil)";

// --- yields and order -----------------------------------------------------------------------------------------------

TEST_F(PictureExportCalls, YieldsBeforeThePictureBeforeTheRowsAndAfterEachRow) {
    for (const auto copy : {rbCopyPicture, rbCopyMask}) {
        const TestImage image = Noise(4, 5, ImageFormatRGBA);
        image->GetRow = SlowRow;
        const FakeHost::Pictures hooks = host.pictures;
        YieldEverywhere(image.record());
        pictures.ClearCalls();
        const REALobject picture = copy(image.object(), 1, 2, 3, 2);
        ASSERT_TRUE(picture);
        const std::string name = pictures[picture].name, in = "(" + name + ")";
        EXPECT_THAT(pictures.Calls(),
                    ElementsAre(kYield, "newPicture(3, 2, 32)", "REALLockPictureDescription(" + name + ", 10)",
                                "REALLockObject" + in, "REALUnlockObject" + in, kYield, "row(nil, 2)", kYield,
                                "row(nil, 3)", kYield, "REALLockObject" + in, "unlockPictureDescription" + in,
                                "REALPictureClearCache" + in, "REALUnlockObject" + in, "REALPictureClearCache" + in));
        REALUnlockObject(picture);
        host.pictures = hooks;
    }
}

TEST_F(PictureExportCalls, DoesNotYieldUnlessAsked) {
    const TestImage image = Noise(4, 5, ImageFormatRGBA);
    image->GetRow = SlowRow;
    YieldEverywhere(image.record());
    for (const int ticks : {0, -1}) {
        image->YieldTicks = ticks;
        REALUnlockObject(rbCopyPictureWithMaskAll(image.object()));
    }
    EXPECT_EQ(host.Count("row"), 20);
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
}

TEST_F(PictureExportCalls, KeepsTheFirstPictureOfAnImageOfTwoFamilies) {
    const TestImage image = Noise(3, 1, ImageFormatRGBA);
    image->IsGray = true;
    image->IsCMYK = true;
    image->GrayOffset = 2;
    image->GetRow = SlowRow;
    YieldEverywhere(image.record());
    pictures.ClearCalls();
    const REALobject picture = rbCopyPictureAll(image.object());
    ASSERT_TRUE(picture);
    const std::uint8_t gray = image->Pixels[2];
    EXPECT_EQ(pictures[picture].Get(0, 0), (FakePixel{gray, gray, gray, 0}));
    EXPECT_EQ(host.Count("newPicture"), 1);
    // Three for the picture, and one more for the next family's try, which finds it there.
    EXPECT_EQ(CountOf(kYield), 4);
    EXPECT_EQ(pictures.Calls().back(), kYield);
    REALUnlockObject(picture);
}

TEST_F(PictureExportCalls, TriesTheNextFamilyWhereTheHostGaveNoPicture) {
    for (const int refused : {1, 2}) {
        const TestImage image = Noise(3, 1, ImageFormatCMYK);
        image->IsGray = true;
        image->IsRGB = true;
        const FakeHost::Pictures hooks = host.pictures;
        int asked = 0;
        host.pictures.newPicture = [&, next = hooks.newPicture](int width, int height, int depth) {
            return ++asked <= refused ? nullptr : next(width, height, depth);
        };
        const Storage storage = SnapshotOf(image);
        const REALobject picture = rbCopyPictureAll(image.object());
        ASSERT_TRUE(picture);
        EXPECT_EQ(asked, refused + 1);
        image->IsGray = false;
        image->IsRGB = refused == 1;
        EXPECT_EQ(pictures[picture].Bytes(),
                  ModelExport(image, storage, ExportWhat::colours, {0, 0, 3, 1}, PixelTypeNative32, 0));
        image->IsRGB = false;
        REALUnlockObject(picture);
        host.pictures = hooks;
    }
}

// --- nothing to export ----------------------------------------------------------------------------------------------

TEST_F(PictureExportCalls, AsksNothingForImagesThatAreNotUsable) {
    const TestImage image = Noise(4, 4, ImageFormatRGBA);
    YieldEverywhere(image.record());
    const ImageClassData good = *image.record();
    image->DebugPictureEnabled = true;
    const std::function<void()> changes[] = {[&] { image->Valid = false; }, [&] { image->GetRow = nullptr; },
                                             [&] { image->Width = -1; },    [&] { image->Width = 0; },
                                             [&] { image->Height = 0; },    [&] { image->Height = -3; }};
    pictures.ClearCalls();
    for (const auto& change : changes) {
        change();
        for (const auto copy : {rbCopyPicture, rbCopyMask, rbCopyPictureWithMask}) {
            EXPECT_EQ(copy(image.object(), 0, 0, 4, 4), nullptr);
        }
        for (const auto copy : {rbCopyPictureAll, rbCopyMaskAll, rbCopyPictureWithMaskAll}) {
            EXPECT_EQ(copy(image.object()), nullptr);
        }
        EXPECT_EQ(GetDebugPicture(image.object(), 0), nullptr);
        image->Valid = good.Valid;
        image->GetRow = good.GetRow;
        image->Width = good.Width;
        image->Height = good.Height;
    }
    EXPECT_THAT(pictures.Calls(), IsEmpty());
}

TEST_F(PictureExportCalls, AsksNothingForImagesOfNoFamilyOrWithoutAlpha) {
    int withoutFamily = 0;
    for (const int format : AllFormats()) {
        const TestImage image = Noise(3, 3, format);
        SCOPED_TRACE(image.text);
        YieldEverywhere(image.record());
        pictures.ClearCalls();
        if (!image->IsGray && !image->IsRGB && !image->IsCMYK) {
            ++withoutFamily;
            EXPECT_EQ(rbCopyPictureAll(image.object()), nullptr);
        }
        if (!image->HasAlpha) {
            EXPECT_EQ(rbCopyMaskAll(image.object()), nullptr);
        }
        EXPECT_THAT(pictures.Calls(), IsEmpty());
    }
    EXPECT_GT(withoutFamily, 0);
}

TEST_F(PictureExportCalls, RefusesSidesAbove32767WithoutAWord) {
    const std::pair<int, int> sizes[] = {{40000, 10}, {32768, 1}, {1, 32768}};
    for (const auto& [width, height] : sizes) {
        const TestImage image = MakePlain(width, height, ImageFormatGA);
        pictures.ClearCalls();
        EXPECT_EQ(rbCopyPictureAll(image.object()), nullptr);
        EXPECT_EQ(rbCopyPicture(image.object(), 0, 0, width, height), nullptr);
        EXPECT_EQ(rbCopyMaskAll(image.object()), nullptr);
        EXPECT_EQ(rbCopyPictureWithMaskAll(image.object()), nullptr);
        EXPECT_THAT(pictures.Calls(), IsEmpty());
        const REALobject longest = rbCopyPicture(image.object(), width > 1 ? 1 : 0, height > 10 ? 1 : 0,
                                                 width > 1 ? 32767 : 1, height > 10 ? 32767 : 1);
        ASSERT_TRUE(longest);
        EXPECT_EQ(std::max(pictures[longest].width, pictures[longest].height), 32767);
        REALUnlockObject(longest);
    }
}

// --- a host that refuses --------------------------------------------------------------------------------------------

TEST_F(PictureExportCalls, GiveNothingAndLeaveNothingWhereTheHostRefuses) {
    struct Case {
        World world;
        const char* function;
        double version;
    };
    const Case cases[] = {
        {World::console, "newPicture", 2013},
        {World::console, "REALLockPictureDescription", 2013},
        {World::console, "REALLockPictureDescription", 2011},
        {World::desktop, "newPicture", 2013},
        {World::desktop, "GetGWorldPixMap", 2013},
        {World::desktop, "GetPixDepth", 2013},
        {World::desktop, "LockPixels", 2013},
        {World::desktop, "GetPixBaseAddr", 2013},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.function);
        const TestImage image = Noise(4, 3, ImageFormatRGBA);
        image->GetRow = SlowRow;
        pictures.Enter(each.world);
        host.SetVersion(each.version);
        const std::size_t living = host.LiveObjects();
        for (const auto copy : {rbCopyPicture, rbCopyMask}) {
            pictures.ClearCalls();
            pictures.FailCall(each.function);
            EXPECT_EQ(copy(image.object(), 0, 0, 4, 3), nullptr);
            EXPECT_EQ(host.LiveObjects(), living);
            EXPECT_EQ(pictures.LockedDescriptions() + pictures.LockedPixels(), 0);
            EXPECT_EQ(host.Count("row"), 0);
            EXPECT_EQ(host.Count(each.function), 1);
            pictures.FailNothing();
        }
        EXPECT_FALSE(host.TakeException());
    }
}

TEST_F(PictureExportCalls, GiveNothingWhereNewPicturesCannotBeWritten) {
    const TestImage image = Noise(4, 3, ImageFormatRGB);
    pictures.newKind = FakePicture::Kind::palette;
    EXPECT_EQ(rbCopyPictureAll(image.object()), nullptr);
    pictures.Enter(World::desktop);
    for (const int bits : {16, 8, 1}) {
        pictures.newBits = bits;
        EXPECT_EQ(rbCopyPictureAll(image.object()), nullptr);
    }
    EXPECT_EQ(host.LiveObjects(), 1u);
    EXPECT_EQ(host.Count("newPicture"), 4);
}

// A picture that is narrower and lower than it was asked to be: its rows are written as far as they go.
TEST_F(PictureExportCalls, StayInsideASmallerPictureThanAskedFor) {
    const TestImage image = Noise(9, 6, ImageFormatRGB);
    for (const World world : {World::console, World::desktop}) {
        pictures.Enter(world);
        host.pictures.newPicture = [&](int, int, int) { return pictures.New(4, 6); };
        const REALobject picture = rbCopyPictureAll(image.object());
        ASSERT_TRUE(picture);
        const std::uint8_t* const last = image->GetRow(image.record(), 5) + 9;
        EXPECT_EQ(pictures[picture].Get(3, 5).red, last[0]);
        EXPECT_EQ(pictures[picture].Get(3, 5).blue, last[2]);
        REALUnlockObject(picture);  // its guards are looked at now
    }
}

TEST_F(PictureExportCalls, StayInsideAPictureThatDescribesItselfLarger) {
    const TestImage image = Noise(9, 6, ImageFormatRGB);
    for (const World world : {World::console, World::desktop}) {
        for (const int bits : {32, 24}) {
            pictures.Enter(world);
            host.pictures.newPicture = [&](int width, int height, int) {
                const REALobject picture =
                    world == World::console ? pictures.NewConsole(4, 6) : pictures.NewDesktop(4, 6, bits);
                pictures[picture].told.width = width;
                pictures[picture].told.height = height;
                return picture;
            };
            const REALobject picture = rbCopyPictureAll(image.object());
            ASSERT_TRUE(picture);
            const std::uint8_t* const last = image->GetRow(image.record(), 5) + 9;
            EXPECT_EQ(pictures[picture].Get(3, 5).red, last[0]);
            EXPECT_EQ(pictures[picture].Get(3, 5).blue, last[2]);
            REALUnlockObject(picture);  // its guards are looked at now
        }
    }
}

// --- an image that changes in a yield -------------------------------------------------------------------------------

TEST_F(PictureExportCalls, LeaveTheRowsOutThatAreGoneAfterAYield) {
    const FakePixel white = {255, 255, 255, 0}, black = {0, 0, 0, 0};
    for (const int closing : {1, 2, 3, 4}) {
        SCOPED_TRACE(closing);
        const TestImage image = MakePlain(2, 3, ImageFormatRGB);
        image->GetRow = SlowRow;
        const FakeHost::Pictures hooks = host.pictures;
        YieldEverywhere(image.record());
        int yields = 0;
        host.onYield = [&] {
            if (++yields == closing) ImageDestructor(image.object());
        };
        const REALobject picture = rbCopyPictureAll(image.object());
        ASSERT_TRUE(picture);
        for (int y = 0; y < 3; ++y) EXPECT_EQ(pictures[picture].Get(1, y), y < closing - 2 ? black : white) << y;
        REALUnlockObject(picture);
        host.onYield = nullptr;
        host.pictures = hooks;
    }
}

TEST_F(PictureExportCalls, ReadOnlyWhatAnImageStillHasAfterAYield) {
    for (const int format : {ImageFormatG, ImageFormatRGBA, ImageFormatCMYK}) {
        for (const int changing : {1, 2, 3}) {
            TestImage image = MakePlain(70, 40, ImageFormatRGBA);
            image->GetRow = SlowRow;
            const FakeHost::Pictures hooks = host.pictures;
            YieldEverywhere(image.record());
            int yields = 0;
            host.onYield = [&] {
                if (++yields == changing) ImageConstructor(image.object(), 2, 1, format);
            };
            const REALobject picture = rbCopyPictureAll(image.object());
            ASSERT_TRUE(picture);
            EXPECT_EQ(pictures[picture].width, 70);
            EXPECT_EQ(pictures[picture].height, 40);
            REALUnlockObject(picture);
            host.onYield = nullptr;
            host.pictures = hooks;
        }
    }
}

TEST_F(PictureExportCalls, ReadNothingOfAFileThatIsClosedInAYield) {
    const TestImage image = MakeInFile(directory, 5, 30, ImageFormatRGB, 4);
    YieldEverywhere(image.record());
    host.onYield = [&] { ImageDestructor(image.object()); };
    const REALobject picture = rbCopyPictureAll(image.object());
    host.onYield = nullptr;
    ASSERT_TRUE(picture);
    EXPECT_EQ(pictures[picture].Get(4, 29), (FakePixel{255, 255, 255, 0}));
    REALUnlockObject(picture);
}

TEST_F(PictureExportCalls, AYieldThatCancelsLeavesNothingOpen) {
    TestImage image = Noise(3, 4, ImageFormatRGBA);
    YieldEverywhere(image.record());
    image->GetRow = SlowRow;
    const auto yieldsUntilCancelled = [&](int cancelled) {
        int yields = 0;
        host.onYield = [&] {
            if (++yields == cancelled) throw 42;
        };
        const auto run = [&] {
            image->LastYieldTick -= 1000;
            return rbCopyPictureWithMask(image.object(), 0, 0, 3, 4);
        };
        if (cancelled > 0) {
            EXPECT_THROW(run(), int) << cancelled;
        } else {
            REALUnlockObject(run());
        }
        host.onYield = nullptr;
        return yields;
    };
    const int all = yieldsUntilCancelled(0);
    EXPECT_GE(all, 12) << "a start and a row each, for the picture and for its mask";
    for (int cancelled = 1; cancelled <= all; ++cancelled) {
        const std::size_t before = host.LiveObjects();
        yieldsUntilCancelled(cancelled);
        EXPECT_EQ(host.LiveObjects(), before) << cancelled;
    }
}

TEST_F(PictureExportCalls, AYieldThatCancelsBehindThePictureGivesItBack) {
    for (const bool madeAnew : {false, true}) {
        const TestImage image = Noise(3, 1, ImageFormatRGBA);
        image->IsGray = !madeAnew;
        image->IsCMYK = true;  // the next family's try has a turn of its own
        image->GetRow = SlowRow;
        YieldEverywhere(image.record());
        int yields = 0;
        host.onYield = [&] {
            ++yields;
            if (madeAnew && yields == 3) {
                ImageConstructor(image.object(), 5, 5, ImageFormatCMYK);
                image->LastYieldTick -= 1000;
            }
            if (yields == 4) throw 42;
        };
        const std::size_t before = host.LiveObjects();
        EXPECT_THROW(rbCopyPictureAll(image.object()), int);
        host.onYield = nullptr;
        EXPECT_EQ(yields, 4);
        EXPECT_EQ(host.Count("newPicture"), 1);
        EXPECT_EQ(host.LiveObjects(), before);
        pictures.ClearCalls();
    }
}

}  // namespace
