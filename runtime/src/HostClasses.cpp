#include "HostClasses.h"

#include <cstdlib>

#include "Classes.h"
#include "HostPictures.h"
#include "Objects.h"
#include "Strings.h"

namespace zorhost::runtime {

MemoryBlockData::~MemoryBlockData() {
    if (owned) std::free(data);
}

std::optional<Value> MemoryBlockData::Get(std::string_view property) const {
    if (SameName(property, "Size")) return Value(size);
    return std::nullopt;
}

FolderItemData::~FolderItemData() {
    if (name && gRuntime) UnlockString(*gRuntime, name);
}

std::optional<Value> FolderItemData::Get(std::string_view property) const {
    if (SameName(property, "AbsolutePath")) return Value(path.string());
    if (SameName(property, "Name")) return Value(path.filename().string());
    return std::nullopt;
}

std::optional<Value> ExceptionData::Get(std::string_view property) const {
    if (SameName(property, "Message")) return Value(message);
    return std::nullopt;
}

bool ExceptionData::Set(std::string_view property, const Value& value) {
    if (!SameName(property, "Message")) return false;
    message = value.IsNil() ? std::string() : value.AsText();
    return true;
}

std::string ExceptionMessage(const ObjectRecord& exception) {
    const auto* const data = dynamic_cast<const ExceptionData*>(exception.native.get());
    return data ? data->message : std::string();
}

template <class Data>
static std::unique_ptr<NativeData> Make() {
    return std::make_unique<Data>();
}

Class& AddHostClass(Runtime& host, const char* name, const char* superName) {
    Class& added = host.classes.emplace_back();
    added.name = name;
    added.super = superName ? FindClass(host, superName) : nullptr;
    added.dataOffset = added.dataEnd = kObjectHeader;
    return added;
}

void AddHostClasses(Runtime& host) {
    AddHostClass(host, "MemoryBlock", nullptr).makeNative = Make<MemoryBlockData>;
    AddHostClass(host, "FolderItem", nullptr).makeNative = Make<FolderItemData>;
    AddPictureClasses(host);
    AddHostClass(host, "RuntimeException", nullptr).makeNative = Make<ExceptionData>;
    for (const char* name :
         {"OutOfMemoryException", "NilObjectException", "OutOfBoundsException", "UnsupportedOperationException"}) {
        AddHostClass(host, name, "RuntimeException");
    }
    switch (host.options.world) {
        case World::Console:
            AddHostClass(host, "ConsoleApplication", nullptr);
            break;
        case World::Web:
            AddHostClass(host, "WebApplication", nullptr);
            break;
        case World::Desktop:
            AddHostClass(host, "Application", nullptr);
            break;
        case World::None:
            break;
    }
}

REALobject NewMemoryBlock(Runtime& host, std::int64_t size, std::string origin) {
    unsigned char* bytes = nullptr;
    if (size > 0) {
        bytes = static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(size), 1));
        if (!bytes) return nullptr;
    }
    const REALobject block = NewObject(host, *FindClass(host, "MemoryBlock"), std::move(origin));
    MemoryBlockData& data = *NativeOf<MemoryBlockData>(host, block);
    data.data = bytes;
    data.size = size;
    data.owned = true;
    return block;
}

REALobject NewMemoryBlockOver(Runtime& host, void* address, std::string origin) {
    const REALobject block = NewObject(host, *FindClass(host, "MemoryBlock"), std::move(origin));
    MemoryBlockData& data = *NativeOf<MemoryBlockData>(host, block);
    data.data = static_cast<unsigned char*>(address);
    data.size = -1;
    return block;
}

}  // namespace zorhost::runtime
