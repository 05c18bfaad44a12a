#include "ZorTest.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

// Beside the test's own directory, so that what the program leaves behind there is all that is found there.
fs::path MakeDirectory(const char* pattern) {
    std::string path = (fs::temp_directory_path() / pattern).string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary directory");
    return path;
}

void Redirect(const std::string& path, int descriptor) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) _exit(120);
    close(file);
}

// What opens a file without a name is told that there are none, as some file systems tell it.
void RefuseUnnamedFiles() {
    constexpr unsigned kFlagsOfOpenat = offsetof(seccomp_data, args[2]);  // the low half on little-endian processors
    constexpr unsigned kOnlyUnnamed = O_TMPFILE & ~O_DIRECTORY;
    sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
                           BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlagsOfOpenat),
                           BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kOnlyUnnamed, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program{std::size(rules), rules};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(126);
}

[[noreturn]] void Become(const std::vector<std::string>& words, const std::string& directory, const std::string& out,
                         const std::string& err, const RunOptions& options) {
    Redirect(out, STDOUT_FILENO);
    Redirect(err, STDERR_FILENO);
    if (options.inputDescriptor >= 0 && dup2(options.inputDescriptor, STDIN_FILENO) < 0) _exit(120);
    if (chdir(directory.c_str()) != 0) _exit(121);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) std::signal(number, SIG_DFL);
    for (const int number : options.ignoredSignals) std::signal(number, SIG_IGN);
    if (options.fileSizeLimit) {
        const rlimit limit{*options.fileSizeLimit, *options.fileSizeLimit};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(122);
    }
    if (options.addressLimit) {
        const rlimit limit{*options.addressLimit, *options.addressLimit};
        if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(125);
    }
    if (!options.unnamedFiles) RefuseUnnamedFiles();
    if (options.obeysPermissions && geteuid() == 0)
        for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH})
            if (prctl(PR_CAPBSET_DROP, right) != 0) _exit(124);
    if (options.user && (setgroups(0, nullptr) != 0 || setgid(*options.user) != 0 || setuid(*options.user) != 0))
        _exit(125);
    // A finding of a sanitizer must not pass for a failure that the test expects.
    setenv("ASAN_OPTIONS", "exitcode=99", 1);
    setenv("UBSAN_OPTIONS", "exitcode=99:print_stacktrace=1", 1);
    std::vector<char*> argv;
    std::string program = ZOR_PROGRAM;
    argv.push_back(program.data());
    std::vector<std::string> copies = words;
    for (std::string& word : copies) argv.push_back(word.data());
    argv.push_back(nullptr);
    for (const int stream : options.closedStreams) close(stream);
    execv(argv[0], argv.data());
    _exit(123);
}

}  // namespace

ZorTest::ZorTest() : directory_(MakeDirectory("zor-test-XXXXXX")), catches_(MakeDirectory("zor-catch-XXXXXX")) {}

ZorTest::~ZorTest() {
    fs::remove_all(directory_);
    fs::remove_all(catches_);
}

std::string ZorTest::Photo(const std::string& name) {
    return std::string(ZOR_PHOTOS) + "/" + name;
}

pid_t ZorTest::Start(const std::vector<std::string>& words, const RunOptions& options) {
    const std::string out = options.outputTo.empty() ? (catches_ / "out").string() : options.outputTo;
    const std::string err = options.errorsTo.empty() ? (catches_ / "err").string() : options.errorsTo;
    const pid_t process = fork();
    if (process == 0) Become(words, directory_.string(), out, err, options);
    return process;
}

Outcome ZorTest::Wait(pid_t process) {
    Outcome outcome;
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    outcome.peakBytes = std::int64_t{usage.ru_maxrss} << 10;
    if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    outcome.out = ReadFile((catches_ / "out").string());
    outcome.err = ReadFile((catches_ / "err").string());
    fs::remove(catches_ / "out");
    fs::remove(catches_ / "err");
    EXPECT_EQ(outcome.err.find("Sanitizer"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find("runtime error"), std::string::npos) << outcome.err;
    return outcome;
}

Outcome ZorTest::RunWell(const std::vector<std::string>& words) {
    Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return outcome;
}

void ZorTest::AwaitOutput(pid_t process) const {
    const std::string place = fs::canonical(directory_).string() + "/";
    const auto isResult = [&](const std::string& opened) {
        const bool named = opened.find("/.zor-") != std::string::npos, unnamed = opened.find("/#") != std::string::npos;
        return opened.starts_with(place) && (named || unnamed);
    };
    for (int i = 0; i < 1000; ++i) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", error)) {
            if (isResult(fs::read_symlink(entry.path(), error).string())) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    FAIL() << "no result has been opened";
}

void ZorTest::ExpectFailure(const Outcome& outcome, int exitCode, const std::vector<std::string>& parts) {
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.substr(0, 5), "zor: ") << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_TRUE(outcome.err.ends_with('\n')) << outcome.err;
    for (const std::string& part : parts)
        EXPECT_NE(outcome.err.find(part), std::string::npos) << "'" << part << "' is not in: " << outcome.err;
}

std::vector<std::string> ZorTest::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
