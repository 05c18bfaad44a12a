#pragma once
// What images must not leave behind in the process and in the file system.

#include <string>
#include <vector>

// A folder for the files of images, with things in it that no image may remove.
class FileGround {
public:
    FileGround();
    ~FileGround();
    FileGround(const FileGround&) = delete;
    FileGround& operator=(const FileGround&) = delete;

    // Names of files that images can be asked for: free ones, one that exists, links, a pipe, a folder, and one in a
    // folder that is not there.
    static constexpr int kNames = 10;
    std::string Path(int name) const;

    void Prepare();        // the file that images may overwrite, and remove with them, is there again
    void ExpectAsItWas();  // only what Prepare left, or the file is gone; no part of a file is mapped

private:
    std::string folder_;
};

// Numbers of the descriptors that are open.
std::vector<int> OpenDescriptors();
