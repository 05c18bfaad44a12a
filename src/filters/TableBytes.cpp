#include "filters/TableBytes.h"

#include <cstring>

// Eight bytes are put together first, so that there is one store for eight loads.
void MapBytes_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table) {
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

MapBytesFn PickedMapBytes() {
#ifdef ZOR_HAS_AVX2_TWINS
    if (__builtin_cpu_supports("avx2")) return MapBytes_Avx2;
#endif
    return MapBytes_Plain;
}
