#include <zlib.h>

#include "FuzzPicture.h"
#include "codecs/Png.h"

namespace {

std::uint32_t Number(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           std::uint32_t{bytes[3]};
}

// Puts the right check sum behind every chunk, without which nothing but its absence would be looked at.
void MendCheckSums(std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kFrame = 12;  // length, name and check sum
    for (std::size_t at = 8; at + kFrame <= size;) {
        const std::size_t length = Number(bytes + at);
        if (length > size - at - kFrame) return;
        const auto sum = static_cast<std::uint32_t>(crc32(0, bytes + at + 4, static_cast<uInt>(length + 4)));
        for (std::size_t i = 0; i < 4; ++i) bytes[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        at += kFrame + length;
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size, std::size_t most, unsigned seed) {
    size = LLVMFuzzerMutate(bytes, size, most);
    if (seed % 8 != 0) MendCheckSums(bytes, size);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    return FuzzPicture(OpenPng, bytes, size);
}
