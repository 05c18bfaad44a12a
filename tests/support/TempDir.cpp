#include "support/TempDir.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "image-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory: " + pattern);
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
