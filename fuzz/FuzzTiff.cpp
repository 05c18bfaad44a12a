#include "FuzzPicture.h"
#include "codecs/Tiff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    return FuzzPicture(OpenTiff, bytes, size);
}
