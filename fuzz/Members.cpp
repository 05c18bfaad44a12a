#include "Members.h"

#include <cstring>

#include "Expect.h"
#include "support/FakeHost.h"

using zorhost::Kind;

namespace {

ffi_type* CTypeOf(const zorhost::Type& type) {
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
        default:
            return &ffi_type_pointer;
    }
}

bool IsProperty(const Member& member) {
    return member.form == Member::Form::getter || member.form == Member::Form::setter;
}

// The object, the word of a property, then what the declaration says.
void Prepare(Member* member) {
    if (member->OnObject()) member->types.push_back(&ffi_type_pointer);
    if (IsProperty(*member)) member->types.push_back(&ffi_type_pointer);
    for (const zorhost::Parameter& parameter : member->takes) member->types.push_back(CTypeOf(parameter.type));
    Expect(ffi_prep_cif(&member->interface, FFI_DEFAULT_ABI, static_cast<unsigned>(member->types.size()),
                        CTypeOf(member->gives), member->types.data()) == FFI_OK,
           "a member of the tables can be called");
}

void AddMethods(const REALmethodDefinition* table, REALword count, Member::Form form, REALfunction destructor,
                std::vector<Member>* all) {
    for (REALword row = 0; row < count; ++row) {
        const zorhost::Signature signature = zorhost::ParseDeclaration(table[row].declaration);
        Member method{.text = table[row].declaration, .name = signature.name, .form = form};
        method.takes = signature.parameters;
        method.gives = signature.result;
        method.function = table[row].function;
        method.isTeardown = method.function == destructor;
        all->push_back(method);
        if (!table[row].setterFunction) continue;
        Member assignment = method;
        assignment.text += " = value";
        assignment.form = Member::Form::assignment;
        assignment.takes.push_back({"value", method.gives, {}});
        assignment.gives = {};
        assignment.function = table[row].setterFunction;
        all->push_back(assignment);
    }
}

constexpr REALword kStored = -1;

void AddProperties(const REALclassDefinition* definition, std::vector<Member>* all) {
    for (REALword row = 0; row < definition->propertyCount; ++row) {
        const REALproperty& property = definition->properties[row];
        Member member{.text = property.name, .name = property.name, .form = Member::Form::getter};
        member.place = definition->hostSlot + property.field;
        const zorhost::Type type = zorhost::ParseType(property.type);
        if (property.getter) {
            const bool stored = property.getter == kStored;
            member.form = stored ? Member::Form::storedGetter : Member::Form::getter;
            member.function = stored ? nullptr : reinterpret_cast<REALfunction>(property.getter);
            member.gives = type;
            all->push_back(member);
        }
        if (property.setter) {
            const bool stored = property.setter == kStored;
            member.text = std::string(property.name) + " = value";
            member.form = stored ? Member::Form::storedSetter : Member::Form::setter;
            member.function = stored ? nullptr : reinterpret_cast<REALfunction>(property.setter);
            member.gives = {};
            member.takes = {{property.name, type, {}}};
            all->push_back(member);
        }
    }
}

std::size_t SizeOf(const zorhost::Type& type) {
    return CTypeOf(type)->size;
}

Slot AccessStored(const Member& member, REALobject object, const std::vector<Slot>& arguments) {
    char* const place = reinterpret_cast<char*>(object) + member.place;
    Slot slot{};
    if (member.form == Member::Form::storedGetter) {
        std::memcpy(&slot, place, SizeOf(member.gives));
    } else {
        std::memcpy(place, &arguments[0], SizeOf(member.takes[0].type));
    }
    return slot;
}

}  // namespace

const std::vector<Member>& AllMembers() {
    static const std::vector<Member> members = [] {
        std::vector<Member> all;
        const FakeHost::Registration& started = FakeHost::Started();
        for (const std::string& name : started.classNames) {
            const REALclassDefinition* const type = started.definitions.at(name);
            AddMethods(type->methods, type->methodCount, Member::Form::method, type->destructor, &all);
            AddMethods(type->sharedMethods, type->sharedMethodCount, Member::Form::sharedMethod, nullptr, &all);
            AddProperties(type, &all);
        }
        return all;
    }();
    // libffi keeps addresses of the lists of types, so these are made where the members stay.
    static const bool prepared = [] {
        for (const Member& member : members) {
            if (!member.IsStored()) Prepare(const_cast<Member*>(&member));
        }
        return true;
    }();
    static_cast<void>(prepared);
    return members;
}

const Member& MethodNamed(const std::string& name, std::size_t count, const std::string& firstArgument) {
    for (const Member& member : AllMembers()) {
        if (member.form == Member::Form::method && member.name == name && member.takes.size() == count &&
            (count == 0 || member.takes[0].name == firstArgument)) {
            return member;
        }
    }
    Expect(false, ("there is a method " + name).c_str());
    return AllMembers()[0];
}

Slot CallMember(const Member& member, REALobject object, const std::vector<Slot>& arguments) {
    if (member.IsStored()) return AccessStored(member, object, arguments);
    std::vector<Slot> slots;
    if (member.OnObject()) slots.push_back({.object = object});
    if (IsProperty(member)) slots.push_back({.word = 0});
    slots.insert(slots.end(), arguments.begin(), arguments.end());
    std::vector<void*> addresses;
    for (Slot& slot : slots) addresses.push_back(&slot);
    Slot result{};
    ffi_call(const_cast<ffi_cif*>(&member.interface), member.function, &result, addresses.data());
    return result;
}
