#include "scale/FastScale.h"

#include <gtest/gtest.h>

#include "FakeClock.h"
#include "ReferenceScale.h"
#include "core/Construction.h"
#include "core/Formats.h"

using namespace zor;

namespace {

class ScaleFast : public EngineTest {
protected:
    TempDir directory;
    // Other images with --gtest_random_seed.
    Random random{1U + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())};
};

bool Scale(const TestImage& target, const TestImage& source, int width, int height) {
    return ScalePictureFast(target.object(), source.object(), width, height) != 0;
}

struct ConversionRow {
    int source, target;
    std::vector<int> expected;  // target pixel; -1 keeps its value
};

// The source pixel holds 10, 20, 30, 40, 50 and the target 200 in every byte.
TEST_F(ScaleFast, ConvertsByTheFlagsOfBothImages) {
    const int luma = (20 * 151 + 10 * 77 + 30 * 28) >> 8;
    const ConversionRow rows[] = {
        {ImageFormatCMYK, ImageFormatKYMC, {40, 30, 20, 10}},
        {ImageFormatCMYK, ImageFormatCMYKA, {10, 20, 30, 40, -1}},
        {ImageFormatCMYK, ImageFormatCMYKX, {10, 20, 30, 40, -1}},
        {ImageFormatCMYKA, ImageFormatCMYK, {10, 20, 30, 40}},
        {ImageFormatCMYK, ImageFormatG, {40}},
        {ImageFormatCMYK, ImageFormatGA, {40, -1}},
        {ImageFormatCMYKA, ImageFormatG, {40}},
        {ImageFormatCMYKA, ImageFormatACMYK, {50, 10, 20, 30, 40}},
        {ImageFormatCMYKA, ImageFormatAG, {50, 40}},
        {ImageFormatRGB, ImageFormatBGR, {30, 20, 10}},
        {ImageFormatRGB, ImageFormatARGB, {-1, 10, 20, 30}},
        {ImageFormatRGB, ImageFormatRGBX, {10, 20, 30, -1}},
        {ImageFormatRGBA, ImageFormatRGB, {10, 20, 30}},
        {ImageFormatRGB, ImageFormatG, {luma}},
        {ImageFormatRGB, ImageFormatGA, {luma, -1}},
        {ImageFormatRGBA, ImageFormatG, {luma}},
        {ImageFormatRGBA, ImageFormatABGR, {40, 30, 20, 10}},
        {ImageFormatRGBA, ImageFormatGA, {luma, 40}},
        {ImageFormatG, ImageFormatRGBA, {10, 10, 10, -1}},
        {ImageFormatG, ImageFormatAG, {-1, 10}},
        {ImageFormatG, ImageFormatCMYK, {0, 0, 0, 10}},
        {ImageFormatG, ImageFormatXCMYK, {-1, 0, 0, 0, 10}},
        {ImageFormatG, ImageFormatRGB, {10, 10, 10}},
        {ImageFormatG, ImageFormatG, {10}},
        {ImageFormatGA, ImageFormatRGB, {10, 10, 10}},
        {ImageFormatGA, ImageFormatG, {10}},
        {ImageFormatGA, ImageFormatCMYKA, {0, 0, 0, 10, -1}},
        {ImageFormatGA, ImageFormatRGBA, {10, 10, 10, -1}},
        {ImageFormatGA, ImageFormatAG, {20, 10}},
        {ImageFormat2of4, ImageFormatG, {20}},
        // Refused.
        {ImageFormatBuffer, ImageFormatG, {}},
        {ImageFormatScaling3, ImageFormatRGB, {}},
        {ImageFormatG, ImageFormatBuffer, {}},
        {ImageFormatRGB, ImageFormatScaling3, {}},
        {ImageFormatCMYK, ImageFormatScaling4, {}},
        {ImageFormatRGB, ImageFormatCMYK, {}},
        {ImageFormatRGBA, ImageFormatCMYKA, {}},
        {ImageFormatRGB, ImageFormatCMYKA, {}},
        {ImageFormatCMYK, ImageFormatRGB, {}},
        {ImageFormatCMYKA, ImageFormatRGBA, {}},
        {ImageFormatG, ImageFormatCMYKA, {}},
        {ImageFormatGA, ImageFormatCMYK, {}},
    };
    for (const ConversionRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.source << " to " << row.target);
        const TestImage source = MakePlain(1, 1, row.source), target = MakePlain(1, 1, row.target);
        for (int i = 0; i < 5; ++i) source->Pixels[i] = static_cast<std::uint8_t>(10 * (i + 1));
        for (int i = 0; i < 64; ++i) target->Pixels[i] = 200;
        EXPECT_EQ(Scale(target, source, 1, 1), !row.expected.empty());
        for (std::size_t i = 0; i < 64; ++i) {
            const int expected = i < row.expected.size() ? row.expected[i] : -1;
            EXPECT_EQ(target->Pixels[i], expected < 0 ? 200 : expected) << "byte " << i;
        }
    }
}

TEST_F(ScaleFast, GivesWhiteForWhite) {
    const TestImage source = MakePlain(1, 1, ImageFormatRGB), target = MakePlain(1, 1, ImageFormatG);
    for (int i = 0; i < 3; ++i) source->Pixels[i] = 255;
    ASSERT_TRUE(Scale(target, source, 1, 1));
    EXPECT_EQ(target->Pixels[0], 255);
}

TEST_F(ScaleFast, RefusesWhatCannotBeScaled) {
    const TestImage source = MakePlain(4, 4, ImageFormatG), target = MakePlain(4, 4, ImageFormatG);
    FillWithNoise(source, random);
    const Storage before = SnapshotOf(target);
    EXPECT_FALSE(ScalePictureFast(nullptr, source.object(), 4, 4));
    EXPECT_FALSE(ScalePictureFast(target.object(), nullptr, 4, 4));
    for (const int size : {0, -1}) {
        EXPECT_FALSE(Scale(target, source, size, 4));
        EXPECT_FALSE(Scale(target, source, 4, size));
    }
    for (const TestImage* image : {&source, &target}) {
        image->record()->Valid = false;
        EXPECT_FALSE(Scale(target, source, 4, 4));
        image->record()->Valid = true;
    }
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
    const TestImage closed = MakePlain(4, 4, ImageFormatG);
    ImageDestructor(closed.object());
    EXPECT_FALSE(Scale(target, closed, 4, 4));
    EXPECT_FALSE(Scale(closed, source, 4, 4));
}

TEST_F(ScaleFast, FitsTheSourceIntoATargetThatIsSmallerThanAskedFor) {
    const TestImage source = MakePlain(8, 1, ImageFormatG), target = MakePlain(4, 1, ImageFormatG);
    for (int x = 0; x < 8; ++x) source->Pixels[x] = static_cast<std::uint8_t>(x);
    ASSERT_TRUE(Scale(target, source, 100, 100));
    for (int x = 0; x < 4; ++x) EXPECT_EQ(target->Pixels[x], 2 * x);
    EXPECT_EQ(target->Pixels[4], 0);
}

TEST_F(ScaleFast, RepeatsEachColumnWhenItEnlarges) {
    const TestImage source = MakePlain(3, 1, ImageFormatG), target = MakePlain(12, 5, ImageFormatG);
    for (int x = 0; x < 3; ++x) source->Pixels[x] = static_cast<std::uint8_t>(x + 1);
    ASSERT_TRUE(Scale(target, source, 12, 5));
    for (int y = 0; y < 5; ++y) {  // a source of one row fills them all
        for (int x = 0; x < 12; ++x) EXPECT_EQ(target->GetRow(target.record(), y)[x], x / 4 + 1);
    }
}

TEST_F(ScaleFast, AgreesWithTheReferenceForAllFormats) {
    for (const int from : AllFormats()) {
        for (const int to : AllFormats()) {
            const TestImage source = RandomImage(random, directory, random.Between(1, 20), random.Between(1, 12), from);
            const TestImage target = RandomImage(random, directory, random.Between(1, 20), random.Between(1, 12), to);
            SCOPED_TRACE(source.text + " to " + target.text);
            const int width = random.Between(1, 24), height = random.Between(1, 14);
            Model model;
            const ModelImage target_ = model.Of(target), source_ = model.Of(source);
            ASSERT_EQ(Scale(target, source, width, height), reference::ScaleFast(target_, source_, width, height));
            ASSERT_EQ(model.Difference(), "");
        }
    }
}

// Rows of many vectors, columns close together and far apart, rows that come again and some left out.
TEST_F(ScaleFast, AgreesWithTheReferenceForRowsOfAnyWidth) {
    for (int round = 0; round < 600; ++round) {
        const int from = random.Format(), to = random.Chance(50) ? from : random.Format();
        const TestImage source = RandomImage(random, directory, random.Between(1, 120), random.Between(1, 9), from);
        const TestImage target = RandomImage(random, directory, random.Between(1, 120), random.Between(1, 20), to);
        SCOPED_TRACE(source.text + " to " + target.text);
        FillWithNoise(source, random);
        Model model;
        const ModelImage target_ = model.Of(target), source_ = model.Of(source);
        const int width = target->Width, height = target->Height;
        ASSERT_EQ(Scale(target, source, width, height), reference::ScaleFast(target_, source_, width, height));
        ASSERT_EQ(model.Difference(), "");
    }
}

// The application draws into the source between two rows that are the same otherwise, and into the row that was made.
TEST_F(ScaleFast, ShowsWhatAnApplicationDrawsBetweenRows) {
    const FakeClock clock;
    const TestImage source = MakePlain(20, 1, ImageFormatRGB), target = MakePlain(20, 4, ImageFormatRGB);
    target->YieldTicks = 1;
    int turns = 0;
    host.onYield = [&] {
        ++turns;
        std::fill_n(source->Pixels, 60, static_cast<std::uint8_t>(turns));
        std::fill_n(target->Pixels, 60, std::uint8_t{99});
    };
    ASSERT_TRUE(Scale(target, source, 20, 4));
    host.onYield = nullptr;
    ASSERT_EQ(turns, 5);
    for (int y = 1; y < 4; ++y) EXPECT_EQ(target->GetRow(target.record(), y)[33], y + 1);
}

TEST_F(ScaleFast, ShowsTheOrderOfPixelsWhereImagesShareBytes) {
    for (int round = 0; round < 600; ++round) {
        const TestImage whole = MakeOnBlock(40, 40, ImageFormatG, 41);
        FillWithNoise(whole, random);
        const auto part = [&] {
            const std::vector<int> formats = {ImageFormatG, ImageFormatRGB, ImageFormatRGBA, ImageFormatGA};
            const int format = random.Pick(formats), width = random.Between(1, 8);
            return MakeOver(whole, random.Between(0, 99), width, random.Between(1, 9), format, random.Between(1, 50));
        };
        const TestImage source = part(), target = part();
        const int width = random.Between(1, 9), height = random.Between(1, 9);
        Model model;
        model.Of(whole);
        const ModelImage target_ = model.Of(target), source_ = model.Of(source);
        ASSERT_EQ(Scale(target, source, width, height), reference::ScaleFast(target_, source_, width, height));
        ASSERT_EQ(model.Difference(), "") << "round " << round;
    }
}

// Rows of six pixels, two bytes after one another and seen from the bottom up: what a row stores lies in the row that
// it reads, to the left of what it reads later.
TEST_F(ScaleFast, ShowsTheOrderOfPixelsInAnImageWhoseRowsMeet) {
    constexpr int kWidth = 6, kHeight = 4, kRowSize = 2;
    const TestImage image = MirroredOf(MakeOnBlock(kWidth, kHeight, ImageFormatG, kRowSize));
    std::vector<std::uint8_t> model(static_cast<std::size_t>(kRowSize * kHeight));
    for (std::size_t i = 0; i < model.size(); ++i) model[i] = image->Pixels[i] = static_cast<std::uint8_t>(10 + i);
    const auto place = [](int row, int column) {
        return static_cast<std::size_t>((kHeight - 1 - row) * kRowSize + column);
    };
    const auto load = [&](std::size_t at) { return at < model.size() ? model[at] : std::uint8_t{0}; };
    constexpr int kNewWidth = 6, kNewHeight = 2;
    for (int y = 0; y < kNewHeight; ++y) {
        for (int x = 0; x < kNewWidth; ++x) {
            const std::size_t at = place(y, x);
            const std::uint8_t sample = load(place(y * 2, x));
            if (at < model.size()) model[at] = sample;
        }
    }
    ASSERT_TRUE(Scale(image, image, kNewWidth, kNewHeight));
    EXPECT_TRUE(SameBytes(model, std::vector<std::uint8_t>(image->Pixels, image->Pixels + model.size())));
}

TEST_F(ScaleFast, ReadsAndWritesRowsOfATable) {
    for (int round = 0; round < 50; ++round) {
        RowTableImage source(random.Between(1, 9), random.Between(1, 9), ImageFormatXRGB);
        RowTableImage target(random.Between(1, 9), random.Between(1, 9), ImageFormatXRGB);
        source.FillWithNoise(random);
        Model model;
        const ModelImage target_ = model.Of(target.image()), source_ = model.Of(source.image());
        ASSERT_TRUE(Scale(target.image(), source.image(), 9, 9));
        ASSERT_TRUE(reference::ScaleFast(target_, source_, 9, 9));
        ASSERT_EQ(model.Difference(), "");
    }
}

TEST_F(ScaleFast, ScalesAnImageInAFileIntoItself) {
    for (int round = 0; round < 40; ++round) {
        const TestImage image = MakeInFile(directory, random.Between(1, 700), random.Between(5, 40), ImageFormatRGB, 5);
        FillWithNoise(image, random);
        const int width = random.Between(1, image->Width), height = random.Between(1, image->Height);
        Model model;
        const ModelImage image_ = model.Of(image);
        ASSERT_TRUE(Scale(image, image, width, height));
        ASSERT_TRUE(reference::ScaleFast(image_, image_, width, height));
        ASSERT_EQ(model.Difference(), "");
    }
}

TEST_F(ScaleFast, YieldsOncePerImageAndAfterEachRow) {
    const FakeClock clock;
    const TestImage source = MakePlain(3, 3, ImageFormatG), target = MakePlain(3, 7, ImageFormatG);
    ASSERT_TRUE(Scale(target, source, 3, 7));
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
    source->YieldTicks = 1;
    ASSERT_TRUE(Scale(target, source, 3, 7));
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
    source->YieldTicks = 0;
    target->YieldTicks = 1;
    ASSERT_TRUE(Scale(target, source, 3, 7));
    EXPECT_EQ(host.Count("REALYieldToRB"), 1 + 1 + 7);
}

TEST_F(ScaleFast, SurvivesImagesThatChangeDuringAYield) {
    const FakeClock clock;
    for (int turn = 1; turn <= 10; ++turn) {
        for (int what = 0; what < 4; ++what) {
            const TestImage source = MakePlain(9, 9, ImageFormatRGB), target = MakePlain(9, 8, ImageFormatRGB);
            target->YieldTicks = 1;
            int turns = 0;
            host.onYield = [&] {
                if (++turns != turn) return;
                if (what == 0) ImageDestructor(source.object());
                if (what == 1) ImageDestructor(target.object());
                if (what == 2) ImageConstructor(source.object(), 1, 1, ImageFormatG);
                if (what == 3) ImageConstructor(target.object(), 2, 1, ImageFormatCMYKA);
            };
            EXPECT_TRUE(Scale(target, source, 9, 8));  // all checks were over
            EXPECT_GE(turns, turn > 9 ? 9 : turn);
            host.onYield = nullptr;
        }
    }
}

}  // namespace
