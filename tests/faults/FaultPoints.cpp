#include "FaultPoints.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>

namespace {

struct Plan {
    std::atomic<bool> active = false;
    FaultPoint point{};
    FaultCourse course{};
    std::atomic<int> left = 0;  // requests up to the one that is refused
};
Plan plan;
std::atomic<std::size_t> liveBlocks = 0;

bool Refuses(FaultPoint point) {
    if (!plan.active || plan.point != point) return false;
    const int left = --plan.left;
    return left == 0 || (left < 0 && plan.course == FaultCourse::fromThenOn);
}

bool Refuses(FaultPoint point, int error) {
    const bool refused = Refuses(point);
    if (refused) errno = error;
    return refused;
}

void* Counted(void* block) {
    if (block != nullptr) ++liveBlocks;
    return block;
}

}  // namespace

const char* NameOf(FaultPoint point) {
    switch (point) {
        case FaultPoint::memory:
            return "memory";
        case FaultPoint::system:
            return "system";
        case FaultPoint::thread:
            return "thread";
        default:
            return "host";
    }
}

Faults::Faults(FakeHost& host, FaultPoint point, FaultCourse course, int nth) : host_(host) {
    plan.point = point;
    plan.course = course;
    plan.left = nth > 0 ? nth : INT_MAX;
    host_.refuses = [] { return Refuses(FaultPoint::host); };
    plan.active = true;
}

Faults::~Faults() {
    plan.active = false;
    host_.refuses = nullptr;
}

bool Faults::happened() const {
    return plan.left <= 0;
}

std::size_t LiveBlocks() {
    return liveBlocks;
}

// --- what the linker puts in the place of the C library's functions -------------------------------------------------

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* block);
int __real_madvise(void* address, std::size_t size, int advice);
int __real_unlink(const char* path);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument);

void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void __wrap_free(void* block);
int __wrap_madvise(void* address, std::size_t size, int advice);
int __wrap_unlink(const char* path);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument);

void* __wrap_malloc(std::size_t size) {
    return Refuses(FaultPoint::memory, ENOMEM) ? nullptr : Counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Refuses(FaultPoint::memory, ENOMEM) ? nullptr : Counted(__real_calloc(count, size));
}

void __wrap_free(void* block) {
    if (block != nullptr) --liveBlocks;
    __real_free(block);
}

int __wrap_madvise(void* address, std::size_t size, int advice) {
    return Refuses(FaultPoint::system, EINVAL) ? -1 : __real_madvise(address, size, advice);
}

int __wrap_unlink(const char* path) {
    return Refuses(FaultPoint::system, EPERM) ? -1 : __real_unlink(path);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    return Refuses(FaultPoint::thread) ? EAGAIN : __real_pthread_create(thread, attributes, start, argument);
}

// Each of these has a second name where offsets of 64 bits are a choice.
#define FILE_FUNCTIONS(suffix)                                                                                   \
    int __real_open##suffix(const char* path, int flags, ...);                                                   \
    int __real_ftruncate##suffix(int file, off_t size);                                                          \
    off_t __real_lseek##suffix(int file, off_t offset, int from);                                                \
    int __real_fstat##suffix(int file, struct stat* status);                                                     \
    int __real_stat##suffix(const char* path, struct stat* status);                                              \
    void* __real_mmap##suffix(void* at, std::size_t size, int access, int flags, int file, off_t offset);        \
    int __wrap_open##suffix(const char* path, int flags, ...);                                                   \
    int __wrap_ftruncate##suffix(int file, off_t size);                                                          \
    off_t __wrap_lseek##suffix(int file, off_t offset, int from);                                                \
    int __wrap_fstat##suffix(int file, struct stat* status);                                                     \
    int __wrap_stat##suffix(const char* path, struct stat* status);                                              \
    void* __wrap_mmap##suffix(void* at, std::size_t size, int access, int flags, int file, off_t offset);        \
    int __wrap_open##suffix(const char* path, int flags, ...) {                                                  \
        if (Refuses(FaultPoint::system, EMFILE)) return -1;                                                      \
        std::va_list arguments;                                                                                  \
        va_start(arguments, flags);                                                                              \
        const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;                                    \
        va_end(arguments);                                                                                       \
        return __real_open##suffix(path, flags, mode);                                                           \
    }                                                                                                            \
    int __wrap_ftruncate##suffix(int file, off_t size) {                                                         \
        return Refuses(FaultPoint::system, ENOSPC) ? -1 : __real_ftruncate##suffix(file, size);                  \
    }                                                                                                            \
    off_t __wrap_lseek##suffix(int file, off_t offset, int from) {                                               \
        return Refuses(FaultPoint::system, EOVERFLOW) ? -1 : __real_lseek##suffix(file, offset, from);           \
    }                                                                                                            \
    int __wrap_fstat##suffix(int file, struct stat* status) {                                                    \
        return Refuses(FaultPoint::system, EIO) ? -1 : __real_fstat##suffix(file, status);                       \
    }                                                                                                            \
    int __wrap_stat##suffix(const char* path, struct stat* status) {                                             \
        return Refuses(FaultPoint::system, EACCES) ? -1 : __real_stat##suffix(path, status);                     \
    }                                                                                                            \
    void* __wrap_mmap##suffix(void* at, std::size_t size, int access, int flags, int file, off_t offset) {       \
        return Refuses(FaultPoint::system, ENOMEM) ? MAP_FAILED                                                  \
                                                   : __real_mmap##suffix(at, size, access, flags, file, offset); \
    }

FILE_FUNCTIONS()
FILE_FUNCTIONS(64)

}  // extern "C"
