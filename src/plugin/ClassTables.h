#pragma once
// The two classes that the plug-in registers.

#include "core/RegisteredClasses.h"

namespace zor {

extern REALclassDefinition ImageFactoryClass;  // PictureFactoryZOR

// Writes the tables into ImageClass, ImageFactoryClass and ImageFactoryEvents.
void DescribeClasses();

}  // namespace zor
