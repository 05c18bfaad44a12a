#include <algorithm>
#include <cstring>

#include "kernels/Bytes.h"

namespace zor {

// Eight bytes are put together first, so that there is one store for eight loads.
static void Map_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table) {
    constexpr std::ptrdiff_t kBlock = 8;
    std::ptrdiff_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        std::uint8_t block[kBlock];
        std::memcpy(block, src + i, kBlock);
        for (std::uint8_t& byte : block) byte = table[byte];
        std::memcpy(dst + i, block, kBlock);
    }
    for (; i < count; ++i) dst[i] = table[src[i]];
}

static void Relief_Plain(const std::uint8_t* here, const std::uint8_t* there, std::uint8_t* dst, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        dst[i] = static_cast<std::uint8_t>(std::clamp(here[i] - there[i] + 128, 0, 255));
    }
}

void InitBytes_Plain(BytesKernels* kernels) {
    *kernels = {Map_Plain, Relief_Plain};
}

}  // namespace zor
