#pragma once
// Every method of the class tables as a function that takes values, with the parameters that its declaration names.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/HostInterface.h"

// An argument or a result. What a function takes says which of the members counts.
struct GoldenValue {
    std::int64_t integer = 0;  // booleans too
    double real = 0;
    REALobject object = nullptr;
    REALstring string = nullptr;
    REALarray array = nullptr;
};

using GoldenFunction = std::function<GoldenValue(const std::vector<GoldenValue>&)>;

struct GoldenParameter {
    std::string name;
    std::string type;  // as the declaration has it, in small letters; "array" for arrays of integers
};

struct GoldenOperation {
    std::string method;       // for example BoxBlurFilter, or "Row =" for an assignment
    std::string declaration;  // of the row
    bool shared = false;      // takes no image before its parameters
    std::vector<GoldenParameter> parameters;
    GoldenFunction call;  // null: the function is none of those that Operations.cpp lists
};

// In the order of the tables. Rows that have a function in common give one operation.
std::vector<GoldenOperation> GoldenOperations();
