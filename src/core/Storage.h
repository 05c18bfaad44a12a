#pragma once
// Where the bytes of an image lie, how long they live, and whether two images share some.

#include <atomic>

#include "core/ImageClassData.h"

namespace zor {

// Shared by an image that owns storage and all views of it, directly or through other views. It outlives the image,
// so that a view finds out that the bytes behind it are gone: its rows then come back null.
struct StorageMark {
    int references;
    bool gone;    // read and written as an atomic: StorageIsGone
    bool isFile;  // the storage is the file with this identity
    std::uint64_t device;
    std::uint64_t inode;
    StorageMark* nextFile;  // list of all file-backed storage
    int pins;               // workers that still use the storage
    std::uint8_t* unfreed;  // buffer whose image has gone, to be freed with the last pin
};

// Lets a view share the mark of its source, which gets one if it has none yet. False when out of memory.
bool ShareStorageMark(ImageClassData* view, ImageClassData* src);

// Gives a record that now lives in the open file its mark. False when out of memory.
bool MarkAsFileStorage(ImageClassData* record, int descriptor);

// The open file is cut off: every image that lives in it loses its storage, whichever descriptor it has of it. Where
// the system does not tell which file that is, all images in files do: rows behind the end of a file must not be
// touched.
void MarkFileGone(int descriptor);

// True if the record lives in the file of that path, by whatever name it was opened.
bool LivesInFile(const ImageClassData* record, const char* path);

// The storage of this record goes away now, for all that share it.
void MarkStorageGone(ImageClassData* record);

// Drops this record's part in the mark.
void ReleaseStorageMark(ImageClassData* record);

inline bool StorageIsGone(const ImageClassData* record) {
    return record->Mark && std::atomic_ref<bool>(record->Mark->gone).load(std::memory_order_relaxed);
}

// True if workers still use the buffer of this record, which is going away: it is freed when they have finished.
bool LeaveToPins(const ImageClassData* record);

// Keeps the bytes of an image where they are while worker threads use them: the application may close the image
// meanwhile, as it gets its turns on the calling thread. Workers go by a copy of the record. Not for file-backed
// images, whose row access changes the record. Made and ended on the calling thread.
class StoragePin {
public:
    explicit StoragePin(ImageClassData* record);
    ~StoragePin();
    StoragePin(const StoragePin&) = delete;
    StoragePin& operator=(const StoragePin&) = delete;

    // The copy; null without memory for the pin.
    ImageClassData* record() { return pinned_ ? &copy_ : nullptr; }

private:
    ImageClassData copy_;
    StorageMark* mark_ = nullptr;
    bool pinned_ = false;
};

// Addresses that may be touched, as half-open range. Empty where there is no storage.
struct StorageRange {
    std::uintptr_t begin;
    std::uintptr_t end;
};

inline bool Meet(const StorageRange& a, const StorageRange& b) {
    return a.begin < b.end && b.begin < a.end;
}

// The storage that a row address of this record, taken last, lies in: linear memory, the current window, or the row.
StorageRange StorageOfRow(const ImageClassData* record, const std::uint8_t* row);

// True if some bytes may belong to both images. Exact for memory; images in the same file count as overlapping.
// Operations that work faster in another order than pixel by pixel ask this first and step aside.
bool ImagesOverlap(const ImageClassData* a, const ImageClassData* b);

}  // namespace zor
