// Drawing host pictures onto each other: by the host, or by copying rows where it cannot.

#include "exchange/PictureDrawing.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/FakePictures.h"

using namespace zor;

namespace {

using Kind = FakePicture::Kind;

class PictureDrawing : public EngineTest {
protected:
    FakePictures pictures{host, World::console};

    Calls CallsSince(const std::function<void()>& work) {
        pictures.ClearCalls();
        work();
        return pictures.Calls();
    }
};

// --- sizes ----------------------------------------------------------------------------------------------------------

TEST_F(PictureDrawing, TellsTheSizeOfAPicture) {
    const REALobject picture = pictures.NewOther(7, 5, "picture");
    pictures.ClearCalls();
    EXPECT_EQ(GetPictureWidth(picture), 7);
    EXPECT_EQ(GetPictureHeight(picture), 5);
    EXPECT_EQ(pictures.Calls(), (Calls{"REALGetPropValueInt(picture, Width)", "REALGetPropValueInt(picture, Height)"}));
    pictures.FailCall("REALGetPropValueInt");
    EXPECT_EQ(GetPictureWidth(picture), 0) << "it can't be read";
    pictures.FailCall("REALGetPropValueInt");
    EXPECT_EQ(GetPictureHeight(picture), 0);
    pictures.ClearCalls();
    EXPECT_EQ(GetPictureWidth(nullptr), 0);
    EXPECT_EQ(GetPictureHeight(nullptr), 0);
    EXPECT_EQ(pictures.Calls(), Calls{}) << "nil is not asked";
    REALUnlockObject(picture);
}

// --- clones ---------------------------------------------------------------------------------------------------------

const Calls kSizes = {"REALGetPropValueInt(source, Width)", "REALGetPropValueInt(source, Height)"};

Calls AfterSizes(const Calls& more) {
    Calls all = kSizes;
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

TEST_F(PictureDrawing, ClonesPicturesOfEveryKindInBothWorlds) {
    for (const World world : {World::console, World::desktop}) {
        for (const auto& [kind, bits] :
             {std::pair(Kind::console, 32), std::pair(Kind::palette, 8), std::pair(Kind::desktop, 32),
              std::pair(Kind::desktop, 24), std::pair(Kind::desktop, 16), std::pair(Kind::other, 32)}) {
            pictures.Enter(world);
            pictures.RestartNumbers();
            const REALobject source = pictures.NewNoise(kind, bits, 6, 4, 3, "source");
            REALobject clone = nullptr;
            EXPECT_EQ(CallsSince([&] { clone = ClonePicture(source); }),
                      AfterSizes({"newPicture(6, 4, 32)", "pluginPictureGraphicsGetter(new 1)",
                                  "REALLoadObjectMethod(graphics of new 1, DrawPicture)",
                                  "DrawPicture(graphics of new 1, source, 0, 0, 6, 4, 0, 0, 6, 4)",
                                  "REALUnlockObject(graphics of new 1)"}));
            ASSERT_TRUE(clone);
            EXPECT_EQ(host.Locks(clone), 1);
            EXPECT_EQ(pictures[clone].kind, world == World::console ? Kind::console : Kind::desktop);
            for (int y = 0; y < 4; ++y) {
                for (int x = 0; x < 6; ++x) {
                    FakePixel expected = pictures[source].Get(x, y);
                    expected.alpha = world == World::console ? 0 : 255;
                    EXPECT_EQ(pictures[clone].Get(x, y), expected) << x << ", " << y;
                }
            }
            REALUnlockObject(clone);
            REALUnlockObject(source);
        }
    }
}

TEST_F(PictureDrawing, ClonesNoPictureWithoutSizeOrMemory) {
    const REALobject source = pictures.NewConsole(6, 4, "source");
    EXPECT_EQ(CallsSince([] { EXPECT_EQ(ClonePicture(nullptr), nullptr); }), Calls{});
    EXPECT_EQ(CallsSince([] { EXPECT_EQ(ClonePicture(nullptr, 2, 2), nullptr); }), Calls{});
    for (int failing = 1; failing <= 2; ++failing) {
        pictures.FailCall("REALGetPropValueInt", failing);
        EXPECT_EQ(CallsSince([&] { EXPECT_EQ(ClonePicture(source), nullptr); }), kSizes);
    }
    EXPECT_EQ(CallsSince([&] { EXPECT_EQ(ClonePicture(source, 0, 1), nullptr); }), Calls{});
    EXPECT_EQ(CallsSince([&] { EXPECT_EQ(ClonePicture(source, 1, 0), nullptr); }), Calls{});
    EXPECT_EQ(CallsSince([&] { EXPECT_EQ(ClonePicture(source, -1, 5), nullptr); }), Calls{});
    pictures.FailCall("newPicture");
    EXPECT_EQ(CallsSince([&] { EXPECT_EQ(ClonePicture(source), nullptr); }), AfterSizes({"newPicture(6, 4, 32)"}));
    REALUnlockObject(source);
}

TEST_F(PictureDrawing, GivesABlankCloneWhereNothingCanBeDrawn) {
    const REALobject source = pictures.NewNoise(Kind::desktop, 32, 6, 4, 3, "source");
    const FakePixel white = {255, 255, 255, 0};
    pictures.FailCall("pluginPictureGraphicsGetter");
    REALobject clone = nullptr;
    EXPECT_EQ(CallsSince([&] { clone = ClonePicture(source); }),
              AfterSizes({"newPicture(6, 4, 32)", "pluginPictureGraphicsGetter(new 1)"}))
        << "rows are not copied either";
    ASSERT_TRUE(clone);
    EXPECT_EQ(pictures[clone].Get(5, 3), white);
    REALUnlockObject(clone);

    pictures.drawMethod = false;
    EXPECT_EQ(CallsSince([&] { clone = ClonePicture(source); }),
              AfterSizes({"newPicture(6, 4, 32)", "pluginPictureGraphicsGetter(new 2)",
                          "REALLoadObjectMethod(graphics of new 2, DrawPicture)",
                          "REALLockPictureDescription(source, 10)", "REALUnlockObject(graphics of new 2)"}));
    ASSERT_TRUE(clone);
    EXPECT_EQ(host.Locks(clone), 1);
    EXPECT_EQ(pictures[clone].Get(5, 3), white);
    REALUnlockObject(clone);
    REALUnlockObject(source);
}

TEST_F(PictureDrawing, ClonesByCopyingRowsOnAHostWithoutTheMethod) {
    pictures.drawMethod = false;
    const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 3, "source");
    const REALobject clone = ClonePicture(source);
    ASSERT_TRUE(clone);
    EXPECT_EQ(pictures[clone].Bytes(), pictures[source].Bytes());
    REALUnlockObject(clone);
    REALUnlockObject(source);
}

// --- drawing --------------------------------------------------------------------------------------------------------

TEST_F(PictureDrawing, CallsTheHostsMethodWithAllNumbersInTheirOrder) {
    const REALobject source = pictures.NewConsole(9, 9, "source");
    const REALobject target = pictures.NewConsole(9, 9, "target");
    pictures[source].Set(5, 6, {1, 2, 3, 0});
    EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(GraphicsDrawPicture(target, source, 1, 2, 3, 4, 5, 6, 7, 8)); }),
              (Calls{"pluginPictureGraphicsGetter(target)", "REALLoadObjectMethod(graphics of target, DrawPicture)",
                     "DrawPicture(graphics of target, source, 1, 2, 3, 4, 5, 6, 7, 8)",
                     "REALUnlockObject(graphics of target)"}));
    EXPECT_EQ(pictures[target].Get(1, 2), (FakePixel{1, 2, 3, 0}));
    const REALobject graphics = REALGetPictureGraphics(target);
    EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(GraphicsDrawPicture(graphics, nullptr, source, 0, 0, 1, 1, 5, 6, 1, 1)); }),
              (Calls{"REALLoadObjectMethod(graphics of target, DrawPicture)",
                     "DrawPicture(graphics of target, source, 0, 0, 1, 1, 5, 6, 1, 1)"}));
    EXPECT_EQ(pictures[target].Get(0, 0), (FakePixel{1, 2, 3, 0}));
    EXPECT_EQ(host.Locks(graphics), 1) << "the caller's";
    REALUnlockObject(graphics);
    REALUnlockObject(source);
    REALUnlockObject(target);
}

const Calls kCopiedRows = {"REALLockPictureDescription(source, 10)", "REALLockPictureDescription(target, 10)",
                           "unlockPictureDescription(target)", "unlockPictureDescription(source)",
                           "REALPictureClearCache(target)"};

TEST_F(PictureDrawing, CopiesRowsWhereTheMethodIsMissingAndAsksOldHostsForTheirOwn) {
    struct Case {
        double version;
        bool asked;
    };
    for (const Case each : {Case{2013.0, false}, Case{2012.0, false}, Case{2011.99, true}, Case{0, true}}) {
        SCOPED_TRACE(each.version);
        host.SetVersion(each.version);
        pictures.drawMethod = false;
        const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 1, "source");
        const REALobject target = pictures.NewConsole(6, 4, "target");
        const auto lookUps = [] {
            const auto& all = FakeHost::Started().lookUps;
            return std::count(all.begin(), all.end(), "RuntimeGraphicsDrawPicture");
        };
        const auto before = lookUps();
        Calls expected = {"pluginPictureGraphicsGetter(target)",
                          "REALLoadObjectMethod(graphics of target, DrawPicture)"};
        expected.insert(expected.end(), kCopiedRows.begin(), kCopiedRows.end());
        expected.push_back("REALUnlockObject(graphics of target)");
        EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(GraphicsDrawPicture(target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }),
                  expected);
        EXPECT_EQ(lookUps() - before, each.asked ? 1 : 0);
        EXPECT_EQ(pictures[target].Bytes(), pictures[source].Bytes());

        pictures.drawMethod = true;
        EXPECT_TRUE(GraphicsDrawPicture(target, source, 0, 0, 6, 4, 0, 0, 6, 4));
        EXPECT_EQ(lookUps() - before, each.asked ? 1 : 0) << "not where the method is there";
        REALUnlockObject(source);
        REALUnlockObject(target);
    }
}

TEST_F(PictureDrawing, CopiesRowsWithoutAGraphicsObject) {
    const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 1, "source");
    const REALobject target = pictures.NewConsole(6, 4, "target");
    pictures[target].hasGraphics = false;
    Calls expected = {"pluginPictureGraphicsGetter(target)"};
    expected.insert(expected.end(), kCopiedRows.begin(), kCopiedRows.end());
    EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(GraphicsDrawPicture(target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }), expected);
    EXPECT_EQ(pictures[target].Bytes(), pictures[source].Bytes());
    EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(GraphicsDrawPicture(nullptr, target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }),
              kCopiedRows);
    REALUnlockObject(source);
    REALUnlockObject(target);
}

TEST_F(PictureDrawing, DrawsNothingWithoutSourceOrDestination) {
    const REALobject picture = pictures.NewConsole(6, 4, "target");
    EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(GraphicsDrawPicture(picture, nullptr, 0, 0, 6, 4, 0, 0, 6, 4)); }),
              (Calls{"pluginPictureGraphicsGetter(target)", "REALUnlockObject(graphics of target)"}));
    EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(GraphicsDrawPicture(nullptr, picture, 0, 0, 6, 4, 0, 0, 6, 4)); }),
              Calls{});
    REALUnlockObject(picture);
}

// --- copying rows ---------------------------------------------------------------------------------------------------

TEST_F(PictureDrawing, CopiesWholeImagesOfOneSizeOnly) {
    struct Case {
        int x, y, w, h, sx, sy, sw, sh;
        bool copied;
    };
    const Case cases[] = {{0, 0, 6, 4, 0, 0, 6, 4, true},  {0, 0, 6, 4, 0, 0, 5, 4, false},
                          {0, 0, 6, 4, 0, 0, 6, 5, false}, {1, 0, 6, 4, 0, 0, 6, 4, false},
                          {0, 1, 6, 4, 0, 0, 6, 4, false}, {0, 0, 6, 4, 1, 0, 6, 4, false},
                          {0, 0, 6, 4, 0, 1, 6, 4, false}, {0, 0, 2, 1, 0, 0, 2, 1, true}};
    for (const Case& c : cases) {
        const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 1, "source");
        const REALobject target = pictures.NewConsole(6, 4, "target");
        const std::vector<std::uint8_t> blank = pictures[target].Bytes();
        const Calls calls = CallsSince(
            [&] { EXPECT_EQ(OwnCopy(target, source, c.x, c.y, c.w, c.h, c.sx, c.sy, c.sw, c.sh), c.copied); });
        EXPECT_EQ(calls, c.copied ? kCopiedRows : Calls{});
        EXPECT_EQ(pictures[target].Bytes(), c.copied ? pictures[source].Bytes() : blank);
        REALUnlockObject(source);
        REALUnlockObject(target);
    }
}

TEST_F(PictureDrawing, CopiesNothingToOrFromNil) {
    const REALobject picture = pictures.NewConsole(6, 4);
    EXPECT_EQ(CallsSince([&] {
                  EXPECT_FALSE(OwnCopy(nullptr, picture, 0, 0, 6, 4, 0, 0, 6, 4));
                  EXPECT_FALSE(OwnCopy(picture, nullptr, 0, 0, 6, 4, 0, 0, 6, 4));
              }),
              Calls{});
    REALUnlockObject(picture);
}

TEST_F(PictureDrawing, ClearsTheDestinationsCacheAlsoWhereNothingIsCopied) {
    struct Case {
        const char* what;
        void (*spoil)(FakePicture& source, FakePicture& target);
    };
    const Case cases[] = {
        {"another height", [](FakePicture&, FakePicture& t) { t.image->height = 3; }},
        {"another width", [](FakePicture& s, FakePicture&) { s.image->width = 5; }},
        {"a palette source", [](FakePicture& s, FakePicture&) { s.image->pixels = s.paletteTable.data(); }},
        {"a palette target", [](FakePicture&, FakePicture& t) { t.image->pixels = t.paletteTable.data(); }},
        {"a source without rows", [](FakePicture& s, FakePicture&) { s.image->tpixels = nullptr; }},
        {"a target without rows", [](FakePicture&, FakePicture& t) { t.image->tpixels = nullptr; }},
        {"a source without data", [](FakePicture& s, FakePicture&) { s.told.data = nullptr; }},
        {"a target without data", [](FakePicture&, FakePicture& t) { t.told.data = nullptr; }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 1, "source");
        const REALobject target = pictures.NewConsole(6, 4, "target");
        const std::vector<std::uint8_t> blank = pictures[target].Bytes();
        each.spoil(pictures[source], pictures[target]);
        EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(OwnCopy(target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }), kCopiedRows);
        EXPECT_EQ(pictures[target].cacheClears, 1);
        EXPECT_EQ(pictures[target].Bytes(), blank);
        REALUnlockObject(source);
        REALUnlockObject(target);
    }
}

TEST_F(PictureDrawing, LooksNeitherAtTheKindNorAtTheTrueColourFlagWhenItCopiesRows) {
    const REALobject source = pictures.NewNoise(Kind::console, 32, 6, 4, 1, "source");
    const REALobject target = pictures.NewConsole(6, 4, "target");
    pictures[source].told.kind = 3;
    pictures[target].told.kind = 4;
    pictures[source].image->trueColor = 0;
    EXPECT_TRUE(OwnCopy(target, source, 0, 0, 6, 4, 0, 0, 6, 4));
    EXPECT_EQ(pictures[target].Bytes(), pictures[source].Bytes());
    EXPECT_TRUE(OwnCopy(target, target, 0, 0, 6, 4, 0, 0, 6, 4)) << "onto itself";
    EXPECT_EQ(pictures[target].Bytes(), pictures[source].Bytes());
    EXPECT_FALSE(IsConsole) << "no matter of the application's world";
    REALUnlockObject(source);
    REALUnlockObject(target);
}

TEST_F(PictureDrawing, GivesUpWhereALockIsRefusedOnHostsOfEveryAge) {
    for (const double version : {2013.0, 2011.0}) {
        SCOPED_TRACE(version);
        host.SetVersion(version);
        const bool old = version < 2012.0;
        const REALobject source = pictures.NewConsole(6, 4, "source");
        const REALobject target = pictures.NewConsole(6, 4, "target");
        pictures.FailCall("REALLockPictureDescription", 1);
        Calls expected = {"REALLockPictureDescription(source, 10)"};
        if (old) expected.push_back("unlockPictureDescription(source)");
        EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(OwnCopy(target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }), expected);

        pictures.FailCall("REALLockPictureDescription", 2);
        expected = {"REALLockPictureDescription(source, 10)", "REALLockPictureDescription(target, 10)"};
        if (old) expected.push_back("unlockPictureDescription(target)");
        expected.push_back("unlockPictureDescription(source)");
        expected.push_back("REALPictureClearCache(target)");
        EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(OwnCopy(target, source, 0, 0, 6, 4, 0, 0, 6, 4)); }), expected);
        EXPECT_EQ(pictures.LockedDescriptions(), 0);
        REALUnlockObject(source);
        REALUnlockObject(target);
    }
}

// --- masks ----------------------------------------------------------------------------------------------------------

TEST_F(PictureDrawing, DrawsAMaskIntoThePicturesMask) {
    const REALobject picture = pictures.NewConsole(6, 4, "picture");
    const REALobject mask = pictures.NewNoise(Kind::console, 32, 6, 4, 8, "source");
    EXPECT_EQ(CallsSince([&] { EXPECT_TRUE(AddPictureMask(picture, mask, 6, 4)); }),
              (Calls{"REALGetPictureMask(picture, 1)", "pluginPictureGraphicsGetter(mask of picture)",
                     "REALLoadObjectMethod(graphics of mask of picture, DrawPicture)",
                     "DrawPicture(graphics of mask of picture, source, 0, 0, 6, 4, 0, 0, 6, 4)",
                     "REALUnlockObject(graphics of mask of picture)", "REALUnlockObject(mask of picture)"}));
    FakePixel expected = pictures[mask].Get(5, 3);
    expected.alpha = 0;
    EXPECT_EQ(pictures[pictures[picture].mask].Get(5, 3), expected);
    EXPECT_EQ(host.Locks(pictures[picture].mask), 1) << "the picture's own";
    REALUnlockObject(picture);
    REALUnlockObject(mask);
}

TEST_F(PictureDrawing, LooksAtThePictureBeforeTheMask) {
    const REALobject picture = pictures.NewConsole(6, 4, "picture");
    EXPECT_EQ(CallsSince([&] {
                  EXPECT_FALSE(AddPictureMask(nullptr, nullptr, 6, 4));
                  EXPECT_FALSE(AddPictureMask(nullptr, picture, 6, 4));
                  EXPECT_TRUE(AddPictureMask(picture, nullptr, 6, 4));
                  EXPECT_FALSE(AddPictureMask(picture, nullptr, 0, 4));
                  EXPECT_FALSE(AddPictureMask(picture, picture, 6, 0));
                  EXPECT_FALSE(AddPictureMask(picture, picture, -6, 4));
              }),
              Calls{});
    REALUnlockObject(picture);
}

TEST_F(PictureDrawing, TellsWhenAMaskCannotBeMadeOrDrawn) {
    const REALobject picture = pictures.NewConsole(6, 4, "picture");
    const REALobject mask = pictures.NewOther(6, 4, "source");
    pictures.FailCall("REALGetPictureMask");
    EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(AddPictureMask(picture, mask, 6, 4)); }),
              Calls{"REALGetPictureMask(picture, 1)"});
    pictures.drawMethod = false;
    EXPECT_EQ(CallsSince([&] { EXPECT_FALSE(AddPictureMask(picture, mask, 6, 4)); }),
              (Calls{"REALGetPictureMask(picture, 1)", "pluginPictureGraphicsGetter(mask of picture)",
                     "REALLoadObjectMethod(graphics of mask of picture, DrawPicture)",
                     "REALLockPictureDescription(source, 10)", "REALUnlockObject(graphics of mask of picture)",
                     "REALUnlockObject(mask of picture)"}));
    EXPECT_EQ(host.Locks(pictures[picture].mask), 1);
    REALUnlockObject(picture);
    REALUnlockObject(mask);
}

}  // namespace
