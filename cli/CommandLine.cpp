#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <limits>

#include "Errors.h"
#include "Suggest.h"

namespace {

struct Flags {
    bool help = false;
    bool version = false;
};

std::string Listed(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
    return list;
}

// One place for every option: reading, checking and help come from here.
void AddOptions(CLI::App& app, CommandLine& line, Flags& flags) {
    const auto range = [](int least, int most) {
        const std::string expected = "a whole number from " + std::to_string(least) + " to " + std::to_string(most);
        return CLI::Validator(
            [least, most, expected](const std::string& text) {
                int value = 0;
                const bool good = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
                return good ? std::string() : "'" + text + "' is not " + expected;
            },
            "");
    };
    app.set_help_flag();
    app.add_option_function<std::string>(
           "--format", [&line](const std::string& name) { line.format = CodecOfName(name); },
           "Format of OUTPUT whatever its suffix: " + Listed(WritableNames()))
        ->type_name("NAME")
        ->check(CLI::Validator(
            [](const std::string& name) {
                if (CodecOfName(name) != nullptr) return std::string();
                return "'" + name + "' is no format that can be written" + Suggestion(name, WritableNames()) +
                       "; known are " + Listed(WritableNames());
            },
            ""));
    app.add_option("--quality", line.write.quality, "Quality of JPEG and WebP files, 1 to 100; 90 unless given")
        ->type_name("N")
        ->check(range(1, 100));
    app.add_option("--compression", line.write.compression,
                   "Effort for PNG, TIFF and lossless WebP files, 0 (fast) to 9 (small); 6 unless given")
        ->type_name("N")
        ->check(range(0, 9));
    app.add_option_function<std::string>(
           "--memory",
           [&line](const std::string& text) {
               if (!ReadMemorySize(text, &line.storage.memory))
                   throw UsageError("--memory: '" + text + "' is no size of 1M or more, such as 500M or 4G");
           },
           "What all images may take in memory, such as 500M or 4G; half of what there is unless given")
        ->type_name("SIZE");
    app.add_option_function<std::string>(
           "--scratch",
           [&line](const std::string& directory) {
               if (directory.empty()) throw UsageError("--scratch: the name of the directory is empty");
               line.storage.scratch = directory;
           },
           "Where images go that are larger than a quarter of that; $TMPDIR or /var/tmp unless given")
        ->type_name("DIR");
    app.add_flag("--lossless", line.write.lossless, "WebP files without loss");
    app.add_flag("--json", line.json, "What info tells as JSON, for programs");
    app.add_flag("--no-orientation", line.ignoreOrientation,
                 "Take pictures as they are stored, not turned the way that the camera tells");
    app.add_flag("-q,--quiet", line.quiet, "No progress and no remarks, only errors");
    app.add_flag("-h,--help", flags.help, "This text");
    app.add_flag("--version", flags.version, "The version");
}

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

// A minus before a digit is a negative number.
bool LooksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (word[1] == '-' || std::isalpha(static_cast<unsigned char>(word[1])) != 0);
}

// What is no option: files, effects and their arguments. Options may stand anywhere before a "--"; behind it every word
// is taken as it is.
std::vector<std::string> PlainWords(const CLI::App& app) {
    std::vector<std::string> words;
    bool optionsOver = false;
    for (const std::string& word : app.remaining()) {
        if (!optionsOver && word == "--") {
            optionsOver = true;
            continue;
        }
        if (!optionsOver && LooksLikeOption(word)) {
            const std::string name = word.substr(0, word.find('='));
            throw UsageError("unknown option '" + name + "'" + Suggestion(name, OptionNames(app)) +
                             "; 'zor --help' lists the options");
        }
        words.push_back(word);
    }
    return words;
}

// The commands that are called by a word; anything else in its place is INPUT.
struct CommandRow {
    const char* word;
    Command command;
    std::size_t least, most;  // words behind it
    const char* missing;      // what is not there when they are too few
    const char* takes;
};

constexpr CommandRow kCommands[] = {
    {"info", Command::Info, 1, std::numeric_limits<std::size_t>::max(), "FILE is missing", ""},
    {"compare", Command::Compare, 2, 2, "it takes two files, A and B", "two files"},
    {"describe", Command::Describe, 0, 0, "", "no argument"},
    {"help", Command::Help, 0, 1, "", "at most one EFFECT"},
};

void ChooseCommand(CommandLine& line) {
    std::vector<std::string>& words = line.words;
    if (words.empty())
        throw UsageError("INPUT is missing; usage: zor [OPTION...] INPUT OUTPUT [EFFECT [ARGUMENT...]]...");
    const std::string first = words[0];
    for (const CommandRow& row : kCommands) {
        if (first != row.word) continue;
        line.command = row.command;
        words.erase(words.begin());
        if (words.size() < row.least) throw UsageError(first + ": " + row.missing);
        if (words.size() > row.most)
            throw UsageError(first + ": unexpected '" + words[row.most] + "'; it takes " + row.takes);
        return;
    }
    if (words.size() < 2)
        throw UsageError("OUTPUT is missing behind '" + first +
                         "'; usage: zor [OPTION...] INPUT OUTPUT [EFFECT [ARGUMENT...]]...");
}

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
    CommandLine line;
    Flags flags;
    CLI::App app;
    app.allow_extras();
    AddOptions(app, line, flags);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    line.words = PlainWords(app);
    if (flags.help) {
        line.command = Command::Help;
        line.words.clear();
    } else if (flags.version) {
        line.command = Command::Version;
    } else {
        ChooseCommand(line);
        if (line.json && line.command != Command::Info) throw UsageError("--json: only 'zor info' knows it");
    }
    return line;
}

std::string OptionsHelp() {
    CommandLine line;
    Flags flags;
    CLI::App app;
    AddOptions(app, line, flags);
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        std::string name = option->get_name(false, true);
        if (const std::size_t comma = name.find(','); comma != std::string::npos) name.insert(comma + 1, " ");
        if (option->get_expected_max() > 0 && !option->get_type_name().empty()) name += " " + option->get_type_name();
        name.resize(std::max<std::size_t>(name.size(), 20), ' ');
        text += "  " + name + " " + option->get_description() + "\n";
    }
    return text;
}
