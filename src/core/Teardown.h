#pragma once
// How an image gives back what it holds.

#include "core/ImageClassData.h"

namespace zor {

// Storage, file, locks and mark. What the application still reads stays: Valid, the dimensions and the layout.
void Teardown(ImageClassData* record);

// For constructors, before they install their storage: what an earlier construction of the same object left is given
// back, and the record is ready for the new storage.
void ReleaseEarlierStorage(ImageClassData* record);

}  // namespace zor
