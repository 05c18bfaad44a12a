#include "core/InPlace.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "core/Channels.h"
#include "core/Formats.h"
#include "core/Walk.h"
#include "kernels/KernelTable.h"

namespace zor {

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

// --- channels -------------------------------------------------------------------------------------------------------

// The channels of every pixel of the rectangle as runs: touch(run, count). Rows are fetched even if the rectangle has
// no columns; an empty set does nothing at all. everyPixel: also pixels outside the storage, for operations that draw
// from something that goes on with every byte.
template <class Touch>
void TouchRect(ImageClassData* record, const PixelRect& rect, int pixelSize, const ChannelSet& channels, Touch touch,
               bool everyPixel = false) {
    if (channels.count < 1) return;
    Layer layer = LayerOfRows(rect.x, channels, pixelSize);
    layer.image = record;
    layer.y = rect.y;
    WalkRuns({&layer, 1, rect.width, rect.height, record, everyPixel, false},
             [&](const RunSet& runs) { touch(runs.run[0], runs.count); });
}

// The pixels of the rectangle as single bytes, each a pixel with one channel, from byte `lead` of a pixel on.
struct ByteRect {
    PixelRect rect;
    ChannelSet byte;
};
ByteRect BytesOf(const PixelRect& rect, int pixelSize, std::ptrdiff_t lead) {
    return {{rect.x * pixelSize, rect.y, rect.width * pixelSize, rect.height}, {1, {lead}}};
}

void DrawRandom(const PixelRun& run, std::ptrdiff_t count) {
    std::uint8_t* pixel = run.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += run.step) {
        for (int c = 0; c < run.channels.count; ++c) {
            pixel[run.channels.offset[c]] = static_cast<std::uint8_t>(std::rand());
        }
    }
}

// (old * weight of old + new * weight of new) >> 16 in 32 bits, of which the low 8 bits are stored. The alpha is not
// clamped, and the sums wrap; bits 16 to 23 are the same with and without a sign.
LayOverWeights WeightsOf(std::initializer_list<int> values, int alpha) {
    constexpr std::uint32_t kOpaque = 255, kUnit = 257;
    LayOverWeights weights{(kOpaque - static_cast<std::uint32_t>(alpha)) * kUnit, {}};
    std::uint32_t* next = weights.added;
    for (const int value : values) {
        *next++ = static_cast<std::uint32_t>(value) * (static_cast<std::uint32_t>(alpha) * kUnit);
    }
    return weights;
}

void LayOver(ImageClassData* record, const PixelRect& rect, std::initializer_list<int> values, int alpha) {
    const ChannelSet channels = ChannelsOf(record, false);
    if (channels.count < 1) return;
    const auto layOver = ByCount(Kernels().touch.layOver, channels.count);
    const LayOverWeights weights = WeightsOf(values, alpha);
    TouchRect(record, rect, record->PixelSize, channels,
              [&](const PixelRun& run, std::ptrdiff_t count) { layOver(run, count, weights); });
}

// The weights add up to 256. The sum wraps at 32 bits; the division truncates towards zero, also below it.
int GrayOf(int red, int green, int blue) {
    const std::uint32_t sum = 77u * static_cast<std::uint32_t>(red) + 151u * static_cast<std::uint32_t>(green) +
                              28u * static_cast<std::uint32_t>(blue);
    return static_cast<std::int32_t>(sum) / 256;
}

// --- fills ----------------------------------------------------------------------------------------------------------

// Whole pixels, counted from byte `lead` of the first one.
void FillRuns(ImageClassData* record, const PixelRect& rect, int lead, std::uint8_t value) {
    const ByteRect bytes = BytesOf(rect, record->PixelSize, lead);
    const auto store = ByCount(Kernels().touch.store, bytes.byte.count);
    TouchRect(record, bytes.rect, 1, bytes.byte,
              [&](const PixelRun& run, std::ptrdiff_t count) { store(run, count, &value); });
}

// Stores one value a channel.
void FillChannels(ImageClassData* record, const PixelRect& rect, const ChannelSet& channels,
                  const std::uint8_t* values) {
    if (channels.count < 1) return;
    const auto store = ByCount(Kernels().touch.store, channels.count);
    TouchRect(record, rect, record->PixelSize, channels,
              [&](const PixelRun& run, std::ptrdiff_t count) { store(run, count, values); });
}

// The channels of FillRectRandom, in the order in which they draw: alpha first in gray and CMYK images.
ChannelSet RandomChannels(const ImageClassData* record) {
    const PixelFamily family = record->HasGray ? PixelFamily::gray : FamilyOf(record);
    if (family != PixelFamily::gray && !(record->IsCMYK && record->HasAlpha)) return ChannelsOf(record, true);
    return OffsetsOf(record, record->HasAlpha ? WithAlphaFirst(ColoursOf(family)) : ColoursOf(family));
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
        std::uint8_t values[ChannelSet::kMax];
        std::fill_n(values, ChannelSet::kMax, Low8(value));
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
        const ByteRect bytes =
            BytesOf({rect.x, rect.y, rect.width - rect.x, rect.height}, record->PixelSize, GetMinOffset(record));
        TouchRect(record, bytes.rect, 1, bytes.byte, DrawRandom, true);
    } else {
        TouchRect(record, rect, record->PixelSize, RandomChannels(record), DrawRandom, true);
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
    if (!PassGuard(record, rect) || !HasChannels(record, {ChannelId::red, ChannelId::green, ChannelId::blue})) {
        return;
    }
    const ChannelList colours = ColoursOf(PixelFamily::rgb);
    const bool alphaToo = withAlpha && record->HasAlpha;
    const std::uint8_t values[] = {Low8(colour.red), Low8(colour.green), Low8(colour.blue), Low8(alpha)};
    FillChannels(record, rect, OffsetsOf(record, alphaToo ? WithAlphaLast(colours) : colours), values);
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
        LayOver(record, rect, {red, green, blue}, alpha);
    } else if (record->IsGray) {
        LayOver(record, rect, {GrayOf(red, green, blue)}, alpha);
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
    const ChannelSet channels = ChannelsOf(record, true);
    if (channels.count < 1) return;
    TouchRect(record, rect, record->PixelSize, channels, ByCount(Kernels().touch.complement, channels.count));
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

}  // namespace zor
