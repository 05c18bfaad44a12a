#pragma once
// The file that a result goes to. What stands under its name stays as it is until the result is complete: the bytes go
// to a temporary file in the same directory, which takes the name at the end. Where the name is no regular file but a
// device or a pipe, the bytes go there directly.

#include <cstddef>
#include <cstdio>
#include <string>

class OutputFile {
public:
    // A RunError when the directory does not exist or cannot be written, or when the name is a directory or a file
    // without permission to write.
    explicit OutputFile(std::string path);
    ~OutputFile();  // without Commit before it: removes the temporary file
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }

    // False at an error; Error gives its number then. Does not throw, so that C code may stand between.
    [[nodiscard]] bool Write(const void* bytes, std::size_t count);
    [[nodiscard]] int Error() const { return error_; }

    // Writes what is left and gives the file its name. A RunError when that fails; nothing has changed then.
    void Commit();

private:
    void OpenTemporary();

    std::string path_;       // as the user named it
    std::string target_;     // where the name leads when links are followed
    std::string temporary_;  // empty: the bytes go to the target itself
    std::FILE* file_ = nullptr;
    int error_ = 0;
};
