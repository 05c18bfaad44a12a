#pragma once
// The names of many results, made from a pattern and the names of the files that they come from.

#include <string>
#include <vector>

// One name for each file, in their order. {name}, {stem}, {ext}, {dir} and {n} in the pattern are filled in; {{ and }}
// are braces. A UsageError when the pattern holds another word in braces or a brace by itself, or when two results
// would get the same name, or one that of another file's.
std::vector<std::string> ResultNames(const std::string& pattern, const std::vector<std::string>& files);
