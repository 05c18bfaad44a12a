// The reference: what is in it, and what its maker complains of.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "Reference.h"
#include "ReferenceFiles.h"

static const std::filesystem::path kRoot = ZOR_ROOT;

TEST(Reference, IsMadeOfTheClassTablesAndTheTexts) {
    const std::string made = ReferenceFromFiles(PLUGIN, kRoot / "docs/reference");
    // Not EXPECT_EQ on texts of that length: the first line that differs tells more.
    const std::string kept = ReadWholeFile(kRoot / "docs/reference.md");
    const auto [at, other] = std::ranges::mismatch(made, kept);
    EXPECT_TRUE(at == made.end() && other == kept.end())
        << "docs/reference.md is out of date; cmake --build --preset release --target reference makes it anew. It "
        << "differs from line " << 1 + std::count(made.begin(), at, '\n') << " on";
}

// A class with a property, a constant, a method of one form, one of two forms, a shared method and an event.
static zorhost::ClassDescription SmallClass() {
    zorhost::ClassDescription about;
    about.name = "Small";
    about.properties.push_back({"Width as Integer", "Width", zorhost::ParseType("Integer"), 0x6, true, true, false});
    about.constants.push_back({"Four = 4", "Four", zorhost::Value(4)});
    const auto method = [](const char* declaration, std::intptr_t flags, bool assignable = false) {
        return zorhost::MethodDescription{declaration, zorhost::ParseDeclaration(declaration), flags, true, assignable};
    };
    about.methods = {method("Row(index as integer) as memoryblock", 4, true), method("Fill", 0),
                     method("Fill(x as integer)", 0x40000), method("Fill(x as color)", 0x40000)};
    about.sharedMethods = {method("Make as Small", 4)};
    about.events.push_back({"Asked as Small", zorhost::ParseDeclaration("Asked as Small")});
    return about;
}

static const char* const kSmallText =
    "About it.\n"
    "## Everything\n"
    "@ Width: How wide.\n"
    "@ Four: A number\n  of things.\n\nIn between.\n"
    "### Row\nA row.\n"
    "### Fill\nShared.\n#### ()\nAll.\n#### (x)\nA part.\n"
    "### shared Make\nMakes one.\n"
    "### event Asked\nWhen asked.\n";

static std::string Make(std::string text) {
    return MakeReference("Preface.", {{SmallClass(), std::move(text), "Small.md"}});
}

// What is wrong with the texts after one change.
static std::string ProblemsAfter(const std::string& from, const std::string& to) {
    std::string text = kSmallText;
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
    try {
        Make(text);
        return "none";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(Reference, PutsDeclarationAvailabilityAndTextTogether) {
    EXPECT_EQ(Make(kSmallText),
              "Preface.\n\n"
              "- [Small](#small)\n"
              "  - [Everything](#everything)\n\n"
              "## Small\n\nAbout it.\n\n"
              "[Fill](#fill),\n[Row](#row),\n[event Asked](#event-asked),\n[shared Make](#shared-make)\n\n"
              "### Everything\n\n"
              "| Property | Type | Access | In | Meaning |\n| --- | --- | --- | --- | --- |\n"
              "| `Width` | Integer | read | all applications | How wide. |\n\n"
              "| Constant | Value | Meaning |\n| --- | --- | --- |\n"
              "| `Four` | 4 | A number of things. |\n\nIn between.\n\n"
              "#### Row\n\n"
              "```vb\nRow(index as integer) as memoryblock\nRow(index as integer) = value as memoryblock\n```\n\n"
              "*all applications*\n\nA row.\n\n"
              "#### Fill\n\nShared.\n\n"
              "```vb\nFill\n```\n\n*desktop only*\n\nAll.\n\n"
              "```vb\nFill(x as integer)\nFill(x as color)\n```\n\n"
              "*desktop; console and web from host version 2010.029*\n\nA part.\n\n"
              "#### shared Make\n\n```vb\nMake as Small\n```\n\n*all applications*\n\nMakes one.\n\n"
              "#### event Asked\n\n```vb\nAsked as Small\n```\n\n*all applications*\n\nWhen asked.\n");
}

TEST(Reference, NamesMembersAndFormsWithoutAText) {
    EXPECT_EQ(ProblemsAfter("@ Width: How wide.\n", ""), "Small.md: Small.Width has no text");
    EXPECT_EQ(ProblemsAfter("@ Four: A number\n  of things.\n", ""), "Small.md: Small.Four has no text");
    EXPECT_EQ(ProblemsAfter("### Row\nA row.\n", ""), "Small.md: Small.Row has no text");
    EXPECT_EQ(ProblemsAfter("A row.\n", ""), "Small.md:8: \"Row\" has no text");
    EXPECT_EQ(ProblemsAfter("#### (x)\nA part.\n", ""), "Small.md: Small.Fill(x) has no text");
    EXPECT_EQ(ProblemsAfter("A part.\n", ""), "Small.md:14: \"Fill(x)\" has no text");
    EXPECT_EQ(ProblemsAfter("### shared Make\nMakes one.\n", ""), "Small.md: Small.shared Make has no text");
    EXPECT_EQ(ProblemsAfter("### event Asked\nWhen asked.\n", ""), "Small.md: Small.event Asked has no text");
    EXPECT_EQ(ProblemsAfter("About it.\n", ""), "Small.md:1: the class Small has no text");
}

TEST(Reference, NamesTextsWithoutAMember) {
    EXPECT_EQ(ProblemsAfter("### Row\n", "### Height\nTall.\n### Row\n"), "Small.md:8: Small has no member \"Height\"");
    EXPECT_EQ(ProblemsAfter("### Row\n", "@ Height: Tall.\n### Row\n"), "Small.md:8: Small has no member \"Height\"");
    EXPECT_EQ(ProblemsAfter("#### (x)\n", "#### (y)\nOther.\n#### (x)\n"), "Small.md:14: \"Fill\" has no form (y)");
    EXPECT_EQ(ProblemsAfter("@ Width", "#### (z)\nOf nothing.\n@ Width"),
              "Small.md:3: the form (z) belongs to no member");
}

TEST(Reference, NamesWhatIsToldTwice) {
    EXPECT_EQ(ProblemsAfter("### Row\n", "@ Width: Again.\n### Row\n"), "Small.md:8: \"Width\" is told twice");
    EXPECT_EQ(ProblemsAfter("#### (x)\n", "#### ()\nAgain.\n#### (x)\n"), "Small.md:14: \"Fill()\" is told twice");
}

TEST(Reference, TellsAllProblemsAtOnce) {
    EXPECT_EQ(ProblemsAfter("@ Width: How wide.\n", "@ Height: Tall.\n"),
              "Small.md:3: Small has no member \"Height\"\nSmall.md: Small.Width has no text");
}
