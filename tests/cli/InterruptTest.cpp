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

#include "Terminal.h"
#include "TestPictures.h"
#include "ZorTest.h"

namespace {

// Of a run on a file system where the temporary file has a name.
const RunOptions kNamedFiles = [] {
    RunOptions options;
    options.unnamedFiles = false;
    return options;
}();

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
        AwaitOutput(process_);
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

// Also on file systems where files always have a name.
TEST_F(Interrupt, EndsBySignalAndLeavesNothingBehind) {
    for (const bool unnamedFiles : {true, false})
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
            SCOPED_TRACE(strsignal(number));
            StartHalfway(unnamedFiles ? RunOptions{} : kNamedFiles);
            EXPECT_EQ(Files().size(), unnamedFiles ? 2U : 3U);
            kill(process_, number);
            const Outcome outcome = Wait(process_);
            EXPECT_EQ(outcome.signal, number);
            EXPECT_EQ(outcome.err, "");
            EXPECT_EQ(ReadFile(At("out.png")), "old");
            EXPECT_EQ(Files(), (std::vector<std::string>{"out.png", "pipe"}));
            std::filesystem::remove(At("pipe"));
        }
}

TEST_F(Interrupt, LeavesNothingBehindWhereItIsKilled) {
    StartHalfway();
    kill(process_, SIGKILL);
    EXPECT_EQ(Wait(process_).signal, SIGKILL);
    EXPECT_EQ(ReadFile(At("out.png")), "old");
    EXPECT_EQ(Files(), (std::vector<std::string>{"out.png", "pipe"}));
}

TEST_F(Interrupt, WritesTheSameWhereFilesHaveAName) {
    for (const bool replaces : {true, false})
        for (const bool unnamedFiles : {true, false}) {
            StartHalfway(unnamedFiles ? RunOptions{} : kNamedFiles);
            ASSERT_EQ(chmod(At("out.png").c_str(), 0640), 0);
            if (!replaces) std::filesystem::remove(At("out.png"));
            EXPECT_EQ(SendTheRest().exitCode, 0);
            EXPECT_EQ(LoadPng(At("out.png")).width, 150);
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
        StartHalfway(kNamedFiles);
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

TEST_F(Interrupt, KeepsItsProgressWithinOneLineOfTheTerminal) {
    for (const int columns : {12, 80}) {
        const Terminal terminal(columns);
        RunOptions options;
        options.errorsTo = terminal.Name();
        StartHalfway(options);
        std::this_thread::sleep_for(std::chrono::milliseconds(1300));
        EXPECT_EQ(SendTheRest().exitCode, 0);
        const std::vector<std::string> lines = terminal.Lines();
        ASSERT_FALSE(lines.empty());
        for (const std::string& line : lines) EXPECT_LT(line.size(), static_cast<std::size_t>(columns)) << line;
        EXPECT_EQ(lines.front().substr(0, 8), "reading ");
        if (columns == 80) {
            EXPECT_NE(lines.front().find(" left"), std::string::npos) << lines.front();
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
    AwaitOutput(process);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(process, SIGINT);
    const Outcome outcome = Wait(process);
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_EQ(ReadFile(At("out.png")), "old");
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png", "out.png"}));
}

// One that gives turns between its rows, and one that gives none for as long as it works.
TEST_F(Interrupt, EndsAnEffectWhetherOrNotItLooksForSignals) {
    SavePng(At("in.png"), PlainPng(MakePixels(1500, 1500, 3, 3)));
    for (const std::vector<std::string>& effect : std::vector<std::vector<std::string>>{
             {"scale", "12000x12000", "filter=lanczos8", "threads=1"}, {"oil", "range=100", "levels=256"}})
        for (const int number : {SIGINT, SIGTERM}) {
            SCOPED_TRACE(effect[0]);
            std::vector<std::string> words = {"in.png", "out.png"};
            words.insert(words.end(), effect.begin(), effect.end());
            const pid_t process = Start(words);
            AwaitOutput(process);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            kill(process, number);
            const Outcome outcome = Wait(process);
            EXPECT_EQ(outcome.signal, number);
            EXPECT_EQ(outcome.err, "");
            EXPECT_EQ(Files(), std::vector<std::string>{"in.png"});
        }
}

TEST_F(Interrupt, DoesNotWaitAfterASecondSignal) {
    SavePng(At("in.png"), PlainPng(MakePixels(1500, 1500, 3, 3)));
    const pid_t process = Start({"in.png", "out.png", "oil", "range=100", "levels=256"});
    AwaitOutput(process);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    kill(process, SIGINT);
    kill(process, SIGTERM);
    const Outcome outcome = Wait(process);
    EXPECT_TRUE(outcome.signal == SIGTERM || outcome.signal == SIGINT) << outcome.signal;
    EXPECT_EQ(Files(), std::vector<std::string>{"in.png"});
}

}  // namespace
