// Words on the command line: what is wrong with them is told in one line, and help tells what is right.

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

#include "ZorTest.h"

namespace {

using Usage = ZorTest;

struct WrongWords {
    std::vector<std::string> words;
    std::vector<std::string> told;
};

TEST_F(Usage, NamesTheWordAtFaultAndWhatWasExpected) {
    std::filesystem::copy(Photo("coffee.png"), At("in.png"));
    const std::vector<WrongWords> cases = {
        {{}, {"INPUT is missing"}},
        {{"in.png"}, {"OUTPUT is missing", "in.png"}},
        {{"in.png", "out.png", "sclae", "50%"}, {"'sclae'", "did you mean 'scale'?", "zor help"}},
        {{"in.png", "out.png", "zzzzzzzz"}, {"unknown effect 'zzzzzzzz'", "zor help"}},
        {{"in.png", "out.png", "scale"}, {"scale", "size is missing", "800x600"}},
        {{"in.png", "out.png", "scale", "big"}, {"'big'", "a size such as 800x600"}},
        {{"in.png", "out.png", "scale", "0x10"}, {"'0x10'", "a size such as"}},
        {{"in.png", "out.png", "scale", "-5x10"}, {"'-5x10'"}},
        {{"in.png", "out.png", "scale", "x"}, {"'x'", "a size such as"}},
        {{"in.png", "out.png", "scale", "10"}, {"'10'", "a size such as"}},
        {{"in.png", "out.png", "scale", "10x10x10"}, {"'10x10x10'", "a size such as"}},
        {{"in.png", "out.png", "scale", "0%"}, {"'0%'", "a size such as"}},
        {{"in.png", "out.png", "scale", "-50%"}, {"'-50%'"}},
        {{"in.png", "out.png", "scale", "nan%"}, {"'nan%'", "a size such as"}},
        {{"in.png", "out.png", "scale", "inf%"}, {"'inf%'", "a size such as"}},
        {{"in.png", "out.png", "scale", "99999999999x5"}, {"'99999999999x5'", "a size such as"}},
        {{"in.png", "out.png", "scale", "50%", "filter=lanczos"}, {"'filter=lanczos'", "one of lanczos3, lanczos8"}},
        {{"in.png", "out.png", "scale", "50%", "filter=mitchel"}, {"did you mean 'mitchell'?"}},
        {{"in.png", "out.png", "scale", "50%", "filtre=box"}, {"'filtre'", "did you mean 'filter'?", "threads"}},
        {{"in.png", "out.png", "scale", "50%", "threads=33"}, {"'threads=33'", "from 0 to 32"}},
        {{"in.png", "out.png", "scale", "50%", "threads=-1"}, {"'threads=-1'", "from 0 to 32"}},
        {{"in.png", "out.png", "scale", "50%", "threads=two"}, {"'threads=two'", "a whole number"}},
        {{"in.png", "out.png", "scale", "50%", "threads=2", "threads=3"}, {"'threads=3'", "second time"}},
        {{"in.png", "out.png", "scale", "50%", "60%"}, {"'60%'", "zor help scale"}},
        {{"in.png", "out.png", "scale", "50%", "scalefsat"}, {"'scalefsat'", "did you mean 'scalefast'?"}},
        {{"in.png", "out.png", "scalefast", "50%", "filter=box"}, {"scalefast", "'filter'", "it takes size"}},
        {{"in.png", "out.png", "scale", "scale", "50%"}, {"scale", "size is missing"}},
        {{"in.png", "out.gif"}, {"out.gif", ".png, .jpg, .jpeg"}},
        {{"in.png", "out"}, {"out", ".png, .jpg, .jpeg"}},
        {{"in.png", "png"}, {"png", ".png, .jpg, .jpeg"}},
        {{"--quality", "0", "in.png", "out.jpg"}, {"--quality", "'0'", "from 1 to 100"}},
        {{"--quality", "101", "in.png", "out.jpg"}, {"--quality", "'101'", "from 1 to 100"}},
        {{"--quality", "high", "in.png", "out.jpg"}, {"--quality", "'high'", "from 1 to 100"}},
        {{"--compression", "10", "in.png", "out.png"}, {"--compression", "'10'", "from 0 to 9"}},
        {{"in.png", "out.png", "--quality"}, {"--quality: N is missing: Quality of", "1 to 100"}},
        {{"in.png", "out.png", "--each"}, {"--each: PATTERN is missing"}},
        {{"--quality", "5", "--quality", "6", "in.png", "out.jpg"}, {"--quality is given more than once"}},
        {{"--qual", "5", "in.png", "out.png"}, {"'--qual'", "did you mean '--quality'?"}},
        {{"in.png", "out.png", "SCALE", "50%"}, {"'SCALE'", "did you mean 'scale'?"}},
        {{"in.png", "out.png", "flip", "H"}, {"'H'", "did you mean 'h'?"}},
        {{"in.png", "out.png", "convert", "rgba"}, {"'rgba'", "did you mean 'RGBA'?"}},
        {{"in.png", "out.png", "auto"}, {"'auto'", "did you mean 'autolevel'?"}},
        {{"in.png", "scale", "50%", "out.png"}, {"the effect 'scale' stands in the place of OUTPUT", "usage: zor"}},
        {{"scale", "50%", "in.png", "out.png"}, {"the effect 'scale' stands in the place of INPUT", "usage: zor"}},
        {{"in.png", ""}, {"the name of OUTPUT is empty"}},
        {{"halp"}, {"unknown command 'halp'", "did you mean 'help'?"}},
        {{"compar", "in.png", "in.png"}, {"unknown command 'compar'", "did you mean 'compare'?"}},
        {{"--each", "{n}.jpg", "in.png", "scale", "50%"}, {"--each: 'scale' is an effect", "behind '--'"}},
        {{"--qualty", "5", "in.png", "out.png"}, {"'--qualty'", "did you mean '--quality'?"}},
        {{"-z", "in.png", "out.png"}, {"'-z'", "zor --help"}},
        {{"info"}, {"info", "FILE"}},
        {{"describe", "all"}, {"describe", "'all'"}},
        {{"help", "sclae"}, {"'sclae'", "did you mean 'scale'?"}},
        {{"help", "scale", "me"}, {"help", "'me'"}},
    };
    for (const WrongWords& c : cases) {
        std::string shown;
        for (const std::string& word : c.words) shown += " " + word;
        SCOPED_TRACE("zor" + shown);
        ExpectFailure(Run(c.words), 2, c.told);
    }
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png"}));
}

TEST_F(Usage, SuggestsNothingForALetterThatIsWrong) {
    EXPECT_EQ(Run({"in.png", "out.png", "flip", "x"}).err, "zor: flip: 'x': axis is one of h, v\n");
}

TEST_F(Usage, TellsHowAFileIsWrittenThatLooksLikeAnOption) {
    std::filesystem::copy(Photo("coffee.png"), At("-in.png"));
    ExpectFailure(Run({"-in.png", "out.png"}), 2, {"unknown option '-in.png'", "is written './-in.png'"});
    RunWell({"./-in.png", "out.png"});
}

TEST_F(Usage, NeedsNamesOfFiles) {
    ExpectFailure(Run({"", "out.png"}), 1, {"the name of a file to read is empty"});
    ExpectFailure(Run({"info", ""}), 1, {"the name of a file to read is empty"});
}

TEST_F(Usage, PutsNothingButOneLineOnTheTerminalForAnyWord) {
    const Outcome outcome = Run({"in.png", "out.png", "two\nlines\x1B[31m"});
    ExpectFailure(outcome, 2, {"two?lines?[31m"});
}

TEST_F(Usage, TellsItsVersion) {
    EXPECT_EQ(RunWell({"--version"}).out, "zor " ZOR_VERSION "\n");
}

void ExpectNarrow(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100U) << line;
}

TEST_F(Usage, ListsEveryEffectAndOptionInItsHelp) {
    const std::string help = RunWell({"--help"}).out;
    for (const char* word :
         {"zor [OPTION...] INPUT OUTPUT [EFFECT [ARGUMENT...]]...", "zor info FILE", "zor compare A B", "zor describe",
          "zor help [EFFECT]", "--quality N", "--compression N", "--quiet", "--version", "--help", "scale ",
          "scalefast ", "PNG", "JPEG", ".jpeg", "standard input or output", "Exit code"})
        EXPECT_NE(help.find(word), std::string::npos) << word << " is not in:\n" << help;
    EXPECT_EQ(RunWell({"help"}).out, help);
    EXPECT_EQ(RunWell({"-h"}).out, help);
    ExpectNarrow(help);
}

std::vector<std::string> Split(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// The text as if it stood on one line.
std::string Unbroken(const std::string& text) {
    std::string line;
    for (const std::string& word : Split(text)) line += (line.empty() ? "" : " ") + word;
    return line;
}

TEST_F(Usage, TellsAllAboutAnEffect) {
    const std::string scale = Unbroken(RunWell({"help", "scale"}).out);
    for (const char* word : {"WxH|Wx|xH|N%", "filter=lanczos3|lanczos8|mitchell|cubic|poly3|triangle|box",
                             "lanczos3 unless given", "from 0 to 32", "0 unless given", "Example: zor "})
        EXPECT_NE(scale.find(word), std::string::npos) << word << " is not in:\n" << scale;
    EXPECT_NE(RunWell({"help", "scalefast"}).out.find("scalefast WxH|Wx|xH|N%"), std::string::npos);
}

// The names in the list of effects of the help, or of what else stands under a heading.
std::vector<std::string> ListedEffects(const std::string& help) {
    std::istringstream lines(help.substr(help.find("\nEffects (")));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("    ")) names.push_back(line.substr(4, line.find(' ', 4) - 4));
    return names;
}

TEST_F(Usage, TellsOfEveryEffectItsArgumentsWithRangesAndDefaults) {
    const std::vector<std::string> effects = ListedEffects(RunWell({"help"}).out);
    EXPECT_GE(effects.size(), 30U);
    for (const std::string& effect : effects) {
        SCOPED_TRACE(effect);
        const std::string help = RunWell({"help", effect}).out;
        EXPECT_TRUE(help.starts_with(effect + ": "));
        ExpectNarrow(help);
        // Every argument of the usage has an entry that tells what it takes, and all of them begin in one column.
        const std::size_t start = help.find("zor INPUT OUTPUT " + effect);
        ASSERT_NE(start, std::string::npos);
        const std::vector<std::string> usage = Split(help.substr(start, help.find("\n\n", start) - start));
        EXPECT_EQ(help.find("Arguments:\n") != std::string::npos, usage.size() > 4);
        std::set<std::size_t> columns;
        for (const std::string& word : usage) {
            if (!word.starts_with("[")) continue;
            const std::string name = word.substr(1, word.find_first_of("=]") - 1);
            const std::size_t at = help.find("\n  " + name + " ");
            ASSERT_NE(at, std::string::npos) << name;
            const std::string line = help.substr(at + 1, help.find('\n', at + 1) - at - 1);
            EXPECT_NE(line.find(": "), std::string::npos) << name;
            columns.insert(line.find_first_not_of(' ', 2 + name.size()));
        }
        EXPECT_LE(columns.size(), 1U);
    }
}

TEST_F(Usage, HasExamplesThatWork) {
    RunWell({Photo("rocket.jpg"), "photo.jpg", "scale", "320x"});
    for (const std::string& effect : ListedEffects(RunWell({"help"}).out)) {
        SCOPED_TRACE(effect);
        const std::string help = RunWell({"help", effect}).out;
        const std::size_t start = help.find("Example:\n  zor ");
        ASSERT_NE(start, std::string::npos);
        RunWell(Split(help.substr(start + 15, help.find('\n', start + 15) - start - 15)));
        EXPECT_TRUE(std::filesystem::remove(At("result.png")));
    }
}

TEST_F(Usage, TellsOfAnEffectWhereHelpIsAskedForBesideIt) {
    const std::string scale = RunWell({"help", "scale"}).out;
    EXPECT_EQ(RunWell({"scale", "--help"}).out, scale);
    EXPECT_EQ(RunWell({"--help", "scale"}).out, scale);
    EXPECT_EQ(RunWell({"in.png", "out.png", "blur", "2", "scale", "-h"}).out, scale);
    EXPECT_EQ(RunWell({"info", "--help"}).out, RunWell({"help", "info"}).out);
    EXPECT_EQ(RunWell({"help", "--help"}).out, RunWell({"help"}).out);
    EXPECT_EQ(RunWell({"in.png", "--help"}).out, RunWell({"help"}).out);
}

TEST_F(Usage, WritesAFileNamedAsAnEffectWhenItsFormatIsGiven) {
    std::filesystem::copy(Photo("coffee.png"), At("in.png"));
    RunWell({"in.png", "scale", "--format", "png"});
    RunWell({"scale", "out.png"});
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.png", "out.png", "scale"}));
}

TEST_F(Usage, TellsAllAboutACommand) {
    for (const char* command : {"info", "compare", "describe", "help", "each"}) {
        const std::string help = RunWell({"help", command}).out;
        EXPECT_TRUE(help.starts_with(std::string(command) + ": ")) << help;
        EXPECT_NE(help.find("\n  zor "), std::string::npos) << help;
    }
    for (const char* word : {"{stem}", "{name}", "{ext}", "{dir}", "{n}"})
        EXPECT_NE(RunWell({"help", "each"}).out.find(word), std::string::npos) << word;
}

TEST_F(Usage, DescribesTheClassesOfTheEngine) {
    const std::string text = RunWell({"describe"}).out;
    for (const char* line :
         {"class PictureZOR\n  41 properties\n", "\n  79 constants\n", "\n  3 shared methods\n",
          "\nclass PictureFactoryZOR\n", "\n  1 shared method\n", "\n  1 event\n", "    Width as Integer (read)\n",
          "    YieldTicks as Integer (read, write)\n", "    ImageFormatRGB = 1\n", "    ScaleLanczos3 = 3\n",
          "    CanAllocateImage(width as integer, height as integer, theImageFormat as integer) as boolean\n",
          "    SetFactory(factory as PictureFactoryZOR)\n",
          "    Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer",
          "  [not for console applications]\n",
          "    NewPictureZOR(Width as integer, Height as integer, ImageFormat as integer) as PictureZOR\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << " is not in:\n" << text;
    // As many rows as each heading says.
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!line.starts_with("  ") || line.starts_with("    ")) continue;
        long rows = 0;
        for (std::size_t at = start; text.compare(at, 4, "    ") == 0; at = text.find('\n', at) + 1) ++rows;
        EXPECT_EQ(rows, std::stol(line)) << line;
    }
}

TEST_F(Usage, FailsWhenItsTextCannotBeWritten) {
    for (const char* word : {"describe", "help", "--version"}) {
        RunOptions options;
        options.outputTo = "/dev/full";
        ExpectFailure(Run({word}, options), 1, {"standard output", "No space left on device"});
    }
}

}  // namespace
