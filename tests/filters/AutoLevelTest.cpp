#include "filters/AutoLevel.h"

#include <cmath>

#include "core/Construction.h"
#include "core/Formats.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class AutoLevelTest : public EngineTest {};

// The told steps on a copy of the storage. x, y, width, height are on the image already.
void LevelModel(const TestImage& image, Storage* storage, int x0, int y0, int width, int height) {
    const int offsets[3] = {image->RedOffset, image->GreenOffset, image->BlueOffset};
    int histogram[256] = {}, cumulative[256] = {};
    for (int y = y0; y < y0 + height; ++y) {
        for (int x = x0; x < x0 + width; ++x) {
            const std::int64_t at = PlaceOf(image, x, y);
            const int r = storage->At(at + offsets[0]), g = storage->At(at + offsets[1]),
                      b = storage->At(at + offsets[2]);
            ++histogram[static_cast<int>(0.177 * r + 0.813 * g + 0.01 * b)];
        }
    }
    int sum = 0;
    for (int i = 0; i < 256; ++i) cumulative[i] = sum += histogram[i];
    const float total = static_cast<float>(cumulative[255]);
    const float lowProduct = total * 0.005f, highProduct = total * 0.995f;
    int low = 0, high = 0;
    for (int i = 255; i > 0 && low == 0; --i) {
        if (cumulative[i] <= static_cast<int>(lowProduct)) low = i;
    }
    for (int i = 255; i > 0 && high == 0; --i) {
        if (cumulative[i] <= static_cast<int>(highProduct)) high = i;
    }
    for (int y = y0; y < y0 + height; ++y) {
        for (int x = x0; x < x0 + width; ++x) {
            const std::int64_t at = PlaceOf(image, x, y);
            int values[3];
            for (int c = 0; c < 3; ++c) {
                const int byte = storage->At(at + offsets[c]);
                if (byte < low) {
                    values[c] = 0;
                } else if (byte > high) {
                    values[c] = 255;
                } else if (high == low) {
                    values[c] = 0;
                } else {
                    values[c] = static_cast<int>(255.0 / (high - low) * (byte - low));
                }
            }
            for (int c = 0; c < 3; ++c) storage->Put(at + offsets[c], static_cast<std::uint8_t>(values[c]));
        }
    }
}

TEST_F(AutoLevelTest, UniformImageTurnsBlackButForWhatLiesAboveItsLevel) {
    // Luminance: 0.177 x 10 + 0.813 x 100 + 0.01 x 82 = 83.89. Both limits are the largest level without a pixel up to
    // it, 82.
    const TestImage image = MakePlain(8, 8, ImageFormatRGBA);
    FillPixels(image, {10, 100, 82, 7});
    EXPECT_TRUE(AutoLevel1(image.object()));
    EXPECT_EQ(PixelAt(image, 3, 3), (std::vector<int>{0, 255, 0, 7}));
}

TEST_F(AutoLevelTest, UniformBlackImageStaysBlack) {
    const TestImage image = MakePlain(8, 8, ImageFormatRGB);
    EXPECT_TRUE(AutoLevel1(image.object()));
    EXPECT_EQ(PixelAt(image, 0, 0), (std::vector<int>{0, 0, 0}));
}

TEST_F(AutoLevelTest, RefusesGrayAndCMYKAndImagesOfNoFamily) {
    Random random(1);
    for (const int format : AllFormats()) {
        const TestImage image = MakePlain(6, 6, format);
        FillWithNoise(image, random);
        const Storage before = SnapshotOf(image);
        EXPECT_EQ(AutoLevel1(image.object()) != 0, image->IsRGB);
        EXPECT_EQ(AutoLevel5(image.object(), 0, 0, 6, 6) != 0, image->IsRGB);
        if (!image->IsRGB) {
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        }
    }
}

TEST_F(AutoLevelTest, RefusesRectanglesBesideTheImage) {
    Random random(2);
    const TestImage image = MakePlain(10, 10, ImageFormatRGB);
    FillWithNoise(image, random);
    const Storage before = SnapshotOf(image);
    const int kBeside[][4] = {{10, 0, 5, 5},        {0, 10, 5, 5},  {-5, 0, 5, 5}, {0, -5, 5, 5},
                              {0, 0, 0, 5},         {0, 0, 5, 0},   {0, 0, -3, 5}, {INT32_MAX, 0, 9, 9},
                              {0, 0, 5, INT32_MIN}, {12, 3, -2, 4}, {3, 12, 4, -2}};
    for (const auto& [x, y, width, height] : kBeside) {
        EXPECT_FALSE(AutoLevel5(image.object(), x, y, width, height)) << x << "," << y << " " << width << "x" << height;
    }
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

TEST_F(AutoLevelTest, RefusesImagesWithoutPixels) {
    const TestImage never(host.NewImage());
    EXPECT_FALSE(AutoLevel1(never.object()));
    const TestImage closed = MakePlain(4, 4, ImageFormatRGB);
    ImageDestructor(closed.object());
    EXPECT_FALSE(AutoLevel5(closed.object(), 0, 0, 4, 4));
    EXPECT_FALSE(AutoLevel1(closed.object()));
}

TEST_F(AutoLevelTest, NegativeSizesExtendLeftAndUp) {
    Random random(3);
    const int kRectangles[][8] = {{10, 8, -4, -3, 6, 5, 4, 3},
                                  {-3, -2, 8, 6, 0, 0, 5, 4},
                                  {15, 12, 100, 100, 15, 12, 5, 4},
                                  {25, 9, -10, 4, 15, 9, 5, 4}};
    for (const auto& [x, y, width, height, x0, y0, w, h] : kRectangles) {
        const TestImage image = MakePlain(20, 16, ImageFormatBGRX);
        FillWithNoise(image, random);
        Storage expected = SnapshotOf(image);
        LevelModel(image, &expected, x0, y0, w, h);
        EXPECT_TRUE(AutoLevel5(image.object(), x, y, width, height));
        EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

TEST_F(AutoLevelTest, YieldsOnceAndAfterEachRowOfTheFirstPass) {
    const TestImage image = MakePlain(5, 9, ImageFormatRGB);
    int yields = 0;
    host.onYield = [&] { ++yields; };
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick = INT32_MIN / 2;
    static GetRowFunction plain;
    plain = image->GetRow;
    image->GetRow = [](ImageClassData* record, int y) {
        record->LastYieldTick = INT32_MIN / 2;  // every row makes the next yield due
        return plain(record, y);
    };
    EXPECT_TRUE(AutoLevel5(image.object(), 1, 2, 3, 4));
    EXPECT_EQ(yields, 1 + 4);
    host.onYield = nullptr;
}

TEST_F(AutoLevelTest, SurvivesBeingClosedDuringAYield) {
    const TestImage image = MakePlain(5, 9, ImageFormatRGB);
    image->YieldTicks = kPatientTicks;
    image->LastYieldTick = INT32_MIN / 2;
    host.onYield = [&] { ImageDestructor(image.object()); };
    EXPECT_TRUE(AutoLevel1(image.object()));
    host.onYield = nullptr;
}

TEST_F(AutoLevelTest, StretchesToTheFullRange) {
    // Levels 100 to 149, twenty pixels each: none may be cut off, so the limits are 99 and 148.
    const TestImage image = MakePlain(100, 10, ImageFormatRGB);
    Storage storage = SnapshotOf(image);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 100; ++x) {
            for (int c = 0; c < 3; ++c) storage.Put(PlaceOf(image, x, y) + c, static_cast<std::uint8_t>(100 + x / 2));
        }
    }
    SetStorage(image, storage);
    Storage expected = storage;
    LevelModel(image, &expected, 0, 0, 100, 10);
    EXPECT_TRUE(AutoLevel1(image.object()));
    EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    EXPECT_LE(PixelAt(image, 0, 0).front(), 10);
    EXPECT_EQ(PixelAt(image, 99, 0).front(), 255);
}

TEST_F(AutoLevelTest, AgreesWithTheModelOnRandomImages) {
    Random random(4);
    const TempDir directory;
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const int format = random.Pick(RGBFormats());
        TestImage image = RandomImage(random, directory, random.Between(1, 40), random.Between(1, 30), format);
        if (random.Chance(20)) image = ColoursOf(std::move(image));
        SCOPED_TRACE(image.text);
        // Few levels in some rounds, so that limits meet or lie far in.
        if (random.Chance(50)) {
            Storage storage = SnapshotOf(image);
            const int low = random.Between(0, 200), high = random.Between(low, 255);
            for (std::uint8_t& byte : storage.bytes) byte = static_cast<std::uint8_t>(random.Between(low, high));
            SetStorage(image, storage);
        }
        Storage expected = SnapshotOf(image);
        int x = 0, y = 0, width = image->Width, height = image->Height;
        if (random.Chance(60)) {
            x = random.Between(0, width - 1);
            y = random.Between(0, height - 1);
            width = random.Between(1, width - x);
            height = random.Between(1, height - y);
        }
        LevelModel(image, &expected, x, y, width, height);
        EXPECT_TRUE(AutoLevel5(image.object(), x, y, width, height));
        EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

// Of images of some size the limits are guessed from some rows first. A good guess, a bad one and limits at the ends of
// the scale come to the same.
TEST_F(AutoLevelTest, LargeImagesAgreeWithTheModel) {
    Random random(5);
    constexpr int kWidth = 300, kHeight = 288;
    const auto everySixthRow = [](int y, int inner, int other) { return y % 6 == 0 ? inner : other; };
    for (int kind = 0; kind < 9; ++kind) {
        SCOPED_TRACE(kind);
        const TestImage image = MakePlain(kWidth, kHeight, kind % 2 ? ImageFormatRGB : ImageFormatBGRA);
        Storage storage = SnapshotOf(image);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                for (int c = 0; c < image->PixelSize; ++c) {
                    const int noise = random.Between(0, 31);
                    const int values[] = {
                        40 + x / 3 + noise,                            // the rows of the guess are like the others
                        everySixthRow(y, 100, 60 + 2 * noise),         // unlike
                        everySixthRow(y, 60 + 2 * noise, 100),         // wider than the others
                        everySixthRow(y, 0, 255),                      // nothing between
                        7,                                             // one level
                        random.Between(0, 255),                        // all of them
                        random.Chance(50) ? 0 : random.Between(0, 7),  // at one end
                        random.Chance(50) ? 255 : random.Between(248, 255),  // at the other
                        random.Chance(99) ? 128 + noise : 3 * noise,         // a few outside
                    };
                    storage.Put(PlaceOf(image, x, y) + c, static_cast<std::uint8_t>(values[kind]));
                }
            }
        }
        SetStorage(image, storage);
        Storage expected = SnapshotOf(image);
        const int x = kind % 3, y = kind % 4, width = kWidth - 5, height = kHeight - 5;
        LevelModel(image, &expected, x, y, width, height);
        EXPECT_TRUE(AutoLevel5(image.object(), x, y, width, height));
        EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

TEST_F(AutoLevelTest, ThresholdsAreInSinglePrecision) {
    // 140001 x 0.995 is 139300.995, which single precision rounds to 139301: so many pixels may lie below the high
    // limit, which double precision would not allow.
    constexpr int kWidth = 46667, kHeight = 3, kDark = 139301;
    ASSERT_EQ(static_cast<int>(kWidth * kHeight * 0.995), kDark - 1);
    const TestImage image = MakePlain(kWidth, kHeight, ImageFormatRGB);
    Storage storage = SnapshotOf(image);
    int left = kDark;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x, --left) {
            for (int c = 0; c < 3; ++c) storage.Put(PlaceOf(image, x, y) + c, left > 0 ? 56 : 107);
        }
    }
    SetStorage(image, storage);
    EXPECT_TRUE(AutoLevel1(image.object()));
    // The limits are the levels below the dark pixels and below the bright ones, 51 apart.
    EXPECT_EQ(PixelAt(image, 0, 0), (std::vector<int>{5, 5, 5}));
    EXPECT_EQ(PixelAt(image, kWidth - 1, kHeight - 1), (std::vector<int>{255, 255, 255}));
}

}  // namespace
