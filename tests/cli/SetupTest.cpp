// The `setup` script, with stand-ins for the programs that it asks.

#include <cstdlib>

#include "ZorTest.h"

namespace {

class Setup : public ZorTest {
protected:
    // Runs the script as a user with that number, where all packages but `missing` are installed.
    int RunSetup(const std::string& user, const std::string& missing, const std::string& word = "") {
        AddProgram("dpkg-query",
                   "for word; do case $word in -*|*{*|" + missing + ") ;; *) echo \"ii  $word\" ;; esac; done");
        AddProgram("id", "echo " + user);
        AddProgram("apt-get", "echo \"$@\" >>'" + At("calls") + "'; [ -z \"${FAIL:-}\" ] || exit $FAIL; [ ! -e '" +
                                  At("fetch") + "' ] || . '" + At("fetch") + "'");
        const std::string command =
            "PATH='" + At("bin") + "':$PATH '" + script_ + "' " + word + " >'" + At("out") + "' 2>'" + At("err") + "'";
        return WEXITSTATUS(std::system(command.c_str()));
    }

    void AddProgram(const std::string& name, const std::string& script) {
        std::filesystem::create_directories(At("bin"));
        WriteFile(At("bin/" + name), "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(At("bin/" + name), std::filesystem::perms{0755});
    }

    std::string script_ = ZOR_ROOT "/setup";
};

// The script in a folder of its own, where it unpacks what it fetches.
class SetupOf32Bits : public Setup {
protected:
    SetupOf32Bits() {
        std::filesystem::create_directories(At("project"));
        std::filesystem::copy(ZOR_ROOT "/setup", At("project/setup"));
        script_ = At("project/setup");
    }

    // Runs the script with stand-ins that fetch two packages, and record what is unpacked.
    int RunSetupOf32Bits() {
        WriteFile(At("fetch"),
                  "case $* in *download-only*) cd build/i386/apt/archives && touch libffi-dev_3_i386.deb "
                  "libc6-dev_2_i386.deb ;; *) exit 100 ;; esac\n");
        AddProgram("dpkg-deb", "echo \"$@\" >>'" + At("unpacked") + "'");
        return RunSetup("1000", "none", "m32");
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

TEST_F(Setup, InstallsTheCompilersOfOtherProcessorsForThemOnly) {
    EXPECT_EQ(RunSetup("0", "g++-*|qemu-user"), 0);
    EXPECT_FALSE(std::filesystem::exists(At("calls")));
    EXPECT_EQ(RunSetup("0", "g++-*|qemu-user|clang", "fuzz aarch64"), 0);
    EXPECT_EQ(ReadFile(At("calls")),
              "-q update\n-q -y install --no-install-recommends clang g++-aarch64-linux-gnu qemu-user\n");
}

TEST_F(Setup, RefusesAWordThatItDoesNotKnow) {
    EXPECT_EQ(RunSetup("0", "cmake", "fuzz quick"), 2);
    EXPECT_EQ(ReadFile(At("err")), "setup: unknown word 'quick'; known are fuzz, clang, aarch64, s390x and m32\n");
    EXPECT_FALSE(std::filesystem::exists(At("calls")));
}

TEST_F(SetupOf32Bits, UnpacksLibrariesBesideTheSystemOnce) {
    // The lists of one source are missing, which is no reason to stop.
    EXPECT_EQ(RunSetupOf32Bits(), 0);
    const std::string tree = At("project/build/i386");
    EXPECT_EQ(ReadFile(At("unpacked")), "-x " + tree + "/apt/archives/libffi-dev_3_i386.deb " + tree + "\n")
        << "the compiler has the headers of the C library";
    EXPECT_NE(ReadFile(At("err")).find("setup: unpacking libffi-dev libgd-dev into build/i386\n"), std::string::npos);

    std::filesystem::remove(At("calls"));
    EXPECT_EQ(RunSetupOf32Bits(), 0);
    EXPECT_EQ(ReadFile(At("out")) + ReadFile(At("err")), "");
    EXPECT_FALSE(std::filesystem::exists(At("calls"))) << "the network was asked";
}

TEST_F(SetupOf32Bits, TriesAgainWhatCouldNotBeFetched) {
    setenv("FAIL", "100", 1);
    EXPECT_EQ(RunSetupOf32Bits(), 1);
    unsetenv("FAIL");
    EXPECT_NE(ReadFile(At("err")).find("setup: could not fetch libffi-dev libgd-dev for 32 bits\n"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(At("unpacked")));
    EXPECT_EQ(RunSetupOf32Bits(), 0);
    EXPECT_TRUE(std::filesystem::exists(At("unpacked")));
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
