#include "exchange/ColourRows.h"

#include <algorithm>

namespace zor {

namespace {

constexpr int kInks = 4, kBlackInk = 3;

std::uint8_t Gray(const std::uint8_t* pixel, int colours) {
    if (colours == 1) return pixel[0];
    if (colours == kInks) return static_cast<std::uint8_t>(255 - pixel[kBlackInk]);
    return GrayOf(pixel[0], pixel[1], pixel[2]);
}

void StoreGray(std::uint8_t gray, std::uint8_t* pixel, int colours) {
    std::fill_n(pixel, colours, colours == kInks ? std::uint8_t{0} : gray);
    if (colours == kInks) pixel[kBlackInk] = static_cast<std::uint8_t>(255 - gray);
}

template <int kFrom, int kTo>
void Recolour(const std::uint8_t* src, std::ptrdiff_t srcStep, std::uint8_t* dst, std::ptrdiff_t dstStep,
              std::ptrdiff_t pixels) {
    for (std::ptrdiff_t i = 0; i < pixels; ++i, src += srcStep, dst += dstStep) {
        if constexpr (kFrom == kTo) {
            std::copy_n(src, kFrom, dst);
        } else {
            StoreGray(Gray(src, kFrom), dst, kTo);
        }
    }
}

using RecolourFunction = void (*)(const std::uint8_t* src, std::ptrdiff_t srcStep, std::uint8_t* dst,
                                  std::ptrdiff_t dstStep, std::ptrdiff_t pixels);

// Null: there is no way.
RecolourFunction Find(int from, int to) {
    static constexpr RecolourFunction kFunctions[3][3] = {
        {Recolour<1, 1>, Recolour<1, 3>, Recolour<1, 4>},
        {Recolour<3, 1>, Recolour<3, 3>, nullptr},
        {Recolour<4, 1>, nullptr, Recolour<4, 4>},
    };
    const auto index = [](int colours) { return colours == 1 ? 0 : colours - 2; };
    return kFunctions[index(from)][index(to)];
}

}  // namespace

bool RecolourRow(const std::uint8_t* src, int srcColours, bool srcHasAlpha, std::uint8_t* dst, int dstColours,
                 bool dstHasAlpha, std::ptrdiff_t pixels) {
    const RecolourFunction recolour = Find(srcColours, dstColours);
    if (recolour == nullptr) return false;
    const std::ptrdiff_t srcStep = srcColours + (srcHasAlpha ? 1 : 0), dstStep = dstColours + (dstHasAlpha ? 1 : 0);
    recolour(src, srcStep, dst, dstStep, pixels);
    if (!dstHasAlpha) return true;
    for (std::ptrdiff_t i = 0; i < pixels; ++i)
        dst[i * dstStep + dstColours] = srcHasAlpha ? src[i * srcStep + srcColours] : std::uint8_t{255};
    return true;
}

}  // namespace zor
