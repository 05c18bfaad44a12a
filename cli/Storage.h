#pragma once
// Where images live: in memory, or, above their share of it, as files in the scratch directory. Every new image asks
// here, those that the engine makes for itself as well: through the factory.

#include <cstdint>
#include <string>
#include <vector>

#include "PixelKind.h"

namespace zorhost {
class Host;
class Object;
}  // namespace zorhost

// "500M" or "1.5g": bytes, or 1024 of them to the power that K, M, G or T stands for. False: it is no size, or below
// the mebibyte that is the least to work with.
bool ReadMemorySize(const std::string& text, std::int64_t* bytes);

struct StorageOptions {
    std::int64_t memory = 0;  // bytes that all images may take together; 0: half of what the process can have
    std::string scratch;      // directory for the images beyond; empty: see ScratchDirectory
};

// Before the first image. A RunError when the directory was named and is none that files can be made in.
void SetStorage(const StorageOptions& options);

// Half of the memory of the machine, or of what a control group or a limit on addresses leaves of it.
std::int64_t DefaultMemory();

// An image before it exists.
struct ImageNeed {
    std::int64_t width;  // pixels, at least 1, like the height
    std::int64_t height;
    int bytesPerPixel;
};
ImageNeed NeedOf(const ImageShape& shape);

// Bytes of a row in memory.
std::int64_t MemoryRowBytes(std::int64_t width, int bytesPerPixel);

// Whether the engine makes such an image in memory at all, where there is enough of it: below 2 GiB.
bool CanBeInMemory(const ImageNeed& need);

// Throws a RunError, which `what` begins, unless such an image can be had at all, whatever room there is: in memory or
// as a file.
void CheckCanBe(const std::string& what, const ImageNeed& need);

// "800 x 600 pixels of 3 bytes", for messages.
std::string PixelsText(const ImageNeed& need);

// Whether such an image is made as a file: it is larger than a quarter of the memory, for effects hold up to four
// images at a time, or larger than any image in memory can be.
bool GoesToScratch(const ImageNeed& need);

// Throws a RunError unless the memory holds so many bytes of rows that are needed at a time to make the image; below 0:
// more than any memory. A few mebibytes may be had even where images get less.
void CheckMemoryHolds(const std::string& what, const ImageNeed& need, std::int64_t bytes);

// Whether so many bytes that are no image are held in memory: the same quarter.
bool FitsItsShare(std::int64_t bytes);

// Throws a RunError unless the scratch directory has room for those of the images that go there, all at one time.
// `what` begins the message: whom they are for.
void CheckScratchHolds(const std::string& what, const std::vector<ImageNeed>& needs);

// The factory that the engine asks for every new image: those that go to scratch are made there, and all others are
// left to the engine. It throws a RunError where the directory cannot hold the image.
zorhost::Object MakeImageFactory(zorhost::Host& host);
