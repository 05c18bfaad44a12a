#pragma once
// Blends of runs of gray and RGB pixels, by class: with a third run as mask, or with a colour in place of a run.
//
// All of these read a pixel whole before they store it. Those in order go from the left and keep to it also where runs
// share bytes; they define the results. Those for packed pixels want runs that share no byte.

#include "kernels/Blend.h"
#include "kernels/Mixing.h"
#include "kernels/PixelRun.h"

namespace zor {

// The channels of a host colour.
struct ColourSamples {
    std::uint8_t rgb[3];
};

// runs[0] is the target's and the only one that is written. The packed ones work by the kernels given.
using BlendFn = void (*)(const BlendKernels& kernels, const PixelRun* runs, std::ptrdiff_t count,
                         const ColourSamples& colour);

// runs[1] is mixed in by runs[2]: white of the mask keeps the target, black gives the source, channel by channel.
// Premultiplied sources are added to what they leave of the target.
BlendFn MaskedBlend(bool premultiplied, int dstClass, int srcClass, int maskClass);

// The same for targets of pixels without a gap between their channels, every class of source and mask, and runs apart:
// source and mask are brought into the byte order of the target, and all bytes of a stretch are then blended alike.
// Null where the target is not such.
BlendFn PackedBlend(const PixelRun& dst, bool premultiplied);

// The colour is painted where runs[1] is black. The packed form is null where there is none.
BlendFn ColourPaint(bool premultiplied, int dstClass, int imageClass);
BlendFn PackedColourPaint(const PixelRun& dst, bool premultiplied, int imageClass);

// runs[1] is laid on by the channels of the colour as mask values, which are as many as the target has.
BlendFn ColourMaskedLay(bool premultiplied, int dstClass, int imageClass);
BlendFn PackedColourMaskedLay(const PixelRun& dst, bool premultiplied);

}  // namespace zor
