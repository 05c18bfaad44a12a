#pragma once
// The walk of all of Combine: the pixels of a rectangle of the target, from the top and from the left, each together
// with the pixels of one or two other images.

#include <atomic>

#include "compositing/Mixing.h"
#include "core/RowSpan.h"

// One image of a composition and the corner of the rectangle in it. The channels stay those of the start, whatever
// becomes of the image while the host has its turns.
struct Layer {
    ImageClassData* image;
    std::int64_t x;
    std::int64_t y;
    ChannelSet channels;  // of class gray or RGB: the colours, and alpha last if it takes part
    int pixelSize;
};

// The layer of an image with or without its alpha. It has no channels if the image is of neither class.
Layer LayerOf(ImageClassData* image, std::int64_t x, std::int64_t y, bool withAlpha);

// A run of pixels of one layer: channel c of pixel i is pixels[i * step + channels[c]].
struct PixelRun {
    std::uint8_t* pixels;
    std::ptrdiff_t step;
    int channelCount;
    std::ptrdiff_t channels[kMostChannels];
};

// The run that begins at a column of the layer's row.
PixelRun RunOf(const Layer& layer, std::uint8_t* row, std::ptrdiff_t column);

// The channels of a host colour.
struct ColourSamples {
    std::uint8_t rgb[3];
};

// Works `count` pixels from left to right; runs[0] is the target's and the only one that is written. All reads of a
// pixel come before its writes. Runs may share bytes, also at different addresses, as two windows on one file do.
using PixelKernel = void (*)(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour);

// A kernel and its faster twin for runs that share no bytes. The twin may be nil.
struct RowKernel {
    PixelKernel inOrder;
    PixelKernel apart;
};

// The compiler must neither merge nor reorder the pixels of a kernel that works in order. What it can tell from
// addresses is not enough: two windows on one file are the same bytes at different addresses.
inline void EndOfPixel() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

// Walks `height` rows of `width` pixels; layers[0] is the target. Rows are fetched in the order of the layers, and
// the target yields after each row. A row that one of the layers does not have is skipped.
void WalkLayers(const Layer* layers, int layerCount, std::int64_t width, std::int64_t height, RowKernel kernel,
                const ColourSamples& colour);
