#include "filters/FilterFrame.h"

REALobject OpenDestination(ImageClassData* source, REALobject dest, NewImage wanted) {
    if (!IsUsable(source)) return nullptr;
    YieldIfAsked(source);
    if (dest) REALLockObject(dest);
    ObjectHolder target(dest ? dest : CreatePicture(source, wanted.width, wanted.height, wanted.format));
    if (!target.get()) return nullptr;
    ImageClassData* const record = ImageDataOf(target.get());
    if (!IsUsable(record)) return nullptr;
    YieldIfAsked(record);
    return target.release();
}

REALobject OpenDestination(ImageClassData* source, REALobject dest) {
    return OpenDestination(source, dest, {source->Width, source->Height, source->ImageFormat});
}
