// What the pictures hold that are made of images, in every world.

#include "exchange/PictureExport.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/PictureImages.h"
#include "core/Views.h"
#include "exchange/ExportModel.h"
#include "exchange/PictureImport.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;
using ::testing::ElementsAre;

class PictureExport : public EngineTest, public ::testing::WithParamInterface<ExportWorld> {
protected:
    FakePictures pictures{host, GetParam().world};
    TempDir directory;

    PictureExport() { pictures.newBits = GetParam().bits; }

    int Padding() const { return GetParam().world == World::desktop ? pictures.newPadding : 0; }

    // Exports, compares the whole picture with the model's, and gives it back.
    void ExpectExport(const TestImage& image, ExportWhat what, const ExportRect& rect) {
        SCOPED_TRACE(image.text + ": " + TextOf(rect) + (what == ExportWhat::alpha ? " alpha" : ""));
        const Storage before = SnapshotOf(image);
        const Bytes expected = ModelExport(image, before, what, rect, GetParam().pixelType, Padding());
        const auto copy = what == ExportWhat::alpha ? rbCopyMask : rbCopyPicture;
        const REALobject picture = copy(image.object(), rect.x, rect.y, rect.w, rect.h);
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        ASSERT_EQ(picture != nullptr, !expected.empty());
        if (!picture) return;
        EXPECT_EQ(host.Locks(picture), 1);
        EXPECT_EQ(pictures[picture].width, static_cast<int>(ModelCut(rect.x, rect.w, image->Width).size()));
        EXPECT_EQ(pictures[picture].height, static_cast<int>(ModelCut(rect.y, rect.h, image->Height).size()));
        EXPECT_TRUE(SameBytes(expected, pictures[picture].Bytes()));
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        EXPECT_EQ(pictures.LockedPixels(), 0);
        REALUnlockObject(picture);
    }

    // The first pixel of the picture of a one-pixel image that holds those bytes.
    Bytes PixelFrom(int format, const Bytes& bytes, ExportWhat what = ExportWhat::colours) {
        const TestImage image = MakeOnBlock(1, 1, format, static_cast<int>(bytes.size()));
        SetStorage(image, {bytes});
        const REALobject picture = (what == ExportWhat::alpha ? rbCopyMaskAll : rbCopyPictureAll)(image.object());
        if (!picture) return {};
        Bytes pixel = pictures[picture].Bytes();
        pixel.resize(pixel.size() - static_cast<std::size_t>(Padding()));
        REALUnlockObject(picture);
        return pixel;
    }

    Bytes Stored(int red, int green, int blue) { return ModelPixel(GetParam().pixelType, red, green, blue); }
};

INSTANTIATE_TEST_SUITE_P(Worlds, PictureExport, ::testing::ValuesIn(kExportWorlds),
                         [](const auto& world) { return world.param.name; });

// --- pixels ---------------------------------------------------------------------------------------------------------

TEST_P(PictureExport, StoresPixelsAsTheirTypeHasThem) {
    const Bytes pixel = PixelFrom(ImageFormatRGB, {10, 20, 30});
    if (GetParam().pixelType == PixelTypeARGB32) {
        EXPECT_THAT(pixel, ElementsAre(255, 10, 20, 30));
    } else if (GetParam().pixelType == PixelTypeRGB24) {
        EXPECT_THAT(pixel, ElementsAre(10, 20, 30));
    } else {
        std::uint32_t word = 0;
        ASSERT_EQ(pixel.size(), sizeof word);
        std::memcpy(&word, pixel.data(), sizeof word);
        EXPECT_EQ(word, 0x000A141Eu);
    }
}

TEST_P(PictureExport, ShowsEachFamilyInItsColours) {
    struct Case {
        const char* name;
        int format;
        Bytes pixel;
        Bytes colours;
    };
    const Case cases[] = {
        {"gray", ImageFormatG, {77}, Stored(77, 77, 77)},
        {"gray, alpha ignored", ImageFormatAG, {3, 77}, Stored(77, 77, 77)},
        {"one of three", ImageFormat2of3, {1, 2, 3}, Stored(2, 2, 2)},
        {"one of four", ImageFormat4of4, {1, 2, 3, 4}, Stored(4, 4, 4)},
        {"red, green, blue", ImageFormatRGB, {1, 2, 3}, Stored(1, 2, 3)},
        {"blue first", ImageFormatBGR, {1, 2, 3}, Stored(3, 2, 1)},
        {"alpha in front ignored", ImageFormatARGB, {0, 1, 2, 3}, Stored(1, 2, 3)},
        {"alpha behind ignored", ImageFormatBGRA, {1, 2, 3, 0}, Stored(3, 2, 1)},
        {"padding ignored", ImageFormatXBGR, {99, 1, 2, 3}, Stored(3, 2, 1)},
        {"black ink", ImageFormatCMYK, {0, 0, 0, 255}, Stored(0, 0, 0)},
        {"cyan ink", ImageFormatCMYK, {255, 0, 0, 0}, Stored(0, 255, 255)},
        {"magenta ink", ImageFormatCMYK, {0, 255, 0, 0}, Stored(255, 0, 255)},
        {"yellow ink", ImageFormatCMYK, {0, 0, 255, 0}, Stored(255, 255, 0)},
        {"no ink", ImageFormatCMYK, {0, 0, 0, 0}, Stored(255, 255, 255)},
        // light 155: 155 - 10 * 155 / 255 = 155 - 6, 155 - 12 (12.16), 155 - 18 (18.2)
        {"some of each", ImageFormatCMYK, {10, 20, 30, 100}, Stored(149, 143, 137)},
        {"black first", ImageFormatKYMC, {100, 30, 20, 10}, Stored(149, 143, 137)},
        {"inks with alpha", ImageFormatACMYK, {0, 10, 20, 30, 100}, Stored(149, 143, 137)},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(PixelFrom(each.format, each.pixel), each.colours);
    }
}

TEST_P(PictureExport, ShowsAlphaAsItStands) {
    EXPECT_EQ(PixelFrom(ImageFormatRGBA, {1, 2, 3, 255}, ExportWhat::alpha), Stored(255, 255, 255));
    EXPECT_EQ(PixelFrom(ImageFormatRGBA, {1, 2, 3, 0}, ExportWhat::alpha), Stored(0, 0, 0));
    EXPECT_EQ(PixelFrom(ImageFormatAG, {90, 2}, ExportWhat::alpha), Stored(90, 90, 90));
    EXPECT_EQ(PixelFrom(ImageFormatKYMCA, {1, 2, 3, 4, 5}, ExportWhat::alpha), Stored(5, 5, 5));
}

TEST_P(PictureExport, MixesEveryInkWithEveryBlack) {
    const TestImage image = MakePlain(256, 256, ImageFormatCMYK);
    Storage storage = SnapshotOf(image);
    for (int k = 0; k < 256; ++k) {
        for (int ink = 0; ink < 256; ++ink) {
            const std::int64_t at = PlaceOf(image, ink, k);
            storage.Put(at, static_cast<std::uint8_t>(ink));
            storage.Put(at + 1, static_cast<std::uint8_t>(255 - ink));
            storage.Put(at + 2, static_cast<std::uint8_t>(ink * 7));
            storage.Put(at + 3, static_cast<std::uint8_t>(k));
        }
    }
    SetStorage(image, storage);
    ExpectExport(image, ExportWhat::colours, {0, 0, 256, 256});
}

// --- rectangles -----------------------------------------------------------------------------------------------------

TEST_P(PictureExport, CutsTheRectangleToTheImage) {
    struct Case {
        ExportRect rect;
        int left, top, width, height;
    };
    const Case cases[] = {
        {{-10, 0, 20, 20}, 0, 0, 10, 20}, {{5, 5, -3, -3}, 2, 2, 3, 3},         {{0, -4, 30, 9}, 0, 0, 30, 5},
        {{25, 15, 20, 20}, 25, 15, 5, 5}, {{29, 19, 1, 1}, 29, 19, 1, 1},       {{0, 0, 30, 20}, 0, 0, 30, 20},
        {{30, 20, -1, -1}, 29, 19, 1, 1}, {{40, 30, -20, -20}, 20, 10, 10, 10},
    };
    Random random(1);
    const TestImage image = MakePlain(30, 20, ImageFormatRGBA);
    FillWithNoise(image, random);
    for (const Case& each : cases) {
        SCOPED_TRACE(TextOf(each.rect));
        for (const auto copy : {rbCopyPicture, rbCopyMask}) {
            const REALobject picture = copy(image.object(), each.rect.x, each.rect.y, each.rect.w, each.rect.h);
            ASSERT_TRUE(picture);
            EXPECT_EQ(pictures[picture].width, each.width);
            EXPECT_EQ(pictures[picture].height, each.height);
            const REALobject same = copy(image.object(), each.left, each.top, each.width, each.height);
            EXPECT_EQ(pictures[picture].Bytes(), pictures[same].Bytes());
            REALUnlockObject(picture);
            REALUnlockObject(same);
        }
    }
}

TEST_P(PictureExport, GivesNothingForAnEmptyRectangle) {
    const TestImage image = MakePlain(30, 20, ImageFormatRGBA);
    const ExportRect empty[] = {{0, 0, 0, 5},
                                {0, 0, 5, 0},
                                {30, 0, 5, 5},
                                {0, 20, 5, 5},
                                {-5, 0, 5, 5},
                                {0, -5, 5, 5},
                                {0, 0, -5, 5},
                                {0, 0, 5, -5},
                                {35, 0, -5, 5},
                                {-1, 0, 1, 1},
                                {INT_MAX, 0, INT_MAX, 1},
                                {0, INT_MIN, 1, INT_MIN}};
    host.ClearLog();
    for (const ExportRect& rect : empty) {
        EXPECT_EQ(rbCopyPicture(image.object(), rect.x, rect.y, rect.w, rect.h), nullptr) << TextOf(rect);
        EXPECT_EQ(rbCopyMask(image.object(), rect.x, rect.y, rect.w, rect.h), nullptr) << TextOf(rect);
    }
    EXPECT_THAT(pictures.Calls(), ElementsAre());
}

// A start or an extent, mostly near the image, sometimes at the ends of the range.
int RandomEdge(Random& random, int low, int high) {
    if (random.Chance(3)) return random.Pick(std::vector{INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX});
    return random.Between(low, high);
}

ExportRect RandomRect(Random& random, const ImageClassData* record) {
    const int w = record->Width, h = record->Height;
    return {RandomEdge(random, -9, w + 4), RandomEdge(random, -9, h + 4), RandomEdge(random, -w - 3, w + 20),
            RandomEdge(random, -h - 3, h + 20)};
}

TEST_P(PictureExport, AgreesWithTheModelOnAllFormatsStoragesAndRectangles) {
    Random random(static_cast<std::uint32_t>(GetParam().pixelType));
    for (const int format : AllFormats()) {
        for (const StorageKind kind : kStorageKinds) {
            TestImage image =
                RandomImage(random, directory, kind, random.Between(1, 40), random.Between(1, 20), format);
            if (image->ChannelCount > 0 && random.Chance(25)) {
                const int index = random.Between(0, image->ChannelCount - 1);
                image = ChannelOf(std::move(image), index);
            }
            ASSERT_TRUE(image);
            for (int round = 0; round < 6; ++round) {
                const ExportRect rect = RandomRect(random, image.record());
                ExpectExport(image, ExportWhat::colours, rect);
                ExpectExport(image, ExportWhat::alpha, rect);
            }
        }
    }
}

// --- storages -------------------------------------------------------------------------------------------------------

TEST_P(PictureExport, ReadsEveryViewLikeAnImageInMemory) {
    Random random(3);
    for (const StorageKind kind : kStorageKinds) {
        for (const int format : {ImageFormatRGBA, ImageFormatCMYKA, ImageFormatAG}) {
            const auto make = [&] {
                TestImage image = MakeStorage(random, directory, kind, 23, 9, format);
                FillWithNoise(image, random);
                return image;
            };
            const TestImage views[] = {make(), ClipOf(make(), 3, 0, 17, 9), MirroredOf(make()),
                                       MirroredOf(ClipOf(make(), 3, 0, 17, 9)), ChannelOf(make(), 1)};
            for (const TestImage& view : views) {
                ExpectExport(view, ExportWhat::colours, {0, 0, view->Width, view->Height});
                ExpectExport(view, ExportWhat::alpha, {1, 1, 7, 7});
            }
            if (format != ImageFormatAG) {
                ExpectExport(ColoursOf(make()), ExportWhat::colours, {2, 1, 19, 7});
            }
        }
    }
}

TEST_P(PictureExport, ReadsImagesInsideHostPictures) {
    using Kind = FakePicture::Kind;
    const bool desktop = GetParam().world == World::desktop;
    for (const int bits : desktop ? std::vector{32, 24} : std::vector{32}) {
        const REALobject backing = pictures.NewNoise(desktop ? Kind::desktop : Kind::console, bits, 13, 6, 5);
        const REALobject object = host.NewImage();
        ImageConstructorPicture(object, backing, true);
        ASSERT_TRUE(ImageDataOf(object)->Valid);
        const Bytes before = pictures[backing].Bytes();
        const REALobject picture = rbCopyPicture(object, 2, 1, 20, 20), mask = rbCopyMaskAll(object);
        ASSERT_TRUE(picture);
        EXPECT_EQ(pictures[picture].width, 11);
        EXPECT_EQ(pictures[picture].height, 5);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 11; ++x) {
                FakePixel pixel = pictures[backing].Get(x + 2, y + 1);
                pixel.alpha = desktop ? 255 : 0;
                EXPECT_EQ(pictures[picture].Get(x, y), pixel) << x << ", " << y;
            }
        }
        ASSERT_EQ(mask != nullptr, bits == 32);
        for (int x = 0; mask && x < 13; ++x) {
            EXPECT_EQ(pictures[mask].Get(x, 4).red, pictures[backing].Get(x, 4).alpha) << x;
        }
        EXPECT_EQ(pictures[backing].Bytes(), before);
        if (mask) REALUnlockObject(mask);
        REALUnlockObject(picture);
        REALUnlockObject(object);
        REALUnlockObject(backing);
    }
}

TEST_P(PictureExport, TakesSamplesOutsideTheStorageAsZero) {
    // The last row goes on behind the block. For inks that is white.
    Random random(4);
    for (const int format : {ImageFormatRGB, ImageFormatRGBA, ImageFormatBGRX, ImageFormatGA, ImageFormatCMYK}) {
        for (const int rowSize : {40, 13, 2}) {
            const TestImage image = MakeOnBlock(30, 4, format, rowSize);
            FillWithNoise(image, random);
            ExpectExport(image, ExportWhat::colours, {0, 0, 30, 4});
            ExpectExport(image, ExportWhat::colours, {7, 2, 30, 4});
            ExpectExport(image, ExportWhat::alpha, {0, 0, 30, 4});
        }
    }
    // More columns than are gathered at a time.
    const TestImage wide = MakeOnBlock(3000, 2, ImageFormatRGBA, 11);
    FillWithNoise(wide, random);
    ExpectExport(wide, ExportWhat::colours, {0, 0, 3000, 2});
}

std::uint8_t* EverySecondRow(ImageClassData* record, int y) {
    return y % 2 == 0 ? record->Pixels + y * record->RowSize : nullptr;
}

TEST_P(PictureExport, LeavesOutRowsThatDoNotExist) {
    const TestImage image = MakePlain(2, 4, ImageFormatG);
    image->GetRow = EverySecondRow;
    const REALobject picture = rbCopyPictureAll(image.object());
    ASSERT_TRUE(picture);
    const std::uint8_t opaque = GetParam().world == World::desktop ? 255 : 0;
    for (int y = 0; y < 4; ++y) {
        const std::uint8_t value = y % 2 == 0 ? 0 : 255;  // the host's own white stays
        EXPECT_EQ(pictures[picture].Get(1, y), (FakePixel{value, value, value, opaque})) << y;
    }
    REALUnlockObject(picture);
}

// --- there and back -------------------------------------------------------------------------------------------------

TEST_P(PictureExport, KeepsColoursAndAlphaThereAndBack) {
    Random random(6);
    const TestImage image = MakePlain(20, 11, ImageFormatARGB), back = MakePlain(20, 11, ImageFormatARGB);
    FillWithNoise(image, random);
    const REALobject picture = rbCopyPictureWithMaskAll(image.object());
    ASSERT_TRUE(picture);
    rbDrawMaskedPictureRGB2(back.object(), picture, false);
    for (int y = 0; y < 11; ++y) {
        EXPECT_EQ(std::memcmp(image->GetRow(image.record(), y), back->GetRow(back.record(), y), 80), 0) << y;
    }
    REALUnlockObject(pictures[picture].mask);  // drawing leaves one lock on the mask that it reads
    REALUnlockObject(picture);
}

}  // namespace
