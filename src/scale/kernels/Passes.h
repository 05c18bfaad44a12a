#pragma once
// The two passes of the resampler: source rows along x into the temporary image, its columns along y into the target.
//
// The temporary image holds one group of the pair's pitch per target column, whatever its own format says. Each pass is
// there twice: pixel by pixel, which defines the result, and row by row. The two agree to the byte, unless the pass
// writes to the image that it reads; then only the first shows the order in which pixels are worked on.

#include "core/ImageClassData.h"
#include "scale/kernels/Contributions.h"
#include "scale/kernels/Pairs.h"
#include "scale/kernels/RowOps.h"

// What a pass hands to its work functions. Read-only during the pass.
struct ScaleJob {
    ImageClassData* source;  // pass one
    ImageClassData* dest;    // pass two
    int height;              // of the result; pass two
    int width;
    ImageClassData* temp;
    const ContributionList* lists;  // of this pass

    const ScalePair* pair;
    int sourceWidth;       // that the lists were made for; pass one
    const TapTable* taps;  // the same lists; nil: pass one goes pixel by pixel
    const ScaleRowOps* ops;
    bool pixelByPixel;  // the image read and the image written share bytes
    bool singleRows;    // rows are asked for one at a time, since the host gets a turn in between
};

// One row, pixel by pixel. Pass one: row y of source and temp. Pass two: row y of dest.
void PassOneRow_Plain(const ScaleJob& job, int y);
void PassTwoRow_Plain(const ScaleJob& job, int y);

// Working memory of the row by row passes, for one thread.
class PassScratch {
public:
    PassScratch() = default;
    PassScratch(const PassScratch&) = delete;
    PassScratch& operator=(const PassScratch&) = delete;
    ~PassScratch();

    // Zero-filled bytes, the same ones at every call with the same size. Nil without memory.
    std::uint8_t* Get(std::int64_t bytes);

private:
    std::uint8_t* memory_ = nullptr;
    std::int64_t bytes_ = 0;
};

// Rows first to last, by whichever form fits. Without memory for the row by row form they go pixel by pixel.
void PassOneRows(const ScaleJob& job, int first, int last, PassScratch* scratch);
void PassTwoRows(const ScaleJob& job, int first, int last, PassScratch* scratch);
