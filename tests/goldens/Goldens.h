#pragma once
// Every operation on fixed images of all formats, with fixed arguments: one line for each choice of arguments, with the
// hash of all that it gave and changed. They are kept in goldens.txt, and are the same on every machine and with every
// set of kernels.

#include <string>
#include <vector>

#include "goldens/Operations.h"
#include "support/FakeHost.h"

// A line for each choice: "BoxBlurFilter(dest another, radius 2.5, vertical true, horizontal false) 0123456789abcdef".
// With `eachFormat` a line for each format too, to find out by `diff` where two machines part.
std::vector<std::string> GoldenLines(FakeHost& host, const GoldenOperation& operation, bool eachFormat = false);

// Those that are kept, without the hints that begin with a number sign.
std::vector<std::string> KeptGoldens(const std::string& path);
