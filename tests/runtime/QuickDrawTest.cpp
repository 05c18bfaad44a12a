// The ten calls of QuickDraw that the host exports, and the class that owns a GWorld.

#include <dlfcn.h>

#include "PictureHost.h"

namespace zorhost {

static const char* const kCalls[] = {"GetPixRowBytes", "GetPixBaseAddr", "GetGWorldPixMap", "LockPixels",
                                     "UnlockPixels",   "GetPixDepth",    "GetPortPixMap",   "DisposeGWorld",
                                     "NewGWorld",      "GetCTable"};

TEST(QuickDraw, IsFoundInTheProcessByPlugins) {
    Darkroom room(InWorld(World::Desktop));
    for (const std::string call : kCalls) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, call.c_str()), nullptr) << call;
        EXPECT_TRUE(room.Do("HasCall", call).AsBool()) << call;
    }
    EXPECT_FALSE(room.Do("HasCall", "CopyBits").AsBool());
}

TEST(QuickDraw, MakesGWorldsOfFiveDepths) {
    Darkroom room(InWorld(World::Desktop));
    const struct {
        int depth;
        const char* said;
    } worlds[] = {{32, "32 bits, 48 bytes a row"},
                  {24, "24 bits, 30 bytes a row"},
                  {16, "16 bits, 32 bytes a row"},
                  {8, "8 bits, 16 bytes a row"},
                  {1, "1 bits, 16 bytes a row"}};
    for (const auto& [depth, said] : worlds) {
        const std::int64_t world = room.Do("MakeWorld", depth, 10, 3).AsInt64();
        ASSERT_GT(world, 1000) << depth;
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), said);
        EXPECT_EQ(LocksHeld(room.host).gworlds, 1);
        room.Do("DisposeWorld", world);
        EXPECT_EQ(LocksHeld(room.host).gworlds, 0);
    }
    room.ExpectClean();
}

TEST(QuickDraw, NeverMakesA24BitRowThatFourBytesAPixelWouldFit) {
    Darkroom room(InWorld(World::Desktop));
    for (int width = 1; width <= 40; ++width) {
        const std::int64_t world = room.Do("MakeWorld", 24, width, 1).AsInt64();
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), "24 bits, " + std::to_string(3 * width) + " bytes a row");
        room.Do("DisposeWorld", world);
    }
}

TEST(QuickDraw, MayLay24BitsOutWith32) {
    Darkroom room({.world = World::Desktop, .wideGWorlds = true});
    const std::int64_t world = room.Do("MakeWorld", 24, 3, 2).AsInt64();
    EXPECT_EQ(room.Do("SayWorld", world).AsText(), "32 bits, 16 bytes a row");
    room.Do("DisposeWorld", world);
    EXPECT_EQ(MakePicture(room.host, 3, 2, 24).Get("Depth").AsInt(), 32);
}

TEST(QuickDraw, RefusesDepthsAndBoundsThatNoneHas) {
    Darkroom room(InWorld(World::Desktop));
    for (const int depth : {0, 2, 4, 12, 64, -1}) EXPECT_EQ(room.Do("MakeWorld", depth, 4, 4).AsInt64(), -50) << depth;
    EXPECT_EQ(room.Do("MakeWorld", 32, 0, 4).AsInt64(), -50);
    EXPECT_EQ(room.Do("MakeWorld", 32, 4, -1).AsInt64(), -50);
    EXPECT_TRUE(room.Do("HasColorTable", 40).AsBool());
    EXPECT_TRUE(room.Do("HasColorTable", 33).AsBool());
    EXPECT_FALSE(room.Do("HasColorTable", 41).AsBool());
    room.ExpectClean();
}

TEST(QuickDraw, IsAbsentWherePicturesAreImagesOfTheGDLibrary) {
    for (const World world : {World::Console, World::Web, World::None}) {
        Darkroom room(InWorld(world));
        EXPECT_EQ(room.Do("MakeWorld", 32, 4, 4).AsInt64(), -1);
        EXPECT_FALSE(room.Do("HasColorTable", 40).AsBool());
        EXPECT_FALSE(room.Do("LockWorld", 4711).AsBool());
        EXPECT_EQ(room.Do("SayWorld", 4711).AsText(), "0 bits, 0 bytes a row, no pixels");
        room.Do("UnlockWorld", 4711);
        room.Do("DisposeWorld", 4711);
        room.ExpectClean();
    }
}

TEST(QuickDraw, MayMissCalls) {
    Darkroom room({.world = World::Desktop, .missing = {"NewGWorld", "LockPixels"}});
    EXPECT_EQ(room.Do("MakeWorld", 32, 4, 4).AsInt64(), -1);
    const Object picture = MakePicture(room.host, 4, 4);
    const std::int64_t world = room.Do("WorldOf", picture).AsInt64();
    EXPECT_FALSE(room.Do("LockWorld", world).AsBool());
    EXPECT_EQ(room.Do("SayWorld", world).AsText(), "32 bits, 16 bytes a row");
}

TEST(QuickDraw, CountsLocksOfPixels) {
    Darkroom room(InWorld(World::Desktop));
    {
        const Object picture = MakePicture(room.host, 4, 4);
        const std::int64_t world = room.Do("WorldOf", picture).AsInt64();
        EXPECT_TRUE(room.Do("LockWorld", world).AsBool());
        EXPECT_TRUE(room.Do("LockWorld", world).AsBool());
        EXPECT_EQ(InfoOf(room.host, picture).pixelLocks, 2);
        EXPECT_EQ(LocksHeld(room.host).pixels, 2);
        room.Do("UnlockWorld", world);
        room.Do("UnlockWorld", world);
        EXPECT_EQ(LocksHeld(room.host).pixels, 0);
        EXPECT_TRUE(room.host.Faults().empty());
        room.Do("UnlockWorld", world);
        ASSERT_EQ(room.host.Faults().size(), 1u);
        EXPECT_NE(room.host.Faults()[0].find("pixels were unlocked once too often"), std::string::npos);
    }
    EXPECT_EQ(room.host.LeakReport(), "");
}

TEST(QuickDraw, ToldOfGWorldsThatAreNone) {
    Darkroom room(InWorld(World::Desktop));
    const Object picture = MakePicture(room.host, 4, 4);
    const std::int64_t world = room.Do("WorldOf", picture).AsInt64();
    room.Do("DisposeWorld", world);
    ASSERT_EQ(room.host.Faults().size(), 1u);
    EXPECT_NE(room.host.Faults()[0].find("the GWorld of a picture was disposed"), std::string::npos);
    EXPECT_EQ(ReadPicture(room.host, picture), PlainRows(4, 4, {0xFFFFFF}));
    room.Do("DisposeWorld", 4711);
    ASSERT_EQ(room.host.Faults().size(), 2u);
    EXPECT_NE(room.host.Faults()[1].find("DisposeGWorld was given a GWorld that is not alive"), std::string::npos);
    room.Do("DisposeWorld", 0);
    EXPECT_EQ(room.host.Faults().size(), 2u);
}

TEST(QuickDraw, ReportsGWorldsThatLeak) {
    Darkroom room(InWorld(World::Desktop));
    const std::int64_t world = room.Do("MakeWorld", 8, 5, 6).AsInt64();
    room.Do("LockWorld", world);
    const std::string report = room.host.LeakReport();
    EXPECT_EQ(report.find("GWorld of 5 x 6 pixels and 8 bits, 1 lock, made by Darkroom.MakeWorld at PictureHost.h:"),
              0u)
        << report;
}

TEST(GWorldZOR, IsAClassOfApplicationsThatHaveIt) {
    for (const bool has : {false, true}) {
        Darkroom room({.world = World::Desktop, .hasGWorldClass = has});
        EXPECT_EQ(room.Do("HasClass", "GWorldZOR").AsBool(), has);
        EXPECT_EQ(room.Do("Wrap", 0, 0).IsNil(), !has);
    }
}

TEST(GWorldZOR, DisposesWhatItOwns) {
    Darkroom room({.world = World::Desktop, .hasGWorldClass = true});
    {
        const std::int64_t world = room.Do("MakeWorld", 24, 7, 3).AsInt64();
        room.Do("LockWorld", world);
        const Object owner = room.Do("Wrap", world, 1).AsObject();
        EXPECT_EQ(owner.ClassName(), "GWorldZOR");
        EXPECT_EQ(owner.Get("Width").AsInt(), 7);
        EXPECT_EQ(owner.Get("Height").AsInt(), 3);
        EXPECT_EQ(owner.Get("Depth").AsInt(), 24);
        EXPECT_EQ(ReadPicture(room.host, owner), PlainRows(7, 3, {0}));
        EXPECT_EQ(room.host.LeakReport().find("GWorldZOR, 1 lock"), 0u);
        EXPECT_EQ(room.host.LeakReport().find("GWorld of"), std::string::npos);
        EXPECT_EQ(LocksHeld(room.host), (LockBalance{.pixels = 1, .objects = 1, .gworlds = 1}));
    }
    EXPECT_EQ(LocksHeld(room.host), LockBalance{}) << "with its locked pixels";
    room.ExpectClean();
}

TEST(GWorldZOR, LeavesAloneWhatItDoesNotOwn) {
    Darkroom room({.world = World::Desktop, .hasGWorldClass = true});
    const std::int64_t world = room.Do("MakeWorld", 24, 7, 3).AsInt64();
    {
        const Object other = room.Do("Wrap", world, 0).AsObject();
        EXPECT_EQ(ErrorOf([&] { ReadPicture(room.host, other); }), "the GWorldZOR holds no GWorld");
    }
    EXPECT_EQ(LocksHeld(room.host).gworlds, 1);
    EXPECT_TRUE(room.host.Faults().empty());
    { const Object first = room.Do("Wrap", world, 1).AsObject(), second = room.Do("Wrap", world, 1).AsObject(); }
    EXPECT_EQ(LocksHeld(room.host).gworlds, 0);
    ASSERT_EQ(room.host.Faults().size(), 1u);
    EXPECT_NE(room.host.Faults()[0].find("no GWorld of its own"), std::string::npos);
}

}  // namespace zorhost
