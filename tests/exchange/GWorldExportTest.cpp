// CopyGWorld: what the GWorld holds, who owns it, and what is released where a step fails.

#include "exchange/GWorldExport.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "host/QuickDraw.h"
#include "support/FakePictures.h"
#include "support/FakeQuickDraw.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GWorldExport : public EngineTest {
protected:
    FakePictures pictures{host, World::desktop};
    TempDir directory;
    Random random{1};

    GWorldExport() { host.classes.insert("GWorldZOR"); }

    TestImage Noise(int width, int height, int format) {
        TestImage image = MakePlain(width, height, format);
        FillWithNoise(image, random);
        return image;
    }

    // The GWorld that a GWorldZOR object owns, by the layout that its makers know.
    FakeGWorld* WorldOf(REALobject instance) {
        EXPECT_EQ(host.ClassOf(instance), "GWorldZOR");
        void* gworld = nullptr;
        std::int32_t owned = 0;
        std::memcpy(&gworld, host.Front(instance) + 24, sizeof gworld);
        std::memcpy(&owned, host.Front(instance) + 24 + sizeof gworld, sizeof owned);
        EXPECT_EQ(owned, 1);
        return pictures.GWorldAt(gworld);
    }

    // What GWorldZOR does at its end.
    void Dispose(REALobject instance) {
        FakeGWorld* const world = WorldOf(instance);
        ASSERT_TRUE(world);
        EXPECT_EQ(world->pixelLocks, 1) << "left locked";
        UnlockPixels(static_cast<PixMap**>(world->handle()));
        pictures.DisposeOf(world);
        EXPECT_EQ(host.Locks(instance), 1);
        REALUnlockObject(instance);
    }

    void ExpectNothingLeft(std::size_t living) {
        EXPECT_EQ(host.LiveObjects(), living);
        EXPECT_EQ(pictures.FreeGWorlds(), 0u);
        EXPECT_EQ(pictures.LockedPixels(), 0);
        EXPECT_FALSE(host.TakeException());
    }
};

// The whole memory of the GWorld, row by row: white, with its padding, and the image's pixels on top.
Bytes ModelWorld(const TestImage& image, const Storage& storage, int padding) {
    const ImageClassData* const record = image.record();
    const int depth = record->IsGray ? 8 : record->HasAlpha ? 32 : 24;
    const int rowBytes = record->Width * depth / 8 + padding;
    const bool wide = depth == 24 && record->Width * 4 <= rowBytes;
    Bytes bytes;
    for (int y = 0; y < record->Height; ++y) {
        Bytes row(static_cast<std::size_t>(rowBytes), 0xFF);
        std::fill(row.end() - padding, row.end(), std::uint8_t{0x5A});
        std::vector<std::uint8_t> pixels;
        for (int x = 0; x < record->Width; ++x) {
            const std::int64_t place = PlaceOf(image, x, y);
            if (record->IsGray) {
                pixels.push_back(storage.At(place + record->GrayOffset));
                continue;
            }
            if (depth == 32) pixels.push_back(storage.At(place + record->AlphaOffset));
            if (wide) pixels.push_back(255);
            pixels.push_back(storage.At(place + record->RedOffset));
            pixels.push_back(storage.At(place + record->GreenOffset));
            pixels.push_back(storage.At(place + record->BlueOffset));
        }
        std::copy(pixels.begin(), pixels.end(), row.begin());
        bytes.insert(bytes.end(), row.begin(), row.end());
    }
    return bytes;
}

// --- pixels ---------------------------------------------------------------------------------------------------------

TEST_F(GWorldExport, HoldsAllFormatsAndStoragesAsTheModelTells) {
    int exported = 0;
    for (const int format : AllFormats()) {
        for (const StorageKind kind : kStorageKinds) {
            TestImage image =
                RandomImage(random, directory, kind, random.Between(1, 30), random.Between(1, 12), format);
            if (image->ChannelCount > 0 && random.Chance(20)) image = ChannelOf(std::move(image), 0);
            SCOPED_TRACE(image.text);
            pictures.newPadding = random.Between(0, 40);
            const Storage before = SnapshotOf(image);
            pictures.ClearCalls();
            const REALobject instance = CopyGWorld(image.object());
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
            ASSERT_EQ(instance != nullptr, image->IsGray || image->IsRGB);
            if (!instance) {
                EXPECT_THAT(pictures.Calls(), IsEmpty()) << "no GWorld is made";
                continue;
            }
            ++exported;
            const FakeGWorld* const world = WorldOf(instance);
            ASSERT_TRUE(world);
            EXPECT_EQ(world->width, image->Width);
            EXPECT_EQ(world->height, image->Height);
            EXPECT_EQ(world->bits, image->IsGray ? 8 : image->HasAlpha ? 32 : 24);
            EXPECT_TRUE(SameBytes(ModelWorld(image, before, pictures.newPadding),
                                  Bytes(world->pixels.data(), world->pixels.data() + world->pixels.size())));
            Dispose(instance);
        }
    }
    EXPECT_GT(exported, 40);
}

TEST_F(GWorldExport, StoresEachKindOfPixel) {
    struct Case {
        const char* name;
        int format;
        Bytes pixel;
        int padding;
        Bytes stored;
    };
    const Case cases[] = {
        {"with alpha", ImageFormatRGBA, {1, 2, 3, 4}, 0, {4, 1, 2, 3}},
        {"24 bits laid out with 4 bytes", ImageFormatBGR, {1, 2, 3}, 1, {255, 3, 2, 1}},
        {"24 bits", ImageFormatBGRX, {1, 2, 3, 4}, 0, {3, 2, 1}},
        {"gray", ImageFormatG, {9}, 0, {9}},
        {"gray without its alpha", ImageFormatAG, {8, 9}, 0, {9}},
        {"one of four", ImageFormat3of4, {1, 2, 3, 4}, 0, {3}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const TestImage image = MakeOnBlock(1, 1, each.format, static_cast<int>(each.pixel.size()));
        SetStorage(image, {each.pixel});
        pictures.newPadding = each.padding;
        const REALobject instance = CopyGWorld(image.object());
        ASSERT_TRUE(instance);
        const std::uint8_t* const row = WorldOf(instance)->Row(0);
        EXPECT_EQ(Bytes(row, row + each.stored.size()), each.stored);
        Dispose(instance);
    }
}

TEST_F(GWorldExport, TakesFourBytesAPixelAsSoonAsTheRowHasRoomForThem) {
    for (const int missing : {0, 1}) {
        const TestImage image = Noise(20, 3, ImageFormatRGB);
        pictures.newPadding = 20 - missing;  // 60 bytes of pixels and that
        const REALobject instance = CopyGWorld(image.object());
        ASSERT_TRUE(instance);
        const std::uint8_t* const row = WorldOf(instance)->Row(1);
        const std::uint8_t* const pixels = image->GetRow(image.record(), 1);
        EXPECT_EQ(std::memcmp(row + (missing ? 57 : 77), pixels + 57, 3), 0);
        EXPECT_EQ(row[0] == 255 && row[4] == 255 && row[8] == 255, missing == 0);
        Dispose(instance);
    }
}

TEST_F(GWorldExport, TakesSamplesOutsideTheStorageAsZero) {
    for (const int format : {ImageFormatG, ImageFormatRGB, ImageFormatRGBA}) {
        for (const int padding : {0, 90}) {
            const TestImage image = MakeOnBlock(30, 4, format, 11);
            FillWithNoise(image, random);
            pictures.newPadding = padding;
            const REALobject instance = CopyGWorld(image.object());
            ASSERT_TRUE(instance);
            const FakeGWorld* const world = WorldOf(instance);
            EXPECT_TRUE(SameBytes(ModelWorld(image, SnapshotOf(image), padding),
                                  Bytes(world->pixels.data(), world->pixels.data() + world->pixels.size())));
            Dispose(instance);
        }
    }
}

std::uint8_t* NoRow(ImageClassData*, int) {
    return nullptr;
}

TEST_F(GWorldExport, LeavesOutRowsThatDoNotExist) {
    for (const int format : {ImageFormatG, ImageFormatRGB, ImageFormatRGBA}) {
        for (const int padding : {0, 8}) {
            const TestImage image = Noise(5, 2, format);
            image->GetRow = NoRow;
            pictures.newPadding = padding;
            const REALobject instance = CopyGWorld(image.object());
            ASSERT_TRUE(instance);
            EXPECT_EQ(WorldOf(instance)->Row(1)[0], 0xFF) << "white, as it was made";
            Dispose(instance);
        }
    }
}

TEST_F(GWorldExport, WritesNoMoreThanTheGWorldHasRoomFor) {
    // 65546 pixels are 10 in 16 bits.
    for (const int format : {ImageFormatG, ImageFormatRGB, ImageFormatRGBA}) {
        const TestImage wide = Noise(65546, 2, format), high = Noise(2, 65546, format);
        for (const TestImage* const image : {&wide, &high}) {
            pictures.ClearCalls();
            const REALobject instance = CopyGWorld(image->object());
            ASSERT_TRUE(instance);
            EXPECT_EQ(WorldOf(instance)->width, image == &wide ? 10 : 2);
            EXPECT_EQ(WorldOf(instance)->height, image == &wide ? 2 : 10);
            Dispose(instance);  // the guards are looked at now
        }
    }
}

// --- calls ----------------------------------------------------------------------------------------------------------

TEST_F(GWorldExport, AsksQuickDrawInOrder) {
    struct Case {
        int format;
        const char* newGWorld;
        bool gray;
    };
    const Case cases[] = {{ImageFormatRGBA, "NewGWorld(32, 0, 0, 7, 5, nil, nil, 0)", false},
                          {ImageFormatRGBX, "NewGWorld(24, 0, 0, 7, 5, nil, nil, 0)", false},
                          {ImageFormatGA, "NewGWorld(8, 0, 0, 7, 5, colours, nil, 0)", true}};
    for (const Case& each : cases) {
        const TestImage image = Noise(7, 5, each.format);
        pictures.ClearCalls();
        const REALobject instance = CopyGWorld(image.object());
        ASSERT_TRUE(instance);
        std::vector<std::string> calls = pictures.Calls();
        if (each.gray) {
            EXPECT_EQ(calls.front(), "GetCTable(40)");
            calls.erase(calls.begin());
        }
        const std::string world = "(" + WorldOf(instance)->name + ")", pixMap = "(pixmap of " + world.substr(1);
        EXPECT_THAT(calls, ElementsAre(each.newGWorld, "PluginNewInstance()", "GetGWorldPixMap" + world,
                                       "LockPixels" + pixMap, "GetPixRowBytes" + pixMap, "GetPixBaseAddr" + pixMap));
        Dispose(instance);
    }
}

TEST_F(GWorldExport, YieldsOnceBeforeAllElse) {
    for (const int format : {ImageFormatRGB, ImageFormatG, ImageFormatCMYK}) {
        const TestImage image = Noise(3, 40, format);
        image->GetRow = [](ImageClassData* record, int y) {
            record->LastYieldTick -= 1000;
            return GetRowLinear(record, y);
        };
        image->YieldTicks = kPatientTicks;
        image->LastYieldTick -= 1000;
        pictures.ClearCalls();
        const REALobject instance = CopyGWorld(image.object());
        EXPECT_EQ(pictures.Calls().front(), "REALYieldToRB(nil)");
        EXPECT_EQ(host.Count("REALYieldToRB"), 1);
        if (instance) Dispose(instance);
    }
}

TEST_F(GWorldExport, ShowsNothingOfAnImageThatIsClosedInTheYield) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGBA);
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick -= 1000;
    host.onYield = [&] { ImageDestructor(image.object()); };
    const REALobject instance = CopyGWorld(image.object());
    ASSERT_TRUE(instance);
    EXPECT_EQ(WorldOf(instance)->Row(1)[4], 0xFF);
    Dispose(instance);
}

TEST_F(GWorldExport, LeavesTheAlphaOfGrayImagesOut) {
    const TestImage image = Noise(6, 2, ImageFormatGA);
    const REALobject instance = CopyGWorld(image.object());
    ASSERT_TRUE(instance);
    EXPECT_EQ(WorldOf(instance)->bits, 8);
    EXPECT_EQ(WorldOf(instance)->Row(1)[5], image->GetRow(image.record(), 1)[10]);
    Dispose(instance);
}

TEST_F(GWorldExport, AsksNothingForImagesThatAreNotUsable) {
    const TestImage image = Noise(4, 4, ImageFormatRGB);
    const ImageClassData good = *image.record();
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick -= 1000;
    const std::function<void()> changes[] = {[&] { image->Valid = false; }, [&] { image->GetRow = nullptr; },
                                             [&] { image->Width = -1; }, [&] { image->Height = 0; }};
    pictures.ClearCalls();
    for (const auto& change : changes) {
        change();
        EXPECT_EQ(CopyGWorld(image.object()), nullptr);
        image->Valid = good.Valid;
        image->GetRow = good.GetRow;
        image->Width = good.Width;
        image->Height = good.Height;
    }
    EXPECT_THAT(pictures.Calls(), IsEmpty());
}

// --- failures -------------------------------------------------------------------------------------------------------

TEST_F(GWorldExport, ReleasesWhatItHasWhereAStepFails) {
    for (const int format : {ImageFormatRGBA, ImageFormatRGB, ImageFormatG}) {
        for (const char* const function : {"NewGWorld", "GetGWorldPixMap", "LockPixels"}) {
            SCOPED_TRACE(function);
            const TestImage image = Noise(4, 4, format);
            pictures.ClearCalls();
            pictures.FailCall(function);
            EXPECT_EQ(CopyGWorld(image.object()), nullptr);
            pictures.FailNothing();
            EXPECT_EQ(host.Count(function), 1);
            const int made = std::string(function) == "NewGWorld" ? 0 : 1;
            EXPECT_EQ(host.Count("PluginNewInstance"), made);
            EXPECT_EQ(host.Count("DisposeGWorld"), made);
            EXPECT_EQ(host.Count("REALUnlockObject"), made) << "the instance";
            EXPECT_EQ(host.Count("UnlockPixels"), 0);
            ExpectNothingLeft(1);
        }
    }
}

TEST_F(GWorldExport, DisposesOfTheGWorldWhereTheClassIsMissing) {
    host.classes.erase("GWorldZOR");
    for (const int format : {ImageFormatRGBA, ImageFormatG}) {
        const TestImage image = Noise(4, 4, format);
        pictures.ClearCalls();
        EXPECT_EQ(CopyGWorld(image.object()), nullptr);
        EXPECT_EQ(host.Count("DisposeGWorld"), 1);
        EXPECT_EQ(host.Count("GetGWorldPixMap"), 0);
        ExpectNothingLeft(1);
    }
}

TEST_F(GWorldExport, GoesOnWithoutAColourTable) {
    const TestImage image = Noise(2, 2, ImageFormatG);
    pictures.FailCall("GetCTable");
    pictures.ClearCalls();
    const REALobject instance = CopyGWorld(image.object());
    ASSERT_TRUE(instance);
    EXPECT_EQ(pictures.Calls()[1], "NewGWorld(8, 0, 0, 2, 2, nil, nil, 0)");
    Dispose(instance);
}

TEST_F(GWorldExport, WritesNothingWithoutAnAddressOrARowSize) {
    for (const int format : {ImageFormatRGBA, ImageFormatRGB, ImageFormatG}) {
        for (const char* const function : {"GetPixBaseAddr", "GetPixRowBytes"}) {
            const TestImage image = MakePlain(4, 4, format);
            pictures.FailCall(function);
            const REALobject instance = CopyGWorld(image.object());
            pictures.FailNothing();
            ASSERT_TRUE(instance);
            EXPECT_EQ(WorldOf(instance)->Row(0)[1], 0xFF);
            EXPECT_EQ(WorldOf(instance)->Row(3)[1], 0xFF);
            Dispose(instance);
        }
    }
}

// A QuickDraw of few words, for answers that the whole one never gives.
struct OddQuickDraw {
    int error = 0;
    bool hasWorld = false;
    int disposed = 0;
    std::uint8_t pixels[64] = {};
    void* pixMap = nullptr;
};
OddQuickDraw odd;

FakeQuickDraw OddFunctions() {
    FakeQuickDraw functions{};
    functions.NewGWorld = [](void** gworld, std::int16_t, const FakeQuickDraw::Rect*, void*, void*, unsigned long) {
        if (odd.hasWorld) *gworld = &odd;
        return static_cast<std::int16_t>(odd.error);
    };
    functions.DisposeGWorld = [](void* gworld) { odd.disposed += gworld == &odd; };
    functions.GetGWorldPixMap = [](void*) -> void* { return &odd.pixMap; };
    functions.LockPixels = [](void*) -> signed char { return 1; };
    functions.GetPixRowBytes = [](void*) -> std::int32_t { return 8; };
    functions.GetPixBaseAddr = [](void*) -> std::uint8_t* { return odd.pixels + 16; };
    functions.GetCTable = [](std::int16_t) -> void* { return nullptr; };
    return functions;
}

class GWorldExportOddly : public GWorldExport {
protected:
    FakeQuickDraw functions = OddFunctions();

    GWorldExportOddly() {
        odd = {};
        const auto install = reinterpret_cast<InstallFakeQuickDrawFunction>(dlsym(RTLD_DEFAULT, kInstallFakeQuickDraw));
        EXPECT_TRUE(install);
        if (install) install(&functions);
    }
};

TEST_F(GWorldExportOddly, GivesNothingWhereAnErrorComesWithAGWorldOrNoneWithoutAnError) {
    for (const int format : {ImageFormatRGBA, ImageFormatG}) {
        const TestImage image = Noise(2, 2, format);
        odd = {.error = -108, .hasWorld = true};
        EXPECT_EQ(CopyGWorld(image.object()), nullptr);
        EXPECT_EQ(odd.disposed, 1);
        odd = {.error = 0, .hasWorld = false};
        EXPECT_EQ(CopyGWorld(image.object()), nullptr);
        EXPECT_EQ(odd.disposed, 0);
        EXPECT_EQ(host.Count("PluginNewInstance"), 0);
        ExpectNothingLeft(1);
    }
}

TEST_F(GWorldExportOddly, WritesNothingWhereASideIsNegativeInSixteenBits) {
    odd = {.error = 0, .hasWorld = true};
    for (const int format : {ImageFormatRGBA, ImageFormatRGB, ImageFormatG}) {
        for (const bool wide : {true, false}) {
            const TestImage image = MakePlain(wide ? 40000 : 1, wide ? 1 : 40000, format);
            std::fill(std::begin(odd.pixels), std::end(odd.pixels), std::uint8_t{7});
            const REALobject instance = CopyGWorld(image.object());
            ASSERT_TRUE(instance);
            EXPECT_EQ(std::count(std::begin(odd.pixels), std::end(odd.pixels), 7), 64);
            REALUnlockObject(instance);
        }
    }
}

TEST(GWorldExportAnywhere, GivesNothingWithoutQuickDraw) {
    InFreshProcess([] {
        FakeHost host;
        host.classes.insert("GWorldZOR");
        for (const int format : {ImageFormatRGBA, ImageFormatRGB, ImageFormatGA}) {
            const TestImage image = MakePlain(4, 4, format);
            host.ClearLog();
            EXPECT_EQ(CopyGWorld(image.object()), nullptr);
            EXPECT_TRUE(host.Log().empty());
        }
        EXPECT_EQ(host.WhatIsLeft(), "");
    });
}

}  // namespace
