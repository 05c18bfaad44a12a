// The instruction sets that the engine uses: `zor describe --cpu`, and ZOR_CPU in the environment.

#include <cstdlib>
#include <sstream>

#include "ZorTest.h"
#include "kernels/KernelTable.h"

using namespace zor;

namespace {

// What the program finds in the environment. Null: no ZOR_CPU.
class Cpu : public ZorTest {
protected:
    Cpu() {
        if (const char* found = std::getenv("ZOR_CPU")) before_ = found;
        Set(nullptr);
    }
    ~Cpu() override { Set(before_ ? before_->c_str() : nullptr); }

    static void Set(const char* value) {
        if (value != nullptr)
            setenv("ZOR_CPU", value, 1);
        else
            unsetenv("ZOR_CPU");
    }

    // Expects the line about the processor, and behind it one for every kernel, aligned, with the twin that there is
    // below the limit.
    void ExpectDescription(const std::string& first, CpuTier limit) {
        std::istringstream lines(RunWell({"describe", "--cpu"}).out);
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(line, first);
        const KernelPick pick = PickKernels(limit);
        std::size_t column = 0;
        for (int slot = 0; slot < kKernelSlots; ++slot) {
            const std::string name = KernelSlotName(slot);
            ASSERT_TRUE(std::getline(lines, line)) << name << " is missing";
            EXPECT_TRUE(line.starts_with(name + "  ")) << line << " where " << name << " is due";
            EXPECT_TRUE(line.ends_with(std::string(" ") + NameOf(pick.twin[slot]))) << line;
            if (slot == 0) column = line.rfind(' ');
            EXPECT_EQ(line.rfind(' '), column) << line;
        }
        EXPECT_FALSE(std::getline(lines, line)) << line;
    }

    static std::string Best(CpuTier limit = CpuTier::neon) { return NameOf(BestTier(limit)); }

private:
    std::optional<std::string> before_;
};

TEST_F(Cpu, IsUsedToTheFullUnlessTold) {
    const std::string first = "processor " + Best() + ", used " + Best() + ": the best of the processor";
    ExpectDescription(first, CpuTier::neon);
    Set("");
    ExpectDescription(first, CpuTier::neon);
}

TEST_F(Cpu, IsUsedUpToTheLimitOrWhatThereIsBelow) {
    for (const CpuTier tier : kCpuTiers) {
        const std::string name = NameOf(tier);
        Set(name.c_str());
        const std::string reason = CanRun(tier)
                                       ? "the limit that ZOR_CPU sets"
                                       : "the best below " + name + ", which ZOR_CPU names and the processor lacks";
        ExpectDescription("processor " + Best() + ", used " + Best(tier) + ": " + reason, tier);
    }
    Set("plain");
    const std::string text = RunWell({"describe", "--cpu"}).out;
    for (const char* vectors : {"  sse4\n", "  avx2\n", "  neon\n"}) EXPECT_EQ(text.find(vectors), std::string::npos);
}

TEST_F(Cpu, MakesNoDifferenceToResults) {
    const std::vector<std::string> words = {Photo("chelsea.png"),    "out.png", "scale", "70%",    "matrix",
                                            "0,-1,0,-1,5,-1,0,-1,0", "gamma",   "1.3",   "engrave"};
    RunWell(words);
    const std::string expected = ReadFile(At("out.png"));
    for (const CpuTier tier : kCpuTiers) {
        Set(NameOf(tier));
        RunWell(words);
        EXPECT_TRUE(ReadFile(At("out.png")) == expected) << NameOf(tier);
    }
}

TEST_F(Cpu, IsRefusedByAnUnknownName) {
    for (const char* word : {"foo", "AVX2", "sse4 ", "1"}) {
        Set(word);
        for (const std::vector<std::string>& words :
             std::vector<std::vector<std::string>>{{Photo("chelsea.png"), "out.png"},
                                                   {"describe", "--cpu"},
                                                   {"describe"},
                                                   {"info", Photo("chelsea.png")},
                                                   {"compare", Photo("chelsea.png"), Photo("chelsea.png")},
                                                   {"--each", "{stem}.jpg", Photo("chelsea.png")},
                                                   {"help"},
                                                   {"--version"}})
            ExpectFailure(
                Run(words), 2,
                {"ZOR_CPU: '" + std::string(word) + "' is no instruction set", "known are plain, sse4, avx2, neon"});
        EXPECT_NE(RunWell({"--complete", "0", ""}).out, "") << "completion goes on";
    }
    EXPECT_TRUE(Files().empty());
}

TEST_F(Cpu, IsToldByDescribeOnly) {
    const std::string message = "--cpu: only 'zor describe' knows it";
    ExpectFailure(Run({"--cpu", Photo("coffee.png"), "out.png"}), 2, {message});
    ExpectFailure(Run({"info", "--cpu", Photo("coffee.png")}), 2, {message});
    ExpectFailure(Run({"--cpu", "--each", "{stem}.jpg", Photo("coffee.png")}), 2, {message});
    EXPECT_NE(RunWell({"help", "describe"}).out.find("--cpu"), std::string::npos);
    EXPECT_NE(RunWell({"help"}).out.find("ZOR_CPU"), std::string::npos);
    EXPECT_NE(RunWell({"--man"}).out.find("ZOR_CPU"), std::string::npos);
}

}  // namespace
