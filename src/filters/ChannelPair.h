#pragma once
// The channels that a filter reads in one image and stores in another, and how it gets at a pixel that may lie partly
// outside the storage.

#include "core/RowSpan.h"

// The same channels of both images, in the order in which they are stored: the channels of the source's family, each
// at the source's and at the destination's own offset. The destination may be of another format, or of another
// family: a channel that it lacks goes to the offset that its record carries for it, which is mostly 0.
struct ChannelPair {
    ChannelSet from;
    ChannelSet to;
    int count() const { return from.count; }
};

ChannelPair PairChannels(const ImageClassData* source, const ImageClassData* dest, bool withAlpha);

// True if both images hold these channels in the same places of a pixel that has no other bytes, so that a run of
// pixels is one run of bytes on either side.
bool IsOneRunOfBytes(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels);

// True if no pixel order can show in a filter whose pixels depend on themselves only: the images share no byte, or
// each pixel is stored just where it was read.
bool PointOrderIsHidden(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels);

// One past the last byte that `width` pixels reach, counted from the address of the row; the first is lowest().
inline std::ptrdiff_t EndOfPixels(const ChannelSet& channels, std::ptrdiff_t pixelSize, std::ptrdiff_t first,
                                  std::ptrdiff_t width) {
    return (first + width - 1) * pixelSize + channels.highest() + 1;
}

// True if every channel byte of those pixels may be touched.
inline bool CoversPixels(const RowSpan& row, const ChannelSet& channels, std::ptrdiff_t pixelSize, std::ptrdiff_t first,
                         std::ptrdiff_t width) {
    return row && row.Covers(first * pixelSize + channels.lowest(), EndOfPixels(channels, pixelSize, first, width));
}

template <int kCount>
void LoadPixel(const RowSpan& row, std::ptrdiff_t pixelSize, const ChannelSet& channels, std::ptrdiff_t x,
               std::uint8_t* samples) {
    for (int c = 0; c < kCount; ++c) samples[c] = row.Load(x * pixelSize + channels.offset[c]);
}

template <int kCount>
void StorePixel(const RowSpan& row, std::ptrdiff_t pixelSize, const ChannelSet& channels, std::ptrdiff_t x,
                const std::uint8_t* samples) {
    for (int c = 0; c < kCount; ++c) row.Store(x * pixelSize + channels.offset[c], samples[c]);
}
