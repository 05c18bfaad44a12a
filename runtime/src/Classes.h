#pragma once
// The registry of classes.

#include "Runtime.h"

namespace zorhost::runtime {

// Takes the tables of a class over and writes what the host owes the plug-in: where the instance data lies, and the
// words that identify its events. The tables themselves must stay. Throws Error for a table that makes no sense.
void RegisterClass(Runtime& host, REALclassDefinition* definition);

const Class* FindClass(const Runtime& host, std::string_view name);  // null for an unknown one
const Class& NeedClass(const Runtime& host, std::string_view name);  // throws Error

// The property of that name with the class that declares it; null if there is none.
struct OwnedProperty {
    const Class* owner = nullptr;
    Property* property = nullptr;
};
OwnedProperty FindProperty(const Class& type, std::string_view name);

// "console applications", for messages about rows that are not available.
std::string WorldName(World world);

}  // namespace zorhost::runtime
