#include "scale/NearestRows.h"

#include "kernels/KernelTable.h"

namespace zor {

bool NearestRows::Start(int srcWidth, int width, int colours, bool alpha) {
    const int channels = colours + (alpha ? 1 : 0);
    const Conversion conversion = colours == 1 ? kCopy1 : colours == 3 ? kCopy3 : kCopy4;
    width_ = width;
    pixels_ = {{channels, {0, 1, 2, 3, 4}}, channels};
    nearest_ = Kernels().nearest.apart[conversion][alpha];
    columns_ = HeapArray<std::int32_t>(width);
    if (!columns_) return false;
    for (int x = 0; x < width; ++x) columns_.get()[x] = NearestOf(x, srcWidth, width);
    plan_ = ShufflePlan(PixelRule::copy, alpha, pixels_, pixels_, columns_.get(), width);
    return true;
}

void NearestRows::Make(const std::uint8_t* src, std::uint8_t* dst) const {
    if (plan_) {
        plan_.Run(src, dst);
    } else {
        nearest_({dst, pixels_.step, pixels_.channels},
                 {const_cast<std::uint8_t*>(src), pixels_.step, pixels_.channels}, columns_.get(), width_);
    }
}

}  // namespace zor
