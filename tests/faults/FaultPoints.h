#pragma once
// Lets what the engine asks of the system and of the host fail: the nth time, or from then on.

#include <cstddef>
#include <string>

#include "support/FakeHost.h"

// Who is asked.
enum class FaultPoint {
    memory,  // malloc, calloc
    system,  // files and mappings
    thread,  // the start of a thread
    host     // every function of the host that has an answer for failure
};
const char* NameOf(FaultPoint point);

enum class FaultCourse { once, fromThenOn };

// While it lives, requests of that point are counted, and the nth is refused; 1 is the next, 0 is none. One at a time.
class Faults {
public:
    Faults(FakeHost& host, FaultPoint point, FaultCourse course, int nth);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    bool happened() const;

private:
    FakeHost& host_;
};

// Blocks of malloc and calloc that somebody got through the engine or the tests and has not freed.
std::size_t LiveBlocks();
