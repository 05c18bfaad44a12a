#pragma once
// What the parameters of an operation are given: usual values, and those at the edges of what they mean.

#include <functional>
#include <string>
#include <vector>

#include "goldens/Scene.h"

struct GoldenArgument {
    std::string text;
    std::function<GoldenValue(GoldenScene&)> make;
};

// In an order that is the operation's own; each of them is as good as any other. Never empty for a parameter of a known
// type; throws for a name of which nothing is known.
std::vector<GoldenArgument> ArgumentsFor(const GoldenOperation& operation, const GoldenParameter& parameter);
