#include "files/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "Errors.h"
#include "files/Cleanup.h"

namespace {

constexpr std::size_t kBufferBytes = 1 << 16;

// The permissions of a file that is to take the place of `target`: those of the target, else what the umask leaves.
void GivePermissions(int descriptor, bool exists, const struct stat& target) {
    if (exists) {
        // A file of somebody else stays theirs where the system lets us do that; where not, the result is ours.
        if (fchown(descriptor, target.st_uid, target.st_gid) != 0) errno = 0;
        fchmod(descriptor, target.st_mode & 0777);
        return;
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), target_(path_) {
    // A link keeps being a link: what it leads to is replaced.
    if (char* real = realpath(path_.c_str(), nullptr)) {
        target_ = real;
        std::free(real);
    }
    struct stat status {};
    const bool exists = stat(target_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) FailSystem(path_, errno);
    if (exists && S_ISDIR(status.st_mode)) FailSystem(path_, EISDIR);
    if (exists && access(target_.c_str(), W_OK) != 0) FailSystem(path_, errno);

    if (exists && !S_ISREG(status.st_mode)) {
        file_ = std::fopen(target_.c_str(), "wbe");
        if (file_ == nullptr) FailSystem(path_, errno);
    } else {
        OpenTemporary();
        GivePermissions(fileno(file_), exists, status);
    }
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
}

void OutputFile::OpenTemporary() {
    const std::string directory = std::filesystem::path(target_).parent_path().string();
    const SignalPause pause;
    temporary_ = (directory.empty() ? "." : directory) + "/.zor-XXXXXX";
    const int descriptor = mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor < 0) FailSystem(path_, errno);
    file_ = fdopen(descriptor, "wb");
    if (file_ == nullptr || !RegisterTemporary(temporary_)) {
        unlink(temporary_.c_str());
        if (file_ == nullptr) close(descriptor);
        if (file_ != nullptr) std::fclose(file_);
        FailFile(path_, "too many open files");
    }
}

OutputFile::~OutputFile() {
    if (file_ != nullptr) std::fclose(file_);
    if (temporary_.empty()) return;
    unlink(temporary_.c_str());
    ForgetTemporary(temporary_);
}

bool OutputFile::Write(const void* bytes, std::size_t count) {
    errno = 0;
    if (std::fwrite(bytes, 1, count, file_) == count) return true;
    error_ = errno != 0 ? errno : EIO;
    return false;
}

void OutputFile::Commit() {
    std::FILE* file = file_;
    file_ = nullptr;
    errno = 0;
    const bool closed = std::fclose(file) == 0;  // writes the last buffer; some file systems report errors only here
    if (error_ == 0 && !closed) error_ = errno != 0 ? errno : EIO;
    if (error_ != 0) FailSystem(path_, error_);
    if (temporary_.empty()) return;
    const SignalPause pause;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) FailSystem(path_, errno);
    ForgetTemporary(temporary_);
    temporary_.clear();
}
