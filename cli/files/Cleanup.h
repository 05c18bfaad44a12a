#pragma once
// Temporary files vanish on every exit, also when a signal ends the program.

#include <string>

// Ends the program at SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE by the signal itself, after all files that are
// registered have been removed. Signals that were ignored at the start stay ignored. A file size limit becomes a write
// error instead of a signal.
void InstallSignalCleanup();

// Thrown to end the work after a signal has arrived; no std::exception, so that it is not taken for a failure.
struct Interrupted {
    int signal;
};

// While one lives, the first signal does not end the program at once: the work is expected to Look now and then, so
// that it stops where it can and everything that it holds is let go of. When it does not for a second, or another
// signal arrives, the program ends as always.
class SignalPatience {
public:
    SignalPatience();
    ~SignalPatience();
    SignalPatience(const SignalPatience&) = delete;
    SignalPatience& operator=(const SignalPatience&) = delete;

    // Throws Interrupted when a signal has arrived.
    static void Look();
};

// Ends the program by the signal, as if it had not been caught; files that are registered are removed.
[[noreturn]] void EndBySignal(int number);

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
