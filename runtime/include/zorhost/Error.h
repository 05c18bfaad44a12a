#pragma once
// What the library throws.

#include <exception>
#include <stdexcept>
#include <string>

namespace zorhost {

// A request that cannot be carried out: a plug-in that does not open, an unknown or ambiguous call, a value of another
// type, a call from another thread. what() names the file, class, method or type meant.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// An exception of the host language that the plug-in raised in a call. It is delivered once the call has returned.
class HostException : public std::runtime_error {
public:
    HostException(std::string className, std::string message);

    const std::string& ClassName() const { return className_; }  // "OutOfBoundsException"
    const std::string& Message() const { return message_; }      // UTF-8; may be empty

private:
    std::string className_;
    std::string message_;
};

// For yield callbacks that want a long method to stop: thrown there, it comes out of the call that was running. Any
// other C++ exception does the same.
class Cancelled : public std::exception {
public:
    const char* what() const noexcept override;
};

}  // namespace zorhost
