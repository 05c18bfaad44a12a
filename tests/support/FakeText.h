#pragma once
// Text of host strings from one encoding to another, for the fake host.

#include <string>

// Encodings are the host's numbers. What the target cannot hold becomes a question mark. Text without encoding is
// taken and given as it is.
std::string ConvertText(const std::string& bytes, unsigned from, unsigned to);
