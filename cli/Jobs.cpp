#include "Jobs.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Errors.h"
#include "files/Cleanup.h"

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int kWaitMilliseconds = 100;

volatile std::sig_atomic_t caughtSignal = 0;

extern "C" void RememberSignal(int number) {
    caughtSignal = number;
}

// While one lives, the signals that end the program are remembered, and arrive during Poll only.
class SignalWatch {
public:
    SignalWatch() {
        sigemptyset(&watched_);
        struct sigaction action {};
        action.sa_handler = RememberSignal;
        for (const int number : kEndingSignals) {
            struct sigaction before {};
            if (sigaction(number, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
            sigaddset(&watched_, number);
            sigaction(number, &action, nullptr);
        }
        pthread_sigmask(SIG_BLOCK, &watched_, &outside_);
    }
    ~SignalWatch() { Release(); }
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    void Poll(std::vector<pollfd>& pipes) const {
        const timespec time{0, kWaitMilliseconds * 1000000L};
        if (ppoll(pipes.data(), pipes.size(), &time, &outside_) < 0)
            for (pollfd& pipe : pipes) pipe.revents = 0;
    }

    // From here on a signal does at once what it did before.
    void Release() const {
        InstallSignalCleanup();
        pthread_sigmask(SIG_SETMASK, &outside_, nullptr);
    }

private:
    sigset_t watched_;
    sigset_t outside_;
};

struct Job {
    std::size_t index;
    pid_t process;
    int errors;  // the end of the pipe to read
    std::string text;
};

// The process of a piece; it does not come back.
[[noreturn]] void BecomeJob(std::size_t index, int errors, pid_t parent, const SignalWatch& watch,
                            const std::function<int(std::size_t)>& work) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(errors, STDERR_FILENO);
    watch.Release();
    if (getppid() != parent) _exit(1);
    const int code = work(index);
    std::fflush(nullptr);
    _exit(code);
}

Job StartJob(std::size_t index, const SignalWatch& watch, const std::function<int(std::size_t)>& work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw RunError(std::string("no pipe to a new process: ") + std::strerror(errno));
    const pid_t parent = getpid();
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) BecomeJob(index, ends[1], parent, watch, work);
    const int error = errno;
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        throw RunError(std::string("no new process: ") + std::strerror(error));
    }
    return {index, process, ends[0], {}};
}

int WaitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

JobEnd EndOf(Job& job) {
    close(job.errors);
    const int status = WaitFor(job.process);
    JobEnd end;
    end.done = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.errors = std::move(job.text);
    return end;
}

void EndAll(const std::vector<Job>& jobs, int number) {
    for (const Job& job : jobs) kill(job.process, number);
    for (const Job& job : jobs) WaitFor(job.process);
}

// False: the pipe has ended, and the process with it.
bool TakeText(Job& job) {
    char text[4096];
    const ssize_t got = read(job.errors, text, sizeof text);
    if (got > 0) job.text.append(text, static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
}

}  // namespace

void RunJobs(std::size_t count, std::size_t atOnce, const std::function<int(std::size_t)>& work,
             const std::function<void(std::size_t, const JobEnd&)>& ended, const std::function<void()>& waiting) {
    caughtSignal = 0;
    std::vector<Job> jobs;
    const SignalWatch watch;
    try {
        for (std::size_t next = 0; next < count || !jobs.empty();) {
            while (next < count && jobs.size() < atOnce) jobs.push_back(StartJob(next++, watch, work));
            std::vector<pollfd> pipes;
            for (const Job& job : jobs) pipes.push_back({job.errors, POLLIN, 0});
            watch.Poll(pipes);
            if (const int number = caughtSignal; number != 0) {
                watch.Release();  // a second signal does not wait
                EndAll(jobs, number);
                std::signal(number, SIG_DFL);
                raise(number);
            }
            for (std::size_t i = pipes.size(); i-- > 0;) {
                if (pipes[i].revents == 0 || TakeText(jobs[i])) continue;
                Job job = std::move(jobs[i]);
                jobs.erase(jobs.begin() + static_cast<std::ptrdiff_t>(i));
                ended(job.index, EndOf(job));
            }
            waiting();
        }
    } catch (...) {
        EndAll(jobs, SIGTERM);
        throw;
    }
}
