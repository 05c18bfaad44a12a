#pragma once
// Objects: memory, locks and teardown.
//
// A handle is the address of a header of kObjectHeader bytes; the instance data lies behind it, 16-byte aligned and
// zero-filled. The records are kept apart from that memory, so that a stale handle is noticed and not followed.

#include "Runtime.h"

namespace zorhost::runtime {

// 24 bytes of the host's, then the place where a GWorldZOR object keeps what it holds: a pointer and a 32-bit number.
constexpr std::size_t kObjectHeader = 48;

// A new object with one lock for the caller and the constructors of its classes run. Throws std::bad_alloc.
REALobject NewObject(Runtime& host, const Class& type, std::string origin);

// Null for a handle that is not alive.
ObjectRecord* FindObject(Runtime& host, REALobject object);
const ObjectRecord* FindObject(const Runtime& host, REALobject object);

void LockObject(Runtime& host, REALobject object);
// The last lock to go tears the object down. A handle that is not alive is a fault.
void UnlockObject(Runtime& host, REALobject object);

// The data of an object that is of that native kind, or null.
template <class Data>
Data* NativeOf(Runtime& host, REALobject object) {
    ObjectRecord* const record = object ? FindObject(host, object) : nullptr;
    return record ? dynamic_cast<Data*>(record->native.get()) : nullptr;
}

bool IsKindOf(const Class& type, std::string_view className);
// 0 for the class itself, 1 for the one above, and so on; -1 where it is none of them.
int DistanceToClass(const Class& type, std::string_view className);

// The stored value of a property, by the type that it is declared with.
void* FieldOf(REALobject object, const Class& owner, const Property& property);

// Tears down everything that is alive.
void TearDownAll(Runtime& host);

}  // namespace zorhost::runtime
