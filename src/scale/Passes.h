#pragma once
// The two passes of the resampler: source rows along x into the temporary image, its columns along y into the target.
//
// Both take their rows themselves: a pixel comes of many columns or of many rows, which no walk hands out together.
//
// The temporary image holds one group of the pair's pitch per target column, whatever its own format says. Each pass is
// there twice: pixel by pixel, which defines the result, and row by row. The two agree to the byte, unless the pass
// writes to the image that it reads; then only the first shows the order in which pixels are worked on.

#include "core/ImageClassData.h"
#include "kernels/KernelTable.h"
#include "scale/Contributions.h"
#include "scale/Pairs.h"
#include "scale/TapTable.h"

namespace zor {

// What a pass hands to its work functions. Read-only during the pass.
struct HorizontalJob {
    ImageClassData* src;  // the source
    ImageClassData* dst;  // the temporary image
    int width;            // of the result
    const ScalePair* pair;
    int srcWidth;                   // that the lists were made for
    const ContributionList* lists;  // by column of the result
    const Taps* taps;               // the same lists; null: the pass goes pixel by pixel
    const KernelTable* kernels;
    bool pixelByPixel;  // src and dst share bytes
    // Above 0: rows are asked for one at a time, since the host may get a turn in between, up to the one before this.
    int pastLast;
};

struct VerticalJob {
    ImageClassData* src;  // the temporary image
    ImageClassData* dst;  // the target
    int width;            // of the result
    const ScalePair* pair;
    const ContributionList* lists;  // by row of the result
    const Taps* taps;               // the same lists; null: the pass goes pixel by pixel
    const KernelTable* kernels;
    bool pixelByPixel;  // src and dst share bytes
};

// Row y of dst, pixel by pixel; the horizontal one reads row y of src.
void HorizontalRow_Plain(const HorizontalJob& job, int y);
void VerticalRow_Plain(const VerticalJob& job, int y);

// Working memory of the row by row passes, for one thread.
class PassScratch {
public:
    PassScratch() = default;
    PassScratch(const PassScratch&) = delete;
    PassScratch& operator=(const PassScratch&) = delete;
    ~PassScratch();

    // Zero-filled bytes, the same ones at every call with the same size. Null without memory.
    std::uint8_t* Get(std::int64_t bytes);

    // Rows that a horizontal pass has made ahead of the one that was asked for. Whoever gives the host a turn sets both
    // to 0 behind it, as the source may have become another.
    int ahead = 0;
    int aheadEnd = 0;

private:
    std::uint8_t* memory_ = nullptr;
    std::int64_t bytes_ = 0;
};

// Rows first to last, by whichever form fits. Without memory for the row by row form they go pixel by pixel.
void HorizontalRows(const HorizontalJob& job, int first, int last, PassScratch* scratch);
void VerticalRows(const VerticalJob& job, int first, int last, PassScratch* scratch);

}  // namespace zor
