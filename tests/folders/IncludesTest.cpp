// The order of the folders, which no compiler keeps.

#include "Includes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "support/TempDir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Folders, IncludeOnlyWhatLiesBelowThem) {
    EXPECT_THAT(WrongIncludes(ZOR_ROOT, kAllowedIncludes), IsEmpty());
}

// --- the check itself, on trees made up for it ----------------------------------------------------------------------

class Includes : public ::testing::Test {
protected:
    void Write(const std::string& name, const std::string& text) {
        const std::filesystem::path path = dir.path() / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    std::vector<std::string> Wrong(const std::vector<AllowedInclude>& allowed = {}) {
        return WrongIncludes(dir.path(), allowed);
    }
    // What is wrong with one include in a file of that folder.
    std::string Verdict(const std::string& folder, const std::string& include) {
        const std::string name = folder + "/One.cpp";
        Write(name, "#include " + include + "\n");
        const std::vector<std::string> wrong = Wrong();
        std::filesystem::remove(dir.path() / name);
        const std::string head = name + ":1: #include " + include + " ";
        if (wrong.empty()) return "";
        EXPECT_EQ(wrong.size(), 1U);
        EXPECT_TRUE(wrong[0].starts_with(head)) << wrong[0];
        return wrong[0].substr(std::min(head.size(), wrong[0].size()));
    }

    TempDir dir;
};

TEST_F(Includes, MayPointDownward) {
    for (const char* include : {"\"plugin/A.h\"", "\"filters/A.h\"", "\"core/A.h\"", "\"host/A.h\"", "\"kernels/A.h\""})
        EXPECT_EQ(Verdict("src/plugin", include), "") << include;
    for (const char* folder : {"src/filters", "src/scale", "src/compositing", "src/exchange"}) {
        EXPECT_EQ(Verdict(folder, "\"core/A.h\""), "") << folder;
        EXPECT_EQ(Verdict(folder, "\"host/A.h\""), "") << folder;
        EXPECT_EQ(Verdict(folder, "\"kernels/A.h\""), "") << folder;
    }
    EXPECT_EQ(Verdict("src/core", "\"host/A.h\""), "");
    EXPECT_EQ(Verdict("src/core", "\"kernels/A.h\""), "");
    EXPECT_EQ(Verdict("src/scale/threads", "\"scale/kernels/A.h\""), "") << "folders in folders";
    EXPECT_EQ(Verdict("src/core", "<unistd.h>"), "") << "the system's";
}

TEST_F(Includes, DoNotPointUpward) {
    const std::string upward = "points upward";
    EXPECT_EQ(Verdict("src/host", "\"core/A.h\""), upward);
    EXPECT_EQ(Verdict("src/host", "\"plugin/A.h\""), upward);
    EXPECT_EQ(Verdict("src/host", "\"filters/A.h\""), upward);
    EXPECT_EQ(Verdict("src/core", "\"exchange/A.h\""), upward);
    EXPECT_EQ(Verdict("src/core", "\"plugin/A.h\""), upward);
    EXPECT_EQ(Verdict("src/scale", "\"plugin/A.h\""), upward);
    EXPECT_EQ(Verdict("src/scale/threads", "\"plugin/A.h\""), upward);
    EXPECT_EQ(Verdict("src/kernels", "\"host/A.h\""), upward);
    EXPECT_EQ(Verdict("src/kernels", "\"core/A.h\""), upward);
    EXPECT_EQ(Verdict("src/host", "<core/A.h>"), upward);
    EXPECT_EQ(Verdict("src/host", "\"core/A.h\"  // just this once"), upward);
}

TEST_F(Includes, DoNotPointToTheSameRow) {
    const std::string sideways = "points to a folder of the same row";
    EXPECT_EQ(Verdict("src/filters", "\"exchange/A.h\""), sideways);
    EXPECT_EQ(Verdict("src/exchange", "\"filters/A.h\""), sideways);
    EXPECT_EQ(Verdict("src/scale", "\"compositing/A.h\""), sideways);
    EXPECT_EQ(Verdict("src/compositing", "\"exchange/A.h\""), sideways);
}

TEST_F(Includes, OfKernelsAreOfTheStandardLibraryOrHighway) {
    EXPECT_EQ(Verdict("src/kernels", "<cstdint>"), "");
    EXPECT_EQ(Verdict("src/kernels", "<hwy/highway.h>"), "");
    const std::string wrong = "is not of the standard library or hwy";
    EXPECT_EQ(Verdict("src/kernels", "<pthread.h>"), wrong);
    EXPECT_EQ(Verdict("src/kernels", "<sys/mman.h>"), wrong);
}

TEST_F(Includes, NameTheirFolder) {
    EXPECT_EQ(Verdict("src/core", "\"A.h\""), "names no folder of src");
    EXPECT_EQ(Verdict("src/core", "\"elsewhere/A.h\""), "names no folder of src");
    EXPECT_EQ(Verdict("src/core", "\"../filters/A.h\""), "goes by way of the parent folder");
    EXPECT_EQ(Verdict("src/core", "\"host/../filters/A.h\""), "goes by way of the parent folder");
    EXPECT_EQ(Verdict("cli", "\"../src/core/A.h\""), "goes by way of the parent folder");
    EXPECT_EQ(Verdict("src/core", "HEADER"), "hides what is included");
}

TEST_F(Includes, ComeFromFoldersWithAPlaceInTheOrder) {
    Write("src/elsewhere/A.cpp", "#include \"core/A.h\"\n");
    Write("src/B.h", "#pragma once\n");
    Write("src/PictureZOR.map", "{};\n");
    EXPECT_THAT(Wrong(),
                ElementsAre("src/B.h: stands in no folder", "src/elsewhere: the folder has no place in the order"));
}

TEST_F(Includes, OfHostAndProgramStayOutOfTheEngine) {
    const std::string reaches = "reaches into the engine";
    EXPECT_EQ(Verdict("runtime/src", "\"core/A.h\""), reaches);
    EXPECT_EQ(Verdict("runtime/include/zorhost", "\"host/HostInterface.h\""), reaches) << "with nothing allowed";
    EXPECT_EQ(Verdict("cli", "\"kernels/A.h\""), reaches);
    EXPECT_EQ(Verdict("cli/effects", "\"plugin/A.h\""), reaches);
    EXPECT_EQ(Verdict("cli/effects", "\"Errors.h\""), "");
    EXPECT_EQ(Verdict("cli", "\"zorhost/Host.h\""), "");
}

TEST_F(Includes, CanBeAllowedOneByOne) {
    Write("src/filters/A.cpp", "#include \"scale/A.h\"\n#include \"scale/B.h\"\n");
    Write("cli/A.cpp", "#include \"core/A.h\"\n");
    EXPECT_THAT(Wrong({{"src/filters", "scale/A.h"}, {"cli", "core/A.h"}}),
                ElementsAre("src/filters/A.cpp:2: #include \"scale/B.h\" points to a folder of the same row"));
}

TEST_F(Includes, AreNotAllowedForNothing) {
    Write("src/filters/A.cpp", "#include \"core/A.h\"\n");
    EXPECT_THAT(Wrong({{"src/filters", "scale/A.h"}, {"src/filters", "core/A.h"}}),
                ElementsAre("src/filters: nothing needs \"core/A.h\"", "src/filters: nothing needs \"scale/A.h\""));
}

TEST_F(Includes, AreFoundInEveryLineAndFile) {
    Write("src/host/A.h", "// #include \"core/A.h\"\n  #  include   \"core/B.h\"\nint a;\n#include \"filters/A.h\"\n");
    Write("src/host/deeper/B.cpp", "#include \"core/C.h\"\n");
    Write("src/host/notes.txt", "#include \"core/D.h\"\n");
    EXPECT_THAT(Wrong(), ElementsAre("src/host/A.h:2: #include \"core/B.h\" points upward",
                                     "src/host/A.h:4: #include \"filters/A.h\" points upward",
                                     "src/host/deeper/B.cpp:1: #include \"core/C.h\" points upward"));
}

}  // namespace
