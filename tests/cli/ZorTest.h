#pragma once
// Runs the program as a person does, in a directory that is made for each test and goes with it.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct Outcome {
    int exitCode = -1;  // -1: ended by a signal
    int signal = 0;
    std::string out;
    std::string err;
    std::int64_t peakBytes = 0;  // of memory that was resident
};

struct RunOptions {
    std::optional<std::uint64_t> fileSizeLimit;  // bytes that any file may grow to
    std::optional<std::uint64_t> addressLimit;   // bytes of addresses that the program may have
    std::string outputTo;                        // where stdout goes; empty: it is caught in Outcome::out
    int inputDescriptor = -1;                    // what stdin is; below 0: that of the tests
    std::string errorsTo;                        // the same for stderr, such as a terminal
    bool obeysPermissions = false;               // even where the tests run as root
    std::vector<int> closedStreams;              // when the program starts
    std::vector<int> ignoredSignals;             // when the program starts
    bool unnamedFiles = true;                    // false: as on file systems that have no files without a name
    std::optional<unsigned> user;                // that the program runs as, with a group of the same number
};

class ZorTest : public testing::Test {
protected:
    ZorTest();
    ~ZorTest() override;

    [[nodiscard]] std::string At(const std::string& name) const { return (directory_ / name).string(); }
    [[nodiscard]] static std::string Photo(const std::string& name);

    // Starts the program; Wait gives how it ended. The program runs in the directory of the test.
    pid_t Start(const std::vector<std::string>& words, const RunOptions& options = {});
    Outcome Wait(pid_t process);
    Outcome Run(const std::vector<std::string>& words, const RunOptions& options = {}) {
        return Wait(Start(words, options));
    }

    // The same, where nothing but success is expected.
    Outcome RunWell(const std::vector<std::string>& words);

    // Waits until a program that was started has opened a result in the directory of the test, which has its name only
    // when it is complete. Fails the test where it does not.
    void AwaitOutput(pid_t process) const;

    // Expects the exit code, one line on stderr that starts with "zor: " and holds all of `parts`, and nothing on
    // stdout.
    void ExpectFailure(const Outcome& outcome, int exitCode, const std::vector<std::string>& parts);

    // Names of all files in the directory of the test, sorted.
    [[nodiscard]] std::vector<std::string> Files() const;

private:
    std::filesystem::path directory_;
    std::filesystem::path catches_;  // where the streams of the program go
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);
