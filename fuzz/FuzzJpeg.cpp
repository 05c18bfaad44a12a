#include "FuzzPicture.h"
#include "codecs/Jpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    return FuzzPicture(OpenJpeg, bytes, size);
}
