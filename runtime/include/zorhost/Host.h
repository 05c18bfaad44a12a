#pragma once
// The embedded host: opens a plug-in, offers it the services of its host, and gives access to its classes.
//
//     zorhost::Host host({.plugin = "libPictureZOR.so"});
//     zorhost::Object image = host.New("PictureZOR", 640, 480, host.Constant("PictureZOR", "ImageFormatRGB"));
//     image.Call("FillRectRGB", zorhost::Color::FromRGB(255, 0, 0));
//     zorhost::Object row = image.Call("Row", 0).AsObject();
//
// All calls belong to the thread that made the Host; a call from another one is an Error.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zorhost/Description.h"
#include "zorhost/Error.h"
#include "zorhost/Signature.h"
#include "zorhost/Value.h"

namespace zorhost {

// The kind of application that the host stands for. It decides which rows of a class are available: on the desktop all
// of them, elsewhere those that are marked for it; without an application, all.
enum class World { Console, Web, Desktop, None };

// What the host's pictures are made of. By world: GWorlds of QuickDraw on the desktop, images of the GD library
// elsewhere.
enum class PictureStorage { ByWorld, GD, GWorld };

// The entry of a plug-in; it is given the function that finds host services by name.
using PluginMain = void (*)(void* (*resolver)(const char* name));

// The instruction sets are "plain" (no vectors), "sse4", "avx2" and "neon". Of those that the processor has, the
// plug-in uses the best up to the one named in `cpu`; results are the same with each. Empty: the best of all, or up to
// what the program's own environment names in ZOR_CPU. The plug-in reads that variable at its start and at no other
// time: a host that is asked for an instruction set puts it there while the entry runs, and then puts back what was
// there before. No other thread should use the environment meanwhile.
struct HostOptions {
    std::filesystem::path plugin = {};  // the library to open
    PluginMain entry = nullptr;         // or the entry of a plug-in that is linked into the program
    World world = World::Console;
    double version = 2020.01;                           // of the host, as the plug-in is told it
    std::string cpu = {};                               // the highest instruction set it may use; see above
    std::set<std::string> missing = {};                 // names of services that this host does not have
    std::function<void()> onYield = {};                 // see SetYield
    PictureStorage pictures = PictureStorage::ByWorld;  // QuickDraw answers where they are GWorlds
    bool hasGWorldClass = false;  // the application has the class GWorldZOR, which owns a GWorld for a plug-in
    bool wideGWorlds = false;     // QuickDraw lays GWorlds of 24 bits out with 32, and says so
};

// An object that is still alive, and where it came from.
struct LiveObject {
    std::string className;
    int locks = 0;
    std::string origin;  // "at scale_rows.cpp:17", "by PictureZOR.Clone at scale_rows.cpp:20"
};

// The bytes of a memory block. Good as long as the block lives.
struct BlockBytes {
    unsigned char* data = nullptr;
    std::int64_t size = 0;  // -1 for a block over an address of the plug-in, which knows no size
};

// Arguments in the order of the event's declaration. What it throws comes out of the call that led to the event.
using EventFunction = std::function<Value(std::span<const Value> args)>;
// Gives an image at least as large as asked for, or an empty handle to leave the choice to the next in turn.
using FactoryFunction = std::function<Object(int width, int height, int format)>;

// One at a time in a process. A plug-in is started once in the life of the process and stays loaded; a later Host for
// the same plug-in goes on with the classes that it registered, and must ask for the same world, version, instruction
// set and services. At its end the Host tears down every object that is still alive.
class Host {
public:
    // Throws Error: the library does not open or has no entry, a declaration is malformed, the instruction set is none
    // that is known, a Host exists already.
    explicit Host(HostOptions options);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    static Host* Current();  // null where there is none

    // A new object. The form of "Constructor" that fits is run on it; without arguments none need exist.
    // Throws as Object::Call does, and Error for an unknown class.
    template <class... Args>
    Object New(Name className, Args&&... args);
    Object NewWith(Name className, std::span<const Value> args);

    // A shared method of a class. Throws as Object::Call does.
    template <class... Args>
    Value CallShared(Name className, std::string_view method, Args&&... args);
    Value CallSharedWith(Name className, std::string_view method, std::span<const Value> args);

    // A constant of a class. Throws Error for an unknown one.
    const Value& Constant(std::string_view className, std::string_view name) const;

    // The classes of the plug-in, in the order of registration. Describe throws Error for an unknown name.
    const std::vector<ClassDescription>& Classes() const;
    const ClassDescription& Describe(std::string_view className) const;

    // Memory blocks: zero-filled, with a copy of the bytes, or over memory of the caller's, which must stay. A block of
    // size 0 has no data. Throw Error for a negative size or where memory runs out.
    Object MakeMemoryBlock(std::int64_t size, Place where = Place::Here());
    Object MakeMemoryBlock(std::span<const unsigned char> bytes, Place where = Place::Here());
    Object MakeMemoryBlockOver(void* address, Place where = Place::Here());
    // Throws Error for an object that is no memory block.
    BlockBytes MemoryBlockBytes(const Object& block) const;

    // Names a file, which need not exist. A relative path is taken from the current directory.
    Object MakeFolderItem(const std::filesystem::path& path, Place where = Place::Here());

    // An object of an application's subclass of className that implements one event. Throws Error for an unknown one.
    Object MakeEventHandler(Name className, std::string_view event, EventFunction function);
    // The same for "NewPictureZOR" of PictureFactoryZOR.
    Object MakeFactory(FactoryFunction function, Place where = Place::Here());

    // Called whenever a long method gives the host a turn. An exception that it throws ends that method: the method
    // releases what it holds, and the exception comes out of the call. The plug-in must be built for that: its
    // functions with unwind tables, and an unwinder of its own, if it links one in, made ready at its start.
    void SetYield(std::function<void()> callback);

    // Every object that is alive, oldest first. The report is one line for each object, each string, and each GWorld
    // that nothing owns, empty for none. A picture's mask is an object by itself.
    std::vector<LiveObject> LiveObjects() const;
    std::string LeakReport() const;

    // Makes the nth call of a service from now on fail, 1 being the next; 0 takes that back and only counts. A failing
    // service gives the answer that it has for failure and does nothing; of the two that lock a description, the one
    // without an answer locks and describes nothing, and the one with an answer refuses as hosts of its version do.
    // Besides the names that a plug-in resolves, the ten of QuickDraw and "DrawPicture" are services. Throws Error for
    // an unknown service, and for one that has no answer for failure: those that release, lock objects, raise or
    // register.
    void FailCall(std::string_view service, int nth);
    // How often the service was called since FailCall named it; the fault has struck once that is nth.
    int CallsOf(std::string_view service) const;

    // What the plug-in did wrong so far, such as releasing an object once too often or asking for services on a thread
    // of its own. Each such call was ignored.
    std::vector<std::string> Faults() const;

    World ApplicationWorld() const;
    double Version() const;
    int PluginVersion() const;  // the version of the interface that the plug-in told; 0 if it did not
};

template <class... Args>
Object Host::New(Name className, Args&&... args) {
    const std::array<Value, sizeof...(Args)> values{Value(std::forward<Args>(args))...};
    return NewWith(className, values);
}

template <class... Args>
Value Host::CallShared(Name className, std::string_view method, Args&&... args) {
    const std::array<Value, sizeof...(Args)> values{Value(std::forward<Args>(args))...};
    return CallSharedWith(className, method, values);
}

}  // namespace zorhost
