#include <charconv>
#include <cmath>
#include <utility>

#include "Runtime.h"
#include "zorhost/Signature.h"

namespace zorhost {

using runtime::SameName;

namespace {

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Number types of the host language that the plug-in interface does not carry, and words that stand before a parameter.
constexpr std::string_view kUnsupportedTypes[] = {"single", "int8",     "int16", "uint8", "uint16",
                                                  "uint32", "uint64",   "uint",  "ptr",   "cstring",
                                                  "auto",   "currency", "byte",  "text",  "wstring"};
constexpr std::string_view kKeywords[] = {"as", "byref", "byval", "assigns", "extends", "paramarray", "optional"};

struct SimpleType {
    std::string_view name;
    Kind kind;
};
constexpr SimpleType kSimpleTypes[] = {{"boolean", Kind::Boolean}, {"integer", Kind::Integer}, {"int32", Kind::Integer},
                                       {"int64", Kind::Int64},     {"double", Kind::Double},   {"color", Kind::Color},
                                       {"string", Kind::String},   {"variant", Kind::Variant}};

bool IsOneOf(std::string_view word, std::span<const std::string_view> words) {
    for (const std::string_view known : words) {
        if (SameName(word, known)) return true;
    }
    return false;
}

// Reads a declaration from left to right.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) { SkipSpace(); }

    [[noreturn]] void Fail(const std::string& problem) const {
        throw Error("malformed declaration \"" + std::string(text_) + "\": " + problem);
    }
    bool AtEnd() const { return at_ == text_.size(); }
    char Peek() const { return AtEnd() ? '\0' : text_[at_]; }

    bool TakeIf(char c) {
        if (AtEnd() || text_[at_] != c) return false;
        ++at_;
        SkipSpace();
        return true;
    }
    void Take(char c) {
        if (!TakeIf(c)) Fail(std::string("a \"") + c + "\" is missing");
    }
    bool TakeIf(std::string_view word) {
        const std::size_t before = at_;
        if (IsLetter(Peek()) && SameName(Word(), word)) return true;
        at_ = before;
        return false;
    }
    void TakeEnd() {
        if (!AtEnd()) Fail("something follows its end");
    }
    std::string_view Name(const char* what) {
        if (!IsLetter(Peek())) Fail(std::string(what) + " is missing");
        const std::string_view word = Word();
        if (IsOneOf(word, kKeywords)) Fail(std::string(what) + " cannot be \"" + std::string(word) + "\"");
        return word;
    }
    // Everything up to a comma, a closing parenthesis or the end, except inside quotes.
    std::string_view Literal() {
        const std::size_t first = at_;
        bool quoted = false;
        while (!AtEnd() && (quoted || (Peek() != ',' && Peek() != ')'))) {
            if (Peek() == '"') quoted = !quoted;
            ++at_;
        }
        std::string_view literal = text_.substr(first, at_ - first);
        while (!literal.empty() && IsSpace(literal.back())) literal.remove_suffix(1);
        if (literal.empty() || quoted) Fail("a value is missing");
        return literal;
    }

private:
    static bool IsSpace(char c) { return c == ' ' || c == '\t'; }
    void SkipSpace() {
        while (!AtEnd() && IsSpace(text_[at_])) ++at_;
    }
    std::string_view Word() {
        const std::size_t first = at_;
        while (!AtEnd() && (IsLetter(text_[at_]) || IsDigit(text_[at_]))) ++at_;
        const std::string_view word = text_.substr(first, at_ - first);
        SkipSpace();
        return word;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

Type ReadType(Reader& reader) {
    const std::string_view name = reader.Name("a type");
    for (const SimpleType& simple : kSimpleTypes) {
        if (SameName(name, simple.name)) return Type{simple.kind, {}};
    }
    if (IsOneOf(name, kUnsupportedTypes)) reader.Fail("the type " + std::string(name) + " is not supported");
    return Type{Kind::Object, std::string(name)};
}

// Digits after "&h", "&o" or "&b". They name a pattern of 32 bits, or of 64 where there are more.
std::optional<Value> ParseBasedNumber(std::string_view text) {
    if (text.size() < 3 || text[0] != '&') return std::nullopt;
    const char letter = static_cast<char>(text[1] | 0x20);
    const int base = letter == 'h' ? 16 : letter == 'o' ? 8 : letter == 'b' ? 2 : 0;
    if (base == 0) return std::nullopt;
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + 2, end, number, base);
    if (error != std::errc() || rest != end) return std::nullopt;
    if (number <= std::numeric_limits<std::uint32_t>::max()) {
        return Value(static_cast<std::int32_t>(static_cast<std::uint32_t>(number)));
    }
    return Value(static_cast<std::int64_t>(number));
}

std::optional<Value> ParseNumber(std::string_view text) {
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    if (text.empty() || !(IsDigit(text[0]) || text[0] == '-' || text[0] == '.')) return std::nullopt;
    const char* const end = text.data() + text.size();
    std::int64_t integer = 0;
    if (const auto [rest, error] = std::from_chars(text.data(), end, integer); error == std::errc() && rest == end) {
        if (std::in_range<std::int32_t>(integer)) return Value(static_cast<std::int32_t>(integer));
        return Value(integer);
    }
    double real = 0;
    if (const auto [rest, error] = std::from_chars(text.data(), end, real);
        error == std::errc() && rest == end && std::isfinite(real)) {
        return Value(real);
    }
    return std::nullopt;
}

Value ParseLiteral(const Reader& reader, std::string_view text) {
    if (SameName(text, "true")) return true;
    if (SameName(text, "false")) return false;
    if (SameName(text, "nil")) return nullptr;
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') return text.substr(1, text.size() - 2);
    if (const auto number = ParseBasedNumber(text)) return *number;
    if (const auto number = ParseNumber(text)) return *number;
    reader.Fail("\"" + std::string(text) + "\" is no value");
}

bool FitsType(const Value& value, const Type& type) {
    const auto& contents = value.Contents();
    switch (type.kind) {
        case Kind::Boolean:
            return std::holds_alternative<bool>(contents);
        case Kind::Integer:
        case Kind::Color:
            return std::holds_alternative<std::int32_t>(contents);
        case Kind::Int64:
            return std::holds_alternative<std::int32_t>(contents) || std::holds_alternative<std::int64_t>(contents);
        case Kind::Double:
            return std::holds_alternative<double>(contents) || std::holds_alternative<std::int32_t>(contents);
        case Kind::String:
            return std::holds_alternative<String>(contents);
        case Kind::Object:
        case Kind::Variant:
            return value.IsNil();
        case Kind::IntegerArray:
        case Kind::Nothing:
            return false;
    }
    return false;
}

Parameter ReadParameter(Reader& reader) {
    Parameter parameter;
    parameter.name = reader.Name("a parameter");
    bool isArray = false;
    if (reader.TakeIf('(')) {
        reader.Take(')');
        isArray = true;
    }
    if (!reader.TakeIf("as")) reader.Fail("the parameter " + parameter.name + " has no type");
    parameter.type = ReadType(reader);
    if (isArray) {
        if (parameter.type.kind != Kind::Integer) reader.Fail("only arrays of integers are supported");
        parameter.type.kind = Kind::IntegerArray;
    }
    if (reader.TakeIf('=')) {
        Value value = ParseLiteral(reader, reader.Literal());
        if (!FitsType(value, parameter.type)) {
            reader.Fail("the default of " + parameter.name + " is no " + parameter.type.Name());
        }
        if (parameter.type.kind == Kind::Color) value = Color{value.AsInt()};
        parameter.defaultValue = std::move(value);
    }
    return parameter;
}

void ReadParameters(Reader& reader, Signature* signature) {
    if (!reader.TakeIf('(') || reader.TakeIf(')')) return;
    do {
        Parameter parameter = ReadParameter(reader);
        for (const Parameter& other : signature->parameters) {
            if (SameName(other.name, parameter.name)) reader.Fail("two parameters are named " + parameter.name);
        }
        if (!parameter.defaultValue && !signature->parameters.empty() && signature->parameters.back().defaultValue) {
            reader.Fail("the parameter " + parameter.name + " needs a default, as the one before it has one");
        }
        signature->parameters.push_back(std::move(parameter));
    } while (reader.TakeIf(','));
    reader.Take(')');
}

}  // namespace

std::string Type::Name() const {
    switch (kind) {
        case Kind::Nothing:
            return {};
        case Kind::Boolean:
            return "Boolean";
        case Kind::Integer:
            return "Integer";
        case Kind::Int64:
            return "Int64";
        case Kind::Double:
            return "Double";
        case Kind::Color:
            return "Color";
        case Kind::String:
            return "String";
        case Kind::Variant:
            return "Variant";
        case Kind::IntegerArray:
            return "Integer()";
        case Kind::Object:
            return className;
    }
    return {};
}

Signature ParseDeclaration(std::string_view text) {
    Reader reader(text);
    Signature signature;
    signature.name = reader.Name("a name");
    ReadParameters(reader, &signature);
    if (reader.TakeIf("as")) signature.result = ReadType(reader);
    reader.TakeEnd();
    return signature;
}

Type ParseType(std::string_view text) {
    Reader reader(text);
    const Type type = ReadType(reader);
    reader.TakeEnd();
    return type;
}

ConstantValue ParseConstant(std::string_view text) {
    Reader reader(text);
    ConstantValue constant;
    constant.name = reader.Name("a name");
    std::optional<Type> type;
    if (reader.TakeIf("as")) type = ReadType(reader);
    reader.Take('=');
    constant.value = ParseLiteral(reader, reader.Literal());
    reader.TakeEnd();
    if (type && !FitsType(constant.value, *type)) reader.Fail("the value is no " + type->Name());
    return constant;
}

}  // namespace zorhost
