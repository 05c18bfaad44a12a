#include "Members.h"

#include <algorithm>
#include <cstring>

#include "Classes.h"
#include "Invoke.h"
#include "Objects.h"
#include "Strings.h"

namespace zorhost::runtime {

namespace {

struct Candidate {
    Method* method = nullptr;
    std::vector<int> costs;  // per argument, the assigned value last
    std::size_t defaults = 0;
};

// The costs of a call, or nothing where it does not fit.
std::optional<Candidate> Fit(const Runtime& host, Method& method, std::span<const Value> args, const Value* assigned) {
    const Signature& signature = method.about.signature;
    const std::size_t count = signature.parameters.size();
    if (args.size() > count) return std::nullopt;
    if (assigned ? !method.setterFunction : !method.function) return std::nullopt;
    Candidate candidate{&method, {}, count - args.size()};
    for (std::size_t i = 0; i < count; ++i) {
        const Parameter& parameter = signature.parameters[i];
        if (i >= args.size()) {
            if (!parameter.defaultValue) return std::nullopt;
            continue;
        }
        candidate.costs.push_back(ConversionCost(host, args[i], parameter.type));
    }
    if (assigned) candidate.costs.push_back(ConversionCost(host, *assigned, signature.result));
    if (std::ranges::find(candidate.costs, -1) != candidate.costs.end()) return std::nullopt;
    return candidate;
}

// At least as close everywhere, and closer somewhere.
bool IsBetter(const Candidate& a, const Candidate& b) {
    bool closer = a.defaults < b.defaults;
    for (std::size_t i = 0; i < a.costs.size(); ++i) {
        if (a.costs[i] > b.costs[i]) return false;
        closer = closer || a.costs[i] < b.costs[i];
    }
    return closer && a.defaults <= b.defaults;
}

std::string ListTypes(std::span<const Value> args, const Value* assigned) {
    std::string list = "(";
    for (const Value& arg : args) list += (list.size() > 1 ? ", " : "") + arg.TypeName();
    list += ")";
    if (assigned) list += " = " + assigned->TypeName();
    return list;
}

[[noreturn]] void ThrowNoChoice(const Runtime& host, const std::deque<Method>& methods, const std::string& label,
                                std::string_view name, const std::string& problem, bool assigned) {
    std::string text = label + problem;
    std::string forms;
    for (const Method& method : methods) {
        if (!SameName(method.about.signature.name, name) || (assigned && !method.about.assignable)) continue;
        forms += "\n    " + method.about.declaration;
        if (!method.about.available) forms += "    (not in " + WorldName(host.options.world) + ")";
    }
    text += forms.empty() ? "; there is no such form" : "; there are:" + forms;
    throw Error(text);
}

}  // namespace

Method& ChooseMethod(const Runtime& host, std::deque<Method>& methods, const std::string& label, std::string_view name,
                     std::span<const Value> args, const Value* assigned) {
    std::vector<Candidate> candidates;
    bool hidden = false;
    for (Method& method : methods) {
        if (!SameName(method.about.signature.name, name)) continue;
        auto candidate = Fit(host, method, args, assigned);
        if (!candidate) continue;
        if (!method.about.available) {
            hidden = true;
            continue;
        }
        candidates.push_back(std::move(*candidate));
    }
    for (const Candidate& candidate : candidates) {
        const bool best = std::ranges::all_of(
            candidates, [&](const Candidate& other) { return &other == &candidate || IsBetter(candidate, other); });
        if (best) return *candidate.method;
    }
    const std::string types = ListTypes(args, assigned);
    const std::string problem = !candidates.empty() ? " is ambiguous for " + types
                                : hidden ? " is not available in " + WorldName(host.options.world) + " for " + types
                                         : " does not take " + types;
    ThrowNoChoice(host, methods, label, name, problem, assigned != nullptr);
}

std::deque<Method>* MethodsNamed(const Class& type, std::string_view name) {
    for (const Class* level = &type; level; level = level->super) {
        for (const Method& method : level->methods) {
            if (SameName(method.about.signature.name, name)) return const_cast<std::deque<Method>*>(&level->methods);
        }
    }
    return nullptr;
}

Value RunMethod(Runtime& host, const Class& type, Method& method, REALobject object, std::string label,
                std::span<const Value> args, const Value* assigned) {
    const Signature& signature = method.about.signature;
    static const Type nothing;
    const Type& result = assigned ? nothing : signature.result;
    CallInterface& interface = assigned ? method.assignment : method.call;
    if (!interface.prepared) {
        std::vector<ffi_type*> types;
        if (object) types.push_back(&ffi_type_pointer);
        for (const Parameter& parameter : signature.parameters) types.push_back(CTypeOf(parameter.type));
        if (assigned) types.push_back(CTypeOf(signature.result));
        PrepareCall(&interface, std::move(types), CTypeOf(result));
    }
    Arguments arguments(host, signature.parameters.size() + 2);
    if (object) arguments.AddPointer(object);
    for (std::size_t i = 0; i < signature.parameters.size(); ++i) {
        const Parameter& parameter = signature.parameters[i];
        arguments.Add(i < args.size() ? args[i] : *parameter.defaultValue, parameter.type);
    }
    if (assigned) arguments.Add(*assigned, signature.result);
    const REALfunction function = assigned ? method.setterFunction : method.function;
    return CallFunction(host, &type, std::move(label), function, interface, arguments, result);
}

// The property of a plug-in's class, checked for use in the running world.
static OwnedProperty NeedAvailable(const Runtime& host, const Class& type, std::string_view name) {
    const OwnedProperty found = FindProperty(type, name);
    if (!found.property) throw Error(type.name + " has no property \"" + std::string(name) + "\"");
    if (!found.property->about.available) {
        throw Error("the property " + type.name + "." + found.property->about.name + " is not available in " +
                    WorldName(host.options.world));
    }
    return found;
}

Value GetProperty(Runtime& host, REALobject object, std::string_view name, std::string label) {
    const ObjectRecord& record = *FindObject(host, object);
    if (record.native) {
        const FrameScope frame(host, label);  // a property may make an object, which says where from
        if (auto value = record.native->Get(name)) return *value;
    }
    const auto [owner, property] = NeedAvailable(host, *record.type, name);
    const Type& type = property->about.type;
    if (property->getter == 0)
        throw Error("the property " + owner->name + "." + property->about.name + " is write-only");
    if (property->getter == -1) {
        return ReadValue(host, FieldOf(object, *owner, *property), type, Ownership::Borrowed);
    }
    if (!property->read.prepared) {
        PrepareCall(&property->read, {&ffi_type_pointer, CTypeOfWord()}, CTypeOf(type));
    }
    Arguments arguments(host, 2);
    arguments.AddPointer(object);
    arguments.AddWord(0);
    const auto function = reinterpret_cast<REALfunction>(property->getter);
    return CallFunction(host, owner, std::move(label), function, property->read, arguments, type);
}

// Stores a value in a field whose references the host manages.
static void StoreManaged(Runtime& host, void* field, const Type& type, const Value& value) {
    void* old = nullptr;
    const bool holdsHandle = CTypeOf(type) == &ffi_type_pointer;
    if (holdsHandle) std::memcpy(&old, field, sizeof old);
    WriteValue(host, field, type, value);
    if (!old) return;
    if (type.kind == Kind::String) {
        UnlockString(host, static_cast<REALstring>(old));
    } else {
        UnlockObject(host, static_cast<REALobject>(old));
    }
}

void SetProperty(Runtime& host, REALobject object, std::string_view name, const Value& value, std::string label) {
    const ObjectRecord& record = *FindObject(host, object);
    if (record.native && record.native->Set(name, value)) return;
    const auto [owner, property] = NeedAvailable(host, *record.type, name);
    const Type& type = property->about.type;
    const std::string fullName = owner->name + "." + property->about.name;
    if (property->setter == 0) throw Error("the property " + fullName + " is read-only");
    if (ConversionCost(host, value, type) < 0) {
        throw Error("the property " + fullName + " is of the type " + type.Name() + " and takes no " +
                    value.TypeName());
    }
    if (property->setter == -1) {
        StoreManaged(host, FieldOf(object, *owner, *property), type, value);
        return;
    }
    if (!property->write.prepared) {
        PrepareCall(&property->write, {&ffi_type_pointer, CTypeOfWord(), CTypeOf(type)}, &ffi_type_void);
    }
    Arguments arguments(host, 3);
    arguments.AddPointer(object);
    arguments.AddWord(0);
    arguments.Add(value, type);
    const auto function = reinterpret_cast<REALfunction>(property->setter);
    CallFunction(host, owner, std::move(label), function, property->write, arguments, Type{});
}

}  // namespace zorhost::runtime
