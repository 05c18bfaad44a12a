#pragma once
// Raster.h without the engine: rows lie in plain memory, and what lies between them is poisoned, so that a reader is
// caught at the first byte that it writes behind the end of a row.

// Frees the memory of all images made so far; none of them may be used any more.
void ForgetRasters();
