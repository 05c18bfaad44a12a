#pragma once
// Kernels of the oil filter, which finds the most frequent class of intensity around every sample and the mean of its
// samples there.

#include <cstddef>
#include <cstdint>

namespace zor {

// How often each class stands in each column of the window: count of class k in column i at [k * stride + i]. A column
// is one of samples, of which a window holds at most 255 altogether.
struct OilCounts {
    std::uint8_t* count;
    std::ptrdiff_t stride;
    int classes;  // 1 to 256
};

// The columns of a window, from that of the sample that is asked for; sample i + j * step is in column j.
struct OilColumns {
    int count;            // 1 or more
    std::ptrdiff_t step;  // from one sample to the next of its channel
};

// How the mean of a class becomes a byte.
enum class OilMeans : int { cut, rounded };

// The rows of a window, by what they hold of each sample: its class, and by how much it exceeds the least sample of it.
struct OilRows {
    const std::uint8_t* const* classes;
    const std::uint8_t* const* excess;
    int count;
    int mostExcess;  // of any sample
    OilMeans means = OilMeans::cut;
};

// No two of the bytes that a kernel is given overlap.
struct OilKernels {
    // A row of classes leaves the window and one enters it; either may be null. Classes that are not counted do
    // nothing.
    void (*slide)(const OilCounts& counts, const std::uint8_t* leaves, const std::uint8_t* enters,
                  std::ptrdiff_t count);
    // The lowest of the most frequent classes of the window around each sample, and how often it stands there.
    void (*mode)(const OilCounts& counts, const OilColumns& columns, std::ptrdiff_t count, std::uint8_t* modes,
                 std::uint8_t* times);
    // means[i] = least[i] + the sum of excess[i] of the samples of the class modes[i] in the window / times[i], cut off
    // or rounded. That is a byte, and times are 1 or more.
    void (*mean)(const OilRows& rows, const OilColumns& columns, std::ptrdiff_t count, const std::uint8_t* modes,
                 const std::uint8_t* times, const std::uint8_t* least, std::uint8_t* means);
};

void InitOil_Plain(OilKernels* kernels);
void InitOil_Sse4(OilKernels* kernels);
void InitOil_Avx2(OilKernels* kernels);
void InitOil_Neon(OilKernels* kernels);

}  // namespace zor
