#include "filters/ChannelPair.h"

#include <algorithm>

#include "core/Storage.h"

ChannelPair PairChannels(const ImageClassData* source, const ImageClassData* dest, bool withAlpha) {
    ChannelPair pair{ChannelsOf(source, withAlpha), {}};
    const auto add = [&pair](int offset) { pair.to.offset[pair.to.count++] = offset; };
    if (source->IsGray) {
        add(dest->GrayOffset);
    } else if (source->IsRGB) {
        add(dest->RedOffset);
        add(dest->GreenOffset);
        add(dest->BlueOffset);
    } else if (source->IsCMYK) {
        add(dest->CyanOffset);
        add(dest->MagentaOffset);
        add(dest->YellowOffset);
        add(dest->BlackOffset);
    }
    if (pair.to.count < pair.from.count) add(dest->AlphaOffset);
    return pair;
}

static bool SameOffsets(const ChannelPair& channels) {
    return std::equal(channels.from.offset, channels.from.offset + channels.from.count, channels.to.offset);
}

static bool AreDistinct(const ChannelSet& channels) {
    for (int a = 0; a < channels.count; ++a) {
        for (int b = 0; b < a; ++b) {
            if (channels.offset[a] == channels.offset[b]) return false;
        }
    }
    return true;
}

bool IsOneRunOfBytes(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels) {
    const int count = channels.count();
    return count > 0 && source->PixelSize == count && dest->PixelSize == count && SameOffsets(channels) &&
           AreDistinct(channels.from) && channels.from.highest() - channels.from.lowest() == count - 1;
}

bool PointOrderIsHidden(const ImageClassData* source, const ImageClassData* dest, const ChannelPair& channels) {
    if (!ImagesOverlap(source, dest)) return true;
    return source == dest && SameOffsets(channels) && AreDistinct(channels.from) &&
           channels.from.highest() - channels.from.lowest() < source->PixelSize;
}
