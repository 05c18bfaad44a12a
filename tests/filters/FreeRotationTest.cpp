// Rotation by any angle.

#include "filters/FreeRotation.h"

#include <cmath>
#include <limits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/Views.h"
#include "filters/Canvas.h"
#include "filters/RightAngle.h"
#include "filters/Shear.h"

using namespace zor;

namespace {

class FreeRotation : public EngineTest {};

struct Colours {
    int red = 0, green = 0, blue = 0, alpha = 0, gray = 0, cyan = 0, magenta = 0, yellow = 0, black = 0;
};

TestImage Rotated(const TestImage& image, double angle, const Colours& c = {}) {
    return TestImage(
        rbRotate(image.object(), angle, c.red, c.green, c.blue, c.alpha, c.gray, c.cyan, c.magenta, c.yellow, c.black),
        "rotated by " + std::to_string(angle));
}

// --- a model on arrays of one channel
// -----------------------------------------------------------------------------------

struct Plane {
    int width, height;
    std::vector<int> sample;
    Plane(int w, int h) : width(w), height(h), sample(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
    int& At(int x, int y) { return sample[static_cast<std::size_t>(y * width + x)]; }
    int At(int x, int y) const { return sample[static_cast<std::size_t>(y * width + x)]; }
};

int Truncated(double value) {
    return static_cast<int>(value);
}

// One line of pixels; put drops what lies outside. closing is the place of the rest.
template <class Get, class Put>
void ModelOfLine(int count, int offset, double weight, int background, int closing, Get get, Put put) {
    int leftOld = Truncated(background * weight);
    for (int i = 0; i < count; ++i) {
        const int left = Truncated(get(i) * weight);
        put(offset + i, (get(i) + leftOld - left) & 255);
        leftOld = left;
    }
    put(closing, Truncated(background - (background * weight - leftOld)) & 255);
}

void ModelOfRow(const Plane& from, Plane& to, int row, double shear, int background) {
    const int offset = Truncated(std::floor(shear));
    for (int x = 0; x < to.width; ++x) to.At(x, row) = background;
    ModelOfLine(
        from.width, offset, shear - offset, background, from.width + offset, [&](int i) { return from.At(i, row); },
        [&](int x, int value) {
            if (x >= 0 && x < to.width) to.At(x, row) = value;
        });
}

Plane ModelOfShears(const Plane& source, double angle, int background) {
    const double radians = angle * 3.141592653589793 / 180.0;
    const double t = std::tan(0.5 * radians), s = std::sin(radians), c = std::cos(radians);
    const int w = source.width, h = source.height;
    Plane first(w + Truncated(h * std::fabs(t)), h);
    for (int u = 0; u < h; ++u) {
        ModelOfRow(source, first, u, t >= 0 ? (u + 0.5) * t : (u - h + 0.5) * t, background);
    }
    Plane second(first.width, Truncated(h * c + w * std::fabs(s)) + 1);
    double shear = s > 0 ? (w - 1) * s : -s * (w - first.width);
    for (int u = 0; u < first.width; ++u) {
        const int offset = Truncated(std::floor(shear));
        for (int y = 0; y < second.height; ++y) second.At(u, y) = background;
        ModelOfLine(
            h, offset, shear - offset, background, offset + h - 1, [&](int i) { return first.At(u, i); },
            [&](int y, int value) {
                if (y >= 0 && y < second.height) second.At(u, y) = value;
            });
        shear = shear - s;
    }
    Plane third(Truncated(w * c + h * std::fabs(s)) + 1, second.height);
    shear = s >= 0 ? -t * ((w - 1) * s) : (-(third.height - 1) - (w - 1) * s) * t;
    for (int u = 0; u < third.height; ++u) {
        ModelOfRow(second, third, u, shear, background);
        shear = shear + t;
    }
    return third;
}

// Right angles first, as the sectors have it.
Plane ModelOfTurn(const Plane& source, int quarters) {
    if (quarters == 0) return source;
    Plane turned(source.height, source.width);
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) turned.At(y, source.width - 1 - x) = source.At(x, y);
    }
    return ModelOfTurn(turned, quarters - 1);
}

Plane ModelOfRotation(const Plane& source, double angle, int background) {
    while (angle >= 360.0) angle -= 360.0;
    while (angle < 0.0) angle += 360.0;
    int quarters = 0;
    if (angle > 45.0 && angle <= 135.0) quarters = 1;
    if (angle > 135.0 && angle <= 225.0) quarters = 2;
    if (angle > 225.0 && angle <= 315.0) quarters = 3;
    return ModelOfShears(ModelOfTurn(source, quarters), angle - 90.0 * quarters, background);
}

std::vector<int> BackgroundOf(const ImageClassData* record, const Colours& c) {
    std::vector<int> colour;
    if (record->IsGray) colour = {c.gray};
    if (record->IsRGB) colour = {c.red, c.green, c.blue};
    if (record->IsCMYK) colour = {c.cyan, c.magenta, c.yellow, c.black};
    if (record->HasAlpha) colour.push_back(c.alpha);
    return colour;
}

void CheckRotation(const TestImage& image, double angle, const Colours& colours) {
    SCOPED_TRACE(image.text + " by " + std::to_string(angle));
    const Storage before = SnapshotOf(image);
    const std::vector<int> background = BackgroundOf(image.record(), colours);
    const std::vector<ModelChannel> channels = ChannelsOfFamily(image.record(), image.record());
    const TestImage result = Rotated(image, angle, colours);
    if (channels.empty()) {
        EXPECT_FALSE(result);
        return;
    }
    ASSERT_TRUE(result);
    EXPECT_EQ(FakeHost::Current().Locks(result.object()), 1);
    EXPECT_EQ(result->ImageFormat, image->ImageFormat);
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image)) << "the source stays as it is";
    Storage expected = SnapshotOf(MakePlain(result->Width, result->Height, result->ImageFormat));
    const std::vector<ModelChannel> places = ChannelsOfFamily(result.record(), result.record());
    ASSERT_EQ(places.size(), channels.size());
    for (std::size_t c = 0; c < channels.size(); ++c) {
        Plane plane(image->Width, image->Height);
        for (int y = 0; y < image->Height; ++y) {
            for (int x = 0; x < image->Width; ++x) {
                plane.At(x, y) = before.At(PlaceOf(image, x, y) + channels[c].from);
            }
        }
        const Plane turned = ModelOfRotation(plane, angle, background[c] & 255);
        ASSERT_EQ(result->Width, turned.width);
        ASSERT_EQ(result->Height, turned.height);
        for (int y = 0; y < turned.height; ++y) {
            for (int x = 0; x < turned.width; ++x) {
                expected.Put(PlaceOf(result, x, y) + places[c].from, static_cast<std::uint8_t>(turned.At(x, y)));
            }
        }
    }
    EXPECT_TRUE(SameStorage(expected, SnapshotOf(result), result));
}

TEST_F(FreeRotation, AgreesWithItsModel) {
    Random random(550);
    const TempDir directory;
    const std::vector<double> angles = {0.01, 1.0,  30.0,  44.9,  45.0,  45.1,  89.99, 91.0,   134.0,  135.0,
                                        136., 179., 181.5, 224.0, 225.0, 226.0, 269.0, 271.25, 315.0,  316.0,
                                        350., 359., 375.0, -10.0, -45.0, -100., 1e6,   -12345, -1e-20, 3600.5};
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const auto extent = [&] { return random.Chance(30) ? random.Between(1, 3) : random.Between(1, 50); };
        const int format = AllFormats()[static_cast<std::size_t>(round) % AllFormats().size()];
        TestImage image = RandomImage(random, directory, extent(), extent(), format);
        if (random.Chance(10) && image->ChannelCount > 0) image = ChannelOf(std::move(image), 0);
        const Colours colours{random.Between(-300, 600),
                              random.Byte(),
                              random.Byte(),
                              random.Byte(),
                              random.Byte(),
                              random.Byte(),
                              random.Byte(),
                              random.Byte(),
                              random.Byte()};
        const double angle = random.Chance(50) ? random.Pick(angles) : random.Between(1, 3599) / 10.0;
        if (std::fmod(angle, 90.0) != 0.0) CheckRotation(image, angle, colours);
    }
}

// More columns than a strip holds, and rows that slide through it.
TEST_F(FreeRotation, WideImagesAgreeWithTheModel) {
    Random random(551);
    for (const double angle : {12.0, 45.0, 330.0}) {
        for (const auto& [width, height] : {std::pair{300, 200}, {700, 3}, {2, 400}}) {
            const TestImage image = MakePlain(width, height, ImageFormatRGB);
            FillWithNoise(image, random);
            CheckRotation(image, angle, {10, 20, 30});
        }
        for (const int format : {ImageFormatG, ImageFormatBGRX, ImageFormatACMYK}) {
            const TestImage image = MakePlain(400, 170, format);
            FillWithNoise(image, random);
            CheckRotation(image, angle, {10, 20, 30, 40, 50, 60, 70, 80, 90});
        }
    }
}

TEST_F(FreeRotation, FullTurnsGiveTheImageItself) {
    for (const double angle : {0.0, -0.0, 360.0, -360.0, 720.0}) {
        const TestImage image = MakePlain(5, 4, ImageFormatRGB);
        host.ClearLog();
        const TestImage result = Rotated(image, angle);
        EXPECT_EQ(result.object(), image.object());
        EXPECT_EQ(host.Locks(image.object()), 2);
        EXPECT_EQ(host.Count("PluginNewInstance"), 0);
    }
}

TEST_F(FreeRotation, RightAnglesAreExactAndHaveNoBackground) {
    Random random(552);
    const TestImage image = MakePlain(7, 4, ImageFormatBGR);
    FillWithNoise(image, random);
    struct Turn {
        double angle;
        REALobject (*same)(REALobject, REALobject);
    };
    for (const Turn& turn : {Turn{90, Rotate90},
                             {450, Rotate90},
                             {-270, Rotate90},
                             {180, Rotate180},
                             {-180, Rotate180},
                             {270, Rotate270},
                             {-90, Rotate270}}) {
        const TestImage result = Rotated(image, turn.angle, {1, 2, 3}), same(turn.same(image.object(), nullptr));
        EXPECT_EQ(result->Width, same->Width) << turn.angle;
        EXPECT_TRUE(SameBytes(SnapshotOf(same).bytes, SnapshotOf(result).bytes)) << turn.angle;
    }
}

TEST_F(FreeRotation, SizesFollowFromTheAngle) {
    const TestImage wide = MakePlain(100, 50, ImageFormatG);
    const TestImage result = Rotated(wide, 30.0);
    EXPECT_EQ(result->Width, 112);
    EXPECT_EQ(result->Height, 94);
    const TestImage dot = Rotated(MakePlain(1, 1, ImageFormatG), 0.5);
    EXPECT_EQ(dot->Width, 2);
    EXPECT_EQ(dot->Height, 2);
    const TestImage small = Rotated(MakePlain(2, 2, ImageFormatG), 1.0);
    EXPECT_EQ(small->Width, 3);
    EXPECT_EQ(small->Height, 3);
}

// The second image made tells the path: after a right-angle step the first one has the sizes exchanged.
TEST_F(FreeRotation, SectorsBeginBehind45DegreesAndTheirLike) {
    struct Sector {
        double angle;
        int images;  // three shears, and one for the right-angle step
    };
    for (const Sector& sector :
         {Sector{45.0, 3}, {45.1, 4}, {135.0, 4}, {225.0, 4}, {315.0, 4}, {316.0, 3}, {350., 3}}) {
        const TestImage image = MakePlain(6, 3, ImageFormatG);
        host.ClearLog();
        const TestImage result = Rotated(image, sector.angle);
        EXPECT_EQ(host.Count("PluginNewInstance"), sector.images) << sector.angle;
        EXPECT_EQ(host.LiveObjects(), 2u);
    }
}

TEST_F(FreeRotation, TheBackgroundCountsWithItsLowEightBits) {
    const TestImage image = MakePlain(9, 9, ImageFormatRGB);
    const TestImage result = Rotated(image, 45.0, {300, 0, -1});
    EXPECT_EQ(PixelAt(result, 0, 0), (std::vector<int>{44, 0, 255}));
}

TEST_F(FreeRotation, EachFamilyTakesItsOwnColours) {
    const Colours colours{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const std::pair<int, std::vector<int>> families[] = {
        {ImageFormatRGB, {1, 2, 3}}, {ImageFormatARGB, {1, 2, 3, 4}}, {ImageFormatG, {5}},
        {ImageFormatGA, {5, 4}},     {ImageFormatKYMC, {6, 7, 8, 9}}, {ImageFormatCMYKA, {6, 7, 8, 9, 4}},
        {ImageFormat3of4, {5}},      {ImageFormatXBGR, {1, 2, 3}},
    };
    for (const auto& [format, colour] : families) {
        const TestImage result = Rotated(MakePlain(9, 9, format), 45.0, colours);
        EXPECT_EQ(PixelAt(result, 0, 0), colour) << format;
    }
}

TEST_F(FreeRotation, TurnsCounterClockwiseForPositiveAngles) {
    // A bright dot on the right edge comes to the upper right.
    const TestImage image = MakePlain(21, 21, ImageFormatG);
    PaintPixels(image, [](int x, int y, int) { return x >= 19 && y >= 9 && y <= 11 ? 255 : 0; });
    const TestImage result = Rotated(image, 30.0);
    int bestY = -1, best = -1;
    for (int y = 0; y < result->Height; ++y) {
        for (int x = result->Width / 2; x < result->Width; ++x) {
            if (PixelAt(result, x, y)[0] > best) {
                best = PixelAt(result, x, y)[0];
                bestY = y;
            }
        }
    }
    EXPECT_GT(best, 100);
    EXPECT_LT(bestY, result->Height / 2 - 2);
}

TEST_F(FreeRotation, AnImageOfNoFamilyGivesNilAndReleasesTheRightAngleStep) {
    const TestImage image = MakePlain(5, 4, ImageFormatScaling2);
    for (const double angle : {10.0, 100.0, 200.0, 300.0}) EXPECT_FALSE(Rotated(image, angle)) << angle;
    EXPECT_EQ(host.LiveObjects(), 1u);
    EXPECT_EQ(host.Locks(image.object()), 1);
    EXPECT_TRUE(Rotated(image, 90.0));
}

TEST_F(FreeRotation, NilAndUnusableImagesAndEndlessAnglesGiveNil) {
    EXPECT_EQ(rbRotate(nullptr, 0.0, 0, 0, 0, 0, 0, 0, 0, 0, 0), nullptr);
    const TestImage never(host.NewImage()), closed = MakePlain(3, 3, ImageFormatRGB);
    ImageDestructor(closed.object());
    for (const double angle : {10.0, 90.0, 100.0}) {
        EXPECT_FALSE(Rotated(never, angle));
        EXPECT_FALSE(Rotated(closed, angle));
    }
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double angle : {std::nan(""), infinity, -infinity}) EXPECT_FALSE(Rotated(image, angle));
    EXPECT_TRUE(Rotated(image, 1e300)) << "a large angle ends";
    EXPECT_EQ(host.Locks(image.object()), 1);
}

TEST_F(FreeRotation, AnyImageThatCannotBeMadeGivesNilAndReleasesTheOthers) {
    const TestImage image = MakePlain(8, 5, ImageFormatRGBA);
    for (const double angle : {20.0, 110.0}) {
        const int images = angle < 45 ? 3 : 4;
        for (int failing = 1; failing <= images; ++failing) {
            host.failNewInstance = failing;
            EXPECT_FALSE(Rotated(image, angle)) << angle << " image " << failing;
            host.failNewInstance = 0;
            EXPECT_EQ(host.LiveObjects(), 1u);
            EXPECT_EQ(host.Locks(image.object()), 1);
        }
    }
}

TEST_F(FreeRotation, YieldsOncePerImageAtTheStartOfAPass) {
    const TestImage image = MakePlain(8, 5, ImageFormatRGB);
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick = INT32_MIN / 2;
    host.onYield = [&] { image->YieldTicks = 0; };
    const TestImage result = Rotated(image, 20.0);
    EXPECT_TRUE(result);
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
}

TEST_F(FreeRotation, ACancelledYieldReleasesEverything) {
    const TestImage image = MakePlain(8, 5, ImageFormatRGB);
    for (const double angle : {20.0, 110.0}) {
        image->YieldTicks = kPatientTicks;
        image->LastYieldTick = INT32_MIN / 2;
        host.onYield = [] { throw 42; };
        EXPECT_THROW(Rotated(image, angle), int);
        EXPECT_EQ(host.LiveObjects(), 1u);
        EXPECT_EQ(host.Locks(image.object()), 1);
    }
}

// The images of the shears may be anything that a factory comes up with.
TEST_F(FreeRotation, AFactoryMayHandOutLargerImagesOfAnotherByteOrder) {
    Random random(553);
    const TempDir directory;
    const TestImage image = MakePlain(23, 17, ImageFormatRGBA);
    FillWithNoise(image, random);
    const TestImage expected = Rotated(image, 25.0, {50, 60, 70, 80});
    int asked = 0;
    const REALobject factory = host.NewFactory([&](int width, int height, int) {
        ++asked;
        TestImage made = asked == 2 ? MakeInFile(directory, width, height, ImageFormatABGR, 3)
                                    : MakePlain(width, height + 5, ImageFormatBGRA);
        return made.release();
    });
    image->Factory = factory;
    const TestImage result = Rotated(image, 25.0, {50, 60, 70, 80});
    image->Factory = nullptr;
    REALUnlockObject(factory);
    EXPECT_EQ(asked, 3);
    for (int y = 0; y < expected->Height; ++y) {
        for (int x = 0; x < expected->Width; ++x) ASSERT_EQ(PixelAt(result, x, y), PixelAt(expected, x, y));
    }
}

// --- the shears by themselves: the fast loops against those that define them
// ----------------------------------------------

PixelSides SidesOfTest(const TestImage& source, const TestImage& dest) {
    return SidesOf(source.record(), dest.record());
}

TEST_F(FreeRotation, FastShearsGiveTheBytesOfThePlainOnes) {
    Random random(554);
    const TempDir directory;
    const ShearColour background{{10, 200, 255, 0, 77}};
    for (int round = 0; round < 400; ++round) {
        const int width = random.Between(1, 150), height = random.Between(1, 30), format = random.Format();
        const int destWidth = random.Between(1, 160), destHeight = random.Between(1, 60);
        const TestImage source = RandomImage(random, directory, width, height, format);
        const TestImage dest = random.Chance(10)
                                   ? MakeOnBlock(destWidth, destHeight, format, random.Between(1, 200))
                                   : RandomImage(random, directory, destWidth, destHeight, random.Format());
        SCOPED_TRACE(source.text + " to " + dest.text);
        if (!source->IsGray && !source->IsRGB && !source->IsCMYK) continue;
        FillWithNoise(dest, random);
        const Storage before = SnapshotOf(dest);
        const PixelSides sides = SidesOfTest(source, dest);
        const double shear = random.Between(-4000, 4000) / 17.0;
        const int row = random.Between(0, height - 1);
        HorizSkew_Plain(sides, row, StepOf(shear), background);
        const Storage expected = SnapshotOf(dest);
        SetStorage(dest, before);
        HorizSkew(sides, row, StepOf(shear), background);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(dest), dest)) << "row sheared by " << shear;

        SetStorage(dest, before);
        const ColumnShear job{height, destHeight, std::min(width, destWidth), random.Between(-900, 900) / 17.0,
                              random.Between(-70, 70) / 99.0};
        SkewColumns_Plain(sides, job, background);
        const Storage expectedColumns = SnapshotOf(dest);
        SetStorage(dest, before);
        SkewColumns(sides, job, background);
        ASSERT_TRUE(SameStorage(expectedColumns, SnapshotOf(dest), dest)) << "columns sheared by " << job.shear;
    }
}

// Weights beside every fraction at which the part of some value changes, where rounding may go against a factor.
std::vector<double> WeightsAtTheEdges() {
    std::vector<double> weights = {0.0, std::nextafter(0.0, 1.0), std::nextafter(1.0, 0.0), 1.0};
    for (int b = 2; b < 256; ++b) {
        for (int a = 1; a < b; ++a) {
            const double weight = static_cast<double>(a) / b;
            weights.push_back(weight);
            weights.push_back(std::nextafter(weight, 0.0));
            weights.push_back(std::nextafter(weight, 1.0));
        }
    }
    return weights;
}

TEST_F(FreeRotation, AFactorGivesThePartsOfItsWeight) {
    Random random(556);
    std::vector<double> weights = WeightsAtTheEdges();
    const std::size_t edges = weights.size();
    for (int i = 0; i < 20000; ++i) weights.push_back((random.Byte() + random.Between(1, 65535) / 65536.0) / 256.0);
    int without = 0;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const ShearFactor factor = FactorOf(weights[i]);
        if (!factor.exists) {
            ASSERT_LT(i, edges) << weights[i] << " has no factor";
            ++without;
            continue;
        }
        for (int value = 0; value < 256; ++value) {
            const int part = value * int{factor.factor} >> 16;
            ASSERT_EQ(part, Truncated(value * weights[i])) << value << " * " << weights[i];
        }
    }
    EXPECT_GT(without, 0) << "the way without a factor is there for some";
    EXPECT_LT(without, 3000);
}

// Among others those for which there is no factor.
TEST_F(FreeRotation, FastShearsKeepToWeightsAtTheEdges) {
    Random random(557);
    const TestImage source = MakePlain(70, 40, ImageFormatRGB), dest = MakePlain(80, 70, ImageFormatRGB);
    FillWithNoise(source, random);
    const ShearColour background{{10, 200, 255}};
    const PixelSides sides = SidesOfTest(source, dest);
    const Storage before = SnapshotOf(dest);
    int without = 0;
    for (const double weight : WeightsAtTheEdges()) {
        if (FactorOf(weight).exists ? !random.Chance(1) : ++without > 200) continue;
        const ShearStep step{3, weight};
        HorizSkew_Plain(sides, 5, step, background);
        const Storage expected = SnapshotOf(dest);
        SetStorage(dest, before);
        HorizSkew(sides, 5, step, background);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(dest), dest)) << "row, weight " << weight;

        SetStorage(dest, before);
        const ColumnShear job{40, 70, 70, 1.0 + weight, 0.0};
        SkewColumns_Plain(sides, job, background);
        const Storage expectedColumns = SnapshotOf(dest);
        SetStorage(dest, before);
        SkewColumns(sides, job, background);
        ASSERT_TRUE(SameStorage(expectedColumns, SnapshotOf(dest), dest)) << "columns, weight " << weight;
        SetStorage(dest, before);
    }
    EXPECT_GT(without, 0);
}

TEST_F(FreeRotation, OfAViewWhoseSourceWasClosedIsBackground) {
    const TestImage parent = MakePlain(8, 8, ImageFormatG);
    const TestImage view(ClipImage1(parent.object()));
    ImageDestructor(parent.object());
    const TestImage result(rbRotate(view.object(), 30.0, 0, 0, 0, 0, 200, 0, 0, 0, 0));
    ASSERT_TRUE(result);
    for (int x = 0; x < result->Width; ++x) EXPECT_GE(result->GetRow(result.record(), result->Height / 2)[x], 198) << x;
}

}  // namespace
