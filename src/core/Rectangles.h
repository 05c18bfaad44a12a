#pragma once
// The rectangle of an operation on one image.

#include "core/ImageClassData.h"

namespace zor {

// In pixels. Wider than the arguments of any call, so that no sum of them wraps.
struct PixelRect {
    std::int64_t x;
    std::int64_t y;
    std::int64_t width;
    std::int64_t height;

    bool IsEmpty() const { return width < 1 || height < 1; }
};

// Reduces a rectangle to the part that lies on the image. A negative size extends to the left or up from the given
// corner. A rectangle that is not empty afterwards lies wholly on the image; of an empty one only that it is empty
// counts, and reducing it again leaves it empty.
PixelRect ReduceToImage(const ImageClassData* record, const PixelRect& wanted);

}  // namespace zor
