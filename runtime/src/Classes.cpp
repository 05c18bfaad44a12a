#include "Classes.h"

#include "Objects.h"

namespace zorhost::runtime {

// The desktop has everything; the others have what is marked for them. A web application is a console application too.
static bool IsAvailable(const Runtime& host, REALword flags) {
    if (host.options.world == World::Console) return (flags & kREALConsoleSafe) != 0;
    if (host.options.world == World::Web) return (flags & (kREALConsoleSafe | kREALWebSafe)) != 0;
    return true;
}

std::string WorldName(World world) {
    switch (world) {
        case World::Console:
            return "console applications";
        case World::Web:
            return "web applications";
        case World::Desktop:
            return "desktop applications";
        case World::None:
            break;
    }
    return "programs without an application";
}

const Class* FindClass(const Runtime& host, std::string_view name) {
    for (const Class& type : host.classes) {
        if (SameName(type.name, name)) return &type;
    }
    return nullptr;
}

const Class& NeedClass(const Runtime& host, std::string_view name) {
    if (const Class* const type = FindClass(host, name)) return *type;
    throw Error("there is no class \"" + std::string(name) + "\"");
}

OwnedProperty FindProperty(const Class& type, std::string_view name) {
    for (const Class* level = &type; level; level = level->super) {
        for (const Property& property : level->properties) {
            if (SameName(property.about.name, name)) return {level, const_cast<Property*>(&property)};
        }
    }
    return {};
}

template <class Row>
static std::span<Row> Rows(Row* table, REALword count) {
    if (!table || count < 1) return {};
    return {table, static_cast<std::size_t>(count)};
}

static std::string_view Text(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

static void AddMethods(const Runtime& host, std::span<const REALmethodDefinition> rows, std::deque<Method>* methods,
                       std::vector<MethodDescription>* descriptions) {
    for (const REALmethodDefinition& row : rows) {
        Method& method = methods->emplace_back();
        method.function = row.function;
        method.setterFunction = row.setterFunction;
        method.about.declaration = Text(row.declaration);
        method.about.signature = ParseDeclaration(method.about.declaration);
        method.about.flags = row.flags;
        method.about.available = IsAvailable(host, row.flags);
        method.about.assignable = row.setterFunction != nullptr;
        if (!row.function && !row.setterFunction) {
            throw Error("the method \"" + method.about.declaration + "\" has no function");
        }
        descriptions->push_back(method.about);
    }
}

static void AddProperties(const Runtime& host, std::span<const REALproperty> rows, Class* type) {
    for (const REALproperty& row : rows) {
        Property& property = type->properties.emplace_back();
        property.getter = row.getter;
        property.setter = row.setter;
        property.field = row.field;
        PropertyDescription& about = property.about;
        about.name = Text(row.name);
        about.declaration = about.name + " as " + std::string(Text(row.type));
        const Signature parsed = ParseDeclaration(about.declaration);  // checks the name as well
        if (parsed.name != about.name) throw Error("the property \"" + about.declaration + "\" has parameters");
        about.type = parsed.result;
        about.flags = row.flags;
        about.available = IsAvailable(host, row.flags);
        about.readable = row.getter != 0;
        about.writable = row.setter != 0;
        type->about.properties.push_back(about);
    }
}

static void AddEvents(std::span<REALevent> rows, Class* type) {
    for (REALevent& row : rows) {
        Event& event = type->events.emplace_back();
        event.about.declaration = Text(row.declaration);
        event.about.signature = ParseDeclaration(event.about.declaration);
        event.identifier = static_cast<REALword>(NextSerial());
        row.identifier = event.identifier;
        type->about.events.push_back(event.about);
    }
}

static void AddConstants(std::span<const REALconstant> rows, Class* type) {
    for (const REALconstant& row : rows) {
        const std::string declaration(Text(row.declaration));
        ConstantValue constant = ParseConstant(declaration);
        type->about.constants.push_back({declaration, std::move(constant.name), std::move(constant.value)});
    }
}

static void FillClass(Runtime& host, REALclassDefinition* definition, Class* type) {
    type->name = Text(definition->name);
    if (type->name.empty()) throw Error("a class without a name was registered");
    if (FindClass(host, type->name)) throw Error("the class " + type->name + " was registered twice");
    if (definition->superName && *definition->superName) type->super = &NeedClass(host, definition->superName);
    if (definition->instanceDataSize < 0) throw Error("the class " + type->name + " has a negative size");
    type->definition = definition;
    type->dataOffset = type->super ? (type->super->dataEnd + 15) / 16 * 16 : kObjectHeader;
    type->dataEnd = type->dataOffset + static_cast<std::size_t>(definition->instanceDataSize);

    ClassDescription& about = type->about;
    about.name = type->name;
    about.superName = Text(definition->superName);
    about.flags = definition->flags;
    about.available = IsAvailable(host, definition->flags);
    AddProperties(host, Rows(definition->properties, definition->propertyCount), type);
    AddMethods(host, Rows(definition->methods, definition->methodCount), &type->methods, &about.methods);
    AddMethods(host, Rows(definition->sharedMethods, definition->sharedMethodCount), &type->sharedMethods,
               &about.sharedMethods);
    AddEvents(Rows(definition->events, definition->eventCount), type);
    AddConstants(Rows(definition->constants, definition->constantCount), type);
}

void RegisterClass(Runtime& host, REALclassDefinition* definition) {
    if (!definition) throw Error("nil was registered as a class");
    // Only a class that is complete joins the others.
    std::deque<Class> made(1);
    FillClass(host, definition, &made.front());
    definition->hostSlot = static_cast<REALword>(made.front().dataOffset);
    host.classes.push_back(std::move(made.front()));
    host.descriptions.push_back(host.classes.back().about);
}

}  // namespace zorhost::runtime
