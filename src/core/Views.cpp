#include "core/Views.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "core/Channels.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Storage.h"

namespace zor {

// --- what all views share -------------------------------------------------------------------------------------------

static void LockAndStore(REALobject* field, REALobject object) {
    if (!object) return;
    REALLockObject(object);
    *field = object;
}

// Size, row access and references. The pixels come last, by SharePixels.
static void ShareGeometry(ImageClassData* view, const ImageClassData* src, REALobject srcObject) {
    view->Width = src->Width;
    view->Height = src->Height;
    view->PixelSize = src->PixelSize;
    view->RowSize = src->RowSize;
    view->TotalSize = src->TotalSize;
    view->RowOffset = src->RowOffset;
    view->Valid = src->Valid;
    view->GetRow = src->GetRow;
    view->OwnsBuffer = false;
    LockAndStore(&view->Parent, srcObject);
    LockAndStore(&view->Target, src->Target);
}

// Last step of every view: the same memory, or a window of its own on the same file.
static void SharePixels(ImageClassData* view, const ImageClassData* src) {
    view->StorageBytes = src->StorageBytes;
    if (!src->IsMapping) {
        view->Pixels = src->Pixels;
        return;
    }
    view->IsMapping = true;
    view->OwnsFile = false;
    view->IsMapped = false;
    view->Pixels = nullptr;
    view->MappedFirstRow = -1;
    view->MappedLastRow = -1;
    view->FileHandle = src->FileHandle;
    view->MappedRowCount = src->MappedRowCount;
    view->MappingBlockSize = src->MappingBlockSize;
    view->MappingHandle = src->MappingHandle;
    if (view->GetRow) view->GetRow(view, 0);
}

// A new object that shares the source's storage mark, or null.
static REALobject NewView(ImageClassData* src) {
    ObjectHolder object(REALnewInstance("PictureZOR"));
    if (!object.get() || !ShareStorageMark(ImageDataOf(object.get()), src)) return nullptr;
    return object.release();
}

// --- one channel ----------------------------------------------------------------------------------------------------

static REALobject NewChannelImageZOR(REALobject object, int offset) {
    ImageClassData* const src = ImageDataOf(object);
    const REALobject result = NewView(src);
    if (!result) return nullptr;
    ImageClassData* const view = ImageDataOf(result);
    ShareGeometry(view, src, object);
    view->ImageFormat = ImageFormatG;
    view->ChannelCount = 1;
    view->ChannelOffsets[0] = offset;
    view->IsGray = true;
    view->GrayOffset = offset;
    view->HasGray = true;
    SharePixels(view, src);
    return result;
}

static REALobject ChannelIfPresent(REALobject object, ChannelId id) {
    const ImageClassData* const record = ImageDataOf(object);
    return HasChannel(record, id) ? NewChannelImageZOR(object, OffsetOf(record, id)) : nullptr;
}

REALobject AlphaChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::alpha);
}

REALobject RedChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::red);
}

REALobject GreenChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::green);
}

REALobject BlueChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::blue);
}

REALobject GrayChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::gray);
}

REALobject CyanChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::cyan);
}

REALobject MagentaChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::magenta);
}

REALobject YellowChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::yellow);
}

REALobject BlackChannel(REALobject object) {
    return ChannelIfPresent(object, ChannelId::black);
}

REALobject Channel(REALobject object, int index) {
    const ImageClassData* const record = ImageDataOf(object);
    if (index >= 0 && index < record->ChannelCount) return NewChannelImageZOR(object, record->ChannelOffsets[index]);
    RaiseOutOfBoundsException(index, 0, record->ChannelCount, "index", "Channel");
    return nullptr;
}

// --- colour channels ------------------------------------------------------------------------------------------------

// Formats whose colours lie in one order, and the format of a view of them.
struct ColourOrder {
    int firstFormat;
    int lastFormat;
    int viewFormat;
    bool reversed;  // the family's last colour comes first
};

// The view takes the byte order of its source's family of formats; alpha and padding stay inside PixelSize. The Has
// flags stay false: single channels of such a view are had by Channel(index).
static REALobject ColourChannels(REALobject object, PixelFamily family, const ColourOrder (&orders)[2]) {
    ImageClassData* const src = ImageDataOf(object);
    const FamilyFields& fields = kFamilyFields[static_cast<int>(family)];
    if (!(src->*fields.flag)) return nullptr;
    ObjectHolder result(NewView(src));
    if (!result.get()) return nullptr;
    ImageClassData* const view = ImageDataOf(result.get());
    const int format = src->ImageFormat;
    const ColourOrder* const order = std::find_if(std::begin(orders), std::end(orders), [format](const ColourOrder& o) {
        return format >= o.firstFormat && format <= o.lastFormat;
    });
    if (order == std::end(orders)) return nullptr;
    view->ImageFormat = order->viewFormat;
    ShareGeometry(view, src, object);
    const ChannelList& colours = fields.colours;
    view->ChannelCount = colours.count;
    view->*fields.flag = true;
    for (int c = 0; c < colours.count; ++c) {
        const int offset = OffsetOf(src, colours.id[c]);
        OffsetOf(view, colours.id[c]) = offset;
        view->ChannelOffsets[order->reversed ? colours.count - 1 - c : c] = offset;
    }
    SharePixels(view, src);
    return result.release();
}

REALobject RGBChannel(REALobject object) {
    return ColourChannels(object, PixelFamily::rgb,
                          {{ImageFormatRGB, ImageFormatXRGB, ImageFormatRGB, false},
                           {ImageFormatBGR, ImageFormatXBGR, ImageFormatBGR, true}});
}

REALobject CMYKChannel(REALobject object) {
    return ColourChannels(object, PixelFamily::cmyk,
                          {{ImageFormatCMYK, ImageFormatXCMYK, ImageFormatCMYK, false},
                           {ImageFormatKYMC, ImageFormatXKYMC, ImageFormatKYMC, true}});
}

// --- a rectangle ----------------------------------------------------------------------------------------------------

// One direction of a clip, in 64 bits so that no sum wraps.
static void ClipDirection(std::int64_t* start, std::int64_t* extent, int srcExtent) {
    if (*extent < 0) {  // extends left or up from the corner
        *start += *extent;
        *extent = -*extent;
    }
    if (*start < 0) {
        *extent += *start;
        *start = 0;
    }
    if (*start >= srcExtent) {
        *extent = 0;
    } else if (*start + *extent > srcExtent) {
        *extent = srcExtent - *start;
    }
}

// A channel that the image lacks keeps its offset unshifted.
static void CopyChannels(ImageClassData* view, const ImageClassData* src, std::int64_t shift) {
    view->ImageFormat = src->ImageFormat;
    view->ChannelCount = src->ChannelCount;
    std::copy_n(src->ChannelOffsets, 8, view->ChannelOffsets);  // not shifted
    for (const FamilyFields& family : kFamilyFields) view->*family.flag = src->*family.flag;
    for (const ChannelFields& channel : kChannelFields) {
        const bool has = src->*channel.has;
        view->*channel.has = has;
        view->*channel.offset = static_cast<int>(src->*channel.offset + (has ? shift : 0));
    }
}

REALobject ClipImage5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const src = ImageDataOf(object);
    std::int64_t left = x, top = y, columns = width, rows = height;
    ClipDirection(&left, &columns, src->Width);
    ClipDirection(&top, &rows, src->Height);
    const REALobject result = NewView(src);
    if (!result) return nullptr;
    ImageClassData* const view = ImageDataOf(result);
    ShareGeometry(view, src, object);
    CopyChannels(view, src, left * src->PixelSize);
    LockAndStore(&view->MemoryTarget, src->MemoryTarget);
    view->Width = static_cast<int>(columns);
    view->Height = static_cast<int>(rows);
    view->RowOffset = static_cast<int>(src->RowOffset + top);
    SharePixels(view, src);
    return result;
}

REALobject ClipImage1(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return ClipImage5(object, 0, 0, record->Width, record->Height);
}

REALobject GetMirroredView(REALobject object) {
    const REALobject result = ClipImage1(object);
    if (!result) return nullptr;
    ImageClassData* const view = ImageDataOf(result);
    view->GetRow = MirroredTwin(view->GetRow);
    if (view->GetRow) view->GetRow(view, 0);
    return result;
}

// --- a copy ---------------------------------------------------------------------------------------------------------

REALobject Clone(REALobject object) {
    const ImageClassData* const src = ImageDataOf(object);
    if (src->IsMapping || !src->Valid) return nullptr;
    const REALobject result = REALnewInstance("PictureZOR");
    if (!result) return nullptr;
    // Where the copy cannot be made the new object is not released, as it never was.
    const std::int64_t size = static_cast<std::int64_t>(src->Height) * src->RowSize;
    if (size < 0 || size >= kPlainImageLimit) return nullptr;
    std::uint8_t* const pixels =
        static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(std::max<std::int64_t>(size, 1)), 1));
    if (!pixels) return nullptr;
    // From the first byte of the storage on, whatever row the source begins with: clones are meant for whole images.
    const StorageRange storage = StorageOfRow(src, nullptr);
    const std::int64_t available = static_cast<std::int64_t>(storage.end - storage.begin);
    if (available > 0) std::memcpy(pixels, src->Pixels, static_cast<std::size_t>(std::min(size, available)));

    ImageClassData* const clone = ImageDataOf(result);
    CopyChannels(clone, src, 0);
    clone->Width = src->Width;
    clone->Height = src->Height;
    clone->PixelSize = src->PixelSize;
    clone->RowSize = src->RowSize;
    clone->TotalSize = src->TotalSize;
    clone->RowOffset = src->RowOffset;
    clone->Valid = src->Valid;
    clone->GetRow = src->GetRow;
    clone->Pixels = pixels;
    clone->OwnsBuffer = true;
    clone->StorageBytes = size;  // TotalSize tells the source's storage, which may be more
    return result;
}

}  // namespace zor
