#pragma once
// How an image gives back what it holds.

#include "core/ImageClassData.h"

namespace zor {

// Storage, file, locks and mark. What the application still reads stays: Valid, the dimensions and the layout.
void Teardown(ImageClassData* record);

// For constructors, before they install their storage: what an earlier construction of the same object left is given
// back, and the record is ready for the new storage.
void ReleaseEarlierStorage(ImageClassData* record);

// Cuts off and closes a file that was opened under that path, which may be null, and removes it: the regular file that
// was opened, also where the path is a link to it. Anything else that stands there stays: a pipe, a device, a link,
// another file that has taken the name.
void DiscardFile(int descriptor, const char* path);

}  // namespace zor
