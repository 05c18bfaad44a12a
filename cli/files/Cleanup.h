#pragma once
// Temporary files vanish on every exit, also when a signal ends the program.

#include <string>

// Ends the program at SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE by the signal itself, after all files that are
// registered have been removed. Signals that were ignored at the start stay ignored. A file size limit becomes a write
// error instead of a signal.
void InstallSignalCleanup();

// While one lives, the signals above wait. For the moments between making a file and registering it, and between
// renaming it and taking it off the list. Only for the main thread while no other runs.
class SignalPause {
public:
    SignalPause();
    ~SignalPause();
    SignalPause(const SignalPause&) = delete;
    SignalPause& operator=(const SignalPause&) = delete;
};

// Adds a file to the list of those to remove, and takes it off again. At most 16 at a time, and relative paths count
// from the current directory, which must not change. False: the list is full.
[[nodiscard]] bool RegisterTemporary(const std::string& path);
void ForgetTemporary(const std::string& path);
