#include "core/Teardown.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "core/RowAccess.h"
#include "core/Storage.h"

namespace zor {

static void DropObject(REALobject* object) {
    if (!*object) return;
    REALUnlockObject(*object);
    *object = nullptr;
}

// --- chains of views ------------------------------------------------------------------------------------------------

// A view that goes may take its source along, which may be a view as well, and so on. Beyond so many at once they wait
// in a list until the one that is the deepest has gone, so that a chain of any length fits on the stack.
constexpr int kMaxNestedReleases = 64;

namespace {

// What this thread releases. The list goes through the records: a source that waits is alive.
struct Releases {
    int nested;
    REALobject waiting;
};
thread_local Releases releases;

struct NestedRelease {
    NestedRelease() { ++releases.nested; }
    ~NestedRelease() { --releases.nested; }
};

}  // namespace

static void LetWait(REALobject source) {
    ImageClassData* const record = ImageDataOf(source);
    if (record->WaitingReleases++ > 0) return;
    record->NextWaiting = releases.waiting;
    releases.waiting = source;
}

static void ReleaseWaiting() {
    while (const REALobject source = releases.waiting) {
        ImageClassData* const record = ImageDataOf(source);
        releases.waiting = record->NextWaiting;
        const int count = record->WaitingReleases;
        record->WaitingReleases = 0;
        for (int i = 0; i < count; ++i) REALUnlockObject(source);
    }
}

static void DropSource(REALobject* source) {
    if (!*source) return;
    if (releases.nested == kMaxNestedReleases) {
        LetWait(*source);
    } else {
        const NestedRelease nested;
        REALUnlockObject(*source);
        if (releases.nested == kMaxNestedReleases) ReleaseWaiting();
    }
    *source = nullptr;
}

// --- files ----------------------------------------------------------------------------------------------------------

// A regular file by that name, itself and not behind a link.
static bool IsNameOf(const char* path, const struct stat& file) {
    struct stat named {};
    return lstat(path, &named) == 0 && S_ISREG(named.st_mode) && named.st_dev == file.st_dev &&
           named.st_ino == file.st_ino;
}

void DiscardFile(int descriptor, const char* path) {
    struct stat file {};
    const bool known = path && fstat(descriptor, &file) == 0;
    const int truncated = ftruncate(descriptor, 0);
    static_cast<void>(truncated);  // the file goes away in any case
    close(descriptor);
    if (!known) return;
    if (IsNameOf(path, file)) {
        unlink(path);
    } else if (char* const target = realpath(path, nullptr)) {
        if (IsNameOf(target, file)) unlink(target);
        std::free(target);
    }
}

// The file is scratch storage: it never outlives the image. A file-backed image that was closed before comes here
// again with descriptor 0 and without a path.
static void RemoveFile(ImageClassData* record) {
    DiscardFile(record->FileHandle, record->FilePath);
    record->FileHandle = 0;
}

// --- all of it ------------------------------------------------------------------------------------------------------

void Teardown(ImageClassData* record) {
    // Only an image that owns its storage takes it from its views.
    const bool ownsFile = record->OwnsFile && record->IsMapping;
    if (record->OwnsBuffer || ownsFile) MarkStorageGone(record);
    // The descriptor may by now be that of another image's file, which is then the one that is cut off.
    if (ownsFile) MarkFileGone(record->FileHandle);
    if (record->OwnsBuffer && record->Pixels) {
        if (!LeaveToPins(record)) std::free(record->Pixels);
        record->Pixels = nullptr;
    }
    UnmapWindow(record);
    if (ownsFile) RemoveFile(record);
    record->Pixels = nullptr;
    record->OwnsBuffer = false;
    record->GetRow = nullptr;
    if (record->DataString) {
        REALUnlockString(record->DataString);
        record->DataString = nullptr;
    }
    DropSource(&record->Parent);
    DropObject(&record->MemoryTarget);
    DropObject(&record->FileItem);
    DropObject(&record->Target);
    std::free(record->FilePath);
    record->FilePath = nullptr;
    ReleaseStorageMark(record);
    record->StorageBytes = 0;
    record->WindowBytes = 0;
}

void ReleaseEarlierStorage(ImageClassData* record) {
    const bool closed = !record->GetRow;
    if (closed) record->OwnsFile = false;  // its file is gone already
    Teardown(record);
    record->OwnsFile = false;
    record->IsMapping = false;
    record->RowPointers = nullptr;
    record->TableRows = 0;
    record->RowOffset = 0;
    record->FileHandle = 0;
    record->MappingBlockSize = 0;
    record->MappedFirstRow = 0;
    record->MappedLastRow = 0;
}

}  // namespace zor
