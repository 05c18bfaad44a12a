#pragma once
// Rows of the class tables, made of typed functions and fields. A row whose text says something else than its function
// or field does not compile; see plugin/Declaration.h.

#include <string_view>
#include <type_traits>

#include "host/HostInterface.h"
#include "plugin/Declaration.h"

namespace zor {

namespace rows {

// In a parameter list: what is given there says nothing about the types of the others.
template <bool (*kFits)(std::string_view)>
using Text = std::type_identity_t<declaration::Checked<kFits>>;

template <class Result, class... Args>
REALfunction Untyped(Result (*function)(Args...)) {
    return reinterpret_cast<REALfunction>(function);
}

// --- methods and events: without flags for applications of every kind ----------------------------------------------

template <class Result, class... Args>
REALmethodDefinition Method(Result (*function)(Args...), Text<declaration::FitsMethod<Result(Args...)>> text,
                            REALword flags = kREALConsoleSafe) {
    return {Untyped(function), nullptr, text.text, flags};
}

// With an assignment form.
template <class Result, class... Args, class... SetterArgs>
REALmethodDefinition Method(Result (*function)(Args...), void (*setter)(SetterArgs...),
                            Text<declaration::FitsBoth<Result(Args...), void(SetterArgs...)>> text,
                            REALword flags = kREALConsoleSafe) {
    return {Untyped(function), Untyped(setter), text.text, flags};
}

template <class Result, class... Args>
REALmethodDefinition SharedMethod(Result (*function)(Args...),
                                  Text<declaration::FitsSharedMethod<Result(Args...)>> text,
                                  REALword flags = kREALConsoleSafe) {
    return {Untyped(function), nullptr, text.text, flags};
}

template <class Function>
REALevent Event(Text<declaration::FitsMethod<Function>> text) {
    return {text.text, 0, {0, 0}};
}

// --- properties -----------------------------------------------------------------------------------------------------

constexpr REALword kStored = -1;  // the host reads or writes the field itself

// A field of the record behind an object, by its offset.
template <class T>
struct Field {
    REALword offset;
};

template <class T>
constexpr Field<T> FieldAt(std::size_t offset) {
    return {static_cast<REALword>(offset)};
}

template <class Result, class... Args>
REALword Word(Result (*function)(Args...)) {
    return reinterpret_cast<REALword>(function);
}

template <class T>
REALproperty ReadOnly(const char* name, Text<declaration::FitsProperty<T>> type, REALword flags, Field<T> field) {
    return {nullptr, name, type.text, flags, kStored, 0, field.offset, {0, 0, 0}};
}

template <class T>
REALproperty ReadWrite(const char* name, Text<declaration::FitsProperty<T>> type, REALword flags, Field<T> field) {
    return {nullptr, name, type.text, flags, kStored, kStored, field.offset, {0, 0, 0}};
}

template <class T>
REALproperty WithSetter(const char* name, Text<declaration::FitsProperty<T>> type, REALword flags, Field<T> field,
                        void (*setter)(REALobject, REALword, T)) {
    return {nullptr, name, type.text, flags, kStored, Word(setter), field.offset, {0, 0, 0}};
}

template <class T>
REALproperty WithGetter(const char* name, Text<declaration::FitsProperty<T>> type, REALword flags,
                        T (*getter)(REALobject, REALword)) {
    return {nullptr, name, type.text, flags, Word(getter), 0, 0, {0, 0, 0}};
}

}  // namespace rows

}  // namespace zor
