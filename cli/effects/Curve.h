#pragma once
// Curves that map a byte to a byte: as points on the command line, or as a file.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Whether a word is meant as points: it holds nothing but digits, colons and commas.
bool LooksLikeCurvePoints(std::string_view text);

// The 256 values of the curve through points "X:Y" with commas, spaces or line ends between them: straight lines from
// point to point, level before the first and behind the last. Nothing for what is no such list, for numbers above 255
// and for X that do not rise.
std::optional<std::vector<std::int32_t>> CurveThroughPoints(std::string_view text);

// The same for a file, which holds such points or all 256 values. A RunError names the file and what is wrong with it.
std::vector<std::int32_t> LoadCurve(const std::string& path);
