// Writes the reference of the plug-in's classes to the standard output:
//
//     make_reference libPictureZOR.so docs/reference >docs/reference.md

#include <cstdio>
#include <exception>
#include <string>

#include "ReferenceFiles.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_reference path-of-libPictureZOR.so folder-of-texts\n");
        return 2;
    }
    try {
        const std::string text = ReferenceFromFiles(argv[1], argv[2]);
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
            throw std::runtime_error("the reference cannot be written");
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
