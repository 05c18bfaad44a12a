#pragma once
// The file that a result goes to. What stands under its name stays as it is until the result is complete: the bytes go
// to a file without a name in the same directory, which takes the name at the end, so that nothing is left behind
// however the program ends. Where the file system has no such files, it is a temporary one with a name of its own.
// Where the name is no regular file but a device or a pipe, the bytes go there directly. The path "-" is standard
// output.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

class OutputFile {
public:
    // A RunError when the directory does not exist or cannot be written, when the name is a directory or a file
    // without permission to write, or when the bytes would go to a terminal.
    explicit OutputFile(std::string path);
    ~OutputFile();  // without Commit before it: removes the temporary file
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // As messages name it: the path, or "standard output".
    [[nodiscard]] const std::string& Path() const { return path_; }

    // False at an error; Error gives its number then. Does not throw, so that C code may stand between.
    [[nodiscard]] bool Write(const void* bytes, std::size_t count);
    [[nodiscard]] int Error() const { return error_; }

    // To be called before Seek, and before the first Write: what goes to a device or a pipe is gathered in a scratch
    // file, which Commit copies. A RunError when there can be none.
    void MakeSeekable();

    // The place of the next Write, counted as fseek does. The new place; -1 at an error. Does not throw.
    [[nodiscard]] std::int64_t Seek(std::int64_t offset, int whence);

    // Throws the RunError that Error stands for.
    [[noreturn]] void Fail() const;

    // Writes what is left and gives the file its name. A RunError when that fails; nothing has changed then.
    void Commit();

private:
    void OpenDirectly(int descriptor);
    void OpenReplacement();
    void OpenTemporary();
    void GiveName();
    void CopyScratch();

    std::string path_;           // as the user named it
    std::string target_;         // where the name leads when links are followed
    std::string directory_;      // of the target, where its replacement is made
    std::string temporary_;      // name of the replacement; empty: it has none, or there is none
    int unnamed_ = -1;           // a replacement without a name; below 0: it has one, or there is none
    std::FILE* file_ = nullptr;  // what Write writes to
    std::FILE* direct_ =
        nullptr;  // the device or pipe that gets what file_, a scratch file, holds; null: there is none
    int error_ = 0;
};
