#include "Events.h"

#include <cstring>

#include "Invoke.h"
#include "Objects.h"

namespace zorhost::runtime {

EventClosure::~EventClosure() {
    if (closure) ffi_closure_free(closure);
}

// An event may drop the last reference to its own object, so the code outlives the call.
HandlerData::~HandlerData() {
    if (!gRuntime || gRuntime->frames.empty()) return;
    for (auto& [identifier, closure] : events) gRuntime->retiredClosures.push_back(std::move(closure));
}

static void WriteResult(Runtime& host, const EventClosure& event, void* result, const Value& value) {
    const Type& type = event.signature.result;
    if (type.kind == Kind::Nothing) return;
    if (ConversionCost(host, value, type) < 0) {
        throw Error("the event " + event.label + " gave " + value.TypeName() + " where " + type.Name() + " is wanted");
    }
    // Integers below the size of a register are given back in a whole one.
    if (type.kind == Kind::Boolean) {
        const ffi_sarg word = value.AsBool() ? 1 : 0;
        std::memcpy(result, &word, sizeof word);
    } else if (type.kind == Kind::Integer || type.kind == Kind::Color) {
        const ffi_sarg word = type.kind == Kind::Integer ? value.AsInt() : value.AsColor().rgb;
        std::memcpy(result, &word, sizeof word);
    } else {
        WriteValue(host, result, type, value);
    }
}

static void RunEvent(ffi_cif*, void* result, void** addresses, void* userData) {
    EventClosure& event = *static_cast<EventClosure*>(userData);
    if (CTypeOf(event.signature.result) != &ffi_type_void) std::memset(result, 0, sizeof(ffi_arg));
    Runtime* const host = Enter("an event");
    if (!host) return;
    // The event's object stays for the time of the call, whatever the callable does with its handles.
    const Value self = ReadValue(*host, addresses[0], Type{Kind::Variant, {}}, Ownership::Borrowed);
    std::vector<Value> args;
    for (std::size_t i = 0; i < event.signature.parameters.size(); ++i) {
        args.push_back(ReadValue(*host, addresses[i + 1], event.signature.parameters[i].type, Ownership::Borrowed));
    }
    WriteResult(*host, event, result, event.function(args));
}

std::unique_ptr<EventClosure> MakeEventClosure(const Class& type, const Event& event, EventFunction function) {
    auto made = std::make_unique<EventClosure>();
    made->signature = event.about.signature;
    made->function = std::move(function);
    made->label = type.name + "." + event.about.signature.name;
    std::vector<ffi_type*> types{&ffi_type_pointer};
    for (const Parameter& parameter : made->signature.parameters) types.push_back(CTypeOf(parameter.type));
    PrepareCall(&made->interface, std::move(types), CTypeOf(made->signature.result));
    made->closure = static_cast<ffi_closure*>(ffi_closure_alloc(sizeof(ffi_closure), &made->code));
    if (!made->closure ||
        ffi_prep_closure_loc(made->closure, &made->interface.cif, RunEvent, made.get(), made->code) != FFI_OK) {
        throw Error("no code could be made for the event " + made->label);
    }
    return made;
}

}  // namespace zorhost::runtime
