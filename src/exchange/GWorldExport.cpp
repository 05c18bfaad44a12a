#include "exchange/GWorldExport.h"

#include <algorithm>
#include <cstring>

#include "core/RowSpan.h"
#include "exchange/ExportRows.h"
#include "exchange/PictureEditor.h"
#include "host/QuickDraw.h"

namespace zor {

namespace {

// --- the GWorld and its owner ---------------------------------------------------------------------------------------

// Where every GWorldZOR object keeps the address of its GWorld. The word behind it says that the GWorld is its own.
constexpr std::size_t kGWorldPlace = 24;
constexpr std::int32_t kOwnsGWorld = 1;

void HandOver(REALobject instance, OpaqueGrafPtr* gworld) {
    char* const place = reinterpret_cast<char*>(instance) + kGWorldPlace;
    std::memcpy(place, &gworld, sizeof gworld);
    std::memcpy(place + sizeof gworld, &kOwnsGWorld, sizeof kOwnsGWorld);
}

// A GWorld whose pixels are locked, and the instance of GWorldZOR that owns it.
struct OwnedGWorld {
    REALobject instance;  // null: there is none of all this
    PixMap** pixMap;
};

OwnedGWorld MakeGWorld(const QuickDrawRect& bounds, std::int16_t depth, ColorTable** colors) {
    OpaqueGrafPtr* gworld = nullptr;
    const bool failed = NewGWorld(&gworld, depth, &bounds, colors, nullptr, 0) != 0;
    if (!gworld) return {};
    if (failed) {
        DisposeGWorld(gworld);
        return {};
    }
    const REALobject instance = REALnewInstance("GWorldZOR");
    PixMap** const pixMap = instance ? GetGWorldPixMap(gworld) : nullptr;
    if (!pixMap || !LockPixels(pixMap)) {
        DisposeGWorld(gworld);
        if (instance) REALUnlockObject(instance);
        return {};
    }
    HandOver(instance, gworld);
    return {instance, pixMap};
}

// --- export ---------------------------------------------------------------------------------------------------------

// The channels of a pixel go side by side into a GWorld of 8 bits a channel. Walks by itself: whole rows are packed
// into memory of QuickDraw's.
REALobject ExportChannels(ImageClassData* record, const ChannelSet& channels, ColorTable** colors) {
    const int width = record->Width, height = record->Height, pixelSize = record->PixelSize;
    const QuickDrawRect bounds = {0, 0, static_cast<std::int16_t>(height), static_cast<std::int16_t>(width)};
    const OwnedGWorld owned = MakeGWorld(bounds, static_cast<std::int16_t>(channels.count * 8), colors);
    if (!owned.instance) return nullptr;

    const std::ptrdiff_t rowBytes = GetPixRowBytes(owned.pixMap);
    std::uint8_t* dst = GetPixBaseAddr(owned.pixMap);
    // QuickDraw may lay a GWorld of 24 bits out with 32: then a pixel begins with a byte that is no channel.
    const bool wide = channels.count == 3 && std::int64_t{width} * 4 <= rowBytes;
    const std::ptrdiff_t bytesPerPixel = wide ? 4 : channels.count;
    // A side above 32767 was cut to 16 bits, and what the GWorld has no room for is not written.
    const std::ptrdiff_t count = std::min<std::ptrdiff_t>({width, bounds.right, rowBytes / bytesPerPixel});
    const int rows = dst ? std::min<int>(height, bounds.bottom) : 0;
    const ExportPlan opaque = MakeExportPlan(ExportColours::rgb, channels, pixelSize, PixelTypeARGB32);
    for (int y = 0; y < rows; ++y, dst += rowBytes) {
        const RowSpan row = GetRowSpan(record, y);
        if (wide) {
            ExportRow(opaque, row, 0, count, dst);
        } else if (row) {
            GatherPixels(row, pixelSize, channels, 0, count, dst);
        }
    }
    return owned.instance;
}

}  // namespace

static REALobject CopyGWorldG(ImageClassData* record) {
    constexpr std::int16_t kGrayTable = 40;  // the 8-bit gray colours
    return ExportChannels(record, OffsetsOf(record, {ChannelId::gray}), GetCTable(kGrayTable));
}

REALobject CopyGWorld(REALobject object) {
    ImageClassData* const record = ImageDataOf(object);
    if (!IsUsable(record)) return nullptr;
    YieldIfAsked(record);
    if (record->IsGray) return CopyGWorldG(record);
    if (!record->IsRGB) return nullptr;
    const ChannelList colours = ColoursOf(PixelFamily::rgb);
    return ExportChannels(record, OffsetsOf(record, record->HasAlpha ? WithAlphaFirst(colours) : colours), nullptr);
}

}  // namespace zor
