#pragma once
// The two classes that the plug-in registers.

#include "core/RegisteredClasses.h"

extern REALclassDefinition ImageFactoryClass;  // PictureFactoryZOR

// Writes the tables into ImageClass, ImageFactoryClass and ImageFactoryEvents.
void DescribeClasses();
