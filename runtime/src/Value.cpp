#include "zorhost/Value.h"

#include <utility>

#include "Runtime.h"

namespace zorhost {

namespace {

// "found PictureZOR where a Boolean is wanted"
[[noreturn]] void ThrowUnwanted(const Value& value, const char* wanted) {
    throw Error("found " + value.TypeName() + " where " + wanted + " is wanted");
}

struct NameOfType {
    std::string operator()(std::monostate) const { return "nil"; }
    std::string operator()(bool) const { return "Boolean"; }
    std::string operator()(std::int32_t) const { return "Integer"; }
    std::string operator()(std::int64_t) const { return "Int64"; }
    std::string operator()(double) const { return "Double"; }
    std::string operator()(const Color&) const { return "Color"; }
    std::string operator()(const String&) const { return "String"; }
    std::string operator()(const Object& object) const { return object.ClassName(); }
    std::string operator()(const std::vector<std::int32_t>&) const { return "Integer()"; }
};

}  // namespace

void Value::ThrowTooLarge() {
    throw Error("an unsigned number is too large for an Int64");
}

std::string Value::TypeName() const {
    return std::visit(NameOfType(), data_);
}

bool Value::AsBool() const {
    if (const auto* value = std::get_if<bool>(&data_)) return *value;
    ThrowUnwanted(*this, "a Boolean");
}

std::int32_t Value::AsInt() const {
    if (const auto* value = std::get_if<std::int32_t>(&data_)) return *value;
    if (const auto* value = std::get_if<std::int64_t>(&data_)) {
        if (std::in_range<std::int32_t>(*value)) return static_cast<std::int32_t>(*value);
        throw Error("found the Int64 " + std::to_string(*value) + " where an Integer is wanted");
    }
    ThrowUnwanted(*this, "an Integer");
}

std::int64_t Value::AsInt64() const {
    if (const auto* value = std::get_if<std::int64_t>(&data_)) return *value;
    if (const auto* value = std::get_if<std::int32_t>(&data_)) return *value;
    ThrowUnwanted(*this, "an Int64");
}

double Value::AsDouble() const {
    if (const auto* value = std::get_if<double>(&data_)) return *value;
    if (const auto* value = std::get_if<std::int32_t>(&data_)) return *value;
    if (const auto* value = std::get_if<std::int64_t>(&data_)) return static_cast<double>(*value);
    ThrowUnwanted(*this, "a Double");
}

Color Value::AsColor() const {
    if (const auto* value = std::get_if<Color>(&data_)) return *value;
    ThrowUnwanted(*this, "a Color");
}

const String& Value::AsString() const {
    if (const auto* value = std::get_if<String>(&data_)) return *value;
    ThrowUnwanted(*this, "a String");
}

const std::string& Value::AsBytes() const {
    return AsString().bytes;
}

std::string Value::AsText() const {
    return Convert(AsString(), kUTF8).bytes;
}

Object Value::AsObject() const {
    if (IsNil()) return Object();
    if (const auto* value = std::get_if<Object>(&data_)) return *value;
    ThrowUnwanted(*this, "an object");
}

const std::vector<std::int32_t>& Value::AsArray() const {
    if (const auto* value = std::get_if<std::vector<std::int32_t>>(&data_)) return *value;
    ThrowUnwanted(*this, "an Integer()");
}

}  // namespace zorhost
