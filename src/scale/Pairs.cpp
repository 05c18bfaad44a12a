#include "scale/Pairs.h"

#include "scale/ChannelLists.h"

namespace zor {

namespace {

using namespace channel_lists;

enum PairIndex {
    G_to_G,
    G_to_RGB,
    G_to_CMYK,
    RGB_to_G,
    RGB_to_RGB,
    CMYK_to_G,
    CMYK_to_CMYK,
    GA_to_GA,
    GA_to_RGBA,
    GA_to_CMYKA,
    RGBA_to_GA,
    RGBA_to_RGBA,
    CMYKA_to_GA,
    CMYKA_to_CMYKA,
};

struct PairRule {
    unsigned src;       // family, with or without alpha
    unsigned tested;    // flags of the target that matter
    unsigned expected;  // and what they are
    PairIndex pair;
};

// The first rule that fits decides.
constexpr PairRule kRules[] = {
    {kIsCMYK, kIsCMYK, kIsCMYK, CMYK_to_CMYK},
    {kIsCMYK, kIsGray | kIsRGB, kIsGray, CMYK_to_G},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK, CMYK_to_CMYK},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, CMYKA_to_CMYKA},
    {kIsCMYK | kWithAlpha, kIsGray | kIsRGB | kWithAlpha, kIsGray, CMYK_to_G},
    {kIsCMYK | kWithAlpha, kIsGray | kIsRGB | kWithAlpha, kIsGray | kWithAlpha, CMYKA_to_GA},
    {kIsRGB, kIsCMYK | kIsRGB, kIsRGB, RGB_to_RGB},
    {kIsRGB, kIsCMYK | kIsGray, kIsGray, RGB_to_G},
    {kIsRGB | kWithAlpha, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB, RGB_to_RGB},
    {kIsRGB | kWithAlpha, kIsCMYK | kIsGray | kWithAlpha, kIsGray, RGB_to_G},
    {kIsRGB | kWithAlpha, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, RGBA_to_RGBA},
    {kIsRGB | kWithAlpha, kIsCMYK | kIsGray | kWithAlpha, kIsGray | kWithAlpha, RGBA_to_GA},
    {kIsGray, kIsCMYK, kIsCMYK, G_to_CMYK},
    {kIsGray, kIsRGB, kIsRGB, G_to_RGB},
    {kIsGray, kIsGray, kIsGray, G_to_G},
    {kIsGray | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK, G_to_CMYK},
    {kIsGray | kWithAlpha, kIsRGB | kWithAlpha, kIsRGB, G_to_RGB},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsGray, G_to_G},
    {kIsGray | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, GA_to_CMYKA},
    {kIsGray | kWithAlpha, kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, GA_to_RGBA},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsGray | kWithAlpha, GA_to_GA},
};

// In the CMYK family the byte that becomes yellow is read through RedOffset, which is 0 in every CMYK format: yellow is
// filtered from the first byte of the source pixel. Pictures made over the years depend on it. Gray sources go through
// the same reads, all of which are offset 0 there, so the first byte of the pixel lands in all four inks.
constexpr ChannelList kCMRK = {4, {cyan, magenta, red, black}};
constexpr ChannelList kCMRKA = {5, {cyan, magenta, red, black, alpha}};

}  // namespace

constexpr ScalePair kScalePairTable[kScalePairs] = {
    {"G_to_G_Scale", ImageFormatScaling1, 1, false, 1, kG, {0}, kG, {0}},
    {"G_to_RGB_Scale", ImageFormatScaling4, 4, false, 1, kG, {1}, kRGB, {1, 1, 1}},
    {"G_to_CMYK_Scale", ImageFormatScaling4, 4, false, 4, kCMRK, {0, 1, 2, 3}, kCMYK, {0, 1, 2, 3}},
    {"RGB_to_G_Scale", ImageFormatScaling1, 1, true, 1, kRGB, {0}, kG, {0}},
    {"RGB_to_RGB_Scale", ImageFormatScaling4, 4, false, 3, kRGB, {0, 1, 2}, kRGB, {0, 1, 2}},
    {"CMYK_to_G_Scale", ImageFormatScaling1, 1, false, 1, kK, {0}, kG, {0}},
    {"CMYK_to_CMYK_Scale", ImageFormatScaling4, 4, false, 4, kCMRK, {0, 1, 2, 3}, kCMYK, {0, 1, 2, 3}},
    {"GA_to_GA_Scale", ImageFormatScaling2, 2, false, 1, kG, {0}, kG, {0}},
    {"GA_to_RGBA_Scale", ImageFormatScaling4, 4, false, 2, kGA, {1, 3}, kRGBA, {1, 1, 1, 3}},
    {"GA_to_CMYKA_Scale", ImageFormatScaling5, 5, false, 5, kCMRKA, {0, 1, 2, 3, 4}, kCMYKA, {0, 1, 2, 3, 4}},
    {"RGBA_to_GA_Scale", ImageFormatScaling2, 2, true, 2, kRGBA, {0, 1}, kGA, {0, 1}},
    {"RGBA_to_RGBA_Scale", ImageFormatScaling4, 4, false, 4, kRGBA, {0, 1, 2, 3}, kRGBA, {0, 1, 2, 3}},
    {"CMYKA_to_GA_Scale", ImageFormatScaling2, 2, false, 2, kKA, {0, 1}, kGA, {0, 1}},
    {"CMYKA_to_CMYKA_Scale", ImageFormatScaling5, 5, false, 5, kCMRKA, {0, 1, 2, 3, 4}, kCMYKA, {0, 1, 2, 3, 4}},
};

const ScalePair* PairOf(const ImageClassData* src, const ImageClassData* dst) {
    const unsigned flags = FamilyFlagsOf(src);
    const unsigned family = flags & kIsCMYK ? kIsCMYK : flags & kIsRGB ? kIsRGB : flags & kIsGray;
    const unsigned dstFlags = FamilyFlagsOf(dst);
    for (const PairRule& rule : kRules) {
        if (rule.src == (family | (flags & kWithAlpha)) && (dstFlags & rule.tested) == rule.expected) {
            return &kScalePairTable[rule.pair];
        }
    }
    return nullptr;
}

}  // namespace zor
