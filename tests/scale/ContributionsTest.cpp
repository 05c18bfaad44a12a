#include "scale/Contributions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "FailingAlloc.h"
#include "ReferenceScale.h"

using namespace zor;

namespace {

// One list, freed at the end.
struct List : ContributionList {
    List(int mode, ScaleAxis axis, double scale, int size, double position) : ContributionList{} {
        BuildList(*KernelOfMode(mode), axis, scale, size, position, this);
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    ~List() { std::free(entries); }
};

void ExpectReference(int mode, ScaleAxis axis, double scale, int size, int position) {
    const List list(mode, axis, scale, size, position);
    const reference::Samples expected =
        reference::SamplesOf(mode, axis == ScaleAxis::kHorizontal, scale, size, position);
    ASSERT_EQ(list.count, static_cast<int>(expected.list.size()));
    for (int k = 0; k < list.count; ++k) {
        ASSERT_EQ(list.entries[k].pixel, expected.list[static_cast<std::size_t>(k)].index);
        ASSERT_EQ(list.entries[k].weight, expected.list[static_cast<std::size_t>(k)].weight);
    }
    ASSERT_EQ(list.weightSum, expected.sum);
}

TEST(Contributions, AgreeWithTheReferenceForAllKernelsAndScales) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const ScaleAxis axis : {ScaleAxis::kHorizontal, ScaleAxis::kVertical}) {
            for (int size = 1; size <= 40; size += 3) {
                for (int target = 1; target <= 40; ++target) {
                    for (int i = 0; i < target; ++i) {
                        SCOPED_TRACE(testing::Message()
                                     << KernelOfMode(mode)->name << " " << size << " to " << target << " at " << i);
                        ExpectReference(mode, axis, static_cast<double>(target) / size, size, i);
                        if (HasFatalFailure()) return;
                    }
                }
            }
        }
    }
}

TEST(Contributions, TriangleAtTheSameSizeIsTheSampleItself) {
    for (int i = 0; i < 5; ++i) {
        const List list(1, ScaleAxis::kHorizontal, 1.0, 5, i);
        ASSERT_EQ(list.count, 1);
        EXPECT_EQ(list.entries[0].pixel, i);
        EXPECT_EQ(list.entries[0].weight, 1.0F);
        EXPECT_EQ(list.weightSum, 1.0F);
    }
}

TEST(Contributions, Lanczos3AtTheSameSizeKeepsTheTinyWeights) {
    const List list(3, ScaleAxis::kHorizontal, 1.0, 20, 10);
    ASSERT_EQ(list.count, 5);
    EXPECT_EQ(list.entries[0].pixel, 8);
    EXPECT_EQ(list.entries[2].weight, 1.0F);
    EXPECT_NE(list.entries[0].weight, 0.0F);
    EXPECT_LT(std::fabs(list.entries[0].weight), 1e-15F);
}

TEST(Contributions, OfASingleSampleAreThatSampleAlone) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (int i = 0; i < 7; ++i) {
            const List list(mode, ScaleAxis::kHorizontal, 7.0, 1, i);
            ASSERT_LE(list.count, 1);
            if (list.count == 1) {
                EXPECT_EQ(list.entries[0].pixel, 0);
                EXPECT_EQ(list.entries[0].weight, list.weightSum);
            }
        }
    }
}

TEST(Contributions, AreClippedAtTheBordersAndSummedThere) {
    const List first(5, ScaleAxis::kHorizontal, 3.0, 10, 0), last(5, ScaleAxis::kHorizontal, 3.0, 10, 29);
    EXPECT_EQ(first.entries[0].pixel, 0);
    EXPECT_EQ(last.entries[last.count - 1].pixel, 9);
    for (const List* list : {&first, &last}) {
        double sum = 0.0;
        for (int k = 0; k < list->count; ++k) sum += static_cast<double>(list->entries[k].weight);
        EXPECT_NEAR(static_cast<double>(list->weightSum), sum, 1e-6);
        EXPECT_NE(list->weightSum, 1.0F);
    }
}

TEST(Contributions, OfAReductionSpanTwiceTheRadiusOverTheScale) {
    const List list(3, ScaleAxis::kHorizontal, 0.01, 10000, 50);
    EXPECT_NEAR(list.count, 600, 2);
    EXPECT_GE(ListCapacity(*KernelOfMode(3), ScaleAxis::kHorizontal, 0.01), list.count);
}

struct CapacityRow {
    double scale;
    int mode;
    std::int64_t horizontal, vertical;
};

TEST(Contributions, HaveTheirCapacities) {
    const CapacityRow rows[] = {
        {1.0, 1, 4, 4},
        {1.0, 2, 2, 3},
        {2.0, 3, 8, 8},
        {1.5, 4, 18, 18},
        {1.0, 5, 6, 6},
        {9.0, 6, 10, 10},
        {1.0, 7, 8, 8},
        {0.4, 1, 6, 7},
        {0.4, 2, 4, 4},
        {0.8, 3, 8, 9},
        {0.5, 4, 34, 34},
        {0.75, 5, 6, 7},
        {0.75, 6, 12, 12},
        {0.25, 7, 26, 26},
        // Lists of billions of entries are counted without wrapping.
        {1.0 / 2147483647.0, 4, 34359738354, 34359738354},
    };
    for (const CapacityRow& row : rows) {
        SCOPED_TRACE(testing::Message() << KernelOfMode(row.mode)->name << " at " << row.scale);
        EXPECT_EQ(ListCapacity(*KernelOfMode(row.mode), ScaleAxis::kHorizontal, row.scale), row.horizontal);
        EXPECT_EQ(ListCapacity(*KernelOfMode(row.mode), ScaleAxis::kVertical, row.scale), row.vertical);
    }
}

TEST(Contributions, StopAtTheirCapacity) {
    FilterKernel narrow = *KernelOfMode(3);
    narrow.horizontalCapacity = 2;
    ContributionList list{};
    BuildList(narrow, ScaleAxis::kHorizontal, 2.0, 100, 100.0, &list);
    ASSERT_EQ(list.count, 2);
    EXPECT_NEAR(static_cast<double>(list.weightSum),
                static_cast<double>(list.entries[0].weight) + static_cast<double>(list.entries[1].weight), 1e-8);
    std::free(list.entries);
}

TEST(Contributions, OfTooManyBytesStayEmpty) {
    const List list(4, ScaleAxis::kHorizontal, 1.0 / 2147483647.0, 2147483647, 0);
    EXPECT_EQ(list.entries, nullptr);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.weightSum, 0.0F);
}

TEST(Contributions, AreEmptyWhereNoSampleIs) {
    const List beyond(1, ScaleAxis::kVertical, 1.0, 3, 7);  // a row behind the end of a temporary image too low
    EXPECT_EQ(beyond.count, 0);
    EXPECT_EQ(beyond.weightSum, 0.0F);
    const List ofNothing(3, ScaleAxis::kHorizontal, std::numeric_limits<double>::infinity(), 0, 0);
    EXPECT_EQ(ofNothing.count, 0);
}

TEST(Contributions, AreEmptyWithoutMemory) {
    const FailingAlloc fail(0);
    const List list(3, ScaleAxis::kHorizontal, 0.5, 100, 10);
    EXPECT_TRUE(fail.happened());
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.weightSum, 0.0F);
}

TEST(ContributionTable, RefusesArraysBeyond31Bits) {
    ContributionTable table;
    EXPECT_FALSE(table.Allocate(2147483647));
    EXPECT_FALSE(table.Allocate(static_cast<int>(2147483647 / sizeof(ContributionList)) + 1));
    EXPECT_FALSE(table.Allocate(-1));
}

TEST(ContributionTable, ReportsMissingMemory) {
    const FailingAlloc fail(0);
    ContributionTable table;
    EXPECT_FALSE(table.Allocate(3));
}

TEST(ContributionTable, ServesBothAxesOneAfterTheOther) {
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(8));
    table.Build(*KernelOfMode(5), ScaleAxis::kHorizontal, 0.5, 16, 8, nullptr);
    EXPECT_GT(table.lists()[7].count, 0);
    table.FreeEntries();
    EXPECT_EQ(table.lists()[7].count, 0);
    EXPECT_EQ(table.lists()[7].entries, nullptr);
    table.Build(*KernelOfMode(5), ScaleAxis::kVertical, 0.5, 10, 5, nullptr);
    EXPECT_EQ(table.lists()[5].entries, nullptr);
    EXPECT_GT(table.lists()[4].count, 0);
}

}  // namespace
