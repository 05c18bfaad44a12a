#include "core/RegisteredClasses.h"

REALclassDefinition ImageClass{};
REALevent ImageFactoryEvents[1]{};
