#pragma once
// The two classes that the plug-in registers.

#include "host/HostInterface.h"

extern REALclassDefinition ImageClass;         // PictureZOR
extern REALclassDefinition ImageFactoryClass;  // PictureFactoryZOR
extern REALevent ImageFactoryEvents[1];        // NewPictureZOR
