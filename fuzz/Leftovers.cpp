#include "Leftovers.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "Expect.h"

namespace {

std::vector<std::string> NamesIn(const char* folder) {
    std::vector<std::string> names;
    DIR* const directory = opendir(folder);
    Expect(directory, "the folder can be read");
    while (const dirent* const entry = readdir(directory)) names.emplace_back(entry->d_name);
    closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

const char* const kNamesOfFiles[FileGround::kNames] = {"one",  "two",    "three", "existing", "link",
                                                       "pipe", "folder", "there", "./two",    "missing/one"};

}  // namespace

FileGround::FileGround() {
    // In memory where that can be had: what is tried is the engine, not the disk.
    const bool inMemory = access("/dev/shm", W_OK) == 0;
    std::string pattern = std::string(inMemory ? "/dev/shm" : "/tmp") + "/image-fuzz-XXXXXX";
    Expect(mkdtemp(pattern.data()), "a temporary folder can be made");
    folder_ = pattern;
    Expect(mkfifo(Path(5).c_str(), 0600) == 0 && mkdir(Path(6).c_str(), 0700) == 0, "a pipe and a folder can be made");
    Expect(symlink("behind", Path(4).c_str()) == 0 && symlink("existing", Path(7).c_str()) == 0, "links can be made");
}

FileGround::~FileGround() {
    for (const std::string& name : NamesIn(folder_.c_str())) std::remove((folder_ + "/" + name).c_str());
    rmdir(folder_.c_str());
}

std::string FileGround::Path(int name) const {
    return folder_ + "/" + kNamesOfFiles[name];
}

void FileGround::Prepare() {
    std::ofstream(Path(3)) << "of somebody";
}

void FileGround::ExpectAsItWas() {
    std::vector<std::string> left = NamesIn(folder_.c_str());
    std::erase(left, "existing");
    Expect(left == std::vector<std::string>{".", "..", "folder", "link", "pipe", "there"},
           "images remove their files, and no others");
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Expect(line.find(folder_) == std::string::npos, "images unmap their files");
    }
}

std::vector<int> OpenDescriptors() {
    std::vector<int> numbers;
    DIR* const directory = opendir("/proc/self/fd");
    Expect(directory, "the descriptors can be read");
    while (const dirent* const entry = readdir(directory)) {
        const int number = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && number != dirfd(directory)) numbers.push_back(number);
    }
    closedir(directory);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}
