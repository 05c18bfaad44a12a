#include "files/Cleanup.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

// Read by the signal handler: each slot is a path from strdup, or null.
std::array<std::atomic<char*>, 16> temporaries{};
static_assert(std::atomic<char*>::is_always_lock_free);

extern "C" void RemoveFilesAndEnd(int signalNumber) {
    for (std::atomic<char*>& slot : temporaries) {
        const char* path = slot.load();
        if (path != nullptr) unlink(path);
    }
    // The action was reset when the handler was entered, so this ends the program as soon as the handler returns.
    raise(signalNumber);
}

sigset_t CleanupSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : kSignals) sigaddset(&set, number);
    return set;
}

}  // namespace

void InstallSignalCleanup() {
    struct sigaction action {};
    action.sa_handler = RemoveFilesAndEnd;
    action.sa_mask = CleanupSignals();
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : kSignals) {
        struct sigaction before {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
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
