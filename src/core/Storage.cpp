#include "core/Storage.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>

#include "core/RowAccess.h"

namespace zor {

namespace {

// Marks of all file-backed storage that is alive, so that a file that is opened, truncated or removed again under
// another image takes the rows of every image that lived in it. Threads that work on different images meet here.
std::mutex liveFilesGuard;
StorageMark* liveFiles = nullptr;

void AddToLiveFiles(StorageMark* mark) {
    const std::lock_guard<std::mutex> guard(liveFilesGuard);
    mark->nextFile = liveFiles;
    liveFiles = mark;
}

void RemoveFromLiveFiles(StorageMark* mark) {
    const std::lock_guard<std::mutex> guard(liveFilesGuard);
    for (StorageMark** link = &liveFiles; *link; link = &(*link)->nextFile) {
        if (*link == mark) {
            *link = mark->nextFile;
            return;
        }
    }
}

StorageMark* NewMark() {
    StorageMark* const mark = static_cast<StorageMark*>(std::calloc(1, sizeof(StorageMark)));
    if (mark) mark->references = 1;
    return mark;
}

// Device and inode tell a file, whatever its name.
void TakeIdentity(StorageMark* mark, const struct stat& status) {
    mark->isFile = true;
    mark->device = static_cast<std::uint64_t>(status.st_dev);
    mark->inode = static_cast<std::uint64_t>(status.st_ino);
}

// Read at every row, also by another thread than the one that cuts the file.
void SetGone(StorageMark* mark) {
    std::atomic_ref<bool>(mark->gone).store(true, std::memory_order_relaxed);
}

bool SameFile(const StorageMark* a, const StorageMark* b) {
    return a->isFile && b->isFile && a->device == b->device && a->inode == b->inode;
}

bool IsMappedAccess(const ImageClassData* record) {
    return record->GetRow == GetRowMapping || record->GetRow == GetRowMappingMirrored;
}

bool IsPictureAccess(const ImageClassData* record) {
    return record->GetRow == GetRowGDImage || record->GetRow == GetRowGDImageMirrored;
}

StorageRange RangeFrom(const std::uint8_t* base, std::int64_t size) {
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(base);
    if (!base || size <= 0) return {begin, begin};
    return {begin, begin + static_cast<std::uintptr_t>(size)};
}

// Everything of a record that lies in memory right now, as one range from the lowest to the highest byte.
StorageRange WholeRange(const ImageClassData* record) {
    if (!IsPictureAccess(record)) return StorageOfRow(record, nullptr);
    StorageRange whole{0, 0};
    for (int y = 0; record->RowPointers && y < record->TableRows; ++y) {
        const StorageRange row = RangeFrom(record->RowPointers[y], record->StorageBytes);
        if (row.begin == row.end) continue;
        if (whole.begin == whole.end) whole = row;
        if (row.begin < whole.begin) whole.begin = row.begin;
        if (row.end > whole.end) whole.end = row.end;
    }
    return whole;
}

}  // namespace

bool ShareStorageMark(ImageClassData* view, ImageClassData* src) {
    if (!src->Mark) src->Mark = NewMark();
    if (!src->Mark) return false;
    ++src->Mark->references;
    view->Mark = src->Mark;
    return true;
}

bool MarkAsFileStorage(ImageClassData* record, int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return false;
    StorageMark* const mark = NewMark();
    if (!mark) return false;
    TakeIdentity(mark, status);
    AddToLiveFiles(mark);
    record->Mark = mark;
    return true;
}

void MarkFileGone(int descriptor) {
    struct stat status {};
    const bool identified = fstat(descriptor, &status) == 0;
    if (!identified && errno == EBADF) return;  // no open file, so none is cut
    StorageMark file{};
    TakeIdentity(&file, status);
    const std::lock_guard<std::mutex> guard(liveFilesGuard);
    for (StorageMark* other = liveFiles; other; other = other->nextFile) {
        if (!identified || SameFile(other, &file)) SetGone(other);
    }
}

bool LivesInFile(const ImageClassData* record, const char* path) {
    struct stat status {};
    if (!record->Mark || stat(path, &status) != 0) return false;
    StorageMark file{};
    TakeIdentity(&file, status);
    return SameFile(record->Mark, &file);
}

void MarkStorageGone(ImageClassData* record) {
    if (record->Mark) SetGone(record->Mark);
}

static void DropMark(StorageMark* mark) {
    if (!mark || --mark->references > 0) return;
    if (mark->isFile) RemoveFromLiveFiles(mark);
    std::free(mark);
}

void ReleaseStorageMark(ImageClassData* record) {
    DropMark(record->Mark);
    record->Mark = nullptr;
}

bool LeaveToPins(const ImageClassData* record) {
    if (!record->Mark || record->Mark->pins == 0) return false;
    record->Mark->unfreed = record->Pixels;
    return true;
}

StoragePin::StoragePin(ImageClassData* record) : copy_(*record) {
    if (StorageIsGone(record)) copy_.GetRow = nullptr;
    // Blocks and pictures are kept by their own locks, other memory by the mark.
    if (record->OwnsBuffer && !record->Mark) record->Mark = NewMark();
    if (record->OwnsBuffer && !record->Mark) return;
    mark_ = record->Mark;
    if (mark_) {
        ++mark_->references;
        ++mark_->pins;
    }
    copy_.Mark = nullptr;  // the workers must not look at what the calling thread may change
    if (copy_.MemoryTarget) REALLockObject(copy_.MemoryTarget);
    if (copy_.Target) REALLockObject(copy_.Target);
    pinned_ = true;
}

StoragePin::~StoragePin() {
    if (!pinned_) return;
    if (mark_ && --mark_->pins == 0) {
        std::free(mark_->unfreed);
        mark_->unfreed = nullptr;
    }
    DropMark(mark_);
    if (copy_.MemoryTarget) REALUnlockObject(copy_.MemoryTarget);
    if (copy_.Target) REALUnlockObject(copy_.Target);
}

StorageRange StorageOfRow(const ImageClassData* record, const std::uint8_t* row) {
    if (StorageIsGone(record)) return {0, 0};
    if (IsMappedAccess(record)) return RangeFrom(record->IsMapped ? record->Pixels : nullptr, record->WindowBytes);
    if (IsPictureAccess(record)) return RangeFrom(row, record->StorageBytes);
    return RangeFrom(record->Pixels, record->StorageBytes);
}

bool ImagesOverlap(const ImageClassData* a, const ImageClassData* b) {
    if (a == b) return true;
    if (IsMappedAccess(a) && IsMappedAccess(b)) {
        return a->Mark && b->Mark && (a->Mark == b->Mark || SameFile(a->Mark, b->Mark));
    }
    return Meet(WholeRange(a), WholeRange(b));
}

}  // namespace zor
