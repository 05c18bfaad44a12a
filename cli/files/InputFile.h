#pragma once
// A file to read, regular or a pipe. The path "-" is standard input.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

class InputFile {
public:
    // A RunError when it cannot be opened, or is a directory; of standard input also when that is a terminal, or was
    // opened before: it gives its bytes once.
    explicit InputFile(std::string path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // As messages name it: the path, or "standard input".
    [[nodiscard]] const std::string& Path() const { return path_; }

    // Bytes of the file; -1 where that is not known, as for a pipe.
    [[nodiscard]] std::int64_t Size() const { return size_; }

    // The first bytes, at most 16, without moving on. Only before the first Read. The count that there were.
    std::size_t Peek(std::uint8_t* bytes, std::size_t count);

    // The next bytes; fewer than `count` at the end of the file or at an error, which `Error` then tells (0: none).
    std::size_t Read(std::uint8_t* bytes, std::size_t count);
    [[nodiscard]] int Error() const { return error_; }

    // Leaves out bytes of what Read gives, at most to the end of the file.
    void Skip(std::int64_t count);

    // To be called before ReadAt, and before the first Read: a pipe is copied into a scratch file. Afterwards the size
    // is known. A RunError when that fails.
    void MakeSeekable();

    // Bytes from a place on; fewer than `count` as Read does. Leaves the place of Read alone.
    std::size_t ReadAt(std::int64_t offset, std::uint8_t* bytes, std::size_t count);

private:
    void OpenStandardInput();

    std::string path_;
    std::FILE* file_ = nullptr;
    std::int64_t origin_ = 0;  // where the bytes start: standard input may have been read from before
    std::int64_t size_ = -1;
    std::array<std::uint8_t, 16> head_{};  // peeked bytes that Read has yet to give
    std::size_t headSize_ = 0;
    std::size_t headUsed_ = 0;
    int error_ = 0;
};
