#pragma once
// Start-up: rewriting and registering the class tables.

#include "host/HostInterface.h"

namespace zor {

void PluginEntry();

// Rewrites rows start to count - 1 from name and value to the declaration "name = value": values above 9 in
// hexadecimal unless forceDecimal is set, names with a leading k if prefixK is set. The texts are never freed.
void FixConstants(REALconstant* table, int count, int start, bool prefixK, bool forceDecimal);
void FixConstants(REALclassDefinition* definition, int start, bool prefixK, bool forceDecimal);

// Offers rows that deal in host pictures to console applications where the host is new enough (2010.029).
void FixConsoleFlags(REALclassDefinition* definition);

// Raises the instance data size to a multiple of 16 and registers the class.
void MyREALRegisterClass(REALclassDefinition* definition);

}  // namespace zor
