#include "files/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "Errors.h"
#include "files/Scratch.h"

namespace {

constexpr std::size_t kCopyBytes = 1 << 18;

// All of the bytes, or a RunError.
void WriteScratch(int descriptor, const std::uint8_t* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            const int error = errno;
            close(descriptor);
            FailScratch(error);
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

}  // namespace

InputFile::InputFile(std::string path) : path_(std::move(path)) {
    if (path_.empty()) throw RunError("the name of a file to read is empty");
    if (path_ == "-")
        OpenStandardInput();
    else
        file_ = std::fopen(path_.c_str(), "rbe");
    if (file_ == nullptr) FailSystem(path_, errno);
    struct stat status {};
    const bool known = fstat(fileno(file_), &status) == 0;
    if (known && S_ISDIR(status.st_mode)) {
        std::fclose(file_);
        FailSystem(path_, EISDIR);
    }
    if (!known || !S_ISREG(status.st_mode)) return;
    origin_ = std::max<std::int64_t>(lseek(fileno(file_), 0, SEEK_CUR), 0);
    size_ = std::max<std::int64_t>(status.st_size - origin_, 0);
}

void InputFile::OpenStandardInput() {
    static bool taken = false;
    path_ = "standard input";
    if (taken) FailFile(path_, "can be read only once");
    if (isatty(STDIN_FILENO) == 1) FailFile(path_, "is a terminal; a picture is read from a file or a pipe");
    taken = true;
    const int descriptor = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (descriptor < 0) return;
    file_ = fdopen(descriptor, "rb");
    if (file_ != nullptr) return;
    close(descriptor);
    errno = EBADF;  // nothing can be read from it
}

InputFile::~InputFile() {
    std::fclose(file_);
}

std::size_t InputFile::Peek(std::uint8_t* bytes, std::size_t count) {
    if (headSize_ == 0) headSize_ = Read(head_.data(), head_.size());
    headUsed_ = 0;
    const std::size_t given = std::min(count, headSize_);
    std::memcpy(bytes, head_.data(), given);
    return given;
}

std::size_t InputFile::Read(std::uint8_t* bytes, std::size_t count) {
    const std::size_t fromHead = std::min(count, headSize_ - headUsed_);
    std::memcpy(bytes, head_.data() + headUsed_, fromHead);
    headUsed_ += fromHead;
    if (fromHead == count) return count;
    errno = 0;
    const std::size_t got = std::fread(bytes + fromHead, 1, count - fromHead, file_);
    if (std::ferror(file_) != 0) error_ = errno != 0 ? errno : EIO;
    return fromHead + got;
}

void InputFile::Skip(std::int64_t count) {
    const auto fromHead = std::min(count, static_cast<std::int64_t>(headSize_ - headUsed_));
    headUsed_ += static_cast<std::size_t>(fromHead);
    count -= fromHead;
    if (count > 0 && size_ >= 0 && fseeko(file_, count, SEEK_CUR) == 0) return;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::min<std::int64_t>(count, kCopyBytes)));
    while (count > 0) {
        const std::size_t got = Read(buffer.data(), std::min(buffer.size(), static_cast<std::size_t>(count)));
        if (got == 0) return;
        count -= static_cast<std::int64_t>(got);
    }
}

void InputFile::MakeSeekable() {
    if (size_ >= 0) return;
    const int scratch = OpenScratch();
    std::vector<std::uint8_t> buffer(kCopyBytes);
    std::int64_t size = 0;
    while (const std::size_t count = Read(buffer.data(), buffer.size())) {
        WriteScratch(scratch, buffer.data(), count);
        size += static_cast<std::int64_t>(count);
    }
    std::FILE* file = error_ == 0 && lseek(scratch, 0, SEEK_SET) == 0 ? fdopen(scratch, "rb") : nullptr;
    if (file == nullptr) {
        const int error = error_ != 0 ? error_ : errno;
        close(scratch);
        FailSystem(path_, error);
    }
    std::fclose(file_);
    file_ = file;
    headSize_ = headUsed_ = 0;
    origin_ = 0;
    size_ = size;
}

std::size_t InputFile::ReadAt(std::int64_t offset, std::uint8_t* bytes, std::size_t count) {
    std::size_t done = 0;
    while (offset >= 0 && offset < size_ && done < count) {
        const ssize_t got = pread(fileno(file_), bytes + done, count - done, origin_ + offset);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) error_ = errno;
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
        offset += got;
    }
    return done;
}
