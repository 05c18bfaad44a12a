#pragma once
// Host strings as the plug-in sees them. Every record can be read directly: its second word is the address of a buffer
// whose first byte is skipped, its fourth the length in bytes.

#include "Runtime.h"

namespace zorhost::runtime {

REALstring NewString(Runtime& host, const String& text, std::string origin);  // one lock for the caller
void LockString(Runtime& host, REALstring string);
void UnlockString(Runtime& host, REALstring string);
StringEntry* FindString(Runtime& host, REALstring string);  // null for null and for what is not alive
String TextOf(const StringEntry& entry);

}  // namespace zorhost::runtime
