#pragma once
// The state of a running host: its classes, its live objects and strings, and the calls that are under way.

#include <ffi.h>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "host/HostInterface.h"
#include "zorhost/Host.h"

namespace zorhost::runtime {

// What an object of one of the host's own classes holds: the bytes of a memory block, the path of a folder item.
struct NativeData {
    REALobject self = nullptr;  // the object that holds this; set before anything else sees it

    virtual ~NativeData() = default;
    virtual std::optional<Value> Get(std::string_view property) const;  // nothing: no such property
    virtual bool Set(std::string_view property, const Value& value);    // false: none that can be set so
};

// How a function is called: built once from its signature. Not movable once prepared, since libffi keeps addresses.
struct CallInterface {
    ffi_cif cif{};
    std::vector<ffi_type*> types;
    bool prepared = false;
};

struct Method {
    MethodDescription about;
    REALfunction function = nullptr;
    REALfunction setterFunction = nullptr;
    CallInterface call;
    CallInterface assignment;
};

struct Property {
    PropertyDescription about;
    REALword getter = 0;  // the three words of the row in the plug-in's table
    REALword setter = 0;
    REALword field = 0;
    CallInterface read;
    CallInterface write;
};

struct Event {
    EventDescription about;
    REALword identifier = 0;  // the word that the plug-in asks with
};

struct Class {
    std::string name;
    const Class* super = nullptr;
    REALclassDefinition* definition = nullptr;              // null for the host's own classes
    std::unique_ptr<NativeData> (*makeNative)() = nullptr;  // for the host's own classes that hold something
    ClassDescription about;
    std::deque<Method> methods;
    std::deque<Method> sharedMethods;
    std::deque<Property> properties;
    std::deque<Event> events;
    std::size_t dataOffset = 0;  // instance data of this class, from the object handle; that of super comes first
    std::size_t dataEnd = 0;
};

struct ObjectRecord {
    const Class* type = nullptr;
    int locks = 0;
    bool dying = false;        // its teardown is running
    std::uint64_t serial = 0;  // unique in the process
    std::string origin;
    std::unique_ptr<NativeData> native;
};

struct StringEntry {
    std::unique_ptr<REALstringRecord> record;  // first word: locks; third word: encoding
    std::vector<unsigned char> buffer;         // one skipped byte, the text, four zero bytes
    std::uint64_t serial = 0;
    std::string origin;
};

struct CallFrame {
    std::string label;               // "PictureZOR.Clone at main.cpp:20"
    std::vector<REALobject> raised;  // exceptions, oldest first; the host owns one lock on each
};

struct ArrayRecord {
    const std::vector<std::int32_t>* elements = nullptr;
};

// The nth call of a service is to fail; 0: none.
struct PlannedFault {
    int nth = 0;
    int calls = 0;  // since the plan was made
};

struct EventClosure;
struct GWorld;

struct Runtime {
    HostOptions options;
    std::thread::id thread;
    int pluginVersion = 0;
    std::deque<Class> classes;                             // addresses stay
    std::vector<ClassDescription> descriptions;            // of the plug-in's classes
    std::string startError;                                // the first thing wrong in a registration
    std::unordered_map<REALobject, ObjectRecord> objects;  // every object that is alive
    std::unordered_map<REALstring, StringEntry> strings;
    std::unordered_map<REALarray, ArrayRecord> arrays;                 // arguments of the calls under way
    std::vector<CallFrame*> frames;                                    // calls under way, innermost last
    std::vector<std::unique_ptr<EventClosure>> retiredClosures;        // may still be running; freed between calls
    std::unordered_map<const void*, std::unique_ptr<GWorld>> gworlds;  // every GWorld that is alive, by its address
    std::map<std::string, PlannedFault, std::less<>> plannedFaults;    // by service
    mutable std::mutex faultMutex;                                     // the one thing that other threads may reach
    std::vector<std::string> faults;

    Runtime();
    ~Runtime();
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;
};

extern Runtime* gRuntime;  // null while there is no Host

// The running host, for calls of the program. Throws Error if there is none or the thread is another one.
Runtime& Running();
// The same for calls of the plug-in: null, and a fault, where the program would get an Error. Null, too, where the
// program has planned that this call of the service fails: a service that does nothing on null and answers so is all it
// takes.
Runtime* Enter(const char* service);
// For services that must do something even where they fail: only null on the wrong thread, and the plan.
Runtime* EnterUnplanned(const char* service);
bool IsPlannedToFail(Runtime& host, std::string_view service);
void AddFault(Runtime& host, std::string text);

std::uint64_t NextSerial();
// "by PictureZOR.Clone at main.cpp:20": what the innermost call under way says of things made in it.
std::string OriginInCall(const Runtime& host);
std::string OriginAt(const Place& where);

// Comparison as the host language does it: ASCII letters match in either case.
bool SameName(std::string_view a, std::string_view b);

// Pushes a frame for as long as it lives, then drops what was raised in it and not delivered.
struct FrameScope {
    FrameScope(Runtime& runtime, std::string label);
    ~FrameScope();
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;
    // Throws HostException if something was raised.
    void Deliver();

    Runtime& host;
    CallFrame frame;
};

}  // namespace zorhost::runtime
