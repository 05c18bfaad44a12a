// The filtered scaler against the reference: all kernels, pairs, storage kinds, views and thread counts, byte for byte
// over the whole storage of every image that takes part.

#include <gtest/gtest.h>

#include <optional>

#include "ReferenceScale.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "host/HostCalls.h"
#include "scale/FilterKernels.h"
#include "scale/FilteredScale.h"

using namespace zor;

namespace {

struct PairFormats {
    const char* name;
    std::vector<int> sources, targets;
};

const std::vector<int> kRGBPlain = {1, 3, 5, 6, 8, 10}, kRGBAlpha = {2, 4, 7, 9};
const std::vector<int> kGrayPlain = {11, 15, 16, 17, 18, 19, 20, 21}, kGrayAlpha = {12, 13};
const std::vector<int> kInkPlain = {23, 26, 27, 28, 31, 32}, kInkAlpha = {24, 25, 29, 30};

const PairFormats kPairs[] = {
    {"G_to_G_Scale", kGrayPlain, kGrayPlain},     {"G_to_RGB_Scale", kGrayPlain, kRGBAlpha},
    {"G_to_CMYK_Scale", kGrayAlpha, kInkPlain},   {"RGB_to_G_Scale", kRGBPlain, kGrayPlain},
    {"RGB_to_RGB_Scale", kRGBPlain, kRGBPlain},   {"CMYK_to_G_Scale", kInkAlpha, kGrayPlain},
    {"CMYK_to_CMYK_Scale", kInkPlain, kInkPlain}, {"GA_to_GA_Scale", kGrayAlpha, kGrayAlpha},
    {"GA_to_RGBA_Scale", kGrayAlpha, kRGBAlpha},  {"GA_to_CMYKA_Scale", kGrayAlpha, kInkAlpha},
    {"RGBA_to_GA_Scale", kRGBAlpha, kGrayAlpha},  {"RGBA_to_RGBA_Scale", kRGBAlpha, kRGBAlpha},
    {"CMYKA_to_GA_Scale", kInkAlpha, kGrayAlpha}, {"CMYKA_to_CMYKA_Scale", kInkAlpha, kInkAlpha},
};

constexpr int kSingle = -99;  // the form without threads
const std::vector<int> kThreads = {kSingle, -1, 0, 1, 2, 3, 7, 33};

class Resample : public EngineTest {
protected:
    TempDir directory;
    // Other images with --gtest_random_seed.
    Random random{21U + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())};

    TestImage AnyImage(int format) {
        return RandomImage(random, directory, random.Between(1, 40), random.Between(1, 40), format);
    }

    // Nothing, or an image of any shape. One of 0 by chance.
    std::optional<TestImage> AnyTemp(int width, int height) {
        switch (random.Between(0, 3)) {
            case 0:
                return std::nullopt;
            case 1:
                return RandomImage(random, directory, StorageKind::plain, width, height, ImageFormatScaling5);
            case 2:
                return AnyImage(random.Format());
            default: {
                TestImage temp =
                    MakeOnBlock(random.Between(1, 20), random.Between(1, 40), ImageFormatG, random.Between(1, 150));
                FillWithNoise(temp, random);
                return temp;
            }
        }
    }

    // What the engine and the reference make of it, compared. `all`: images whose storage takes part.
    void Compare(const TestImage& target, const TestImage& source, const TestImage* temp, int mode, int width,
                 int height, int threads, Model* model) {
        const ModelImage target_ = model->Of(target), source_ = model->Of(source);
        const ModelImage temp_ = temp ? model->Of(*temp) : model->Scratch(source->Height, width * 5);
        const REALobject tempObject = temp ? temp->object() : nullptr;
        const bool done =
            threads == kSingle
                ? PictureScaleZOR(target.object(), source.object(), tempObject, mode, width, height)
                : PictureScaleZORMT(target.object(), threads, source.object(), tempObject, mode, width, height);
        ASSERT_TRUE(done);
        ASSERT_TRUE(reference::Scale(target_, source_, temp_, mode, width, height));
        ASSERT_EQ(model->Difference(), "")
            << KernelOfMode(mode)->name << ", source " << source.text << ", target " << target.text << ", temp "
            << (temp ? temp->text : "none") << ", to " << width << " x " << height << " on " << threads;
    }
};

TEST_F(Resample, AgreesWithTheReferenceForAllKernelsAndPairs) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const PairFormats& pair : kPairs) {
            for (const int threads : kThreads) {
                const TestImage source = AnyImage(random.Pick(pair.sources));
                const TestImage target = AnyImage(random.Pick(pair.targets));
                // In a file only the inside: what is around it depends on where the window stood.
                const int width = random.Between(1, target->IsMapping ? target->Width : target->Width + 5);
                const int height = random.Between(1, target->IsMapping ? target->Height : target->Height + 5);
                const std::optional<TestImage> temp = AnyTemp(width, source->Height);
                Model model;
                Compare(target, source, temp ? &*temp : nullptr, mode, width, height, threads, &model);
                if (HasFatalFailure()) FAIL() << pair.name;
                const reference::Pair* const chosen = reference::PairFor(model.Of(source), model.Of(target));
                ASSERT_EQ(chosen->name, pair.name);
            }
        }
    }
}

TEST_F(Resample, AgreesOnLargerReductionsAndEnlargements) {
    for (const auto& [from, to] : {std::pair{400, 3}, std::pair{3, 400}, std::pair{257, 100}, std::pair{100, 101}}) {
        for (int mode = 1; mode <= kScaleModes; ++mode) {
            const TestImage source = MakePlain(from, 9, ImageFormatRGB), target = MakePlain(to, 7, ImageFormatRGB);
            const TestImage tall = MakePlain(5, from, ImageFormatRGBA), reduced = MakePlain(4, to, ImageFormatGA);
            FillWithNoise(source, random);
            FillWithNoise(tall, random);
            Model model;
            Compare(target, source, nullptr, mode, to, 7, kSingle, &model);
            Compare(reduced, tall, nullptr, mode, 4, to, 2, &model);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(Resample, ShowsTheOrderOfPixelsWhereImagesShareBytes) {
    for (int round = 0; round < 500; ++round) {
        const TestImage whole = MakeOnBlock(60, 40, ImageFormatG, 61);
        FillWithNoise(whole, random);
        const auto part = [&](int format) {
            return MakeOver(whole, random.Between(0, 500), random.Between(1, 8), random.Between(1, 9), format,
                            random.Between(1, 50));
        };
        const PairFormats& pair = kPairs[random.Between(0, std::size(kPairs) - 1)];
        const TestImage source = part(random.Pick(pair.sources)), target = part(random.Pick(pair.targets));
        const TestImage temp = part(ImageFormatG);
        Model model;
        model.Of(whole);
        Compare(target, source, random.Chance(80) ? &temp : nullptr, random.Between(1, 7), random.Between(1, 9),
                random.Between(1, 9), random.Pick(kThreads), &model);
        if (HasFatalFailure()) FAIL() << pair.name << " round " << round;
    }
}

TEST_F(Resample, KeepsTheOrderOfRowsThatMeet) {
    for (int round = 0; round < 200; ++round) {
        // Rows shorter than what is written to them, of the temporary image and of the target.
        const TestImage source = MakeOnBlock(9, 12, ImageFormatRGB, random.Between(1, 27));
        const TestImage target = MakeOnBlock(9, 12, ImageFormatRGB, random.Between(1, 27));
        const TestImage temp = MakeOnBlock(9, 12, ImageFormatScaling4, random.Between(1, 36));
        FillWithNoise(source, random);
        FillWithNoise(target, random);
        FillWithNoise(temp, random);
        Model model;
        Compare(target, source, &temp, random.Between(1, 7), random.Between(1, 12), random.Between(1, 14),
                random.Pick(kThreads), &model);
        if (HasFatalFailure()) return;
    }
}

TEST_F(Resample, WorksThroughMovingWindows) {
    for (int round = 0; round < 60; ++round) {
        const PairFormats& pair = kPairs[random.Between(0, std::size(kPairs) - 1)];
        const auto file = [&](int format, int width) {
            TestImage image = MakeInFile(directory, width, random.Between(5, 40), format, random.Between(3, 5));
            FillWithNoise(image, random);
            return image;
        };
        const TestImage source = file(random.Pick(pair.sources), random.Between(1, 40));
        const TestImage target = file(random.Pick(pair.targets), random.Between(1, 40));
        const TestImage temp = file(ImageFormatG, 40);
        Model model;
        Compare(target, source, &temp, random.Between(1, 7), random.Between(1, target->Width),
                random.Between(1, target->Height), random.Pick(kThreads), &model);
        if (HasFatalFailure()) FAIL() << pair.name;
    }
}

TEST_F(Resample, ReadsAndWritesRowsOfATable) {
    for (int round = 0; round < 60; ++round) {
        RowTableImage source(random.Between(1, 20), random.Between(1, 20), ImageFormatXRGB);
        RowTableImage target(random.Between(1, 20), random.Between(1, 20), ImageFormatXRGB);
        RowTableImage temp(random.Between(1, 20), random.Between(1, 20), ImageFormatXRGB);
        source.FillWithNoise(random);
        target.FillWithNoise(random);
        temp.FillWithNoise(random);
        Model model;  // sizes beyond the images: rows that do not exist, and ends of rows that are cut
        Compare(target.image(), source.image(), &temp.image(), random.Between(1, 7), random.Between(1, 25),
                random.Between(1, 25), random.Pick(kThreads), &model);
        if (HasFatalFailure()) return;
    }
}

TEST_F(Resample, IsTheSameForAnyNumberOfThreads) {
    for (const PairFormats& pair : kPairs) {
        const TestImage source = MakePlain(67, 53, random.Pick(pair.sources));
        const TestImage expected = MakePlain(41, 71, random.Pick(pair.targets));
        FillWithNoise(source, random);
        ASSERT_TRUE(PictureScaleZOR(expected.object(), source.object(), nullptr, 3, 41, 71));
        for (const int threads : {-1, 0, 1, 2, 3, 7, 33}) {
            const TestImage target = MakePlain(41, 71, expected->ImageFormat);
            ASSERT_TRUE(PictureScaleZORMT(target.object(), threads, source.object(), nullptr, 3, 41, 71));
            ASSERT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target)) << pair.name << threads;
        }
    }
}

// Yellow is filtered from the first byte of a CMYK pixel; all inks of a gray one from its first byte, alpha or not.
TEST_F(Resample, TakesYellowFromTheFirstByte) {
    const TestImage source = MakePlain(1, 1, ImageFormatCMYK), target = MakePlain(1, 1, ImageFormatCMYK);
    for (int i = 0; i < 4; ++i) source->Pixels[i] = static_cast<std::uint8_t>(10 * (i + 1));
    ASSERT_TRUE(PictureScaleZOR(target.object(), source.object(), nullptr, 1, 1, 1));
    const std::uint8_t expected[] = {10, 20, 10, 40};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(target->Pixels[i], expected[i]);

    const TestImage gray = MakePlain(1, 1, ImageFormatAG), inks = MakePlain(1, 1, ImageFormatCMYK);
    gray->Pixels[0] = 77;
    gray->Pixels[1] = 200;
    ASSERT_TRUE(PictureScaleZOR(inks.object(), gray.object(), nullptr, 1, 1, 1));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(inks->Pixels[i], 77);
}

TEST_F(Resample, LeavesAlphaOfAGrayTargetAlone) {
    const TestImage source = MakePlain(6, 6, ImageFormatGA), target = MakePlain(4, 4, ImageFormatGA);
    FillWithNoise(source, random);
    FillWithNoise(target, random);
    const Storage before = SnapshotOf(target);
    ASSERT_TRUE(PictureScaleZOR(target.object(), source.object(), nullptr, 3, 4, 4));
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            EXPECT_EQ(SnapshotOf(target).At(PlaceOf(target, x, y) + 1), before.At(PlaceOf(target, x, y) + 1));
        }
    }
}

TEST_F(Resample, PaintsAnImageOfNoColumnsBlack) {
    const TestImage source = MakePlain(4, 4, ImageFormatG), target = MakePlain(3, 3, ImageFormatG);
    FillWithNoise(target, random);
    source->Width = 0;  // as a clip wholly to the right of its image has it
    ASSERT_TRUE(PictureScaleZOR(target.object(), source.object(), nullptr, 3, 3, 3));
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 3; ++x) EXPECT_EQ(target->GetRow(target.record(), y)[x], 0);
    }
}

}  // namespace
