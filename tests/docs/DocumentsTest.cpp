// The other documents: links lead somewhere, quoted programs are those of the examples, members that are named exist,
// and command lines work.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "ReferenceFiles.h"
#include "zorhost/Host.h"

static const std::filesystem::path kRoot = ZOR_ROOT;

static std::vector<std::filesystem::path> Documents() {
    std::vector<std::filesystem::path> paths{kRoot / "README.md", kRoot / "CONTRIBUTING.md", kRoot / "CHANGELOG.md"};
    for (const auto& entry : std::filesystem::directory_iterator(kRoot / "docs")) {
        if (entry.path().extension() == ".md") paths.push_back(entry.path());
    }
    return paths;
}

// What links to the headings of a document are called.
static std::set<std::string> AnchorsOf(const std::string& text) {
    static const std::regex kHeading("(?:^|\n)#+ ([^\n]+)");
    std::set<std::string> anchors;
    for (std::sregex_iterator at(text.begin(), text.end(), kHeading), end; at != end; ++at) {
        std::string anchor;
        for (const char c : (*at)[1].str()) {
            const auto letter = static_cast<unsigned char>(c);
            if (std::isalnum(letter) || c == '-' || c == '_') anchor += static_cast<char>(std::tolower(letter));
            if (c == ' ') anchor += '-';
        }
        anchors.insert(anchor);
    }
    return anchors;
}

TEST(Documents, LinkToFilesAndHeadingsThatExist) {
    ASSERT_GE(Documents().size(), 7u);
    static const std::regex kLink(R"(\]\(([^)#\s]*)(?:#([^)\s]*))?\))");
    int links = 0;
    for (const std::filesystem::path& document : Documents()) {
        const std::string text = ReadWholeFile(document);
        for (std::sregex_iterator at(text.begin(), text.end(), kLink), end; at != end; ++at) {
            const std::string target = (*at)[1], anchor = (*at)[2];
            if (target.starts_with("https://") || (target.empty() && anchor.empty())) continue;
            const std::filesystem::path path = target.empty() ? document : document.parent_path() / target;
            ASSERT_TRUE(std::filesystem::exists(path)) << document << " links to " << target;
            ++links;
            if (anchor.empty()) continue;
            EXPECT_TRUE(AnchorsOf(ReadWholeFile(path)).contains(anchor))
                << document << " links to " << target << "#" << anchor;
        }
    }
    EXPECT_GT(links, 40);
}

// The contents of all blocks of that language.
static std::vector<std::string> BlocksOf(const std::string& text, const std::string& language) {
    const std::string open = "```" + language + "\n";
    std::vector<std::string> blocks;
    for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
        at += open.size();
        blocks.push_back(text.substr(at, text.find("```", at) - at));
    }
    return blocks;
}

// C++ in the documents comes out of the example programs, a run of lines as it stands there.
TEST(Documents, QuoteTheExamplePrograms) {
    std::string programs;
    for (const auto& entry : std::filesystem::directory_iterator(kRoot / "examples")) {
        if (entry.path().extension() == ".cpp") programs += ReadWholeFile(entry.path());
    }
    int quotes = 0;
    for (const char* name : {"README.md", "docs/cpp.md"}) {
        for (const std::string& code : BlocksOf(ReadWholeFile(kRoot / name), "cpp")) {
            EXPECT_NE(programs.find(code), std::string::npos) << name << " quotes what no example holds:\n" << code;
            ++quotes;
        }
    }
    EXPECT_GE(quotes, 2);
}

// What stands behind a dot in the examples of the host language is a member of the plug-in's classes, but for what
// the host itself has.
TEST(Documents, NameMembersThatExist) {
    std::set<std::string> known{"Backdrop", "Child", "Temporary", "Write"};
    zorhost::HostOptions options;
    options.plugin = PLUGIN;
    options.world = zorhost::World::None;
    const zorhost::Host host(std::move(options));
    for (const zorhost::ClassDescription& about : host.Classes()) {
        for (const auto& row : about.properties) known.insert(row.name);
        for (const auto& row : about.methods) known.insert(row.signature.name);
        for (const auto& row : about.sharedMethods) known.insert(row.signature.name);
        for (const auto& row : about.constants) known.insert(row.name);
    }
    static const std::regex kMember(R"re((?:^|[A-Za-z)])\.([A-Z]\w*))re");
    int found = 0;
    const std::string text = ReadWholeFile(kRoot / "README.md") + ReadWholeFile(kRoot / "docs/applications.md");
    for (const std::string& block : BlocksOf(text, "vb")) {
        for (std::sregex_iterator at(block.begin(), block.end(), kMember), end; at != end; ++at) {
            EXPECT_TRUE(known.contains((*at)[1])) << (*at)[1] << " in:\n" << block;
            ++found;
        }
    }
    EXPECT_GT(found, 30);
}

// A folder with the files that the documents work on, in which command lines run one after the other.
class CommandLines : public testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() / ("zor-docs-" + std::to_string(getpid()));
        std::filesystem::create_directory(folder_);
        std::filesystem::create_symlink(ZOR_PROGRAM, folder_ / "zor");
        const std::string photos = std::string(ZOR_ROOT) + "/examples/photos/";
        ASSERT_EQ(Run("cp '" + photos +
                      "rocket.jpg' photo.jpg\n"
                      "zor -q '" +
                      photos +
                      "coffee.png' scan.tif\n"
                      "zor -q photo.jpg huge.tif\n"
                      "zor -q '" +
                      photos +
                      "chelsea.png' sprite.png scale 32x\n"
                      "zor -q '" +
                      photos +
                      "chelsea.png' logo.png scale 90x convert RGBA\n"
                      "zor -q photo.jpg mask.png convert G\n"
                      "zor -q photo.jpg before.png scale 100x\n"
                      "zor -q before.png after.png invert\n"
                      "cp before.png copy.png\n"),
                  0);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    // The exit code of a script in the folder; it ends at the first command that fails.
    int Run(const std::string& script) {
        std::ofstream(folder_ / "script") << script;
        const std::string command =
            "cd '" + folder_.string() + "' && PATH=\"$PWD:$PATH\" bash -euo pipefail script >log 2>&1";
        return std::system(command.c_str());
    }

    std::filesystem::path folder_;
};

TEST_F(CommandLines, OfTheDocumentsWork) {
    int ran = 0;
    for (const char* name : {"README.md", "docs/command-line.md"}) {
        for (const std::string& block : BlocksOf(ReadWholeFile(kRoot / name), "sh")) {
            if (block.find("zor ") == std::string::npos) continue;
            EXPECT_EQ(Run(block), 0) << name << ":\n" << block << ReadWholeFile(folder_ / "log");
            ++ran;
        }
    }
    EXPECT_GE(ran, 15);
}

// Every effect and every option that the program knows is told of in its guide.
TEST_F(CommandLines, AreToldOfInTheGuide) {
    ASSERT_EQ(Run("zor help"), 0);
    const std::string help = ReadWholeFile(folder_ / "log");
    const std::string guide = ReadWholeFile(kRoot / "docs/command-line.md");
    const auto check = [&guide](const std::string& text, const char* pattern) {
        const std::regex words(pattern);
        int told = 0;
        for (std::sregex_iterator at(text.begin(), text.end(), words), end; at != end; ++at, ++told) {
            const std::string word = (*at)[1];
            if (word == "--help" || word == "--version") continue;
            EXPECT_NE(guide.find("`" + word), std::string::npos) << word;
        }
        return told;
    };
    EXPECT_GT(check(help, "(--[a-z-]+)"), 10);
    EXPECT_GT(check(help.substr(help.find("\nEffects")), "\n    ([a-z]+)  "), 25);
}
