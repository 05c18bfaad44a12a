// Services that a program makes fail, one call of them at a time.

#include "PictureHost.h"

namespace zorhost {

TEST(FaultPlan, StrikesTheCallThatItNames) {
    Darkroom room;
    {
        room.host.FailCall("newPicture", 2);
        EXPECT_EQ(room.host.CallsOf("newPicture"), 0);
        EXPECT_FALSE(room.Do("NewPicture", 1, 1, 32).IsNil());
        EXPECT_EQ(room.host.CallsOf("newPicture"), 1);
        EXPECT_TRUE(room.Do("NewPicture", 1, 1, 32).IsNil());
        EXPECT_FALSE(room.Do("NewPicture", 1, 1, 32).IsNil());
        EXPECT_EQ(room.host.CallsOf("newPicture"), 3);
        room.host.FailCall("newPicture", 1);
        EXPECT_EQ(room.host.CallsOf("newPicture"), 0);
        room.host.FailCall("newPicture", 0);
        EXPECT_FALSE(room.Do("NewPicture", 1, 1, 32).IsNil());
        EXPECT_EQ(room.host.CallsOf("REALGetPictureMask"), 0) << "nobody asked for that";
    }
    room.ExpectClean();
}

TEST(FaultPlan, GivesEveryServiceItsAnswerForFailure) {
    Darkroom room({.world = World::Desktop, .hasGWorldClass = true});
    {
        const Object picture = MakePicture(room.host, 3, 3), graphics = picture.Get("Graphics").AsObject();
        const Object block = room.host.MakeMemoryBlock(100);
        const std::int64_t world = room.Do("WorldOf", picture).AsInt64();
        const auto failing = [&](const char* service) { room.host.FailCall(service, 1); };

        failing("REALBuildPictureFromBuffer");
        EXPECT_TRUE(room.Do("FromBuffer", block, 3, 3, 1, 9).IsNil());
        failing("REALGetPictureMask");
        EXPECT_TRUE(room.Do("Mask", picture, 1).IsNil());
        EXPECT_FALSE(InfoOf(room.host, picture).hasMask);
        failing("pluginPictureGraphicsGetter");
        EXPECT_TRUE(room.Do("GraphicsOf", picture).IsNil());
        failing("REALLoadObjectMethod");
        EXPECT_FALSE(room.Do("Draw", graphics, picture, 0, 0, 3, 3, 0, 0, 3, 3).AsBool());
        failing("DrawPicture");
        EXPECT_TRUE(
            room.Do("Draw", graphics, MakePicture(room.host, PlainRows(3, 3, {0})), 0, 0, 3, 3, 0, 0, 3, 3).AsBool());
        EXPECT_EQ(ReadPicture(room.host, picture), PlainRows(3, 3, {0xFFFFFF}));
        failing("REALGetPropValueInt");
        EXPECT_EQ(room.Do("Side", picture, "Width").AsInt(), -2);
        failing("pluginObjectType");
        EXPECT_FALSE(room.Do("HasClass", "Picture").AsBool());
        failing("PluginNewInstance");
        EXPECT_TRUE(room.Do("Wrap", 0, 0).IsNil());
        failing("REALBuildString");
        EXPECT_EQ(room.host.CallsOf("REALBuildString"), 0);
        room.host.FailCall("REALBuildString", 0);

        failing("NewGWorld");
        EXPECT_EQ(room.Do("MakeWorld", 32, 3, 3).AsInt64(), -108);
        failing("GetCTable");
        EXPECT_FALSE(room.Do("HasColorTable", 40).AsBool());
        failing("LockPixels");
        EXPECT_FALSE(room.Do("LockWorld", world).AsBool());
        failing("GetGWorldPixMap");
        EXPECT_FALSE(room.Do("LockWorld", world).AsBool());
        failing("GetPixBaseAddr");
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), "32 bits, 16 bytes a row, no pixels");
        failing("GetPixDepth");
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), "0 bits, 16 bytes a row");
        failing("GetPixRowBytes");
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), "32 bits, 0 bytes a row");
        failing("GetPortPixMap");
        EXPECT_EQ(room.Do("SayWorld", world).AsText(), "32 bits, 16 bytes a row, another port");
        EXPECT_EQ(LocksHeld(room.host).pixels, 0);
        EXPECT_EQ(LocksHeld(room.host).descriptions, 0);
    }
    room.ExpectClean();
}

TEST(FaultPlan, LocksADescriptionThatItLeavesBlank) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        const Object picture = MakePicture(room.host, 3, 3);
        room.host.FailCall("lockPictureDescription", 1);
        EXPECT_EQ(room.Say("Lock", picture), "0 0x0 nil");
        EXPECT_EQ(InfoOf(room.host, picture).descriptionLocks, 1);
        room.Do("Unlock", picture);
        EXPECT_TRUE(room.host.Faults().empty());
    }
}

TEST(FaultPlan, RefusesALockAsHostsOfTheVersionDo) {
    for (const double version : {2011.0, 2012.0}) {
        Darkroom room({.version = version});
        const Object picture = MakePicture(room.host, 3, 3);
        room.host.FailCall("REALLockPictureDescription", 1);
        EXPECT_EQ(room.Do("Lock", picture, 10).AsText(), "refused: 0 0x0 nil");
        EXPECT_EQ(InfoOf(room.host, picture).descriptionLocks, version < 2012 ? 1 : 0);
        EXPECT_EQ(room.Do("Lock", picture, 10).AsText(), "10 3x3 data");
    }
}

TEST(FaultPlan, TellsWhatCannotFail) {
    Darkroom room({.missing = {"newPicture"}});
    EXPECT_NE(ErrorOf([&] { room.host.FailCall("REALNoSuchService", 1); }).find("\"REALNoSuchService\""),
              std::string::npos);
    EXPECT_NE(ErrorOf([&] { room.host.FailCall("newPicture", 1); }).find("\"newPicture\""), std::string::npos);
    for (const std::string name : {"REALLockObject", "REALUnlockObject", "unlockPictureDescription", "UnlockPixels",
                                   "DisposeGWorld", "REALPictureClearCache", "RuntimeRaiseException"}) {
        EXPECT_EQ(ErrorOf([&] { room.host.FailCall(name, 1); }), "the service " + name + " has no answer for failure");
    }
    EXPECT_NE(ErrorOf([&] { room.host.FailCall("LockPixels", -1); }), "");
}

}  // namespace zorhost
