#include <cerrno>
#include <cstdio>

#include "Commands.h"
#include "Errors.h"

void PrintText(const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        FailSystem("standard output", errno != 0 ? errno : EIO);
}
