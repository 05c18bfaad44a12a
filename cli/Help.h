#pragma once
// `zor --help`, `zor help` and `zor help NAME`, made from the tables of commands, options and effects.

#include <string>

struct EffectRow;

// How pipes are read and written.
inline constexpr const char* kStreamsHelp =
    "A - in the place of INPUT or OUTPUT stands for the standard input or output, where OUTPUT is PGM, PPM or PAM "
    "unless --format names another.";

// The text of the first two.
std::string GeneralHelp();

// The text for one effect or command, or for "each"; a UsageError when there is none of that name.
std::string HelpOn(const std::string& name);

// An effect as one types it: "scale WxH|Wx|xH|N% [filter=...]".
std::string EffectUsage(const EffectRow& row);

// Lines of at most `width` characters, broken between words; each but the first starts with `indent` spaces, and the
// first has `start` characters before it already.
std::string Wrapped(const std::string& text, std::size_t width, std::size_t start, std::size_t indent);
