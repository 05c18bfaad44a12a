// Many files in one run.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

class Each : public ZorTest {
protected:
    void SetUp() override {
        std::filesystem::create_directory(At("out"));
        for (int i = 0; i < 3; ++i) {
            const std::string name(1, static_cast<char>('a' + i));
            SavePng(At(name + ".png"), PlainPng(MakePixels(40 + i, 30, 3, static_cast<unsigned>(i))));
        }
    }

    [[nodiscard]] std::vector<std::string> Results() const { return Names("out"); }
    [[nodiscard]] std::vector<std::string> Names(const std::string& directory) const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(At(directory)))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    // A file as it comes out when it is the only one.
    std::string Alone(const std::string& input, const std::string& suffix, const std::vector<std::string>& effects) {
        std::vector<std::string> words = {input, "alone" + suffix};
        words.insert(words.end(), effects.begin(), effects.end());
        RunWell(words);
        const std::string bytes = ReadFile(At("alone" + suffix));
        std::filesystem::remove(At("alone" + suffix));
        return bytes;
    }

    static void Await(const std::function<bool()>& there) {
        for (int i = 0; i < 1000 && !there(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }

    // Starts a run on two pipes, each of which has half of a picture, so that both results are under way.
    void StartHalfway() {
        const std::string bytes = ReadFile(At("a.png"));
        for (const char* name : {"p1", "p2"}) ASSERT_EQ(mkfifo(At(name).c_str(), 0600), 0);
        process_ = Start({"--each", "out/{name}.png", "--jobs", "2", "p1", "p2"});
        for (int i = 0; i < 2; ++i) {
            pipes_[i] = open(At(i == 0 ? "p1" : "p2").c_str(), O_WRONLY);
            ASSERT_GE(pipes_[i], 0);
            ASSERT_GT(write(pipes_[i], bytes.data(), bytes.size() / 2), 0);
        }
        Await([&] { return Children().size() == 2; });
        ASSERT_EQ(Children().size(), 2U);
        for (const pid_t child : Children()) AwaitOutput(child);
    }
    void ClosePipes() {
        for (int& pipe : pipes_) close(pipe);
    }
    [[nodiscard]] std::vector<pid_t> Children() const {
        std::ifstream list("/proc/" + std::to_string(process_) + "/task/" + std::to_string(process_) + "/children");
        std::vector<pid_t> children;
        for (pid_t child = 0; list >> child;) children.push_back(child);
        return children;
    }

    pid_t process_ = -1;
    int pipes_[2] = {-1, -1};
};

TEST_F(Each, MakesOfEveryFileWhatOneRunMakesOfIt) {
    for (const char* jobs : {"1", "2", "16"}) {
        EXPECT_EQ(RunWell({"--each", "out/{stem}.jpg", "--jobs", jobs, "--quality", "70", "a.png", "b.png", "c.png",
                           "--", "scale", "50%", "flip", "h"})
                      .err,
                  "");
        EXPECT_EQ(Results(), (std::vector<std::string>{"a.jpg", "b.jpg", "c.jpg"}));
        for (const char* stem : {"a", "b", "c"})
            EXPECT_EQ(ReadFile(At("out/" + std::string(stem) + ".jpg")),
                      Alone(std::string(stem) + ".png", ".jpg", {"--quality", "70", "scale", "50%", "flip", "h"}));
        std::filesystem::remove_all(At("out"));
        std::filesystem::create_directory(At("out"));
    }
}

TEST_F(Each, FillsInWhatThePatternNames) {
    struct Case {
        std::string pattern;
        std::string result;  // of sub/one.two.png, the second of three
    };
    std::filesystem::create_directory(At("sub"));
    std::filesystem::copy(At("b.png"), At("sub/one.two.png"));
    for (const Case& c : std::vector<Case>{{"out/{stem}.png", "out/one.two.png"},
                                           {"out/{name}.png", "out/one.two.png.png"},
                                           {"out/{n}.{ext}", "out/2.png"},
                                           {"{dir}/{stem}-{n}.jpg", "sub/one.two-2.jpg"},
                                           {"out/{{{stem}}}.png", "out/{one.two}.png"}}) {
        RunWell({"--each", c.pattern, "a.png", "sub/one.two.png", "c.png"});
        EXPECT_TRUE(std::filesystem::exists(At(c.result))) << c.pattern;
    }
    EXPECT_TRUE(std::filesystem::exists(At("a-1.jpg")));
    std::vector<std::string> words = {"--each", "out/{n}.jpg"};
    for (int i = 0; i < 12; ++i) words.emplace_back("a.png");
    RunWell(words);
    EXPECT_TRUE(std::filesystem::exists(At("out/01.jpg")));
    EXPECT_TRUE(std::filesystem::exists(At("out/12.jpg")));
}

TEST_F(Each, TakesNamesWithSpacesAndLettersOfEveryKind) {
    const std::string name = "Grüße aus 東京 (1)";
    std::filesystem::copy(At("a.png"), At(name + ".png"));
    RunWell({"--each", "out/{stem} neu.png", name + ".png", "--", "invert"});
    EXPECT_EQ(ReadFile(At("out/" + name + " neu.png")), Alone("a.png", ".png", {"invert"}));
}

TEST_F(Each, MayReplaceEveryFileByItsResult) {
    const std::string expected = Alone("b.png", ".png", {"invert"});
    RunWell({"--each", "{dir}/{name}", "a.png", "b.png", "--", "invert"});
    EXPECT_EQ(ReadFile(At("b.png")), expected);
}

TEST_F(Each, GoesOnAfterAFileThatFails) {
    WriteFile(At("bad.png"), "no picture");
    const Outcome outcome =
        Run({"--each", "out/{name}", "--jobs", "1", "a.png", "none.png", "b.png", "bad.png", "c.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(Results(), (std::vector<std::string>{"a.png", "b.png", "c.png"}));
    EXPECT_NE(outcome.err.find("zor: none.png: No such file or directory\n"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("zor: bad.png: not a picture of a known format"), std::string::npos) << outcome.err;
    EXPECT_TRUE(outcome.err.ends_with("\nzor: 2 of 5 files failed: none.png, bad.png\n")) << outcome.err;
}

TEST_F(Each, RefusesBeforeAnyWorkWhatCannotCome) {
    std::filesystem::create_directory(At("sub"));
    std::filesystem::copy(At("a.png"), At("sub/a.png"));
    struct Case {
        std::vector<std::string> words;
        std::vector<std::string> told;
        int exitCode = 2;
    };
    for (const Case& c : std::vector<Case>{
             {{"--each", "out/{stem}.png", "b.png", "a.png", "sub/a.png"},
              {"the results of a.png and sub/a.png would both be out/a.png"}},
             {{"--each", "out/x.png", "a.png", "b.png"}, {"would both be out/x.png"}},
             {{"--each", "out/{stem}.png", "a.png", "./a.png"}, {"would both be out/a.png"}},
             {{"--each", "sub/../{stem}.png", "sub/a.png", "b.png", "a.png"}, {"would"}},
             {{"--each", "{stem}.png", "sub/a.png", "b.png", "./a.png"}, {"a.png"}},
             {{"--each", "out/{name}{oops}.png", "a.png"}, {"'{oops}' stands for nothing", "{stem}"}},
             {{"--each", "out/{stem.png", "a.png"}, {"a brace by itself"}},
             {{"--each", "out/stem}.png", "a.png"}, {"a brace by itself"}},
             {{"--each", "", "a.png"}, {"--each", "the pattern is empty"}},
             {{"--each", "out/{stem}.png"}, {"--each: FILE is missing", "zor [OPTION...] --each PATTERN"}},
             {{"--each", "out/{stem}.png", "--", "invert"}, {"--each: FILE is missing"}},
             {{"--each", "out/{stem}.png", "-", "a.png"}, {"--each: '-' is no file"}},
             {{"--each", "out/{stem}.gif", "a.png"}, {"out/a.gif", "the suffix names no format"}},
             {{"--each", "out/{stem}.png", "a.png", "--", "sclae"}, {"'sclae'", "did you mean 'scale'?"}},
             {{"--each", "out/{stem}.png", "a.png", "--jobs", "0"}, {"--jobs", "'0'", "from 1 to 256"}},
             {{"--each", "out/{stem}.png", "a.png", "--jobs", "many"}, {"--jobs", "'many'"}},
             {{"--jobs", "2", "a.png", "out/a.png"}, {"--jobs goes with --each"}},
             {{"--each", "none/{stem}.png", "a.png"}, {"none: No such file or directory"}, 1},
             {{"--each", "a.png/{stem}.png", "b.png"}, {"a.png: Not a directory"}, 1}}) {
        SCOPED_TRACE(c.words[1] + " " + c.words.back());
        ExpectFailure(Run(c.words), c.exitCode, c.told);
    }
    EXPECT_EQ(Results(), std::vector<std::string>());
    EXPECT_EQ(Names("sub"), std::vector<std::string>{"a.png"});
}

TEST_F(Each, EndsEverythingByTheSignalThatEndsIt) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        StartHalfway();
        kill(process_, number);
        const Outcome outcome = Wait(process_);
        EXPECT_EQ(outcome.signal, number);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(Results(), std::vector<std::string>());
        ClosePipes();
        for (const char* name : {"p1", "p2"}) std::filesystem::remove(At(name));
    }
}

// As a terminal sends it: to all processes at once.
TEST_F(Each, EndsWhenAllProcessesGetTheSignal) {
    StartHalfway();
    for (const pid_t child : Children()) kill(child, SIGINT);
    kill(process_, SIGINT);
    EXPECT_EQ(Wait(process_).signal, SIGINT);
    EXPECT_EQ(Results(), std::vector<std::string>());
    ClosePipes();
}

TEST_F(Each, LeavesNothingWhenItIsKilled) {
    StartHalfway();
    kill(process_, SIGKILL);
    EXPECT_EQ(Wait(process_).signal, SIGKILL);
    Await([&] { return Results().empty(); });
    EXPECT_EQ(Results(), std::vector<std::string>());
    ClosePipes();
}

TEST_F(Each, TellsOfAProcessThatTheSystemEnds) {
    StartHalfway();
    const std::vector<pid_t> children = Children();
    ASSERT_EQ(children.size(), 2U);
    kill(children[0], SIGKILL);
    const std::string bytes = ReadFile(At("a.png"));
    const std::size_t half = bytes.size() / 2;
    // Which of the pipes has lost its reader shows when it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    for (const int pipe : pipes_) (void)!write(pipe, bytes.data() + half, bytes.size() - half);
    ClosePipes();
    const Outcome outcome = Wait(process_);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.err.find(": ended by the system: Killed\n"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("zor: 1 of 2 files failed: p"), std::string::npos) << outcome.err;
}

// Ten files through one process, of which one is ended in its middle.
TEST_F(Each, GoesOnInAnotherProcessAfterOneThatTheSystemEnds) {
    std::vector<std::string> words = {"--each", "out/{n}.png", "--jobs", "1"};
    ASSERT_EQ(mkfifo(At("p1").c_str(), 0600), 0);
    for (int i = 0; i < 10; ++i) words.emplace_back(i == 4 ? "p1" : "a.png");
    process_ = Start(words);
    pipes_[0] = open(At("p1").c_str(), O_WRONLY);
    Await([&] { return Results().size() >= 4 && Children().size() == 1; });
    const std::vector<pid_t> children = Children();
    ASSERT_EQ(children.size(), 1U);
    kill(children[0], SIGKILL);
    const Outcome outcome = Wait(process_);
    close(pipes_[0]);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.err.find("zor: p1: ended by the system: Killed\n"), std::string::npos) << outcome.err;
    EXPECT_TRUE(outcome.err.ends_with("zor: 1 of 10 files failed: p1\n")) << outcome.err;
    for (int i = 1; i <= 10; ++i) {
        const std::string name = (i < 10 ? "out/0" : "out/") + std::to_string(i) + ".png";
        EXPECT_EQ(std::filesystem::exists(At(name)), i != 5) << name;
    }
}

TEST_F(Each, TakesOneProcessForManyFiles) {
    std::vector<std::string> words = {"--each", "out/{n}.png", "--jobs", "1"};
    for (const char* name : {"p1", "p2"}) {
        ASSERT_EQ(mkfifo(At(name).c_str(), 0600), 0);
        words.emplace_back(name);
    }
    process_ = Start(words);
    const std::string bytes = ReadFile(At("a.png"));
    std::vector<pid_t> seen;
    for (const char* name : {"p1", "p2"}) {
        const int pipe = open(At(name).c_str(), O_WRONLY);
        ASSERT_GE(pipe, 0);
        const std::vector<pid_t> children = Children();
        ASSERT_EQ(children.size(), 1U);
        seen.push_back(children[0]);
        EXPECT_EQ(write(pipe, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(pipe);
    }
    EXPECT_EQ(Wait(process_).exitCode, 0);
    EXPECT_EQ(seen[0], seen[1]);
}

// What went wrong with one file, and what was to be said of it, is not told of another.
TEST_F(Each, TellsOfEveryFileWhatIsTrueOfIt) {
    std::vector<std::string> words = {"--each", "out/{n}.png", "--jobs", "2"};
    std::string bad;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "f" + std::to_string(i) + ".png";
        if (i % 3 == 0) {
            WriteFile(At(name), ReadFile(At("a.png")).substr(0, 1000));
            bad += (bad.empty() ? "" : ", ") + name;
        } else {
            PngFile file = PlainPng(MakePixels(20, 20, 3, 1));
            if (i % 3 == 1) {
                file.bitDepth = 16;
                for (std::uint16_t& sample : file.samples) sample = static_cast<std::uint16_t>(sample * 257);
            }
            SavePng(At(name), file);
        }
        words.push_back(name);
    }
    for (const char* word : {"--", "blur", "1"}) words.emplace_back(word);
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 1);
    for (int i = 0; i < 40; ++i) {
        const std::string name = "zor: f" + std::to_string(i) + ".png: ";
        std::size_t count = 0;
        for (std::size_t at = outcome.err.find(name); at != std::string::npos; at = outcome.err.find(name, at + 1))
            ++count;
        EXPECT_EQ(count, i % 3 == 2 ? 0U : 1U) << name;
    }
    EXPECT_TRUE(outcome.err.ends_with("zor: 14 of 40 files failed: " + bad + "\n")) << outcome.err;
    EXPECT_EQ(Results().size(), 26U);
}

// A large picture's memory is not kept while small ones are worked on.
TEST_F(Each, GivesMemoryBackBetweenFiles) {
    WriteFile(At("large.ppm"), "P6\n6000 5000\n255\n" + std::string(6000 * 5000 * 3, 'x'));
    ASSERT_EQ(mkfifo(At("p1").c_str(), 0600), 0);
    process_ = Start({"--each", "out/{n}.ppm", "--jobs", "1", "large.ppm", "p1", "--", "rotate", "90"});
    const int pipe = open(At("p1").c_str(), O_WRONLY);  // waits for the process to come there
    ASSERT_GE(pipe, 0);
    const std::vector<pid_t> children = Children();
    ASSERT_EQ(children.size(), 1U);
    const auto value = [&](const char* key) {
        std::ifstream status("/proc/" + std::to_string(children[0]) + "/status");
        std::string line;
        while (std::getline(status, line))
            if (line.rfind(key, 0) == 0) return std::stol(line.substr(std::string(key).size()));
        return -1L;
    };
    EXPECT_GT(value("VmHWM:"), 80000);  // kilobytes: the picture was there
    if (!kSanitized) {  // which keep what was given back for a while
        EXPECT_LT(value("VmRSS:"), 60000);
    }
    const std::string bytes = ReadFile(At("a.png"));
    EXPECT_EQ(write(pipe, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(pipe);
    EXPECT_EQ(Wait(process_).exitCode, 0);
}

}  // namespace
