#include "FuzzPicture.h"
#include "codecs/Webp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    return FuzzPicture(OpenWebp, bytes, size);
}
