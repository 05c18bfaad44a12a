#pragma once
// What of a picture's metadata goes into the result: what the command line leaves in it and the format holds, made true
// for the pixels that the result has.

#include <string>
#include <vector>

#include "PixelKind.h"
#include "Raster.h"
#include "codecs/Exif.h"
#include "codecs/Picture.h"

class Notes;

// What is left out for whoever does not want to give it away.
struct Stripping {
    bool exif = false;
    bool gps = false;
    bool xmp = false;
    bool iptc = false;
    bool text = false;
    bool profile = false;
};

// The words for it. Several may stand behind each other with commas between them; a UsageError names one that is none.
const std::vector<std::string>& StrippingWords();
Stripping ReadStripping(const std::string& words);

// The header for a result of that shape in this format: `tags` are of the oriented input. Says what is lost of it.
PictureHeader TagsFor(PictureHeader tags, const ImageShape& result, ColourFate colours, const Codec& codec,
                      const std::string& path, const Stripping& stripping, Notes& notes);
