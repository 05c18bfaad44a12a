#include "files/UnnamedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

// The name by which the system leads to an open file of this process.
std::string NameInProcess(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

int OpenUnnamed(const std::string& directory) {
    return open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
}

bool LacksUnnamedFiles(int errorNumber) {
    return errorNumber == EOPNOTSUPP || errorNumber == EISDIR || errorNumber == EINVAL;
}

bool CanBeNamed(int descriptor) {
    return access(NameInProcess(descriptor).c_str(), F_OK) == 0;
}

bool NameFile(int descriptor, const std::string& path) {
    return linkat(AT_FDCWD, NameInProcess(descriptor).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}
