#include "filters/FilterFrame.h"

namespace zor {

REALobject OpenDestination(ImageClassData* src, REALobject dst, NewShape shape) {
    if (!IsUsable(src)) return nullptr;
    YieldIfAsked(src);
    if (dst) REALLockObject(dst);
    // Only now: the application may have made another image of the source in its turn.
    const bool turned = shape == NewShape::turned;
    const int width = turned ? src->Height : src->Width;
    const int height = turned ? src->Width : src->Height;
    ObjectHolder image(dst ? dst : CreatePicture(src, width, height, src->ImageFormat));
    if (!image.get()) return nullptr;
    ImageClassData* const record = ImageDataOf(image.get());
    if (!IsUsable(record)) return nullptr;
    YieldIfAsked(record);
    return image.release();
}

}  // namespace zor
