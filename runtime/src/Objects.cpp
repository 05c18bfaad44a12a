#include "Objects.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

#include "DescriptorZero.h"
#include "Strings.h"

namespace zorhost::runtime {

using ObjectFunction = void (*)(REALobject);

static void RunConstructors(const Class& type, REALobject object) {
    if (type.super) RunConstructors(*type.super, object);
    if (!type.definition || !type.definition->constructor) return;
    reinterpret_cast<ObjectFunction>(type.definition->constructor)(object);
}

REALobject NewObject(Runtime& host, const Class& type, std::string origin) {
    const std::size_t size = (type.dataEnd + 15) / 16 * 16;
    void* const memory = std::aligned_alloc(16, size);
    if (!memory) throw std::bad_alloc();
    std::memset(memory, 0, size);
    const REALobject object = static_cast<REALobject>(memory);
    ObjectRecord& record = host.objects[object];
    record.type = &type;
    record.locks = 1;
    record.serial = NextSerial();
    record.origin = std::move(origin);
    for (const Class* level = &type; level && !record.native; level = level->super) {
        if (level->makeNative) record.native = level->makeNative();
    }
    if (record.native) record.native->self = object;
    RunConstructors(type, object);
    return object;
}

ObjectRecord* FindObject(Runtime& host, REALobject object) {
    const auto found = host.objects.find(object);
    return found == host.objects.end() ? nullptr : &found->second;
}

const ObjectRecord* FindObject(const Runtime& host, REALobject object) {
    const auto found = host.objects.find(object);
    return found == host.objects.end() ? nullptr : &found->second;
}

void LockObject(Runtime& host, REALobject object) {
    if (!object) return;
    if (ObjectRecord* const record = FindObject(host, object)) {
        ++record->locks;
    } else {
        AddFault(host, "an object was locked that is not alive, " + OriginInCall(host));
    }
}

static void RunDestructors(const Class& type, REALobject object) {
    for (const Class* level = &type; level; level = level->super) {
        if (!level->definition || !level->definition->destructor) continue;
        const DescriptorZeroScope scope;
        reinterpret_cast<ObjectFunction>(level->definition->destructor)(object);
    }
}

// What the application stored in a property belongs to the host; what the plug-in stored is gone by now.
static void ReleaseManagedFields(Runtime& host, const Class& type, REALobject object) {
    for (const Class* level = &type; level; level = level->super) {
        for (const Property& property : level->properties) {
            if (property.setter != -1) continue;
            const Kind kind = property.about.type.kind;
            void* held = nullptr;
            if (kind != Kind::Object && kind != Kind::Variant && kind != Kind::String) continue;
            std::memcpy(&held, FieldOf(object, *level, property), sizeof held);
            if (!held) continue;
            if (kind == Kind::String) {
                UnlockString(host, static_cast<REALstring>(held));
            } else {
                UnlockObject(host, static_cast<REALobject>(held));
            }
        }
    }
}

// The plug-in's part of the end of an object, whose memory stays.
static void RunTeardown(Runtime& host, REALobject object, const Class& type) {
    try {
        FrameScope frame(host, "the teardown of " + type.name);
        RunDestructors(type, object);
    } catch (const std::exception& error) {
        AddFault(host, "the teardown of " + type.name + " threw: " + error.what());
    } catch (...) {
        AddFault(host, "the teardown of " + type.name + " threw");
    }
}

static void Free(Runtime& host, REALobject object) {
    {
        // What it holds goes while the object is no longer found, but its memory is still there.
        const auto node = host.objects.extract(object);
    }
    std::free(object);
}

static void TearDown(Runtime& host, REALobject object, ObjectRecord& record) {
    record.dying = true;
    RunTeardown(host, object, *record.type);
    ReleaseManagedFields(host, *record.type, object);
    Free(host, object);
}

void UnlockObject(Runtime& host, REALobject object) {
    if (!object) return;
    ObjectRecord* const record = FindObject(host, object);
    if (!record || record->locks < 1) {
        AddFault(host, "an object was unlocked once too often, " + OriginInCall(host));
        return;
    }
    if (--record->locks == 0 && !record->dying) TearDown(host, object, *record);
}

int DistanceToClass(const Class& type, std::string_view className) {
    int distance = 0;
    for (const Class* level = &type; level; level = level->super, ++distance) {
        if (SameName(level->name, className)) return distance;
    }
    return -1;
}

bool IsKindOf(const Class& type, std::string_view className) {
    return DistanceToClass(type, className) >= 0;
}

void* FieldOf(REALobject object, const Class& owner, const Property& property) {
    return reinterpret_cast<char*>(object) + owner.dataOffset + property.field;
}

void TearDownAll(Runtime& host) {
    // Any of them may hold any other, so nothing is freed before the last teardown has run.
    std::vector<std::pair<std::uint64_t, REALobject>> newestFirst;
    for (auto& [object, record] : host.objects) {
        record.dying = true;
        newestFirst.emplace_back(record.serial, object);
    }
    std::ranges::sort(newestFirst, std::greater());
    for (const auto& [serial, object] : newestFirst) RunTeardown(host, object, *FindObject(host, object)->type);
    while (!host.objects.empty()) Free(host, host.objects.begin()->first);
}

}  // namespace zorhost::runtime
