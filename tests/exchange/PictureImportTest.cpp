// The import of host pictures as applications know it: its forms, what each member writes, and the cases that
// surprise.

#include "exchange/PictureImport.h"

#include "ImportModel.h"
#include "core/Formats.h"

using namespace zor;

namespace {

class PictureImport : public EngineTest, public ::testing::WithParamInterface<World> {
protected:
    FakePictures pictures{host, GetParam()};
    Random random{321};

    REALobject Noise(int width, int height) {
        const auto kind = GetParam() == World::console ? FakePicture::Kind::console : FakePicture::Kind::desktop;
        return pictures.NewNoise(kind, 32, width, height, random.Bits());
    }

    // All pixels of one colour.
    REALobject Plain(int width, int height, FakePixel pixel) {
        const REALobject picture = pictures.New(width, height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) pictures[picture].Set(x, y, pixel);
        }
        return picture;
    }

    TestImage Filled(int width, int height, int format, std::uint8_t value) {
        TestImage image = MakePlain(width, height, format);
        Storage storage = SnapshotOf(image);
        std::fill(storage.bytes.begin(), storage.bytes.end(), value);
        SetStorage(image, storage);
        return image;
    }

    // The bytes of a pixel, in memory's order.
    static std::vector<int> PixelAt(const TestImage& image, int x, int y) {
        const Storage storage = SnapshotOf(image);
        std::vector<int> pixel;
        for (int i = 0; i < image->PixelSize; ++i) pixel.push_back(storage.At(PlaceOf(image, x, y) + i));
        return pixel;
    }

    void Release(REALobject picture) {
        const REALobject mask = pictures[picture].mask;
        while (mask && host.Locks(mask) > 1) REALUnlockObject(mask);
        REALUnlockObject(picture);
    }
};

std::string NameOfWorld(const ::testing::TestParamInfo<World>& world) {
    return world.param == World::console ? "console" : "desktop";
}

INSTANTIATE_TEST_SUITE_P(Worlds, PictureImport, ::testing::Values(World::console, World::desktop), NameOfWorld);

// --- forms ----------------------------------------------------------------------------------------------------------

template <class F>
REALfunction Function(F* function) {
    return reinterpret_cast<REALfunction>(function);
}

// How many of the six numbers a form takes.
enum class Takes { nothing, place, size, all };

struct Form {
    const char* name;
    REALfunction function;
    ImportMember member;
    Takes takes;
};

const Form kForms[] = {
    {"DrawPictureRGB", Function(rbDrawPictureRGB2), ImportMember::colours, Takes::nothing},
    {"DrawPictureRGB", Function(rbDrawPictureRGB4), ImportMember::colours, Takes::place},
    {"DrawPictureRGB", Function(rbDrawPictureRGB6), ImportMember::colours, Takes::size},
    {"DrawPictureRGB", Function(rbDrawPictureRGB8), ImportMember::colours, Takes::all},
    {"DrawPictureRedToGrayChannel", Function(rbDrawPictureRedToGrayChannel6), ImportMember::redToGray, Takes::size},
    {"DrawPictureRedToGrayChannel", Function(rbDrawPictureRedToGrayChannel8), ImportMember::redToGray, Takes::all},
    {"DrawPictureGreenToGrayChannel", Function(rbDrawPictureGreenToGrayChannel6), ImportMember::greenToGray,
     Takes::size},
    {"DrawPictureGreenToGrayChannel", Function(rbDrawPictureGreenToGrayChannel8), ImportMember::greenToGray,
     Takes::all},
    {"DrawPictureBlueToGrayChannel", Function(rbDrawPictureBlueToGrayChannel6), ImportMember::blueToGray, Takes::size},
    {"DrawPictureBlueToGrayChannel", Function(rbDrawPictureBlueToGrayChannel8), ImportMember::blueToGray, Takes::all},
    {"DrawMaskedPictureRGB", Function(rbDrawMaskedPictureRGB2), ImportMember::masked, Takes::nothing},
    {"DrawMaskedPictureRGB", Function(rbDrawMaskedPictureRGB4), ImportMember::masked, Takes::place},
    {"DrawMaskedPictureRGB", Function(rbDrawMaskedPictureRGB6), ImportMember::masked, Takes::size},
    {"DrawMaskedPictureRGB", Function(rbDrawMaskedPictureRGB8), ImportMember::masked, Takes::all},
    {"DrawMaskedPictureApplyMaskRGB", Function(rbDrawPictureApplyMaskRGB2), ImportMember::applyMask, Takes::nothing},
    {"DrawMaskedPictureApplyMaskRGB", Function(rbDrawPictureApplyMaskRGB4), ImportMember::applyMask, Takes::place},
    {"DrawMaskedPictureApplyMaskRGB", Function(rbDrawPictureApplyMaskRGB6), ImportMember::applyMask, Takes::size},
    {"DrawMaskedPictureApplyMaskRGB", Function(rbDrawPictureApplyMaskRGB8), ImportMember::applyMask, Takes::all},
};

template <class... Args>
void Call(REALfunction function, REALobject object, REALobject picture, Args... args) {
    reinterpret_cast<void (*)(REALobject, REALobject, Args...)>(function)(object, picture, args...);
}

// As the host calls it: with the numbers of its declaration, and the optional one always.
void CallForm(const Form& row, REALobject object, REALobject picture, const ImportArguments& a) {
    const bool hasInvert = row.member == ImportMember::masked || row.member == ImportMember::applyMask;
    const REALboolean invert = a.invertMask;
    switch (row.takes) {
        case Takes::nothing:
            return hasInvert ? Call(row.function, object, picture, invert) : Call(row.function, object, picture);
        case Takes::place:
            return hasInvert ? Call(row.function, object, picture, a.destX, a.destY, invert)
                             : Call(row.function, object, picture, a.destX, a.destY);
        case Takes::size:
            return hasInvert ? Call(row.function, object, picture, a.destX, a.destY, a.width, a.height, invert)
                             : Call(row.function, object, picture, a.destX, a.destY, a.width, a.height);
        case Takes::all:
            return hasInvert
                       ? Call(row.function, object, picture, a.destX, a.destY, a.width, a.height, a.sourceX, a.sourceY,
                              invert)
                       : Call(row.function, object, picture, a.destX, a.destY, a.width, a.height, a.sourceX, a.sourceY);
    }
}

TEST_P(PictureImport, EveryFormDrawsAsItsFullForm) {
    for (const Form& row : kForms) {
        SCOPED_TRACE(std::string(row.name) + " with arguments of kind " + std::to_string(static_cast<int>(row.takes)));
        for (const bool inverted : {false, true}) {
            const bool toGray = row.member == ImportMember::redToGray || row.member == ImportMember::greenToGray ||
                                row.member == ImportMember::blueToGray;
            const int format = toGray ? ImageFormatGA : ImageFormatRGBA;
            const TestImage image = Filled(12, 9, format, 77), expected = Filled(12, 9, format, 77);
            const REALobject picture = Noise(7, 6);
            pictures[picture].mask = Noise(7, 6);
            const ImportArguments told = {2, 1, 5, 4, 1, 2, inverted};
            ImportArguments full = told;
            if (row.takes != Takes::all) full.sourceX = full.sourceY = 0;
            if (row.takes == Takes::place || row.takes == Takes::nothing) full.width = 7, full.height = 6;
            if (row.takes == Takes::nothing) full.destX = full.destY = 0;
            const Storage before = SnapshotOf(image);
            CallForm(row, image.object(), picture, told);
            CallImport(row.member, expected, picture, full);
            EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(image), image));
            EXPECT_NE(before.bytes, SnapshotOf(image).bytes);
            Release(picture);
        }
    }
}

// --- what each member writes ----------------------------------------------------------------------------------------

struct Written {
    ImportMember member;
    int format;
    std::vector<int> pixel;  // where the image held 100 in every byte
};

// The picture is (10, 20, 30), its mask (200, 0, 255).
TEST_P(PictureImport, EveryMemberWritesItsBytesAndNoOthers) {
    const Written rows[] = {
        {ImportMember::colours, ImageFormatRGB, {10, 20, 30}},
        {ImportMember::colours, ImageFormatABGR, {100, 30, 20, 10}},
        {ImportMember::colours, ImageFormatRGBX, {10, 20, 30, 100}},
        {ImportMember::colours, ImageFormatGA, {100, 100}},
        {ImportMember::redToGray, ImageFormatGA, {10, 100}},
        {ImportMember::greenToGray, ImageFormatAG, {100, 20}},
        {ImportMember::blueToGray, ImageFormatG, {30}},
        {ImportMember::blueToGray, ImageFormat2of3, {100, 30, 100}},
        {ImportMember::redToGray, ImageFormatRGB, {100, 100, 100}},
        {ImportMember::greenToGray, ImageFormatCMYK, {100, 100, 100, 100}},
        {ImportMember::masked, ImageFormatRGBA, {10, 20, 30, 200}},
        {ImportMember::masked, ImageFormatBGRA, {30, 20, 10, 200}},
        {ImportMember::masked, ImageFormatRGB, {10, 20, 30}},
        {ImportMember::masked, ImageFormatXRGB, {200, 10, 20, 30}},
        {ImportMember::masked, ImageFormatXBGR, {200, 30, 20, 10}},
        {ImportMember::masked, ImageFormatRGBX, {10, 20, 30, 100}},
        {ImportMember::masked, ImageFormatBGRX, {30, 20, 10, 100}},
        {ImportMember::masked, ImageFormatG, {100}},
        {ImportMember::applyMask, ImageFormatRGBA, {80, 20, 100, 100}},
        {ImportMember::applyMask, ImageFormatBGR, {100, 20, 80}},
        {ImportMember::applyMask, ImageFormatCMYKA, {100, 100, 100, 100, 100}},
    };
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    pictures[picture].mask = Plain(3, 2, {200, 0, 255, 55});
    for (const Written& row : rows) {
        const TestImage image = Filled(3, 2, row.format, 100);
        SCOPED_TRACE(NameOf(row.member) + " into " + image.text);
        CallImport(row.member, image, picture, {0, 0, 3, 2, 0, 0, false});
        EXPECT_EQ(PixelAt(image, 0, 0), row.pixel);
        EXPECT_EQ(PixelAt(image, 2, 1), row.pixel);
    }
    Release(picture);
}

TEST_P(PictureImport, ImagesOfAnotherFamilyStayAsTheyAre) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    for (const int format : {ImageFormatCMYK, ImageFormatCMYKA, ImageFormatG, ImageFormatGA, ImageFormatBuffer}) {
        const TestImage image = Filled(3, 2, format, 100);
        const Storage before = SnapshotOf(image);
        rbDrawPictureRGB2(image.object(), picture);
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image)) << format;
    }
    EXPECT_FALSE(host.TakeException());
    Release(picture);
}

TEST_P(PictureImport, RedToGrayLeavesAlphaUntouched) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    const TestImage image = Filled(3, 2, ImageFormatGA, 100);
    rbDrawPictureRedToGrayChannel8(image.object(), picture, 0, 0, 3, 2, 0, 0);
    EXPECT_EQ(PixelAt(image, 1, 1), (std::vector{10, 100}));
    Release(picture);
}

TEST_P(PictureImport, AMaskedDrawKeepsThePadByteOfRGBXAndItsRed) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    const TestImage image = Filled(3, 2, ImageFormatRGBX, 100);
    for (const bool inverted : {false, true}) {
        rbDrawMaskedPictureRGB2(image.object(), picture, inverted);
        EXPECT_EQ(PixelAt(image, 2, 0), (std::vector{10, 20, 30, 100})) << inverted;
    }
    Release(picture);
}

// --- masks ----------------------------------------------------------------------------------------------------------

TEST_P(PictureImport, APictureWithoutAMaskIsOpaqueOrInvertedTransparent) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    const TestImage image = Filled(3, 2, ImageFormatRGBA, 100);
    rbDrawMaskedPictureRGB2(image.object(), picture, false);
    EXPECT_EQ(PixelAt(image, 2, 1), (std::vector{10, 20, 30, 255}));
    rbDrawMaskedPictureRGB2(image.object(), picture, true);
    EXPECT_EQ(PixelAt(image, 2, 1), (std::vector{10, 20, 30, 0}));
    Release(picture);
}

TEST_P(PictureImport, AnInvertedMaskIsItsComplement) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    pictures[picture].mask = Plain(3, 2, {200, 1, 2, 3});
    const TestImage image = Filled(3, 2, ImageFormatARGB, 100);
    rbDrawMaskedPictureRGB2(image.object(), picture, true);
    EXPECT_EQ(PixelAt(image, 1, 1), (std::vector{55, 10, 20, 30}));
    Release(picture);
}

TEST_P(PictureImport, AppliesTheMaskChannelByChannel) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    pictures[picture].mask = Plain(3, 2, {0, 255, 128, 3});
    const TestImage image = Filled(3, 2, ImageFormatRGB, 201);
    rbDrawPictureApplyMaskRGB2(image.object(), picture, false);
    EXPECT_EQ(PixelAt(image, 1, 1), (std::vector{10, 201, (128 * 201 + 127 * 30) / 255}));
    const TestImage inverted = Filled(3, 2, ImageFormatRGB, 201);
    rbDrawPictureApplyMaskRGB2(inverted.object(), picture, true);
    EXPECT_EQ(PixelAt(inverted, 1, 1), (std::vector{201, 20, (127 * 201 + 128 * 30) / 255}));
    Release(picture);
}

TEST_P(PictureImport, ApplyingWithoutAMaskDrawsThePicture) {
    const REALobject picture = Plain(3, 2, {10, 20, 30, 44});
    for (const bool inverted : {false, true}) {
        const TestImage image = Filled(3, 2, ImageFormatRGBA, 100);
        rbDrawPictureApplyMaskRGB2(image.object(), picture, inverted);
        EXPECT_EQ(PixelAt(image, 2, 1), (std::vector{10, 20, 30, 100}));
    }
    Release(picture);
}

TEST_P(PictureImport, AMaskThatEndsEarlyBeginsAgainWithItsFirstRowAndStaysThere) {
    const REALobject picture = Plain(1, 6, {10, 20, 30, 44});
    const REALobject mask = Plain(1, 3, {});
    for (int y = 0; y < 3; ++y) pictures[mask].Set(0, y, {static_cast<std::uint8_t>(50 + y), 0, 0, 0});
    pictures[picture].mask = mask;
    const auto alphas = [&](int sourceY) {
        const TestImage image = Filled(1, 6, ImageFormatRGBA, 100);
        rbDrawMaskedPictureRGB8(image.object(), picture, 0, 0, 1, 6, 0, sourceY, false);
        std::vector<int> found;
        for (int y = 0; y < 6; ++y) found.push_back(PixelAt(image, 0, y)[3]);
        return found;
    };
    EXPECT_EQ(alphas(0), (std::vector{50, 51, 52, 50, 50, 50}));
    EXPECT_EQ(alphas(2), (std::vector{52, 50, 50, 50, 100, 100})) << "skipped rows are stepped over";
    EXPECT_EQ(alphas(4), (std::vector{50, 50, 100, 100, 100, 100})) << "behind the mask's end";
    Release(picture);
}

TEST_P(PictureImport, AMaskThatIsNarrowerIsNotReadOutsideItsStorage) {
    const REALobject picture = Plain(4, 2, {10, 20, 30, 44});
    const bool desktop = GetParam() == World::desktop;
    // On the desktop what follows a row in memory is the next one: here without bytes between them.
    const REALobject mask = desktop ? pictures.NewDesktop(2, 2, 32, "mask", 0) : pictures.NewConsole(2, 2, "mask");
    for (int i = 0; i < 4; ++i) pictures[mask].Set(i % 2, i / 2, {static_cast<std::uint8_t>(50 + i), 0, 0, 0});
    pictures[picture].mask = mask;
    const TestImage image = Filled(4, 2, ImageFormatRGBA, 100);
    rbDrawMaskedPictureRGB2(image.object(), picture, false);
    std::vector<int> alphas;
    for (int i = 0; i < 8; ++i) alphas.push_back(PixelAt(image, i % 4, i / 4)[3]);
    EXPECT_EQ(alphas,
              desktop ? (std::vector{50, 51, 52, 53, 52, 53, 0, 0}) : (std::vector{50, 51, 0, 0, 52, 53, 0, 0}));
    Release(picture);
}

TEST_P(PictureImport, TheMasksSizeDoesNotCutTheRectangle) {
    const REALobject picture = Plain(4, 3, {10, 20, 30, 44});
    pictures[picture].mask = Plain(9, 9, {200, 0, 0, 0});
    const TestImage image = Filled(8, 8, ImageFormatRGBA, 100);
    rbDrawMaskedPictureRGB8(image.object(), picture, 0, 0, 9, 9, 0, 0, false);
    EXPECT_EQ(PixelAt(image, 3, 2), (std::vector{10, 20, 30, 200}));
    EXPECT_EQ(PixelAt(image, 4, 2), (std::vector{100, 100, 100, 100}));
    EXPECT_EQ(PixelAt(image, 3, 3), (std::vector{100, 100, 100, 100}));
    Release(picture);
}

// --- rectangles -----------------------------------------------------------------------------------------------------

// The columns of row 0 that were written, each with the picture's column that it shows.
std::vector<std::pair<int, int>> Columns(const TestImage& image) {
    std::vector<std::pair<int, int>> columns;
    const Storage storage = SnapshotOf(image);
    for (int x = 0; x < image->Width; ++x) {
        const int red = storage.At(PlaceOf(image, x, 0));
        if (red != 200) columns.emplace_back(x, red);
    }
    return columns;
}

std::vector<std::pair<int, int>> Shown(int first, int count, int fromColumn) {
    std::vector<std::pair<int, int>> columns;
    for (int i = 0; i < count; ++i) columns.emplace_back(first + i, fromColumn + i);
    return columns;
}

TEST_P(PictureImport, CutsTheRectangleToImageAndPicture) {
    const REALobject picture = pictures.New(60, 3);
    for (int x = 0; x < 60; ++x) {
        for (int y = 0; y < 3; ++y) pictures[picture].Set(x, y, {static_cast<std::uint8_t>(x), 0, 0, 0});
    }
    const auto drawn = [&](int destX, int width, int sourceX) {
        const TestImage image = Filled(40, 3, ImageFormatRGB, 200);
        rbDrawPictureRGB8(image.object(), picture, destX, 0, width, 3, sourceX, 0);
        return Columns(image);
    };
    EXPECT_EQ(drawn(10, 20, -5), Shown(5, 15, 0)) << "a negative column of the picture moves the rectangle to the left";
    EXPECT_EQ(drawn(30, -10, 7), Shown(20, 10, 7)) << "a negative width is not mirrored";
    EXPECT_EQ(drawn(-3, 10, 0), Shown(0, 7, 3));
    EXPECT_EQ(drawn(35, 10, 0), Shown(35, 5, 0));
    EXPECT_EQ(drawn(0, 40, 50), Shown(0, 10, 50));
    EXPECT_EQ(drawn(40, 5, 0), Shown(0, 0, 0));
    EXPECT_EQ(drawn(0, 5, 60), Shown(0, 0, 0));
    EXPECT_EQ(drawn(0, 0, 0), Shown(0, 0, 0));
    Release(picture);
}

}  // namespace
