#pragma once
// Promises of the readers beyond those that sanitizers look after.

#include <cstdio>
#include <cstdlib>

// Ends the process with a finding unless `holds`; `promise` says what was broken.
inline void Expect(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}
