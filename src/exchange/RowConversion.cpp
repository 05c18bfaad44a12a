#include "exchange/RowConversion.h"

#include <cstdlib>
#include <limits>

#include "core/Factory.h"
#include "core/Formats.h"
#include "exchange/PixelRules.h"
#include "host/Platform.h"

namespace zor {

namespace {

// --- exceptions ------------------------------------------------------------------------------------------------------

// The members differ in class and wording, and applications compare with both.

bool IsRow(const ImageClassData* record, int index) {
    return index >= 0 && index < record->Height;
}

void RaiseRowOutOfBounds(const ImageClassData* record, int index, const char* method) {
    RaiseOutOfBoundsException(index, 0, record->Height, "index", method);
}

void RaiseUnsupportedIndex() {
    RaiseException("UnsupportedOperationException", "Index is out of bounds.");
}

void RaiseNil(const char* message) {
    RaiseException("NilObjectException", message);
}

// --- the data side --------------------------------------------------------------------------------------------------

// The layout of converted data: `rows` rows of the image's width in the format of that number. Without storage.
bool LayOut(ImageClassData* data, const ImageClassData* image, int rows, int format) {
    return InitImageClassData(data, image->Width, rows, format);
}

std::int64_t RowBytesOf(const ImageClassData* data) {
    return static_cast<std::int64_t>(data->Width) * data->PixelSize;
}

// Bytes of all rows; 0 where the host could not count them.
int SizeOfData(const ImageClassData* data) {
    const std::int64_t rowBytes = RowBytesOf(data);
    if (rowBytes > std::numeric_limits<int>::max() / data->Height) return 0;
    return static_cast<int>(rowBytes * data->Height);
}

// --- conversion -----------------------------------------------------------------------------------------------------

// By source, then target.
constexpr PixelRule kRules[3][3] = {
    // to gray           to RGB              to CMYK
    {PixelRule::copy, PixelRule::replicate, PixelRule::replicate},  // from gray
    {PixelRule::luma, PixelRule::copy, PixelRule::refused},         // from RGB
    {PixelRule::copy, PixelRule::refused, PixelRule::copy},         // from CMYK
};

// The plan for a pair of layouts. Null conversion where there is none; for pairs of colour and CMYK the exception is
// raised then.
PixelPlan PlanOrRaise(const ImageClassData* src, const ImageClassData* dst, bool invertAlpha) {
    const PixelFamily srcFamily = FamilyOf(src), dstFamily = FamilyOf(dst);
    if (srcFamily == PixelFamily::none || dstFamily == PixelFamily::none) return {};
    const PixelRule rule = kRules[static_cast<int>(srcFamily)][static_cast<int>(dstFamily)];
    if (rule == PixelRule::refused) {
        RaiseException("UnsupportedOperationException", srcFamily == PixelFamily::rgb
                                                            ? "Conversion from RGB to CMYK is not supported."
                                                            : "Conversion from CMYK to RGB is not supported.");
        return {};
    }
    ChannelSet srcChannels = ChannelsOf(src, false);
    if (srcFamily == PixelFamily::cmyk && dstFamily == PixelFamily::gray)
        srcChannels = OffsetsOf(src, {ChannelId::black});
    return MakePlan(rule, src, srcChannels, dst, ChannelsOf(dst, false), src->HasAlpha && dst->HasAlpha,
                    invertAlpha ? 255 : 0);
}

// The data as a layer of a walk: rows without padding, one after the other.
struct DataRows {
    RowSpan bytes;  // from the first row on
    std::int64_t rowBytes;
};

RowSpan DataRowAt(void* rows, std::int64_t step) {
    const DataRows& data = *static_cast<const DataRows*>(rows);
    // A string may end before the row begins: the address is a plain sum, and the bytes before it may be touched only.
    const std::ptrdiff_t before = static_cast<std::ptrdiff_t>(step * data.rowBytes);
    const std::uintptr_t address =
        reinterpret_cast<std::uintptr_t>(data.bytes.data) + static_cast<std::uintptr_t>(before);
    return {reinterpret_cast<std::uint8_t*>(address), -before, data.bytes.end - before};
}

enum class Way { imageToData, dataToImage };

// The rows of the image from `firstRow` on and those of the data. False if nothing came of it, or a row of the image
// was missing; an exception may have been raised.
bool ConvertRows(Way way, ImageClassData* image, int firstRow, const ImageClassData* layout, bool invertAlpha,
                 const RowSpan& bytes) {
    const bool toData = way == Way::imageToData;
    const PixelPlan plan = PlanOrRaise(toData ? image : layout, toData ? layout : image, invertAlpha);
    if (!plan.convert) return false;
    DataRows rows{bytes, RowBytesOf(layout)};
    Layer data = LayerOfRows(0, toData ? plan.dst : plan.src, layout->PixelSize);
    data.rowAt = DataRowAt;
    data.rows = &rows;
    const Layer pixels = LayerOf(image, 0, firstRow, toData ? plan.src : plan.dst);
    const Layer layers[] = {toData ? data : pixels, toData ? pixels : data};
    return WalkRuns({layers, 2, layout->Width, layout->Height, nullptr, false, true},
                    [&](const RunSet& runs) { ConvertRun(plan, runs); });
}

// One row into zero-filled data. False if nothing came of it; an exception may have been raised.
bool ReadOneRow(ImageClassData* image, int index, const ImageClassData* layout, bool invertAlpha, const RowSpan& data) {
    return GetRowSpan(image, index) && ConvertRows(Way::imageToData, image, index, layout, invertAlpha, data);
}

void WriteOneRow(ImageClassData* image, int index, const ImageClassData* layout, bool invertAlpha,
                 const RowSpan& data) {
    if (GetRowSpan(image, index)) ConvertRows(Way::dataToImage, image, index, layout, invertAlpha, data);
}

// --- memory blocks --------------------------------------------------------------------------------------------------

// A block's size is not known: as much of it counts as the data takes.
RowSpan SpanOf(void* block, std::int64_t size) {
    return {static_cast<std::uint8_t*>(block), 0, static_cast<std::ptrdiff_t>(size)};
}

REALobject ReadRowAsBlock(ImageClassData* image, int index, int format, bool invertAlpha) {
    ImageClassData layout{};
    if (!LayOut(&layout, image, 1, format)) return nullptr;
    const int size = SizeOfData(&layout);
    ObjectHolder block(size > 0 ? REALNewMemoryBlock(size) : nullptr);
    if (!block.get()) return nullptr;
    void* const bytes = REALMemoryBlockGetPtr(block.get());
    if (!bytes || !ReadOneRow(image, index, &layout, invertAlpha, SpanOf(bytes, size))) return nullptr;
    return block.release();
}

void WriteRowFromBlock(ImageClassData* image, int index, int format, bool invertAlpha, REALobject block,
                       const char* nilMessage) {
    ImageClassData layout{};
    if (!LayOut(&layout, image, 1, format)) return;
    void* const bytes = REALMemoryBlockGetPtr(block);
    if (!bytes) return RaiseNil(nilMessage);
    WriteOneRow(image, index, &layout, invertAlpha, SpanOf(bytes, RowBytesOf(&layout)));
}

// --- strings --------------------------------------------------------------------------------------------------------

// True if a conversion of the image writes every byte of the data.
bool WritesAllOf(const ImageClassData* layout, const ImageClassData* image) {
    return FillPixel(ChannelsOf(layout, image->HasAlpha), layout->PixelSize);
}

// A string in the given layout, filled by read(span), or null if read says false. What read does not write is 0.
template <class Read>
REALstring BuildString(const ImageClassData* layout, const ImageClassData* image, Read read) {
    const int size = SizeOfData(layout);
    if (size <= 0) return nullptr;
    const std::size_t bytes = static_cast<std::size_t>(size);
    void* const memory = WritesAllOf(layout, image) ? std::malloc(bytes) : std::calloc(bytes, 1);
    std::uint8_t* const buffer = static_cast<std::uint8_t*>(memory);
    if (!buffer) return nullptr;
    AskForLargePages(buffer, bytes);
    REALstring result = nullptr;
    if (read(SpanOf(buffer, size))) result = REALBuildUnicodeString(buffer, size, kREALEncodingBytes);
    std::free(buffer);
    return result;
}

// The text of a string, read from its record. It is never written.
RowSpan TextOf(REALstring string) {
    const REALstringRecord* const record = reinterpret_cast<const REALstringRecord*>(string);
    if (!record->buffer || reinterpret_cast<std::uintptr_t>(record->buffer) + 1 == 0) return {};
    return {const_cast<std::uint8_t*>(record->buffer + 1), 0, static_cast<std::ptrdiff_t>(record->length)};
}

}  // namespace

// --- rows in the image's own format ---------------------------------------------------------------------------------

REALobject rbGetRow(REALobject object, int index) {
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return nullptr;
    if (!IsRow(image, index)) {
        RaiseRowOutOfBounds(image, index, "RawRow");
        return nullptr;
    }
    // A row that begins outside the storage has no address that an application may be given.
    const RowSpan row = GetRowSpan(image, index);
    return row && row.Contains(0) ? REALPtrToMemoryBlock(row.data) : nullptr;
}

REALobject rbGetRowCopy(REALobject object, int index) {
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return nullptr;
    if (!IsRow(image, index)) {
        RaiseRowOutOfBounds(image, index, "Row");
        return nullptr;
    }
    const RowSpan row = GetRowSpan(image, index);
    if (!row || image->RowSize < 1) return nullptr;
    ObjectHolder block(REALNewMemoryBlock(image->RowSize));
    void* const bytes = block.get() ? REALMemoryBlockGetPtr(block.get()) : nullptr;
    if (!bytes) return nullptr;
    LoadRun(row, 0, image->RowSize, static_cast<std::uint8_t*>(bytes));
    return block.release();
}

void rbSetRow(REALobject object, int index, REALobject block) {
    constexpr const char* kNil = "Memoryblock is nil";
    ImageClassData* const image = ImageDataOf(object);
    if (!IsRow(image, index)) return RaiseRowOutOfBounds(image, index, "Row");
    if (!block) return RaiseNil(kNil);
    void* const bytes = REALMemoryBlockGetPtr(block);
    if (!bytes) return RaiseNil(kNil);
    CopyRun(GetRowSpan(image, index), 0, SpanOf(bytes, image->RowSize), 0, image->RowSize);
}

// --- rows in any format ---------------------------------------------------------------------------------------------

REALobject rbGetRowF(REALobject object, int index, int format) {
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return nullptr;
    if (!IsRow(image, index)) {
        RaiseRowOutOfBounds(image, index, "RowInFormat");
        return nullptr;
    }
    return ReadRowAsBlock(image, index, format, false);
}

void rbSetRowF(REALobject object, int index, int format, REALobject block) {
    constexpr const char* kNil = "Memoryblock is nil.";
    ImageClassData* const image = ImageDataOf(object);
    if (!block) return RaiseNil(kNil);
    if (!image->Valid) return;
    if (!IsRow(image, index)) return RaiseRowOutOfBounds(image, index, "RowInFormat");
    WriteRowFromBlock(image, index, format, false, block, kNil);
}

REALobject rbGetRowFI(REALobject object, int index, int format, REALboolean invertAlpha) {
    if (!invertAlpha) return rbGetRowF(object, index, format);
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return nullptr;
    if (!IsRow(image, index)) {
        RaiseUnsupportedIndex();
        return nullptr;
    }
    return ReadRowAsBlock(image, index, format, true);
}

void rbSetRowFI(REALobject object, int index, int format, REALboolean invertAlpha, REALobject block) {
    constexpr const char* kNil = "memoryblock is nil";
    if (!block) return RaiseNil(kNil);
    if (!invertAlpha) return rbSetRowF(object, index, format, block);
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return;
    if (!IsRow(image, index)) return RaiseUnsupportedIndex();
    WriteRowFromBlock(image, index, format, true, block, kNil);
}

REALstring rbGetRowFS(REALobject object, int index, int format) {
    ImageClassData* const image = ImageDataOf(object);
    if (!image->Valid) return nullptr;
    if (!IsRow(image, index)) {
        RaiseUnsupportedIndex();
        return nullptr;
    }
    ImageClassData layout{};
    if (!LayOut(&layout, image, 1, format)) return nullptr;
    return BuildString(&layout, image,
                       [&](const RowSpan& data) { return ReadOneRow(image, index, &layout, false, data); });
}

void rbSetRowFS(REALobject object, int index, int format, REALstring string) {
    ImageClassData* const image = ImageDataOf(object);
    if (!string) return RaiseNil("Memoryblock is nil");
    if (!image->Valid) return;
    if (!IsRow(image, index)) return RaiseUnsupportedIndex();
    ImageClassData layout{};
    if (!LayOut(&layout, image, 1, format)) return;
    const RowSpan text = TextOf(string);
    if (text) WriteOneRow(image, index, &layout, false, text);
}

// --- all rows -------------------------------------------------------------------------------------------------------

REALstring rbGetAllFS(REALobject object, int format) {
    ImageClassData* const image = ImageDataOf(object);
    ImageClassData layout{};
    if (!image->Valid || !LayOut(&layout, image, image->Height, format)) return nullptr;
    return BuildString(&layout, image, [&](const RowSpan& data) {
        return ConvertRows(Way::imageToData, image, 0, &layout, false, data);
    });
}

void rbSetAllFS(REALobject object, int format, REALstring string) {
    ImageClassData* const image = ImageDataOf(object);
    if (!string) return RaiseNil("Memoryblock is nil");
    ImageClassData layout{};
    if (!image->Valid || !LayOut(&layout, image, image->Height, format)) return;
    const RowSpan text = TextOf(string);
    if (text) ConvertRows(Way::dataToImage, image, 0, &layout, false, text);
}

}  // namespace zor
