// Pictures from and to pipes, and the program's own standard streams.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class Pipes : public ZorTest {
protected:
    // What the program leaves unread is lost, as behind any pipe.
    Pipes() { std::signal(SIGPIPE, SIG_IGN); }

    // Runs the program with these bytes coming in through a pipe as its standard input.
    Outcome RunOn(const std::string& bytes, const std::vector<std::string>& words) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        RunOptions options;
        options.inputDescriptor = ends[0];
        const pid_t process = Start(words, options);
        close(ends[0]);
        std::thread writer([&bytes, end = ends[1]] {
            std::size_t done = 0;
            while (done < bytes.size()) {
                const ssize_t count = write(end, bytes.data() + done, bytes.size() - done);
                if (count <= 0) break;
                done += static_cast<std::size_t>(count);
            }
            close(end);
        });
        const Outcome outcome = Wait(process);
        writer.join();
        return outcome;
    }

    // A terminal that nobody sits at; its path.
    std::string OpenTerminal() {
        terminal_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (terminal_ < 0 || grantpt(terminal_) != 0 || unlockpt(terminal_) != 0)
            throw std::runtime_error("no terminal");
        return ptsname(terminal_);
    }

    ~Pipes() override {
        if (terminal_ >= 0) close(terminal_);
    }

private:
    int terminal_ = -1;
};

std::string BigEndian(std::size_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

// A PNG file with bytes behind its pixels, of which a reader tells when it has read them all.
std::string WithMoreInTheLastChunk(std::string png) {
    constexpr std::size_t kEndBytes = 12;
    const std::size_t type = png.rfind("IDAT");
    const std::string chunk = png.substr(type, png.size() - kEndBytes - 4 - type) + "more";
    const std::string end = png.substr(png.size() - kEndBytes);
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(chunk.size()));
    return png.substr(0, type - 4) + BigEndian(chunk.size() - 4) + chunk + BigEndian(sum) + end;
}

TEST_F(Pipes, GiveTheSameAsFiles) {
    for (const char* name : {"rocket.jpg", "coffee.png"}) {
        SCOPED_TRACE(name);
        const Outcome outcome = RunOn(ReadFile(Photo(name)), {"-", "piped.png"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        RunWell({Photo(name), "file.png"});
        EXPECT_EQ(ReadFile(At("piped.png")), ReadFile(At("file.png")));
    }
}

TEST_F(Pipes, StartWhereStandardInputStands) {
    const std::string picture = ReadFile(Photo("rocket.jpg"));
    WriteFile(At("two"), "a line\n" + picture);
    RunOptions options;
    options.inputDescriptor = open(At("two").c_str(), O_RDONLY | O_CLOEXEC);
    lseek(options.inputDescriptor, 7, SEEK_SET);
    const Outcome outcome = Run({"-", "out.png"}, options);
    close(options.inputDescriptor);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), LoadJpeg(Photo("rocket.jpg")).pixels);
}

TEST_F(Pipes, AreNamedInMessages) {
    const std::string picture = ReadFile(Photo("rocket.jpg"));
    ExpectFailure(RunOn("", {"-", "out.png"}), 1, {"standard input: the file is empty"});
    ExpectFailure(RunOn("no picture", {"-", "out.png"}), 1, {"standard input: not a picture"});
    ExpectFailure(RunOn(picture.substr(0, picture.size() / 2), {"-", "out.png"}), 1,
                  {"standard input: damaged JPEG: "});
    EXPECT_TRUE(Files().empty());
}

TEST_F(Pipes, GiveTheirBytesOnce) {
    ExpectFailure(RunOn(ReadFile(Photo("rocket.jpg")), {"compare", "-", "-"}), 2,
                  {"standard input: can be read only once"});
    EXPECT_EQ(RunOn(ReadFile(Photo("rocket.jpg")), {"compare", "-", Photo("rocket.jpg")}).exitCode, 0);
}

TEST_F(Pipes, AreReadByEffectsToo) {
    const std::string file = ReadFile(Photo("coffee.png"));
    RunWell({Photo("rocket.jpg"), "expected.png", "combine", Photo("coffee.png"), "at=20,10"});
    EXPECT_EQ(RunOn(file, {Photo("rocket.jpg"), "out.png", "combine", "-", "at=20,10"}).exitCode, 0);
    EXPECT_EQ(ReadFile(At("out.png")), ReadFile(At("expected.png")));
    RunWell({Photo("rocket.jpg"), "expected.png", "paste", Photo("coffee.png"), "at=20,10"});
    EXPECT_EQ(RunOn(file, {Photo("rocket.jpg"), "out.png", "paste", "-", "at=20,10"}).exitCode, 0);
    EXPECT_EQ(ReadFile(At("out.png")), ReadFile(At("expected.png")));
    std::filesystem::remove(At("out.png"));
    ExpectFailure(RunOn(file, {"-", "out.png", "combine", "-"}), 1, {"standard input: can be read only once"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"expected.png"}));
}

TEST_F(Pipes, ThatAreClosedFailAsSuch) {
    RunOptions options;
    options.closedStreams = {STDOUT_FILENO};
    ExpectFailure(Run({Photo("rocket.jpg"), "-", "--format", "png"}, options), 1,
                  {"standard output: Bad file descriptor"});
    ExpectFailure(Run({"info", Photo("rocket.jpg")}, options), 1, {"standard output: Bad file descriptor"});
    options.closedStreams = {STDIN_FILENO};
    ExpectFailure(Run({"-", "out.png"}, options), 1, {"standard input: Bad file descriptor"});
    EXPECT_TRUE(Files().empty());
}

TEST_F(Pipes, ThatAreClosedLeaveNoMessageInTheResult) {
    WriteFile(At("in.png"), WithMoreInTheLastChunk(ReadFile(Photo("coffee.png"))));
    EXPECT_NE(RunWell({"in.png", "expected.ppm"}).err.find("in.png: IDAT: Extra compressed data"), std::string::npos);
    for (const std::vector<int>& closed : {std::vector<int>{STDERR_FILENO},
                                           {STDOUT_FILENO, STDERR_FILENO},
                                           {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}}) {
        RunOptions options;
        options.closedStreams = closed;
        EXPECT_EQ(Run({"in.png", "out.ppm"}, options).exitCode, 0);
        EXPECT_EQ(ReadFile(At("out.ppm")), ReadFile(At("expected.ppm")));
    }
}

TEST_F(Pipes, AreNoTerminals) {
    const std::string terminal = OpenTerminal();
    RunOptions options;
    options.inputDescriptor = open(terminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ExpectFailure(Run({"-", "out.png"}, options), 1, {"standard input: is a terminal"});
    std::filesystem::create_symlink(terminal, At("terminal.png"));
    ExpectFailure(Run({Photo("rocket.jpg"), "terminal.png"}, options), 1, {"terminal.png: is a terminal"});
    close(options.inputDescriptor);
}

TEST_F(Pipes, TakeWhatIsWrittenToTheirNames) {
    ASSERT_EQ(mkfifo(At("pipe.png").c_str(), 0600), 0);
    const pid_t process = Start({Photo("rocket.jpg"), "pipe.png"});
    WriteFile(At("out.png"), ReadFile(At("pipe.png")));
    const Outcome outcome = Wait(process);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), LoadJpeg(Photo("rocket.jpg")).pixels);
}

TEST_F(Pipes, ThatCloseEarlyAreAnError) {
    ASSERT_EQ(mkfifo(At("pipe.png").c_str(), 0600), 0);
    const pid_t process = Start({Photo("coffee.png"), "pipe.png"});
    const int reader = open(At("pipe.png").c_str(), O_RDONLY | O_CLOEXEC);
    char first = 0;
    EXPECT_EQ(read(reader, &first, 1), 1);
    close(reader);
    ExpectFailure(Wait(process), 1, {"pipe.png: Broken pipe"});
}

TEST_F(Pipes, LeadToStandardOutput) {
    std::filesystem::create_symlink("/dev/stdout", At("out.png"));
    const Outcome outcome = RunWell({Photo("rocket.jpg"), "out.png"});
    WriteFile(At("kept.png"), outcome.out);
    EXPECT_EQ(PixelsOf(LoadPng(At("kept.png"))), LoadJpeg(Photo("rocket.jpg")).pixels);
}

TEST_F(Pipes, WithoutAPathAreWrittenToByTheirDescriptors) {
    std::filesystem::create_symlink("/dev/stdout", At("out.png"));
    const std::string command = "'" ZOR_PROGRAM "' '" + Photo("rocket.jpg") + "' '" + At("out.png") + "' 2>'" +
                                At("err") + "' | cat >'" + At("kept.png") + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadFile(At("err")), "");
    EXPECT_EQ(PixelsOf(LoadPng(At("kept.png"))), LoadJpeg(Photo("rocket.jpg")).pixels);
}

}  // namespace
