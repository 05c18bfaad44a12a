#pragma once
// Methods and properties of classes: the choice among overloads, and the calls.

#include "Runtime.h"

namespace zorhost::runtime {

// Of the methods of that name the one that fits the arguments best: no other is at least as close in every argument and
// in the number of defaults used. With a value, assignment forms are meant. Throws Error, with the declarations that
// exist, where none fits or several do equally well. label names what is called, for messages.
Method& ChooseMethod(const Runtime& host, std::deque<Method>& methods, const std::string& label, std::string_view name,
                     std::span<const Value> args, const Value* assigned);

// Runs a method on an object, or a shared one with a null object. args may leave out optional parameters.
Value RunMethod(Runtime& host, const Class& type, Method& method, REALobject object, std::string label,
                std::span<const Value> args, const Value* assigned);

// The methods of that name in the class or the nearest one above that has any; null if none has.
std::deque<Method>* MethodsNamed(const Class& type, std::string_view name);

// Properties of an object, of the plug-in's and the host's classes alike. Throw Error for one that does not exist, is
// not available or not of that direction.
Value GetProperty(Runtime& host, REALobject object, std::string_view name, std::string label);
void SetProperty(Runtime& host, REALobject object, std::string_view name, const Value& value, std::string label);

}  // namespace zorhost::runtime
