#pragma once
// Declarations of the host language, taken apart while the tables are compiled and held against C++ functions.
//
// The host calls a function with exactly what its declaration says, and nothing at run time can tell that the function
// takes something else: one argument too many is read from wherever it would lie. So a row whose function does not take
// what its declaration says does not compile.
//
// A call passes every argument, also the optional ones. An instance method takes the object before them, a shared
// method does not. The assignment form takes the value, of the type of the method's result, behind them and gives
// nothing. Names of types and other words are the same in small and capital letters.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "host/HostInterface.h"

namespace zor {

namespace declaration {

// What a type of the host language is in a call.
enum class Type { nothing, integer, int64, real, boolean, string, array, object, unknown };

struct TypeName {
    std::string_view name;  // in small letters
    Type type;
};

// The types that these classes speak of. A name that is not among them is more likely misspelt than a class.
inline constexpr TypeName kTypeNames[] = {
    {"integer", Type::integer}, {"color", Type::integer},      {"int64", Type::int64},
    {"double", Type::real},     {"boolean", Type::boolean},    {"string", Type::string},
    {"picture", Type::object},  {"memoryblock", Type::object}, {"folderitem", Type::object},
    {"variant", Type::object},  {"picturezor", Type::object},  {"picturefactoryzor", Type::object},
};

constexpr int kMaxParameters = 16;

// The parameters and the result of a call, of a declaration as well as of a function.
struct Shape {
    bool known = false;  // false: text that is no declaration, or a function of types that no declaration has
    Type result = Type::nothing;
    int count = 0;
    std::array<Type, kMaxParameters> parameters{};

    constexpr void Add(Type type) {
        if (type == Type::unknown || count == kMaxParameters) {
            known = false;
        } else {
            parameters[static_cast<std::size_t>(count++)] = type;
        }
    }
    constexpr bool operator==(const Shape&) const = default;
};

// --- declarations ---------------------------------------------------------------------------------------------------

constexpr char SmallLetter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool SameWord(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, SmallLetter, SmallLetter);
}

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a declaration from left to right.
struct Reader {
    std::string_view rest;

    constexpr void SkipSpace() {
        while (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
    }
    constexpr bool TakeIf(char c) {
        if (rest.empty() || rest.front() != c) return false;
        rest.remove_prefix(1);
        SkipSpace();
        return true;
    }
    // A word that begins with a letter; empty where there is none.
    constexpr std::string_view Word() {
        std::size_t size = 0;
        while (size < rest.size()) {
            const char c = SmallLetter(rest[size]);
            if (!((c >= 'a' && c <= 'z') || c == '_' || (size > 0 && IsDigit(c)))) break;
            ++size;
        }
        const std::string_view word = rest.substr(0, size);
        rest.remove_prefix(size);
        SkipSpace();
        return word;
    }
    constexpr bool TakeIf(std::string_view word) {
        const std::string_view before = rest;
        if (SameWord(Word(), word)) return true;
        rest = before;
        return false;
    }
    // The name of a method or parameter; the words around it are none.
    constexpr bool TakeName() {
        const std::string_view word = Word();
        return !word.empty() && !SameWord(word, "as") && !SameWord(word, "byref") && !SameWord(word, "assigns");
    }
    constexpr Type TakeType() {
        const std::string_view word = Word();
        for (const TypeName& known : kTypeNames) {
            if (SameWord(word, known.name)) return known.type;
        }
        return Type::unknown;
    }
    // A value that a parameter of that type can have where it is left out.
    constexpr bool TakeDefault(Type type) {
        if (type == Type::boolean) return TakeIf("true") || TakeIf("false");
        if (type == Type::object) return TakeIf("nil");
        if (type != Type::integer && type != Type::real) return false;
        std::size_t size = !rest.empty() && rest.front() == '-' ? 1 : 0;
        const std::size_t sign = size;
        while (size < rest.size() && (IsDigit(rest[size]) || (type == Type::real && rest[size] == '.'))) ++size;
        rest.remove_prefix(size);
        SkipSpace();
        return size > sign;
    }
};

// The type that a text names, and nothing else.
constexpr Type ParseType(std::string_view text) {
    Reader reader{text};
    const Type type = reader.TakeType();
    return reader.rest.empty() ? type : Type::unknown;
}

// "Name(parameter as type, array() as integer, optional as type = value) as type"
constexpr Shape Parse(std::string_view text) {
    Reader reader{text};
    Shape shape{.known = true};
    if (!reader.TakeName()) return {};
    if (reader.TakeIf('(')) {
        bool optional = false;
        do {
            if (!reader.TakeName()) return {};
            const bool isArray = reader.TakeIf('(');
            if (isArray && !reader.TakeIf(')')) return {};
            if (!reader.TakeIf("as")) return {};
            const Type type = reader.TakeType();
            if (isArray && type != Type::integer) return {};  // the host reads no other arrays out
            shape.Add(isArray ? Type::array : type);
            const bool hadDefault = optional;
            optional = reader.TakeIf('=');
            if (optional && (isArray || !reader.TakeDefault(type))) return {};
            if (hadDefault && !optional) return {};
        } while (reader.TakeIf(','));
        if (!reader.TakeIf(')')) return {};
    }
    if (reader.TakeIf("as")) {
        shape.result = reader.TakeType();
        if (shape.result == Type::unknown) return {};
    }
    if (!reader.rest.empty() || !shape.known) return {};
    return shape;
}

// --- functions ------------------------------------------------------------------------------------------------------

template <class T>
constexpr Type TypeOf() {
    if (std::is_void_v<T>) return Type::nothing;
    if (std::is_same_v<T, int>) return Type::integer;  // a color too
    if (std::is_same_v<T, std::int64_t>) return Type::int64;
    if (std::is_same_v<T, double>) return Type::real;
    if (std::is_same_v<T, REALboolean>) return Type::boolean;
    if (std::is_same_v<T, REALstring>) return Type::string;
    if (std::is_same_v<T, REALarray>) return Type::array;
    if (std::is_same_v<T, REALobject>) return Type::object;
    return Type::unknown;
}

template <class Function>
constexpr Shape kShapeOf = {};
template <class Result, class... Args>
constexpr Shape kShapeOf<Result(Args...)> = [] {
    Shape shape{.known = TypeOf<Result>() != Type::unknown, .result = TypeOf<Result>()};
    (shape.Add(TypeOf<Args>()), ...);
    return shape;
}();

constexpr Shape BehindAnObject(const Shape& call) {
    Shape shape{.known = call.known, .result = call.result};
    shape.Add(Type::object);
    for (int i = 0; i < call.count; ++i) shape.Add(call.parameters[static_cast<std::size_t>(i)]);
    return shape;
}

// --- what fits what: Function is a function type, as in FitsMethod<void(REALobject, int)>("Fill(value as integer)")
// ---

template <class Function>
constexpr bool FitsSharedMethod(std::string_view text) {
    const Shape told = Parse(text);
    return told.known && told == kShapeOf<Function>;
}

// Events too: the object is the one that implements the event.
template <class Function>
constexpr bool FitsMethod(std::string_view text) {
    const Shape told = BehindAnObject(Parse(text));
    return told.known && told == kShapeOf<Function>;
}

template <class Function>
constexpr bool FitsSetter(std::string_view text) {
    Shape told = BehindAnObject(Parse(text));
    if (told.result == Type::nothing) return false;
    told.Add(told.result);
    told.result = Type::nothing;
    return told.known && told == kShapeOf<Function>;
}

// A method that can also be assigned to.
template <class Getter, class Setter>
constexpr bool FitsBoth(std::string_view text) {
    return FitsMethod<Getter>(text) && FitsSetter<Setter>(text);
}

// The type of a property whose value is a T; in a record a Boolean may also be a C++ one, which is as large.
template <class T>
constexpr bool FitsProperty(std::string_view type) {
    const Type known = ParseType(type);
    return known != Type::unknown && known == (std::is_same_v<T, bool> ? Type::boolean : TypeOf<T>());
}

// Called where a text does not fit, which no compiler lets pass: it cannot be called while compiling.
void ThisDeclarationDoesNotFit();

// Text that has been found to fit.
template <bool (*kFits)(std::string_view)>
struct Checked {
    const char* text;
    consteval Checked(const char* told) : text(told) {
        if (!kFits(told)) ThisDeclarationDoesNotFit();
    }
};

}  // namespace declaration

}  // namespace zor
