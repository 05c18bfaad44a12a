#include "exchange/CopyPixels.h"

#include <climits>

#include "ConversionModel.h"
#include "core/Construction.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/RowAccess.h"
#include "core/Views.h"

using namespace zor;

namespace {

class CopyPixels : public EngineTest {
protected:
    TempDir directory;
};

bool Copy(const TestImage& target, const TestImage& source, const CopyArguments& a) {
    return rbCopyPixels8(target.object(), source.object(), a.destX, a.destY, a.width, a.height, a.sourceX, a.sourceY) !=
           0;
}

bool CopyAll(const TestImage& target, const TestImage& source) {
    return rbCopyPixels2(target.object(), source.object()) != 0;
}

void FillWith(const TestImage& image, const std::vector<int>& pixel) {
    Storage storage = SnapshotOf(image);
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            for (std::size_t i = 0; i < pixel.size(); ++i) {
                storage.Put(PlaceOf(image, x, y) + static_cast<std::int64_t>(i), static_cast<std::uint8_t>(pixel[i]));
            }
        }
    }
    SetStorage(image, storage);
}

std::vector<int> PixelAt(const TestImage& image, int x, int y) {
    const Storage storage = SnapshotOf(image);
    std::vector<int> pixel;
    for (int i = 0; i < image->PixelSize; ++i) pixel.push_back(storage.At(PlaceOf(image, x, y) + i));
    return pixel;
}

// --- the two tables, pair by pair
// -------------------------------------------------------------------------------------

struct Pair {
    int source, target;
    std::vector<int> expected;  // bytes of the target's pixel, 200 where it is left; empty: refused
};

constexpr int kLuma = (77 * 10 + 151 * 20 + 28 * 30) >> 8;   // of RGB and RGBA
constexpr int kLumaA = (77 * 20 + 151 * 30 + 28 * 40) >> 8;  // of ARGB

// The source's pixel holds 10, 20, 30, 40, 50 from its first byte on.
TEST_F(CopyPixels, ConvertsEachPairOfFamiliesByTheTables) {
    const Pair pairs[] = {
        // alpha on both sides
        {ImageFormatGA, ImageFormatAG, {20, 10}},
        {ImageFormatRGBA, ImageFormatGA, {kLuma, 200}},
        {ImageFormatARGB, ImageFormatAG, {200, kLumaA}},
        {ImageFormatCMYKA, ImageFormatGA, {10, 50}},
        {ImageFormatACMYK, ImageFormatGA, {10, 10}},
        {ImageFormatKYMCA, ImageFormatAG, {50, 10}},
        {ImageFormatGA, ImageFormatRGBA, {10, 10, 10, 20}},
        {ImageFormatAG, ImageFormatABGR, {10, 20, 20, 20}},
        {ImageFormatRGBA, ImageFormatBGRA, {30, 20, 10, 40}},
        {ImageFormatARGB, ImageFormatRGBA, {20, 30, 40, 10}},
        {ImageFormatCMYKA, ImageFormatRGBA, {}},
        {ImageFormatGA, ImageFormatCMYKA, {0, 0, 0, 10, 20}},
        {ImageFormatAG, ImageFormatAKYMC, {10, 20, 0, 0, 0}},
        {ImageFormatRGBA, ImageFormatCMYKA, {}},
        {ImageFormatCMYKA, ImageFormatACMYK, {50, 10, 20, 30, 40}},
        {ImageFormatKYMCA, ImageFormatCMYKA, {40, 30, 20, 10, 50}},
        // alpha on the target only
        {ImageFormatG, ImageFormatGA, {10, 200}},
        {ImageFormatRGB, ImageFormatGA, {kLuma, 200}},
        {ImageFormatCMYK, ImageFormatGA, {40, 200}},
        {ImageFormatG, ImageFormatRGBA, {10, 10, 10, 200}},
        {ImageFormatRGB, ImageFormatABGR, {200, 30, 20, 10}},
        {ImageFormatCMYK, ImageFormatRGBA, {}},
        {ImageFormatG, ImageFormatCMYKA, {0, 0, 0, 10, 200}},
        {ImageFormatRGB, ImageFormatCMYKA, {}},
        {ImageFormatCMYK, ImageFormatCMYKA, {10, 20, 30, 40, 200}},
        // alpha on the source only
        {ImageFormatGA, ImageFormatG, {10}},
        {ImageFormatRGBA, ImageFormatG, {kLuma}},
        {ImageFormatCMYKA, ImageFormatG, {40}},
        {ImageFormatGA, ImageFormatRGB, {10, 10, 10}},
        {ImageFormatRGBA, ImageFormatBGR, {30, 20, 10}},
        {ImageFormatCMYKA, ImageFormatRGB, {}},
        {ImageFormatGA, ImageFormatKYMC, {10, 0, 0, 0}},
        {ImageFormatRGBA, ImageFormatCMYK, {}},
        {ImageFormatCMYKA, ImageFormatKYMC, {40, 30, 20, 10}},
        // no alpha
        {ImageFormatG, ImageFormat2of3, {200, 10, 200}},
        {ImageFormat3of4, ImageFormatG, {30}},
        {ImageFormatRGB, ImageFormatG, {kLuma}},
        {ImageFormatCMYK, ImageFormatG, {40}},
        {ImageFormatKYMC, ImageFormatG, {10}},
        {ImageFormatG, ImageFormatXRGB, {200, 10, 10, 10}},
        {ImageFormatRGB, ImageFormatBGR, {30, 20, 10}},
        {ImageFormatXBGR, ImageFormatRGBX, {40, 30, 20, 200}},
        {ImageFormatCMYK, ImageFormatRGB, {}},
        {ImageFormatG, ImageFormatCMYK, {0, 0, 0, 10}},
        {ImageFormatG, ImageFormatXCMYK, {200, 0, 0, 0, 10}},
        {ImageFormatRGB, ImageFormatCMYK, {}},
        {ImageFormatCMYK, ImageFormatCMYK, {10, 20, 30, 40}},
        {ImageFormatCMYKX, ImageFormatXKYMC, {200, 40, 30, 20, 10}},
        // no family
        {ImageFormatBuffer, ImageFormatG, {}},
        {ImageFormatG, ImageFormatBuffer, {}},
        {ImageFormatScaling3, ImageFormatScaling3, {}},
    };
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(std::to_string(pair.source) + " to " + std::to_string(pair.target));
        const TestImage source = MakePlain(3, 2, pair.source), target = MakePlain(3, 2, pair.target);
        FillWith(source, {10, 20, 30, 40, 50});
        FillWith(target, {200, 200, 200, 200, 200});
        const Storage before = SnapshotOf(target);
        EXPECT_EQ(CopyAll(target, source), !pair.expected.empty());
        if (pair.expected.empty()) {
            EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
        } else {
            EXPECT_EQ(PixelAt(target, 0, 0), pair.expected);
            EXPECT_EQ(PixelAt(target, 2, 1), pair.expected);
        }
    }
}

// --- everything against the model
// -------------------------------------------------------------------------------------

int WildNumber(Random& random, int extent) {
    static const std::vector<int> extremes = {INT_MIN, INT_MIN + 1, -1, 0, 1, INT_MAX - 1, INT_MAX};
    if (random.Chance(4)) return random.Pick(extremes);
    if (random.Chance(30)) return 0;
    return random.Between(-extent / 2, extent);
}

CopyArguments WildArguments(Random& random, const TestImage& target) {
    const int w = target->Width, h = target->Height;
    if (random.Chance(10)) return {0, 0, w, h, 0, 0};
    return {WildNumber(random, w),     WildNumber(random, h),     WildNumber(random, 2 * w),
            WildNumber(random, 2 * h), WildNumber(random, w / 2), WildNumber(random, h / 2)};
}

// Formats that often make a pair: the same, or one of the same family.
int PartnerOf(Random& random, int format) {
    if (random.Chance(35)) return format;
    return random.Format();
}

TestImage AnyImage(Random& random, const TempDir& directory, int format) {
    const int width = random.Between(1, 24), height = random.Between(1, 9);
    if (random.Chance(12)) {  // rows that are shorter than their pixels: the last ones end outside
        TestImage image = MakeOnBlock(width, height, format, random.Between(1, 3 * width));
        FillWithNoise(image, random);
        return image;
    }
    TestImage image = RandomImage(random, directory, width, height, format);
    if (image->ChannelCount > 0 && random.Chance(10)) {
        const int channel = random.Between(0, image->ChannelCount - 1);
        return ChannelOf(std::move(image), channel);
    }
    if ((image->IsRGB || image->IsCMYK) && random.Chance(10)) return ColoursOf(std::move(image));
    return image;
}

std::string Trace(const TestImage& target, const TestImage& source, const CopyArguments& arguments) {
    return source.text + " into " + target.text + " " + TextOf(arguments);
}

TEST_F(CopyPixels, AgreesWithThePixelByPixelModel) {
    Random random(351);
    int copied = 0;
    for (int round = 0; round < 2500; ++round) {
        const int format = random.Format();
        const TestImage target = AnyImage(random, directory, format);
        const TestImage source = AnyImage(random, directory, PartnerOf(random, format));
        ASSERT_TRUE(target && source);
        const CopyArguments arguments = WildArguments(random, target);
        SCOPED_TRACE(Trace(target, source, arguments));
        Storage expected = SnapshotOf(target), from = SnapshotOf(source);
        const Storage sourceBefore = from;
        const bool result = ModelCopy(target, source, arguments, &expected, &from);
        ASSERT_EQ(Copy(target, source, arguments), result);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(target), target));
        ASSERT_TRUE(SameStorage(sourceBefore, SnapshotOf(source), source));
        copied += result;
    }
    EXPECT_GT(copied, 300);
}

TEST_F(CopyPixels, ConvertsEveryPairOfFormats) {
    Random random(352);
    for (const int from : AllFormats()) {
        for (const int to : AllFormats()) {
            const TestImage target = MakePlain(5, 2, to), source = MakeOnBlock(6, 2, from, 31);
            FillWithNoise(target, random);
            FillWithNoise(source, random);
            SCOPED_TRACE(Trace(target, source, {1, 0, 3, 2, 2, 0}));
            Storage expected = SnapshotOf(target), read = SnapshotOf(source);
            const bool result = ModelCopy(target, source, {1, 0, 3, 2, 2, 0}, &expected, &read);
            EXPECT_EQ(Copy(target, source, {1, 0, 3, 2, 2, 0}), result);
            EXPECT_TRUE(SameStorage(expected, SnapshotOf(target), target));
        }
    }
}

// --- pixels that both sides share
// -------------------------------------------------------------------------------------

// A view of the image beside it: the image itself stays in the caller's hands.
TestImage Beside(REALobject view, const TestImage& image, const char* how) {
    TestImage result(view, std::string(how) + " of " + image.text);
    if (result && result->IsMapping && result->MappedRowCount > result->Height) {
        ShrinkWindow(result.record(), result->Height);
    }
    return result;
}

TestImage AnyViewBeside(Random& random, const TestImage& image) {
    const REALobject object = image.object();
    switch (random.Between(0, 3)) {
        case 0:
            return Beside(GetMirroredView(object), image, "mirrored");
        case 1: {
            const int left = random.Between(0, image->Width - 1);
            return Beside(ClipImage5(object, left, 0, image->Width - left, image->Height), image, "clip");
        }
        case 2:
            if (image->ChannelCount > 0) {
                return Beside(Channel(object, random.Between(0, image->ChannelCount - 1)), image, "channel");
            }
            break;
        default:
            if (image->IsRGB) return Beside(RGBChannel(object), image, "colours");
            if (image->IsCMYK) return Beside(CMYKChannel(object), image, "colours");
    }
    return Beside(ClipImage1(object), image, "whole clip");
}

TEST_F(CopyPixels, WithinOneImageReadsWhatItHasWritten) {
    Random random(353);
    int copied = 0;
    for (int round = 0; round < 900; ++round) {
        const TestImage image = AnyImage(random, directory, random.Format());
        const CopyArguments arguments = WildArguments(random, image);
        SCOPED_TRACE(Trace(image, image, arguments));
        Storage expected = SnapshotOf(image);
        const bool result = ModelCopy(image, image, arguments, &expected, &expected);
        ASSERT_EQ(Copy(image, image, arguments), result);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
        copied += result;
    }
    EXPECT_GT(copied, 200);
}

TEST_F(CopyPixels, BetweenAnImageAndItsViewsReadsWhatItHasWritten) {
    Random random(354);
    int copied = 0;
    for (int round = 0; round < 1200; ++round) {
        const TestImage image = AnyImage(random, directory, random.Format());
        const TestImage view = AnyViewBeside(random, image);
        ASSERT_TRUE(view);
        const bool intoView = random.Chance(50);
        const TestImage& target = intoView ? view : image;
        const TestImage& source = intoView ? image : view;
        const CopyArguments arguments = WildArguments(random, target);
        SCOPED_TRACE(Trace(target, source, arguments));
        Storage expected = SnapshotOf(image);
        const bool result = ModelCopy(target, source, arguments, &expected, &expected);
        ASSERT_EQ(Copy(target, source, arguments), result);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
        copied += result;
    }
    EXPECT_GT(copied, 250);
}

TEST_F(CopyPixels, BetweenImagesOnOneBlockReadsWhatItHasWritten) {
    Random random(355);
    for (int round = 0; round < 600; ++round) {
        const int width = random.Between(1, 16), height = random.Between(1, 6), rowSize = random.Between(1, 90);
        const TestImage target = MakeOnBlock(width, height, random.Format(), rowSize);
        const REALobject other = host.NewImage();
        ImageConstructorMemory(other, target->MemoryTarget, width, height, random.Format(), rowSize);
        const TestImage source(other, "another image on the block");
        ASSERT_TRUE(source->Valid);
        FillWithNoise(target, random);
        const CopyArguments arguments = WildArguments(random, target);
        SCOPED_TRACE(Trace(target, source, arguments) + " format " + std::to_string(source->ImageFormat));
        Storage expected = SnapshotOf(target);
        const bool result = ModelCopy(target, source, arguments, &expected, &expected);
        ASSERT_EQ(Copy(target, source, arguments), result);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(target), target));
    }
}

// Rows of one mapped image that its window cannot show together, and rows that share bytes in two windows.
TEST_F(CopyPixels, MovesRowsOfAFileThatOneWindowCannotHold) {
    Random random(356);
    for (const int format : {ImageFormatRGB, ImageFormatXRGB, ImageFormatCMYKA}) {
        for (const CopyArguments& a :
             {CopyArguments{0, 20, 9, 10, 0, 0}, CopyArguments{0, 0, 9, 10, 0, 20}, CopyArguments{3, 6, 5, 24, 1, 0},
              CopyArguments{0, 0, 9, 29, 0, 1}, CopyArguments{0, 1, 9, 29, 0, 0}, CopyArguments{2, 3, 5, 9, 0, 3}}) {
            const TestImage image = MakeInFile(directory, 9, 30, format, 4);
            FillWithNoise(image, random);
            SCOPED_TRACE(Trace(image, image, a));
            Storage expected = SnapshotOf(image);
            ASSERT_TRUE(ModelCopy(image, image, a, &expected, &expected));
            EXPECT_TRUE(Copy(image, image, a));
            EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
        }
    }
}

TEST_F(CopyPixels, MovesLongRunsWithinAFileFromTheRightSide) {
    Random random(357);
    const int width = 9000;  // more than one filling of the buffer
    for (const int shift : {1, 5, 8000}) {
        for (const bool toTheRight : {true, false}) {
            const TestImage image = MakeInFile(directory, width, 5, ImageFormatG, 4);
            FillWithNoise(image, random);
            const TestImage clip(ClipImage5(image.object(), shift, 0, width - shift, 5), "clip");
            ShrinkWindow(clip.record(), 4);
            const TestImage& target = toTheRight ? clip : image;
            const TestImage& source = toTheRight ? image : clip;
            const CopyArguments a = {0, 0, width - shift, 5, 0, 0};
            Storage expected = SnapshotOf(image);
            ASSERT_TRUE(ModelCopy(target, source, a, &expected, &expected));
            EXPECT_TRUE(Copy(target, source, a));
            EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image)) << shift << toTheRight;
        }
    }
}

// --- cases that applications know
// -------------------------------------------------------------------------------------

TEST_F(CopyPixels, GivesFalseForNoSource) {
    const TestImage target = MakePlain(2, 2, ImageFormatRGB);
    EXPECT_FALSE(rbCopyPixels2(target.object(), nullptr));
    EXPECT_FALSE(rbCopyPixels6(target.object(), nullptr, 0, 0, 2, 2));
    EXPECT_FALSE(rbCopyPixels8(target.object(), nullptr, 0, 0, 2, 2, 0, 0));
}

TEST_F(CopyPixels, GivesFalseForAnEmptyRectangle) {
    const TestImage target = MakePlain(2, 2, ImageFormatRGB), source = MakePlain(2, 2, ImageFormatRGB);
    EXPECT_FALSE(rbCopyPixels6(target.object(), source.object(), 0, 0, 0, 0));
    EXPECT_TRUE(rbCopyPixels6(target.object(), source.object(), 0, 0, 1, 1));
}

TEST_F(CopyPixels, ShorterFormsDoWhatTheirFullFormsDo) {
    Random random(358);
    const TestImage source = MakePlain(5, 4, ImageFormatXRGB);
    FillWithNoise(source, random);
    const TestImage a = MakePlain(4, 5, ImageFormatG), b = MakePlain(4, 5, ImageFormatG);
    EXPECT_TRUE(rbCopyPixels2(a.object(), source.object()));
    EXPECT_TRUE(rbCopyPixels8(b.object(), source.object(), 0, 0, 4, 5, 0, 0));
    EXPECT_TRUE(SameStorage(SnapshotOf(b), SnapshotOf(a), a));
    EXPECT_TRUE(rbCopyPixels6(a.object(), source.object(), 1, 2, 3, -1));
    EXPECT_TRUE(rbCopyPixels8(b.object(), source.object(), 1, 2, 3, -1, 0, 0));
    EXPECT_TRUE(SameStorage(SnapshotOf(b), SnapshotOf(a), a));
}

TEST_F(CopyPixels, GrayBecomesBlackAsItIs) {
    const TestImage source = MakePlain(1, 1, ImageFormatG), target = MakePlain(1, 1, ImageFormatCMYK);
    FillWith(source, {200});
    FillWith(target, {1, 2, 3, 4});
    EXPECT_TRUE(CopyAll(target, source));
    EXPECT_EQ(PixelAt(target, 0, 0), (std::vector{0, 0, 0, 200}));
}

TEST_F(CopyPixels, RunsGoOnForDestXPixelsBehindTheRectangle) {
    const TestImage source = MakePlain(20, 2, ImageFormatRGBA);
    FillWith(source, {1, 2, 3, 4});
    const auto copied = [&](int destX) {
        const TestImage target = MakePlain(20, 2, ImageFormatRGBA);
        EXPECT_TRUE(Copy(target, source, {destX, 0, 5, 2, 0, 0}));
        std::vector<int> columns;
        for (int x = 0; x < 20; ++x) {
            if (PixelAt(target, x, 1)[0] != 0) columns.push_back(x);
        }
        return columns;
    };
    EXPECT_EQ(copied(0), (std::vector{0, 1, 2, 3, 4}));
    EXPECT_EQ(copied(4), (std::vector{4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(CopyPixels, RunsGoOnIntoTheNextRowAndEndWithTheStorage) {
    // Rows without padding: what runs past the right edge begins the next row, and the last run is cut.
    const TestImage source = MakePlain(12, 2, ImageFormatG), target = MakeOnBlock(4, 2, ImageFormatG, 4);
    FillWith(source, {7});
    EXPECT_TRUE(Copy(target, source, {2, 0, 2, 1, 0, 0}));
    EXPECT_EQ(SnapshotOf(target).bytes, (std::vector<std::uint8_t>{0, 0, 7, 7, 7, 7, 0, 0}));
    EXPECT_TRUE(Copy(target, source, {2, 1, 2, 1, 0, 0}));
    EXPECT_EQ(SnapshotOf(target).bytes, (std::vector<std::uint8_t>{0, 0, 7, 7, 7, 7, 7, 7}));
}

TEST_F(CopyPixels, RunsWithinAFileEndWhereTheSourceEndsTheyDoNotWriteZeros) {
    // A row is one page, and the two rows do not fit into one window.
    const TestImage image = MakeInFile(directory, 1024, 64, ImageFormatRGBA, 8);
    ASSERT_TRUE(image->Valid);
    FillRect1(image.object(), 200);
    FillRect5(image.object(), 500, 63, 524, 1, 7);
    EXPECT_TRUE(Copy(image, image, {500, 0, 524, 1, 500, 63}));
    const std::vector<std::uint8_t> bytes = SnapshotOf(image).bytes;
    for (int x = 0; x < 2048; ++x)
        EXPECT_EQ(bytes[static_cast<std::size_t>(x) * 4], x >= 500 && x < 1024 ? 7 : 200) << x;
}

TEST_F(CopyPixels, PadBytesStay) {
    const TestImage source = MakePlain(4, 1, ImageFormatRGBX), target = MakePlain(4, 1, ImageFormatRGBX);
    FillWith(source, {1, 2, 3, 4});
    FillWith(target, {9, 9, 9, 9});
    EXPECT_TRUE(Copy(target, source, {1, 0, 1, 1, 0, 0}));
    EXPECT_EQ(PixelAt(target, 1, 0), (std::vector{1, 2, 3, 9}));
    EXPECT_EQ(PixelAt(target, 2, 0), (std::vector{9, 9, 9, 9}));
}

TEST_F(CopyPixels, CmykKeepsToTheRectangle) {
    const TestImage source = MakePlain(9, 1, ImageFormatCMYK), target = MakePlain(9, 1, ImageFormatCMYK);
    FillWith(source, {1, 2, 3, 4});
    EXPECT_TRUE(Copy(target, source, {2, 0, 1, 1, 0, 0}));
    EXPECT_EQ(PixelAt(target, 2, 0), (std::vector{1, 2, 3, 4}));
    EXPECT_EQ(PixelAt(target, 3, 0), (std::vector{0, 0, 0, 0}));
}

// --- rows and yields
// --------------------------------------------------------------------------------------------------

std::vector<std::string> events;
const ImageClassData* notedTarget;

std::uint8_t* NotedRow(ImageClassData* record, int y) {
    events.push_back((record == notedTarget ? "to " : "from ") + std::to_string(y));
    record->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}

using Events = std::vector<std::string>;

class NotedCopy : public CopyPixels {
protected:
    TestImage target, source;

    void TearDown() override {
        target = {};
        source = {};
        CopyPixels::TearDown();
    }

    void Make(int targetFormat, int sourceFormat) {
        target = MakePlain(4, 4, targetFormat);
        source = MakePlain(4, 4, sourceFormat);
        notedTarget = target.record();
        for (ImageClassData* const record : {target.record(), source.record()}) {
            record->GetRow = NotedRow;
            record->YieldTicks = kPatientTicks;
            record->LastYieldTick -= 1000;
        }
        host.onYield = [] { events.push_back("yield"); };
        events.clear();
    }
};

TEST_F(NotedCopy, FetchesTheTargetsRowFirstAndYieldsAfterEachRow) {
    for (const auto& [to, from] :
         {std::pair{ImageFormatRGB, ImageFormatRGB}, std::pair{ImageFormatG, ImageFormatRGB}}) {
        Make(to, from);
        EXPECT_TRUE(Copy(target, source, {0, 1, 4, 2, 0, 2}));
        EXPECT_EQ(events, (Events{"yield", "yield", "to 1", "from 2", "yield", "to 2", "from 3", "yield"}));
    }
}

TEST_F(NotedCopy, FetchesOnePairOfRowsBeforeItRefuses) {
    Make(ImageFormatCMYK, ImageFormatRGB);
    EXPECT_FALSE(Copy(target, source, {0, 1, 4, 2, 0, 2}));
    EXPECT_EQ(events, (Events{"yield", "yield", "to 1", "from 2"}));
}

TEST_F(NotedCopy, FetchesNoRowForAnEmptyRectangle) {
    Make(ImageFormatRGB, ImageFormatRGB);
    EXPECT_FALSE(Copy(target, source, {4, 0, 4, 2, 0, 0}));
    EXPECT_EQ(events, (Events{"yield", "yield"}));
}

TEST_F(NotedCopy, GoesOnWithoutRowsWhenAYieldClosesAnImage) {
    for (const bool closeTarget : {true, false}) {
        for (const int yieldToCloseIn : {1, 2, 3}) {
            Make(ImageFormatRGBA, ImageFormatBGRA);
            FillWith(source, {1, 1, 1, 1});
            int yields = 0;
            const REALobject closing = closeTarget ? target.object() : source.object();
            host.onYield = [&] {
                if (++yields == yieldToCloseIn) ImageDestructor(closing);
            };
            const bool result = CopyAll(target, source);
            // The source is looked at once more after the first yield, and nothing after the second.
            EXPECT_EQ(result, closeTarget || yieldToCloseIn > 1);
            if (!closeTarget && yieldToCloseIn == 3) {
                EXPECT_EQ(PixelAt(target, 3, 0), (std::vector{1, 1, 1, 1}));
                EXPECT_EQ(PixelAt(target, 0, 1), (std::vector{0, 0, 0, 0}));
            }
        }
    }
}

TEST_F(NotedCopy, SurvivesAYieldThatMovesTheImageIntoAFile) {
    const TestImage image = MakePlain(40, 40, ImageFormatBGRX);
    const REALobject item = host.NewFolderItem(directory.File("moved"));
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick = -1000;
    host.onYield = [&] {
        ImageConstructorFile(image.object(), 40, 40, ImageFormatBGRX, 0, item);
        ShrinkWindow(image.record(), 4);
    };
    EXPECT_TRUE(Copy(image, image, {1, 20, 8, 8, 0, 0}));
    REALUnlockObject(item);
}

TEST_F(CopyPixels, SkipsViewsWhoseSourceWasClosed) {
    const TestImage source = MakePlain(4, 4, ImageFormatG), parent = MakePlain(4, 4, ImageFormatG);
    const TestImage view(ClipImage1(parent.object()));
    ImageDestructor(parent.object());
    FillWith(source, {5});
    EXPECT_TRUE(CopyAll(view, source));
    const Storage before = SnapshotOf(source);
    EXPECT_TRUE(CopyAll(source, view));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(source), source));
}

TEST_F(CopyPixels, GivesFalseForImagesThatAreNotUsable) {
    const TestImage good = MakePlain(4, 4, ImageFormatG), closed = MakePlain(4, 4, ImageFormatG);
    const TestImage fresh(host.NewImage());
    ImageDestructor(closed.object());
    for (const TestImage* const bad : {&closed, &fresh}) {
        EXPECT_FALSE(CopyAll(good, *bad));
        EXPECT_FALSE(CopyAll(*bad, good));
    }
}

}  // namespace
