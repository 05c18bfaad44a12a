#pragma once
// The six row accessors behind ImageClassData::GetRow, and the moving window of file-backed images.

#include "core/ImageClassData.h"

namespace zor {

std::uint8_t* GetRowLinear(ImageClassData* record, int y);
std::uint8_t* GetRowLinearMirrored(ImageClassData* record, int y);
std::uint8_t* GetRowGDImage(ImageClassData* record, int y);
std::uint8_t* GetRowGDImageMirrored(ImageClassData* record, int y);
std::uint8_t* GetRowMapping(ImageClassData* record, int y);
std::uint8_t* GetRowMappingMirrored(ImageClassData* record, int y);

// The accessor that reads the same rows upside down.
GetRowFunction MirroredTwin(GetRowFunction accessor);

// Unmaps the current window, if there is one. UnmapWindow leaves its row numbers in the record.
void ReleaseWindow(ImageClassData* record);
bool UnmapWindow(ImageClassData* record);  // false: there was none

// Sets MappingBlockSize and MappedRowCount from a wish in bytes. RowSize must not be 0.
void ApplyBlockSizeRule(ImageClassData* record, int wish);

// Setter of the property MappingBlockSize. The smallest block is the granularity squared, cut to the image's size,
// but never less than five rows. Does nothing on an image without rows.
void SetMemBlockSize(REALobject object, REALword, int value);

}  // namespace zor
