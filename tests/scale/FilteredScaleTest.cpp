#include "scale/FilteredScale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "FailingAlloc.h"
#include "FakeClock.h"
#include "ReferenceScale.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/Views.h"
#include "host/HostCalls.h"
#include "scale/FanOut.h"

using namespace zor;

namespace {

constexpr int kNoTicks = 0;

class FilteredScale : public EngineTest {
protected:
    ~FilteredScale() override { gWorkerSystem = DefaultWorkerSystem(); }
    TempDir directory;
    Random random{11};
};

// Without threads: the plain form.
bool Scale(const TestImage& target, const TestImage& source, REALobject temp, int mode, int width, int height) {
    return PictureScaleZOR(target.object(), source.object(), temp, mode, width, height) != 0;
}
bool ScaleMT(const TestImage& target, int threads, const TestImage& source, REALobject temp, int mode, int width,
             int height) {
    return PictureScaleZORMT(target.object(), threads, source.object(), temp, mode, width, height) != 0;
}

// Both forms give false and leave the target alone.
void ExpectRefused(const TestImage& target, const TestImage& source, REALobject temp, int mode, int width, int height) {
    const Storage before = SnapshotOf(target);
    EXPECT_FALSE(Scale(target, source, temp, mode, width, height));
    EXPECT_FALSE(ScaleMT(target, 2, source, temp, mode, width, height));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(FilteredScale, RefusesModesThatDoNotExist) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGB), target = MakePlain(4, 4, ImageFormatRGB);
    FillWithNoise(source, random);
    for (const int mode : {0, 8, -1, 100}) ExpectRefused(target, source, nullptr, mode, 4, 4);
    const TestImage inFile = MakeInFile(directory, 4, 6, ImageFormatRGB, 5);
    ExpectRefused(inFile, source, nullptr, 8, 4, 4);
}

TEST_F(FilteredScale, RefusesSizesBelowOne) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGB), target = MakePlain(4, 4, ImageFormatRGB);
    for (const int size : {0, -1, -2147483647}) {
        ExpectRefused(target, source, nullptr, 3, size, 4);
        ExpectRefused(target, source, nullptr, 3, 4, size);
    }
}

TEST_F(FilteredScale, RefusesNilAndUnusableImages) {
    const TestImage source = MakePlain(4, 4, ImageFormatRGB), target = MakePlain(4, 4, ImageFormatRGB);
    const TestImage temp = MakePlain(4, 4, ImageFormatScaling4);
    EXPECT_FALSE(PictureScaleZOR(nullptr, source.object(), nullptr, 1, 4, 4));
    EXPECT_FALSE(PictureScaleZOR(target.object(), nullptr, nullptr, 1, 4, 4));
    EXPECT_FALSE(PictureScaleZORMT(nullptr, 1, source.object(), nullptr, 1, 4, 4));
    EXPECT_FALSE(PictureScaleZORMT(target.object(), 1, nullptr, nullptr, 1, 4, 4));
    for (const TestImage* image : {&source, &target, &temp}) {
        ImageClassData* const record = image->record();
        record->Valid = false;
        ExpectRefused(target, source, temp.object(), 1, 4, 4);
        record->Valid = true;
        const GetRowFunction getRow = record->GetRow;
        record->GetRow = nullptr;
        ExpectRefused(target, source, temp.object(), 1, 4, 4);
        record->GetRow = getRow;
        const int width = record->Width, height = record->Height;
        record->Width = -1;
        ExpectRefused(target, source, temp.object(), 1, 4, 4);
        record->Width = width;
        record->Height = 0;
        ExpectRefused(target, source, temp.object(), 1, 4, 4);
        record->Height = height;
    }
    EXPECT_TRUE(Scale(target, source, temp.object(), 1, 4, 4));
}

TEST_F(FilteredScale, RefusesConversionsThatDoNotExist) {
    const TestImage rgb = MakePlain(4, 4, ImageFormatRGBA), cmyk = MakePlain(4, 4, ImageFormatCMYKA);
    const TestImage buffer = MakePlain(4, 4, ImageFormatBuffer), gray = MakePlain(4, 4, ImageFormatG);
    for (int mode = 1; mode <= 7; ++mode) {
        ExpectRefused(cmyk, rgb, nullptr, mode, 4, 4);
        ExpectRefused(rgb, cmyk, nullptr, mode, 4, 4);
        ExpectRefused(rgb, buffer, nullptr, mode, 4, 4);
        ExpectRefused(buffer, gray, nullptr, mode, 4, 4);
    }
}

TEST_F(FilteredScale, CopiesAtTheSameSizeWithTheTriangle) {
    const TestImage source = MakePlain(17, 9, ImageFormatRGBA), target = MakePlain(17, 9, ImageFormatRGBA);
    FillWithNoise(source, random);
    ASSERT_TRUE(Scale(target, source, nullptr, 1, 17, 9));
    for (int y = 0; y < 9; ++y) {
        for (int i = 0; i < 17 * 4; ++i) {
            ASSERT_EQ(target->GetRow(target.record(), y)[i], source->GetRow(source.record(), y)[i]);
        }
    }
}

TEST_F(FilteredScale, KeepsAConstantImageButForTruncation) {
    for (int mode = 1; mode <= 7; ++mode) {
        const TestImage source = MakePlain(31, 23, ImageFormatG), target = MakePlain(20, 40, ImageFormatG);
        for (std::int64_t i = 0; i < source->TotalSize; ++i) source->Pixels[i] = 255;
        ASSERT_TRUE(Scale(target, source, nullptr, mode, 20, 40));
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 20; ++x) ASSERT_GE(target->GetRow(target.record(), y)[x], 253);
        }
    }
}

TEST_F(FilteredScale, IgnoresAlphaThatOnlyOneSideHas) {
    const TestImage source = MakePlain(6, 6, ImageFormatGA), target = MakePlain(6, 6, ImageFormatRGBX);
    FillWithNoise(source, random);
    FillWithNoise(target, random);
    const Storage before = SnapshotOf(target);
    ASSERT_TRUE(Scale(target, source, nullptr, 1, 6, 6));
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) {
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(target->GetRow(target.record(), y)[x * 4 + c], source->GetRow(source.record(), y)[x * 2]);
            }
            EXPECT_EQ(target->GetRow(target.record(), y)[x * 4 + 3], before.At(PlaceOf(target, x, y) + 3));
        }
    }
}

TEST_F(FilteredScale, ScalesAnImageIntoItself) {
    const TestImage source = MakePlain(20, 15, ImageFormatRGB), target = MakePlain(20, 15, ImageFormatRGB);
    FillWithNoise(source, random);
    SetStorage(target, SnapshotOf(source));
    ASSERT_TRUE(Scale(target, source, nullptr, 3, 12, 9));
    for (const int threads : {-1, 3}) {
        const TestImage image = MakePlain(20, 15, ImageFormatRGB);
        SetStorage(image, SnapshotOf(source));
        ASSERT_TRUE(ScaleMT(image, threads, image, nullptr, 3, 12, 9));
        EXPECT_TRUE(SameStorage(SnapshotOf(target), SnapshotOf(image), image));
    }
}

TEST_F(FilteredScale, WorksOnFilesFromTheCallingThreadAlone) {
    const TestImage inMemory = MakePlain(30, 20, ImageFormatRGB), expected = MakePlain(17, 11, ImageFormatRGB);
    const TestImage inFile = MakeInFile(directory, 30, 20, ImageFormatRGB, 5);
    FillWithNoise(inMemory, random);
    for (int y = 0; y < 20; ++y) {
        std::memcpy(inFile->GetRow(inFile.record(), y), inMemory->GetRow(inMemory.record(), y), 90);
    }
    ASSERT_TRUE(Scale(expected, inMemory, nullptr, 3, 17, 11));
    gWorkerSystem.createThread = [](pthread_t*, void* (*)(void*), void*) -> int {
        ADD_FAILURE() << "a worker on a file";
        return EAGAIN;
    };
    const TestImage target = MakePlain(17, 11, ImageFormatRGB);
    ASSERT_TRUE(ScaleMT(target, 4, inFile, nullptr, 3, 17, 11));
    EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target));
    const TestImage tempInFile = MakeInFile(directory, 17, 20, ImageFormatScaling4, 5);
    const TestImage other = MakePlain(17, 11, ImageFormatRGB);
    ASSERT_TRUE(ScaleMT(other, 4, inMemory, tempInFile.object(), 3, 17, 11));
    EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(other), other));
}

// --- the temporary image --------------------------------------------------------------------------------------------

// A factory on the source, for as long as this lives.
struct FactoryOn {
    REALobject factory;
    ImageClassData* record;
    FactoryOn(const TestImage& source, FakeHost::NewPictureEvent event)
        : factory(FakeHost::Current().NewFactory(std::move(event))), record(source.record()) {
        record->Factory = factory;
    }
    FactoryOn(const FactoryOn&) = delete;
    FactoryOn& operator=(const FactoryOn&) = delete;
    ~FactoryOn() {
        record->Factory = nullptr;
        REALUnlockObject(factory);
    }
};

TEST_F(FilteredScale, AsksTheFactoryOfTheSourceForTheTemporaryImage) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const TestImage expected = MakePlain(5, 6, ImageFormatRGB);
    FillWithNoise(source, random);
    ASSERT_TRUE(Scale(expected, source, nullptr, 3, 5, 6));
    std::string asked;
    const FactoryOn factory(source, [&](int width, int height, int format) {
        asked += std::to_string(width) + "x" + std::to_string(height) + " " + std::to_string(format) + " ";
        return MakePlain(width, height, format).release();
    });
    ASSERT_TRUE(Scale(target, source, nullptr, 3, 5, 6));
    EXPECT_EQ(asked, "5x7 36 ");
    EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target));
}

TEST_F(FilteredScale, UsesATemporaryImageThatIsLargerThanAskedFor) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    FillWithNoise(source, random);
    TestImage larger = MakePlain(20, 30, ImageFormatScaling4);
    FillWithNoise(larger, random);
    Model model;
    const ModelImage target_ = model.Of(target), source_ = model.Of(source), temp_ = model.Of(larger);
    int asked = 0;
    const FactoryOn factory(source, [&](int, int, int) {
        ++asked;
        REALLockObject(larger.object());
        return larger.object();
    });
    ASSERT_TRUE(Scale(target, source, nullptr, 4, 5, 6));
    EXPECT_EQ(asked, 1);
    ASSERT_TRUE(reference::Scale(target_, source_, temp_, 4, 5, 6));
    EXPECT_EQ(model.Difference(), "");  // its further rows are part of the picture
}

TEST_F(FilteredScale, RefusesATemporaryImageInAFileFromAFactory) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    int asked = 0;
    const FactoryOn factory(source, [&](int width, int height, int format) {
        ++asked;
        return MakeInFile(directory, width, height, format, 5).release();
    });
    const Storage before = SnapshotOf(target);
    EXPECT_FALSE(Scale(target, source, nullptr, 3, 5, 6));
    EXPECT_FALSE(ScaleMT(target, 2, source, nullptr, 3, 5, 6));
    EXPECT_EQ(asked, 2);  // and is not asked again
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(FilteredScale, AsksAgainAfterAnotherFormatButNotForEver) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const TestImage expected = MakePlain(5, 6, ImageFormatRGB);
    FillWithNoise(source, random);
    ASSERT_TRUE(Scale(expected, source, nullptr, 3, 5, 6));
    int asked = 0, rightFrom = 0;
    const FactoryOn factory(source, [&](int width, int height, int format) {
        return MakePlain(width, height, ++asked >= rightFrom ? format : ImageFormatG).release();
    });
    for (const bool threaded : {false, true}) {
        for (const int rounds : {2, 16, 17}) {
            asked = 0;
            rightFrom = rounds;
            host.ClearLog();
            const TestImage image = MakePlain(5, 6, ImageFormatRGB);
            const bool done =
                threaded ? ScaleMT(image, 2, source, nullptr, 3, 5, 6) : Scale(image, source, nullptr, 3, 5, 6);
            EXPECT_EQ(done, rounds <= 16);
            EXPECT_EQ(asked, std::min(rounds, 16));
            EXPECT_EQ(host.Count("REALYieldToRB"), 0);  // the later rounds run without threads
            if (done) {
                EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(image), image));
            }
        }
    }
}

TEST_F(FilteredScale, FailsWithoutATemporaryImage) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const Storage before = SnapshotOf(target);
    host.failNewInstance = 1;
    EXPECT_FALSE(Scale(target, source, nullptr, 3, 5, 6));
    EXPECT_FALSE(Scale(target, source, nullptr, 3, 2147483647, 6));  // more than an image can hold
    host.TakeException();
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(FilteredScale, NeitherLocksNorReleasesASuppliedTemporaryImage) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const TestImage temp = MakePlain(5, 7, ImageFormatRGB);
    host.ClearLog();
    ASSERT_TRUE(Scale(target, source, temp.object(), 3, 5, 6));
    EXPECT_EQ(host.Locks(temp.object()), 1);
    EXPECT_EQ(host.Count("REALLockObject"), 0);
    EXPECT_EQ(host.Count("PluginNewInstance"), 0);
}

// --- turns ----------------------------------------------------------------------------------------------------------

TEST_F(FilteredScale, YieldsAtItsChecksAndOnTheTargetAfterEachListAndRow) {
    const FakeClock clock;
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const TestImage temp = MakePlain(5, 7, ImageFormatScaling4);
    const auto turns = [&](int threads) {
        host.ClearLog();
        EXPECT_TRUE(threads < -1 ? Scale(target, source, temp.object(), 3, 5, 6)
                                 : ScaleMT(target, threads, source, temp.object(), 3, 5, 6));
        return host.Count("REALYieldToRB");
    };
    EXPECT_EQ(turns(-2), 0);
    EXPECT_EQ(turns(-1), 0);
    source->YieldTicks = 1;
    EXPECT_EQ(turns(-2), 1);
    EXPECT_EQ(turns(-1), 1);
    temp->YieldTicks = 1;
    EXPECT_EQ(turns(-2), 2);
    EXPECT_EQ(turns(-1), 2);
    target->YieldTicks = 1;
    EXPECT_EQ(turns(-2), 3 + 5 + 7 + 6 + 6);
    EXPECT_EQ(turns(-1), 3);     // the threaded form has no turns of its own
    EXPECT_GE(turns(2), 3 + 2);  // but those of the fan-out, one at least per pass
    source->YieldTicks = target->YieldTicks = temp->YieldTicks = kNoTicks;
}

TEST_F(FilteredScale, GivesTheSameResultWithTurnsAsWithout) {
    const FakeClock clock;
    for (int mode = 1; mode <= 7; ++mode) {
        const TestImage source = MakePlain(23, 17, ImageFormatCMYKA);
        const TestImage expected = MakePlain(11, 29, ImageFormatCMYKA), target = MakePlain(11, 29, ImageFormatCMYKA);
        FillWithNoise(source, random);
        ASSERT_TRUE(Scale(expected, source, nullptr, mode, 11, 29));
        target->YieldTicks = 1;
        ASSERT_TRUE(Scale(target, source, nullptr, mode, 11, 29));
        EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target));
    }
}

TEST_F(FilteredScale, SurvivesImagesThatChangeDuringAYield) {
    const FakeClock clock;
    for (int turn = 1; turn <= 27; ++turn) {
        for (int what = 0; what < 7; ++what) {
            const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
            const TestImage temp = MakePlain(5, 7, ImageFormatScaling4);
            source->YieldTicks = target->YieldTicks = temp->YieldTicks = 1;
            int turns = 0;
            host.onYield = [&] {
                if (++turns != turn) return;
                if (what == 0) ImageDestructor(source.object());
                if (what == 1) ImageDestructor(target.object());
                if (what == 2) ImageDestructor(temp.object());
                if (what == 3) ImageConstructor(source.object(), 1, 1, ImageFormatG);
                if (what == 4) ImageConstructor(target.object(), 2, 1, ImageFormatCMYKA);
                if (what == 5) ImageConstructor(temp.object(), 1, 1, ImageFormatG);
                if (what == 6) ImageConstructor(source.object(), 90, 90, ImageFormatCMYKA);
            };
            Scale(target, source, temp.object(), 3, 5, 6);
            EXPECT_GE(turns, std::min(turn, 2)) << "turn " << turn << " what " << what;
            host.onYield = nullptr;
        }
    }
}

// The application has its turns on the calling thread while workers are at the pixels.
TEST_F(FilteredScale, OnThreadsGoesOnWithAnImageThatIsClosedMeanwhile) {
    const auto close = [](const TestImage& image) { ImageDestructor(image.object()); };
    const auto rebuild = [](const TestImage& image) { ImageConstructor(image.object(), 3, 3, ImageFormatG); };
    for (int what = 0; what < 6; ++what) {
        const TestImage source = MakePlain(400, 300, ImageFormatRGB), target = MakePlain(200, 150, ImageFormatRGB);
        const TestImage temp = MakePlain(200, 300, ImageFormatScaling4), expected = MakePlain(200, 150, ImageFormatRGB);
        const TestImage view(ClipImage1(source.object()));
        FillWithNoise(source, random);
        ASSERT_TRUE(Scale(expected, source, nullptr, 3, 200, 150));
        int turns = 0;
        host.onYield = [&] {
            if (++turns != 1) return;
            if (what < 2) (what == 0 ? close : rebuild)(source);
            if (what == 2 || what == 3) (what == 2 ? close : rebuild)(temp);
            if (what == 4 || what == 5) (what == 4 ? close : rebuild)(target);
        };
        EXPECT_TRUE(ScaleMT(target, 2, what < 1 ? view : source, temp.object(), 3, 200, 150)) << what;
        host.onYield = nullptr;
        EXPECT_GE(turns, 2);
        if (what < 2) {
            EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target)) << what;
        }
    }
}

TEST_F(FilteredScale, ReleasesEverythingWhenTheHostCancels) {
    const FakeClock clock;
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    source->YieldTicks = target->YieldTicks = 1;
    const std::size_t before = host.LiveObjects();
    for (int turn = 1; turn <= 26; ++turn) {
        int turns = 0;
        host.onYield = [&] {
            if (++turns == turn) throw std::runtime_error("cancelled");
        };
        EXPECT_THROW(Scale(target, source, nullptr, 3, 5, 6), std::runtime_error);
        EXPECT_EQ(host.LiveObjects(), before);
    }
    target->YieldTicks = source->YieldTicks = 0;
    for (int turn = 1; turn <= 2; ++turn) {
        int turns = 0;
        host.onYield = [&] {
            if (++turns == turn) throw std::runtime_error("cancelled");
        };
        EXPECT_THROW(ScaleMT(target, 2, source, nullptr, 3, 5, 6), std::runtime_error);
        EXPECT_EQ(host.LiveObjects(), before);
    }
}

// --- threads and memory ---------------------------------------------------------------------------------------------

std::vector<std::string>* names = nullptr;

TEST_F(FilteredScale, NamesTheCallingThreadOnlyForBandsWithoutAThread) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), target = MakePlain(5, 6, ImageFormatRGB);
    const TestImage expected = MakePlain(5, 6, ImageFormatRGB);
    FillWithNoise(source, random);
    std::vector<std::string> given;
    names = &given;
    gWorkerSystem.setThreadName = [](const char* name) { names->push_back(name); };
    ASSERT_TRUE(ScaleMT(expected, 3, source, nullptr, 3, 5, 6));
    ASSERT_TRUE(ScaleMT(target, -1, source, nullptr, 3, 5, 6));
    EXPECT_TRUE(given.empty());
    gWorkerSystem.createThread = [](pthread_t*, void* (*)(void*), void*) { return EAGAIN; };
    ASSERT_TRUE(ScaleMT(target, 3, source, nullptr, 3, 5, 6));
    const std::vector<std::string> all = {"PictureScale Horizontal 0", "PictureScale Horizontal 1",
                                          "PictureScale Horizontal 2", "PictureScale Vertical 0",
                                          "PictureScale Vertical 1",   "PictureScale Vertical 2"};
    EXPECT_EQ(given, all);
    EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target));
    names = nullptr;
}

TEST_F(FilteredScale, DoesAllRowsInTheLastBandIfThereAreMoreThreads) {
    const TestImage source = MakePlain(10, 3, ImageFormatRGB);
    const TestImage expected = MakePlain(5, 2, ImageFormatRGB), target = MakePlain(5, 2, ImageFormatRGB);
    FillWithNoise(source, random);
    ASSERT_TRUE(Scale(expected, source, nullptr, 5, 5, 2));
    ASSERT_TRUE(ScaleMT(target, 8, source, nullptr, 5, 5, 2));
    EXPECT_TRUE(SameStorage(SnapshotOf(expected), SnapshotOf(target), target));
}

// Every allocation of a call fails once. Tables that cannot be had mean false and an untouched target; lists without
// memory turn black and bands without memory leave the target as it was, and the answer is still true.
TEST_F(FilteredScale, EndsInOrderWhateverAllocationFails) {
    const TestImage source = MakePlain(10, 7, ImageFormatRGB), temp = MakePlain(5, 7, ImageFormatScaling4);
    FillWithNoise(source, random);
    for (const int threads : {-2, -1, 2}) {
        bool happened = true;
        int refused = 0;
        for (int passed = 0; happened; ++passed) {
            const TestImage target = MakePlain(5, 9, ImageFormatRGB);
            FillWithNoise(target, random);
            const Storage before = SnapshotOf(target);
            bool done = false;
            {
                const FailingAlloc fail(passed);
                done = threads < -1 ? Scale(target, source, temp.object(), 3, 5, 9)
                                    : ScaleMT(target, threads, source, temp.object(), 3, 5, 9);
                happened = fail.happened();
            }
            if (!done) {
                ++refused;
                EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
            }
            ASSERT_LT(passed, 200);
        }
        EXPECT_EQ(refused, 1);  // the array of lists, made once for both passes
    }
}

TEST_F(FilteredScale, LeavesColumnsWithoutMemoryBlack) {
    const TestImage source = MakePlain(10, 7, ImageFormatG), target = MakePlain(5, 9, ImageFormatG);
    const TestImage temp = MakePlain(5, 7, ImageFormatScaling1);
    for (std::int64_t i = 0; i < source->TotalSize; ++i) source->Pixels[i] = 255;
    const FailingAlloc fail(1 + 2);  // the array, then the lists of columns 0 and 1
    ASSERT_TRUE(Scale(target, source, temp.object(), 1, 5, 9));
    for (int x = 0; x < 5; ++x) EXPECT_EQ(target->GetRow(target.record(), 4)[x] > 250, x != 2);
}

TEST_F(FilteredScale, SkipsAPassWithoutMemoryForItsBands) {
    const TestImage source = MakePlain(4, 4, ImageFormatG), target = MakePlain(4, 4, ImageFormatG);
    const TestImage temp = MakePlain(4, 4, ImageFormatScaling1);
    for (std::int64_t i = 0; i < source->TotalSize; ++i) source->Pixels[i] = 255;
    for (int y = 0; y < 4; ++y) temp->GetRow(temp.record(), y)[0] = static_cast<std::uint8_t>(50 + y);
    const FailingAlloc fail(1 + 4 + 6 + 2);  // the array, four lists, six for the fast table, two pins
    ASSERT_TRUE(ScaleMT(target, 2, source, temp.object(), 1, 4, 4));
    ASSERT_TRUE(fail.happened());
    for (int y = 0; y < 4; ++y) EXPECT_EQ(target->GetRow(target.record(), y)[0], 50 + y);  // what temp held
}

}  // namespace
