#pragma once
// Channels stand once: the only place that knows which fields of the record belong to a channel and which channels to
// a family. Everything else names channels by ChannelId and takes offsets from here as data.

#include <initializer_list>

#include "core/ImageClassData.h"
#include "kernels/PixelRun.h"

namespace zor {

enum class ChannelId : unsigned char { gray, red, green, blue, alpha, cyan, magenta, yellow, black };
constexpr int kChannelIds = 9;

// What the record says of a channel. The offset counts also where the channel is absent: methods that store a channel
// which a target lacks store it there, mostly on byte 0.
struct ChannelFields {
    int ImageClassData::*offset;
    bool ImageClassData::*has;
};
extern const ChannelFields kChannelFields[kChannelIds];  // by ChannelId

inline int& OffsetOf(ImageClassData* record, ChannelId id) {
    return record->*kChannelFields[static_cast<int>(id)].offset;
}
inline int OffsetOf(const ImageClassData* record, ChannelId id) {
    return record->*kChannelFields[static_cast<int>(id)].offset;
}
inline bool& HasFlag(ImageClassData* record, ChannelId id) {
    return record->*kChannelFields[static_cast<int>(id)].has;
}
inline bool HasChannel(const ImageClassData* record, ChannelId id) {
    return record->*kChannelFields[static_cast<int>(id)].has;
}
bool HasChannels(const ImageClassData* record, std::initializer_list<ChannelId> ids);  // all of them

// Families, in the order in which an image with several flags is taken for one of them.
enum class PixelFamily : unsigned char { gray, rgb, cmyk, none };
constexpr int kPixelFamilies = 3;  // none is not one

// Names of channels in the order in which an operation works on them.
struct ChannelList {
    int count;
    ChannelId id[ChannelSet::kMax];
};

struct FamilyFields {
    bool ImageClassData::*flag;  // the record's mark of the family
    ChannelList colours;
};
extern const FamilyFields kFamilyFields[kPixelFamilies];  // by PixelFamily

// The family that the flags tell, none without.
PixelFamily FamilyOf(const ImageClassData* record);

// The colours of a family; nothing for none.
ChannelList ColoursOf(PixelFamily family);

// The colours of the record's family, with alpha last or first where the record has it.
ChannelList ChannelListOf(const ImageClassData* record, bool withAlpha);
ChannelList WithAlphaFirst(const ChannelList& colours);
ChannelList WithAlphaLast(const ChannelList& colours);

// The offsets that the record carries for these channels.
ChannelSet OffsetsOf(const ImageClassData* record, const ChannelList& channels);
ChannelSet OffsetsOf(const ImageClassData* record, std::initializer_list<ChannelId> ids);

// The colour channels of the image's family (gray; red, green, blue; cyan, magenta, yellow, black), with alpha last
// where the image has it and withAlpha is set. Count 0 for an image of no family.
ChannelSet ChannelsOf(const ImageClassData* record, bool withAlpha);

// Family and alpha as one number, for tables of rules that test some of these and not others.
enum FamilyFlags : unsigned { kIsCMYK = 1, kIsRGB = 2, kIsGray = 4, kWithAlpha = 8 };
unsigned FamilyFlagsOf(const ImageClassData* record);

}  // namespace zor
