#pragma once
// Remarks for the person at the terminal: what a file held that the result does not.

#include <string>
#include <vector>

class Notes {
public:
    explicit Notes(bool quiet) : quiet_(quiet) {}

    // One line on stderr, "zor: FILE: what". The same line comes once only.
    void Say(const std::string& path, const std::string& what);

private:
    bool quiet_;
    std::vector<std::string> said_;
};

// One line "zor: text" on stderr, in a single write; control characters, which a file name may hold, become '?'.
void PrintLine(const std::string& text);

// Lines that another process of the program wrote by these functions, as they are.
void PrintLines(const std::string& lines);
