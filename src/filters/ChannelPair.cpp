#include "filters/ChannelPair.h"

#include <algorithm>

#include "core/Storage.h"

ChannelPair PairChannels(const ImageClassData* source, const ImageClassData* dest, bool withAlpha) {
    const ChannelList channels = ChannelListOf(source, withAlpha);
    return {OffsetsOf(source, channels), OffsetsOf(dest, channels)};
}

bool IsOneRunOfBytes(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels) {
    return FillPixel(channels.from, source->PixelSize) && dest->PixelSize == source->PixelSize &&
           SameOffsets(channels.from, channels.to);
}

bool PointOrderIsHidden(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels) {
    if (!ImagesOverlap(source, dest)) return true;
    return source == dest && SameOffsets(channels.from, channels.to) && AreDistinct(channels.from) &&
           channels.from.highest() - channels.from.lowest() < source->PixelSize;
}
