#include "FuzzFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include "Expect.h"

std::string FileOf(const std::uint8_t* bytes, std::size_t size) {
    static const int descriptor = memfd_create("input", MFD_CLOEXEC);
    Expect(descriptor >= 0 && ftruncate(descriptor, 0) == 0 &&
               pwrite(descriptor, bytes, size, 0) == static_cast<ssize_t>(size),
           "the input cannot be kept");
    return "/proc/self/fd/" + std::to_string(descriptor);
}
