#pragma once
// A small host in this process, for tests that look at records and host calls.
//
// It implements the whole host interface with plain C++ objects and knows nothing of the embedded host: a second
// opinion on the interface. Objects count their locks, their instance data is zero-filled and lies on 16 bytes;
// memory blocks stand between guard bytes that are checked when the block goes; every call is counted and logged.
//
//     class MyTest : public EngineTest {};            // a fresh host per test, and nothing may be left at its end
//     TEST_F(MyTest, DoesSomething) {
//         const REALobject image = host.NewImage();   // one lock, the test's; no constructor has run
//         ImageConstructor(image, 4, 4, ImageFormatRGB);
//         EXPECT_FALSE(host.TakeException());          // an exception that nobody takes fails the test
//         REALUnlockObject(image);                    // the last lock: the destructor runs
//     }
//
// support/Images.h makes images of every storage kind that give their lock back by themselves.
//
// The plug-in is started once per process, on the first host. Its wrappers keep what they once found, so a host
// function that is to be missing must be so before anything asked for it: see InFreshProcess. What a function that
// stays answers can be changed at any time through the members below.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/ImageClassData.h"
#include "host/HostInterface.h"

using namespace zor;

struct FakeException {
    std::string className;
    std::string message;
    bool hasMessage = false;  // the property was set, be it to a nil string
    unsigned encoding = 0;    // of the message

    bool operator==(const FakeException& other) const {
        return className == other.className && message == other.message && hasMessage == other.hasMessage;
    }
};

struct HostCall {
    std::string name;
    const void* subject;       // object or string that the call is about, or nil
    std::string called = "";   // what the subject was called at that time, where pictures have names
    std::string details = "";  // further arguments, where a hook told them

    bool operator==(const HostCall& other) const { return name == other.name && subject == other.subject; }
};

class FakeHost {
public:
    // Becomes the host of this process; there is one at a time. What is missing stays so from the plug-in's start on.
    explicit FakeHost(std::set<std::string> missing = {}, double version = kVersion);
    ~FakeHost();  // frees what is left without running destructors
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    static FakeHost& Current();
    // What the plug-in asks; the address of a host function, or nil.
    static void* Resolve(const char* name);

    // --- objects: each made with one lock, which the caller gives back by REALUnlockObject --------------------------
    REALobject NewImage();                               // PictureZOR without pixels
    REALobject NewObject(const std::string& className);  // anything without instance data: Picture, Graphics
    REALobject NewBlock(std::size_t size);               // memory block, zero-filled, between guard bytes
    REALobject NewBlockWithoutData();
    // A file that exists; one that does not, told by its folder and its name; one that only the oldest call knows.
    enum class FileForm { reference, folderAndName, spec, none };
    REALobject NewFolderItem(const std::string& path, FileForm form = FileForm::folderAndName);
    using NewPictureEvent = std::function<REALobject(int width, int height, int format)>;
    REALobject NewFactory(NewPictureEvent event = nullptr);  // without event: the class does not implement it

    REALstring NewString(const std::string& bytes, unsigned encoding);
    REALarray NewArray(std::vector<int> values);  // lives as long as the host

    int Locks(const void* objectOrString) const;  // 0: it is gone
    bool IsAlive(const void* objectOrString) const { return Locks(objectOrString) > 0; }
    std::string ClassOf(REALobject object) const;
    std::uint8_t* BlockData(REALobject block);      // nil: a block without data
    std::size_t BlockSize(REALobject block) const;  // 0 for a block over foreign memory
    std::string Bytes(REALstring string) const;
    unsigned Encoding(REALstring string) const;
    void* Payload(REALobject object) const;             // what a test hung on an object
    void SetPayload(REALobject object, void* payload);  // not owned
    // The first 64 bytes of any object are zero and belong to whoever knows its class.
    std::uint8_t* Front(REALobject object) const { return reinterpret_cast<std::uint8_t*>(object); }
    // Locks taken and given back by the host itself: neither logged nor counted as calls.
    void Retain(REALobject object);
    void Release(REALobject object);

    std::size_t LiveObjects() const;
    std::size_t LiveStrings() const;
    std::string WhatIsLeft() const;  // empty if nothing is

    // --- calls -------------------------------------------------------------------------------------------------------
    int Count(const std::string& function) const;  // calls since the last ClearLog
    const std::vector<HostCall>& Log() const { return log_; }
    void ClearLog();
    bool keepLog = true;  // false: calls are neither logged nor counted, for those who make many
    void Note(const char* function, const void* subject);
    void Explain(const std::string& details);  // adds to the latest call of the log

    // The oldest exception that was raised and not yet taken.
    std::optional<FakeException> TakeException();

    // --- what the host answers ---------------------------------------------------------------------------------------
    void SetVersion(double version);  // as if the plug-in had been told so at its start
    void Remove(const std::string& function) { removed_.insert(function); }
    void Restore(const std::string& function) { removed_.erase(function); }

    static constexpr double kVersion = 2013.0;
    double version;                              // told at the start
    std::set<std::string> classes;               // that PluginNewInstance knows, beside the registered ones
    std::set<std::string> applicationClasses;    // that pluginObjectType knows
    int failNewInstance = 0;                     // 1: the next one fails, 2: the one after it, ...; 0: none
    bool failBuildString = false;                // REALBuildString gives nil
    bool failConvertString = false;              // REALConvertString gives nil
    bool failNewMemoryBlock = false;             // newMemoryBlock gives nil
    bool failStringData = false;                 // PluginGetStringData gives false
    bool newBlocksHaveData = true;               // otherwise newMemoryBlock's blocks have no address
    bool parkDescriptorZero = true;              // while a file-backed image that was closed is destroyed
    std::function<void()> onYield;               // run inside REALYieldToRB
    std::function<bool()> refuses;               // asked by every function that has an answer for failure
    std::map<std::string, int> intProperties;    // that REALGetPropValueInt finds on any object
    std::map<std::string, void*> objectMethods;  // that REALLoadObjectMethod finds on any object

    // Pictures are the affair of support/FakePictures.h; without a hook the answer is nil, false or nothing.
    struct Pictures {
        std::function<REALobject(int, int, int)> newPicture;
        std::function<REALobject(int, int, int, void*, int)> buildFromBuffer;
        std::function<void(REALobject, REALpictureDescription*)> lock;
        std::function<bool(REALobject, REALpictureDescription*, REALword)> lockKind;
        std::function<void(REALobject)> unlock;
        std::function<void(REALobject)> clearCache;
        std::function<REALobject(REALobject)> graphics;
        std::function<REALobject(REALobject, int)> mask;
        std::function<void*(REALobject, const char*)> method;         // asked before objectMethods
        std::function<bool(REALobject, const char*, int*)> property;  // asked before intProperties
        std::function<void(REALobject)> destroyed;                    // any object, just before it goes
        std::function<std::string(const void*)> name;                 // of a subject, for the log
    };
    Pictures pictures;

    // --- the start of the plug-in, once per process ------------------------------------------------------------------
    struct Registration {
        int pluginVersion = 0;
        std::vector<std::string> classNames;  // in order
        std::map<std::string, REALclassDefinition*> definitions;
        std::map<std::string, REALword> sizes;
        std::vector<std::string> lookUps;  // names asked for, in order
    };
    static const Registration& Started();

    struct Functions;  // the host functions themselves, in FakeHost.cpp

private:
    struct Object;
    struct String;
    struct Array;
    friend struct Functions;

    bool Refuses() const { return refuses && refuses(); }
    Object* Make(const std::string& className, std::size_t dataSize);
    Object* Find(const void* object) const;
    String* FindString(const void* string) const;
    void Destroy(Object* object);
    void CheckGuards(const Object* object) const;

    std::map<const void*, Object*> objects_;
    std::map<const void*, String*> strings_;
    std::vector<Array*> arrays_;
    std::vector<HostCall> log_;
    std::map<std::string, int> counts_;
    std::vector<REALobject> raised_;
    std::set<std::string> removed_;
    long nextNumber_ = 1;
};

// Keeps descriptor 0 safe while one of these lives: an image in a file that was closed before closes it when it is
// closed or built again, or goes.
class ParkedDescriptorZero {
public:
    ParkedDescriptorZero();
    ~ParkedDescriptorZero();
    ParkedDescriptorZero(const ParkedDescriptorZero&) = delete;
    ParkedDescriptorZero& operator=(const ParkedDescriptorZero&) = delete;

private:
    int parked_;
};

// A test with a host of its own, at whose end nothing may be left.
class EngineTest : public ::testing::Test {
protected:
    FakeHost host;
    bool leftoversAllowed = false;

    void TearDown() override;
};

// Whether the tests run under an emulation of the processor.
#ifdef ZOR_TESTS_EMULATED
inline constexpr bool kEmulated = true;
#else
inline constexpr bool kEmulated = false;
#endif

// Runs the rest of a test in a process of its own in which the wrappers have found nothing yet, and fails with what
// it reported. Use it as the only statement of a plain TEST and make the host inside:
//     InFreshProcess([] { FakeHost host({"REALBuildString"}); EXPECT_...; });
void InFreshProcess(const std::function<void()>& body);
