#include "Jobs.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
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

// What goes to a process is the number of a piece; what comes back, as soon as that has ended, is its exit code.
using PieceNumber = std::uint64_t;
using PieceCode = std::int32_t;

// What a process has freed goes back to the system where it is much: another file may need it.
void GiveMemoryBack() {
    constexpr std::size_t kMuch = 16 << 20;
    if (mallinfo2().fordblks > kMuch) malloc_trim(0);
}

struct Worker {
    pid_t process = -1;
    int line = -1;    // numbers and codes
    int errors = -1;  // the end of a pipe to read
    bool works = false;
    std::size_t index = 0;  // of the piece that it works on
    std::string text;       // errors of that
};

void Close(int* descriptor) {
    if (*descriptor >= 0) close(*descriptor);
    *descriptor = -1;
}

// The process of many pieces; it does not come back.
[[noreturn]] void BecomeWorker(int line, int errors, pid_t parent, const SignalWatch& watch,
                               const std::function<int(std::size_t)>& work) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(errors, STDERR_FILENO);
    close(errors);
    watch.Release();
    if (getppid() != parent) _exit(1);
    PieceNumber number = 0;
    while (recv(line, &number, sizeof number, 0) == sizeof number) {
        const PieceCode code = work(static_cast<std::size_t>(number));
        std::fflush(nullptr);
        GiveMemoryBack();
        if (send(line, &code, sizeof code, MSG_NOSIGNAL) != sizeof code) break;
    }
    _exit(0);
}

Worker StartWorker(const std::vector<Worker>& others, const SignalWatch& watch,
                   const std::function<int(std::size_t)>& work) {
    int line[2], errors[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, line) != 0)
        throw RunError(std::string("no line to a new process: ") + std::strerror(errno));
    if (pipe2(errors, O_CLOEXEC) != 0) {
        const int error = errno;
        for (int& end : line) close(end);
        throw RunError(std::string("no pipe to a new process: ") + std::strerror(error));
    }
    const pid_t parent = getpid();
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        // A line ends when nobody has its other end any more.
        for (const Worker& other : others)
            if (other.line >= 0) close(other.line);
        close(line[0]);
        BecomeWorker(line[1], errors[1], parent, watch, work);
    }
    const int error = errno;
    close(line[1]);
    close(errors[1]);
    if (process < 0) {
        close(line[0]);
        close(errors[0]);
        throw RunError(std::string("no new process: ") + std::strerror(error));
    }
    fcntl(errors[0], F_SETFL, O_NONBLOCK);
    Worker worker;
    worker.process = process;
    worker.line = line[0];
    worker.errors = errors[0];
    return worker;
}

int WaitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// All that there is to read now.
void TakeText(Worker* worker) {
    char text[4096];
    while (worker->errors >= 0) {
        const ssize_t got = read(worker->errors, text, sizeof text);
        if (got > 0) {
            worker->text.append(text, static_cast<std::size_t>(got));
        } else if (got == 0) {
            Close(&worker->errors);
        } else if (errno != EINTR) {
            return;
        }
    }
}

// Its process has come to its end, or does so now that nobody gives it work. The status of the system.
int Retire(Worker* worker) {
    Close(&worker->line);
    const int status = WaitFor(worker->process);
    TakeText(worker);
    Close(&worker->errors);
    worker->process = -1;
    return status;
}

void EndAll(const std::vector<Worker>& workers, int number) {
    for (const Worker& worker : workers)
        if (worker.process >= 0) kill(worker.process, number);
    for (const Worker& worker : workers)
        if (worker.process >= 0) WaitFor(worker.process);
}

// Gives the piece to the process, and to a new one where there is none, or none any more.
void Give(std::size_t index, Worker* worker, const std::vector<Worker>& all, const SignalWatch& watch,
          const std::function<int(std::size_t)>& work) {
    const PieceNumber number = index;
    const auto give = [&] { return send(worker->line, &number, sizeof number, MSG_NOSIGNAL) == sizeof number; };
    if (worker->process < 0 || !give()) {
        if (worker->process >= 0) Retire(worker);
        *worker = StartWorker(all, watch, work);
        give();  // where it has ended already, that shows in a moment
    }
    worker->works = true;
    worker->index = index;
    worker->text.clear();
}

// What there is to tell of a piece once its process has said something, or nothing any more.
JobEnd EndOfPiece(Worker* worker) {
    PieceCode code = 1;
    JobEnd end;
    if (recv(worker->line, &code, sizeof code, 0) == sizeof code) {
        TakeText(worker);
        end.done = code == 0;
    } else {
        const int status = Retire(worker);
        end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    end.errors = std::move(worker->text);
    worker->works = false;
    return end;
}

}  // namespace

void RunJobs(std::size_t count, std::size_t atOnce, const std::function<int(std::size_t)>& work,
             const std::function<void(std::size_t, const JobEnd&)>& ended, const std::function<void()>& waiting) {
    caughtSignal = 0;
    std::vector<Worker> workers(std::min(atOnce, count));
    const SignalWatch watch;
    try {
        for (std::size_t next = 0, left = count; left > 0;) {
            for (Worker& worker : workers)
                if (!worker.works && next < count) Give(next++, &worker, workers, watch, work);
            std::vector<pollfd> lines;
            for (const Worker& worker : workers) {
                lines.push_back({worker.works ? worker.line : -1, POLLIN, 0});
                lines.push_back({worker.works ? worker.errors : -1, POLLIN, 0});
            }
            watch.Poll(lines);
            if (const int number = caughtSignal; number != 0) {
                watch.Release();  // a second signal does not wait
                EndAll(workers, number);
                std::signal(number, SIG_DFL);
                raise(number);
            }
            for (std::size_t i = 0; i < workers.size(); ++i) {
                if (lines[2 * i + 1].revents != 0) TakeText(&workers[i]);
                if (lines[2 * i].revents == 0) continue;
                const std::size_t index = workers[i].index;
                ended(index, EndOfPiece(&workers[i]));
                --left;
            }
            waiting();
        }
        for (Worker& worker : workers)
            if (worker.process >= 0) Retire(&worker);
    } catch (...) {
        EndAll(workers, SIGTERM);
        throw;
    }
}
