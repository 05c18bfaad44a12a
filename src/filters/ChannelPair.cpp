#include "filters/ChannelPair.h"

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
