#pragma once
// The manual page, made from the tables of commands, options and effects.

#include <string>

// The page as the source for man: `zor --man > zor.1`.
std::string ManualPage();
