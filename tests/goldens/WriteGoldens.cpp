// write_goldens [--each-format]: the goldens as this machine makes them.

#include <gtest/gtest.h>

#include <cstdio>
#include <string_view>

#include "goldens/Goldens.h"

int main(int count, char** words) {
    const bool eachFormat = count == 2 && std::string_view(words[1]) == "--each-format";
    if (count > 1 && !eachFormat) {
        std::fputs("usage: write_goldens [--each-format]\n", stderr);
        return 2;
    }
    std::puts("# The hash of what every operation gives and changes, by its arguments, over images of all formats.");
    std::puts("# Made by the target `goldens`; a line that changes is a result that changes.");
    FakeHost host;
    host.classes.insert("GWorldZOR");
    for (const GoldenOperation& operation : GoldenOperations()) {
        if (!operation.call) continue;
        for (const std::string& line : GoldenLines(host, operation, eachFormat)) std::puts(line.c_str());
    }
    // An expectation of the helpers that was not met has been told by now.
    return ::testing::Test::HasFailure() ? 1 : 0;
}
