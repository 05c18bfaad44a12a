#pragma once
// How the engine's filters, which write one image from another, are put to work on pictures of every kind.

#include <functional>

#include "Raster.h"

// What of a picture a filter gets to see.
enum class FilterPart {
    Whole,     // the image as it is, alpha included
    Channels,  // every channel, alpha included; the inks of CMYK one by one, for filters that do not know them
    Colours,   // all but alpha, which stays; the inks of CMYK one by one
    Light      // the same, where each ink of CMYK is taken as the light that it leaves: 255 minus the ink
};

// Writes `target` from `source`, which are images of the same shape, and returns the image that holds the result.
// `view` is the name of the view that both are, null for the images themselves.
using Filter =
    std::function<zorhost::Object(const zorhost::Object& source, const zorhost::Object& target, const char* view)>;

// Replaces the image by what the filter makes of it. A RunError, which `effect` begins, when a filter gives nothing.
void RunFilter(Raster* image, const char* effect, FilterPart part, const Filter& filter);
