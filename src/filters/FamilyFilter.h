#pragma once
// The frame of tone filters that take one setting for each channel of gray and RGB images.

#include <initializer_list>

#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"

namespace zor {

// A setting by channel.
template <class Setting>
struct FamilySettings {
    Setting gray;
    Setting red;
    Setting green;
    Setting blue;
    bool toAlpha;  // an alpha channel is filtered too
    Setting alpha;
};

// The filters of the channel sets. Those without alpha leave the destination's alone.
template <class Setting>
struct FamilyWorkers {
    using Image = ImageClassData*;
    void (*gray)(Image src, Image dst, Setting gray);
    void (*grayAlpha)(Image src, Image dst, Setting gray, Setting alpha);
    void (*rgb)(Image src, Image dst, Setting red, Setting green, Setting blue);
    void (*rgbAlpha)(Image src, Image dst, Setting red, Setting green, Setting blue, Setting alpha);
};

// Images of other families: the destination comes back with no pixel changed.
template <class Setting>
REALobject FilterByFamily(REALobject object, REALobject dst, const FamilyWorkers<Setting>& filter,
                          const FamilySettings<Setting>& of) {
    return FilterInto(object, dst, [&](ImageClassData* from, ImageClassData* to) {
        const bool toAlpha = of.toAlpha && from->HasAlpha;
        if (from->IsGray && toAlpha) {
            filter.grayAlpha(from, to, of.gray, of.alpha);
        } else if (from->IsGray) {
            filter.gray(from, to, of.gray);
        } else if (from->IsRGB && toAlpha) {
            filter.rgbAlpha(from, to, of.red, of.green, of.blue, of.alpha);
        } else if (from->IsRGB) {
            filter.rgb(from, to, of.red, of.green, of.blue);
        }
    });
}

// The tables by channel, through which the whole source goes.
inline void MapColours(ImageClassData* src, ImageClassData* dst, std::initializer_list<ByteTable> tables) {
    MapThroughTables(ColourSidesOf(src, dst), WholeImage(src), tables.begin());
}
inline void MapColoursAndAlpha(ImageClassData* src, ImageClassData* dst, std::initializer_list<ByteTable> tables) {
    MapThroughTables(SidesOf(src, dst), WholeImage(src), tables.begin());
}

}  // namespace zor
