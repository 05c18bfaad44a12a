#include "kernels/Oil.h"

namespace zor {

static void Slide_Plain(const OilCounts& counts, const std::uint8_t* leaves, const std::uint8_t* enters,
                        std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (leaves && leaves[i] < counts.classes) --counts.count[leaves[i] * counts.stride + i];
        if (enters && enters[i] < counts.classes) ++counts.count[enters[i] * counts.stride + i];
    }
}

static void Mode_Plain(const OilCounts& counts, const OilColumns& columns, std::ptrdiff_t count, std::uint8_t* modes,
                       std::uint8_t* times) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        int mode = 0, most = 0;
        for (int k = 0; k < counts.classes; ++k) {
            int sum = 0;
            for (int j = 0; j < columns.count; ++j) sum += counts.count[k * counts.stride + i + j * columns.step];
            if (sum <= most) continue;
            most = sum;
            mode = k;
        }
        modes[i] = static_cast<std::uint8_t>(mode);
        times[i] = static_cast<std::uint8_t>(most);
    }
}

static void Mean_Plain(const OilRows& rows, const OilColumns& columns, std::ptrdiff_t count, const std::uint8_t* modes,
                       const std::uint8_t* times, const std::uint8_t* least, std::uint8_t* means) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        int sum = 0;
        for (int r = 0; r < rows.count; ++r) {
            for (int j = 0; j < columns.count; ++j) {
                const std::ptrdiff_t at = i + j * columns.step;
                if (rows.classes[r][at] == modes[i]) sum += rows.excess[r][at];
            }
        }
        if (rows.means == OilMeans::rounded) sum += times[i] / 2;
        means[i] = static_cast<std::uint8_t>(least[i] + sum / times[i]);
    }
}

void InitOil_Plain(OilKernels* kernels) {
    *kernels = {Slide_Plain, Mode_Plain, Mean_Plain};
}

}  // namespace zor
