// The QuickDraw calls with and without QuickDraw.

#include "host/QuickDraw.h"

#include <gmock/gmock.h>

#include "host/Platform.h"
#include "support/FakePictures.h"

using namespace zor;

namespace {

using ::testing::ElementsAre;

constexpr const char* kNames[] = {"GetPixRowBytes", "GetPixBaseAddr", "GetGWorldPixMap", "LockPixels", "UnlockPixels",
                                  "GetPixDepth",    "GetPortPixMap",  "DisposeGWorld",   "NewGWorld",  "GetCTable"};

// --- without and with QuickDraw -------------------------------------------------------------------------------------

void ExpectFailureAnswers() {
    int something = 0;
    PixMap** const pixMap = reinterpret_cast<PixMap**>(&something);
    OpaqueGrafPtr* const gworld = reinterpret_cast<OpaqueGrafPtr*>(&something);
    EXPECT_EQ(GetPixRowBytes(pixMap), 0);
    EXPECT_EQ(GetPixBaseAddr(pixMap), nullptr);
    EXPECT_EQ(GetGWorldPixMap(gworld), nullptr);
    EXPECT_FALSE(LockPixels(pixMap));
    UnlockPixels(pixMap);
    EXPECT_EQ(GetPixDepth(pixMap), 0);
    EXPECT_EQ(GetPortPixMap(gworld), nullptr);
    DisposeGWorld(gworld);
    const QuickDrawRect bounds = {0, 0, 3, 4};
    OpaqueGrafPtr* made = gworld;
    EXPECT_EQ(NewGWorld(&made, 32, &bounds, nullptr, nullptr, 0), -1);
    EXPECT_EQ(made, gworld) << "nothing is stored";
    EXPECT_EQ(GetCTable(8), nullptr);
    EXPECT_EQ(something, 0);
}

// Makes every call on the world of a picture and on a new one, and gives the calls that arrived.
std::vector<std::string> CallsThatArrive(FakePictures& pictures) {
    const REALobject picture = pictures.NewDesktop(4, 3, 24, "source", 5);
    FakeGWorld* const world = pictures[picture].gworld.get();
    OpaqueGrafPtr* const gworld = reinterpret_cast<OpaqueGrafPtr*>(world);
    PixMap** const pixMap = static_cast<PixMap**>(world->handle());
    pictures.ClearCalls();
    EXPECT_EQ(GetGWorldPixMap(gworld), pixMap);
    EXPECT_EQ(GetPortPixMap(gworld), pixMap);
    EXPECT_EQ(GetPixDepth(pixMap), 24);
    EXPECT_TRUE(LockPixels(pixMap));
    EXPECT_EQ(GetPixBaseAddr(pixMap), world->pixels.data());
    EXPECT_EQ(GetPixRowBytes(pixMap), 17);
    UnlockPixels(pixMap);
    const QuickDrawRect bounds = {1, 2, 30, 40};
    OpaqueGrafPtr* made = nullptr;
    EXPECT_EQ(NewGWorld(&made, 16, &bounds, GetCTable(7), nullptr, 5), 0);
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(pictures.FreeGWorlds(), 1u);
    DisposeGWorld(made);
    EXPECT_EQ(pictures.FreeGWorlds(), 0u);
    const std::vector<std::string> calls = pictures.Calls();
    REALUnlockObject(picture);
    return calls;
}

const std::vector<std::string> kAllCalls = {"GetGWorldPixMap(gworld of source)",
                                            "GetPortPixMap(gworld of source)",
                                            "GetPixDepth(pixmap of source)",
                                            "LockPixels(pixmap of source)",
                                            "GetPixBaseAddr(pixmap of source)",
                                            "GetPixRowBytes(pixmap of source)",
                                            "UnlockPixels(pixmap of source)",
                                            "GetCTable(7)",
                                            "NewGWorld(16, 2, 1, 40, 30, colours, nil, 5)",
                                            "DisposeGWorld(new gworld 1)"};

TEST(QuickDraw, FailsWhereThereIsNoneAndIsLookedForAgain) {
    InFreshProcess([] {
        FakeHost host;
        FakePictures pictures(host, World::console);
        for (const char* name : kNames) EXPECT_EQ(FindInProcess(name), nullptr) << name;
        ExpectFailureAnswers();
        ExpectFailureAnswers();
        FakePictures::LoadQuickDraw();
        EXPECT_EQ(CallsThatArrive(pictures), kAllCalls) << "after failed look-ups";
    });
}

TEST(QuickDraw, IsFoundByItsNamesAndGetsAllArguments) {
    FakeHost host;
    FakePictures pictures(host, World::desktop);
    for (const char* name : kNames) EXPECT_NE(FindInProcess(name), nullptr) << name;
    EXPECT_EQ(CallsThatArrive(pictures), kAllCalls);
    EXPECT_EQ(CallsThatArrive(pictures).size(), kAllCalls.size()) << "what was found is called again";
}

TEST(QuickDraw, TellsFailuresOfTheCallsThemselves) {
    FakeHost host;
    FakePictures pictures(host, World::desktop);
    for (const char* name : {"GetGWorldPixMap", "GetPortPixMap", "GetPixDepth", "LockPixels", "GetPixBaseAddr",
                             "GetPixRowBytes", "NewGWorld", "GetCTable"}) {
        pictures.FailCall(name);
    }
    const REALobject picture = pictures.NewDesktop(4, 3, 24);
    OpaqueGrafPtr* const gworld = reinterpret_cast<OpaqueGrafPtr*>(pictures[picture].gworld.get());
    PixMap** const pixMap = static_cast<PixMap**>(pictures[picture].gworld->handle());
    EXPECT_EQ(GetGWorldPixMap(gworld), nullptr);
    EXPECT_EQ(GetPortPixMap(gworld), nullptr);
    EXPECT_EQ(GetPixDepth(pixMap), 0);
    EXPECT_FALSE(LockPixels(pixMap));
    EXPECT_EQ(GetPixBaseAddr(pixMap), nullptr);
    EXPECT_EQ(GetPixRowBytes(pixMap), 0);
    const QuickDrawRect bounds = {0, 0, 1, 1};
    OpaqueGrafPtr* made = nullptr;
    EXPECT_EQ(NewGWorld(&made, 32, &bounds, nullptr, nullptr, 0), -1);
    EXPECT_EQ(GetCTable(1), nullptr);
    EXPECT_EQ(pictures.LockedPixels(), 0);
    REALUnlockObject(picture);
}

}  // namespace
