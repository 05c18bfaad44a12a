#pragma once
// The loop around whole operations, the same for the engine and for the libraries that it is compared with.
//
// Before every run of an operation a copy of 72 MB is timed: a 6000 x 4000 picture of three channels from one place to
// another. An operation's ratio is its median beside the median of these copies: what slows the machine for a moment
// slows both.

#include <functional>
#include <string>
#include <vector>

namespace bench {

// An operation with its pictures in place.
struct Run {
    std::function<bool()> work;     // timed; false: it did not work
    std::function<void()> prepare;  // before every run, not timed; may be null
};

struct Operation {
    std::string id;     // "scale/lanczos3-quarter-photo", the same for all programs
    std::string title;  // for people; empty in programs of other libraries, which take it from the engine's
    std::string note;   // what has to be known to compare: where the operation is not quite the same
    std::function<Run()> open;
};

struct Program {
    std::string name;
    std::string version;
};

// The whole of main: options, loop, table on the standard output, JSON where asked for. Gives the exit code.
int RunOperations(const Program& program, const std::vector<Operation>& operations, int argc, char** argv);

}  // namespace bench
