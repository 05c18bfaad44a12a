#pragma once
// Colours by colour profiles: the same colours in numbers that mean something else.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "PixelKind.h"
#include "Rows.h"
#include "codecs/Picture.h"

class Notes;

// What is to be done with pixels, known before there are any.
struct ColourStep {
    PixelKind kind;  // of the pixels that come out
    // So many pixels into others, which lie apart from them; by any number of threads at a time. Null: they stay.
    std::function<void(const std::uint8_t* from, std::uint8_t* to, std::size_t pixels)> change;
};

// To sRGB from what the tags say, which from then on say so: RGB becomes RGB, and so does CMYK; gray stays gray, with
// the tones of sRGB. Alpha is left alone. What says nothing is sRGB already. A remark, which `path` begins, where the
// tags cannot be taken at their word, or where there are none for CMYK.
ColourStep StepToSrgb(const std::string& path, PixelKind kind, ColourTags* tags, Notes& notes);

// What tells that pixels of the kind are sRGB: the mark of a format of its own, and a small profile for the others.
ColourTags SrgbTags(PixelKind kind);

// The colour profile in a file; a RunError, which names the file, where there is none for gray, RGB or CMYK pixels.
std::vector<std::uint8_t> ReadProfile(const std::string& path);

// To that profile, from what the tags say, which from then on hold it. The pixels become those that it is for; they
// keep their alpha, where those have any. A RunError, which names the file, where it only tells the other way; one that
// `path` begins for CMYK pixels of which nothing tells the meaning.
ColourStep StepToProfile(const std::string& file, const std::vector<std::uint8_t>& profile, const std::string& path,
                         PixelKind kind, ColourTags* tags, Notes& notes);

// The rows with the step done, as they are taken.
std::unique_ptr<RowSource> Recoloured(std::unique_ptr<RowSource> rows, const ColourStep& step);
