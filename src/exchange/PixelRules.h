#pragma once
// How pixels of one layout become pixels of another. Row conversion and the copy between images each have a table of
// their own of which rule goes with which pair of families; what a rule does to a pixel is here.

#include "core/RowSpan.h"

enum class PixelRule : unsigned char {
    refused,    // there is no way from the one family to the other
    copy,       // channel by channel
    spread,     // the one source channel into all of the target's
    blackOnly,  // the one source channel into the last of the target's, 0 into the others
    luma,       // (77 red + 151 green + 28 blue) >> 8 into the one target channel
};

// Families of images by their flags, in the order of the rule tables.
enum class PixelFamily : unsigned char { gray, rgb, cmyk, none };
PixelFamily FamilyOf(const ImageClassData* record);

// A rule made ready for two layouts. The channels in the sets are in the order of the family; where alpha goes along
// it is the last of both.
struct PixelPlan;
using ConvertRowFunction = void (*)(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src,
                                    std::ptrdiff_t srcX, std::ptrdiff_t width);
struct PixelPlan {
    ConvertRowFunction convert;  // nil: refused
    ChannelSet source;           // read
    ChannelSet dest;             // written, in this order
    int sourceSize;              // bytes from one pixel to the next
    int destSize;
    std::uint8_t alphaMask;  // alpha is written exclusive-or'ed with this: 0, or 255 for the complement
};

// sourceChannels and destChannels are the colours that the rule works on. Alpha goes along where withAlpha is set; both
// images must have it then.
PixelPlan MakePlan(PixelRule rule, const ImageClassData* source, const ChannelSet& sourceChannels,
                   const ImageClassData* dest, const ChannelSet& destChannels, bool withAlpha, std::uint8_t alphaMask);

// The same plan for source pixels that GatherPixels has packed by plan.source.
PixelPlan ForPackedSource(const PixelPlan& plan);

// Converts `width` pixels from left to right, the channels of a pixel one after another: where both rows share bytes,
// what is read may already have been written. Bytes outside their row read 0 and are not written; a nil row on
// either side means that nothing happens.
void ConvertPixels(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src,
                   std::ptrdiff_t srcX, std::ptrdiff_t width);
