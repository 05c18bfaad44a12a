#pragma once
// Kernels on runs of bytes, each of which is a sample of its own.

#include <cstddef>
#include <cstdint>

namespace zor {

// dst may be a source itself; otherwise the two do not overlap.
struct BytesKernels {
    // dst[i] = table[src[i]]; the table has 256 entries.
    void (*map)(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table);
    // dst[i] = here[i] - there[i] + 128, cut to 0 to 255
    void (*relief)(const std::uint8_t* here, const std::uint8_t* there, std::uint8_t* dst, std::ptrdiff_t count);
};

void InitBytes_Plain(BytesKernels* kernels);
void InitBytes_Sse4(BytesKernels* kernels);
void InitBytes_Avx2(BytesKernels* kernels);
void InitBytes_Neon(BytesKernels* kernels);

}  // namespace zor
