#pragma once
// Calls into the plug-in: C types, arguments, results.

#include "Runtime.h"

namespace zorhost::runtime {

// How well a value goes where a type is wanted: 0 exactly, more the further it has to be widened, -1 not at all.
int ConversionCost(const Runtime& host, const Value& value, const Type& type);

// The C type that carries a type of the host language.
ffi_type* CTypeOf(const Type& type);
ffi_type* CTypeOfWord();

// Prepares an interface that is not prepared yet. Throws Error if libffi refuses.
void PrepareCall(CallInterface* interface, std::vector<ffi_type*> types, ffi_type* result);

// The arguments of one call, with the strings and arrays made for it, which go with it.
class Arguments {
public:
    Arguments(Runtime& host, std::size_t count);
    ~Arguments();
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    void AddPointer(void* pointer);
    void AddWord(REALword word);
    void Add(const Value& value, const Type& type);  // the value goes there: its ConversionCost is not -1
    void** Addresses() { return addresses_.data(); }

private:
    union Slot {
        signed char boolean;
        std::int32_t integer;
        std::int64_t int64;
        double real;
        void* pointer;
        REALword word;
    };
    Slot& NewSlot();

    Runtime& host_;
    std::vector<Slot> slots_;  // never grows past its reserve: addresses_ points into it
    std::vector<void*> addresses_;
    std::vector<REALstring> strings_;
    std::vector<std::unique_ptr<std::vector<std::int32_t>>> arrays_;
};

enum class Ownership { Ours, Borrowed };  // whether a handle brings a lock for whoever receives it

// A value that stands at an address in the form of its C type, such as a stored field or an argument of an event.
Value ReadValue(Runtime& host, const void* address, const Type& type, Ownership ownership);
// Writes a value there; a handle that is written brings a lock along.
void WriteValue(Runtime& host, void* address, const Type& type, const Value& value);

// Calls a function of the plug-in on behalf of type, which may be null. Throws HostException for what it raised.
// The result's handles are ours.
Value CallFunction(Runtime& host, const Class* type, std::string label, REALfunction function, CallInterface& interface,
                   Arguments& arguments, const Type& result);

}  // namespace zorhost::runtime
