#include "Invoke.h"

#include <cstring>
#include <utility>

#include "DescriptorZero.h"
#include "Objects.h"
#include "Strings.h"

namespace zorhost::runtime {

int ConversionCost(const Runtime& host, const Value& value, const Type& type) {
    const auto& contents = value.Contents();
    const bool isInteger = std::holds_alternative<std::int32_t>(contents);
    const bool isInt64 = std::holds_alternative<std::int64_t>(contents);
    switch (type.kind) {
        case Kind::Nothing:
            return -1;
        case Kind::Boolean:
            return std::holds_alternative<bool>(contents) ? 0 : -1;
        case Kind::Integer:
            if (isInt64) return std::in_range<std::int32_t>(std::get<std::int64_t>(contents)) ? 1 : -1;
            return isInteger ? 0 : -1;
        case Kind::Int64:
            return isInt64 ? 0 : isInteger ? 1 : -1;
        case Kind::Double:
            if (isInteger || isInt64) return 2;
            return std::holds_alternative<double>(contents) ? 0 : -1;
        case Kind::Color:
            return std::holds_alternative<Color>(contents) ? 0 : -1;
        case Kind::String:
            return value.IsNil() || std::holds_alternative<String>(contents) ? 0 : -1;
        case Kind::IntegerArray:
            return value.IsNil() || std::holds_alternative<std::vector<std::int32_t>>(contents) ? 0 : -1;
        case Kind::Variant:
        case Kind::Object:
            break;
    }
    if (value.IsNil()) return 0;
    const Object* const object = std::get_if<Object>(&contents);
    const ObjectRecord* const record = object ? FindObject(host, object->Handle()) : nullptr;
    if (!record) return -1;
    if (type.kind == Kind::Variant) return 100;  // anything that names the class is closer
    return DistanceToClass(*record->type, type.className);
}

ffi_type* CTypeOf(const Type& type) {
    switch (type.kind) {
        case Kind::Nothing:
            return &ffi_type_void;
        case Kind::Boolean:
            return &ffi_type_schar;
        case Kind::Integer:
        case Kind::Color:
            return &ffi_type_sint32;
        case Kind::Int64:
            return &ffi_type_sint64;
        case Kind::Double:
            return &ffi_type_double;
        case Kind::String:
        case Kind::Variant:
        case Kind::IntegerArray:
        case Kind::Object:
            break;
    }
    return &ffi_type_pointer;
}

ffi_type* CTypeOfWord() {
    return sizeof(REALword) == 8 ? &ffi_type_sint64 : &ffi_type_sint32;
}

void PrepareCall(CallInterface* interface, std::vector<ffi_type*> types, ffi_type* result) {
    if (interface->prepared) return;
    interface->types = std::move(types);
    const auto count = static_cast<unsigned>(interface->types.size());
    if (ffi_prep_cif(&interface->cif, FFI_DEFAULT_ABI, count, result, interface->types.data()) != FFI_OK) {
        throw Error("a call could not be prepared");
    }
    interface->prepared = true;
}

Arguments::Arguments(Runtime& host, std::size_t count) : host_(host) {
    slots_.reserve(count);
    addresses_.reserve(count);
}

Arguments::~Arguments() {
    for (const REALstring string : strings_) UnlockString(host_, string);
    for (const auto& array : arrays_) host_.arrays.erase(reinterpret_cast<REALarray>(array.get()));
}

Arguments::Slot& Arguments::NewSlot() {
    Slot& slot = slots_.emplace_back();
    addresses_.push_back(&slot);
    return slot;
}

void Arguments::AddPointer(void* pointer) {
    NewSlot().pointer = pointer;
}

void Arguments::AddWord(REALword word) {
    NewSlot().word = word;
}

void Arguments::Add(const Value& value, const Type& type) {
    Slot& slot = NewSlot();
    switch (type.kind) {
        case Kind::Nothing:
            return;
        case Kind::Boolean:
            slot.boolean = value.AsBool() ? 1 : 0;
            return;
        case Kind::Integer:
            slot.integer = value.AsInt();
            return;
        case Kind::Color:
            slot.integer = value.AsColor().rgb;
            return;
        case Kind::Int64:
            slot.int64 = value.AsInt64();
            return;
        case Kind::Double:
            slot.real = value.AsDouble();
            return;
        case Kind::String:
            slot.pointer = nullptr;
            if (value.IsNil()) return;
            strings_.push_back(NewString(host_, value.AsString(), "for a call"));
            slot.pointer = strings_.back();
            return;
        case Kind::IntegerArray: {
            slot.pointer = nullptr;
            if (value.IsNil()) return;
            auto& array = arrays_.emplace_back(std::make_unique<std::vector<std::int32_t>>(value.AsArray()));
            slot.pointer = array.get();
            host_.arrays[reinterpret_cast<REALarray>(array.get())] = ArrayRecord{array.get()};
            return;
        }
        case Kind::Variant:
        case Kind::Object:
            slot.pointer = value.AsObject().Handle();
            return;
    }
}

template <class T>
static T ReadAs(const void* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

static Value ReadString(Runtime& host, REALstring string, Ownership ownership) {
    if (!string) return nullptr;
    const StringEntry* const entry = FindString(host, string);
    if (!entry) {
        AddFault(host, "the plug-in gave a string that is not alive, " + OriginInCall(host));
        return nullptr;
    }
    String text = TextOf(*entry);
    if (ownership == Ownership::Ours) UnlockString(host, string);
    return text;
}

static Value ReadObject(Runtime& host, REALobject object, Ownership ownership) {
    if (!object) return nullptr;
    if (!FindObject(host, object)) {
        AddFault(host, "the plug-in gave an object that is not alive, " + OriginInCall(host));
        return nullptr;
    }
    return ownership == Ownership::Ours ? Object::TakeOver(object) : Object::LockAgain(object);
}

Value ReadValue(Runtime& host, const void* address, const Type& type, Ownership ownership) {
    switch (type.kind) {
        case Kind::Boolean:
            return ReadAs<signed char>(address) != 0;
        case Kind::Integer:
            return ReadAs<std::int32_t>(address);
        case Kind::Color:
            return Color{ReadAs<std::int32_t>(address)};
        case Kind::Int64:
            return ReadAs<std::int64_t>(address);
        case Kind::Double:
            return ReadAs<double>(address);
        case Kind::String:
            return ReadString(host, ReadAs<REALstring>(address), ownership);
        case Kind::Variant:
        case Kind::Object:
            return ReadObject(host, ReadAs<REALobject>(address), ownership);
        case Kind::IntegerArray: {
            const auto array = host.arrays.find(ReadAs<REALarray>(address));
            if (array == host.arrays.end()) return nullptr;
            return *array->second.elements;
        }
        case Kind::Nothing:
            break;
    }
    return nullptr;
}

template <class T>
static void WriteAs(void* address, T value) {
    std::memcpy(address, &value, sizeof value);
}

void WriteValue(Runtime& host, void* address, const Type& type, const Value& value) {
    switch (type.kind) {
        case Kind::Boolean:
            WriteAs<signed char>(address, value.AsBool() ? 1 : 0);
            return;
        case Kind::Integer:
            WriteAs<std::int32_t>(address, value.AsInt());
            return;
        case Kind::Color:
            WriteAs<std::int32_t>(address, value.AsColor().rgb);
            return;
        case Kind::Int64:
            WriteAs<std::int64_t>(address, value.AsInt64());
            return;
        case Kind::Double:
            WriteAs<double>(address, value.AsDouble());
            return;
        case Kind::String:
            WriteAs<REALstring>(address,
                                value.IsNil() ? nullptr : NewString(host, value.AsString(), OriginInCall(host)));
            return;
        case Kind::Variant:
        case Kind::Object:
            WriteAs<REALobject>(address, value.AsObject().Release());
            return;
        case Kind::IntegerArray:
            throw Error("an array cannot be stored in a plug-in's object");
        case Kind::Nothing:
            return;
    }
}

// Whether the function is also the teardown of the class: an application may run it by hand, and more than once.
static bool IsTeardown(const Class* type, REALfunction function) {
    for (const Class* level = type; level; level = level->super) {
        if (level->definition && level->definition->destructor == function) return true;
    }
    return false;
}

Value CallFunction(Runtime& host, const Class* type, std::string label, REALfunction function, CallInterface& interface,
                   Arguments& arguments, const Type& result) {
    union {
        ffi_sarg word;  // libffi widens every integer below its size to this
        std::int64_t int64;
        double real;
        void* pointer;
    } raw{};
    raw.int64 = 0;
    FrameScope frame(host, std::move(label));
    {
        std::optional<DescriptorZeroScope> scope;
        if (IsTeardown(type, function)) scope.emplace();
        ffi_call(&interface.cif, function, &raw, arguments.Addresses());
    }
    Value value;
    if (result.kind == Kind::Boolean) {
        value = static_cast<signed char>(raw.word) != 0;
    } else if (result.kind == Kind::Integer) {
        value = static_cast<std::int32_t>(raw.word);
    } else if (result.kind == Kind::Color) {
        value = Color{static_cast<std::int32_t>(raw.word)};
    } else {
        value = ReadValue(host, &raw, result, Ownership::Ours);
    }
    frame.Deliver();  // a result that came along is released
    return value;
}

}  // namespace zorhost::runtime
