#include "files/Cleanup.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

// Read by the signal handler: each slot is a path from strdup, or null.
std::array<std::atomic<char*>, 16> temporaries{};
static_assert(std::atomic<char*>::is_always_lock_free);

// While work that looks for signals by itself is under way: how many seconds it has for that; else 0.
std::atomic<unsigned> patience{0};
std::atomic<int> arrived{0};  // the signal that this work is to end by
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

void RemoveFilesAndRaise(int signalNumber) {
    for (std::atomic<char*>& slot : temporaries) {
        const char* path = slot.load();
        if (path != nullptr) unlink(path);
    }
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigaction(signalNumber, &standard, nullptr);
    // In a handler, where it waits, this ends the program as soon as the handler returns.
    raise(signalNumber);
}

// The first signal lets work that is patient come to its end by itself. A second one, and the alarm where the work does
// not look for too long, end the program at once.
extern "C" void HandleSignal(int signalNumber) {
    const unsigned seconds = patience.load();
    int none = 0;
    if (seconds > 0 && signalNumber != SIGALRM && arrived.compare_exchange_strong(none, signalNumber)) {
        alarm(seconds);
        return;
    }
    RemoveFilesAndRaise(signalNumber == SIGALRM ? arrived.load() : signalNumber);
}

sigset_t CleanupSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGALRM);
    for (const int number : kSignals) sigaddset(&set, number);
    return set;
}

}  // namespace

void InstallSignalCleanup() {
    struct sigaction action {};
    action.sa_handler = HandleSignal;
    action.sa_mask = CleanupSignals();
    for (const int number : kSignals) {
        struct sigaction before {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

SignalPatience::SignalPatience() {
    struct sigaction action {};
    action.sa_handler = HandleSignal;
    action.sa_mask = CleanupSignals();
    sigaction(SIGALRM, &action, nullptr);
    constexpr unsigned kSeconds = 1;  // about ten times what lies between two looks
    patience = kSeconds;
}

SignalPatience::~SignalPatience() {
    patience = 0;
    // One that came after the last look. While an exception is on its way, the one who catches it knows.
    if (arrived != 0 && std::uncaught_exceptions() == 0) EndBySignal(arrived);
}

void SignalPatience::Look() {
    if (const int number = arrived; number != 0) throw Interrupted{number};
}

void EndBySignal(int number) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    RemoveFilesAndRaise(number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::abort();  // not reached: the signal has ended the program
}

SignalPause::SignalPause() {
    const sigset_t set = CleanupSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

SignalPause::~SignalPause() {
    const sigset_t set = CleanupSignals();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

bool RegisterTemporary(const std::string& path) {
    char* copy = strdup(path.c_str());
    if (copy == nullptr) return false;
    for (std::atomic<char*>& slot : temporaries) {
        char* empty = nullptr;
        if (slot.compare_exchange_strong(empty, copy)) return true;
    }
    std::free(copy);
    return false;
}

void ForgetTemporary(const std::string& path) {
    for (std::atomic<char*>& slot : temporaries) {
        char* entry = slot.load();
        if (entry == nullptr || path != entry) continue;
        slot.store(nullptr);
        std::free(entry);
        return;
    }
}
