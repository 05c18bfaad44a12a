#include "host/Platform.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/HostCalls.h"
#include "host/HostText.h"

namespace zor {

std::uint32_t TickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(now.tv_sec) * 60 +
                                      static_cast<std::int64_t>(now.tv_nsec) * 60 / 1000000000);
}

int AllocationGranularity = 4096;

int GetAllocationGranularity() {
    constexpr int kMinGranularity = 4096;
    const int pageSize = getpagesize();
    AllocationGranularity = std::max(pageSize, kMinGranularity);
    return pageSize;
}

void AskForLargePages(void* bytes, std::size_t size) {
    constexpr std::size_t kWorthwhile = std::size_t{8} << 20;  // a few large pages
    if (size < kWorthwhile) return;
    // Whole pages between the two ends. That it is refused where there are none changes nothing.
    const std::uintptr_t page = static_cast<std::uintptr_t>(getpagesize());
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(bytes);
    const std::uintptr_t begin = (address + page - 1) / page * page, end = (address + size) / page * page;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

int ProcessorCount() {
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1 : static_cast<int>(count);
}

void myDelay(long milliseconds) {
    timespec left{};
    left.tv_sec = static_cast<time_t>(milliseconds / 1000);
    left.tv_nsec = (milliseconds % 1000) * 1000000;
    nanosleep(&left, nullptr);
}

using SetNameFunction = int (*)(pthread_t, const char*);

static SetNameFunction FindSetName() {
    void* const library = dlopen("libpthread.so.0", RTLD_LAZY);
    void* function = library ? dlsym(library, "pthread_setname_np") : nullptr;
    if (!function) function = dlsym(RTLD_DEFAULT, "pthread_setname_np");
    return reinterpret_cast<SetNameFunction>(function);
}

void SetThreadName(const char* name) {
    static const SetNameFunction setName = FindSetName();  // a failure is never tried again
    if (setName) setName(pthread_self(), name);
}

// Present where the system brings a dispatch library; the addresses are null otherwise.
extern "C" {
__attribute__((weak)) void* dispatch_get_global_queue(long priority, unsigned long flags);
__attribute__((weak)) void dispatch_async_f(void* queue, void* context, void (*work)(void*));
}

bool DispatchAsync(void (*function)(void*), void* argument) {
    // Read through volatile: a compiler may take the address of a declared function for never null.
    void* (*volatile getQueue)(long, unsigned long) = dispatch_get_global_queue;
    void (*volatile async)(void*, void*, void (*)(void*)) = dispatch_async_f;
    if (!getQueue || !async) return false;
    async(getQueue(0, 0), argument, function);
    return true;
}

void* FindInProcess(const char* name) {
    return dlsym(RTLD_DEFAULT, name);
}

void SystemLog(const char* line) {
    syslog(LOG_NOTICE, "%s", line);
}

static char* CopyOfPath(const char* path) {
    const std::size_t length = strnlen(path, sizeof(FSRef::path));
    if (length < 1 || length == sizeof(FSRef::path)) return nullptr;
    char* const copy = static_cast<char*>(std::calloc(length + 1, 1));
    if (copy) std::memcpy(copy, path, length);
    return copy;
}

// File names are bytes here, so the name goes behind the parent as it is: a normalised one may name another file.
static char* PathInFolder(const char* parent, REALstring name) {
    const rbData text(name);
    const std::size_t parentLength = strnlen(parent, sizeof(FSRef::path));
    if (parentLength < 1 || parentLength == sizeof(FSRef::path) || !text.data || text.length < 1) return nullptr;
    const bool needsSlash = parent[parentLength - 1] != '/';
    char* const path = static_cast<char*>(std::calloc(parentLength + static_cast<std::size_t>(text.length) + 2, 1));
    if (!path) return nullptr;
    std::memcpy(path, parent, parentLength);
    if (needsSlash) path[parentLength] = '/';
    std::memcpy(path + parentLength + (needsSlash ? 1 : 0), text.data, static_cast<std::size_t>(text.length));
    return path;
}

char* UnixFilePath(REALobject folderItem) {
    if (!folderItem) return nullptr;
    FSRef ref{};
    if (REALFSRefFromFolderItem(folderItem, &ref, nullptr)) {  // the file exists
        if (char* const path = CopyOfPath(ref.path)) return path;
    }
    REALstring name = nullptr;
    ref = FSRef{};
    if (REALFSRefFromFolderItem(folderItem, &ref, &name)) {  // it does not: its folder and its name
        if (char* const path = PathInFolder(ref.path, name)) return path;
    }
    FSSpec spec{};
    if (REALFSSpecFromFolderItem(&spec, folderItem)) return CopyOfPath(spec.path);
    return nullptr;
}

static _Unwind_Reason_Code StopUnwinding(_Unwind_Context*, void*) {
    return _URC_END_OF_STACK;
}

// The copy fills its register tables when it first looks at a stack, and stops the process when the unwinder of the
// program reaches one of our frames before that.
void PrepareUnwinding() {
    _Unwind_Backtrace(StopUnwinding, nullptr);
}

}  // namespace zor
