// Users without rights, and names of every kind.

#include <sys/stat.h>
#include <unistd.h>

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

constexpr unsigned kNobody = 65534;

class User : public ZorTest {
protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "only root can run the program as somebody else";
        SavePng(At("in.png"), PlainPng(MakePixels(30, 20, 3, 1)));
        RunOptions options;
        options.user = kNobody;
        nobody_ = options;
        // The directory of the test is root's alone at first.
        chmod(At("").c_str(), 0755);
        chmod(At("in.png").c_str(), 0644);
        if (Run({"--version"}, nobody_).exitCode != 0)
            GTEST_SKIP() << "the program lies where other users cannot reach it: " << ZOR_PROGRAM;
    }

    RunOptions nobody_;
};

TEST_F(User, WithoutRightsWorksWhereTheyMayWrite) {
    std::filesystem::create_directory(At("own"));
    ASSERT_EQ(chown(At("own").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(Run({"in.png", "own/out.png", "scale", "50%"}, nobody_).exitCode, 0);
    EXPECT_EQ(Run({"--each", "own/{stem}.jpg", "in.png", "--", "invert"}, nobody_).exitCode, 0);
    EXPECT_EQ(Run({"info", "in.png"}, nobody_).exitCode, 0);
    EXPECT_EQ(Run({"compare", "in.png", "in.png"}, nobody_).exitCode, 0);
    for (const char* name : {"own/out.png", "own/in.jpg"}) {
        struct stat status {};
        ASSERT_EQ(stat(At(name).c_str(), &status), 0) << name;
        EXPECT_EQ(status.st_uid, kNobody);
        EXPECT_EQ(status.st_mode & 07777, 0644U) << "the umask of tests is 022";
    }
}

TEST_F(User, WithoutRightsIsToldWhereTheyMayNot) {
    ExpectFailure(Run({"in.png", "out.png"}, nobody_), 1, {"out.png: Permission denied"});
    chmod(At("in.png").c_str(), 0600);
    ExpectFailure(Run({"info", "in.png"}, nobody_), 1, {"in.png: Permission denied"});
    ExpectFailure(Run({"compare", "in.png", "in.png"}, nobody_), 2, {"in.png: Permission denied"});
    chmod(At("in.png").c_str(), 0644);
    WriteFile(At("theirs.png"), "old");
    chmod(At("theirs.png").c_str(), 0644);
    ExpectFailure(Run({"in.png", "theirs.png"}, nobody_), 1, {"theirs.png: Permission denied"});
    EXPECT_EQ(ReadFile(At("theirs.png")), "old");
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png", "theirs.png"}));
}

using FileNames = ZorTest;

TEST_F(FileNames, MayHoldSpacesAndLettersOfEveryKind) {
    for (const std::string& name :
         {std::string("with space"), std::string("Grüße 東京"), std::string("-dash"), std::string("a=b:c,d"),
          std::string("quote'\"$(x)`"), std::string("bytes \xff\xfe"), std::string("scale"), std::string(200, 'n')}) {
        SCOPED_TRACE(name);
        std::filesystem::create_directory(At("in " + name));
        const std::string in = "in " + name + "/" + name + ".png", out = "in " + name + "/out " + name + ".png";
        const Pixels pixels = MakePixels(30, 20, 3, 1);
        SavePng(At(in), PlainPng(pixels));
        RunWell({in, out, "flip", "h", "combine", "file=" + in, "flip", "h"});
        EXPECT_EQ(LoadPng(At(out)).width, 30);
        EXPECT_NE(RunWell({"info", in}).out.find("30 x 20"), std::string::npos);
        // The same from inside the directory, where a name may look like an option.
        SavePng(At(name + ".png"), PlainPng(pixels));
        RunWell({"--", name + ".png", "result.png", "invert", "invert"});
        EXPECT_EQ(PixelsOf(LoadPng(At("result.png"))), pixels);
        EXPECT_EQ(Run({"compare", "--", name + ".png", "result.png"}).exitCode, 0);
    }
}

struct ExitCase {
    std::vector<std::string> words;
    int exitCode;
};

TEST_F(FileNames, EndInTheExitCodeThatIsPromised) {
    SavePng(At("a.png"), PlainPng(MakePixels(30, 20, 3, 1)));
    SavePng(At("b.png"), PlainPng(MakePixels(30, 20, 3, 2)));
    SavePng(At("cmyk.png"), PlainPng(MakePixels(30, 20, 1, 2)));
    WriteFile(At("bad.png"), "bad");
    for (const ExitCase& c :
         std::vector<ExitCase>{{{"a.png", "out.png"}, 0},
                               {{"--version"}, 0},
                               {{"--help"}, 0},
                               {{"help"}, 0},
                               {{"help", "each"}, 0},
                               {{"--man"}, 0},
                               {{"info", "a.png"}, 0},
                               {{"describe"}, 0},
                               {{"compare", "a.png", "a.png"}, 0},
                               {{"compare", "a.png", "b.png"}, 1},
                               {{"compare", "a.png", "bad.png"}, 2},
                               {{"compare", "a.png", "none.png"}, 2},
                               {{"compare", "a.png"}, 2},
                               {{"none.png", "out.png"}, 1},
                               {{"bad.png", "out.png"}, 1},
                               {{"info", "bad.png"}, 1},
                               {{"a.png", "none/out.png"}, 1},
                               {{"a.png", "out.png", "crop", "90,90,5x5"}, 1},
                               {{"a.png", "out.png", "channel", "cyan"}, 1},
                               {{"a.png", "out.png", "paste", "none.png"}, 1},
                               {{"--each", "out-{stem}.png", "a.png", "b.png"}, 0},
                               {{"--each", "out-{stem}.png", "a.png", "bad.png"}, 1},
                               {{"--each", "none/{stem}.png", "a.png"}, 1},
                               {{"--each", "out.png", "a.png", "b.png"}, 2},
                               {{"a.png", "out.xyz"}, 2},
                               {{"a.png", "out.png", "nothing"}, 2},
                               {{"a.png", "out.png", "blur"}, 2},
                               {{"a.png", "out.png", "combine", "b.png", "mask=a.png", "maskcolour=0"}, 2},
                               {{"a.png", "out.png", "rotate", "45", "slow"}, 2},
                               {{"--jobs", "3", "a.png", "out.png"}, 2},
                               {{"--json", "a.png", "out.png"}, 2},
                               {{"--nothing", "a.png", "out.png"}, 2},
                               {{"help", "nothing"}, 2},
                               {{"describe", "it"}, 2},
                               {{}, 2}}) {
        std::string shown;
        for (const std::string& word : c.words) shown += " " + word;
        const Outcome outcome = Run(c.words);
        EXPECT_EQ(outcome.exitCode, c.exitCode) << "zor" << shown << "\n" << outcome.err;
        EXPECT_EQ(outcome.err.empty(), c.exitCode == 0 || (c.exitCode == 1 && c.words[0] == "compare"))
            << "zor" << shown << "\n"
            << outcome.err;
    }
}

}  // namespace
