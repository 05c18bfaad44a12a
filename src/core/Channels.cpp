#include "core/Channels.h"

#include <algorithm>

namespace zor {

using Record = ImageClassData;

const ChannelFields kChannelFields[kChannelIds] = {
    {&Record::GrayOffset, &Record::HasGray},       {&Record::RedOffset, &Record::HasRed},
    {&Record::GreenOffset, &Record::HasGreen},     {&Record::BlueOffset, &Record::HasBlue},
    {&Record::AlphaOffset, &Record::HasAlpha},     {&Record::CyanOffset, &Record::HasCyan},
    {&Record::MagentaOffset, &Record::HasMagenta}, {&Record::YellowOffset, &Record::HasYellow},
    {&Record::BlackOffset, &Record::HasBlack},
};

const FamilyFields kFamilyFields[kPixelFamilies] = {
    {&Record::IsGray, {1, {ChannelId::gray}}},
    {&Record::IsRGB, {3, {ChannelId::red, ChannelId::green, ChannelId::blue}}},
    {&Record::IsCMYK, {4, {ChannelId::cyan, ChannelId::magenta, ChannelId::yellow, ChannelId::black}}},
};

bool HasChannels(const ImageClassData* record, std::initializer_list<ChannelId> ids) {
    return std::all_of(ids.begin(), ids.end(), [record](ChannelId id) { return HasChannel(record, id); });
}

PixelFamily FamilyOf(const ImageClassData* record) {
    for (int family = 0; family < kPixelFamilies; ++family) {
        if (record->*kFamilyFields[family].flag) return static_cast<PixelFamily>(family);
    }
    return PixelFamily::none;
}

ChannelList ColoursOf(PixelFamily family) {
    return family == PixelFamily::none ? ChannelList{} : kFamilyFields[static_cast<int>(family)].colours;
}

ChannelList WithAlphaFirst(const ChannelList& colours) {
    ChannelList list{colours.count + 1, {ChannelId::alpha}};
    std::copy_n(colours.id, colours.count, list.id + 1);
    return list;
}

ChannelList WithAlphaLast(const ChannelList& colours) {
    ChannelList list = colours;
    list.id[list.count++] = ChannelId::alpha;
    return list;
}

ChannelList ChannelListOf(const ImageClassData* record, bool withAlpha) {
    const ChannelList colours = ColoursOf(FamilyOf(record));
    return colours.count > 0 && withAlpha && record->HasAlpha ? WithAlphaLast(colours) : colours;
}

ChannelSet OffsetsOf(const ImageClassData* record, const ChannelList& channels) {
    ChannelSet set{channels.count, {}};
    for (int c = 0; c < channels.count; ++c) set.offset[c] = OffsetOf(record, channels.id[c]);
    return set;
}

ChannelSet OffsetsOf(const ImageClassData* record, std::initializer_list<ChannelId> ids) {
    ChannelSet set{};
    for (const ChannelId id : ids) set.offset[set.count++] = OffsetOf(record, id);
    return set;
}

ChannelSet ChannelsOf(const ImageClassData* record, bool withAlpha) {
    return OffsetsOf(record, ChannelListOf(record, withAlpha));
}

unsigned FamilyFlagsOf(const ImageClassData* record) {
    return (record->IsCMYK ? kIsCMYK : 0U) | (record->IsRGB ? kIsRGB : 0U) | (record->IsGray ? kIsGray : 0U) |
           (record->HasAlpha ? kWithAlpha : 0U);
}

}  // namespace zor
