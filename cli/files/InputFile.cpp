#include "files/InputFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Errors.h"

InputFile::InputFile(std::string path) : path_(std::move(path)) {
    file_ = std::fopen(path_.c_str(), "rbe");
    if (file_ == nullptr) FailSystem(path_, errno);
    struct stat status {};
    const bool known = fstat(fileno(file_), &status) == 0;
    if (known && S_ISDIR(status.st_mode)) {
        std::fclose(file_);
        FailSystem(path_, EISDIR);
    }
    if (known && S_ISREG(status.st_mode)) size_ = status.st_size;
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
