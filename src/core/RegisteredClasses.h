#pragma once
// What the host knows the classes by, as far as images need it. The plug-in fills these records in when it starts, and
// the host writes into them: at which offset an object holds its image, and the number of the factory's event.

#include "host/HostInterface.h"

namespace zor {

extern REALclassDefinition ImageClass;   // PictureZOR
extern REALevent ImageFactoryEvents[1];  // NewPictureZOR

// What an application implements of that event: an image locked for the caller, or null.
using NewPictureEvent = REALobject(REALobject factory, int width, int height, int format);

}  // namespace zor
