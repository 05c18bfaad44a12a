#pragma once
// The GD library, opened when the first picture needs it: it brings some forty libraries along, for font and file
// formats of all sorts, which a program that never touches a picture is not to load, nor to mix up with its own.

#include <gd.h>

#include <string>

namespace zorhost::runtime {

struct GDLibrary {
    decltype(&::gdImageCreate) ImageCreate;
    decltype(&::gdImageCreateTrueColor) ImageCreateTrueColor;
    decltype(&::gdImageDestroy) ImageDestroy;
    decltype(&::gdImageColorAllocate) ImageColorAllocate;
    decltype(&::gdImageColorResolve) ImageColorResolve;
    decltype(&::gdImagePaletteToTrueColor) ImagePaletteToTrueColor;
    decltype(&::gdImageSaveAlpha) ImageSaveAlpha;
    decltype(&::gdImageCreateFromPngPtr) ImageCreateFromPngPtr;
    decltype(&::gdImageCreateFromJpegPtrEx) ImageCreateFromJpegPtrEx;
    decltype(&::gdImagePngPtr) ImagePngPtr;
    decltype(&::gdImageJpegPtr) ImageJpegPtr;
    decltype(&::gdFree) Free;
    decltype(&::gdSetErrorMethod) SetErrorMethod;
    decltype(&::gdClearErrorMethod) ClearErrorMethod;
};

// Null where it cannot be opened; that is tried once in a process.
const GDLibrary* FindGD();
// The same, but throws Error with what is wrong.
const GDLibrary& NeedGD();

}  // namespace zorhost::runtime
