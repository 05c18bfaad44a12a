#pragma once
// How pixels of one layout become pixels of another. Row conversion and the copy between images each have a table of
// their own of which rule goes with which pair of families; what a rule does to a pixel is in kernels/Convert.h.

#include "core/Walk.h"
#include "kernels/Convert.h"
#include "kernels/Words.h"

namespace zor {

// A rule made ready for two layouts. The channels in the sets are in the order of the family; where alpha goes along
// it is the last of both.
struct PixelPlan {
    ConvertFn convert;  // in order; null: refused
    ConvertFn apart;    // for pixels that share no byte
    ChannelSet src;     // read
    ChannelSet dst;     // written, in this order
    int srcSize;        // bytes from one pixel to the next
    int dstSize;
    std::uint8_t alphaMask;  // alpha is written exclusive-or'ed with this: 0, or 255 for the complement
};

// srcChannels and dstChannels are the colours that the rule works on. Alpha goes along where withAlpha is set; both
// images must have it then.
PixelPlan MakePlan(PixelRule rule, const ImageClassData* src, const ChannelSet& srcChannels, const ImageClassData* dst,
                   const ChannelSet& dstChannels, bool withAlpha, std::uint8_t alphaMask);

// The same plan for source pixels that GatherPixels has packed by plan.src.
PixelPlan ForPackedSrc(const PixelPlan& plan);

// The pixels of a walk whose layers are the two sides, the one that is written first.
void ConvertRun(const PixelPlan& plan, const RunSet& runs);

// Converts `width` pixels from left to right, the channels of a pixel one after another: where both rows share bytes,
// what is read may already have been written. Bytes outside their row read 0 and are not written; a null row on
// either side means that nothing happens.
void ConvertPixels(const PixelPlan& plan, const RowSpan& dst, std::int64_t dstX, const RowSpan& src, std::int64_t srcX,
                   std::int64_t width);

}  // namespace zor
