#include "Help.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "CommandLine.h"
#include "CommandTable.h"
#include "Cpu.h"
#include "Errors.h"
#include "Suggest.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"

namespace {

constexpr std::size_t kWidth = 100;

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// Every row under the heading of its group, one line each.
template <typename Row, typename Line>
std::string Grouped(const std::vector<Row>& rows, const Line& line) {
    std::string text, group;
    for (const Row& row : rows) {
        if (group != row.group) text += "  " + std::string(row.group) + "\n";
        group = row.group;
        text += "    " + line(row) + "\n";
    }
    return text;
}

std::string OptionLine(const OptionRow& row) {
    const std::string name = (row.shortName.empty() ? "" : row.shortName + ", ") + row.longName;
    constexpr std::size_t kColumn = 19;
    return Padded(name + (row.value.empty() ? "" : " " + row.value), kColumn) + " " +
           Wrapped(row.help, kWidth, kColumn + 5, kColumn + 5);
}

std::string CommandLines() {
    std::string text;
    for (const CommandRow& row : Commands()) {
        const std::string usage = "  " + std::string(row.usage);
        // A long usage has a line for itself.
        text += (usage.size() > 22 ? usage + "\n" + Padded("", 23) : Padded(usage, 23)) + row.summary + "\n";
    }
    return text;
}

// One below the other, what they mean in a column of its own.
std::string ArgumentLines(const std::vector<ArgumentRow>& rows) {
    std::size_t column = 10;
    for (const ArgumentRow& row : rows) column = std::max(column, std::string(row.name).size());
    const std::size_t indent = column + 3;
    std::string lines;
    for (const ArgumentRow& row : rows) {
        std::string text = std::string(row.help) + ": " + Expectation(row);
        if (row.fallback != nullptr && *row.fallback != '\0')
            text += std::string(" (") + row.fallback + " unless given)";
        lines += "  " + Padded(row.name, column) + " " + Wrapped(text, kWidth, indent, indent) + "\n";
    }
    return lines;
}

// Paragraphs, which have an empty line between them.
std::string Paragraphs(const std::string& text) {
    const std::size_t end = text.find("\n\n");
    if (end == std::string::npos) return Wrapped(text, kWidth, 0, 0) + "\n";
    return Wrapped(text.substr(0, end), kWidth, 0, 0) + "\n\n" + Paragraphs(text.substr(end + 2));
}

std::string EffectHelp(const EffectRow& row) {
    std::string text = std::string(row.name) + ": " + row.summary + "\n\n  " +
                       Wrapped("zor INPUT OUTPUT " + EffectUsage(row), kWidth, 2, 4) + "\n\n";
    if (!row.arguments.empty()) text += "Arguments:\n" + ArgumentLines(row.arguments) + "\n";
    return text + Paragraphs(row.details) + "\nExample:\n  zor photo.jpg result.png " + row.example + "\n";
}

std::string CommandHelp(const std::string& name, const CommandRow& row) {
    return name + ": " + row.summary + "\n\n  " + row.usage + "\n\n" + Paragraphs(row.details);
}

}  // namespace

std::string Wrapped(const std::string& text, std::size_t width, std::size_t start, std::size_t indent) {
    std::istringstream words(text);
    std::string result;
    std::size_t column = start;
    for (std::string word; words >> word;) {
        if (!result.empty() && column + 1 + word.size() > width) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (!result.empty()) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}

std::string EffectUsage(const EffectRow& row) {
    std::string usage = row.name;
    for (const ArgumentRow& argument : row.arguments) usage += " " + Placeholder(argument);
    return usage;
}

std::string GeneralHelp() {
    std::string formats;
    for (const Codec& codec : Codecs()) formats += (formats.empty() ? "" : ", ") + std::string(codec.name);
    return "Usage:\n" + CommandLines() +
           "\n"
           "Examples:\n"
           "  zor photo.jpg small.png scale 800x600\n"
           "  zor --quality 80 scan.png thumb.jpg scale x200 filter=mitchell\n"
           "  zor --each 'small/{stem}.jpg' *.png -- scale 25% unsharp 0.3\n"
           "\n" +
           Wrapped("Formats: " + formats + ". INPUT is told by its content, OUTPUT by its suffix (" + KnownSuffixes() +
                       "). " + kStreamsHelp,
                   kWidth, 0, 0) +
           "\n\n"
           "Options:\n" +
           Grouped(OptionRows(), OptionLine) +
           "\n"
           "Effects ('zor help EFFECT' tells more):\n" +
           Grouped(Effects(), [](const EffectRow& row) { return Padded(row.name, 18) + " " + row.summary; }) + "\n" +
           Wrapped("Environment: ZOR_CPU limits the instructions that the engine uses: " + KnownCpus() +
                       ". Results are the same; 'zor describe --cpu' tells what is used.",
                   kWidth, 0, 0) +
           "\n\n"
           "Exit code: 0 done, 1 failed, 2 a word on the command line that cannot be used; of compare 0 equal,\n"
           "1 different, 2 not compared.\n";
}

std::string HelpOn(const std::string& name) {
    if (const EffectRow* row = FindEffect(name)) return EffectHelp(*row);
    if (const CommandRow* row = FindCommand(name)) return CommandHelp(name, *row);
    for (const CommandRow& row : Commands())
        if (name == "each" && row.command == Command::Each) return CommandHelp(name, row);
    std::vector<std::string> known = EffectNames();
    for (const CommandRow& row : Commands()) known.emplace_back(row.word != nullptr ? row.word : "each");
    throw UsageError("help: unknown effect '" + name + "'" + Suggestion(name, known) +
                     "; 'zor help' lists the effects");
}
