#pragma once
// Host pictures for FakeHost: console pictures, desktop pictures, pictures that have to be rasterised, their masks and
// graphics objects, and QuickDraw.
//
//     class MyTest : public EngineTest { protected: FakePictures pictures{host, World::console}; };
//     TEST_F(MyTest, DoesSomething) {
//         const REALobject picture = pictures.NewDesktop(4, 3, 24, "source");  // one lock, the test's
//         pictures[picture].Set(1, 2, {10, 20, 30, 255});
//         host.ClearLog();
//         ...
//         EXPECT_THAT(pictures.Calls(), ElementsAre("lockPictureDescription(source)", ...));
//         REALUnlockObject(picture);
//     }
//
// Locks of descriptions and pixels are counted: what is left when a picture or the test ends fails the test, and so
// does an unlock without a lock. Pixels lie between guard bytes, each row of a console picture by itself. Hosts below
// 2012.0 leave the lock on when they refuse a description, as those hosts do.

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/FakeHost.h"
#include "support/FakePixels.h"

enum class World { none, console, web, desktop };

// Calls of the host, in order.
using Calls = std::vector<std::string>;
Calls Joined(std::initializer_list<Calls> parts);

// Those by which the engine finds out the application's world.
extern const Calls kLookUps;

class FakePictures {
public:
    FakePictures(FakeHost& host, World world);
    ~FakePictures();
    FakePictures(const FakePictures&) = delete;
    FakePictures& operator=(const FakePictures&) = delete;
    static FakePictures* Current();  // nil: this test has no pictures

    // The application is one of that world from now on, and what the engine found out before is forgotten.
    // The desktop brings QuickDraw, which stays for the life of the process.
    void Enter(World world);
    // The same, found out by the engine already.
    void Know(World world);
    static void LoadQuickDraw();

    // --- makers: one lock, the caller's. Without a name: "picture 1", "picture 2", ... -------------------------------
    REALobject NewConsole(int width, int height, const std::string& name = "");
    REALobject NewPalette(int width, int height, const std::string& name = "");
    // bits: 32, 24, 16, 8 or 1. padding: bytes behind each row.
    REALobject NewDesktop(int width, int height, int bits, const std::string& name = "", int padding = 5);
    REALobject NewOther(int width, int height, const std::string& name = "");  // has to be rasterised
    // A readable picture of the world: console picture, or desktop picture of 32 bits.
    REALobject New(int width, int height, const std::string& name = "");
    // Of any kind, filled with noise: alpha bytes and padding included.
    REALobject NewNoise(FakePicture::Kind kind, int bits, int width, int height, std::uint32_t seed,
                        const std::string& name = "");

    FakePicture& operator[](REALobject picture);  // fails the test for what is no living picture
    bool IsPicture(REALobject object) const { return pictures_.contains(object); }
    FakeGWorld* GWorldAt(const void* gworld);                    // nil: no such GWorld
    std::size_t FreeGWorlds() const { return gworlds_.size(); }  // made by NewGWorld and not disposed of
    void DisposeOf(const void* gworld);                          // by the test

    // --- what the host answers ---------------------------------------------------------------------------------------
    FakePicture::Kind newKind = FakePicture::Kind::console;  // of pictures that newPicture makes
    int newBits = 32;
    int newPadding = 7;
    bool lendsMasks = false;      // a mask that is asked for without making one comes without a lock
    bool drawMethod = true;       // graphics objects have the method DrawPicture
    bool locksAreCounted = true;  // false: descriptions may stay locked or be unlocked once too often
    bool locksMayStay = false;    // true: descriptions may stay locked

    // The n-th call from now on of that host or QuickDraw function, or of "DrawPicture", fails; 1 is the next.
    void FailCall(const std::string& function, int n = 1) { failing_[function] = n; }
    void FailNothing() { failing_.clear(); }

    // --- what happened -----------------------------------------------------------------------------------------------
    // The calls since host.ClearLog, in order, as "function(subject, further arguments)". Graphics objects are called
    // "graphics of x", masks "mask of x", GWorlds "gworld of x", their pixel maps "pixmap of x", new pictures "new 1".
    ::Calls Calls() const;
    void ClearCalls() { host_.ClearLog(); }
    void RestartNumbers() { made_ = 0; }  // the next new picture is "new 1"
    // Expects that many locks of a picture's description to be left, and takes them off.
    void TakeDescriptionLocks(REALobject picture, int expected);
    int LockedDescriptions() const;  // of all pictures
    int LockedPixels() const;        // of all GWorlds

private:
    friend struct FakePictureCalls;

    REALobject Make(FakePicture::Kind kind, int bits, int padding, int width, int height, const std::string& name);
    bool Refuses(const std::string& function);
    void Forget(REALobject object);
    void CheckBalance(const FakePicture& picture) const;
    std::string NameOf(const void* subject) const;
    FakeGWorld* GWorldOfPixMap(const void* pixMap);

    FakeHost& host_;
    std::map<REALobject, std::unique_ptr<FakePicture>> pictures_;
    std::map<REALobject, REALobject> graphics_;  // graphics object and its picture
    std::map<const void*, std::unique_ptr<FakeGWorld>> gworlds_;
    std::map<std::string, int> failing_;
    int numbered_ = 0;
    int made_ = 0;
    int madeGWorlds_ = 0;
};
