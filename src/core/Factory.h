#pragma once
// The one way in which the engine gets a new image: the image's own factory, then the global one, then plain memory.

#include "core/ImageClassData.h"
#include "host/ObjectHolder.h"  // for what CreatePicture gives

namespace zor {

// An image at least as large as asked for, of whatever format the factory chose, locked for the caller; or nil.
// record is the image on whose behalf it is made, or null.
REALobject CreatePicture(ImageClassData* record, int width, int height, int format);

// True if a factory may be asked for images on behalf of the record. Otherwise they are plain memory of the engine's
// own, which nobody else knows until they are handed out.
bool HasFactory(const ImageClassData* record);

// Class members.
REALobject CreatePictureLocal(REALobject object, int width, int height, int format);
REALobject CreatePictureGlobal(int width, int height, int format);
void SetFactory(REALobject factory);

}  // namespace zor
