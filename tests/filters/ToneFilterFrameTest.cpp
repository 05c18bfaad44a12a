// What the tone, dither and artistic filters share: the checks of both images, the new image, the yields, the locks.

#include <algorithm>
#include <stdexcept>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "filters/Curves.h"
#include "filters/DiffuseFilter.h"
#include "filters/DitherFilter.h"
#include "filters/EngraveFilter.h"
#include "filters/FilterModel.h"
#include "filters/GainFilter.h"
#include "filters/GammaFilter.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/SolarizeFilter.h"
#include "filters/StampFilter.h"
#include "filters/TransferFilter.h"

using namespace zor;

namespace {

struct NamedFilter {
    const char* name;
    REALobject (*run)(REALobject source, REALobject dest);
};

const NamedFilter kFilters[] = {
    {"GammaFilterG", [](REALobject s, REALobject d) { return GammaFilterG(s, d, 2.0); }},
    {"GammaFilterGA", [](REALobject s, REALobject d) { return GammaFilterGA(s, d, 2.0, 3.0); }},
    {"GammaFilterRGB", [](REALobject s, REALobject d) { return GammaFilterRGB(s, d, 2.0, 3.0, 4.0); }},
    {"GammaFilterRGBA", [](REALobject s, REALobject d) { return GammaFilterRGBA(s, d, 2.0, 3.0, 4.0, 5.0); }},
    {"TransferFilterG", [](REALobject s, REALobject d) { return TransferFilterG(s, d, nullptr); }},
    {"TransferFilterGA", [](REALobject s, REALobject d) { return TransferFilterGA(s, d, nullptr, nullptr); }},
    {"TransferFilterRGB",
     [](REALobject s, REALobject d) { return TransferFilterRGB(s, d, nullptr, nullptr, nullptr); }},
    {"TransferFilterRGBA",
     [](REALobject s, REALobject d) { return TransferFilterRGBA(s, d, nullptr, nullptr, nullptr, nullptr); }},
    {"GainFilter", [](REALobject s, REALobject d) { return GainFilter(s, d, 0.3, 0.6); }},
    {"SolarizeFilter", [](REALobject s, REALobject d) { return SolarizeFilter(s, d); }},
    {"DitherFilter", [](REALobject s, REALobject d) { return DitherFilter(s, d, 3, 4); }},
    {"OilFilter", [](REALobject s, REALobject d) { return OilFilter(s, d, 20, 2); }},
    {"DifuseFilter", [](REALobject s, REALobject d) { return DifuseFilter(s, d, 2); }},
    {"EngraveFilter", [](REALobject s, REALobject d) { return EngraveFilter(s, d, 1); }},
    {"NeonFilter", [](REALobject s, REALobject d) { return NeonFilter(s, d); }},
    {"StampFilter2", [](REALobject s, REALobject d) { return StampFilter2(s, d, 1.0, 0.5, 0.2, 0x000000, 0xffffff); }},
};

class ToneFilterFrame : public EngineTest {
protected:
    // A yield is due: the last one lies far back.
    static void YieldAlways(ImageClassData* record) {
        record->YieldTicks = kPatientTicks;
        record->LastYieldTick = INT32_MIN / 2;
    }
    // And is due again with every row that is taken, so that a yield in a walk cannot hide behind the clock.
    static void YieldWithEveryRow(ImageClassData* record) {
        YieldAlways(record);
        record->GetRow = [](ImageClassData* image, int y) {
            image->LastYieldTick = INT32_MIN / 2;
            return GetRowLinear(image, y);
        };
    }
    TestImage Noise(int format) {
        TestImage image = MakePlain(9, 7, format);
        FillWithNoise(image, random);
        return image;
    }
    Random random{1};
};

TEST_F(ToneFilterFrame, RefusesASourceThatIsNotUsable) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage never(host.NewImage());
        EXPECT_EQ(filter.run(never.object(), nullptr), nullptr);
        const TestImage closed = MakePlain(3, 3, ImageFormatRGB);
        const TestImage dest = MakePlain(3, 3, ImageFormatRGB);
        ImageDestructor(closed.object());
        EXPECT_EQ(filter.run(closed.object(), nullptr), nullptr);
        EXPECT_EQ(filter.run(closed.object(), dest.object()), nullptr);
        EXPECT_EQ(host.Locks(dest.object()), 1);
    }
}

TEST_F(ToneFilterFrame, ReleasesADestinationThatIsNotUsable) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB);
        const TestImage never(host.NewImage());
        EXPECT_EQ(filter.run(source.object(), never.object()), nullptr);
        EXPECT_EQ(host.Locks(never.object()), 1);
        const TestImage closed = MakePlain(3, 3, ImageFormatRGB);
        ImageDestructor(closed.object());
        EXPECT_EQ(filter.run(source.object(), closed.object()), nullptr);
        EXPECT_EQ(host.Locks(closed.object()), 1);
    }
}

TEST_F(ToneFilterFrame, GivesNilWhereNoImageCanBeMade) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB);
        host.failNewInstance = 1;
        EXPECT_EQ(filter.run(source.object(), nullptr), nullptr);
        host.failNewInstance = 0;
    }
}

TEST_F(ToneFilterFrame, YieldsOnceOnEitherImageAndNotInTheWalk) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
        YieldWithEveryRow(source.record());
        YieldWithEveryRow(dest.record());
        host.ClearLog();
        REALUnlockObject(filter.run(source.object(), dest.object()));
        EXPECT_EQ(host.Count("REALYieldToRB"), 2);
        source->YieldTicks = 0;
        dest->YieldTicks = 0;
        host.ClearLog();
        REALUnlockObject(filter.run(source.object(), dest.object()));
        EXPECT_EQ(host.Count("REALYieldToRB"), 0);
    }
}

TEST_F(ToneFilterFrame, KeepsNoLockWhenTheHostUnwindsAYield) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
        const Storage before = SnapshotOf(dest);
        YieldAlways(dest.record());
        host.onYield = [] { throw std::runtime_error("cancelled"); };
        EXPECT_THROW(filter.run(source.object(), dest.object()), std::runtime_error);
        host.onYield = nullptr;
        EXPECT_EQ(host.Locks(dest.object()), 1);
        EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
    }
}

TEST_F(ToneFilterFrame, WritesNothingWhereAnImageIsClosedDuringTheYield) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        for (const bool closesSource : {true, false}) {
            const TestImage source = Noise(ImageFormatRGB), dest = Noise(ImageFormatRGB);
            const Storage before = SnapshotOf(dest);
            YieldAlways(dest.record());
            host.onYield = [&] { ImageDestructor(closesSource ? source.object() : dest.object()); };
            const REALobject result = filter.run(source.object(), dest.object());
            host.onYield = nullptr;
            EXPECT_EQ(result, dest.object());
            if (result) REALUnlockObject(result);
            if (closesSource) {
                EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
            }
        }
    }
}

TEST_F(ToneFilterFrame, LeavesImagesOfNoFamilyAsTheyAre) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        for (const int format : {ImageFormatBuffer, ImageFormatScaling1, ImageFormatScaling3, ImageFormatScaling8}) {
            const TestImage source = Noise(format), dest = Noise(format);
            const Storage before = SnapshotOf(dest);
            REALUnlockObject(filter.run(source.object(), dest.object()));
            EXPECT_TRUE(SameStorage(before, SnapshotOf(dest), dest));
        }
    }
}

TEST_F(ToneFilterFrame, HandlesCMYKInOilNeonAndSolarizeOnly) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const std::string name = filter.name;
        const bool handled = name == "OilFilter" || name == "NeonFilter" || name == "SolarizeFilter";
        for (const int format : CMYKFormats()) {
            const TestImage source = Noise(format), dest = Noise(format);
            const Storage before = SnapshotOf(dest);
            const TestImage result(filter.run(source.object(), dest.object()));
            EXPECT_EQ(result.object(), dest.object());
            EXPECT_EQ(before.bytes != SnapshotOf(dest).bytes, handled);
        }
    }
}

TEST_F(ToneFilterFrame, NeverWritesPadBytes) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        for (const int format : {ImageFormatRGBX, ImageFormatXRGB, ImageFormatCMYKX, ImageFormat2of4}) {
            const TestImage source = Noise(format), dest = Noise(format);
            Storage expected = SnapshotOf(dest);
            REALUnlockObject(filter.run(source.object(), dest.object()));
            const Storage after = SnapshotOf(dest);
            for (int y = 0; y < dest->Height; ++y) {  // take over what the filter may write
                for (int x = 0; x < dest->Width; ++x) {
                    for (const ModelChannel& channel : ChannelsOfFamily(dest.record(), dest.record())) {
                        const std::int64_t at = PlaceOf(dest, x, y) + channel.to;
                        expected.Put(at, after.At(at));
                    }
                }
            }
            EXPECT_TRUE(SameStorage(expected, after, dest));
        }
    }
}

// An application can say of a few bytes that they are any number of rows of no bytes. No work would come to an end
// there.
TEST_F(ToneFilterFrame, AnImageThatHoldsNothingOfItsPixelsIsLeftAlone) {
    for (const NamedFilter& filter : kFilters) {
        SCOPED_TRACE(filter.name);
        const REALobject block = host.NewBlock(16);
        const TestImage huge(host.NewImage());
        ImageConstructorMemory(huge.object(), block, INT32_MAX, 1 << 30, ImageFormatRGBA, 0);
        REALUnlockObject(block);
        ASSERT_TRUE(huge->Valid);
        std::fill_n(huge->Pixels, 16, std::uint8_t{77});
        const TestImage inPlace(filter.run(huge.object(), huge.object()));
        const TestImage source = Noise(ImageFormatRGBA), into(filter.run(source.object(), huge.object()));
        for (int i = 0; i < 16; ++i) EXPECT_EQ(huge->Pixels[i], 77);
    }
}

}  // namespace
