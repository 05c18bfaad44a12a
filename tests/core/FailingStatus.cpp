#include "FailingStatus.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>

static int callsLeft = 0;  // up to the one that fails; 0: none fails
static int failure = 0;

extern "C" int fstat(int descriptor, struct stat* status) {
    // Where offsets of 64 bits are a choice, the header has given this function the other name.
    static const auto real = reinterpret_cast<int (*)(int, struct stat*)>(
        dlsym(RTLD_NEXT, sizeof(long) < sizeof(off_t) ? "fstat64" : "fstat"));
    if (callsLeft > 0 && --callsLeft == 0) {
        errno = failure;
        return -1;
    }
    return real(descriptor, status);
}

FailingStatus::FailingStatus(int nth, int error) {
    callsLeft = nth;
    failure = error;
}

FailingStatus::~FailingStatus() {
    callsLeft = 0;
}

bool FailingStatus::happened() const {
    return callsLeft == 0;
}
