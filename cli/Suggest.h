#pragma once
// "Did you mean": the known word that is nearest to one that is not.

#include <string>
#include <vector>

// "; did you mean 'scale'?" or nothing when no word is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& known);
