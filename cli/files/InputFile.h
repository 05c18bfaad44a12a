#pragma once
// A file to read from the front, regular or a pipe.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

class InputFile {
public:
    // A RunError when it cannot be opened, or is a directory.
    explicit InputFile(std::string path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }

    // Bytes of the file; -1 where that is not known, as for a pipe.
    [[nodiscard]] std::int64_t Size() const { return size_; }

    // The first bytes, at most 16, without moving on. Only before the first Read. The count that there were.
    std::size_t Peek(std::uint8_t* bytes, std::size_t count);

    // The next bytes; fewer than `count` at the end of the file or at an error, which `Error` then tells (0: none).
    std::size_t Read(std::uint8_t* bytes, std::size_t count);
    [[nodiscard]] int Error() const { return error_; }

private:
    std::string path_;
    std::FILE* file_ = nullptr;
    std::int64_t size_ = -1;
    std::array<std::uint8_t, 16> head_{};  // peeked bytes that Read has yet to give
    std::size_t headSize_ = 0;
    std::size_t headUsed_ = 0;
    int error_ = 0;
};
