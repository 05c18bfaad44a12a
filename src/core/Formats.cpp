#include "core/Formats.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <string>

#include "core/Channels.h"

namespace zor {

namespace {

constexpr signed char kAbsent = -1;

// One row of the format table. The offsets stand in the order of the family's colours.
struct FormatRow {
    PixelFamily family;
    signed char pixelSize;  // 0: the number is no format
    signed char channelCount;
    signed char firstChannel;  // byte of channel 0; the channels of a pixel follow one another
    signed char offset[4];
    signed char alpha;
    const char* name;  // null: the format has no name of its own
};

constexpr FormatRow kRejected = {PixelFamily::none, 0, 0, 0, {0, 0, 0, 0}, kAbsent, nullptr};

constexpr FormatRow Gray(signed char size, signed char gray, const char* name) {
    return {PixelFamily::gray, size, 1, gray, {gray, 0, 0, 0}, kAbsent, name};
}
constexpr FormatRow GrayAlpha(signed char gray, signed char alpha, const char* name) {
    return {PixelFamily::gray, 2, 2, 0, {gray, 0, 0, 0}, alpha, name};
}
constexpr FormatRow Colour(signed char size, signed char count, signed char first, signed char red, signed char green,
                           signed char blue, signed char alpha, const char* name) {
    return {PixelFamily::rgb, size, count, first, {red, green, blue, 0}, alpha, name};
}
constexpr FormatRow Inks(signed char size, signed char count, signed char first, signed char cyan, signed char magenta,
                         signed char yellow, signed char black, signed char alpha, const char* name) {
    return {PixelFamily::cmyk, size, count, first, {cyan, magenta, yellow, black}, alpha, name};
}
constexpr FormatRow Plane(signed char size, const char* name) {
    return {PixelFamily::none, size, 0, 0, {0, 0, 0, 0}, kAbsent, name};
}

constexpr FormatRow kFormats[] = {
    /*  0 */ kRejected,
    /*  1 RGB   */ Colour(3, 3, 0, 0, 1, 2, kAbsent, "RGB"),
    /*  2 RGBA  */ Colour(4, 4, 0, 0, 1, 2, 3, "RBBA"),  // applications compare with this spelling: it stays
    /*  3 RGBX  */ Colour(4, 3, 0, 0, 1, 2, kAbsent, "RGBX"),
    /*  4 ARGB  */ Colour(4, 4, 0, 1, 2, 3, 0, "ARGB"),
    /*  5 XRGB  */ Colour(4, 3, 1, 1, 2, 3, kAbsent, "XRGB"),
    /*  6 BGR   */ Colour(3, 3, 0, 2, 1, 0, kAbsent, "BGR"),
    /*  7 BGRA  */ Colour(4, 4, 0, 2, 1, 0, 3, "BGRA"),
    /*  8 BGRX  */ Colour(4, 3, 0, 2, 1, 0, kAbsent, "BGRX"),
    /*  9 ABGR  */ Colour(4, 4, 0, 3, 2, 1, 0, "ABGR"),
    /* 10 XBGR  */ Colour(4, 3, 1, 3, 2, 1, kAbsent, "XBGR"),
    /* 11 G     */ Gray(1, 0, "G"),
    /* 12 GA    */ GrayAlpha(0, 1, "GA"),
    /* 13 AG    */ GrayAlpha(1, 0, "AG"),
    /* 14 */ kRejected,
    /* 15 1of3  */ Gray(3, 0, nullptr),
    /* 16 2of3  */ Gray(3, 1, nullptr),
    /* 17 3of3  */ Gray(3, 2, nullptr),
    /* 18 1of4  */ Gray(4, 0, nullptr),
    /* 19 2of4  */ Gray(4, 1, nullptr),
    /* 20 3of4  */ Gray(4, 2, nullptr),
    /* 21 4of4  */ Gray(4, 3, nullptr),
    /* 22 Buffer */ Plane(1, nullptr),
    /* 23 CMYK  */ Inks(4, 4, 0, 0, 1, 2, 3, kAbsent, "CMYK"),
    /* 24 CMYKA */ Inks(5, 5, 0, 0, 1, 2, 3, 4, "CMYKA"),
    /* 25 ACMYK */ Inks(5, 5, 0, 1, 2, 3, 4, 0, "ACMYK"),
    /* 26 CMYKX */ Inks(5, 4, 0, 0, 1, 2, 3, kAbsent, "CMYKX"),
    /* 27 XCMYK */ Inks(5, 4, 1, 1, 2, 3, 4, kAbsent, "XCMYK"),
    /* 28 KYMC  */ Inks(4, 4, 0, 3, 2, 1, 0, kAbsent, "KYMC"),
    /* 29 KYMCA */ Inks(5, 5, 0, 3, 2, 1, 0, 4, "KYMCA"),
    /* 30 AKYMC */ Inks(5, 5, 0, 4, 3, 2, 1, 0, "AKYMC"),
    /* 31 KYMCX */ Inks(5, 4, 0, 3, 2, 1, 0, kAbsent, "KYMCX"),
    /* 32 XKYMC */ Inks(5, 4, 1, 4, 3, 2, 1, kAbsent, "XKYMC"),
    /* 33 to 40: byte planes, the intermediate images of scaling */
    Plane(1, "Scaling"),
    Plane(2, "Scaling"),
    Plane(3, "Scaling"),
    Plane(4, "Scaling"),
    Plane(5, "Scaling"),
    Plane(6, "Scaling"),
    Plane(7, "Scaling"),
    Plane(8, "Scaling"),
};
constexpr int kFormatCount = static_cast<int>(std::size(kFormats));
static_assert(kFormatCount == ImageFormatScaling8 + 1);

void SetChannel(ImageClassData* record, ChannelId id, signed char offset) {
    OffsetOf(record, id) = offset;
    HasFlag(record, id) = true;
}

void FillLayout(ImageClassData* record, const FormatRow& row) {
    record->PixelSize = row.pixelSize;
    record->ChannelCount = row.channelCount;
    for (int channel = 0; channel < row.channelCount; ++channel) {
        record->ChannelOffsets[channel] = row.firstChannel + channel;
    }
    if (row.family != PixelFamily::none) record->*kFamilyFields[static_cast<int>(row.family)].flag = true;
    const ChannelList colours = ColoursOf(row.family);
    for (int c = 0; c < colours.count; ++c) SetChannel(record, colours.id[c], row.offset[c]);
    if (row.alpha != kAbsent) SetChannel(record, ChannelId::alpha, row.alpha);
}

// The channels that the byte-wise fast paths look at.
constexpr ChannelId kBlockChannels[] = {ChannelId::gray, ChannelId::red, ChannelId::green, ChannelId::blue,
                                        ChannelId::alpha};

}  // namespace

void ClearLayout(ImageClassData* record) {
    for (const ChannelFields& channel : kChannelFields) {
        record->*channel.offset = 0;
        record->*channel.has = false;
    }
    for (const FamilyFields& family : kFamilyFields) record->*family.flag = false;
    record->PixelSize = record->RowSize = record->ChannelCount = 0;
    for (int& offset : record->ChannelOffsets) offset = 0;
}

bool InitImageClassData(ImageClassData* record, int width, int height, int format) {
    if (!record || width <= 0 || height <= 0) return false;
    record->Width = width;
    record->Height = height;
    record->ImageFormat = format;
    ClearLayout(record);
    if (format < 0 || format >= kFormatCount || kFormats[format].pixelSize == 0) return false;
    FillLayout(record, kFormats[format]);
    return true;
}

PlainSize PlainSizeOf(const ImageClassData* record) {
    constexpr std::uint64_t kRowUnit = 64;
    const std::uint64_t width = static_cast<std::uint64_t>(record->Width);
    const std::uint64_t trueRow = (width * record->PixelSize + kRowUnit - 1) / kRowUnit * kRowUnit;
    PlainSize size{};
    // Raising to a multiple of 64 and wrapping at 32 bits may be done in either order.
    size.rowSize = static_cast<int>(static_cast<std::uint32_t>(trueRow));
    size.total = static_cast<std::int64_t>(size.rowSize) * record->Height;
    const std::int64_t largest = INT64_MAX / record->Height;
    const std::int64_t row = static_cast<std::int64_t>(trueRow);
    size.trueTotal = row > largest ? INT64_MAX : row * record->Height;
    return size;
}

REALstring GetImageFormatString(REALobject object, REALword) {
    const int format = ImageDataOf(object)->ImageFormat;
    const char* name = nullptr;
    if (format == ImageFormatUnknown) {
        name = "Unknown";
    } else if (format > 0 && format < kFormatCount) {
        name = kFormats[format].name;
    }
    if (!name) return nullptr;
    return REALBuildUnicodeString(name, static_cast<int>(std::char_traits<char>::length(name)), kREALEncodingASCII);
}

std::int64_t CalculateMemory(int width, int height, int format) {
    ImageClassData scratch{};
    if (!InitImageClassData(&scratch, width, height, format)) return 0;
    return PlainSizeOf(&scratch).total;
}

REALboolean CanAllocateImage(int width, int height, int format) {
    ImageClassData scratch{};
    if (!InitImageClassData(&scratch, width, height, format)) return false;
    const PlainSize size = PlainSizeOf(&scratch);
    if (size.trueTotal >= kPlainImageLimit) return false;
    // An image passes only with a mebibyte of head room beside it. The addresses are volatile so that a compiler
    // that knows calloc cannot leave the two attempts out.
    constexpr std::size_t kHeadRoom = 1048576;
    void* volatile const headRoom = std::calloc(kHeadRoom, 1);
    void* volatile const pixels = std::calloc(static_cast<std::size_t>(size.total), 1);
    const bool fits = headRoom && pixels;
    std::free(pixels);
    std::free(headRoom);
    return fits;
}

bool HasPixelsOnBlock(const ImageClassData* record) {
    int channels = 0;
    for (const ChannelId id : kBlockChannels) channels += HasChannel(record, id);
    return channels == record->PixelSize;
}

bool PictureBlockCompatible(const ImageClassData* a, const ImageClassData* b) {
    if (a->PixelSize != b->PixelSize) return false;
    for (const ChannelId id : kBlockChannels) {
        if (HasChannel(a, id) != HasChannel(b, id)) return false;
        // The gray offset is not compared: gray beside nothing else is at one place, and beside alpha alpha tells it.
        const bool compared = id == ChannelId::alpha ? HasChannel(a, id) : id != ChannelId::gray;
        if (compared && OffsetOf(a, id) != OffsetOf(b, id)) return false;
    }
    return true;
}

int GetMinOffset(const ImageClassData* record) {
    constexpr int kNone = INT_MAX;
    int lowest = kNone;
    for (const ChannelId id : kBlockChannels) {
        if (HasChannel(record, id)) lowest = std::min(lowest, OffsetOf(record, id));
    }
    return lowest == kNone ? -1 : lowest;
}

}  // namespace zor
