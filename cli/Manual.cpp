#include "Manual.h"

#include "CommandLine.h"
#include "CommandTable.h"
#include "Cpu.h"
#include "Help.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"
#include "plugin/Version.h"

namespace {

// Text as it is: what the formatter would take for an instruction is marked.
std::string Plain(const std::string& text) {
    std::string result;
    bool lineStarts = true;
    for (const char c : text) {
        if (lineStarts && (c == '.' || c == '\'')) result += "\\&";
        lineStarts = c == '\n';
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (c == '\'')
            result += "\\(aq";
        else
            result += c;
    }
    return result;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Plain(text) + "\\fR";
}

std::string Entry(const std::string& head, const std::string& text) {
    return ".TP\n" + head + "\n" + Plain(text) + "\n";
}

std::string Section(const std::string& name) {
    return ".SH " + name + "\n";
}

std::string CommandSection() {
    std::string text = Section("COMMANDS");
    for (const CommandRow& row : Commands())
        text += Entry(Bold(row.usage), std::string(row.summary) + ".") + ".sp\n" + Plain(row.details) + "\n";
    return text;
}

std::string OptionSection() {
    std::string text = Section("OPTIONS");
    std::string group;
    for (const OptionRow& row : OptionRows()) {
        if (group != row.group) text += ".SS " + Plain(row.group) + "\n";
        group = row.group;
        const std::string names = (row.shortName.empty() ? "" : row.shortName + ", ") + row.longName;
        text += Entry(Bold(names) + (row.value.empty() ? "" : " \\fI" + Plain(row.value) + "\\fR"), row.help + ".");
    }
    return text;
}

std::string ArgumentText(const ArgumentRow& row) {
    std::string text = std::string(row.help) + ": " + Expectation(row);
    if (row.fallback != nullptr && *row.fallback != '\0') text += std::string(" (") + row.fallback + " unless given)";
    return text + ".";
}

std::string EffectSection() {
    std::string text = Section("EFFECTS");
    std::string group;
    for (const EffectRow& row : Effects()) {
        if (group != row.group) text += ".SS " + Plain(row.group) + "\n";
        group = row.group;
        text += Entry(Bold(EffectUsage(row)), std::string(row.summary) + ".");
        text += ".RS\n";
        for (const ArgumentRow& argument : row.arguments) text += Entry(Bold(argument.name), ArgumentText(argument));
        text += ".PP\n" + Plain(row.details) +
                "\n.PP\nExample: " + Bold(std::string("zor photo.jpg result.png ") + row.example) + "\n.RE\n";
    }
    return text;
}

std::string FormatSection() {
    std::string formats;
    for (const Codec& codec : Codecs()) formats += (formats.empty() ? "" : ", ") + std::string(codec.name);
    return Section("FORMATS") + Plain(formats + ".\nINPUT is told by its content, OUTPUT by its suffix: " +
                                      KnownSuffixes() + ".\n" + kStreamsHelp + "\n");
}

}  // namespace

std::string ManualPage() {
    std::string synopsis;
    for (const CommandRow& row : Commands()) synopsis += Bold(row.usage) + "\n.br\n";
    return ".TH ZOR 1 \"\" \"zor " ZOR_VERSION "\" \"User commands\"\n" + Section("NAME") +
           "zor \\- work on picture files\n" + Section("SYNOPSIS") + synopsis + Section("DESCRIPTION") +
           "Reads a picture, does effects on it in the order given, and writes the result.\n"
           "Colour profile, resolution and metadata are carried along where the formats allow.\n"
           "Options may stand anywhere before \\fB\\-\\-\\fR; every word behind it is taken as it is.\n"
           "Arguments of effects are written as \\fIname\\fR=\\fIvalue\\fR; those that must be given need no name.\n" +
           CommandSection() + OptionSection() + EffectSection() + FormatSection() + Section("EXIT STATUS") +
           Entry("0", "Done; of compare, the pictures are equal.") +
           Entry("1", "Failed; of compare, the pictures differ.") +
           Entry("2",
                 "A word on the command line cannot be used; of compare also, the pictures could not be compared.") +
           Section("ENVIRONMENT") +
           Entry(Bold("ZOR_CPU"), "The highest instruction set that the engine may use, one of " + KnownCpus() +
                                      "; the best of the processor unless given. Results are the same with each.") +
           Entry(Bold("TMPDIR"), "Where images go that are larger than memory unless --scratch is given.") +
           Section("EXAMPLES") + ".nf\nzor photo.jpg small.png scale 800x600\n" +
           Plain(
               "zor photo.jpg sharp.jpg scale 2000x unsharp 0.5\n"
               "zor --each 'small/{stem}.webp' --jobs 4 *.jpg -- scale 25%\n"
               "zor compare before.png after.png\n") +
           ".fi\n";
}
