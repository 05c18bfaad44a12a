#pragma once
// How an image starts and ends, for the storage kinds plain memory, memory block and file.
//
// A constructor that cannot build the image returns normally, mostly without an exception: the application finds
// Valid false. Constructing an object again releases what it held once the new storage stands.

#include "core/ImageClassData.h"

namespace zor {

// Rows on 64-byte multiples, zero-filled. Below 2147483648 bytes, otherwise Valid stays false.
void ImageConstructor(REALobject object, int width, int height, int format);

// On the bytes of a memory block, which stays locked. Its size is the application's affair.
void ImageConstructorMemory(REALobject object, REALobject block, int width, int height, int format, int rowSize);

// In a scratch file that goes with the image. blockSize is the wanted size of the mapped window in bytes.
void ImageConstructorFile(REALobject object, int width, int height, int format, int blockSize, REALobject folderItem);

// Destructor of the class and method Close. Clears neither Valid nor the dimensions.
void ImageDestructor(REALobject object);

REALobject GetMemory(REALobject object, REALword);  // memory block over Pixels, or nil
std::int64_t GetTotalSizeInt64(REALobject object, REALword);

}  // namespace zor
