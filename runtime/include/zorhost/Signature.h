#pragma once
// Declarations of the host language, as plug-ins register them, taken apart.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zorhost/Value.h"

namespace zorhost {

enum class Kind { Nothing, Boolean, Integer, Int64, Double, Color, String, Variant, IntegerArray, Object };

struct Type {
    Kind kind = Kind::Nothing;
    std::string className;  // of Kind::Object, as the declaration spells it: "PictureZOR", "picture", "memoryblock"

    // The name in the host language; empty for Nothing.
    std::string Name() const;
};

struct Parameter {
    std::string name;
    Type type;
    std::optional<Value> defaultValue;  // optional parameters are all at the end
};

// "Scale(source as PictureZOR, mode as integer = 1) as boolean"
struct Signature {
    std::string name;
    std::vector<Parameter> parameters;
    Type result;
};

// "ImageFormatXBGR = &h0000000A"
struct ConstantValue {
    std::string name;
    Value value;
};

// Throw Error, with the text and what is wrong with it, for anything that is no such declaration.
Signature ParseDeclaration(std::string_view text);
Type ParseType(std::string_view text);
ConstantValue ParseConstant(std::string_view text);

}  // namespace zorhost
