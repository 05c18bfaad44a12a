// Images that live in the scratch directory: every effect makes the same of them as of images in memory.

#include <dirent.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <set>
#include <sstream>
#include <thread>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

// Narrow and long: in files every row is a page at least, so that even few pixels make windows move.
constexpr int kWidth = 70;
constexpr int kHeight = 4700;

using Words = std::vector<std::string>;

class Scratch : public ZorTest {
protected:
    Scratch() { std::filesystem::create_directory(At("scratch")); }

    [[nodiscard]] Words Small() const { return {"--memory", "1M", "--scratch", At("scratch")}; }

    // A picture of a kind that `convert` makes.
    void MakePicture(const std::string& name, const std::string& format, unsigned seed) {
        SavePng(At("made.png"), PlainPng(MakePixels(kWidth, kHeight, format == "CMYK" ? 1 : 4, seed)));
        RunWell({"made.png", name, "convert", format});
        std::filesystem::remove(At("made.png"));
    }

    // The bytes of the result, which must be the same from memory and from the scratch directory.
    void ExpectSame(const std::string& input, const Words& effect) {
        SCOPED_TRACE(input + ": " + testing::PrintToString(effect));
        Words words = {input, "memory.pam"};
        words.insert(words.end(), effect.begin(), effect.end());
        const Outcome inMemory = Run(words);
        words[1] = "scratch.pam";
        const Words small = Small();
        words.insert(words.begin(), small.begin(), small.end());
        const Outcome inScratch = Run(words);
        EXPECT_EQ(inScratch.exitCode, inMemory.exitCode) << inScratch.err;
        if (inMemory.exitCode == 0) {
            ++compared_;
            EXPECT_TRUE(ReadFile(At("memory.pam")) == ReadFile(At("scratch.pam")));
        }
        EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
    }

    int compared_ = 0;
};

// One form or more of every effect.
std::vector<Words> EveryEffect() {
    return {
        {"scale", "30x2000"},
        {"scale", "100x6000", "filter=box", "threads=1"},
        {"scale", "20x90", "filter=lanczos8"},
        {"scalefast", "60x5000"},
        {"thumbnail", "900"},
        {"canvas", "90x5000", "at=7,100"},
        {"canvas", "60x4000", "at=-7,-300"},
        {"flip", "h"},
        {"flip", "v"},
        {"rotate", "90"},
        {"rotate", "180"},
        {"rotate", "270"},
        {"rotate", "90", "slow"},
        {"rotate", "1"},
        {"rotate", "271.5", "background=80"},
        {"matrix", "1,2,1,2,4,2,1,2,1", "factor=0.0625"},
        {"blur", "3", "iterations=2"},
        {"blur", "1500", "axis=v"},
        {"softblur", "0.5"},
        {"unsharp", "0.3", "radius=2", "threshold=1"},
        {"gamma", "1.8"},
        {"curve", "0:10,128:200,255:240"},
        {"gain", "0.7"},
        {"solarize"},
        {"autolevel"},
        {"autolevel", "area=10,3000,50x1600"},
        {"dither", "cluster8", "3"},
        {"oil", "range=2"},
        {"diffuse", "level=3"},
        {"diffuse", "level=1000"},
        {"engrave", "level=2"},
        {"neon"},
        {"stamp", "radius=3"},
        {"fill", "77"},
        {"fill", "200", "area=5,4000,50x600"},
        {"clear", "area=5,4000,50x600"},
        {"invert"},
        {"invert", "area=5,4000,50x600"},
        {"tint", "90", "area=5,4000,50x600"},
        {"random", "seed=3"},
        {"random", "area=5,4000,50x600"},
        {"crop", "5,2500,60x2000"},
        {"crop", "5,4600,60x3"},
        {"channel", "alpha"},
        {"channel", "black"},
        {"convert", "G"},
        {"convert", "RGBA"},
        {"flatten", "40"},
        {"combine", "other", "at=10,300"},
        {"combine", "other", "mask=mask.pam", "at=-9,-200"},
        {"combine", "gray.pam", "colour=100"},
        {"paste", "other", "at=10,300"},
        {"paste", "other", "channel=alpha", "at=-9,-200"},
        {"paste", "other", "channel=black", "at=9,200"},
    };
}

TEST_F(Scratch, HoldsThePicturesOfEveryEffect) {
    std::set<std::string> tested;
    for (const Words& effect : EveryEffect()) tested.insert(effect[0]);
    // Effects stand in four columns of blanks under their headings.
    std::istringstream help(RunWell({"help"}).out);
    int listed = 0;
    bool effects = false;
    for (std::string line; std::getline(help, line);) {
        if (line.starts_with("Effects")) effects = true;
        if (!effects || !line.starts_with("    ") || line.size() < 5 || line[4] == ' ') continue;
        const std::string name = line.substr(4, line.find(' ', 4) - 4);
        ++listed;
        EXPECT_TRUE(tested.contains(name)) << name << " is tested nowhere in a scratch directory";
    }
    EXPECT_GE(listed, 30);
}

class ScratchOfKind : public Scratch, public testing::WithParamInterface<const char*> {};

TEST_P(ScratchOfKind, GivesTheSameBytesAsMemory) {
    const std::string kind = GetParam();
    MakePicture("in.pam", kind, 1);
    MakePicture("other.pam", kind, 2);
    MakePicture("mask.pam", "G", 3);
    MakePicture("gray.pam", "G", 4);
    for (Words effect : EveryEffect()) {
        for (std::string& word : effect)
            if (word == "other") word = "other.pam";
        ExpectSame("in.pam", effect);
    }
    // What a kind does not have is refused in both, and little is refused.
    EXPECT_GE(compared_, 38);
}

// What has a way of its own for right results has the plug-in's as well.
TEST_P(ScratchOfKind, GivesTheSameBytesAsMemoryByTheMethodsOfThePlugin) {
    const std::string kind = GetParam();
    MakePicture("in.pam", kind, 1);
    MakePicture("other.pam", kind, 2);
    MakePicture("mask.pam", "G", 3);
    const std::vector<Words> effects = {{"scale", "30x2000"},
                                        {"rotate", "1"},
                                        {"rotate", "271.5", "background=80"},
                                        {"dither", "ordered4x4", "3"},
                                        {"convert", "G"},
                                        {"flatten", "40"},
                                        {"combine", "other.pam", "at=10,300"},
                                        {"combine", "other.pam", "mask=mask.pam", "at=-9,-200"},
                                        {"paste", "other.pam", "at=10,300"}};
    for (Words effect : effects) {
        effect.insert(effect.begin(), "--plugin-bytes");
        ExpectSame("in.pam", effect);
    }
    EXPECT_EQ(compared_, static_cast<int>(effects.size()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, ScratchOfKind, testing::Values("G", "GA", "RGB", "RGBA", "CMYK"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST_F(Scratch, HoldsWhatEveryCodecReadsAndWrites) {
    MakePicture("in.png", "RGB", 1);
    RunWell({"in.png", "reference.ppm"});
    PngFile interlaced = LoadPng(At("in.png"));
    interlaced.interlaced = true;
    SavePng(At("interlaced.png"), interlaced);
    for (const char* input : {"in.png", "interlaced.png", "reference.ppm"}) {
        for (const char* output : {"out.png", "out.ppm", "out.pam", "out.tif", "out.jpg"}) {
            SCOPED_TRACE(std::string(input) + " " + output);
            Words words = Small();
            words.insert(words.end(), {input, output});
            RunWell(words);
            RunWell({input, std::string("memory.") + output});
            EXPECT_TRUE(ReadFile(At(output)) == ReadFile(At(std::string("memory.") + output)));
        }
    }
}

TEST_F(Scratch, ComparesPicturesThere) {
    MakePicture("a.png", "RGBA", 1);
    RunWell({"a.png", "b.png", "fill", "3", "area=60,4690,2x2", "alpha=9"});
    const Words pair = {"compare", "a.png", "b.png"};
    Words words = Small();
    words.insert(words.end(), pair.begin(), pair.end());
    const Outcome inScratch = Run(words);
    EXPECT_EQ(inScratch.exitCode, 1) << inScratch.err;
    EXPECT_EQ(inScratch.out, Run(pair).out);
    EXPECT_NE(inScratch.out.find("4 of 329000"), std::string::npos) << inScratch.out;
}

TEST_F(Scratch, IsTouchedByLargeImagesOnly) {
    MakePicture("in.png", "RGB", 1);
    RunOptions options;
    options.fileSizeLimit = 4 << 20;
    RunWell({"in.png", "out.png", "flip", "v"});
    EXPECT_EQ(Run({"--memory", "100M", "--scratch", "scratch", "in.png", "out.png", "flip", "v"}, options).exitCode, 0);
    ExpectFailure(Run({"--memory", "1M", "--scratch", "scratch", "in.png", "out.png", "flip", "v"}, options), 1,
                  {"scratch directory scratch: no room for an image of 70 x 4700 pixels of 3 bytes", "19 MiB",
                   "File too large", "--scratch"});
}

// Of the images that the engine makes by itself as well.
TEST_F(Scratch, TellsWhenTheDiskIsFullInTheMiddleOfAnEffect) {
    MakePicture("in.png", "RGB", 1);
    RunOptions options;
    options.fileSizeLimit = (kHeight + 1) * 4096 + 100;  // holds the picture, and not one row more
    const std::vector<std::pair<Words, std::string>> cases = {{{"rotate", "1"}, "111 x 4701 pixels of 3 bytes"},
                                                              {{"scale", "70x4701"}, "70 x 4701 pixels of 3 bytes"},
                                                              {{"canvas", "70x4702"}, "70 x 4702 pixels of 3 bytes"}};
    for (const auto& [effect, told] : cases) {
        SCOPED_TRACE(effect[0]);
        // The plug-in's way, which holds whole pictures.
        Words words = {"--plugin-bytes", "--memory", "1M", "--scratch", "scratch", "in.png", "out.png"};
        words.insert(words.end(), effect.begin(), effect.end());
        ExpectFailure(Run(words, options), 1, {"scratch directory scratch: no room", told, "File too large"});
        EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
        EXPECT_FALSE(std::filesystem::exists(At("out.png")));
    }
}

// A disk of 8 MiB.
TEST_F(Scratch, TellsOfASmallDiskBeforeTheWorkStarts) {
    if (mount("none", At("scratch").c_str(), "tmpfs", 0, "size=8m") != 0)
        GTEST_SKIP() << "no disk can be mounted: " << std::strerror(errno);
    MakePicture("in.png", "RGB", 1);
    WriteFile(At("in.png"), ReadFile(At("in.png")).substr(0, 200));  // cannot be read
    const Outcome picture = Run({"--memory", "1M", "--scratch", "scratch", "in.png", "out.png", "flip", "v"});
    // The plug-in's way, which holds whole pictures.
    const Outcome effect =
        Run({"--plugin-bytes", "--memory", "24M", "--scratch", "scratch", "in.png", "out.png", "scale", "2000x2000"});
    EXPECT_EQ(umount(At("scratch").c_str()), 0);
    ExpectFailure(picture, 1, {"in.png: too large: 70 x 4700 pixels of 3 bytes", "19 MiB", "8 MiB are free"});
    ExpectFailure(effect, 1, {"scale: ", "2000 x 4700 pixels of 4 bytes", "8 MiB are free"});
}

TEST_F(Scratch, TellsOfADirectoryThatIsNoneBeforeTheWorkStarts) {
    WriteFile(At("in.png"), "never looked at");
    WriteFile(At("file"), "");
    ExpectFailure(Run({"--scratch", "nowhere", "in.png", "out.png"}), 1,
                  {"scratch directory nowhere: No such file or directory"});
    ExpectFailure(Run({"--scratch", "file", "in.png", "out.png"}), 1, {"scratch directory file: Not a directory"});
    ExpectFailure(Run({"--scratch", "", "in.png", "out.png"}), 2, {"--scratch", "empty"});
}

TEST_F(Scratch, TellsOfADirectoryThatCannotBeWrittenTo) {
    std::filesystem::permissions(At("scratch"), std::filesystem::perms::owner_read);
    RunOptions options;
    options.obeysPermissions = true;
    ExpectFailure(Run({"--scratch", "scratch", Photo("coffee.png"), "out.png"}, options), 1,
                  {"scratch directory scratch: Permission denied"});
    std::filesystem::permissions(At("scratch"), std::filesystem::perms::owner_all);
}

TEST_F(Scratch, TakesAnyName) {
    std::filesystem::create_directory(At("tmp \xC3\xA4 %d"));
    MakePicture("in.png", "RGB", 1);
    RunWell({"--memory", "1M", "--scratch", "tmp \xC3\xA4 %d", "in.png", "out.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), PixelsOf(LoadPng(At("in.png"))));
}

// Sizes that a process has open in deleted files.
bool HoldsDeletedFile(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process) + "/fd/";
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) return false;
    bool found = false;
    while (const dirent* entry = readdir(directory)) {
        char target[4096];
        const ssize_t size = readlink((folder + entry->d_name).c_str(), target, sizeof target);
        if (size > 0 && std::string(target, static_cast<std::size_t>(size)).ends_with("(deleted)")) found = true;
    }
    closedir(directory);
    return found;
}

TEST_F(Scratch, IsLeftEmptyByEverySignal) {
    SavePng(At("in.png"), PlainPng(MakePixels(2000, 2000, 3, 1)));
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
        SCOPED_TRACE(strsignal(number));
        Words words = Small();
        words.insert(words.end(), {"in.png", "out.png", "scale", "3000x9000", "filter=lanczos8", "oil", "range=9"});
        const pid_t process = Start(words);
        bool held = false;
        for (int i = 0; i < 1000 && !held; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            held = HoldsDeletedFile(process);
        }
        EXPECT_TRUE(held) << "no image has come to lie in the scratch directory";
        EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        kill(process, number);
        EXPECT_NE(Wait(process).exitCode, 0);
        EXPECT_TRUE(std::filesystem::is_empty(At("scratch")));
        EXPECT_FALSE(std::filesystem::exists(At("out.png")));
    }
}

}  // namespace
