#pragma once
// All that an application can call, taken from the class tables as the plug-in registers them: nobody has to list it.

#include <ffi.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/HostInterface.h"
#include "zorhost/Signature.h"

// An argument or a result, in the form of its C type.
union Slot {
    ffi_sarg word;  // what libffi widens the result of an integer below its size to
    std::int32_t integer;
    std::int64_t int64;
    double real;
    signed char boolean;
    REALobject object;
    REALstring string;
    REALarray array;
};

struct Member {
    enum class Form { method, sharedMethod, assignment, getter, setter, storedGetter, storedSetter };

    std::string text;  // for people: declaration or name of the property
    std::string name;
    Form form;
    std::vector<zorhost::Parameter> takes;  // behind the object
    zorhost::Type gives;
    REALfunction function = nullptr;
    REALword place = 0;       // of a stored property: bytes from the start of the object
    bool isTeardown = false;  // the class's destructor, which applications may call by hand
    std::vector<ffi_type*> types;
    ffi_cif interface {};

    bool IsStored() const { return form == Form::storedGetter || form == Form::storedSetter; }
    bool OnObject() const { return form != Form::sharedMethod; }
};

// In the order of the tables. The plug-in has been started.
const std::vector<Member>& AllMembers();

// The first method of that name with that many arguments, the first of which has that name.
const Member& MethodNamed(const std::string& name, std::size_t count, const std::string& firstArgument);

// Calls it as a host does. One slot for each of `takes`. A stored property is not of an object: those are the host's
// affair.
Slot CallMember(const Member& member, REALobject object, const std::vector<Slot>& arguments);
