// The `setup` script, with stand-ins for the programs that it asks.

#include <cstdlib>

#include "ZorTest.h"

namespace {

class Setup : public ZorTest {
protected:
    // Runs the script as a user with that number, where all packages but `missing` are installed.
    int RunSetup(const std::string& user, const std::string& missing, const std::string& word = "") {
        std::filesystem::create_directories(At("bin"));
        AddProgram("dpkg-query",
                   "for word; do case $word in -*|*{*|" + missing + ") ;; *) echo \"ii  $word\" ;; esac; done");
        AddProgram("id", "echo " + user);
        AddProgram("apt-get", "echo \"$@\" >>'" + At("calls") + "'; exit ${FAIL:-0}");
        const std::string command = "PATH='" + At("bin") + "':$PATH '" ZOR_ROOT "/setup' " + word + " >'" + At("out") +
                                    "' 2>'" + At("err") + "'";
        return WEXITSTATUS(std::system(command.c_str()));
    }

private:
    void AddProgram(const std::string& name, const std::string& script) {
        WriteFile(At("bin/" + name), "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(At("bin/" + name), std::filesystem::perms{0755});
    }
};

TEST_F(Setup, IsSilentWhenNothingIsMissing) {
    for (const char* user : {"0", "1000"}) {
        EXPECT_EQ(RunSetup(user, "none"), 0);
        EXPECT_EQ(ReadFile(At("out")) + ReadFile(At("err")), "");
        EXPECT_FALSE(std::filesystem::exists(At("calls"))) << "the network was asked";
    }
}

TEST_F(Setup, TellsAPlainUserWhatToInstall) {
    EXPECT_EQ(RunSetup("1000", "cmake|libpng-dev"), 1);
    EXPECT_NE(ReadFile(At("err")).find("apt-get install --no-install-recommends cmake libpng-dev\n"), std::string::npos)
        << ReadFile(At("err"));
    EXPECT_FALSE(std::filesystem::exists(At("calls")));
}

TEST_F(Setup, InstallsWhatIsMissingAndNothingElse) {
    EXPECT_EQ(RunSetup("0", "cmake|libpng-dev"), 0);
    EXPECT_EQ(ReadFile(At("calls")), "-q update\n-q -y install --no-install-recommends cmake libpng-dev\n");
}

TEST_F(Setup, InstallsTheFuzzersCompilerForThemOnly) {
    EXPECT_EQ(RunSetup("0", "clang"), 0);
    EXPECT_FALSE(std::filesystem::exists(At("calls")));
    EXPECT_EQ(RunSetup("0", "clang", "fuzz"), 0);
    EXPECT_EQ(ReadFile(At("calls")), "-q update\n-q -y install --no-install-recommends clang\n");
}

TEST_F(Setup, FailsWhenTheInstallationFails) {
    setenv("FAIL", "100", 1);
    EXPECT_EQ(RunSetup("0", "cmake"), 1);
    unsetenv("FAIL");
    EXPECT_NE(ReadFile(At("err")).find("could not install cmake"), std::string::npos) << ReadFile(At("err"));
}

TEST_F(Setup, TellsWhereTheProgramCannotBeBuilt) {
    std::filesystem::copy(ZOR_ROOT "/zor", At("zor"));
    WriteFile(At("build"), "in the place of the folder");
    const std::string command = "'" + At("zor") + "' --version >'" + At("out") + "' 2>'" + At("err") + "'";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    EXPECT_EQ(ReadFile(At("err")),
              "zor: " + At("build/release") + " cannot be written to, where the program is to be built\n");
}

}  // namespace
