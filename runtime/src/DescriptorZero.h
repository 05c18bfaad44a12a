#pragma once
// Keeps descriptor 0 out of reach while a teardown runs.

namespace zorhost::runtime {

// The teardown of a file-backed image that was closed before runs its last steps again: it truncates and closes
// descriptor 0, which in a program is its standard input. While one of these lives, descriptor 0 is /dev/null;
// afterwards it is what it was, also where it was closed.
class DescriptorZeroScope {
public:
    DescriptorZeroScope();
    ~DescriptorZeroScope();
    DescriptorZeroScope(const DescriptorZeroScope&) = delete;
    DescriptorZeroScope& operator=(const DescriptorZeroScope&) = delete;

private:
    int saved_ = -1;  // a copy of the descriptor; -1 if it was closed
    int flags_ = 0;   // its descriptor flags
};

// Opens /dev/null where a program runs without descriptor 0, so that no image's file gets that number.
void FillDescriptorZero();

}  // namespace zorhost::runtime
