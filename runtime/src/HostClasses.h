#pragma once
// The classes that the host itself brings: memory blocks, folder items, pictures, exceptions, the application.

#include "Runtime.h"

namespace zorhost::runtime {

struct MemoryBlockData : NativeData {
    unsigned char* data = nullptr;
    std::int64_t size = 0;  // -1: over an address, the size is not known
    bool owned = false;     // data is freed with the block

    ~MemoryBlockData() override;
    std::optional<Value> Get(std::string_view property) const override;
};

struct FolderItemData : NativeData {
    std::filesystem::path path;  // absolute
    REALstring name = nullptr;   // the file's name as last handed to the plug-in; one lock of the item's

    ~FolderItemData() override;
    std::optional<Value> Get(std::string_view property) const override;
};

struct ExceptionData : NativeData {
    std::string message;  // UTF-8

    std::optional<Value> Get(std::string_view property) const override;
    bool Set(std::string_view property, const Value& value) override;
};

Class& AddHostClass(Runtime& host, const char* name, const char* superName);

// Adds them to an empty host; the application class is that of its world.
void AddHostClasses(Runtime& host);

std::string ExceptionMessage(const ObjectRecord& exception);

// A block with that much zero-filled memory, locked for the caller. Null where memory runs out; size is 0 or more.
REALobject NewMemoryBlock(Runtime& host, std::int64_t size, std::string origin);
REALobject NewMemoryBlockOver(Runtime& host, void* address, std::string origin);

}  // namespace zorhost::runtime
