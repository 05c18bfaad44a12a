#include "filters/ByteRuns.h"

#include "kernels/KernelTable.h"

namespace zor {

ConvertFn PixelMover(int channels) {
    const auto& copies = Kernels().convert.apart;
    constexpr Conversion kColours[ChannelSet::kMax] = {kCopy1, kCopy1, kCopy3, kCopy3, kCopy4};
    constexpr int kWithAlpha[ChannelSet::kMax] = {0, 1, 0, 1, 1};
    const int at = std::clamp(channels, 1, ChannelSet::kMax) - 1;
    return copies[kColours[at]][kWithAlpha[at]];
}

}  // namespace zor
