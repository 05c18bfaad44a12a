#include "operations/BenchHost.h"

#include <cstdlib>
#include <cstring>
#include <list>
#include <new>
#include <utility>

#include "core/Construction.h"
#include "core/Teardown.h"
#include "host/HostCalls.h"

using namespace zor;

namespace bench {

namespace {

// The record comes first: that is where an engine that was not registered looks for it.
struct Object {
    ImageClassData record;
    int locks;
};
Object* ObjectOf(REALobject object) {
    return reinterpret_cast<Object*>(object);
}

REALobject NewInstance(const char* name) {
    if (std::strcmp(name, "PictureZOR") != 0) return nullptr;
    Object* const made = static_cast<Object*>(std::calloc(1, sizeof(Object)));
    if (made) made->locks = 1;
    return reinterpret_cast<REALobject>(made);
}
void LockObject(REALobject object) {
    if (object) ++ObjectOf(object)->locks;
}
void UnlockObject(REALobject object) {
    if (!object || --ObjectOf(object)->locks > 0) return;
    ImageDestructor(object);
    std::free(object);
}

// The bytes lie behind the record, the first of them one byte after the address that it holds.
struct String {
    REALstringRecord record;
    int locks;
};
REALstring BuildString(const void* bytes, int length) {
    const std::size_t size = static_cast<std::size_t>(length);
    String* const made = static_cast<String*>(std::malloc(sizeof(String) + 1 + size));
    if (!made) return nullptr;
    unsigned char* const buffer = reinterpret_cast<unsigned char*>(made + 1);
    *made = {};
    made->record.buffer = buffer;
    made->record.length = length;
    made->locks = 1;
    std::memcpy(buffer + 1, bytes, size);
    return reinterpret_cast<REALstring>(made);
}
void LockString(REALstring string) {
    ++reinterpret_cast<String*>(string)->locks;
}
void UnlockString(REALstring string) {
    if (--reinterpret_cast<String*>(string)->locks == 0) std::free(string);
}

const std::vector<int>& ValuesOf(REALarray array) {
    return *reinterpret_cast<const std::vector<int>*>(array);
}
int UpperBound(REALarray array) {
    return static_cast<int>(ValuesOf(array).size()) - 1;
}
int ReadInt(REALarray array, int index) {
    return ValuesOf(array)[static_cast<std::size_t>(index)];
}

void* Resolve(const char* name) {
    const std::pair<const char*, void*> functions[] = {
        {"PluginNewInstance", reinterpret_cast<void*>(NewInstance)},
        {"REALLockObject", reinterpret_cast<void*>(LockObject)},
        {"REALUnlockObject", reinterpret_cast<void*>(UnlockObject)},
        {"REALBuildString", reinterpret_cast<void*>(BuildString)},
        {"REALLockString", reinterpret_cast<void*>(LockString)},
        {"REALUnlockString", reinterpret_cast<void*>(UnlockString)},
        {"RuntimeUBound", reinterpret_cast<void*>(UpperBound)},
        {"RuntimeDirectReadIntArray", reinterpret_cast<void*>(ReadInt)},
    };
    for (const auto& [known, function] : functions) {
        if (std::strcmp(known, name) == 0) return function;
    }
    return nullptr;
}

}  // namespace

void StartHost() {
    gResolver = Resolve;
}

REALarray ArrayOf(std::vector<int> values) {
    static std::list<std::vector<int>> arrays;
    return reinterpret_cast<REALarray>(&arrays.emplace_back(std::move(values)));
}

HostImage::HostImage(int width, int height, int format) : object_(NewInstance("PictureZOR")) {
    if (!object_) throw std::bad_alloc();
    ImageConstructor(object_, width, height, format);
    if (!IsUsable(record())) throw std::bad_alloc();
}
HostImage::~HostImage() {
    UnlockObject(object_);
}

}  // namespace bench
