// Mirroring and half turns in place.

#include "filters/Mirror.h"

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "filters/Canvas.h"

using namespace zor;

namespace {

class Mirror : public EngineTest {};

using Channels = std::vector<ModelChannel>;

void ModelOfHMirror(const Canvas& image, const Channels& channels) {
    for (int y = 0; y < image->Height; ++y) {
        for (int i = 0; i < image->Width / 2; ++i) {
            const int partner = image->Width - 1 - i;
            for (const ModelChannel& channel : channels) {
                const int left = image.Get(i, y, channel.from), right = image.Get(partner, y, channel.from);
                image.Put(i, y, channel.from, right);
                image.Put(partner, y, channel.from, left);
            }
        }
    }
}

// Through buffers of RowSize bytes, beyond which there is nothing.
void ModelOfExchange(const Canvas& image, const Channels& channels, bool turned) {
    const int width = image->Width, height = image->Height, rowSize = image->RowSize;
    const auto copy = [&](int y) {
        std::vector<int> bytes;
        for (int at = 0; at < rowSize; ++at) bytes.push_back(image.RowByte(y, at));
        return bytes;
    };
    const auto store = [&](int y, const std::vector<int>& bytes) {
        for (int i = 0; i < width; ++i) {
            for (const ModelChannel& channel : channels) {
                const int at = (turned ? width - 1 - i : i) * image->PixelSize + channel.from;
                image.Put(i, y, channel.from, at < rowSize ? bytes[static_cast<std::size_t>(at)] : 0);
            }
        }
    };
    for (int y = 0; y < height / 2; ++y) {
        const std::vector<int> top = copy(y), bottom = copy(height - 1 - y);
        store(y, bottom);
        store(height - 1 - y, top);
    }
}

TEST_F(Mirror, HMirrorAgreesWithItsModel) {
    CheckInPlaceOnRandomImages(541, 400, {"HMirror", HMirrorSelf, ModelOfHMirror});
}
TEST_F(Mirror, VMirrorAgreesWithItsModel) {
    CheckInPlaceOnRandomImages(542, 400, {"VMirror", VMirrorSelf, [](const Canvas& image, const Channels& channels) {
                                              ModelOfExchange(image, channels, false);
                                          }});
}
TEST_F(Mirror, Rotate180InPlaceAgreesWithItsModel) {
    CheckInPlaceOnRandomImages(543, 400,
                               {"Rotate180", Rotate180Self, [](const Canvas& image, const Channels& channels) {
                                    ModelOfExchange(image, channels, true);
                                }});
}

TestImage Numbered(int width, int height, int format = ImageFormatG) {
    TestImage image = MakePlain(width, height, format);
    PaintPixels(image, [](int x, int y, int c) { return 100 * c + 10 * y + x + 1; });
    return image;
}

std::vector<int> GrayRow(const TestImage& image, int y) {
    std::vector<int> row;
    for (int x = 0; x < image->Width; ++x) row.push_back(PixelAt(image, x, y)[0]);
    return row;
}

TEST_F(Mirror, HMirrorTurnsRowsRoundAndKeepsTheMiddleColumn) {
    const TestImage image = Numbered(5, 2);
    HMirrorSelf(image.object());
    EXPECT_EQ(GrayRow(image, 0), (std::vector<int>{5, 4, 3, 2, 1}));
    EXPECT_EQ(GrayRow(image, 1), (std::vector<int>{15, 14, 13, 12, 11}));
}

TEST_F(Mirror, HMirrorOfOneColumnChangesNothing) {
    for (const int format : AllFormats()) {
        Random random(7);
        const TestImage image = MakePlain(1, 9, format);
        FillWithNoise(image, random);
        const Storage before = SnapshotOf(image);
        HMirrorSelf(image.object());
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
    }
}

TEST_F(Mirror, EachTwiceRestoresTheImage) {
    Random random(8);
    const TempDir directory;
    for (void (*const mirror)(REALobject) : {HMirrorSelf, VMirrorSelf, Rotate180Self}) {
        for (const int format : AllFormats()) {
            const TestImage image =
                RandomImage(random, directory, random.Between(1, 20), random.Between(1, 20), format);
            const Storage before = SnapshotOf(image);
            mirror(image.object());
            mirror(image.object());
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image)) << image.text;
        }
    }
}

TEST_F(Mirror, VMirrorKeepsTheMiddleRowAndThePadBytes) {
    const TestImage image = Numbered(2, 3, ImageFormatXRGB);
    Storage expected = SnapshotOf(image);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 2; ++x) expected.Put(PlaceOf(image, x, y), static_cast<std::uint8_t>(200 + 10 * y + x));
        for (int at = 8; at < 64; ++at) expected.Put(PlaceOfRow(image, y) + at, static_cast<std::uint8_t>(y * 64 + at));
    }
    SetStorage(image, expected);
    for (int x = 0; x < 2; ++x) {
        for (int c = 1; c < 4; ++c) {
            const std::uint8_t top = expected.At(PlaceOf(image, x, 0) + c);
            expected.Put(PlaceOf(image, x, 0) + c, expected.At(PlaceOf(image, x, 2) + c));
            expected.Put(PlaceOf(image, x, 2) + c, top);
        }
    }
    VMirrorSelf(image.object());
    EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
}

TEST_F(Mirror, Rotate180InPlaceLeavesTheMiddleRowAsItWas) {
    const TestImage image = Numbered(3, 3);
    Rotate180Self(image.object());
    EXPECT_EQ(GrayRow(image, 0), (std::vector<int>{23, 22, 21}));
    EXPECT_EQ(GrayRow(image, 1), (std::vector<int>{11, 12, 13}));
    EXPECT_EQ(GrayRow(image, 2), (std::vector<int>{3, 2, 1}));
}

TEST_F(Mirror, Rotate180InPlaceOfOneRowChangesNothing) {
    const TestImage image = Numbered(4, 1);
    Rotate180Self(image.object());
    EXPECT_EQ(GrayRow(image, 0), (std::vector<int>{1, 2, 3, 4}));
}

struct InPlaceMethod {
    const char* name;
    void (*run)(REALobject);
    int (*yields)(int height);  // where ticks have passed at every one
};
const InPlaceMethod kMethods[] = {
    {"HMirror", HMirrorSelf, [](int height) { return 1 + height; }},
    {"VMirror", VMirrorSelf, [](int height) { return 1 + height / 2; }},
    {"Rotate180", Rotate180Self, [](int height) { return 1 + height / 2; }},
};

TEST_F(Mirror, LeavesUnusableImagesAlone) {
    for (const InPlaceMethod& method : kMethods) {
        const TestImage never(host.NewImage());
        method.run(never.object());
        TestImage closed = MakePlain(4, 4, ImageFormatRGB);
        ImageDestructor(closed.object());
        method.run(closed.object());
        TestImage empty = ClipOf(MakePlain(4, 4, ImageFormatRGB), 9, 0, 2, 2);
        EXPECT_EQ(empty->Width, 0);
        method.run(empty.object());
        TestImage outside = ClipOf(MakePlain(4, 4, ImageFormatRGB), 0, 9, 2, 2);
        EXPECT_EQ(outside->Height, 0);
        outside->YieldTicks = kPatientTicks;
        method.run(outside.object());
        EXPECT_EQ(host.Count("REALYieldToRB"), 0);
    }
}

// Rows that take so long to come that the next yield is due.
std::uint8_t* SlowRow(ImageClassData* record, int y) {
    record->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}
TestImage SlowImage(int height) {
    TestImage image = Numbered(3, height);
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick -= 1000;
    image->GetRow = SlowRow;
    return image;
}

TEST_F(Mirror, YieldsOnceAndThenAfterEachRowOrPair) {
    for (const InPlaceMethod& method : kMethods) {
        for (const int height : {1, 2, 7}) {
            const TestImage image = SlowImage(height);
            host.ClearLog();
            method.run(image.object());
            EXPECT_EQ(host.Count("REALYieldToRB"), method.yields(height)) << method.name << " of " << height;
        }
    }
}

TEST_F(Mirror, SurvivesAnImageThatIsClosedDuringAYield) {
    for (const InPlaceMethod& method : kMethods) {
        for (int after = 0; after < 4; ++after) {
            const TestImage image = SlowImage(9);
            int yields = 0;
            host.onYield = [&] {
                if (yields++ == after) ImageDestructor(image.object());
            };
            method.run(image.object());
            EXPECT_EQ(yields, after + 1) << method.name << ": a closed image has no slow rows any more";
        }
    }
}

TEST_F(Mirror, ReleasesItsBuffersWhenAYieldIsCancelled) {
    for (const InPlaceMethod& method : kMethods) {
        const TestImage image = SlowImage(9);
        int yields = 0;
        host.onYield = [&] {
            if (++yields == 3) throw 42;
        };
        EXPECT_THROW(method.run(image.object()), int) << method.name;
        EXPECT_EQ(yields, 3);
    }
}

}  // namespace
