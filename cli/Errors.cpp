#include "Errors.h"

#include <cstring>

void FailFile(const std::string& path, const std::string& what) {
    throw RunError(path + ": " + what);
}

void FailSystem(const std::string& path, int errorNumber) {
    FailFile(path, std::strerror(errorNumber));
}
