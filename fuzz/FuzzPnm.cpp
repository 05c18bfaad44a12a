#include "FuzzPicture.h"
#include "codecs/Pnm.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    return FuzzPicture(OpenPnm, bytes, size);
}
