#pragma once
// Values that travel between a program and the classes of a plug-in, and the handle of an object.
//
// Everything here belongs to the thread that made the Host.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "zorhost/Error.h"

struct REALobjectStruct;  // what an object handle of the plug-in interface points at

namespace zorhost {

class Value;

// A colour: red in bits 16 to 23, green in bits 8 to 15, blue in bits 0 to 7.
struct Color {
    std::int32_t rgb = 0;

    static constexpr Color FromRGB(int red, int green, int blue) {
        return Color{((red & 255) << 16) | ((green & 255) << 8) | (blue & 255)};
    }
    friend bool operator==(const Color&, const Color&) = default;
};

// Encoding numbers of the host language.
enum Encoding : unsigned {
    kMacRoman = 0,
    kUTF16 = 0x100,  // in the machine's byte order, as UTF-32 is
    kASCII = 0x600,
    kUTF8 = 0x8000100,
    kUTF32 = 0xC000100,
    kRawBytes = 65535  // no encoding: bytes that are no text
};

struct String {
    std::string bytes;
    unsigned encoding = kUTF8;  // an Encoding number

    friend bool operator==(const String&, const String&) = default;
};

// The text in another encoding; raw bytes on either side are taken over as they are. What the target cannot hold, or
// the source says wrongly, becomes "?". Throws Error for an encoding number that is none of the above.
String Convert(const String& text, unsigned encoding);

// A place in a program. The builtins are those of std::source_location, which not every compiler in use has yet.
struct Place {
    const char* file;
    int line;

    static constexpr Place Here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
        return Place{file, line};
    }
};

// A name, together with the place in the program that said it: the leak report names that place.
struct Name {
    std::string_view text;
    Place where;

    template <class Text>
    requires std::convertible_to<const Text&, std::string_view> Name(const Text& name, Place place = Place::Here())
        : text(name), where(place) {}
};

// A handle that holds one lock on an object of the host: an image, a memory block, a folder item, a factory. Copies
// hold a lock each; the last one to go runs the object's teardown. An empty handle is the host's nil. A handle that
// outlives its Host is dead: it may be destroyed and nothing else. Names are matched without regard to case, as in the
// host language.
class Object {
public:
    Object() = default;
    Object(std::nullptr_t) {}
    Object(const Object& other);
    Object(Object&& other) noexcept;
    Object& operator=(const Object& other);
    Object& operator=(Object&& other) noexcept;
    ~Object();

    explicit operator bool() const { return handle_ != nullptr; }
    friend bool operator==(const Object& a, const Object& b) { return a.handle_ == b.handle_; }  // the same object

    // Calls a method; of several of that name, the one that fits the arguments best. Nil where it returns nothing.
    // Throws Error for a call that fits none or several equally well, and for methods that the kind of application
    // does not have; HostException for what the method raised; and whatever the yield callback threw.
    template <class... Args>
    Value Call(Name method, Args&&... args) const;
    Value CallWith(Name method, std::span<const Value> args) const;

    // The assignment form of a method: Assign("Row", 3, block) is Row(3) = block.
    template <class... ArgsAndValue>
    void Assign(Name method, ArgsAndValue&&... argsAndValue) const;
    void AssignWith(Name method, std::span<const Value> args, const Value& value) const;

    // Properties. Setting one that is read-only is an Error.
    Value Get(Name property) const;
    void Set(Name property, const Value& value) const;

    std::string ClassName() const;
    bool IsA(std::string_view className) const;  // of that class or one below it; false for an empty handle
    int LockCount() const;                       // of the object, this handle's own lock included; 0 if empty

    // The handle as the plug-in sees it, and the object's instance data. Without a lock of their own.
    REALobjectStruct* Handle() const { return handle_; }
    void* InstanceData() const;

    // For code that deals in raw handles: takes over the caller's lock, or adds one.
    static Object TakeOver(REALobjectStruct* handle);
    static Object LockAgain(REALobjectStruct* handle);
    // Gives up the handle together with its lock.
    REALobjectStruct* Release();

private:
    Object(REALobjectStruct* handle, std::uint64_t serial) : handle_(handle), serial_(serial) {}

    REALobjectStruct* handle_ = nullptr;
    std::uint64_t serial_ = 0;  // tells this object from a later one at the same address
};

// Any value of the host language. Made from C++ values without ceremony, taken apart by the As... functions, which
// throw an Error that names the type found and the type wanted.
class Value {
public:
    Value() = default;  // nil
    Value(std::nullptr_t) {}
    template <std::same_as<bool> T>
    Value(T value) : data_(value) {}
    template <std::integral T>
    requires(!std::same_as<T, bool>) Value(T value) : data_(FromInteger(value)) {}
    template <std::floating_point T>
    Value(T value) : data_(static_cast<double>(value)) {}
    Value(Color color) : data_(color) {}
    Value(String text) : data_(std::move(text)) {}
    Value(const char* text) : data_(String{text, kUTF8}) {}
    Value(std::string text) : data_(String{std::move(text), kUTF8}) {}
    Value(std::string_view text) : data_(String{std::string(text), kUTF8}) {}
    Value(Object object) {
        if (object) data_ = std::move(object);
    }
    Value(std::vector<std::int32_t> array) : data_(std::move(array)) {}

    bool IsNil() const { return std::holds_alternative<std::monostate>(data_); }
    // "nil", "Boolean", "Integer", "Int64", "Double", "Color", "String", "Integer()", or the object's class.
    std::string TypeName() const;

    bool AsBool() const;
    std::int32_t AsInt() const;    // also an Int64 that fits
    std::int64_t AsInt64() const;  // also an Integer
    double AsDouble() const;       // also an integer
    Color AsColor() const;
    const String& AsString() const;
    const std::string& AsBytes() const;  // the bytes of a string, whatever their encoding
    std::string AsText() const;          // a string as UTF-8
    Object AsObject() const;             // nil gives an empty handle
    const std::vector<std::int32_t>& AsArray() const;

    using Data = std::variant<std::monostate, bool, std::int32_t, std::int64_t, double, Color, String, Object,
                              std::vector<std::int32_t>>;
    const Data& Contents() const { return data_; }

private:
    template <class T>
    static Data FromInteger(T value) {
        if constexpr (std::numeric_limits<T>::digits <= 31) {
            return static_cast<std::int32_t>(value);
        } else {
            if constexpr (std::is_unsigned_v<T>) {
                if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) ThrowTooLarge();
            }
            return static_cast<std::int64_t>(value);
        }
    }
    [[noreturn]] static void ThrowTooLarge();

    Data data_;
};

template <class... Args>
Value Object::Call(Name method, Args&&... args) const {
    const std::array<Value, sizeof...(Args)> values{Value(std::forward<Args>(args))...};
    return CallWith(method, values);
}

template <class... ArgsAndValue>
void Object::Assign(Name method, ArgsAndValue&&... argsAndValue) const {
    static_assert(sizeof...(ArgsAndValue) > 0, "an assignment needs a value");
    const std::array<Value, sizeof...(ArgsAndValue)> values{Value(std::forward<ArgsAndValue>(argsAndValue))...};
    AssignWith(method, std::span(values).first(values.size() - 1), values.back());
}

}  // namespace zorhost
