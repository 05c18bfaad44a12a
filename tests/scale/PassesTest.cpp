#include "scale/Passes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "FailingAlloc.h"
#include "ScaleModel.h"
#include "core/Formats.h"

using namespace zor;

namespace {

class Passes : public EngineTest {
protected:
    TempDir directory;
    // Other images with --gtest_random_seed.
    Random random{7U + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())};
};

struct Formats {
    int source, target;
};
// One for each pair, in the order of the table.
constexpr Formats kFormats[kScalePairs] = {
    {ImageFormatG, ImageFormatG},        {ImageFormatG, ImageFormatBGR},       {ImageFormatAG, ImageFormatCMYK},
    {ImageFormatBGR, ImageFormatG},      {ImageFormatRGBX, ImageFormatRGB},    {ImageFormatKYMC, ImageFormatG},
    {ImageFormatXCMYK, ImageFormatCMYK}, {ImageFormatAG, ImageFormatGA},       {ImageFormatGA, ImageFormatARGB},
    {ImageFormatGA, ImageFormatAKYMC},   {ImageFormatABGR, ImageFormatGA},     {ImageFormatRGBA, ImageFormatBGRA},
    {ImageFormatCMYKA, ImageFormatAG},   {ImageFormatACMYK, ImageFormatKYMCA},
};

struct Jobs {
    HorizontalJob across;
    VerticalJob down;
};

// The jobs of both passes between these images, each with its lists.
Jobs JobsOf(const TestImage& source, const TestImage& temp, const TestImage& dest, const ScalePair& pair, int width,
            const ContributionTable& across, const ContributionTable& down, const Taps& acrossTaps,
            const Taps& downTaps) {
    Jobs jobs{};
    jobs.across.src = source.record();
    jobs.across.dst = temp.record();
    jobs.across.width = width;
    jobs.across.pair = &pair;
    jobs.across.srcWidth = source->Width;
    jobs.across.lists = across.lists();
    jobs.across.taps = &acrossTaps;
    jobs.across.kernels = &Kernels();
    jobs.down.src = temp.record();
    jobs.down.dst = dest.record();
    jobs.down.width = width;
    jobs.down.pair = &pair;
    jobs.down.lists = down.lists();
    jobs.down.taps = &downTaps;
    jobs.down.kernels = &Kernels();
    return jobs;
}

// Both passes over all rows, either way; the bytes of temp and dest in the end.
std::vector<std::uint8_t> RunBoth(Jobs jobs, int height, const TestImage& temp, const TestImage& dest,
                                  bool pixelByPixel) {
    PassScratch scratch;
    jobs.across.pixelByPixel = jobs.down.pixelByPixel = pixelByPixel;
    HorizontalRows(jobs.across, 0, jobs.across.src->Height - 1, &scratch);
    VerticalRows(jobs.down, 0, height - 1, &scratch);
    std::vector<std::uint8_t> bytes = SnapshotOf(temp).bytes;
    const std::vector<std::uint8_t> more = SnapshotOf(dest).bytes;
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

TEST_F(Passes, GiveTheSameBytesByRowsAsByPixels) {
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < kScalePairs; ++i) {
            const ScalePair& pair = kScalePairTable[i];
            SCOPED_TRACE(testing::Message() << pair.name << " round " << round);
            const TestImage source =
                RandomImage(random, directory, random.Between(1, 40), random.Between(1, 20), kFormats[i].source);
            const TestImage dest =
                RandomImage(random, directory, random.Between(1, 40), random.Between(1, 20), kFormats[i].target);
            ASSERT_STREQ(PairOf(source.record(), dest.record())->name, pair.name);
            const TestImage temp =
                RandomImage(random, directory, random.Between(1, 60), random.Between(1, 25), random.Format());
            // Files: only what lies inside, as what is around a row depends on where the window stood.
            const bool inside = dest->IsMapping;
            const int width = random.Between(1, inside ? std::max(dest->Width, 1) : 45);
            const int height = random.Between(1, inside ? std::max(dest->Height, 1) : 25);

            const FilterKernel& kernel = *KernelOfMode(random.Between(1, 7));
            ContributionTable across, down;
            ASSERT_TRUE(across.Allocate(width));
            ASSERT_TRUE(down.Allocate(height));
            across.Build(kernel, ScaleAxis::kHorizontal, double(width) / source->Width, source->Width, width, nullptr);
            down.Build(kernel, ScaleAxis::kVertical, double(height) / source->Height, temp->Height, height, nullptr);
            TapTable acrossTable, downTable;
            ASSERT_TRUE(acrossTable.Build(across.lists(), width, ScaleAxis::kHorizontal, pair.luma));
            ASSERT_TRUE(downTable.Build(down.lists(), height, ScaleAxis::kVertical, false));
            const Taps acrossTaps = acrossTable.taps(), downTaps = downTable.taps();
            Jobs jobs = JobsOf(source, temp, dest, pair, width, across, down, acrossTaps, downTaps);

            const Storage tempBefore = SnapshotOf(temp), destBefore = SnapshotOf(dest);
            const std::vector<std::uint8_t> expected = RunBoth(jobs, height, temp, dest, true);
            for (const bool singleRows : {false, true}) {
                SetStorage(temp, tempBefore);
                SetStorage(dest, destBefore);
                jobs.across.pastLast = singleRows ? source->Height : 0;
                ASSERT_TRUE(SameBytes(expected, RunBoth(jobs, height, temp, dest, false)));
            }
        }
    }
}

TEST_F(Passes, WorkByPixelsWithoutMemoryForRows) {
    const TestImage source = MakePlain(20, 12, ImageFormatRGB), dest = MakePlain(9, 7, ImageFormatRGB);
    const TestImage temp = MakePlain(9, 12, ImageFormatScaling4);
    FillWithNoise(source, random);
    ContributionTable across, down;
    ASSERT_TRUE(across.Allocate(9));
    ASSERT_TRUE(down.Allocate(7));
    across.Build(*KernelOfMode(3), ScaleAxis::kHorizontal, 9.0 / 20.0, 20, 9, nullptr);
    down.Build(*KernelOfMode(3), ScaleAxis::kVertical, 7.0 / 12.0, 12, 7, nullptr);
    TapTable acrossTable, downTable;
    ASSERT_TRUE(acrossTable.Build(across.lists(), 9, ScaleAxis::kHorizontal, false));
    ASSERT_TRUE(downTable.Build(down.lists(), 7, ScaleAxis::kVertical, false));
    const Taps acrossTaps = acrossTable.taps(), downTaps = downTable.taps();
    Jobs jobs =
        JobsOf(source, temp, dest, *PairOf(source.record(), dest.record()), 9, across, down, acrossTaps, downTaps);
    const std::vector<std::uint8_t> expected = RunBoth(jobs, 7, temp, dest, false);
    for (int passed = 0; passed < 2; ++passed) {
        const FailingAlloc fail(passed);
        EXPECT_EQ(RunBoth(jobs, 7, temp, dest, false), expected);
        EXPECT_TRUE(fail.happened());
    }
    jobs.across.taps = jobs.down.taps = nullptr;
    EXPECT_EQ(RunBoth(jobs, 7, temp, dest, false), expected);
}

}  // namespace
