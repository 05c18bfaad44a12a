#pragma once
// What a plug-in registered, for programs that show or check it.

#include <cstdint>
#include <string>
#include <vector>

#include "zorhost/Signature.h"

namespace zorhost {

struct MethodDescription {
    std::string declaration;  // as registered
    Signature signature;
    std::intptr_t flags = 0;
    bool available = false;   // in the kind of application that the Host stands for
    bool assignable = false;  // has an assignment form
};

struct PropertyDescription {
    std::string declaration;  // "Width as Integer"
    std::string name;
    Type type;
    std::intptr_t flags = 0;
    bool available = false;
    bool readable = false;
    bool writable = false;
};

struct ConstantDescription {
    std::string declaration;  // "ImageFormatRGB = 1"
    std::string name;
    Value value;
};

struct EventDescription {
    std::string declaration;
    Signature signature;
};

// All tables in the order in which the plug-in registered them.
struct ClassDescription {
    std::string name;
    std::string superName;  // empty without one
    std::intptr_t flags = 0;
    bool available = false;
    std::vector<PropertyDescription> properties;
    std::vector<MethodDescription> methods;  // constructors are the methods named "Constructor"
    std::vector<MethodDescription> sharedMethods;
    std::vector<ConstantDescription> constants;
    std::vector<EventDescription> events;
};

}  // namespace zorhost
