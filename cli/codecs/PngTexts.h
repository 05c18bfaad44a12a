#pragma once
// The parts of a PNG file that hold texts, and blocks of other formats: eXIf, tEXt, zTXt and iTXt.

#include <cstdint>
#include <string>
#include <vector>

#include "codecs/Metadata.h"

struct PngPart {
    std::string name;  // four letters
    std::vector<std::uint8_t> bytes;
};

bool IsPngText(const char* name);

// Adds what the part holds to the metadata. Empty: it did; else why it is left out.
std::string TakePngText(const PngPart& part, Metadata* metadata);

// The parts that hold it all.
std::vector<PngPart> PngTextsOf(const Metadata& metadata);
