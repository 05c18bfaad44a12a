#include "files/Scratch.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "Errors.h"
#include "files/Cleanup.h"
#include "files/UnnamedFile.h"

namespace {

std::string setDirectory;

}  // namespace

std::string ScratchDirectory() {
    if (!setDirectory.empty()) return setDirectory;
    const char* directory = std::getenv("TMPDIR");
    return directory != nullptr && *directory != '\0' ? directory : "/var/tmp";
}

void SetScratchDirectory(const std::string& directory) {
    setDirectory = directory;
}

int OpenScratch() {
    const std::string directory = ScratchDirectory();
    int descriptor = OpenUnnamed(directory);
    // Not every file system has files without a name; there it loses its name at once.
    if (descriptor < 0 && LacksUnnamedFiles(errno)) {
        const SignalPause pause;
        std::string path = directory + "/.zor-XXXXXX";
        descriptor = mkostemp(path.data(), O_CLOEXEC);
        if (descriptor >= 0) unlink(path.c_str());
    }
    if (descriptor < 0) FailScratch(errno);
    return descriptor;
}

void FailScratch(int errorNumber) {
    FailSystem("scratch directory " + ScratchDirectory(), errorNumber);
}
