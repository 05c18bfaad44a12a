#pragma once
// Effects that change the kind of pixels: one channel of a picture, and conversions between kinds.

#include "Raster.h"
#include "effects/Effects.h"

std::vector<EffectRow> ConvertEffects();

// The words for channels on the command line, and the view that a word stands for; a RunError, which `effect` begins,
// when pixels of the kind have no such channel.
std::vector<const char*> ChannelWords();
const char* ChannelView(const char* effect, PixelKind kind, const std::string& word);
// The same as the place of its byte in a pixel.
int IndexOfChannel(const char* effect, PixelKind kind, const std::string& word);

// Whether pixels of one kind can become those of another: all but RGB and CMYK, between which only colour profiles tell
// the way.
bool CanConvert(PixelKind from, PixelKind to);

// The image in another kind that it can become. Alpha that the source lacks is opaque, alpha that the result lacks is
// left out. Gray and CMYK meet in the black ink, whose 255 is gray 0. `effect` begins the message of a RunError.
Raster Converted(const Raster& image, PixelKind kind, const char* effect);

// The kind with the same colours, with or without alpha; CMYK has none.
PixelKind WithAlpha(PixelKind kind, bool alpha);

// The views of the channels of a kind, colours first; the second form leaves alpha out.
std::vector<const char*> ChannelViews(PixelKind kind);
std::vector<const char*> ColourViews(PixelKind kind);

// Copies all pixels of an image, or a view, of the same size; a RunError when the engine refuses.
void CopyAll(const zorhost::Object& target, const zorhost::Object& source, const char* effect);
