#pragma once
// Slow, separate twins of row conversion and of the copy between images, told pixel by pixel over whole storages.

#include <cstdint>
#include <functional>
#include <string>

#include "support/Images.h"

// What becomes of a pair of layouts.
enum class Outcome { converted, refused, noFamily };

// Converts one pixel by the rules of RowInFormat: load reads a byte of the source's pixel, store writes one of the
// target's, both by their offset in the pixel.
using LoadByte = std::function<std::uint8_t(int offset)>;
using StoreByte = std::function<void(int offset, std::uint8_t value)>;
Outcome ModelRowPixel(const ImageClassData* source, const ImageClassData* target, bool invertAlpha,
                      const LoadByte& load, const StoreByte& store);

// The same by the rules of CopyPixels.
Outcome ModelCopyPixel(const ImageClassData* source, const ImageClassData* target, const LoadByte& load,
                       const StoreByte& store);

struct CopyArguments {
    int destX, destY, width, height, sourceX, sourceY;
};
std::string TextOf(const CopyArguments& arguments);

// CopyPixels as a whole on snapshots, which may be one and the same. False where it is to give false. Runs of bytes
// of images in files must stay within their window.
bool ModelCopy(const TestImage& target, const TestImage& source, CopyArguments arguments, Storage* targetStorage,
               Storage* sourceStorage);
