#pragma once
// What every transfer of a rectangle between two images, or a picture and an image, does before its first pixel.

#include "core/ImageClassData.h"

namespace zor {

// The rectangle of a transfer, in pixels: where it goes, how large it is, and where it comes from. Wider than the
// arguments of any call, so that no sum of them wraps.
struct TransferRect {
    std::int64_t dstX;
    std::int64_t dstY;
    std::int64_t width;
    std::int64_t height;
    std::int64_t srcX;
    std::int64_t srcY;
};

// Size of one side of the transfer, in pixels.
struct TransferSize {
    std::int64_t width;
    std::int64_t height;
};

// Cuts the rectangle to both sides. A negative size extends to the left or up from the given corner. A negative
// corner of the source takes the same amount off the destination's corner and size: what is left of it then moves to
// the left, and not to the right. Applications build on that.
//
// False if nothing is left. Otherwise the rectangle lies inside both sides, and its size is at least 1 by 1.
[[nodiscard]] bool ClipTransfer(TransferRect* rect, TransferSize dst, TransferSize src);

inline TransferSize SizeOf(const ImageClassData* record) {
    return {record->Width, record->Height};
}

// The gate of a transfer from one image to another: checks both and yields on both, the destination first. The source
// may be null. True if the transfer may go on; even then the host may have closed either image in the last yield, so
// rows are still asked for one by one. Nothing is written.
[[nodiscard]] bool PassTransferGate(ImageClassData* dst, ImageClassData* src);

}  // namespace zor
