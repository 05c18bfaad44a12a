#include "exchange/Clipping.h"

#include <climits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "support/Images.h"

using namespace zor;

namespace {

struct Case {
    const char* name;
    TransferRect before;
    TransferSize dest, source;
    bool left;  // something is left
    TransferRect after;
};

std::string TextOf(const TransferRect& r) {
    std::string text;
    for (const std::int64_t number : {r.dstX, r.dstY, r.width, r.height, r.srcX, r.srcY}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

// Rectangles as destination x, y, width, height, source x, y.
TEST(Clipping, FollowsEachStep) {
    const Case cases[] = {
        {"inside", {1, 2, 3, 4, 5, 6}, {20, 20}, {20, 20}, true, {1, 2, 3, 4, 5, 6}},
        {"negative source x moves to the left", {5, 0, 6, 4, -2, 0}, {20, 20}, {20, 20}, true, {3, 0, 4, 4, 0, 0}},
        {"negative source y moves up", {0, 5, 4, 6, 0, -2}, {20, 20}, {20, 20}, true, {0, 3, 4, 4, 0, 0}},
        {"negative width extends to the left", {8, 0, -3, 4, 1, 0}, {20, 20}, {20, 20}, true, {5, 0, 3, 4, 1, 0}},
        {"negative height extends upwards", {0, 8, 4, -3, 0, 1}, {20, 20}, {20, 20}, true, {0, 5, 4, 3, 0, 1}},
        {"negative destination x", {-2, 0, 6, 4, 1, 0}, {20, 20}, {20, 20}, true, {0, 0, 4, 4, 3, 0}},
        {"negative destination y", {0, -2, 4, 6, 0, 1}, {20, 20}, {20, 20}, true, {0, 0, 4, 4, 0, 3}},
        {"source and destination negative", {1, 1, 9, 9, -3, -3}, {20, 20}, {20, 20}, true, {0, 0, 4, 4, 2, 2}},
        {"width turned by a negative source", {9, 0, 2, 3, -5, 0}, {20, 20}, {20, 20}, true, {1, 0, 3, 3, 0, 0}},
        {"over the right edge", {15, 0, 9, 4, 0, 0}, {20, 20}, {20, 20}, true, {15, 0, 5, 4, 0, 0}},
        {"over the bottom edge", {0, 15, 4, 9, 0, 0}, {20, 20}, {20, 20}, true, {0, 15, 4, 5, 0, 0}},
        {"over the right edge of the source", {0, 0, 9, 4, 6, 0}, {20, 20}, {10, 10}, true, {0, 0, 4, 4, 6, 0}},
        {"over the bottom edge of the source", {0, 0, 4, 9, 0, 6}, {20, 20}, {10, 10}, true, {0, 0, 4, 4, 0, 6}},
        {"beyond the right edge", {20, 0, 3, 3, 0, 0}, {20, 20}, {20, 20}, false, {}},
        {"beyond the bottom edge", {0, 20, 3, 3, 0, 0}, {20, 20}, {20, 20}, false, {}},
        {"beyond the source's right edge", {0, 0, 3, 3, 20, 0}, {20, 20}, {20, 20}, false, {}},
        {"beyond the source's bottom edge", {0, 0, 3, 3, 0, 25}, {20, 20}, {20, 20}, false, {}},
        {"to the left of the destination", {-9, 0, 4, 4, 0, 0}, {20, 20}, {20, 20}, false, {}},
        {"empty", {3, 3, 0, 0, 0, 0}, {20, 20}, {20, 20}, false, {}},
        {"one row, no column", {3, 3, 0, 1, 0, 0}, {20, 20}, {20, 20}, false, {}},
        {"the least numbers", {INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN}, {20, 20}, {9, 9}, false, {}},
        {"the greatest numbers", {INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX}, {20, 20}, {9, 9}, false, {}},
        {"the greatest size", {0, 0, INT_MAX, INT_MAX, 1, 2}, {20, 20}, {9, 9}, true, {0, 0, 8, 7, 1, 2}},
        {"the least size", {INT_MAX, 9, INT_MIN, -9, 0, 0}, {20, 20}, {9, 9}, true, {0, 0, 8, 9, 1, 0}},
        {"no size at all on one side", {0, 0, 3, 3, 0, 0}, {0, 20}, {9, 9}, false, {}},
    };
    for (const Case& c : cases) {
        TransferRect rect = c.before;
        EXPECT_EQ(ClipTransfer(&rect, c.dest, c.source), c.left) << c.name;
        if (c.left) {
            EXPECT_EQ(TextOf(rect), TextOf(c.after)) << c.name;
        }
    }
}

TEST(Clipping, LeavesOnlyWhatLiesInsideBothSides) {
    Random random(35);
    int left = 0;
    for (int round = 0; round < 20000; ++round) {
        const TransferSize dest = {random.Between(0, 12), random.Between(1, 12)};
        const TransferSize source = {random.Between(0, 12), random.Between(1, 12)};
        TransferRect rect = {random.Between(-4, 9),  random.Between(-4, 9), random.Between(-9, 20),
                             random.Between(-9, 20), random.Between(-4, 9), random.Between(-4, 9)};
        const TransferRect wanted = rect;
        if (!ClipTransfer(&rect, dest, source)) continue;
        ++left;
        const bool inside = rect.width >= 1 && rect.height >= 1 && rect.dstX >= 0 && rect.dstY >= 0 && rect.srcX >= 0 &&
                            rect.srcY >= 0 && rect.dstX + rect.width <= dest.width &&
                            rect.dstY + rect.height <= dest.height && rect.srcX + rect.width <= source.width &&
                            rect.srcY + rect.height <= source.height;
        ASSERT_TRUE(inside) << TextOf(wanted) << "became " << TextOf(rect);
    }
    EXPECT_GT(left, 1000);
}

// --- the gate
// ---------------------------------------------------------------------------------------------------------

class Gate : public EngineTest {
protected:
    TestImage destination = MakePlain(2, 2, ImageFormatRGB);
    TestImage source = MakePlain(2, 2, ImageFormatRGB);

    void TearDown() override {
        destination = {};
        source = {};
        EngineTest::TearDown();
    }

    // The yields that the gate made: d for the destination, s for the source.
    std::string Pass(ImageClassData* s) {
        std::string yields;
        const ImageClassData* const first = destination.record();
        for (ImageClassData* const record : {destination.record(), source.record()}) {
            record->YieldTicks = 1;
            record->LastYieldTick = -1000;
        }
        host.onYield = [&] { yields += first->LastYieldTick == -1000 ? "d" : "s"; };
        const bool passed = PassTransferGate(destination.record(), s);
        return yields + (passed ? " open" : " shut");
    }
};

TEST_F(Gate, YieldsOnTheDestinationAndThenOnTheSource) {
    EXPECT_EQ(Pass(source.record()), "ds open");
}

TEST_F(Gate, ShutsForNoSource) {
    EXPECT_EQ(Pass(nullptr), " shut");
}

TEST_F(Gate, ShutsBeforeAnyYieldForImagesThatAreNotValid) {
    source->Valid = false;
    EXPECT_EQ(Pass(source.record()), " shut");
    source->Valid = true;
    destination->Valid = false;
    EXPECT_EQ(Pass(source.record()), " shut");
}

TEST_F(Gate, ShutsBeforeAnyYieldForADestinationWithoutPixels) {
    destination->Height = 0;
    EXPECT_EQ(Pass(source.record()), " shut");
    destination->Height = 2;
    destination->Width = -1;
    EXPECT_EQ(Pass(source.record()), " shut");
    destination->Width = 2;
    ImageDestructor(destination.object());
    EXPECT_EQ(Pass(source.record()), " shut");
}

TEST_F(Gate, ShutsAfterTheDestinationsYieldForASourceWithoutPixels) {
    source->Height = 0;
    EXPECT_EQ(Pass(source.record()), "d shut");
    source->Height = 2;
    source->Width = -1;
    EXPECT_EQ(Pass(source.record()), "d shut");
    source->Width = 2;
    ImageDestructor(source.object());
    EXPECT_EQ(Pass(source.record()), "d shut");
}

TEST_F(Gate, NeverYieldsUnasked) {
    host.onYield = [] { ADD_FAILURE() << "yielded"; };
    EXPECT_TRUE(PassTransferGate(destination.record(), source.record()));
}

}  // namespace
