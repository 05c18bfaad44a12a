#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "CommandTable.h"
#include "Errors.h"
#include "Suggest.h"
#include "effects/Effects.h"

namespace {

struct Flags {
    bool help = false;
    bool manual = false;
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
    app.option_defaults()->group("The result");
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
    app.add_flag("--lossless", line.write.lossless, "WebP files without loss");
    app.add_option_function<std::string>(
           "--strip", [&line](const std::string& words) { line.strip = ReadStripping(words); },
           "What is left out of OUTPUT, with commas between: " + Listed(StrippingWords()))
        ->type_name("WORDS");
    app.option_defaults()->group("Colour");
    app.add_flag("--srgb", line.srgb,
                 "Colours are converted to sRGB on reading, as the profile of INPUT tells; CMYK becomes RGB");
    app.add_option("--profile", line.profile,
                   "Colours of the result are converted to the profile in this file, such as that of a printer")
        ->type_name("FILE")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return text.empty()  ? "the name of the file is empty"
                       : text == "-" ? "'-' is the stream of a picture, and no file"
                                     : std::string();
            },
            ""));
    app.option_defaults()->group("Memory");
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
    app.option_defaults()->group("Many files");
    app.add_option("--each", line.each, "Work on many files; names the results, see 'zor help each'")
        ->type_name("PATTERN")
        ->check(CLI::Validator(
            [](const std::string& text) { return text.empty() ? "the pattern is empty" : std::string(); }, ""));
    app.add_option("--jobs", line.jobs, "Files at a time, in so many processes; one for each processor unless given")
        ->type_name("N")
        ->check(range(1, 256));
    app.option_defaults()->group("General");
    app.add_flag("--json", line.json, "What info tells as JSON, for programs");
    app.add_flag("--cpu", line.cpu, "What describe tells: the instructions that the engine uses on this processor");
    app.add_flag("--no-orientation", line.ignoreOrientation,
                 "Take pictures as they are stored, not turned the way that the camera tells");
    app.add_flag("--plugin-bytes", line.pluginBytes,
                 "Exactly what the methods of the plug-in give: cut off instead of rounded, alpha as one channel more");
    app.add_flag("-q,--quiet", line.quiet, "No progress and no remarks, only errors");
    app.add_flag("-h,--help", flags.help, "This text");
    app.add_flag("--version", flags.version, "The version");
    app.add_flag("--man", flags.manual, "The manual page")->group("");
}

std::vector<std::string> OptionNames() {
    std::vector<std::string> names;
    for (const OptionRow& row : OptionRows()) names.push_back(row.longName);
    return names;
}

// A minus before a digit is a negative number.
bool LooksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (word[1] == '-' || std::isalpha(static_cast<unsigned char>(word[1])) != 0);
}

bool Exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

// What is no option: files, effects and their arguments. Options may stand anywhere before a "--"; behind it every word
// is taken as it is.
struct PlainWords {
    std::vector<std::string> words;
    std::size_t beforeDashes = 0;  // how many of them stand before the "--"
};

PlainWords TakePlainWords(const CLI::App& app) {
    PlainWords plain;
    bool optionsOver = false;
    for (const std::string& word : app.remaining()) {
        if (!optionsOver && word == "--") {
            optionsOver = true;
            continue;
        }
        if (!optionsOver && LooksLikeOption(word)) {
            const std::string name = word.substr(0, word.find('='));
            throw UsageError("unknown option '" + name + "'" + Suggestion(name, OptionNames()) +
                             (Exists(word) ? "; the file of that name is written './" + word + "'"
                                           : "; 'zor --help' lists the options"));
        }
        plain.words.push_back(word);
        if (!optionsOver) ++plain.beforeDashes;
    }
    return plain;
}

const char* UsageOf(Command command) {
    for (const CommandRow& row : Commands())
        if (row.command == command) return row.usage;
    return "";
}

// The first word may have been meant for a command unless it looks like a file.
std::string CommandSuggestion(const std::string& word) {
    if (word.find_first_of("./") != std::string::npos || Exists(word)) return {};
    std::vector<std::string> names;
    for (const CommandRow& row : Commands())
        if (row.word != nullptr) names.emplace_back(row.word);
    return Suggestion(word, names);
}

void ChooseCommand(CommandLine& line) {
    std::vector<std::string>& words = line.words;
    if (words.empty()) throw UsageError(std::string("INPUT is missing; usage: ") + UsageOf(Command::Process));
    const std::string first = words[0];
    if (const CommandRow* row = FindCommand(first)) {
        line.command = row->command;
        words.erase(words.begin());
        if (words.size() < row->least) throw UsageError(first + ": " + row->missing);
        if (words.size() > row->most)
            throw UsageError(first + ": unexpected '" + words[row->most] + "'; it takes " + row->takes);
        return;
    }
    if (const std::string suggestion = CommandSuggestion(first); !suggestion.empty())
        throw UsageError("unknown command '" + first + "'" + suggestion + "; 'zor help' lists the commands");
    // OUTPUT may have any name when its format is given.
    const std::size_t files = line.format == nullptr ? 2 : 1;
    for (std::size_t i = 0; i < std::min(files, words.size()); ++i)
        if (FindEffect(words[i]) != nullptr && !Exists(words[i]))
            throw UsageError("the effect '" + words[i] + "' stands in the place of " + (i == 0 ? "INPUT" : "OUTPUT") +
                             "; usage: " + UsageOf(Command::Process));
    if (words.size() < 2)
        throw UsageError("OUTPUT is missing behind '" + first + "'; usage: " + UsageOf(Command::Process));
}

// What help is asked about beside an option for it: the last effect, or the command; all, where there is neither.
std::vector<std::string> HelpWanted(const std::vector<std::string>& words) {
    const auto effect =
        std::find_if(words.rbegin(), words.rend(), [](const std::string& word) { return FindEffect(word) != nullptr; });
    if (effect != words.rend()) return {*effect};
    if (!words.empty() && words[0] != "help" && FindCommand(words[0]) != nullptr) return {words[0]};
    return {};
}

void ChooseFiles(CommandLine& line, const PlainWords& plain) {
    const auto middle = plain.words.begin() + static_cast<std::ptrdiff_t>(plain.beforeDashes);
    line.command = Command::Each;
    line.files.assign(plain.words.begin(), middle);
    line.words.assign(middle, plain.words.end());
    if (line.files.empty()) throw UsageError(std::string("--each: FILE is missing; usage: ") + UsageOf(Command::Each));
}

// Options that belong to one command.
void CheckOwners(const CommandLine& line) {
    if (line.json && line.command != Command::Info) throw UsageError("--json: only 'zor info' knows it");
    if (line.cpu && line.command != Command::Describe) throw UsageError("--cpu: only 'zor describe' knows it");
}

// An option without its value, or with two of them.
std::string Mismatch(const CLI::App& app, const CLI::ArgumentMismatch& error) {
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr) return text;
    if (option->count() > 1) return name + " is given more than once";
    return name + ": " + option->get_type_name() + " is missing: " + option->get_description();
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
    } catch (const CLI::ArgumentMismatch& error) {
        throw UsageError(Mismatch(app, error));
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    const PlainWords plain = TakePlainWords(app);
    line.words = plain.words;
    if (flags.help) {
        line.command = Command::Help;
        line.words = HelpWanted(plain.words);
    } else if (flags.manual) {
        line.command = Command::Manual;
    } else if (flags.version) {
        line.command = Command::Version;
    } else if (!line.each.empty()) {
        ChooseFiles(line, plain);
        CheckOwners(line);
    } else {
        if (line.jobs != 0) throw UsageError("--jobs goes with --each");
        ChooseCommand(line);
        CheckOwners(line);
    }
    return line;
}

const Codec& OutputCodec(const CommandLine& line, const std::string& path) {
    const Codec* codec = line.format != nullptr ? line.format : path == "-" ? CodecOfName("pnm") : CodecOfSuffix(path);
    if (path.empty()) throw UsageError("the name of OUTPUT is empty");
    if (codec == nullptr)
        throw UsageError(path + ": the suffix names no format that can be written; known are " + KnownSuffixes());
    if (line.write.lossless && !codec->lossless)
        throw UsageError(path + ": --lossless: " + codec->name + " cannot be written without loss");
    return *codec;
}

std::vector<OptionRow> OptionRows() {
    CommandLine line;
    Flags flags;
    CLI::App app;
    AddOptions(app, line, flags);
    std::vector<OptionRow> rows;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty()) continue;
        const std::string shortName = option->get_snames().empty() ? "" : "-" + option->get_snames()[0];
        const std::string value = option->get_expected_max() > 0 ? option->get_type_name() : "";
        rows.push_back(
            {shortName, "--" + option->get_lnames()[0], value, option->get_description(), option->get_group()});
    }
    return rows;
}
