#include "FreeHost.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "core/Factory.h"
#include "plugin/PluginEntry.h"

namespace free_host {

namespace {

std::atomic<int> liveObjects{0};
REALclassDefinition* imageClass = nullptr;  // registered before there are threads

struct alignas(16) Thing {
    std::atomic<int> locks{1};
    std::string path;       // of a folder item
    NewPictureEvent event;  // of a factory
};

Thing* ThingOf(REALobject object) {
    return reinterpret_cast<Thing*>(object);
}

// Where the instance data of an image begins.
constexpr std::size_t kFront = (sizeof(Thing) + 15) / 16 * 16;

REALobject Make(std::size_t dataSize) {
    void* const memory = ::operator new (kFront + dataSize, std::align_val_t{16});
    std::memset(memory, 0, kFront + dataSize);
    ++liveObjects;
    return reinterpret_cast<REALobject>(new (memory) Thing);
}

void Lock(REALobject object) {
    ThingOf(object)->locks.fetch_add(1, std::memory_order_relaxed);
}

void Unlock(REALobject object) {
    Thing* const thing = ThingOf(object);
    if (thing->locks.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
    const bool isImage = thing->path.empty() && !thing->event;
    if (isImage) reinterpret_cast<void (*)(REALobject)>(imageClass->destructor)(object);
    thing->~Thing();
    ::operator delete (static_cast<void*>(thing), std::align_val_t{16});
    --liveObjects;
}

void Register(REALclassDefinition* definition) {
    definition->hostSlot = static_cast<REALword>(kFront);
    if (std::strcmp(definition->name, "PictureZOR") == 0) imageClass = definition;
}

REALobject NewInstance(const char* name) {
    if (std::strcmp(name, "PictureZOR") != 0) return nullptr;
    return Make(static_cast<std::size_t>(imageClass->instanceDataSize));
}

REALobject FireNewPicture(REALobject factory, int width, int height, int format) {
    return ThingOf(factory)->event(width, height, format);
}

void* EventInstance(REALobject, REALword) {
    return reinterpret_cast<void*>(&FireNewPicture);
}

REALboolean ReferenceOf(REALobject item, FSRef* reference, REALstring* name) {
    if (name) return 0;
    std::strncpy(reference->path, ThingOf(item)->path.c_str(), sizeof reference->path - 1);
    return 1;
}

void* Resolve(const char* name) {
    struct Service {
        const char* name;
        void* function;
    };
    const Service services[] = {{"PluginRegisterClass", reinterpret_cast<void*>(&Register)},
                                {"PluginNewInstance", reinterpret_cast<void*>(&NewInstance)},
                                {"REALLockObject", reinterpret_cast<void*>(&Lock)},
                                {"REALUnlockObject", reinterpret_cast<void*>(&Unlock)},
                                {"GetEventInstance", reinterpret_cast<void*>(&EventInstance)},
                                {"REALFSRefFromFolderItem", reinterpret_cast<void*>(&ReferenceOf)}};
    for (const Service& service : services) {
        if (std::strcmp(service.name, name) == 0) return service.function;
    }
    return nullptr;
}

}  // namespace

void Start() {
    static std::once_flag once;
    std::call_once(once, [] { REALPluginMain(&Resolve); });
}

REALobject NewImage() {
    return NewInstance("PictureZOR");
}

REALobject NewFolderItem(const std::string& path) {
    const REALobject item = Make(0);
    ThingOf(item)->path = path;
    return item;
}

REALobject NewFactory(NewPictureEvent event) {
    const REALobject factory = Make(0);
    ThingOf(factory)->event = std::move(event);
    return factory;
}

int LiveObjects() {
    return liveObjects;
}

Held::~Held() {
    if (object) Unlock(object);
}

}  // namespace free_host
