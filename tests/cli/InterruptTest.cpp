// Runs that are ended from outside.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class Interrupt : public ZorTest {
protected:
    // Starts a run that has opened its output and waits for the rest of its input, which comes through a pipe.
    void StartHalfway(const RunOptions& options = {}, const std::vector<std::string>& more = {}) {
        SavePng(At("whole"), PlainPng(MakePixels(300, 200, 3, 3)));
        bytes_ = ReadFile(At("whole"));
        std::filesystem::remove(At("whole"));
        WriteFile(At("out.png"), "old");
        ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
        std::vector<std::string> words = {"pipe", "out.png", "scale", "50%"};
        words.insert(words.end(), more.begin(), more.end());
        process_ = Start(words, options);
        pipe_ = open(At("pipe").c_str(), O_WRONLY);
        ASSERT_GE(pipe_, 0);
        const auto half = static_cast<ssize_t>(bytes_.size() / 2);
        ASSERT_EQ(write(pipe_, bytes_.data(), static_cast<std::size_t>(half)), half);
        for (int i = 0; i < 1000 && Files().size() < 3; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ASSERT_EQ(Files().size(), 3U) << "no temporary file has appeared";
    }

    Outcome SendTheRest() {
        const std::string rest = bytes_.substr(bytes_.size() / 2);
        EXPECT_EQ(write(pipe_, rest.data(), rest.size()), static_cast<ssize_t>(rest.size()));
        return End();
    }

    Outcome End() {
        close(pipe_);
        return Wait(process_);
    }

    pid_t process_ = -1;

private:
    std::string bytes_;
    int pipe_ = -1;
};

TEST_F(Interrupt, EndsBySignalAndLeavesNothingBehind) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
        SCOPED_TRACE(strsignal(number));
        StartHalfway();
        kill(process_, number);
        const Outcome outcome = Wait(process_);
        EXPECT_EQ(outcome.signal, number);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(ReadFile(At("out.png")), "old");
        EXPECT_EQ(Files(), (std::vector<std::string>{"out.png", "pipe"}));
        std::filesystem::remove(At("pipe"));
    }
}

TEST_F(Interrupt, IgnoresASignalThatWasIgnoredAtItsStart) {
    RunOptions options;
    options.ignoredSignals = {SIGHUP};
    StartHalfway(options);
    kill(process_, SIGHUP);
    EXPECT_EQ(SendTheRest().exitCode, 0);
    EXPECT_EQ(LoadPng(At("out.png")).width, 150);
}

TEST_F(Interrupt, NamesItsTemporaryFileSoThatNobodyGuessesIt) {
    std::vector<std::string> seen;
    for (int i = 0; i < 3; ++i) {
        StartHalfway();
        for (const std::string& name : Files())
            if (name != "pipe" && name != "out.png") seen.push_back(name);
        EXPECT_EQ(SendTheRest().exitCode, 0);
        std::filesystem::remove(At("pipe"));
    }
    ASSERT_EQ(seen.size(), 3U);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
}

TEST_F(Interrupt, RemovesItsFileWhenTheInputEndsEarly) {
    StartHalfway();
    ExpectFailure(End(), 1, {"pipe: damaged PNG: the file ends too early"});
    EXPECT_EQ(ReadFile(At("out.png")), "old");
    EXPECT_EQ(Files(), (std::vector<std::string>{"out.png", "pipe"}));
}

// A terminal of the test's own.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) throw std::runtime_error("no terminal");
    }
    ~Terminal() { close(master_); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] std::string Name() const { return ptsname(master_); }

    // What has been written there by a program that has ended.
    [[nodiscard]] std::string Text() const {
        std::string text;
        char part[4096];
        for (ssize_t got = 0; (got = read(master_, part, sizeof part)) > 0;)
            text.append(part, static_cast<std::size_t>(got));
        return text;
    }

private:
    int master_;
};

TEST_F(Interrupt, ShowsProgressOnATerminalWhenTheWorkTakesLong) {
    for (const bool quiet : {false, true}) {
        const Terminal terminal;
        RunOptions options;
        options.errorsTo = terminal.Name();
        StartHalfway(options, quiet ? std::vector<std::string>{"--quiet"} : std::vector<std::string>{});
        std::this_thread::sleep_for(std::chrono::milliseconds(1300));
        EXPECT_EQ(SendTheRest().exitCode, 0);
        const std::string text = terminal.Text();
        if (quiet) {
            EXPECT_EQ(text, "");
        } else {
            EXPECT_NE(text.find("reading "), std::string::npos) << text;
            EXPECT_NE(text.find('%'), std::string::npos) << text;
            EXPECT_TRUE(text.ends_with("\r\033[K")) << "the line has not been taken away: " << text;
        }
        std::filesystem::remove(At("pipe"));
    }
}

TEST_F(Interrupt, ShowsNoProgressOfQuickWork) {
    const Terminal terminal;
    RunOptions options;
    options.errorsTo = terminal.Name();
    // Under a sanitizer and on a busy machine even this takes a while, but not a second.
    EXPECT_EQ(Run({"info", Photo("coffee.png")}, options).exitCode, 0);
    EXPECT_EQ(terminal.Text(), "");
}

// While the engine works, with its threads.
TEST_F(Interrupt, EndsInTheMiddleOfAnEffect) {
    SavePng(At("in.png"), PlainPng(MakePixels(1000, 1000, 3, 3)));
    WriteFile(At("out.png"), "old");
    const pid_t process = Start({"in.png", "out.png", "scale", "9000x9000", "filter=lanczos8"});
    for (int i = 0; i < 1000 && Files().size() < 3; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(process, SIGINT);
    const Outcome outcome = Wait(process);
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_EQ(ReadFile(At("out.png")), "old");
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png", "out.png"}));
}

}  // namespace
