#include <utility>

#include "Classes.h"
#include "Members.h"
#include "Objects.h"
#include "Runtime.h"

namespace zorhost {

using namespace runtime;

// The record of a handle in use by the program. Throws Error for an empty handle, or one whose object is gone.
static ObjectRecord& NeedRecord(Runtime& host, REALobject object, std::uint64_t serial) {
    if (!object) throw Error("found nil where an object is wanted");
    ObjectRecord* const record = FindObject(host, object);
    if (!record || record->serial != serial) throw Error("the object went with the host that it belonged to");
    return *record;
}

Object::Object(const Object& other) {
    if (!other.handle_) return;
    Runtime& host = Running();
    ++NeedRecord(host, other.handle_, other.serial_).locks;
    handle_ = other.handle_;
    serial_ = other.serial_;
}

Object::Object(Object&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), serial_(std::exchange(other.serial_, 0)) {}

Object& Object::operator=(const Object& other) {
    return *this = Object(other);
}

Object& Object::operator=(Object&& other) noexcept {
    Object old(std::move(*this));  // released last: it may hold what was assigned
    handle_ = std::exchange(other.handle_, nullptr);
    serial_ = std::exchange(other.serial_, 0);
    return *this;
}

Object::~Object() {
    if (!handle_) return;
    Runtime* const host = Enter("the last use of a handle");
    if (!host) return;
    const ObjectRecord* const record = FindObject(*host, handle_);
    if (record && record->serial == serial_) UnlockObject(*host, handle_);
}

Object Object::TakeOver(REALobject handle) {
    if (!handle) return Object();
    const ObjectRecord* const record = FindObject(Running(), handle);
    if (!record) throw Error("the handle is of no live object");
    return Object(handle, record->serial);
}

Object Object::LockAgain(REALobject handle) {
    Object object = TakeOver(handle);
    if (handle) LockObject(Running(), handle);
    return object;
}

REALobject Object::Release() {
    serial_ = 0;
    return std::exchange(handle_, nullptr);
}

static std::string MemberLabel(const Class& type, const Name& name) {
    return type.name + "." + std::string(name.text);
}

static Value CallMember(const Object& object, std::uint64_t serial, const Name& method, std::span<const Value> args,
                        const Value* assigned) {
    Runtime& host = Running();
    const Class& type = *NeedRecord(host, object.Handle(), serial).type;
    const std::string label = MemberLabel(type, method);
    std::deque<Method>* const methods = MethodsNamed(type, method.text);
    if (!methods) throw Error(type.name + " has no method \"" + std::string(method.text) + "\"");
    Method& chosen = ChooseMethod(host, *methods, label, method.text, args, assigned);
    const Object held = object;  // a callback may drop the handle that the call came through
    return RunMethod(host, type, chosen, held.Handle(), label + " " + OriginAt(method.where), args, assigned);
}

Value Object::CallWith(Name method, std::span<const Value> args) const {
    return CallMember(*this, serial_, method, args, nullptr);
}

void Object::AssignWith(Name method, std::span<const Value> args, const Value& value) const {
    CallMember(*this, serial_, method, args, &value);
}

Value Object::Get(Name property) const {
    Runtime& host = Running();
    const ObjectRecord& record = NeedRecord(host, handle_, serial_);
    const std::string label = MemberLabel(*record.type, property) + " " + OriginAt(property.where);
    const Object held = *this;
    return GetProperty(host, held.handle_, property.text, label);
}

void Object::Set(Name property, const Value& value) const {
    Runtime& host = Running();
    const ObjectRecord& record = NeedRecord(host, handle_, serial_);
    const std::string label = MemberLabel(*record.type, property) + " " + OriginAt(property.where);
    const Object held = *this;
    SetProperty(host, held.handle_, property.text, value, label);
}

std::string Object::ClassName() const {
    return NeedRecord(Running(), handle_, serial_).type->name;
}

bool Object::IsA(std::string_view className) const {
    return handle_ && DistanceToClass(*NeedRecord(Running(), handle_, serial_).type, className) >= 0;
}

int Object::LockCount() const {
    return handle_ ? NeedRecord(Running(), handle_, serial_).locks : 0;
}

void* Object::InstanceData() const {
    const ObjectRecord& record = NeedRecord(Running(), handle_, serial_);
    return reinterpret_cast<char*>(handle_) + record.type->dataOffset;
}

}  // namespace zorhost
