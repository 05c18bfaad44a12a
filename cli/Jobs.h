#pragma once
// Pieces of work that run side by side, each in a process of its own: one that fails, or that the system ends, leaves
// the others alone.

#include <cstddef>
#include <functional>
#include <string>

// How a piece has ended.
struct JobEnd {
    bool done = false;
    std::string errors;  // what it wrote to stderr, whole lines
    int signal = 0;      // that ended it; 0: none
};

// Runs `count` pieces, at most `atOnce` at a time. `work` is called in the process of a piece, and its result is the
// exit code; `ended` is called here, as pieces end, and `waiting` some times a second in between. Only while the
// program has one thread. A signal that ends the program ends the pieces first, so that they can clean up; a second one
// does not wait for them. The pieces end as well when this process does. A RunError when no process can be made.
void RunJobs(std::size_t count, std::size_t atOnce, const std::function<int(std::size_t index)>& work,
             const std::function<void(std::size_t index, const JobEnd& end)>& ended,
             const std::function<void()>& waiting);
