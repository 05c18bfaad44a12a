#pragma once
// Pixel formats: from a format number to the layout of a pixel, and the size of an image.

#include "core/ImageClassData.h"

namespace zor {

// The numbers behind the ImageFormat... constants. 14 and everything outside 1 to 40 is no format.
enum ImageFormatNumber : int {
    ImageFormatUnknown = 0,
    ImageFormatRGB = 1,
    ImageFormatRGBA,
    ImageFormatRGBX,
    ImageFormatARGB,
    ImageFormatXRGB,
    ImageFormatBGR,
    ImageFormatBGRA,
    ImageFormatBGRX,
    ImageFormatABGR,
    ImageFormatXBGR,
    ImageFormatG = 11,
    ImageFormatGA,
    ImageFormatAG,
    ImageFormat1of3 = 15,
    ImageFormat2of3,
    ImageFormat3of3,
    ImageFormat1of4 = 18,
    ImageFormat2of4,
    ImageFormat3of4,
    ImageFormat4of4,
    ImageFormatBuffer = 22,
    ImageFormatCMYK = 23,
    ImageFormatCMYKA,
    ImageFormatACMYK,
    ImageFormatCMYKX,
    ImageFormatXCMYK,
    ImageFormatKYMC = 28,
    ImageFormatKYMCA,
    ImageFormatAKYMC,
    ImageFormatKYMCX,
    ImageFormatXKYMC,
    ImageFormatScaling1 = 33,
    ImageFormatScaling2,
    ImageFormatScaling3,
    ImageFormatScaling4,
    ImageFormatScaling5,
    ImageFormatScaling6,
    ImageFormatScaling7,
    ImageFormatScaling8
};

// Sizes of images in memory stay below this many bytes.
constexpr std::int64_t kPlainImageLimit = 2147483648;

// Fills in size, format and channel layout. False for a size of 0 or less (the record is untouched) and for a number
// that is no format (size and number are stored, the layout is cleared). Touches nothing else.
bool InitImageClassData(ImageClassData* record, int width, int height, int format);

// No channels, no family, pixels and rows of no bytes.
void ClearLayout(ImageClassData* record);

// What a plain image with this layout takes. The row size is Width * PixelSize in 32 bits, wrapping, raised to a
// multiple of 64; the total is that, read as signed, times Height.
struct PlainSize {
    int rowSize;
    std::int64_t total;      // negative where the row size wrapped to a negative number
    std::int64_t trueTotal;  // the same without wrapping
};
PlainSize PlainSizeOf(const ImageClassData* record);

// Class members.
REALstring GetImageFormatString(REALobject object, REALword);
std::int64_t CalculateMemory(int width, int height, int format);
REALboolean CanAllocateImage(int width, int height, int format);

// Layout tests of the byte-wise fast paths; they look at the gray, red, green, blue and alpha channels only.
bool HasPixelsOnBlock(const ImageClassData* record);  // a pixel is one byte a channel, with no pad byte
bool PictureBlockCompatible(const ImageClassData* a, const ImageClassData* b);
int GetMinOffset(const ImageClassData* record);  // lowest offset of a present channel; -1 if there is none

}  // namespace zor
