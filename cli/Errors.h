#pragma once
// The two ways in which a run ends early. The text of both is one line; `main` puts it on stderr behind "zor: ".

#include <stdexcept>
#include <string>

// Something about a file, or about the work itself: exit code 1.
class RunError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A word on the command line that cannot be used: exit code 2. The text names the word and what was expected.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "FILE: what" as a RunError.
[[noreturn]] void FailFile(const std::string& path, const std::string& what);

// The same with the system's words for an error number: "FILE: No such file or directory".
[[noreturn]] void FailSystem(const std::string& path, int errorNumber);
