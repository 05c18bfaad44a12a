#include "core/RegisteredClasses.h"

namespace zor {

REALclassDefinition ImageClass{};
REALevent ImageFactoryEvents[1]{};

}  // namespace zor
