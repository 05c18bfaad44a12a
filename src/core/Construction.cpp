#include "core/Construction.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "core/Formats.h"
#include "core/RegisteredClasses.h"
#include "core/RowAccess.h"
#include "core/Storage.h"
#include "core/Teardown.h"
#include "host/Platform.h"

namespace zor {

ImageClassData* ImageDataOf(REALobject object) {
    return reinterpret_cast<ImageClassData*>(reinterpret_cast<char*>(object) + ImageClass.hostSlot);
}

void ImageDestructor(REALobject object) {
    Teardown(ImageDataOf(object));
}

// --- constructors ---------------------------------------------------------------------------------------------------

void ImageConstructor(REALobject object, int width, int height, int format) {
    ImageClassData* const record = ImageDataOf(object);
    if (!InitImageClassData(record, width, height, format)) return;
    const PlainSize size = PlainSizeOf(record);
    // Too large for memory, also where the size would wrap to a small or negative one: a quiet way out. Applications
    // ask CanAllocateImage or look at Valid.
    if (size.trueTotal >= kPlainImageLimit) return;
    std::uint8_t* const pixels = static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(size.total), 1));
    if (!pixels) {
        RaiseException("OutOfMemoryException", "Failed to allocate buffer for new image.");
        return;
    }
    AskForLargePages(pixels, static_cast<std::size_t>(size.total));
    ReleaseEarlierStorage(record);
    record->Pixels = pixels;
    record->OwnsBuffer = true;
    record->RowSize = size.rowSize;
    record->MappedRowCount = record->Height;
    record->TotalSize = size.total;
    record->StorageBytes = size.total;
    record->GetRow = GetRowLinear;
    record->Valid = true;
}

void ImageConstructorMemory(REALobject object, REALobject block, int width, int height, int format, int rowSize) {
    ImageClassData* const record = ImageDataOf(object);
    if (!block) {
        RaiseException("NilObjectException", "Memoryblock is nil.");
        return;
    }
    if (!InitImageClassData(record, width, height, format)) return;
    const std::int64_t total = static_cast<std::int64_t>(rowSize) * record->Height;
    if (total >= kPlainImageLimit) {
        RaiseException("OutOfBoundsException", "Image needs more bytes than a 32 bit application can access.");
        return;
    }
    std::uint8_t* const pixels = static_cast<std::uint8_t*>(REALMemoryBlockGetPtr(block));
    if (!pixels) {
        RaiseException("NilObjectException", "Memoryblock is nil.");
        return;
    }
    REALLockObject(block);
    ReleaseEarlierStorage(record);
    record->MemoryTarget = block;
    record->Pixels = pixels;
    record->MappedRowCount = record->Height;
    record->OwnsBuffer = false;
    record->RowSize = rowSize;
    record->TotalSize = total;
    record->StorageBytes = total;
    record->GetRow = GetRowLinear;
    record->Valid = true;
}

// Grows a fresh file to its size. The file ends one unit of granularity behind the pixels, and the bytes there are
// written, so that a disk that cannot hold even those is found out now.
static bool GrowFile(int descriptor, std::int64_t total) {
    static const char zeros[4096] = {};
    if (ftruncate(descriptor, total + AllocationGranularity) != 0) return false;
    if (lseek(descriptor, total, SEEK_SET) != total) return false;
    return write(descriptor, zeros, sizeof zeros) == static_cast<ssize_t>(sizeof zeros);
}

// Row size of a file-backed image: whole pages, so that every row can begin a window. 0 if it exceeds 31 bits.
static int FileRowSize(const ImageClassData* record) {
    const std::int64_t unit = AllocationGranularity;
    const std::int64_t bytes = static_cast<std::int64_t>(record->Width) * record->PixelSize;
    const std::int64_t rowSize = (bytes + unit - 1) / unit * unit;
    return rowSize > INT32_MAX ? 0 : static_cast<int>(rowSize);
}

// The permission argument is that number; applications have come to rely on the bits that it gives their files.
constexpr mode_t kFilePermission = 0x666;

void ImageConstructorFile(REALobject object, int width, int height, int format, int blockSize, REALobject folderItem) {
    ImageClassData* const record = ImageDataOf(object);
    if (!InitImageClassData(record, width, height, format)) return;
    const int rowSize = FileRowSize(record);
    if (rowSize == 0) return;
    const std::int64_t total = static_cast<std::int64_t>(rowSize) * record->Height;
    char* const path = UnixFilePath(folderItem);
    if (!path) return;
    // The same file again, or one that will be of the same name: the earlier image must not remove it under the new
    // one.
    const bool sameName = record->FilePath && std::strcmp(record->FilePath, path) == 0;
    if (sameName || (record->OwnsFile && LivesInFile(record, path))) ReleaseEarlierStorage(record);
    const int descriptor = open(path, O_RDWR | O_CREAT | O_TRUNC, kFilePermission);
    if (descriptor < 0) {
        std::free(path);
        return;
    }
    MarkFileGone(descriptor);  // opening it has cut it off from other images
    ImageClassData mark{};     // the new storage's mark, before the record takes it over
    if (!GrowFile(descriptor, total) || !MarkAsFileStorage(&mark, descriptor)) {
        DiscardFile(descriptor, path);
        std::free(path);
        return;
    }
    REALLockObject(folderItem);
    ReleaseEarlierStorage(record);
    record->FilePath = path;
    record->FileHandle = descriptor;
    record->RowSize = rowSize;
    record->TotalSize = total;
    record->MappedFirstRow = -1;
    record->MappedLastRow = -1;
    record->OwnsBuffer = false;
    record->Pixels = nullptr;
    record->Mark = mark.Mark;
    ApplyBlockSizeRule(record, blockSize);
    record->FileItem = folderItem;
    record->GetRow = GetRowMapping;
    record->IsMapping = true;
    record->OwnsFile = true;
    GetRowMapping(record, 0);
    if (record->Pixels) record->Valid = true;
}

// --- properties -----------------------------------------------------------------------------------------------------

REALobject GetMemory(REALobject object, REALword) {
    ImageClassData* const record = ImageDataOf(object);
    if (!record->Pixels || StorageIsGone(record)) return nullptr;
    return REALPtrToMemoryBlock(record->Pixels);
}

std::int64_t GetTotalSizeInt64(REALobject object, REALword) {
    return ImageDataOf(object)->TotalSize;
}

}  // namespace zor
