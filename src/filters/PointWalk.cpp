#include "filters/PointWalk.h"

#include "core/Storage.h"

PixelSides ColourSidesOf(ImageClassData* source, ImageClassData* dest) {
    PixelSides sides = SidesOf(source, dest);
    if (sides.count() > 0 && source->HasAlpha) {  // alpha is the last
        --sides.source.channels.count;
        --sides.dest.channels.count;
    }
    return sides;
}

static bool SameOffsets(const PixelSides& sides) {
    const std::ptrdiff_t* const offset = sides.source.channels.offset;
    return std::equal(offset, offset + sides.count(), sides.dest.channels.offset);
}

static bool AreDistinct(const ChannelSet& channels) {
    for (int a = 0; a < channels.count; ++a) {
        for (int b = 0; b < a; ++b) {
            if (channels.offset[a] == channels.offset[b]) return false;
        }
    }
    return true;
}

bool PointOrderIsHidden(const PixelSides& sides) {
    if (!ImagesOverlap(sides.source.record, sides.dest.record)) return true;
    return sides.source.record == sides.dest.record && SameOffsets(sides) && AreDistinct(sides.source.channels) &&
           PixelsAreApart(sides.source);
}

bool IsOneRunOfBytes(const PixelSides& sides) {
    const int count = sides.count();
    return count > 0 && sides.source.pixelSize == count && sides.dest.pixelSize == count && SameOffsets(sides) &&
           AreDistinct(sides.source.channels) && PixelsAreApart(sides.source);
}
