#pragma once
// Opening and starting plug-ins.

#include "Runtime.h"

namespace zorhost::runtime {

// Starts the plug-in that the host's options name, or takes up one that this process started before. Throws Error.
void StartPlugin(Runtime& host);

// The plug-in hands over a class. A table that makes no sense is remembered and fails the start.
void RegisterFromPlugin(Runtime& host, REALclassDefinition* definition);

}  // namespace zorhost::runtime
