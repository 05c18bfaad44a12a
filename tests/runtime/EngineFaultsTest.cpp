// Every call that the plug-in makes of the host's pictures, made to fail one after the other: whatever fails, nothing
// is lost and nothing is released twice.

#include "EngineHost.h"

namespace zorhost {

// The services of pictures that have an answer for failure.
static const char* const kServices[] = {"newPicture",
                                        "lockPictureDescription",
                                        "REALLockPictureDescription",
                                        "pluginPictureGraphicsGetter",
                                        "REALGetPictureMask",
                                        "REALLoadObjectMethod",
                                        "DrawPicture",
                                        "REALGetPropValueInt",
                                        "pluginObjectType",
                                        "PluginNewInstance",
                                        "REALBuildPictureFromBuffer",
                                        "GetPixRowBytes",
                                        "GetPixBaseAddr",
                                        "GetGWorldPixMap",
                                        "LockPixels",
                                        "GetPixDepth",
                                        "GetPortPixMap",
                                        "NewGWorld",
                                        "GetCTable"};

// What the methods are run on: made anew for every call.
struct Bench {
    explicit Bench(EngineHost& host)
        : engine(host),
          colour(engine.ImageOf("ImageFormatRGBA", 8, 6, 4, RandomRows(8, 6, 4, 1).bytes)),
          gray(engine.ImageOf("ImageFormatGA", 8, 6, 2, RandomRows(8, 3, 4, 2).bytes)),
          plain(MakePicture(host.host, RandomRows(8, 6, 3, 3))),
          masked(MakePicture(host.host, RandomRows(8, 6, 4, 4))),
          flat(MakePicture(host.host, 8, 6, 16)),
          foreign(MakeForeignPicture(host.host, 8, 6)),
          foreignMask(MakePicture(host.host, RandomRows(8, 6, 3, 5))) {
        WritePicture(host.host, flat, RandomRows(8, 6, 3, 6));
        WritePicture(host.host, foreign, RandomRows(8, 6, 3, 7));
        SetMask(host.host, foreignMask, foreign);
    }
    std::vector<unsigned char> Bytes() const {
        std::vector<unsigned char> bytes = engine.BytesOf(colour);
        const std::vector<unsigned char> others = engine.BytesOf(gray);
        bytes.insert(bytes.end(), others.begin(), others.end());
        return bytes;
    }
    std::vector<PixelRows> Pictures() const {
        std::vector<PixelRows> all;
        for (const Object* const picture : {&plain, &masked, &flat, &foreign, &foreignMask}) {
            all.push_back(ReadPicture(engine.host, *picture, 4));
        }
        return all;
    }

    EngineHost& engine;
    Object colour, gray;
    Object plain, masked, flat, foreign, foreignMask;
};

enum class Work { Export, Import, MaskedImport };

// One call. Its result is dropped again before the locks are counted.
struct Operation {
    const char* what;
    Work work;
    void (*run)(const Bench& bench);
};

template <class... Args>
static void On(const Object& image, const char* method, Args... args) {
    image.Call(method, args...);
}

static const Operation kOperations[] = {
    {"CopyPicture", Work::Export, [](const Bench& b) { On(b.colour, "CopyPicture"); }},
    {"CopyPicture of a part", Work::Export, [](const Bench& b) { On(b.colour, "CopyPicture", 1, 1, 4, 3); }},
    {"CopyPicture, gray", Work::Export, [](const Bench& b) { On(b.gray, "CopyPicture"); }},
    {"CopyMask", Work::Export, [](const Bench& b) { On(b.colour, "CopyMask"); }},
    {"CopyMask of a part", Work::Export, [](const Bench& b) { On(b.gray, "CopyMask", 1, 1, 4, 3); }},
    {"CopyPictureWithMask", Work::Export, [](const Bench& b) { On(b.colour, "CopyPictureWithMask"); }},
    {"CopyPictureWithMask of a part", Work::Export,
     [](const Bench& b) { On(b.colour, "CopyPictureWithMask", 1, 1, 4, 3); }},
    {"DebugPicture", Work::Export,
     [](const Bench& b) {
         b.colour.Set("DebugPictureEnabled", true);
         b.colour.Get("DebugPicture");
     }},
    {"CopyGWorld", Work::Export, [](const Bench& b) { On(b.colour, "CopyGWorld"); }},
    {"CopyGWorld, gray", Work::Export, [](const Bench& b) { On(b.gray, "CopyGWorld"); }},
    {"Constructor", Work::Export, [](const Bench& b) { b.engine.host.New("PictureZOR", b.plain); }},
    {"Constructor with alpha", Work::Export, [](const Bench& b) { b.engine.host.New("PictureZOR", b.masked, true); }},
    {"Constructor of another kind", Work::Export, [](const Bench& b) { b.engine.host.New("PictureZOR", b.foreign); }},
    {"DrawPictureRGB", Work::Import, [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.plain); }},
    {"DrawPictureRGB at a place", Work::Import, [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.plain, 1, 1); }},
    {"DrawPictureRGB of a size", Work::Import,
     [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.plain, 1, 1, 4, 3); }},
    {"DrawPictureRGB of a part", Work::Import,
     [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.plain, 1, 1, 4, 3, 2, 2); }},
    {"DrawPictureRGB of 16 bits", Work::Import, [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.flat); }},
    {"DrawPictureRGB of another kind", Work::Import, [](const Bench& b) { On(b.colour, "DrawPictureRGB", b.foreign); }},
    {"Red", Work::Import, [](const Bench& b) { On(b.gray, "DrawPictureRedToGrayChannel", b.plain, 1, 1, 4, 3); }},
    {"Red of a part", Work::Import,
     [](const Bench& b) { On(b.gray, "DrawPictureRedToGrayChannel", b.plain, 1, 1, 4, 3, 2, 2); }},
    {"Green", Work::Import, [](const Bench& b) { On(b.gray, "DrawPictureGreenToGrayChannel", b.plain, 1, 1, 4, 3); }},
    {"Green of a part", Work::Import,
     [](const Bench& b) { On(b.gray, "DrawPictureGreenToGrayChannel", b.plain, 1, 1, 4, 3, 2, 2); }},
    {"Blue", Work::Import, [](const Bench& b) { On(b.gray, "DrawPictureBlueToGrayChannel", b.plain, 1, 1, 4, 3); }},
    {"Blue of a part", Work::Import,
     [](const Bench& b) { On(b.gray, "DrawPictureBlueToGrayChannel", b.plain, 1, 1, 4, 3, 2, 2); }},
    {"Masked", Work::MaskedImport, [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.masked); }},
    {"Masked, inverted", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.masked, true); }},
    {"Masked at a place", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.masked, 1, 1); }},
    {"Masked of a size", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.masked, 1, 1, 4, 3); }},
    {"Masked of a part", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.masked, 1, 1, 4, 3, 2, 2); }},
    {"Masked without a mask", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.plain); }},
    {"Masked by another kind", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureRGB", b.foreignMask); }},
    {"Apply", Work::MaskedImport, [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.masked); }},
    {"Apply, inverted", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.masked, true); }},
    {"Apply at a place", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.masked, 1, 1); }},
    {"Apply of a size", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.masked, 1, 1, 4, 3); }},
    {"Apply of a part", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.masked, 1, 1, 4, 3, 2, 2); }},
    {"Apply without a mask", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.plain); }},
    {"Apply by another kind", Work::MaskedImport,
     [](const Bench& b) { On(b.colour, "DrawMaskedPictureApplyMaskRGB", b.foreignMask); }},
};

static LockBalance Difference(const LockBalance& after, const LockBalance& before) {
    return {.descriptions = after.descriptions - before.descriptions,
            .pixels = after.pixels - before.pixels,
            .objects = after.objects - before.objects,
            .gworlds = after.gworlds - before.gworlds};
}

static void PrintTo(const LockBalance& held, std::ostream* out) {
    *out << held.descriptions << " descriptions, " << held.pixels << " pixels, " << held.objects << " objects, "
         << held.gworlds << " GWorlds";
}

struct Outcome {
    LockBalance kept;  // locks that are there after the call and were not before
    std::vector<unsigned char> bytes;
    int calls = 0;
};

static Outcome Try(EngineHost& engine, const Operation& operation, const char* service, int nth) {
    const Bench bench(engine);
    const std::vector<PixelRows> pictures = bench.Pictures();
    const std::vector<unsigned char> before = bench.Bytes();
    const LockBalance held = LocksHeld(engine.host);
    engine.host.FailCall(service, nth);
    operation.run(bench);
    Outcome outcome{{}, {}, engine.host.CallsOf(service)};
    engine.host.FailCall(service, 0);
    outcome.kept = Difference(LocksHeld(engine.host), held);
    outcome.bytes = bench.Bytes();
    EXPECT_EQ(bench.Pictures(), pictures) << "no call changes a picture that it is given";
    if (operation.work == Work::Export) {
        EXPECT_EQ(outcome.bytes, before);
    }
    return outcome;
}

// Failures that a transfer does not notice, or gets around with other pixels: a row length of 0, a copy that stays
// blank, a mask that seems not to be there.
static bool MayGiveOtherPixels(Work work, std::string_view service) {
    // A picture with a mask is drawn by that mask where it has to be copied.
    const bool leadsToACopy = service == "lockPictureDescription" || service == "GetPixDepth";
    if (work == Work::MaskedImport && leadsToACopy) return true;
    for (const std::string_view name : {"GetPixRowBytes", "DrawPicture", "REALLoadObjectMethod",
                                        "pluginPictureGraphicsGetter", "REALGetPictureMask"}) {
        if (service == name) return true;
    }
    return false;
}

static void WalkThrough(EngineHost& engine, const Operation& operation, const char* service) {
    const Outcome unharmed = Try(engine, operation, service, 0);
    const std::vector<unsigned char> untouched = Bench(engine).Bytes();
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const Outcome outcome = Try(engine, operation, service, nth);
        LockBalance expected = unharmed.kept;
        const bool struck = outcome.calls >= nth;
        if (struck && std::string_view(service) == "REALGetPictureMask") {
            // The reference to a mask stays with an import: none was given now.
            expected.objects = 0;
            expected.descriptions = outcome.kept.descriptions;
        }
        if (struck && std::string_view(service) == "lockPictureDescription") {
            // A description of no known kind: the picture is copied, and its own lock stays.
            EXPECT_GE(outcome.kept.descriptions, unharmed.kept.descriptions);
            EXPECT_LE(outcome.kept.descriptions, unharmed.kept.descriptions + 1);
            expected.descriptions = outcome.kept.descriptions;
        }
        if (struck && operation.work == Work::MaskedImport && outcome.kept.descriptions < expected.descriptions) {
            // The picture did not open, so that the mask of another kind was not come to.
            EXPECT_EQ(outcome.kept.descriptions, 0);
            expected.descriptions = 0;
        }
        EXPECT_EQ(outcome.kept, expected);
        if (!struck || !MayGiveOtherPixels(operation.work, service)) {
            EXPECT_TRUE(outcome.bytes == unharmed.bytes || (struck && outcome.bytes == untouched));
        }
        if (!struck) {
            EXPECT_EQ(outcome.bytes, unharmed.bytes);
            return;
        }
        ASSERT_LT(nth, 100) << "this never succeeds";
    }
}

static void WalkThroughAll(HostOptions options) {
    const std::set<std::string> missing = options.missing;
    EngineHost engine(std::move(options));
    {
        const Bench warm(engine);  // the plug-in learns which world it is in
        warm.colour.Call("CopyPicture");
    }
    for (const Operation& operation : kOperations) {
        for (const char* const service : kServices) {
            if (missing.contains(service)) continue;
            SCOPED_TRACE(std::string(operation.what) + ", " + service + " fails");
            WalkThrough(engine, operation, service);
            EXPECT_EQ(engine.host.Faults(), std::vector<std::string>());
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

TEST(EngineFaults, LoseNothingInTheConsole) {
    WalkThroughAll({.world = World::Console});
}
TEST(EngineFaults, LoseNothingInAnOldConsole) {
    WalkThroughAll({.world = World::Console, .version = 2011.04});
}
TEST(EngineFaults, LoseNothingInAConsoleWithoutADrawingMethod) {
    WalkThroughAll({.world = World::Console, .version = 2011.04, .missing = {"pluginPictureGraphicsGetter"}});
}
TEST(EngineFaults, LoseNothingOnTheWeb) {
    WalkThroughAll({.world = World::Web});
}
TEST(EngineFaults, LoseNothingOnTheDesktop) {
    WalkThroughAll({.world = World::Desktop, .hasGWorldClass = true});
}
TEST(EngineFaults, LoseNothingOnAnOldDesktop) {
    WalkThroughAll({.world = World::Desktop, .version = 2009.0, .hasGWorldClass = true});
}

// The application class is looked up until the world is known, by whichever method comes first.
TEST(EngineFaults, LoseNothingWhileTheWorldIsUnknown) {
    for (const World world : {World::Console, World::Desktop}) {
        for (const char* const service : {"pluginObjectType", "lockPictureDescription", "REALLockPictureDescription"}) {
            for (const Operation& operation : kOperations) {
                for (int nth = 1; nth <= 3; ++nth) {
                    SCOPED_TRACE(std::string(operation.what) + ", " + service + " fails " + std::to_string(nth));
                    EngineHost engine({.world = world, .hasGWorldClass = true});
                    const Outcome outcome = Try(engine, operation, service, nth);
                    EXPECT_EQ(outcome.kept.pixels, 0);
                    EXPECT_EQ(outcome.kept.gworlds, 0);
                    EXPECT_GE(outcome.kept.objects, 0);
                    EXPECT_LE(outcome.kept.objects, 1) << "the reference to a mask at most";
                    EXPECT_GE(outcome.kept.descriptions, 0);
                    EXPECT_EQ(engine.host.Faults(), std::vector<std::string>());
                    if (outcome.calls < nth) break;
                }
            }
        }
    }
}

// A program may stop a long method at any of its yields, by an exception that passes through the plug-in. There is one
// before the pixels are touched; how many there are between the rows is a matter of time.
TEST(EngineFaults, LoseNothingWhereAProgramCancels) {
    constexpr int kWidth = 40, kHeight = 16000;
    const char* const methods[] = {"CopyPicture",
                                   "CopyMask",
                                   "CopyPictureWithMask",
                                   "CopyGWorld",
                                   "DrawPictureRGB",
                                   "DrawMaskedPictureRGB",
                                   "DrawMaskedPictureApplyMaskRGB"};
    for (const World world : {World::Console, World::Desktop}) {
        EngineHost engine({.world = world, .hasGWorldClass = true});
        const Object image = engine.Blank("ImageFormatRGBA", kWidth, kHeight, 4);
        image.Set("YieldTicks", 1);
        const Object picture = MakePicture(engine.host, kWidth, kHeight);
        MaskOf(engine.host, picture, true);
        for (const std::string method : methods) {
            const bool isImport = method.starts_with("Draw"), takesTheMask = method.starts_with("DrawMasked");
            bool cancelled = true;
            int nth = 1;
            for (; cancelled && nth < 500; ++nth) {
                SCOPED_TRACE(method + ", cancelled at yield " + std::to_string(nth));
                const LockBalance held = LocksHeld(engine.host);
                int yields = 0;
                engine.host.SetYield([&] {
                    if (++yields == nth) throw Cancelled();
                });
                try {
                    isImport ? image.Call(method, picture) : image.Call(method);
                    cancelled = false;
                } catch (const Cancelled&) {
                }
                engine.host.SetYield({});
                const LockBalance kept = Difference(LocksHeld(engine.host), held);
                // The reference that a masked import has on the mask stays in any case.
                EXPECT_EQ(kept, (LockBalance{.objects = takesTheMask ? 1 : 0}));
                EXPECT_EQ(engine.host.Faults(), std::vector<std::string>());
                image.Set("YieldTicks", 1);
            }
            EXPECT_FALSE(cancelled) << method;
        }
    }
}

}  // namespace zorhost
