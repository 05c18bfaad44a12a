#include "core/InPlace.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "core/Formats.h"
#include "core/PixelLoops.h"

namespace {

PixelRect WholeOf(const ImageClassData* record) {
    return {0, 0, record->Width, record->Height};
}

// What all operations but FillRectApply test and do before their first row. The rectangle must be reduced.
bool PassGuard(ImageClassData* record, const PixelRect& rect) {
    if (!IsUsable(record) || rect.IsEmpty()) return false;
    YieldIfAsked(record);
    return true;
}

ChannelSet SetOf(std::initializer_list<int> offsets) {
    ChannelSet set{};
    for (const int offset : offsets) set.offset[set.count++] = offset;
    return set;
}

// True if the channels fill the pixel, so that pixels side by side are one run of channel bytes.
bool ChannelsFillPixel(const ChannelSet& channels, int pixelSize) {
    if (channels.count != pixelSize || channels.highest() - channels.lowest() != pixelSize - 1) return false;
    for (int c = 1; c < channels.count; ++c) {
        if (std::count(channels.offset, channels.offset + c, channels.offset[c]) > 0) return false;
    }
    return true;
}

// --- what happens to a byte -----------------------------------------------------------------------------------------

struct StoreValues {
    static constexpr bool kVisitsAll = false;
    std::uint8_t value[ChannelSet::kMax];
    std::uint8_t operator()(int channel, std::uint8_t) const { return value[channel]; }
};

struct Complement {
    static constexpr bool kVisitsAll = false;
    std::uint8_t operator()(int, std::uint8_t old) const { return static_cast<std::uint8_t>(255 - old); }
};

struct DrawRandom {
    static constexpr bool kVisitsAll = true;
    std::uint8_t operator()(int, std::uint8_t) const { return static_cast<std::uint8_t>(std::rand()); }
};

// (old * weight of old + new * weight of new) >> 16 in 32 bits, of which the low 8 bits are stored. The alpha is not
// clamped, and the sums wrap; bits 16 to 23 are the same with and without a sign.
struct LayOver {
    static constexpr bool kVisitsAll = false;
    std::uint32_t oldWeight;
    std::uint32_t added[ChannelSet::kMax] = {};  // new value times its weight

    LayOver(std::initializer_list<int> values, int alpha) {
        constexpr std::uint32_t kOpaque = 255, kUnit = 257;
        oldWeight = (kOpaque - static_cast<std::uint32_t>(alpha)) * kUnit;
        std::uint32_t* next = added;
        for (const int value : values) {
            *next++ = static_cast<std::uint32_t>(value) * (static_cast<std::uint32_t>(alpha) * kUnit);
        }
    }
    std::uint8_t operator()(int channel, std::uint8_t old) const {
        return static_cast<std::uint8_t>((old * oldWeight + added[channel]) >> 16);
    }
};

// The weights add up to 256. The sum wraps at 32 bits; the division truncates towards zero, also below it.
int GrayOf(int red, int green, int blue) {
    const std::uint32_t sum = 77u * static_cast<std::uint32_t>(red) + 151u * static_cast<std::uint32_t>(green) +
                              28u * static_cast<std::uint32_t>(blue);
    return static_cast<std::int32_t>(sum) / 256;
}

// --- runs of whole pixels -------------------------------------------------------------------------------------------

// The bytes of the rectangle's columns in one row, counted from byte `lead` of the first pixel.
ByteRun RunOf(const RowSpan& row, std::int64_t x, std::int64_t width, int pixelSize, int lead) {
    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(x * pixelSize + lead);
    return CutRun(row, first, first + static_cast<std::ptrdiff_t>(width * pixelSize));
}

void FillRuns(ImageClassData* record, const PixelRect& rect, int lead, int value) {
    const int pixelSize = record->PixelSize;
    WalkRows(record, rect, [&](const RowSpan& row) {
        const ByteRun run = RunOf(row, rect.x, rect.width, pixelSize, lead);
        if (run.size > 0) std::memset(run.data, value, run.size);
    });
}

// Stores one value a channel. Where pixels side by side are one run of channel bytes, the run is laid out in pieces of
// one pattern that holds many pixels.
void FillChannels(ImageClassData* record, const PixelRect& rect, const ChannelSet& channels,
                  const StoreValues& values) {
    const int pixelSize = record->PixelSize;
    if (channels.count < 1 || !ChannelsFillPixel(channels, pixelSize)) {
        return TouchRect(record, rect, pixelSize, channels, values);
    }
    constexpr int kPixels = 800;
    std::uint8_t pattern[(kPixels + 1) * ChannelSet::kMax];  // one pixel more, for runs that begin within a pixel
    const int lowest = static_cast<int>(channels.lowest());
    for (int i = 0; i <= kPixels; ++i) {
        for (int c = 0; c < channels.count; ++c) {
            pattern[i * pixelSize + channels.offset[c] - lowest] = values.value[c];
        }
    }
    WalkRows(record, rect, [&](const RowSpan& row) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(rect.x) * pixelSize + lowest;
        const ByteRun run = RunOf(row, rect.x, rect.width, pixelSize, lowest);
        const std::ptrdiff_t begun = std::max<std::ptrdiff_t>(row.begin - first, 0) % pixelSize;
        const std::size_t piece = static_cast<std::size_t>(kPixels * pixelSize);
        for (std::size_t done = 0; done < run.size; done += piece) {
            std::memcpy(run.data + done, pattern + begun, std::min(piece, run.size - done));
        }
    });
}

// The channels of FillRectRandom, in the order in which they draw.
ChannelSet RandomChannels(const ImageClassData* record) {
    const int alpha = record->AlphaOffset;
    if (record->HasGray) return record->HasAlpha ? SetOf({alpha, record->GrayOffset}) : SetOf({record->GrayOffset});
    if (!record->IsCMYK || !record->HasAlpha) return ChannelsOf(record, true);
    return SetOf({alpha, record->CyanOffset, record->MagentaOffset, record->YellowOffset, record->BlackOffset});
}

struct Colour {
    int red;
    int green;
    int blue;
};

Colour Split(REALcolor color) {
    return {(color >> 16) & 255, (color >> 8) & 255, color & 255};
}

std::uint8_t Low8(int value) {
    return static_cast<std::uint8_t>(value);
}

}  // namespace

// --- clear ----------------------------------------------------------------------------------------------------------

void ClearRect1(REALobject object) {
    ImageClassData* const record = ImageDataOf(object);
    if (!IsUsable(record)) return;
    YieldIfAsked(record);
    const int rowSize = record->RowSize;
    WalkRows(record, WholeOf(record), [&](const RowSpan& row) {
        const ByteRun run = CutRun(row, 0, rowSize);
        if (run.size > 0) std::memset(run.data, 0, run.size);
    });
}

void ClearRect5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (PassGuard(record, rect)) FillRuns(record, rect, 0, 0);
}

// --- fill -----------------------------------------------------------------------------------------------------------

void FillRect5(REALobject object, int x, int y, int width, int height, int value) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (!PassGuard(record, rect)) return;
    if (HasPixelsOnBlock(record)) {
        FillRuns(record, rect, GetMinOffset(record), Low8(value));
    } else {
        StoreValues values;
        std::fill_n(values.value, ChannelSet::kMax, Low8(value));
        FillChannels(record, rect, ChannelsOf(record, true), values);
    }
}

void FillRect1(REALobject object, int value) {
    const ImageClassData* const record = ImageDataOf(object);
    FillRect5(object, 0, 0, record->Width, record->Height, value);
}

// --- fill with noise ------------------------------------------------------------------------------------------------

void FillRectRandom5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (!PassGuard(record, rect)) return;
    if (HasPixelsOnBlock(record)) {
        // One run of bytes, from column x to column width, not x + width: applications rely on what stays untouched.
        const int pixelSize = record->PixelSize;
        const PixelRect bytes = {rect.x * pixelSize, rect.y, (rect.width - rect.x) * pixelSize, rect.height};
        TouchRect(record, bytes, 1, SetOf({GetMinOffset(record)}), DrawRandom{});
    } else {
        TouchRect(record, rect, record->PixelSize, RandomChannels(record), DrawRandom{});
    }
}

void FillRectRandom1(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    FillRectRandom5(object, 0, 0, record->Width, record->Height);
}

// --- fill with a colour ---------------------------------------------------------------------------------------------

static void FillColour(REALobject object, const PixelRect& wanted, Colour colour, bool withAlpha, int alpha) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, wanted);
    if (!PassGuard(record, rect) || !record->HasRed || !record->HasGreen || !record->HasBlue) return;
    ChannelSet channels = SetOf({record->RedOffset, record->GreenOffset, record->BlueOffset});
    if (withAlpha && record->HasAlpha) channels.offset[channels.count++] = record->AlphaOffset;
    const StoreValues values = {{Low8(colour.red), Low8(colour.green), Low8(colour.blue), Low8(alpha), 0}};
    FillChannels(record, rect, channels, values);
}

void FillRectRGB5(REALobject object, int x, int y, int width, int height, int red, int green, int blue) {
    FillColour(object, {x, y, width, height}, {red, green, blue}, false, 0);
}

void FillRectRGBA5(REALobject object, int x, int y, int width, int height, int red, int green, int blue, int alpha) {
    FillColour(object, {x, y, width, height}, {red, green, blue}, true, alpha);
}

void FillRectRGB1(REALobject object, int red, int green, int blue) {
    const ImageClassData* const record = ImageDataOf(object);
    FillRectRGB5(object, 0, 0, record->Width, record->Height, red, green, blue);
}

void FillRectRGBA1(REALobject object, int red, int green, int blue, int alpha) {
    const ImageClassData* const record = ImageDataOf(object);
    FillRectRGBA5(object, 0, 0, record->Width, record->Height, red, green, blue, alpha);
}

void FillRectRGBc1(REALobject object, REALcolor color) {
    const Colour colour = Split(color);
    FillRectRGB1(object, colour.red, colour.green, colour.blue);
}

void FillRectRGBcA1(REALobject object, REALcolor color, int alpha) {
    const Colour colour = Split(color);
    FillRectRGBA1(object, colour.red, colour.green, colour.blue, alpha);
}

void FillRectRGBc5(REALobject object, int x, int y, int width, int height, REALcolor color) {
    const Colour colour = Split(color);
    FillRectRGB5(object, x, y, width, height, colour.red, colour.green, colour.blue);
}

void FillRectRGBcA5(REALobject object, int x, int y, int width, int height, REALcolor color, int alpha) {
    const Colour colour = Split(color);
    FillRectRGBA5(object, x, y, width, height, colour.red, colour.green, colour.blue, alpha);
}

// --- lay a colour over ----------------------------------------------------------------------------------------------

// Has no guard but Valid: the rows of an empty rectangle are fetched, and it does not yield before the first one.
void FillRectApplyRGBA5(REALobject object, int x, int y, int width, int height, int red, int green, int blue,
                        int alpha) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (!record->Valid) return;
    if (record->IsRGB) {
        TouchRect(record, rect, record->PixelSize, ChannelsOf(record, false), LayOver({red, green, blue}, alpha));
    } else if (record->IsGray) {
        TouchRect(record, rect, record->PixelSize, ChannelsOf(record, false),
                  LayOver({GrayOf(red, green, blue)}, alpha));
    }
}

void FillRectApplyRGBA1(REALobject object, int red, int green, int blue, int alpha) {
    const ImageClassData* const record = ImageDataOf(object);
    FillRectApplyRGBA5(object, 0, 0, record->Width, record->Height, red, green, blue, alpha);
}

void FillRectApplyRGBcA1(REALobject object, REALcolor color, int alpha) {
    const Colour colour = Split(color);
    FillRectApplyRGBA1(object, colour.red, colour.green, colour.blue, alpha);
}

void FillRectApplyRGBcA5(REALobject object, int x, int y, int width, int height, REALcolor color, int alpha) {
    const Colour colour = Split(color);
    FillRectApplyRGBA5(object, x, y, width, height, colour.red, colour.green, colour.blue, alpha);
}

// --- invert ---------------------------------------------------------------------------------------------------------

void Invert5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (!PassGuard(record, rect)) return;
    const int pixelSize = record->PixelSize;
    const ChannelSet channels = ChannelsOf(record, true);
    if (channels.count > 0 && ChannelsFillPixel(channels, pixelSize)) {
        const PixelRect bytes = {rect.x * pixelSize, rect.y, rect.width * pixelSize, rect.height};
        TouchRect(record, bytes, 1, SetOf({static_cast<int>(channels.lowest())}), Complement{});
    } else {
        TouchRect(record, rect, pixelSize, channels, Complement{});
    }
}

void Invert1(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    Invert5(object, 0, 0, record->Width, record->Height);
}

// --- compare --------------------------------------------------------------------------------------------------------

std::int64_t CompareImages(REALobject object, REALobject other) {
    constexpr std::int64_t kUnlike = -1;
    if (!object || !other) return kUnlike;
    ImageClassData* const a = ImageDataOf(object);
    ImageClassData* const b = ImageDataOf(other);
    if (!IsUsable(a) || !IsUsable(b)) return kUnlike;
    if (a->Width != b->Width || a->Height != b->Height || a->HasAlpha != b->HasAlpha) return kUnlike;
    if (a->IsRGB != b->IsRGB || a->IsCMYK != b->IsCMYK || a->IsGray != b->IsGray) return kUnlike;
    YieldIfAsked(a);
    YieldIfAsked(b);
    if (!a->IsGray && !a->IsRGB && !a->IsCMYK) return kUnlike;
    std::int64_t count = 0;
    for (int y = 0; y < a->Height; ++y) {
        GetRowSpan(b, y);
        GetRowSpan(a, y);
        count += a->Width;
    }
    return count;
}
