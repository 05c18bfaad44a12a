#pragma once
// Pieces of work that run side by side in a few processes, which take one after the other: a piece that fails, or that
// the system ends along with its process, leaves the others alone.

#include <cstddef>
#include <functional>
#include <string>

// How a piece has ended.
struct JobEnd {
    bool done = false;
    std::string errors;  // what it wrote to stderr, whole lines
    int signal = 0;      // that ended it; 0: none
};

// Runs `count` pieces, at most `atOnce` at a time. `work` is called in a process of such pieces, and 0 means done;
// `ended` is called here, as pieces end, and `waiting` some times a second in between. Only while the program has one
// thread. Where a process ends, another takes its place for the pieces that are left. A signal that ends the program
// ends the processes first, so that they can clean up; a second one does not wait for them. They end as well when this
// process does. A RunError when no process can be made.
void RunJobs(std::size_t count, std::size_t atOnce, const std::function<int(std::size_t index)>& work,
             const std::function<void(std::size_t index, const JobEnd& end)>& ended,
             const std::function<void()>& waiting);
