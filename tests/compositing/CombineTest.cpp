// Which of its four operations Combine chooses, what it refuses, and when it gives the host a turn.

#include "compositing/Combine.h"

#include <climits>
#include <set>

#include "compositing/CombineModel.h"
#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "exchange/CopyPixels.h"

using namespace zor;

namespace {

class Combine : public EngineTest {
protected:
    Random random{17};
    TempDir directory;

    TestImage Noise(int width, int height, int format) {
        TestImage image = MakePlain(width, height, format);
        FillWithNoise(image, random);
        return image;
    }
    static CombineCall Whole(const TestImage& target, const TestImage& image) {
        return {.target = &target, .image = &image, .width = image->Width, .height = image->Height};
    }
};

// --- dispatch -------------------------------------------------------------------------------------------------------

TEST_F(Combine, GivesFalseForNilDestinationOrImage) {
    const TestImage image = Noise(3, 3, ImageFormatRGB);
    const Storage before = SnapshotOf(image);
    EXPECT_FALSE(PictureCombine3(nullptr, image.object(), nullptr, 0, 0, 0, 0, 3, 3, 0));
    EXPECT_FALSE(PictureCombine3(image.object(), nullptr, nullptr, 0, 0, 0, 0, 3, 3, 0));
    EXPECT_FALSE(PictureCombine3(image.object(), nullptr, image.object(), 0, 0, 0, 0, 3, 3, 0));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

TEST_F(Combine, GivesFalseForASizeBelowOneWhateverIsGiven) {
    const TestImage target = Noise(4, 4, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    const TestImage mask = Noise(4, 4, ImageFormatG);
    const CombineWorld before({&target, &image, &mask});
    for (const TestImage* with : {&mask, static_cast<const TestImage*>(nullptr)}) {
        for (const int colour : {-1, 0x102030}) {
            for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, -4}, {INT_MIN, INT_MIN}}) {
                CombineCall call = Whole(target, image);
                call.mask = with;
                call.destX = call.destY = 4;  // a negative size would reach into the image
                call.width = width;
                call.height = height;
                call.maskColour = colour;
                EXPECT_FALSE(CallCombine(call)) << call.Text();
            }
        }
    }
    EXPECT_TRUE(before.IsTrue());
}

TEST_F(Combine, WithoutMaskAndColoursIsAPlainCopy) {
    for (const bool flag : {false, true}) {  // neither of the flags is looked at
        for (const int format : {ImageFormatRGBA, ImageFormatBGR, ImageFormatG, ImageFormatGA}) {
            const TestImage image = Noise(6, 5, ImageFormatRGBA);
            const TestImage target = Noise(7, 6, format), copied = MakePlain(7, 6, format);
            SetStorage(copied, SnapshotOf(target));
            EXPECT_TRUE(
                PictureCombine1pm(target.object(), image.object(), flag, nullptr, 1, 2, 0, 1, 3, 4, flag, -1, -1));
            EXPECT_TRUE(rbCopyPixels8(copied.object(), image.object(), 1, 2, 3, 4, 0, 1));
            EXPECT_TRUE(SameStorage(SnapshotOf(copied), SnapshotOf(target), target));
        }
    }
}

TEST_F(Combine, GivesFalseForACopyThatCopyPixelsRefuses) {
    const TestImage target = Noise(4, 4, ImageFormatCMYK), image = Noise(4, 4, ImageFormatRGB);
    const Storage before = SnapshotOf(target);
    EXPECT_FALSE(PictureCombine1(target.object(), image.object(), nullptr, 0, 0, 0, 0, 4, 4, 1, -1, -1));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(Combine, WithAMaskDoesNotLookAtColours) {
    const TestImage image = Noise(5, 4, ImageFormatRGB), mask = Noise(5, 4, ImageFormatG);
    for (const int fore : {-1, 0, 0x123456}) {
        for (const int maskColour : {-1, 0, 0x654321}) {
            const TestImage target = Noise(5, 4, ImageFormatRGBA);
            CombineCall call = Whole(target, image);
            call.mask = &mask;
            call.useColours = fore >= 0;
            call.foreColour = fore;
            call.maskColour = maskColour;
            EXPECT_TRUE(CombineAgreesWithModel(call));
        }
    }
}

TEST_F(Combine, WithAMaskColourDoesNotLookAtTheForeColour) {
    const TestImage image = Noise(5, 4, ImageFormatRGB);
    const TestImage one = Noise(5, 4, ImageFormatRGB), two = MakePlain(5, 4, ImageFormatRGB);
    SetStorage(two, SnapshotOf(one));
    EXPECT_TRUE(PictureCombine1(one.object(), image.object(), nullptr, 0, 0, 0, 0, 5, 4, 1, -1, 0x204060));
    EXPECT_TRUE(PictureCombine1(two.object(), image.object(), nullptr, 0, 0, 0, 0, 5, 4, 1, 0xABCDEF, 0x204060));
    EXPECT_TRUE(SameStorage(SnapshotOf(one), SnapshotOf(two), two));
}

TEST_F(Combine, WithOnlyAForeColourDoesNotLookAtUseColours) {
    const TestImage image = Noise(5, 4, ImageFormatG);
    for (const bool useColours : {false, true}) {
        const TestImage target = Noise(5, 4, ImageFormatRGB);
        CombineCall call = Whole(target, image);
        call.useColours = useColours;
        call.foreColour = 0x80FF01;
        EXPECT_TRUE(CombineAgreesWithModel(call));
    }
}

TEST_F(Combine, IgnoresTheTopByteOfColours) {
    const TestImage image = Noise(5, 4, ImageFormatG);
    for (const int top : {0, 0x7F000000}) {
        const TestImage target = MakePlain(5, 4, ImageFormatRGB);
        EXPECT_TRUE(PictureCombine2(target.object(), image.object(), nullptr, 0, 0, 0, 0, 5, 4, 1, top | 0x102030));
        EXPECT_EQ(SampleOf(target, "red", 2, 2), 0x10 * (255 - SampleOf(image, "gray", 2, 2)) / 255);
        EXPECT_EQ(SampleOf(target, "blue", 2, 2), 0x30 * (255 - SampleOf(image, "gray", 2, 2)) / 255);
    }
}

// --- the six functions ----------------------------------------------------------------------------------------------

TEST_F(Combine, ShorterFormsForwardToTheLongest) {
    constexpr int kFore = 0x4080C0, kMaskColour = 0x0F1E2D;
    struct Form {
        const char* name;
        bool preMultiplied;
        int fore, maskColour;
        std::function<REALboolean(REALobject, REALobject, REALobject)> call;
    };
    const Form forms[] = {
        {"PictureCombine1", false, kFore, kMaskColour,
         [](auto o, auto i, auto m) { return PictureCombine1(o, i, m, 1, 2, 0, 1, 3, 4, 1, kFore, kMaskColour); }},
        {"PictureCombine2", false, kFore, -1,
         [](auto o, auto i, auto m) { return PictureCombine2(o, i, m, 1, 2, 0, 1, 3, 4, 1, kFore); }},
        {"PictureCombine3", false, -1, -1,
         [](auto o, auto i, auto m) { return PictureCombine3(o, i, m, 1, 2, 0, 1, 3, 4, 1); }},
        {"PictureCombine1pm", true, kFore, kMaskColour,
         [](auto o, auto i, auto m) { return PictureCombine1pm(o, i, 1, m, 1, 2, 0, 1, 3, 4, 1, kFore, kMaskColour); }},
        {"PictureCombine2pm", true, kFore, -1,
         [](auto o, auto i, auto m) { return PictureCombine2pm(o, i, 1, m, 1, 2, 0, 1, 3, 4, 1, kFore); }},
        {"PictureCombine3pm", true, -1, -1,
         [](auto o, auto i, auto m) { return PictureCombine3pm(o, i, 1, m, 1, 2, 0, 1, 3, 4, 1); }},
    };
    const TestImage image = Noise(5, 6, ImageFormatRGBA), mask = Noise(5, 6, ImageFormatG);
    for (const Form& form : forms) {
        for (const TestImage* with : {&mask, static_cast<const TestImage*>(nullptr)}) {
            SCOPED_TRACE(std::string(form.name) + (with ? " with mask" : " without mask"));
            const TestImage short_ = Noise(7, 7, ImageFormatRGBA), long_ = MakePlain(7, 7, ImageFormatRGBA);
            SetStorage(long_, SnapshotOf(short_));
            const REALobject maskObject = with ? with->object() : nullptr;
            EXPECT_TRUE(form.call(short_.object(), image.object(), maskObject));
            EXPECT_TRUE(PictureCombine1pm(long_.object(), image.object(), form.preMultiplied, maskObject, 1, 2, 0, 1, 3,
                                          4, 1, form.fore, form.maskColour));
            EXPECT_TRUE(SameStorage(SnapshotOf(long_), SnapshotOf(short_), short_));
        }
    }
}

// --- refusals -------------------------------------------------------------------------------------------------------

// The operations that do not copy: by mask, by mask colour, by fore colour; plain and premultiplied.
std::vector<CombineCall> AllOperations(const CombineCall& base, const TestImage& mask) {
    std::vector<CombineCall> calls;
    for (const bool preMultiplied : {false, true}) {
        CombineCall call = base;
        call.preMultiplied = preMultiplied;
        call.mask = &mask;
        calls.push_back(call);
        call.mask = nullptr;
        call.useColours = true;
        call.maskColour = 0x3C96F0;
        calls.push_back(call);
        call.maskColour = -1;
        call.foreColour = 0x3C96F0;
        calls.push_back(call);
    }
    return calls;
}

TEST_F(Combine, RefusesImagesThatCannotBeWorkedOn) {
    const std::pair<const char*, std::function<void(TestImage&)>> ruins[] = {
        {"closed", [](TestImage& image) { ImageDestructor(image.object()); }},
        {"not valid", [](TestImage& image) { image->Valid = false; }},
        {"no rows", [](TestImage& image) { image->GetRow = nullptr; }},
        {"negative width", [](TestImage& image) { image->Width = -1; }},
        {"height 0", [](TestImage& image) { image->Height = 0; }},
    };
    for (const auto& [what, ruin] : ruins) {
        for (const bool ruinTarget : {true, false}) {
            SCOPED_TRACE(std::string(what) + (ruinTarget ? " target" : " image"));
            TestImage target = Noise(4, 4, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
            TestImage mask = Noise(4, 4, ImageFormatG);
            const CombineCall call = Whole(target, image);
            ruin(ruinTarget ? target : image);
            mask->Width = image->Width;  // not what it is refused for
            mask->Height = image->Height;
            const TestImage& intact = ruinTarget ? image : target;
            const Storage before = SnapshotOf(intact);
            for (const CombineCall& one : AllOperations(call, mask)) EXPECT_FALSE(CallCombine(one)) << one.Text();
            EXPECT_TRUE(SameStorage(before, SnapshotOf(intact), intact));
        }
    }
}

TEST_F(Combine, RefusesFormatsThatDoNotExist) {
    for (const int format : {0, 14, -1, 41}) {
        const REALobject object = host.NewImage();
        ImageConstructor(object, 4, 4, format);
        const TestImage broken(object, "format " + std::to_string(format));
        const TestImage good = Noise(4, 4, ImageFormatRGB), mask = Noise(4, 4, ImageFormatG);
        const CombineWorld before({&good, &mask});
        CombineCall call{.target = &good, .image = &broken, .width = 4, .height = 4};
        for (const CombineCall& one : AllOperations(call, mask)) EXPECT_FALSE(CallCombine(one));
        call.target = &broken;
        call.image = &good;
        for (const CombineCall& one : AllOperations(call, mask)) EXPECT_FALSE(CallCombine(one));
        call = {.target = &good, .image = &good, .mask = &broken, .width = 4, .height = 4};
        EXPECT_FALSE(CallCombine(call));
        EXPECT_TRUE(before.IsTrue());
    }
}

TEST_F(Combine, RefusesAMaskThatIsNotValid) {
    const TestImage target = Noise(4, 4, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    TestImage mask = Noise(4, 4, ImageFormatG);
    mask->Valid = false;
    CombineCall call = Whole(target, image);
    call.mask = &mask;
    const Storage before = SnapshotOf(target);
    EXPECT_FALSE(CallCombine(call));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(Combine, RefusesAMaskOfAnotherSizeThanTheImageWhateverTheRectangle) {
    const TestImage target = Noise(9, 9, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    const CombineWorld before({&target, &image});
    for (const auto& [width, height] : {std::pair{5, 4}, {3, 4}, {4, 5}, {4, 3}, {9, 9}}) {
        const TestImage mask = Noise(width, height, ImageFormatG);
        for (const int size : {1, 3, 4, 9}) {
            CombineCall call{.target = &target, .image = &image, .mask = &mask, .width = size, .height = size};
            EXPECT_FALSE(CallCombine(call)) << call.Text();
        }
    }
    EXPECT_TRUE(before.IsTrue());
}

// The mask's rows are not looked at before the walk, and a row that is not there is skipped.
TEST_F(Combine, AClosedMaskChangesNothingAndGivesTrue) {
    const TestImage target = Noise(4, 4, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    const TestImage mask = Noise(4, 4, ImageFormatG);
    ImageDestructor(mask.object());
    CombineCall call = Whole(target, image);
    call.mask = &mask;
    const Storage before = SnapshotOf(target);
    EXPECT_TRUE(CallCombine(call));
    EXPECT_TRUE(SameStorage(before, SnapshotOf(target), target));
}

TEST_F(Combine, LeavesOtherFamiliesAloneAndGivesTrue) {
    for (const int odd : {ImageFormatCMYK, ImageFormatXKYMC, ImageFormatACMYK, ImageFormatBuffer, ImageFormatScaling1,
                          ImageFormatScaling3, ImageFormatScaling8}) {
        const TestImage good = Noise(4, 4, ImageFormatRGBA), other = Noise(4, 4, ImageFormatGA);
        const TestImage strange = Noise(4, 4, odd);
        const CombineWorld before({&good, &other, &strange});
        for (const auto& [target, image, mask] : {std::array{&strange, &good, &other},
                                                  {&good, &strange, &other},
                                                  {&strange, &strange, &other},
                                                  {&good, &other, &strange}}) {
            const CombineCall base = Whole(*target, *image);
            for (const CombineCall& call : AllOperations(base, *mask)) {
                if (mask == &strange && !call.mask) continue;
                EXPECT_TRUE(CallCombine(call)) << call.Text();
            }
        }
        EXPECT_TRUE(before.IsTrue()) << odd;
    }
}

// --- rectangles -----------------------------------------------------------------------------------------------------

TEST_F(Combine, CutsEveryKindOfRectangleAsCopiesDo) {
    const std::vector<int> corners = {INT_MIN, INT_MIN + 1, -9, -3, -1, 0, 1, 4, 6, 7, 9, INT_MAX - 1, INT_MAX};
    const std::vector<int> sizes = {INT_MIN, -2, 0, 1, 3, 7, 20, INT_MAX};
    const TestImage target = Noise(7, 6, ImageFormatBGR), image = Noise(5, 8, ImageFormatRGBA);
    const TestImage mask = Noise(5, 8, ImageFormatAG);
    // Each number of one axis against all others of it, then both axes at random.
    for (const int dest : corners) {
        for (const int source : corners) {
            for (const int size : sizes) {
                CombineCall call = Whole(target, image);
                call.mask = &mask;
                call.destX = dest;
                call.sourceX = source;
                call.width = size;
                ASSERT_TRUE(CombineAgreesWithModel(call));
                call = Whole(target, image);
                call.mask = &mask;
                call.destY = dest;
                call.sourceY = source;
                call.height = size;
                ASSERT_TRUE(CombineAgreesWithModel(call));
            }
        }
    }
    for (int round = 0; round < 1500; ++round) {
        CombineCall base = Whole(target, image);
        base.destX = random.Pick(corners);
        base.destY = random.Pick(corners);
        base.sourceX = random.Pick(corners);
        base.sourceY = random.Pick(corners);
        base.width = random.Pick(sizes);
        base.height = random.Pick(sizes);
        for (const CombineCall& call : AllOperations(base, mask)) ASSERT_TRUE(CombineAgreesWithModel(call));
    }
}

// A negative corner of the source moves the destination the same way.
TEST_F(Combine, ANegativeSourceCornerMovesTheRectangleToTheLeft) {
    const TestImage target = MakePlain(6, 1, ImageFormatG), image = MakePlain(6, 1, ImageFormatG);
    FillChannel(target, "gray", 7);
    for (int x = 0; x < 6; ++x) SetSample(image, "gray", x, 0, 100 + x);
    CombineCall call{.target = &target, .image = &image, .destX = 3, .sourceX = -2, .width = 4, .height = 1};
    call.maskColour = 0;
    EXPECT_TRUE(CallCombine(call));
    const int expected[] = {7, 100, 101, 7, 7, 7};
    for (int x = 0; x < 6; ++x) EXPECT_EQ(SampleOf(target, "gray", x, 0), expected[x]) << x;
}

// --- order and turns of the host ------------------------------------------------------------------------------------

std::vector<std::pair<const ImageClassData*, int>> fetched;

// A row accessor that notes what was asked for, and lets the next yield come at once.
std::uint8_t* GetRowNoted(ImageClassData* record, int y) {
    fetched.emplace_back(record, y);
    record->LastYieldTick -= 1000;
    return GetRowLinear(record, y);
}

TEST_F(Combine, FetchesRowsOfTargetImageMaskInThisOrder) {
    const TestImage target = Noise(5, 5, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    const TestImage mask = Noise(4, 4, ImageFormatG);
    for (const TestImage* one : {&target, &image, &mask}) (*one)->GetRow = GetRowNoted;
    for (const CombineCall& call :
         AllOperations({.target = &target, .image = &image, .destY = 2, .sourceY = 1, .width = 2, .height = 2}, mask)) {
        fetched.clear();
        EXPECT_TRUE(CallCombine(call));
        std::vector<std::pair<const ImageClassData*, int>> expected;
        for (int y = 0; y < 2; ++y) {
            expected.emplace_back(target.record(), y + 2);
            expected.emplace_back(image.record(), y + 1);
            if (call.mask) expected.emplace_back(mask.record(), y + 1);
        }
        EXPECT_EQ(fetched, expected) << call.Text();
    }
}

TEST_F(Combine, YieldsOnTargetAndImageAndThenOnTheTargetAfterEachRow) {
    const TestImage target = Noise(4, 3, ImageFormatRGB), image = Noise(4, 3, ImageFormatRGB);
    const TestImage mask = Noise(4, 3, ImageFormatG);
    const auto yields = [&](const TestImage* yielding, CombineCall call) {
        for (const TestImage* one : {&target, &image, &mask}) {
            (*one)->GetRow = GetRowNoted;
            (*one)->YieldTicks = one == yielding ? 1 : 0;
            (*one)->LastYieldTick -= 1000;
        }
        host.ClearLog();
        EXPECT_TRUE(CallCombine(call));
        return host.Count("REALYieldToRB");
    };
    for (const CombineCall& call : AllOperations(Whole(target, image), mask)) {
        EXPECT_EQ(yields(&target, call), 1 + 3) << call.Text();
        EXPECT_EQ(yields(&image, call), 1) << call.Text();
        EXPECT_EQ(yields(&mask, call), 0) << call.Text();
    }
}

TEST_F(Combine, YieldsOnTheTargetEvenIfTheImageIsClosed) {
    const TestImage target = Noise(4, 3, ImageFormatRGB), image = Noise(4, 3, ImageFormatRGB);
    const TestImage mask = Noise(4, 3, ImageFormatG);
    ImageDestructor(image.object());
    for (const CombineCall& call : AllOperations(Whole(target, image), mask)) {
        target->YieldTicks = kPatientTicks;
        target->LastYieldTick -= 1000;
        host.ClearLog();
        EXPECT_FALSE(CallCombine(call));
        EXPECT_EQ(host.Count("REALYieldToRB"), 1);
    }
}

// Images may go while the host has its turn: their rows then count as not there.
TEST_F(Combine, SurvivesImagesThatAreClosedInAYield) {
    for (int victim = 0; victim < 3; ++victim) {
        for (const StorageKind kind : kStorageKinds) {
            for (int when = 1; when <= 4; ++when) {
                for (int operation = 0; operation < 6; ++operation) {
                    const TestImage images[] = {MakeStorage(random, directory, kind, 4, 6, ImageFormatRGB),
                                                MakeStorage(random, directory, kind, 4, 6, ImageFormatRGB),
                                                MakeStorage(random, directory, kind, 4, 6, ImageFormatG)};
                    const CombineCall call = AllOperations(Whole(images[0], images[1]), images[2])[operation];
                    images[0]->YieldTicks = kPatientTicks;
                    images[0]->LastYieldTick -= 1000;
                    int yields = 0;
                    host.onYield = [&] {
                        if (++yields == when) ImageDestructor(images[victim].object());
                    };
                    // The noted accessor lets every row yield; mapped images keep their own and yield at the gate.
                    if (kind != StorageKind::file) images[0]->GetRow = GetRowNoted;
                    EXPECT_EQ(CallCombine(call), !(victim == 1 && when == 1)) << call.Text();
                    host.onYield = nullptr;
                }
            }
        }
    }
}

TEST_F(Combine, StopsWritingRowsOfATargetThatIsClosedInAYield) {
    const TestImage target = MakeOnBlock(4, 6, ImageFormatG, 5), image = Noise(4, 6, ImageFormatG);
    FillChannel(image, "gray", 200);
    const REALobject block = target->MemoryTarget;
    REALLockObject(block);
    target->YieldTicks = kPatientTicks;
    target->LastYieldTick -= 1000;
    target->GetRow = GetRowNoted;
    int yields = 0;
    host.onYield = [&] {
        if (++yields == 3) ImageDestructor(target.object());  // at the gate, after row 0, after row 1
    };
    CombineCall call = Whole(target, image);
    call.maskColour = 0;
    EXPECT_TRUE(CallCombine(call));
    host.onYield = nullptr;
    const std::uint8_t* const bytes = host.BlockData(block);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 4; ++x) EXPECT_EQ(bytes[y * 5 + x], y < 2 ? 200 : 0) << x << "," << y;
    }
    REALUnlockObject(block);
}

TEST_F(Combine, RaisesNothingAndLocksNothing) {
    const TestImage target = Noise(4, 4, ImageFormatRGB), image = Noise(4, 4, ImageFormatRGB);
    const TestImage mask = Noise(4, 4, ImageFormatG);
    const int locks[] = {host.Locks(target.object()), host.Locks(image.object()), host.Locks(mask.object())};
    host.ClearLog();
    for (const CombineCall& call : AllOperations(Whole(target, image), mask)) EXPECT_TRUE(CallCombine(call));
    EXPECT_TRUE(host.Log().empty());
    EXPECT_EQ(host.Locks(target.object()), locks[0]);
    EXPECT_EQ(host.Locks(image.object()), locks[1]);
    EXPECT_EQ(host.Locks(mask.object()), locks[2]);
}

}  // namespace
