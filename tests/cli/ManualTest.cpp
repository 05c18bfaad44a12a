// The manual page and what is installed.

#include <cstdlib>
#include <sstream>

#include "ZorTest.h"

namespace {

using Manual = ZorTest;

int Shell(const std::string& command) {
    return WEXITSTATUS(std::system(command.c_str()));
}

TEST_F(Manual, PassesTheFormatterWithoutAWarning) {
    if (Shell("command -v groff >/dev/null 2>&1") != 0) GTEST_SKIP() << "there is no groff here";
    WriteFile(At("zor.1"), RunWell({"--man"}).out);
    EXPECT_EQ(Shell("groff -ww -z -man -Tutf8 -k '" + At("zor.1") + "' >'" + At("told") + "' 2>&1"), 0);
    EXPECT_EQ(ReadFile(At("told")), "");
}

TEST_F(Manual, TellsOfEveryEffectOptionAndCommand) {
    if (Shell("command -v groff >/dev/null 2>&1") != 0) GTEST_SKIP() << "there is no groff here";
    WriteFile(At("zor.1"), RunWell({"--man"}).out);
    ASSERT_EQ(Shell("groff -man -Tascii -P-cbou -rLL=200n '" + At("zor.1") + "' >'" + At("page") + "' 2>&1"), 0);
    const std::string page = ReadFile(At("page"));
    // What help lists: names behind four spaces.
    std::istringstream help(RunWell({"help"}).out);
    int names = 0;
    for (std::string line; std::getline(help, line);) {
        if (!line.starts_with("    ") || line[4] == ' ') continue;
        const std::string name = line.substr(4, line.find(' ', 4) - 4);
        EXPECT_NE(page.find(name), std::string::npos) << name;
        ++names;
    }
    EXPECT_GT(names, 30);
    for (const char* word : {"NAME", "SYNOPSIS", "zor info FILE", "zor compare A B", "--each PATTERN", "--jobs N",
                             "filter=lanczos3|lanczos8|mitchell|cubic|poly3|triangle|box", "lanczos3 unless given",
                             "'small/{stem}.webp'", "EXIT STATUS"})
        EXPECT_NE(page.find(word), std::string::npos) << word << " is not in:\n" << page;
}

TEST_F(Manual, IsInstalledBesideAProgramThatWorksWhereverItLies) {
    ASSERT_EQ(
        Shell("'" ZOR_CMAKE "' --install '" ZOR_BUILD "/cli' --prefix '" + At("usr") + "' >'" + At("told") + "' 2>&1"),
        0)
        << ReadFile(At("told"));
    EXPECT_TRUE(std::filesystem::exists(At("usr/share/man/man1/zor.1")));
    EXPECT_TRUE(std::filesystem::exists(At("usr/share/bash-completion/completions/zor")));
    EXPECT_EQ(ReadFile(At("usr/share/man/man1/zor.1")), RunWell({"--man"}).out);
    EXPECT_EQ(Shell("cd / && '" + At("usr/bin/zor") + "' '" + Photo("chelsea.png") + "' '" + At("out.png") +
                    "' scale 20x flip h"),
              0);
    EXPECT_TRUE(std::filesystem::exists(At("out.png")));
}

}  // namespace
