#pragma once
// The fourteen format pairs of the filtered scaler: what is read from the source, what lies in the temporary image, and
// what is written to the target.

#include "core/Channels.h"
#include "core/Formats.h"
#include "core/ImageClassData.h"

namespace zor {

struct ScalePair {
    static constexpr int kMax = ChannelSet::kMax;

    const char* name;
    int tempFormat;         // of a temporary image made for this pair
    int pitch;              // bytes of a group of the temporary image
    bool luma;              // channel 0 is 0.3 red + 0.59 green + 0.11 blue of reads 0 to 2
    int channels;           // filtered in the horizontal pass
    ChannelList read;       // of a source pixel; as many as channels, or two more with luma
    int groupByte[kMax];    // by channel: its byte in the group; the other bytes of a group are 0
    ChannelList written;    // in the order of storing
    int writtenFrom[kMax];  // by write: the byte of the group
};

constexpr int kScalePairs = 14;
extern const ScalePair kScalePairTable[kScalePairs];

// The pair for these two images by their flags; null where the conversion does not exist. Alpha takes part only where
// both have it.
const ScalePair* PairOf(const ImageClassData* src, const ImageClassData* dst);

}  // namespace zor
