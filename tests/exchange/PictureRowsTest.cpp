// The loops of the import by themselves: the fast forms beside the plain one that defines them.

#include "exchange/PictureRows.h"

#include <bit>
#include <string>
#include <vector>

#include "support/Images.h"

using namespace zor;

namespace {

constexpr int kPixelTypes[] = {PixelTypeNative32, PixelTypeRGB24, PixelTypeARGB32};

int SizeOfPixelType(int type) {
    return type == PixelTypeRGB24 ? 3 : 4;
}

// A run of bytes between others, all noise.
struct Bytes {
    std::vector<std::uint8_t> all;
    std::ptrdiff_t begin;  // what may be touched, seen from column 0
    std::ptrdiff_t end;
    std::size_t columnZero;

    RowSpan Span() { return {all.data() + columnZero, begin, end}; }
};

// Storage for `pixels` pixels and at times a few bytes less or more at either side.
Bytes AnyBytes(Random& random, std::ptrdiff_t pixels, int pixelSize) {
    Bytes bytes{std::vector<std::uint8_t>(static_cast<std::size_t>(pixels * pixelSize) + 128), 0, pixels * pixelSize,
                64 + static_cast<std::size_t>(random.Between(0, 7))};
    for (std::uint8_t& byte : bytes.all) byte = random.Byte();
    if (random.Chance(40)) bytes.begin += random.Between(-9, 14);
    if (random.Chance(40)) bytes.end += random.Between(-14, 9);
    return bytes;
}

// Image channels in any order that a pixel of that size can have; with alpha in front where the rule has one.
ChannelSet AnyChannels(Random& random, int pixelSize, bool withAlpha) {
    std::vector<int> places(static_cast<std::size_t>(pixelSize));
    for (int i = 0; i < pixelSize; ++i) places[static_cast<std::size_t>(i)] = i;
    for (std::size_t i = places.size() - 1; i > 0; --i) {
        std::swap(places[i], places[static_cast<std::size_t>(random.Between(0, static_cast<int>(i)))]);
    }
    ChannelSet set{};
    // Images without an alpha channel have it on their first byte, which a colour replaces.
    if (withAlpha) set.offset[set.count++] = pixelSize > 3 && random.Chance(70) ? places[3] : 0;
    for (std::size_t c = 0; c < 3; ++c) set.offset[set.count++] = places[c];
    return set;
}

struct Task {
    ImportPlan plan;
    ImportRows rows;
    std::string text;
};

ImportPlan AnyPlan(Random& random, ImportRule rule) {
    const bool withAlpha = rule == ImportRule::constant || rule == ImportRule::maskToAlpha;
    const int type = kPixelTypes[random.Between(0, 2)], maskType = kPixelTypes[random.Between(0, 2)];
    ImportPlan plan{};
    plan.rule = rule;
    plan.invert = random.Chance(50) ? 255 : 0;
    plan.imageSize = random.Between(3, 5);
    plan.image = AnyChannels(random, plan.imageSize, withAlpha);
    plan.picture = ColoursOfPixelType(type);
    plan.pictureSize = SizeOfPixelType(type);
    plan.mask = ColoursOfPixelType(maskType);
    plan.maskSize = SizeOfPixelType(maskType);
    if (rule == ImportRule::maskToAlpha) plan.mask.count = 1;
    if (rule == ImportRule::colours && plan.imageSize == 3 && random.Chance(30)) {
        plan.picture = plan.image;  // the same order
        plan.pictureSize = 3;
    }
    return plan;
}

constexpr ImportRule kRules[] = {ImportRule::colours, ImportRule::constant, ImportRule::maskToAlpha, ImportRule::blend};

TEST(PictureRows, FastFormsWriteWhatThePlainFormWrites) {
    Random random(301);
    for (int round = 0; round < 30000; ++round) {
        const ImportPlan plan = AnyPlan(random, kRules[round % 4]);
        const std::ptrdiff_t width = random.Between(1, 40), imageX = random.Between(0, 5),
                             pictureX = random.Between(0, 5);
        Bytes image = AnyBytes(random, imageX + width, plan.imageSize);
        Bytes picture = AnyBytes(random, pictureX + width, plan.pictureSize);
        Bytes mask = AnyBytes(random, pictureX + width, plan.maskSize);
        Bytes plain = image;
        ImportRow(plan, {image.Span(), picture.Span(), mask.Span(), imageX, pictureX, width});
        ImportRow_Plain(plan, {plain.Span(), picture.Span(), mask.Span(), imageX, pictureX, width});
        ASSERT_TRUE(SameBytes(plain.all, image.all))
            << "rule " << static_cast<int>(plan.rule) << ", round " << round << ", " << plan.pictureSize << " to "
            << plan.imageSize << " bytes";
    }
}

TEST(PictureRows, FastFormsStepAsideWhereTheRowsShareBytes) {
    Random random(302);
    int differing = 0;
    for (int round = 0; round < 20000; ++round) {
        const ImportPlan plan = AnyPlan(random, kRules[round % 4]);
        std::vector<std::uint8_t> bytes(400);
        for (std::uint8_t& byte : bytes) byte = random.Byte();
        std::vector<std::uint8_t> plain = bytes;
        const std::vector<std::uint8_t> before = bytes;
        const std::ptrdiff_t image = random.Between(0, 120), picture = random.Between(0, 120),
                             mask = random.Between(0, 120), width = random.Between(1, 50);
        const auto rows = [&](std::vector<std::uint8_t>& on) {
            const auto span = [&](std::ptrdiff_t at) {
                return RowSpan{on.data() + at, -at, static_cast<std::ptrdiff_t>(on.size()) - at};
            };
            return ImportRows{span(image), span(picture), span(mask), 0, 0, width};
        };
        ImportRow(plan, rows(bytes));
        ImportRow_Plain(plan, rows(plain));
        ASSERT_TRUE(SameBytes(plain, bytes)) << "rule " << static_cast<int>(plan.rule) << ", round " << round;
        differing += bytes != before;
    }
    EXPECT_GT(differing, 19000);
}

TEST(PictureRows, APixelIsDecodedBeforeItIsWritten) {
    // The image's pixels lie one byte behind the picture's.
    const ImportPlan plan = {ImportRule::colours, 0, {3, {0, 1, 2}}, {3, {0, 1, 2}}, {}, 3, 3, 0};
    for (const auto form : {ImportRow, ImportRow_Plain}) {
        std::vector<std::uint8_t> bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        form(plan, {{bytes.data() + 1, -1, 9}, {bytes.data(), 0, 10}, {}, 0, 0, 3});
        EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 1, 2, 3, 3, 5, 6, 6, 8, 9}));
    }
}

TEST(PictureRows, ANilRowMeansThatNothingHappens) {
    for (const ImportRule rule : kRules) {
        Random random(303);
        ImportPlan plan = AnyPlan(random, rule);
        Bytes image = AnyBytes(random, 8, plan.imageSize), picture = AnyBytes(random, 8, plan.pictureSize);
        Bytes mask = AnyBytes(random, 8, plan.maskSize);
        const std::vector<std::uint8_t> before = image.all;
        for (const auto form : {ImportRow, ImportRow_Plain}) {
            form(plan, {{}, picture.Span(), mask.Span(), 0, 0, 8});
            form(plan, {image.Span(), {}, mask.Span(), 0, 0, 8});
            form(plan, {image.Span(), picture.Span(), mask.Span(), 0, 0, 0});
            EXPECT_EQ(image.all, before);
            if (rule == ImportRule::maskToAlpha || rule == ImportRule::blend) {
                form(plan, {image.Span(), picture.Span(), {}, 0, 0, 8});
                EXPECT_EQ(image.all, before) << "without the mask that the rule reads";
            }
        }
        ImportRow(plan, {image.Span(), picture.Span(), mask.Span(), 0, 0, 8});
        EXPECT_NE(image.all, before);
    }
}

// --- where a row ends -----------------------------------------------------------------------------------------------

TEST(PictureRows, KnowTheColoursOfEachPixelType) {
    const auto offsets = [](int type) {
        const ChannelSet set = ColoursOfPixelType(type);
        return std::vector<std::ptrdiff_t>(set.offset, set.offset + set.count);
    };
    EXPECT_EQ(offsets(PixelTypeARGB32), (std::vector<std::ptrdiff_t>{1, 2, 3}));
    EXPECT_EQ(offsets(PixelTypeRGB24), (std::vector<std::ptrdiff_t>{0, 1, 2}));
    const std::uint32_t word = 0x00112233;
    const std::uint8_t* const bytes = reinterpret_cast<const std::uint8_t*>(&word);
    const std::vector<std::ptrdiff_t> native = offsets(PixelTypeNative32);
    ASSERT_EQ(native.size(), 3u);
    EXPECT_EQ(bytes[native[0]], 0x11);
    EXPECT_EQ(bytes[native[1]], 0x22);
    EXPECT_EQ(bytes[native[2]], 0x33);
}

TEST(PictureRows, ADesktopPicturesStorageIsOneRun) {
    std::vector<std::uint8_t> pixels(14 * 3);
    PictureEditor editor{};
    editor.Width = 4, editor.Height = 3, editor.RowBytes = 14, editor.BytesPerPixel = 3;
    editor.PixelType = PixelTypeRGB24;
    editor.FirstRow = editor.CurrentRow = pixels.data();
    for (int y = 0; y < 3; ++y) {
        const RowSpan row = CurrentRowSpan(editor);
        EXPECT_EQ(row.data, pixels.data() + 14 * y);
        EXPECT_EQ(row.begin, -14 * y);
        EXPECT_EQ(row.end, 42 - 14 * y);
        NextRow(editor);
    }
    EXPECT_EQ(CurrentRowSpan(editor).data, pixels.data()) << "behind the last row the first one again";
    EXPECT_EQ(CurrentRowSpan(editor).end, 42);
}

TEST(PictureRows, ADesktopPictureMayLieUpsideDown) {
    std::vector<std::uint8_t> pixels(14 * 3);
    PictureEditor editor{};
    editor.Width = 4, editor.Height = 3, editor.RowBytes = -14, editor.BytesPerPixel = 3;
    editor.PixelType = PixelTypeRGB24;
    editor.FirstRow = editor.CurrentRow = pixels.data() + 28;
    EXPECT_EQ(CurrentRowSpan(editor).begin, -28);
    EXPECT_EQ(CurrentRowSpan(editor).end, 14);
    NextRow(editor);
    EXPECT_EQ(CurrentRowSpan(editor).data, pixels.data() + 14);
    EXPECT_EQ(CurrentRowSpan(editor).begin, -14);
    EXPECT_EQ(CurrentRowSpan(editor).end, 28);
}

TEST(PictureRows, AConsolePicturesRowsAreByThemselves) {
    int first[5], second[5];
    int* table[] = {first, second};
    PictureEditor editor{};
    editor.Width = 5, editor.Height = 2, editor.RowBytes = 20, editor.BytesPerPixel = 4;
    editor.PixelType = PixelTypeNative32;
    editor.RowTable = table;
    editor.FirstRow = editor.CurrentRow = reinterpret_cast<std::uint8_t*>(first);
    NextRow(editor);
    const RowSpan row = CurrentRowSpan(editor);
    EXPECT_EQ(row.data, reinterpret_cast<std::uint8_t*>(second));
    EXPECT_EQ(row.begin, 0);
    EXPECT_EQ(row.end, 20);
    editor.CurrentRow = nullptr;
    EXPECT_FALSE(CurrentRowSpan(editor)) << "a row that the picture does not have";
}

}  // namespace
