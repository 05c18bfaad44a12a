// What the blurs, the convolution and the turns share: the checks of both images, the new image, the yields, the locks.

#include <climits>
#include <cstring>
#include <stdexcept>

#include "core/Construction.h"
#include "core/Formats.h"
#include "filters/ApplyMatrix.h"
#include "filters/BoxBlur.h"
#include "filters/Canvas.h"
#include "filters/FractionalBlur.h"
#include "filters/RightAngle.h"

using namespace zor;

namespace {

struct NamedFilter {
    const char* name;
    REALobject (*run)(REALobject source, REALobject dest);
};

REALarray Identity() {
    return FakeHost::Current().NewArray({0, 0, 0, 0, 1, 0, 0, 0, 0});
}

const NamedFilter kFilters[] = {
    {"ApplyMatrix", [](REALobject s, REALobject d) { return PictureMatrix3(s, d, 3, Identity()); }},
    {"ApplyMatrix with delta", [](REALobject s, REALobject d) { return PictureMatrix4(s, d, 3, Identity(), 7); }},
    {"ApplyMatrix with scale", [](REALobject s, REALobject d) { return PictureMatrix5(s, d, 3, Identity(), 7, 0.5); }},
    {"BoxBlurFilter", [](REALobject s, REALobject d) { return BoxBlurFilter(s, d, 1.0, true, true); }},
    {"BoxBlurFilter with iterations",
     [](REALobject s, REALobject d) { return BoxBlurFilter2(s, d, 1.0, 1, true, true); }},
    {"BoxBlurFractionalFilter", [](REALobject s, REALobject d) { return BoxBlurFractionalFilter(s, d, 0.5); }},
    {"Rotate90slow", Rotate90},
    {"Rotate180", Rotate180},
    {"Rotate270slow", Rotate270},
    {"Rotate90", Rotate90fast},
    {"Rotate270", Rotate270fast},
};

class NeighbourFrame : public EngineTest {
protected:
    static void YieldAlways(ImageClassData* record) {
        record->YieldTicks = kPatientTicks;
        record->LastYieldTick = INT32_MIN / 2;
    }
    TestImage Noise(int format) {
        TestImage image = MakePlain(8, 8, format);
        FillWithNoise(image, random);
        return image;
    }
    Random random{1};
};

TEST_F(NeighbourFrame, RefusesASourceThatIsNotUsable) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage never(host.NewImage()), closed = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
        ImageDestructor(closed.object());
        const TestImage flat = ClipOf(Noise(ImageFormatRGB), 0, 20, 3, 3);
        for (const TestImage* const source : {&never, &closed, &flat}) {
            EXPECT_EQ(filter.run(source->object(), nullptr), nullptr);
            EXPECT_EQ(filter.run(source->object(), dest.object()), nullptr);
            EXPECT_EQ(host.Locks(dest.object()), 1);
            EXPECT_EQ(host.Locks(source->object()), 1);
        }
    }
}

TEST_F(NeighbourFrame, ReleasesADestinationThatIsNotUsable) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB), never(host.NewImage()), closed = Noise(ImageFormatRGB);
        ImageDestructor(closed.object());
        for (const TestImage* const dest : {&never, &closed}) {
            EXPECT_EQ(filter.run(source.object(), dest->object()), nullptr);
            EXPECT_EQ(host.Locks(dest->object()), 1);
        }
    }
}

TEST_F(NeighbourFrame, GivesNilWhereNoImageCanBeMade) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB);
        host.failNewInstance = 1;
        EXPECT_EQ(filter.run(source.object(), nullptr), nullptr);
        host.failNewInstance = 0;
        EXPECT_EQ(host.Locks(source.object()), 1);
    }
}

TEST_F(NeighbourFrame, AsksTheFactoryOfTheSourceForANewImage) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB);
        REALobject made = nullptr;
        const REALobject factory = host.NewFactory([&](int width, int height, int format) {
            made = MakePlain(width, height, format).release();
            return made;
        });
        source->Factory = factory;
        const TestImage result(filter.run(source.object(), nullptr));
        source->Factory = nullptr;
        REALUnlockObject(factory);
        EXPECT_NE(made, nullptr);
        EXPECT_EQ(result.object(), made);
    }
}

TEST_F(NeighbourFrame, YieldsOnceOnEitherImageAndNotInTheWalk) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
        YieldAlways(source.record());
        YieldAlways(dest.record());
        host.ClearLog();
        REALUnlockObject(filter.run(source.object(), dest.object()));
        EXPECT_EQ(host.Count("REALYieldToRB"), 2);
        source->YieldTicks = 0;
        dest->YieldTicks = -5;
        host.ClearLog();
        REALUnlockObject(filter.run(source.object(), dest.object()));
        EXPECT_EQ(host.Count("REALYieldToRB"), 0);
    }
}

TEST_F(NeighbourFrame, KeepsNoLockWhenTheHostUnwindsAYield) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        for (const bool inSource : {true, false}) {
            const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
            const Storage before = SnapshotOf(dest);
            YieldAlways(inSource ? source.record() : dest.record());
            host.onYield = [] { throw std::runtime_error("cancelled"); };
            EXPECT_THROW(filter.run(source.object(), dest.object()), std::runtime_error);
            host.onYield = nullptr;
            EXPECT_EQ(host.Locks(source.object()), 1);
            EXPECT_EQ(host.Locks(dest.object()), 1);
            EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
        }
    }
}

TEST_F(NeighbourFrame, WritesNothingWhereAnImageIsClosedDuringTheYield) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        for (const bool closesSource : {true, false}) {
            const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
            const Storage before = SnapshotOf(dest);
            YieldAlways(dest.record());
            host.onYield = [&] { ImageDestructor(closesSource ? source.object() : dest.object()); };
            const TestImage result(filter.run(source.object(), dest.object()));
            host.onYield = nullptr;
            EXPECT_EQ(result.object(), dest.object());
            if (closesSource) {
                EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
            }
        }
    }
}

TEST_F(NeighbourFrame, AViewWhoseSourceWasClosedWritesNothing) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        TestImage parent = Noise(ImageFormatRGB);
        REALLockObject(parent.object());
        const TestImage view = ClipOf(TestImage(parent.object()), 1, 1, 4, 4), dest = Noise(ImageFormatRGB);
        ImageDestructor(parent.object());
        const Storage before = SnapshotOf(dest);
        const TestImage result(filter.run(view.object(), dest.object()));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

TEST_F(NeighbourFrame, TheNewImageIsLikeTheSourceAfterItsYield) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB);
        YieldAlways(source.record());
        host.onYield = [&] {
            source->YieldTicks = 0;
            ImageConstructor(source.object(), 5, 7, ImageFormatBGRA);
        };
        const TestImage result(filter.run(source.object(), nullptr));
        host.onYield = nullptr;
        ASSERT_TRUE(result);
        EXPECT_EQ(result->Width * result->Height, 35);
        EXPECT_EQ(result->ImageFormat, ImageFormatBGRA);
    }
}

TEST_F(NeighbourFrame, AnEmptyViewChangesNothing) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage empty = ClipOf(Noise(ImageFormatRGB), 20, 0, 3, 3), dest = Noise(ImageFormatRGB);
        ASSERT_EQ(empty->Width, 0);
        const Storage before = SnapshotOf(dest);
        const TestImage result(filter.run(empty.object(), dest.object()));
        EXPECT_EQ(result.object(), dest.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
        EXPECT_EQ(filter.run(empty.object(), nullptr), nullptr) << "no image has no columns or no rows";
    }
}

// An application can say of a few bytes that they are any number of rows of no bytes. No work would come to an end
// there.
TEST_F(NeighbourFrame, AnImageThatHoldsNothingOfItsPixelsIsLeftAlone) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const REALobject block = host.NewBlock(16);
        const TestImage huge(host.NewImage());
        ImageConstructorMemory(huge.object(), block, INT_MAX, 1 << 30, ImageFormatRGB, 0);
        REALUnlockObject(block);
        ASSERT_TRUE(huge->Valid);
        std::memset(huge->Pixels, 77, 16);
        const TestImage inPlace(filter.run(huge.object(), huge.object()));
        EXPECT_EQ(inPlace.object(), huge.object());
        const TestImage source = Noise(ImageFormatRGB), into(filter.run(source.object(), huge.object()));
        EXPECT_EQ(into.object(), huge.object());
        for (int i = 0; i < 16; ++i) EXPECT_EQ(huge->Pixels[i], 77);
    }
}

}  // namespace
