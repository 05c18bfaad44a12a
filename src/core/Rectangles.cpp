#include "core/Rectangles.h"

namespace zor {

static void ReduceDirection(std::int64_t* start, std::int64_t* extent, int imageExtent) {
    if (*extent < 0) {
        *start += *extent;
        *extent = -*extent;
    }
    if (*start < 0) {
        *extent += *start;
        *start = 0;
    }
    if (*start >= imageExtent) *extent = 0;
    if (*start + *extent > imageExtent) *extent = imageExtent - *start;
}

PixelRect ReduceToImage(const ImageClassData* record, const PixelRect& wanted) {
    PixelRect rect = wanted;
    ReduceDirection(&rect.x, &rect.width, record->Width);
    ReduceDirection(&rect.y, &rect.height, record->Height);
    return rect;
}

}  // namespace zor
