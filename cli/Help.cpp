#include "Help.h"

#include <algorithm>

#include "CommandLine.h"
#include "Errors.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"

namespace {

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string EffectList() {
    std::string text;
    const char* group = nullptr;
    for (const EffectRow& row : Effects()) {
        if (group == nullptr || std::string(group) != row.group) text += std::string("  ") + row.group + "\n";
        group = row.group;
        text += "    " + Padded(row.name, 18) + " " + row.summary + "\n";
    }
    return text;
}

std::string ArgumentLine(const ArgumentRow& row) {
    std::string line = "  " + Padded(row.name, 10) + " " + row.help + ": " + Expectation(row);
    if (row.fallback != nullptr && *row.fallback != '\0') line += std::string(" (") + row.fallback + " unless given)";
    return line + "\n";
}

}  // namespace

std::string GeneralHelp() {
    std::string formats;
    for (const Codec& codec : Codecs()) formats += (formats.empty() ? "" : ", ") + std::string(codec.name);
    return "Usage:\n"
           "  zor [OPTION...] INPUT OUTPUT [EFFECT [ARGUMENT...]]...\n"
           "                       read a picture, work on it, write it; effects run in the order given\n"
           "  zor info FILE...     what picture files hold\n"
           "  zor compare A B      how much two pictures differ\n"
           "  zor describe         the classes of the engine with all their members\n"
           "  zor help [EFFECT]    this text, or all about one effect\n"
           "\n"
           "Examples:\n"
           "  zor photo.jpg small.png scale 800x600\n"
           "  zor --quality 80 scan.png thumb.jpg scale x200 filter=mitchell\n"
           "\n"
           "Formats: " +
           formats + ". INPUT is told by its content, OUTPUT by its suffix (" + KnownSuffixes() +
           ").\n"
           "\n"
           "Options:\n" +
           OptionsHelp() +
           "\n"
           "Effects ('zor help EFFECT' tells more):\n" +
           EffectList() +
           "\n"
           "Exit code: 0 done, 1 failed, 2 a word on the command line that cannot be used; of compare 0 equal,\n"
           "1 different, 2 not compared.\n";
}

std::string EffectHelp(const std::string& name) {
    const EffectRow* row = FindEffect(name);
    if (row == nullptr)
        throw UsageError("help: unknown effect '" + name + "'" + EffectSuggestion(name) +
                         "; 'zor help' lists the effects");
    std::string usage = std::string("zor INPUT OUTPUT ") + row->name;
    std::string arguments;
    for (const ArgumentRow& argument : row->arguments) {
        usage += " " + Placeholder(argument);
        arguments += ArgumentLine(argument);
    }
    std::string text = std::string(row->name) + ": " + row->summary + "\n\n  " + usage + "\n\n";
    if (!arguments.empty()) text += "Arguments:\n" + arguments + "\n";
    return text + row->details + "\n\nExample:\n  zor photo.jpg result.png " + row->example + "\n";
}
