// Completion of the command line by a real bash.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "ZorTest.h"

namespace {

class Completion : public ZorTest {
protected:
    void SetUp() override {
        if (std::system("command -v bash >/dev/null 2>&1") != 0) GTEST_SKIP() << "there is no bash here";
        WriteFile(At("photo one.jpg"), "");
        WriteFile(At("photo-2.png"), "");
        WriteFile(At("curve.txt"), "");
        std::filesystem::create_directory(At("pictures"));
    }

    // What bash offers behind a line, whose words are separated by single spaces: the words as bash takes them apart,
    // with "=" for a word of its own.
    std::vector<std::string> Offers(const std::string& line) {
        std::string words, word;
        const auto push = [&] {
            if (!word.empty()) words += " '" + word + "'";
            word.clear();
        };
        for (const char c : line) {
            if (c == ' ' || c == '=') push();
            if (c == '=') words += " '='";
            if (c != ' ' && c != '=') word += c;
        }
        if (line.empty() || line.ends_with(' ')) words += " ''";
        push();
        WriteFile(At("ask"), "source '" ZOR_ROOT
                             "/cli/completion/zor.bash'\n"
                             "cd '" +
                                 At("") +
                                 "'\n"
                                 "COMP_WORDS=('" ZOR_PROGRAM "'" +
                                 words +
                                 ")\n"
                                 "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                 "COMP_LINE='" ZOR_PROGRAM " " +
                                 line +
                                 "'\n"
                                 "COMP_POINT=${#COMP_LINE}\n"
                                 "_zor\n"
                                 "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
        const std::string command = "bash --norc '" + At("ask") + "' >'" + At("told") + "' 2>'" + At("wrong") + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        EXPECT_EQ(ReadFile(At("wrong")), "");
        std::istringstream told(ReadFile(At("told")));
        for (const char* name : {"ask", "told", "wrong"}) std::filesystem::remove(At(name));
        std::vector<std::string> offers;
        for (std::string offer; std::getline(told, offer);) offers.push_back(offer);
        std::sort(offers.begin(), offers.end());
        return offers;
    }

    void ExpectAmong(const std::string& line, const std::vector<std::string>& expected) {
        const std::vector<std::string> offers = Offers(line);
        for (const std::string& word : expected)
            EXPECT_NE(std::find(offers.begin(), offers.end(), word), offers.end())
                << "'" << word << "' is not offered behind: " << line;
    }
    void ExpectNotAmong(const std::string& line, const std::vector<std::string>& unexpected) {
        const std::vector<std::string> offers = Offers(line);
        for (const std::string& word : unexpected)
            EXPECT_EQ(std::find(offers.begin(), offers.end(), word), offers.end())
                << "'" << word << "' is offered behind: " << line;
    }
};

using Words = std::vector<std::string>;

TEST_F(Completion, OffersCommandsAndFilesFirst) {
    ExpectAmong("", {"info", "compare", "help", "photo-2.png", "photo one.jpg", "pictures"});
    EXPECT_EQ(Offers("in"), Words{"info"});
    EXPECT_EQ(Offers("photo-"), Words{"photo-2.png"});
    EXPECT_EQ(Offers("photo"), (Words{"photo one.jpg", "photo-2.png"}));
}

TEST_F(Completion, OffersFilesForEveryFile) {
    EXPECT_EQ(Offers("photo-2.png ph"), (Words{"photo one.jpg", "photo-2.png"}));
    EXPECT_EQ(Offers("info photo-"), Words{"photo-2.png"});
    EXPECT_EQ(Offers("compare photo-2.png photo-"), Words{"photo-2.png"});
    EXPECT_EQ(Offers("info photo-2.png ph"), (Words{"photo one.jpg", "photo-2.png"}));
    EXPECT_EQ(Offers("compare photo-2.png photo-2.png ph"), Words{""});
    EXPECT_EQ(Offers("photo-2.png out.png combine photo-"), Words{"photo-2.png"});
    EXPECT_EQ(Offers("photo-2.png out.png combine a.png mask=photo-"), Words{"photo-2.png"});
    EXPECT_EQ(Offers("photo-2.png out.png curve cur"), Words{"curve.txt"});
}

TEST_F(Completion, OffersOptionsAndWhatTheyTake) {
    ExpectAmong("--", {"--quality", "--compression", "--each", "--jobs", "--quiet", "--help", "--version"});
    ExpectNotAmong("--", {"--man", "--complete"});
    EXPECT_EQ(Offers("--qual"), Words{"--quality"});
    ExpectAmong("--format ", {"png", "jpeg"});
    EXPECT_EQ(Offers("--format=jp"), Words{"jpeg"});
    EXPECT_EQ(Offers("photo-2.png --quality 5 ph"), (Words{"photo one.jpg", "photo-2.png"}));
    EXPECT_EQ(Offers("--each pict"), Words{"pictures"});
}

TEST_F(Completion, OffersEffectsAndTheirArguments) {
    ExpectAmong("a.png b.png ", {"scale", "blur", "paste", "combine"});
    EXPECT_EQ(Offers("a.png b.png sca"), (Words{"scale", "scalefast"}));
    EXPECT_EQ(Offers("a.png b.png flip "), (Words{"h", "v"}));
    EXPECT_EQ(Offers("a.png b.png dither cluster"), (Words{"cluster3", "cluster4", "cluster8"}));
    // An effect whose arguments are not all there is not over.
    EXPECT_EQ(Offers("a.png b.png scale "), (Words{"filter=", "threads="}));
    ExpectAmong("a.png b.png scale 50% ", {"filter=", "threads=", "blur"});
    EXPECT_EQ(Offers("a.png b.png scale 50% filter="),
              (Words{"box", "cubic", "lanczos3", "lanczos8", "mitchell", "poly3", "triangle"}));
    EXPECT_EQ(Offers("a.png b.png scale 50% filter=lan"), (Words{"lanczos3", "lanczos8"}));
    ExpectNotAmong("a.png b.png scale 50% filter=box ", {"filter="});
    ExpectAmong("a.png b.png scale 50% invert ", {"area=", "alpha", "scale"});
    EXPECT_EQ(Offers("a.png b.png invert alp"), Words{"alpha"});
}

TEST_F(Completion, OffersEffectsBehindTheDashesOfManyFiles) {
    EXPECT_EQ(Offers("--each out.png photo-2.png ph"), (Words{"photo one.jpg", "photo-2.png"}));
    ExpectNotAmong("--each out.png photo-2.png ", {"scale", "info"});
    EXPECT_EQ(Offers("--each out.png photo-2.png -- scalef"), Words{"scalefast"});
    EXPECT_EQ(Offers("--each out.png photo-2.png -- flip "), (Words{"h", "v"}));
}

TEST_F(Completion, OffersWhatThereIsHelpOn) {
    ExpectAmong("help ", {"scale", "compare", "each"});
    EXPECT_EQ(Offers("help solar"), Words{"solarize"});
}

// Nobody types it, but it must not break.
TEST_F(Completion, AnswersOddQuestionsOfTheShell) {
    ExpectFailure(Run({"--complete"}), 2, {"--complete", "is no place"});
    ExpectFailure(Run({"--complete", "x"}), 2, {"'x'"});
    EXPECT_NE(RunWell({"--complete", "0"}).out, "");
    EXPECT_EQ(RunWell({"--complete", "99", "compare", "a", "b"}).out, "");
    EXPECT_EQ(RunWell({"--complete", "1", "--unknown", "inf"}).out, "info\n<files>\n");
}

}  // namespace
