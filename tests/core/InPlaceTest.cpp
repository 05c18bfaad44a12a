#include "core/InPlace.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <optional>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "support/Images.h"

using namespace zor;

namespace {

class InPlace : public EngineTest {
protected:
    TempDir directory;
};

// --- an independent model -------------------------------------------------------------------------------------------

struct Area {
    int x, y, width, height;
};

// Columns or rows that a start and an extent name, cut to the image.
struct Stretch {
    long long first, last;  // half-open
};
Stretch CutTo(long long start, long long extent, long long limit) {
    const long long low = std::min(start, start + extent), high = std::max(start, start + extent);
    return {std::max(low, 0LL), std::min(high, limit)};
}

// Calls visit(place of the pixel's first byte) from the top and the left.
void ForEachPixel(const TestImage& image, const Area& area, const std::function<void(std::int64_t)>& visit) {
    const Stretch columns = CutTo(area.x, area.width, image->Width), rows = CutTo(area.y, area.height, image->Height);
    for (long long y = rows.first; y < rows.last; ++y) {
        for (long long x = columns.first; x < columns.last; ++x) {
            visit(PlaceOf(image, static_cast<int>(x), static_cast<int>(y)));
        }
    }
}

std::uint8_t Low8(int value) {
    return static_cast<std::uint8_t>(value & 255);
}

using Offsets = std::vector<int>;

Offsets With(Offsets offsets, bool has, int alpha) {
    if (has) offsets.push_back(alpha);
    return offsets;
}

// Colour channels by family; empty for none.
Offsets ColoursOfFamily(const ImageClassData* r) {
    if (r->IsGray) return {r->GrayOffset};
    if (r->IsRGB) return {r->RedOffset, r->GreenOffset, r->BlueOffset};
    if (r->IsCMYK) return {r->CyanOffset, r->MagentaOffset, r->YellowOffset, r->BlackOffset};
    return {};
}

Offsets AllChannels(const ImageClassData* r) {
    const Offsets colours = ColoursOfFamily(r);
    return colours.empty() ? colours : With(colours, r->HasAlpha, r->AlphaOffset);
}

bool PixelIsAllChannels(const ImageClassData* r) {
    return r->HasRed + r->HasGreen + r->HasBlue + r->HasGray + r->HasAlpha == r->PixelSize;
}

void ExpectClear(const TestImage& image, const Area& area, Storage* storage) {
    ForEachPixel(image, area, [&](std::int64_t place) {
        for (int i = 0; i < image->PixelSize; ++i) storage->Put(place + i, 0);
    });
}

void ExpectFill(const TestImage& image, const Area& area, int value, Storage* storage) {
    ForEachPixel(image, area, [&](std::int64_t place) {
        for (const int offset : AllChannels(image.record())) storage->Put(place + offset, Low8(value));
    });
}

void ExpectInvert(const TestImage& image, const Area& area, Storage* storage) {
    ForEachPixel(image, area, [&](std::int64_t place) {
        for (const int offset : AllChannels(image.record())) {
            storage->Put(place + offset, static_cast<std::uint8_t>(~storage->At(place + offset)));
        }
    });
}

void ExpectColour(const TestImage& image, const Area& area, const std::vector<int>& rgb, std::optional<int> alpha,
                  Storage* storage) {
    const ImageClassData* const r = image.record();
    if (!r->HasRed || !r->HasGreen || !r->HasBlue) return;
    ForEachPixel(image, area, [&](std::int64_t place) {
        storage->Put(place + r->RedOffset, Low8(rgb[0]));
        storage->Put(place + r->GreenOffset, Low8(rgb[1]));
        storage->Put(place + r->BlueOffset, Low8(rgb[2]));
        if (alpha && r->HasAlpha) storage->Put(place + r->AlphaOffset, Low8(*alpha));
    });
}

// 32-bit arithmetic that wraps, told in 64 bits.
std::int32_t Wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

void ExpectApply(const TestImage& image, const Area& area, std::vector<int> values, int alpha, Storage* storage) {
    const ImageClassData* const r = image.record();
    if (!r->IsRGB && !r->IsGray) return;
    if (!r->IsRGB) {
        values = {Wrapped(77LL * values[0] + 151LL * values[1] + 28LL * values[2]) / 256};
    }
    const std::int64_t newWeight = Wrapped(alpha * 257LL), oldWeight = Wrapped((255LL - alpha) * 257);
    const Offsets offsets = ColoursOfFamily(r);
    ForEachPixel(image, area, [&](std::int64_t place) {
        for (std::size_t c = 0; c < offsets.size(); ++c) {
            const std::int64_t at = place + offsets[c];
            const std::int32_t sum = Wrapped(storage->At(at) * oldWeight + Wrapped(values[c] * newWeight));
            storage->Put(at, static_cast<std::uint8_t>((sum >> 16) & 255));
        }
    });
}

void ExpectRandom(const TestImage& image, const Area& area, Storage* storage) {
    const ImageClassData* const r = image.record();
    const Stretch columns = CutTo(area.x, area.width, r->Width), rows = CutTo(area.y, area.height, r->Height);
    if (columns.first >= columns.last || rows.first >= rows.last) return;
    if (PixelIsAllChannels(r)) {
        int lowest = INT_MAX;
        for (const ChannelOffset& channel : ChannelsByName(r)) {
            if (channel.offset >= 0) lowest = std::min(lowest, channel.offset);
        }
        for (long long y = rows.first; y < rows.last; ++y) {
            const std::int64_t row = PlaceOfRow(image, static_cast<int>(y)) + lowest;
            for (long long i = columns.first * r->PixelSize; i < (columns.last - columns.first) * r->PixelSize; ++i) {
                storage->Put(row + i, Low8(std::rand()));
            }
        }
        return;
    }
    Offsets order;
    if (r->HasGray) {
        order = r->HasAlpha ? Offsets{r->AlphaOffset, r->GrayOffset} : Offsets{r->GrayOffset};
    } else if (r->IsCMYK) {
        if (r->HasAlpha) order = {r->AlphaOffset};
        for (const int offset : ColoursOfFamily(r)) order.push_back(offset);
    } else if (r->IsRGB) {
        order = With(ColoursOfFamily(r), r->HasAlpha, r->AlphaOffset);
    }
    ForEachPixel(image, area, [&](std::int64_t place) {
        for (const int offset : order) storage->Put(place + offset, Low8(std::rand()));
    });
}

// --- all formats, storages and views against the model
// ----------------------------------------------------------------

int WildNumber(Random& random, int extent) {
    static const std::vector<int> extremes = {INT_MIN, INT_MIN + 1, -100000, -1, 0, 1, 100000, INT_MAX - 1, INT_MAX};
    if (random.Chance(12)) return random.Pick(extremes);
    return random.Between(-extent, 2 * extent);
}

Area WildArea(Random& random, const TestImage& image) {
    return {WildNumber(random, image->Width), WildNumber(random, image->Height), WildNumber(random, image->Width),
            WildNumber(random, image->Height)};
}

int WildValue(Random& random) {
    static const std::vector<int> extremes = {INT_MIN, -257, -1, 0, 1, 127, 128, 254, 255, 256, 300, INT_MAX};
    return random.Chance(40) ? random.Pick(extremes) : random.Between(0, 255);
}

// An image of any kind; now and then a channel of it, its colours, or rows that are shorter than their pixels.
TestImage AnyImage(Random& random, const TempDir& directory, int format) {
    const int width = random.Between(1, 24), height = random.Between(1, 9);
    if (random.Chance(15)) {
        TestImage image = MakeOnBlock(width, height, format, random.Between(1, 3 * width));
        FillWithNoise(image, random);
        return image;
    }
    TestImage image = RandomImage(random, directory, width, height, format);
    if (image->ChannelCount > 0 && random.Chance(20)) {
        const int channel = random.Between(0, image->ChannelCount - 1);
        return ChannelOf(std::move(image), channel);
    }
    if ((image->IsRGB || image->IsCMYK) && random.Chance(20)) return ColoursOf(std::move(image));
    return image;
}

struct Operation {
    const char* name;
    std::function<void(REALobject, const Area&, const std::vector<int>&)> run;
    std::function<void(const TestImage&, const Area&, const std::vector<int>&, Storage*)> expect;
};

const std::vector<Operation>& Operations() {
    using Values = std::vector<int>;
    static const std::vector<Operation> operations = {
        {"ClearRect", [](REALobject o, const Area& a, const Values&) { ClearRect5(o, a.x, a.y, a.width, a.height); },
         [](const TestImage& i, const Area& a, const Values&, Storage* s) { ExpectClear(i, a, s); }},
        {"FillRect",
         [](REALobject o, const Area& a, const Values& v) { FillRect5(o, a.x, a.y, a.width, a.height, v[0]); },
         [](const TestImage& i, const Area& a, const Values& v, Storage* s) { ExpectFill(i, a, v[0], s); }},
        {"Invert", [](REALobject o, const Area& a, const Values&) { Invert5(o, a.x, a.y, a.width, a.height); },
         [](const TestImage& i, const Area& a, const Values&, Storage* s) { ExpectInvert(i, a, s); }},
        {"FillRectRGB",
         [](REALobject o, const Area& a, const Values& v) {
             FillRectRGB5(o, a.x, a.y, a.width, a.height, v[0], v[1], v[2]);
         },
         [](const TestImage& i, const Area& a, const Values& v, Storage* s) { ExpectColour(i, a, v, {}, s); }},
        {"FillRectRGB with alpha",
         [](REALobject o, const Area& a, const Values& v) {
             FillRectRGBA5(o, a.x, a.y, a.width, a.height, v[0], v[1], v[2], v[3]);
         },
         [](const TestImage& i, const Area& a, const Values& v, Storage* s) { ExpectColour(i, a, v, v[3], s); }},
        {"FillRectApply",
         [](REALobject o, const Area& a, const Values& v) {
             FillRectApplyRGBA5(o, a.x, a.y, a.width, a.height, v[0], v[1], v[2], v[3]);
         },
         [](const TestImage& i, const Area& a, const Values& v, Storage* s) { ExpectApply(i, a, v, v[3], s); }},
        {"FillRectRandom",
         [](REALobject o, const Area& a, const Values&) {
             std::srand(77);
             FillRectRandom5(o, a.x, a.y, a.width, a.height);
         },
         [](const TestImage& i, const Area& a, const Values&, Storage* s) {
             std::srand(77);
             ExpectRandom(i, a, s);
         }},
    };
    return operations;
}

TEST_F(InPlace, EveryOperationAgreesWithThePixelByPixelModel) {
    Random random(25);
    for (int round = 0; round < 12; ++round) {
        for (const int format : AllFormats()) {
            for (const Operation& operation : Operations()) {
                const TestImage image = AnyImage(random, directory, format);
                ASSERT_TRUE(image);
                const Area area = WildArea(random, image);
                const std::vector<int> values = {WildValue(random), WildValue(random), WildValue(random),
                                                 WildValue(random)};
                SCOPED_TRACE(std::string(operation.name) + " on " + image.text + " at " + std::to_string(area.x) + "," +
                             std::to_string(area.y) + " " + std::to_string(area.width) + "x" +
                             std::to_string(area.height));
                Storage expected = SnapshotOf(image);
                operation.run(image.object(), area, values);
                operation.expect(image, area, values, &expected);
                ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
            }
        }
    }
}

TEST_F(InPlace, NoiseTakesOneDrawForEachByteEvenOutsideTheStorage) {
    // Rows of one byte: most of the pixels lie behind the end of the block.
    for (const int format : {ImageFormatRGB, ImageFormatXRGB, ImageFormatCMYKA, ImageFormatGA, ImageFormat2of3}) {
        const TestImage image = MakeOnBlock(6, 3, format, 1);
        Storage expected = SnapshotOf(image);
        std::srand(5);
        FillRectRandom1(image.object());
        const int next = std::rand();
        std::srand(5);
        ExpectRandom(image, {0, 0, 6, 3}, &expected);
        EXPECT_EQ(next, std::rand()) << "format " << format;
        EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

TEST_F(InPlace, ClearsWholeRowsWithTheirPaddingInTheFormWithoutARectangle) {
    Random random(3);
    for (int round = 0; round < 120; ++round) {
        const TestImage image = AnyImage(random, directory, random.Format());
        SCOPED_TRACE(image.text);
        Storage expected = SnapshotOf(image);
        for (int y = 0; y < image->Height; ++y) {
            for (int i = 0; i < image->RowSize; ++i) expected.Put(PlaceOfRow(image, y) + i, 0);
        }
        ClearRect1(image.object());
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

// --- the forms that forward
// -------------------------------------------------------------------------------------------

struct Forward {
    const char* name;
    std::function<void(REALobject)> shorter;
    std::function<void(REALobject)> full;
};

TEST_F(InPlace, ShorterFormsDoWhatTheirFullFormsDo) {
    constexpr REALcolor kColor = static_cast<REALcolor>(0x9A123456);  // the top byte counts for nothing
    constexpr int kWidth = 7, kHeight = 5;
    const std::vector<Forward> forwards = {
        {"FillRect", [](REALobject o) { FillRect1(o, 300); },
         [](REALobject o) { FillRect5(o, 0, 0, kWidth, kHeight, 300); }},
        {"FillRectRandom",
         [](REALobject o) {
             std::srand(9);
             FillRectRandom1(o);
         },
         [](REALobject o) {
             std::srand(9);
             FillRectRandom5(o, 0, 0, kWidth, kHeight);
         }},
        {"FillRectRGB", [](REALobject o) { FillRectRGB1(o, 257, 2, 3); },
         [](REALobject o) { FillRectRGB5(o, 0, 0, kWidth, kHeight, 257, 2, 3); }},
        {"FillRectRGB alpha", [](REALobject o) { FillRectRGBA1(o, 1, 2, 3, 260); },
         [](REALobject o) { FillRectRGBA5(o, 0, 0, kWidth, kHeight, 1, 2, 3, 260); }},
        {"FillRectRGB colour", [](REALobject o) { FillRectRGBc1(o, kColor); },
         [](REALobject o) { FillRectRGB5(o, 0, 0, kWidth, kHeight, 0x12, 0x34, 0x56); }},
        {"FillRectRGB colour alpha", [](REALobject o) { FillRectRGBcA1(o, kColor, 70); },
         [](REALobject o) { FillRectRGBA5(o, 0, 0, kWidth, kHeight, 0x12, 0x34, 0x56, 70); }},
        {"FillRectRGB rectangle colour", [](REALobject o) { FillRectRGBc5(o, 1, -1, 3, 4, kColor); },
         [](REALobject o) { FillRectRGB5(o, 1, -1, 3, 4, 0x12, 0x34, 0x56); }},
        {"FillRectRGB rectangle colour alpha", [](REALobject o) { FillRectRGBcA5(o, 1, 2, 3, -1, kColor, 70); },
         [](REALobject o) { FillRectRGBA5(o, 1, 2, 3, -1, 0x12, 0x34, 0x56, 70); }},
        {"FillRectApply", [](REALobject o) { FillRectApplyRGBA1(o, 5, 200, 300, 90); },
         [](REALobject o) { FillRectApplyRGBA5(o, 0, 0, kWidth, kHeight, 5, 200, 300, 90); }},
        {"FillRectApply colour", [](REALobject o) { FillRectApplyRGBcA1(o, kColor, 90); },
         [](REALobject o) { FillRectApplyRGBA5(o, 0, 0, kWidth, kHeight, 0x12, 0x34, 0x56, 90); }},
        {"FillRectApply rectangle colour", [](REALobject o) { FillRectApplyRGBcA5(o, 2, 1, 4, 9, kColor, 90); },
         [](REALobject o) { FillRectApplyRGBA5(o, 2, 1, 4, 9, 0x12, 0x34, 0x56, 90); }},
        {"Invert", [](REALobject o) { Invert1(o); }, [](REALobject o) { Invert5(o, 0, 0, kWidth, kHeight); }},
    };
    for (const Forward& forward : forwards) {
        for (const int format : {ImageFormatBGRA, ImageFormatXRGB, ImageFormatG, ImageFormatACMYK}) {
            SCOPED_TRACE(std::string(forward.name) + " format " + std::to_string(format));
            Random random(8);
            const TestImage a = MakePlain(kWidth, kHeight, format), b = MakePlain(kWidth, kHeight, format);
            FillWithNoise(a, random);
            SetStorage(b, SnapshotOf(a));
            forward.shorter(a.object());
            forward.full(b.object());
            EXPECT_TRUE(SameStorage(SnapshotOf(b), SnapshotOf(a), a));
        }
    }
}

// --- cases that applications know
// -------------------------------------------------------------------------------------

// One channel byte of a pixel.
std::uint8_t ByteAt(const TestImage& image, int x, int y, int offset) {
    return SnapshotOf(image).At(PlaceOf(image, x, y) + offset);
}

// Columns of row y whose first byte differs from 0.
std::vector<int> TouchedColumns(const TestImage& image, int y, int offset = 0) {
    std::vector<int> columns;
    for (int x = 0; x < image->Width; ++x) {
        if (ByteAt(image, x, y, offset) != 0) columns.push_back(x);
    }
    return columns;
}

TEST_F(InPlace, AnImageThatHoldsNothingOfItsPixelsIsLeftAlone) {
    const REALobject block = host.NewBlock(16);
    const TestImage image(host.NewImage());
    ImageConstructorMemory(image.object(), block, INT_MAX, INT_MAX, ImageFormatRGBA, 0);
    REALUnlockObject(block);
    ASSERT_TRUE(image->Valid);
    std::fill_n(image->Pixels, 16, std::uint8_t{77});
    const TestImage view(ClipImage5(image.object(), 5, 5, INT_MAX - 9, INT_MAX - 9)),
        mirrored(GetMirroredView(view.object()));
    for (const TestImage* const each : {&image, &view, &mirrored}) {
        Invert1(each->object());
        ClearRect1(each->object());
        FillRect1(each->object(), 3);
    }
    for (int i = 0; i < 16; ++i) EXPECT_EQ(image->Pixels[i], 77);
}

TEST_F(InPlace, NegativeWidthExtendsToTheLeft) {
    const TestImage image = MakePlain(10, 2, ImageFormatG);
    FillRect5(image.object(), 5, 0, -3, 1, 1);
    EXPECT_EQ(TouchedColumns(image, 0), (std::vector{2, 3, 4}));
    EXPECT_EQ(TouchedColumns(image, 1), std::vector<int>{});
}

TEST_F(InPlace, NegativeHeightExtendsUpwards) {
    const TestImage image = MakePlain(1, 8, ImageFormatG);
    FillRect5(image.object(), 0, 5, 1, -3, 1);
    for (int y = 0; y < 8; ++y) EXPECT_EQ(ByteAt(image, 0, y, 0), y >= 2 && y < 5) << "row " << y;
}

TEST_F(InPlace, RectangleOverTheLeftEdgeKeepsItsRightEnd) {
    const TestImage image = MakePlain(10, 1, ImageFormatG);
    FillRect5(image.object(), -4, 0, 7, 1, 1);
    EXPECT_EQ(TouchedColumns(image, 0), (std::vector{0, 1, 2}));
}

TEST_F(InPlace, FillStoresTheLowEightBits) {
    const TestImage image = MakePlain(2, 1, ImageFormatRGB);
    FillRect1(image.object(), 300);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(ByteAt(image, 0, 0, i), 44);
}

TEST_F(InPlace, FillLeavesThePadByteAndClearDoesNot) {
    const TestImage image = MakePlain(3, 1, ImageFormatRGBX);
    Random random(1);
    FillWithNoise(image, random);
    const std::uint8_t pad = ByteAt(image, 1, 0, 3);
    ASSERT_NE(pad, 0);
    FillRect5(image.object(), 1, 0, 1, 1, 99);
    EXPECT_EQ(ByteAt(image, 1, 0, 2), 99);
    EXPECT_EQ(ByteAt(image, 1, 0, 3), pad);
    ClearRect5(image.object(), 1, 0, 1, 1);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ByteAt(image, 1, 0, i), 0);
}

TEST_F(InPlace, FillSetsAlphaToTheValue) {
    const TestImage image = MakePlain(1, 1, ImageFormatRGBA);
    FillRect1(image.object(), 7);
    EXPECT_EQ(ByteAt(image, 0, 0, 3), 7);
}

TEST_F(InPlace, ClearOnAChannelViewClearsTheWholePixel) {
    const TestImage image = ChannelOf(MakePlain(2, 1, ImageFormatRGB), 1);
    Random random(2);
    FillWithNoise(image, random);
    ClearRect5(image.object(), 0, 0, 1, 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ByteAt(image, 0, 0, i), 0);
    EXPECT_NE(ByteAt(image, 1, 0, 0), 0);
}

TEST_F(InPlace, ColourWithAlphaOnAnImageWithoutDropsTheAlpha) {
    const TestImage image = MakePlain(2, 1, ImageFormatRGB);
    FillRectRGBA1(image.object(), 1, 2, 3, 4);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(ByteAt(image, 0, 0, i), i % 3 + 1);
}

TEST_F(InPlace, ColourWithoutAlphaLeavesAnExistingAlpha) {
    const TestImage image = MakePlain(1, 1, ImageFormatARGB);
    FillRect1(image.object(), 50);
    FillRectRGB1(image.object(), 1, 2, 3);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), 50);
    FillRectRGBA1(image.object(), 1, 2, 3, 4);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), 4);
}

TEST_F(InPlace, ColourDoesNothingToGrayAndCmyk) {
    for (const int format : {ImageFormatG, ImageFormatGA, ImageFormatAG, ImageFormat2of3, ImageFormatCMYK,
                             ImageFormatCMYKA, ImageFormatBuffer, ImageFormatScaling3}) {
        Random random(4);
        const TestImage image = MakePlain(3, 3, format);
        FillWithNoise(image, random);
        const Storage before = SnapshotOf(image);
        FillRectRGB1(image.object(), 1, 2, 3);
        FillRectRGBA1(image.object(), 1, 2, 3, 4);
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    }
}

TEST_F(InPlace, ColourDoesNothingToAViewThatHidesItsChannels) {
    const TestImage image = ColoursOf(MakePlain(3, 3, ImageFormatRGBA));
    const Storage before = SnapshotOf(image);
    FillRectRGB1(image.object(), 1, 2, 3);
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

TEST_F(InPlace, LayingOverLosesAStep) {
    const TestImage image = MakePlain(1, 1, ImageFormatRGBA);
    FillRectRGBA1(image.object(), 10, 20, 0, 77);
    FillRectApplyRGBA1(image.object(), 200, 0, 255, 255);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), 199);
    EXPECT_EQ(ByteAt(image, 0, 0, 1), 0);
    EXPECT_EQ(ByteAt(image, 0, 0, 2), 254);
    FillRectRGB1(image.object(), 200, 0, 1);
    FillRectApplyRGBA1(image.object(), 9, 9, 9, 0);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), 199);
    EXPECT_EQ(ByteAt(image, 0, 0, 1), 0);
    EXPECT_EQ(ByteAt(image, 0, 0, 2), 0);
    EXPECT_EQ(ByteAt(image, 0, 0, 3), 77) << "alpha is neither read nor changed";
}

TEST_F(InPlace, LayingOverGrayGoesThroughTheWeights) {
    const TestImage image = MakePlain(1, 1, ImageFormatGA);
    FillRect1(image.object(), 100);
    FillRectApplyRGBA1(image.object(), 200, 100, 50, 255);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), (77 * 200 + 151 * 100 + 28 * 50) / 256 - 1);
    EXPECT_EQ(ByteAt(image, 0, 0, 1), 100);
    FillRectApplyRGBA1(image.object(), 255, 255, 255, 255);
    EXPECT_EQ(ByteAt(image, 0, 0, 0), 254) << "white stays white, but for the step";
}

TEST_F(InPlace, LayingOverLeavesCmyk) {
    Random random(5);
    const TestImage image = MakePlain(4, 4, ImageFormatCMYKA);
    FillWithNoise(image, random);
    const Storage before = SnapshotOf(image);
    FillRectApplyRGBA1(image.object(), 1, 2, 3, 128);
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

std::vector<int> ColumnsFrom(int first, int last) {
    std::vector<int> columns;
    for (int x = first; x <= last; ++x) columns.push_back(x);
    return columns;
}

// Columns of the row in which any byte changed.
std::vector<int> ChangedColumns(const TestImage& image, int y, const Storage& before, const Storage& after) {
    std::vector<int> columns;
    for (int x = 0; x < image->Width; ++x) {
        bool changed = false;
        for (int i = 0; i < image->PixelSize; ++i) {
            changed |= before.At(PlaceOf(image, x, y) + i) != after.At(PlaceOf(image, x, y) + i);
        }
        if (changed) columns.push_back(x);
    }
    return columns;
}

TEST_F(InPlace, NoiseEndsAtTheWidthWhereAPixelIsAllChannels) {
    std::srand(1);
    struct Case {
        int format, x, width, first, last;
    };
    for (const Case& c : {Case{ImageFormatRGB, 10, 20, 10, 19}, Case{ImageFormatRGBX, 10, 20, 10, 29},
                          Case{ImageFormatGA, 20, 20, 0, -1}, Case{ImageFormatG, 25, 10, 0, -1}}) {
        const TestImage image = MakePlain(40, 6, c.format);
        const Storage before = SnapshotOf(image);
        FillRectRandom5(image.object(), c.x, 0, c.width, 5);
        const Storage after = SnapshotOf(image);
        std::vector<int> all;
        for (int y = 0; y < 6; ++y) {
            for (const int x : ChangedColumns(image, y, before, after)) all.push_back(x);
        }
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        EXPECT_EQ(all, ColumnsFrom(c.first, c.last)) << "format " << c.format << " at " << c.x;
        EXPECT_TRUE(ChangedColumns(image, 5, before, after).empty());
    }
}

TEST_F(InPlace, NoiseDrawsInTheOrderOfEachFamily) {
    struct Case {
        int format;
        Offsets order;
    };
    for (const Case& c : {
             Case{ImageFormat2of4, {1}},
             Case{ImageFormatXBGR, {3, 2, 1}},
             Case{ImageFormatKYMC, {3, 2, 1, 0}},
             Case{ImageFormatCMYKX, {0, 1, 2, 3}},
             Case{ImageFormatKYMCA, {4, 3, 2, 1, 0}},
             Case{ImageFormatACMYK, {0, 1, 2, 3, 4}},
         }) {
        const TestImage image = MakePlain(3, 1, c.format);
        std::srand(6);
        FillRectRandom1(image.object());
        std::srand(6);
        for (int x = 0; x < 3; ++x) {
            for (const int offset : c.order) {
                EXPECT_EQ(ByteAt(image, x, 0, offset), std::rand() & 255) << "format " << c.format;
            }
        }
    }
}

// Formats with alpha whose pixel is wider than its channels exist only as records of an application's making.
TEST_F(InPlace, NoiseDrawsAlphaFirstForGrayAndLastForColour) {
    struct Case {
        int format;
        bool gray;
        Offsets order;
    };
    for (const Case& c : {Case{ImageFormatXRGB, false, {1, 2, 3, 0}}, Case{ImageFormat2of3, true, {2, 1}}}) {
        const TestImage image = MakePlain(3, 1, c.format);
        image->PixelSize = 5;
        image->HasAlpha = true;
        image->AlphaOffset = c.order[c.gray ? 0 : 3];
        std::srand(7);
        FillRectRandom1(image.object());
        std::srand(7);
        for (int x = 0; x < 3; ++x) {
            for (const int offset : c.order) {
                EXPECT_EQ(ByteAt(image, x, 0, offset), std::rand() & 255) << "format " << c.format;
            }
        }
    }
}

TEST_F(InPlace, InvertTwiceRestores) {
    Random random(6);
    for (const int format : AllFormats()) {
        const TestImage image = RandomImage(random, directory, 9, 5, format);
        const Storage before = SnapshotOf(image);
        Invert1(image.object());
        const bool changed = !SameStorage(before, SnapshotOf(image), image);
        EXPECT_EQ(changed, image->IsGray || image->IsRGB || image->IsCMYK) << image.text;
        Invert1(image.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    }
}

// --- when rows are fetched, and when the host gets its turn
// -----------------------------------------------------------

std::vector<std::string> events;

// A row accessor that notes what is asked, and lets enough time go by for the next yield.
std::uint8_t* NotedRow(ImageClassData* record, int y) {
    events.push_back(std::to_string(y));
    record->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}

TestImage NotedImage(FakeHost& host, int width, int height, int format, int yieldTicks) {
    TestImage image = MakePlain(width, height, format);
    image->GetRow = NotedRow;
    image->YieldTicks = yieldTicks;
    image->LastYieldTick -= 1000;
    host.onYield = [] { events.push_back("yield"); };
    events.clear();
    return image;
}

using Events = std::vector<std::string>;

TEST_F(InPlace, YieldsBeforeTheFirstRowAndAfterEach) {
    const Area area = {0, 1, 2, 2};
    const std::vector<int> values = {1, 2, 3, 4};
    for (const Operation& operation : Operations()) {
        for (const int format : {ImageFormatRGBA, ImageFormatXRGB}) {
            const TestImage image = NotedImage(host, 4, 4, format, 1);
            operation.run(image.object(), area, values);
            const bool first = std::string(operation.name) != "FillRectApply";
            EXPECT_EQ(events,
                      first ? (Events{"yield", "1", "yield", "2", "yield"}) : (Events{"1", "yield", "2", "yield"}))
                << operation.name;
        }
    }
    const TestImage image = NotedImage(host, 4, 2, ImageFormatRGB, 1);
    ClearRect1(image.object());
    EXPECT_EQ(events, (Events{"yield", "0", "yield", "1", "yield"}));
}

TEST_F(InPlace, NeverYieldsUnasked) {
    for (const int ticks : {0, -1}) {
        const TestImage image = NotedImage(host, 4, 3, ImageFormatRGB, ticks);
        FillRect1(image.object(), 1);
        ClearRect1(image.object());
        EXPECT_EQ(events, (Events{"0", "1", "2", "0", "1", "2"}));
    }
}

TEST_F(InPlace, FetchesNoRowForARectangleOutside) {
    const std::vector<int> values = {1, 2, 3, 4};
    for (const Operation& operation : Operations()) {
        if (std::string(operation.name) == "FillRectApply") continue;
        for (const Area& area : {Area{4, 0, 5, 5}, Area{0, 4, 5, 5}, Area{-9, 0, 9, 5}, Area{0, 0, 0, 5},
                                 Area{0, 0, 5, 0}, Area{0, INT_MIN, 5, 1}, Area{INT_MAX, 0, INT_MIN, 0}}) {
            const TestImage image = NotedImage(host, 4, 4, ImageFormatRGBA, 1);
            operation.run(image.object(), area, values);
            EXPECT_EQ(events, Events{}) << operation.name << " at " << area.x << "," << area.y;
        }
    }
}

TEST_F(InPlace, LayingOverFetchesTheRowsOfAnEmptyRectangle) {
    const TestImage image = NotedImage(host, 4, 4, ImageFormatRGB, 1);
    FillRectApplyRGBA5(image.object(), 9, 1, 3, 2, 1, 2, 3, 4);
    EXPECT_EQ(events, (Events{"1", "yield", "2", "yield"}));
}

TEST_F(InPlace, FetchesNoRowForAFamilyThatItDoesNotTouch) {
    const TestImage image = NotedImage(host, 4, 4, ImageFormatScaling3, 0);
    FillRect1(image.object(), 1);
    Invert1(image.object());
    FillRectRandom1(image.object());
    FillRectRGB1(image.object(), 1, 2, 3);
    FillRectApplyRGBA1(image.object(), 1, 2, 3, 4);
    EXPECT_EQ(events, Events{});
}

// --- images without pixels
// --------------------------------------------------------------------------------------------

void RunAll(const TestImage& image) {
    for (const Operation& operation : Operations()) operation.run(image.object(), {0, 0, 4, 4}, {1, 2, 3, 4});
    ClearRect1(image.object());
    FillRect1(image.object(), 1);
}

TEST_F(InPlace, LeavesImagesThatAreNotUsable) {
    const TestImage fresh(host.NewImage());
    RunAll(fresh);
    const TestImage closed = MakePlain(4, 4, ImageFormatRGB);
    ImageDestructor(closed.object());
    RunAll(closed);

    const TestImage invalid = MakePlain(4, 4, ImageFormatRGB);
    Random random(7);
    FillWithNoise(invalid, random);
    const Storage before = SnapshotOf(invalid);
    invalid->Valid = false;
    RunAll(invalid);
    EXPECT_TRUE(SameStorage(before, SnapshotOf(invalid), invalid));
}

TEST_F(InPlace, ClearsTheRowsOfAViewWithoutColumns) {
    const TestImage image = ClipOf(MakePlain(4, 2, ImageFormatG), 4, 0, 1, 1);
    ASSERT_EQ(image->Width, 0);
    Random random(8);
    FillWithNoise(image, random);
    ClearRect1(image.object());
    const Storage storage = SnapshotOf(image);
    for (int i = 0; i < image->RowSize; ++i) EXPECT_EQ(storage.At(i), 0);
    EXPECT_NE(storage.At(image->RowSize), 0);
}

TEST_F(InPlace, StopsWritingWhenAYieldClosesTheImage) {
    for (const Operation& operation : Operations()) {
        const TestImage image = MakeOnBlock(4, 4, ImageFormatRGBA, 17);
        const REALobject block = image->MemoryTarget;
        REALLockObject(block);
        Random random(9);
        FillWithNoise(image, random);
        const std::vector<std::uint8_t> before = SnapshotOf(image).bytes;
        image->GetRow = NotedRow;
        image->YieldTicks = kPatientTicks;
        int yields = 0;
        host.onYield = [&] {
            if (++yields == 2) ImageDestructor(image.object());
        };
        image->LastYieldTick -= 1000;
        operation.run(image.object(), {0, 0, 4, 4}, {1, 2, 3, 4});
        const std::uint8_t* const after = host.BlockData(block);
        const std::size_t written = std::string(operation.name) == "FillRectApply" ? 34 : 17;
        EXPECT_TRUE(std::equal(before.begin() + static_cast<std::ptrdiff_t>(written), before.end(), after + written))
            << operation.name;
        REALUnlockObject(block);
    }
}

TEST_F(InPlace, LeavesViewsWhoseSourceWasClosed) {
    TestImage source = MakePlain(4, 4, ImageFormatRGB);
    const TestImage view(ClipImage1(source.object()));
    ImageDestructor(source.object());
    RunAll(view);
}

// --- compare
// ----------------------------------------------------------------------------------------------------------

TEST_F(InPlace, CompareCountsPixelsWhateverTheyHold) {
    Random random(10);
    const TestImage a = MakePlain(7, 5, ImageFormatRGB), b = MakePlain(7, 5, ImageFormatBGR);
    FillWithNoise(a, random);
    FillWithNoise(b, random);
    EXPECT_EQ(CompareImages(a.object(), b.object()), 35);
    EXPECT_EQ(CompareImages(a.object(), a.object()), 35);
    const TestImage file = MakeInFile(directory, 7, 5, ImageFormatXRGB, 3);
    EXPECT_EQ(CompareImages(file.object(), a.object()), 35);
}

TEST_F(InPlace, CompareRefusesUnlikeImages) {
    const TestImage rgb = MakePlain(7, 5, ImageFormatRGB);
    EXPECT_EQ(CompareImages(rgb.object(), nullptr), -1);
    EXPECT_EQ(CompareImages(nullptr, rgb.object()), -1);
    for (const auto& [name, width, height, format] : std::vector<std::tuple<const char*, int, int, int>>{
             {"width", 8, 5, ImageFormatRGB},
             {"height", 7, 4, ImageFormatRGB},
             {"alpha", 7, 5, ImageFormatRGBA},
             {"gray", 7, 5, ImageFormatG},
             {"cmyk", 7, 5, ImageFormatCMYK},
             {"no family", 7, 5, ImageFormatScaling3},
         }) {
        const TestImage other = MakePlain(width, height, format);
        EXPECT_EQ(CompareImages(rgb.object(), other.object()), -1) << name;
        EXPECT_EQ(CompareImages(other.object(), rgb.object()), -1) << name;
    }
    const TestImage buffer = MakePlain(7, 5, ImageFormatBuffer);
    EXPECT_EQ(CompareImages(buffer.object(), buffer.object()), -1);
    const TestImage closed = MakePlain(7, 5, ImageFormatRGB), invalid = MakePlain(7, 5, ImageFormatRGB);
    ImageDestructor(closed.object());
    invalid->Valid = false;
    for (const TestImage* other : {&closed, &invalid}) {
        EXPECT_EQ(CompareImages(rgb.object(), other->object()), -1);
        EXPECT_EQ(CompareImages(other->object(), rgb.object()), -1);
    }
}

TEST_F(InPlace, CompareYieldsOnBothAndThenFetchesTheOtherImagesRowsFirst) {
    const TestImage a = NotedImage(host, 2, 2, ImageFormatRGB, 1), b = NotedImage(host, 2, 2, ImageFormatRGB, 1);
    static const ImageClassData* second;
    second = b.record();
    const auto named = [](ImageClassData* record, int y) {
        events.push_back((record == second ? "other " : "own ") + std::to_string(y));
        return GetRowLinear(record, y);
    };
    a->GetRow = named;
    b->GetRow = named;
    const ImageClassData* const first = a.record();
    host.onYield = [first] {
        // An image stores its tick when its yield is over.
        const bool own = first->LastYieldTick > 0, other = second->LastYieldTick > 0;
        events.push_back(std::string("yield after") + (own ? " own" : "") + (other ? " other" : ""));
    };
    EXPECT_EQ(CompareImages(a.object(), b.object()), 4);
    EXPECT_EQ(events, (Events{"yield after", "yield after own", "other 0", "own 0", "other 1", "own 1"}));
}

}  // namespace
