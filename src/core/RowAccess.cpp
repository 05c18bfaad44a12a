#include "core/RowAccess.h"

#include <sys/mman.h>

#include <algorithm>

#include "core/Formats.h"
#include "core/Storage.h"
#include "host/Platform.h"

namespace zor {

// --- memory ---------------------------------------------------------------------------------------------------------

// Rows may lie outside the storage: StorageOfRow says what may be touched of them. So the address is a plain
// sum, formed without the rules of pointers.
static std::uint8_t* LinearRow(const ImageClassData* record, std::int64_t row) {
    if (StorageIsGone(record)) return nullptr;
    const std::intptr_t distance = static_cast<std::intptr_t>(row * record->RowSize);
    return reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(record->Pixels) +
                                           static_cast<std::uintptr_t>(distance));
}

static std::int64_t StorageRow(const ImageClassData* record, int y) {
    return static_cast<std::int64_t>(y) + record->RowOffset;
}

static std::int64_t MirroredStorageRow(const ImageClassData* record, int y) {
    return static_cast<std::int64_t>(record->Height) - y - 1 + record->RowOffset;
}

std::uint8_t* GetRowLinear(ImageClassData* record, int y) {
    return LinearRow(record, StorageRow(record, y));
}

std::uint8_t* GetRowLinearMirrored(ImageClassData* record, int y) {
    return LinearRow(record, MirroredStorageRow(record, y));
}

// --- rows of a host picture -----------------------------------------------------------------------------------------

static std::uint8_t* PictureRow(const ImageClassData* record, std::int64_t row) {
    if (!record->RowPointers || row < 0 || row >= record->Height) return nullptr;
    // A constructor that gave up may have stored another height over a picture.
    if (row >= record->TableRows) return nullptr;
    return record->RowPointers[row];
}

std::uint8_t* GetRowGDImage(ImageClassData* record, int y) {
    return PictureRow(record, StorageRow(record, y));
}

std::uint8_t* GetRowGDImageMirrored(ImageClassData* record, int y) {
    return PictureRow(record, MirroredStorageRow(record, y));
}

// --- the moving window of a file ------------------------------------------------------------------------------------

bool UnmapWindow(ImageClassData* record) {
    if (!record->IsMapped) return false;
    record->IsMapped = false;
    if (!record->Pixels) return false;
    munmap(record->Pixels, static_cast<std::size_t>(record->MappingBlockSize));
    record->Pixels = nullptr;
    return true;
}

void ReleaseWindow(ImageClassData* record) {
    if (!UnmapWindow(record)) return;
    record->MappedFirstRow = -1;
    record->MappedLastRow = -1;
}

static void MapWindow(ImageClassData* record, std::int64_t first) {
    // The file ends one unit of granularity behind the last row; a block that is no multiple of the row size may
    // reach further, and those pages must not be touched.
    const std::int64_t offset = first * record->RowSize;
    const std::int64_t fileEnd = record->TotalSize + AllocationGranularity;
    void* window = MAP_FAILED;
    if (offset >= 0 && record->MappingBlockSize > 0) {
        window = mmap(nullptr, static_cast<std::size_t>(record->MappingBlockSize), PROT_READ | PROT_WRITE, MAP_SHARED,
                      record->FileHandle, offset);
    }
    if (window == MAP_FAILED) {
        record->Pixels = nullptr;
        record->IsMapped = false;
        return;
    }
    record->Pixels = static_cast<std::uint8_t*>(window);
    record->IsMapped = true;
    record->MappedFirstRow = static_cast<int>(first);
    record->MappedLastRow = static_cast<int>(first + record->MappedRowCount - 1);
    record->WindowBytes = std::clamp<std::int64_t>(fileEnd - offset, 0, record->MappingBlockSize);
}

static std::uint8_t* WindowRow(const ImageClassData* record, std::int64_t row) {
    const std::int64_t distance = (row - record->MappedFirstRow) * record->RowSize;
    return reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(record->Pixels) +
                                           static_cast<std::uintptr_t>(distance));
}

static std::uint8_t* MappedRow(ImageClassData* record, std::int64_t row) {
    if (StorageIsGone(record)) return nullptr;
    if (record->IsMapped && row >= record->MappedFirstRow && row <= record->MappedLastRow) {
        return WindowRow(record, row);
    }
    // A new window begins two rows above the one asked for, so that its neighbours stay in reach. Low rows, row 1
    // among them, begin their window themselves. The window must not run past the last row.
    constexpr int kRowsAbove = 2;
    const std::int64_t start = row <= 1 ? row : row - kRowsAbove;
    const std::int64_t limit = static_cast<std::int64_t>(record->Height) - record->MappedRowCount;
    ReleaseWindow(record);
    MapWindow(record, std::min(start, limit));
    return record->IsMapped ? WindowRow(record, row) : nullptr;
}

std::uint8_t* GetRowMapping(ImageClassData* record, int y) {
    return MappedRow(record, StorageRow(record, y));
}

std::uint8_t* GetRowMappingMirrored(ImageClassData* record, int y) {
    return MappedRow(record, MirroredStorageRow(record, y));
}

GetRowFunction MirroredTwin(GetRowFunction accessor) {
    constexpr GetRowFunction kTwins[][2] = {{GetRowLinear, GetRowLinearMirrored},
                                            {GetRowMapping, GetRowMappingMirrored},
                                            {GetRowGDImage, GetRowGDImageMirrored}};
    for (const auto& pair : kTwins) {
        if (accessor == pair[0]) return pair[1];
        if (accessor == pair[1]) return pair[0];
    }
    return accessor;
}

// --- size of the window ---------------------------------------------------------------------------------------------

void ApplyBlockSizeRule(ImageClassData* record, int wish) {
    constexpr std::int64_t kMinRows = 5;
    const std::int64_t unit = AllocationGranularity;
    // At least the unit squared, whatever the wish: small windows would move at every other row.
    std::int64_t block = std::max<std::int64_t>(wish / unit, unit) * unit;
    if (block > record->TotalSize) block = static_cast<std::int32_t>(record->TotalSize);
    block = std::max(block, kMinRows * record->RowSize);
    if (block % unit > 0) block += unit;
    block -= block % unit;
    block = std::min<std::int64_t>(block, INT32_MAX / unit * unit);
    record->MappingBlockSize = static_cast<int>(block);
    record->MappedRowCount = static_cast<int>(block / record->RowSize);
}

void SetMemBlockSize(REALobject object, REALword, int value) {
    ImageClassData* const record = ImageDataOf(object);
    if (!record->GetRow || record->RowSize == 0) return;
    ReleaseWindow(record);
    ApplyBlockSizeRule(record, value);
    record->GetRow(record, 0);
}

}  // namespace zor
