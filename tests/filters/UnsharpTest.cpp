// The last step of an unsharp mask.

#include "filters/Unsharp.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/Views.h"
#include "filters/Canvas.h"

using namespace zor;

namespace {

class UnsharpFilterTest : public EngineTest {};

int Sharpened(int a, int b, double amount, int threshold) {
    if (std::abs(a - b) < threshold) return a;
    const double factor = amount * 4.0 + 1.0;
    const double value = (a - b) * factor + b;
    if (std::isnan(value) || value <= 0) return 0;
    return value >= 255 ? 255 : static_cast<int>(value);
}

// CMYK has five steps to a pixel, with or without alpha.
std::vector<ModelChannel> Steps(const Canvas& image, const Canvas& orig) {
    std::vector<ModelChannel> steps = ChannelsOfFamily(image.record(), orig.record());
    if (image->IsCMYK && !image->HasAlpha) steps.push_back({"fifth", image->AlphaOffset, orig->AlphaOffset});
    return steps;
}

void ModelOfUnsharp(const Canvas& image, const Canvas& orig, double amount, int threshold) {
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            for (const ModelChannel& step : Steps(image, orig)) {
                const int a = image.Get(x, y, step.from), b = orig.Get(x, y, step.to);
                image.Put(x, y, step.from, Sharpened(a, b, amount, threshold));
            }
        }
    }
}

void CheckUnsharp(const TestImage& image, const TestImage& orig, double amount, int threshold) {
    SCOPED_TRACE(image.text + " against " + orig.text);
    Storage imageBytes = SnapshotOf(image), origBytes = SnapshotOf(orig);
    Storage* const other = image.root() == orig.root() ? &imageBytes : &origBytes;
    ModelOfUnsharp(Canvas(image, &imageBytes), Canvas(orig, other), amount, threshold);
    EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), amount, threshold));
    EXPECT_TRUE(SameStorage(imageBytes, SnapshotOf(image), image));
    EXPECT_TRUE(SameStorage(*other, SnapshotOf(orig), orig));
}

TEST_F(UnsharpFilterTest, AgreesWithItsModel) {
    Random random(530);
    const TempDir directory;
    const std::vector<double> amounts = {
        0.0, 0.1, 0.5, 1.0, 3.7, -0.25, -2.0, 1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()};
    const std::vector<int> thresholds = {INT_MIN, -1, 0, 1, 5, 100, 255, 256, INT_MAX};
    for (int round = 0; round < 800 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const int format = AllFormats()[static_cast<std::size_t>(round) % AllFormats().size()];
        const auto extent = [&] { return random.Chance(40) ? random.Between(1, 3) : random.Between(1, 40); };
        const int width = extent(), height = extent();
        const TestImage image = RandomImage(random, directory, width, height, format);
        const TestImage orig = RandomImage(random, directory, width, height, format);
        CheckUnsharp(image, orig, random.Pick(amounts), random.Pick(thresholds));
    }
}

TEST_F(UnsharpFilterTest, AgreesWithItsModelOnSharedPixels) {
    Random random(531);
    const TempDir directory;
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        TestImage image = RandomImage(random, directory, random.Between(2, 20), random.Between(2, 20), random.Format());
        REALLockObject(image.object());
        TestImage other(image.object(), image.text);
        if (random.Chance(40)) {
            other = MirroredOf(std::move(other));
        } else if (random.Chance(50)) {
            // The same rectangle, one pixel further.
            const int width = image->Width - 1, height = image->Height;
            other = ClipOf(std::move(other), 1, 0, width, height);
            image = ClipOf(std::move(image), 0, 0, width, height);
        }
        CheckUnsharp(image, other, 0.7, random.Between(0, 3));
    }
}

TestImage Gray(int value, int format = ImageFormatG) {
    TestImage image = MakePlain(1, 1, format);
    PaintPixels(image, [=](int, int, int) { return value; });
    return image;
}

struct Example {
    const char* name;
    int a, b;
    double amount;
    int threshold;
    int result;
};

TEST_F(UnsharpFilterTest, GivesTheseBytes) {
    const Example examples[] = {
        {"amount 0 changes nothing", 120, 100, 0.0, 0, 120},
        {"amount 1 has the factor 5", 120, 100, 1.0, 0, 200},
        {"850 is cut to 255", 250, 100, 1.0, 0, 255},
        {"-350 is cut to 0", 10, 100, 1.0, 0, 0},
        {"no difference reaches 256", 250, 0, 1.0, 256, 250},
        {"equal bytes reach 0", 7, 7, 1.0, 0, 7},
        {"a negative threshold lets all pass", 120, 100, 1.0, -5, 200},
        {"a difference of the threshold passes", 120, 100, 1.0, 20, 200},
        {"a smaller one stays", 120, 100, 1.0, 21, 120},
        {"the sum is truncated", 101, 100, 0.2, 0, 101},
        {"and so below", 99, 100, 0.2, 0, 98},
    };
    for (const Example& example : examples) {
        const TestImage image = Gray(example.a), orig = Gray(example.b);
        EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), example.amount, example.threshold));
        EXPECT_EQ(PixelAt(image, 0, 0)[0], example.result) << example.name;
        EXPECT_EQ(PixelAt(orig, 0, 0)[0], example.b);
    }
}

TEST_F(UnsharpFilterTest, TheFirstByteOfCMYKGoesThroughTwice) {
    const TestImage image = Gray(110, ImageFormatCMYK), orig = Gray(100, ImageFormatCMYK);
    EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), 0.25, 0));
    EXPECT_EQ(PixelAt(image, 0, 0), (std::vector<int>{140, 120, 120, 120}));
    const TestImage padded = MakePlain(1, 1, ImageFormatXKYMC), other = MakePlain(1, 1, ImageFormatXKYMC);
    padded->GetRow(padded.record(), 0)[0] = 50;
    other->GetRow(other.record(), 0)[0] = 40;
    EXPECT_TRUE(unsharpFilter(padded.object(), other.object(), 0.25, 0));
    EXPECT_EQ(padded->GetRow(padded.record(), 0)[0], 60) << "here it is the pad byte, once";
}

TEST_F(UnsharpFilterTest, AlphaIsTreatedLikeAColour) {
    for (const int format : {ImageFormatGA, ImageFormatARGB, ImageFormatCMYKA}) {
        const TestImage image = Gray(110, format), orig = Gray(100, format);
        EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), 0.25, 0));
        for (const int sample : PixelAt(image, 0, 0)) EXPECT_EQ(sample, 120) << format;
    }
}

TEST_F(UnsharpFilterTest, ImagesThatDifferAreRefused) {
    const TestImage image = MakePlain(4, 3, ImageFormatRGB);
    PaintPixels(image, [](int x, int y, int c) { return 20 * x + 7 * y + c; });
    const Storage before = SnapshotOf(image);
    const TestImage wider = MakePlain(5, 3, ImageFormatRGB), higher = MakePlain(4, 4, ImageFormatRGB);
    const TestImage other = MakePlain(4, 3, ImageFormatBGR), never(host.NewImage());
    const TestImage closed = MakePlain(4, 3, ImageFormatRGB);
    ImageDestructor(closed.object());
    EXPECT_FALSE(unsharpFilter(image.object(), nullptr, 1.0, 0));
    for (const TestImage* const orig : {&wider, &higher, &other, &never, &closed}) {
        EXPECT_FALSE(unsharpFilter(image.object(), orig->object(), 1.0, 0)) << orig->text;
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    }
    EXPECT_FALSE(unsharpFilter(closed.object(), image.object(), 1.0, 0));
    EXPECT_FALSE(unsharpFilter(never.object(), never.object(), 1.0, 0));
}

TEST_F(UnsharpFilterTest, AnImageOfNoFamilyStaysAndGivesTrue) {
    Random random(3);
    const TestImage image = MakePlain(4, 3, ImageFormatScaling3), orig = MakePlain(4, 3, ImageFormatScaling3);
    FillWithNoise(image, random);
    const Storage before = SnapshotOf(image);
    EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), 1.0, 0));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

TEST_F(UnsharpFilterTest, YieldsOnceOnEitherImage) {
    const TestImage image = MakePlain(4, 9, ImageFormatRGB), orig = MakePlain(4, 9, ImageFormatRGB);
    for (const TestImage* const each : {&image, &orig}) {
        (*each)->YieldTicks = kPatientTicks;
        (*each)->LastYieldTick -= 1000;
    }
    EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), 1.0, 0));
    EXPECT_EQ(host.Count("REALYieldToRB"), 2);
}

TEST_F(UnsharpFilterTest, SurvivesAnImageThatIsClosedDuringAYield) {
    for (const bool closesImage : {true, false}) {
        const TestImage image = MakePlain(4, 9, ImageFormatRGB), orig = MakePlain(4, 9, ImageFormatRGB);
        orig->YieldTicks = kPatientTicks;
        orig->LastYieldTick -= 1000;
        host.onYield = [&] { ImageDestructor(closesImage ? image.object() : orig.object()); };
        EXPECT_TRUE(unsharpFilter(image.object(), orig.object(), 1.0, 0));
        EXPECT_EQ(closesImage ? image->GetRow : orig->GetRow, nullptr);
    }
}

TEST_F(UnsharpFilterTest, WithoutRowsToComparePixelsStay) {
    Random random(5);
    const TestImage image = MakePlain(4, 9, ImageFormatRGB), parent = MakePlain(4, 9, ImageFormatRGB);
    FillWithNoise(image, random);
    const TestImage view(ClipImage1(parent.object()));
    ImageDestructor(parent.object());
    const Storage before = SnapshotOf(image);
    EXPECT_TRUE(unsharpFilter(image.object(), view.object(), 1.0, 0));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

}  // namespace
