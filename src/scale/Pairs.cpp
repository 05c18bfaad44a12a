#include "scale/Pairs.h"

namespace {

using namespace channel_fields;

using Record = ImageClassData;

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

enum Flags : unsigned { kIsCMYK = 1, kIsRGB = 2, kIsGray = 4, kWithAlpha = 8 };

unsigned FlagsOf(const Record* record) {
    return (record->IsCMYK ? kIsCMYK : 0U) | (record->IsRGB ? kIsRGB : 0U) | (record->IsGray ? kIsGray : 0U) |
           (record->HasAlpha ? kWithAlpha : 0U);
}

struct PairRule {
    unsigned source;    // family, with or without alpha
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

}  // namespace

// In the CMYK family the byte that becomes yellow is read through RedOffset, which is 0 in every CMYK format: yellow is
// filtered from the first byte of the source pixel. Pictures made over the years depend on it. Gray sources go through
// the same reads, all of which are offset 0 there, so the first byte of the pixel lands in all four inks.
constexpr ScalePair kScalePairTable[kScalePairs] = {
    {"G_to_G_Scale", ImageFormatScaling1, 1, false, 1, 1, {kGray}, {0}, 1, {kGray}, {0}, 0, 1},
    {"G_to_RGB_Scale", ImageFormatScaling4, 4, false, 1, 1, {kGray}, {1}, 3, {kRed, kGreen, kBlue}, {1, 1, 1}, 1, 4},
    {"G_to_CMYK_Scale",
     ImageFormatScaling4,
     4,
     false,
     4,
     4,
     {kCyan, kMagenta, kRed, kBlack},
     {0, 1, 2, 3},
     4,
     {kCyan, kMagenta, kYellow, kBlack},
     {0, 1, 2, 3},
     0,
     1},
    {"RGB_to_G_Scale", ImageFormatScaling1, 1, true, 1, 3, {kRed, kGreen, kBlue}, {0}, 1, {kGray}, {0}, 0, 1},
    {"RGB_to_RGB_Scale",
     ImageFormatScaling4,
     4,
     false,
     3,
     3,
     {kRed, kGreen, kBlue},
     {0, 1, 2},
     3,
     {kRed, kGreen, kBlue},
     {0, 1, 2},
     0,
     1},
    {"CMYK_to_G_Scale", ImageFormatScaling1, 1, false, 1, 1, {kBlack}, {0}, 1, {kGray}, {0}, 0, 1},
    {"CMYK_to_CMYK_Scale",
     ImageFormatScaling4,
     4,
     false,
     4,
     4,
     {kCyan, kMagenta, kRed, kBlack},
     {0, 1, 2, 3},
     4,
     {kCyan, kMagenta, kYellow, kBlack},
     {0, 1, 2, 3},
     0,
     1},
    {"GA_to_GA_Scale", ImageFormatScaling2, 2, false, 1, 1, {kGray}, {0}, 1, {kGray}, {0}, 0, 2},
    {"GA_to_RGBA_Scale",
     ImageFormatScaling4,
     4,
     false,
     2,
     2,
     {kGray, kAlpha},
     {1, 3},
     4,
     {kRed, kGreen, kBlue, kAlpha},
     {1, 1, 1, 3},
     1,
     2},
    {"GA_to_CMYKA_Scale",
     ImageFormatScaling5,
     5,
     false,
     5,
     5,
     {kCyan, kMagenta, kRed, kBlack, kAlpha},
     {0, 1, 2, 3, 4},
     5,
     {kCyan, kMagenta, kYellow, kBlack, kAlpha},
     {0, 1, 2, 3, 4},
     0,
     1},
    {"RGBA_to_GA_Scale",
     ImageFormatScaling2,
     2,
     true,
     2,
     4,
     {kRed, kGreen, kBlue, kAlpha},
     {0, 1},
     2,
     {kGray, kAlpha},
     {0, 1},
     0,
     1},
    {"RGBA_to_RGBA_Scale",
     ImageFormatScaling4,
     4,
     false,
     4,
     4,
     {kRed, kGreen, kBlue, kAlpha},
     {0, 1, 2, 3},
     4,
     {kRed, kGreen, kBlue, kAlpha},
     {0, 1, 2, 3},
     0,
     1},
    {"CMYKA_to_GA_Scale",
     ImageFormatScaling2,
     2,
     false,
     2,
     2,
     {kBlack, kAlpha},
     {0, 1},
     2,
     {kGray, kAlpha},
     {0, 1},
     0,
     1},
    {"CMYKA_to_CMYKA_Scale",
     ImageFormatScaling5,
     5,
     false,
     5,
     5,
     {kCyan, kMagenta, kRed, kBlack, kAlpha},
     {0, 1, 2, 3, 4},
     5,
     {kCyan, kMagenta, kYellow, kBlack, kAlpha},
     {0, 1, 2, 3, 4},
     0,
     1},
};

const ScalePair* PairOf(const ImageClassData* source, const ImageClassData* target) {
    const unsigned flags = FlagsOf(source);
    const unsigned family = flags & kIsCMYK ? kIsCMYK : flags & kIsRGB ? kIsRGB : flags & kIsGray;
    const unsigned targetFlags = FlagsOf(target);
    for (const PairRule& rule : kRules) {
        if (rule.source == (family | (flags & kWithAlpha)) && (targetFlags & rule.tested) == rule.expected) {
            return &kScalePairTable[rule.pair];
        }
    }
    return nullptr;
}
