#pragma once
// Texts out of files, whose letters are in UTF-8, or in Latin-1 where they are older.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

bool IsUtf8(const std::string& text);

std::string Utf8OfLatin1(const std::string& text);

// Nothing where Latin-1 lacks a letter.
std::optional<std::string> Latin1OfUtf8(const std::string& text);

// The letters as UTF-8, whichever of both they are in, without zeros: those at the end go, others become spaces.
std::string TextOfBytes(const std::uint8_t* bytes, std::size_t size);

// One line for a terminal of at most so many bytes: control characters become spaces, what is cut off three dots.
std::string OneLine(const std::string& text, std::size_t most);
