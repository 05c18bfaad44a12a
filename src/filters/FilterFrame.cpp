#include "filters/FilterFrame.h"

REALobject OpenDestination(ImageClassData* source, REALobject dest, NewShape shape) {
    if (!IsUsable(source)) return nullptr;
    YieldIfAsked(source);
    if (dest) REALLockObject(dest);
    // Only now: the application may have made another image of the source in its turn.
    const bool turned = shape == NewShape::turned;
    const int width = turned ? source->Height : source->Width;
    const int height = turned ? source->Width : source->Height;
    ObjectHolder target(dest ? dest : CreatePicture(source, width, height, source->ImageFormat));
    if (!target.get()) return nullptr;
    ImageClassData* const record = ImageDataOf(target.get());
    if (!IsUsable(record)) return nullptr;
    YieldIfAsked(record);
    return target.release();
}
