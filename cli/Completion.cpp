#include "Completion.h"

#include <algorithm>
#include <charconv>

#include "CommandLine.h"
#include "CommandTable.h"
#include "Errors.h"
#include "Metadata.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"

namespace {

constexpr const char* kFiles = "<files>";
constexpr const char* kDirectories = "<directories>";

using Candidates = std::vector<std::string>;

const OptionRow* FindOption(const std::vector<OptionRow>& rows, const std::string& name) {
    for (const OptionRow& row : rows)
        if (name == row.longName || (!row.shortName.empty() && name == row.shortName)) return &row;
    return nullptr;
}

// What may stand behind an option.
Candidates OptionValues(const OptionRow& row) {
    if (row.longName == "--format") return WritableNames();
    if (row.longName == "--strip") return StrippingWords();
    if (row.value == "DIR") return {kDirectories};
    if (row.value == "PATTERN") return {kDirectories};
    if (row.value == "FILE") return {kFiles};
    return {};
}

Candidates CommandWords() {
    Candidates words;
    for (const CommandRow& row : Commands())
        if (row.word != nullptr) words.emplace_back(row.word);
    return words;
}

void Add(Candidates* to, const Candidates& more) {
    to->insert(to->end(), more.begin(), more.end());
}

Candidates Named(const ArgumentRow& row) {
    const std::string before = std::string(row.name) + "=";
    switch (row.type) {
        case ArgumentType::Flag:
            return {row.name};
        case ArgumentType::Choice: {
            Candidates values;
            for (const char* choice : row.choices) values.push_back(before + choice);
            return values;
        }
        case ArgumentType::File:
        case ArgumentType::Curve:
            return {kFiles};
        default:
            return {before};
    }
}

Candidates Bare(const ArgumentRow& row) {
    if (row.type == ArgumentType::Choice) return {row.choices.begin(), row.choices.end()};
    if (row.type == ArgumentType::File || row.type == ArgumentType::Curve) return {kFiles};
    return {};
}

bool IsFlagOf(const EffectRow& effect, const std::string& word) {
    return std::any_of(effect.arguments.begin(), effect.arguments.end(),
                       [&](const ArgumentRow& row) { return row.type == ArgumentType::Flag && word == row.name; });
}

// Arguments of an effect, of which `given` are there already. False: one that must be given is missing, so that no
// other effect can begin.
bool AddArguments(const EffectRow& effect, const Candidates& given, const std::string& current, Candidates* found) {
    // Words without a name are for those that must be given, in their order.
    auto bare = std::count_if(given.begin(), given.end(), [&](const std::string& word) {
        return word.find('=') == std::string::npos && !IsFlagOf(effect, word);
    });
    bool missing = false;
    for (const ArgumentRow& row : effect.arguments) {
        const std::string named = std::string(row.name) + "=";
        const bool isGiven = std::any_of(given.begin(), given.end(), [&](const std::string& word) {
            return word.starts_with(named) || (row.type == ArgumentType::Flag && word == row.name);
        });
        if (isGiven || (row.fallback == nullptr && bare-- > 0)) continue;
        if (current.starts_with(named) || row.type == ArgumentType::Flag)
            Add(found, Named(row));
        else if (row.fallback != nullptr)
            found->push_back(named);
        else if (!missing)
            Add(found, Bare(row));
        missing = missing || row.fallback == nullptr;
    }
    return !missing;
}

Candidates EffectCandidates(const Candidates& words, const std::string& current) {
    const EffectRow* effect = nullptr;
    Candidates given;
    for (const std::string& word : words) {
        if (const EffectRow* row = FindEffect(word)) {
            effect = row;
            given.clear();
        } else {
            given.push_back(word);
        }
    }
    Candidates found;
    if (effect == nullptr || AddArguments(*effect, given, current, &found)) Add(&found, EffectNames());
    return found;
}

// The words before the one to complete, taken apart.
struct Before {
    Candidates plain;
    std::size_t beforeDashes = 0;
    bool dashes = false;
    bool each = false;
    const OptionRow* open = nullptr;  // an option that waits for its value
};

Before TakeApart(const std::vector<OptionRow>& options, const Candidates& words) {
    Before before;
    for (const std::string& word : words) {
        if (before.open != nullptr) {
            before.open = nullptr;
            continue;
        }
        if (!before.dashes && word == "--") {
            before.dashes = true;
            continue;
        }
        if (!before.dashes && word.starts_with("-") && word.size() > 1) {
            const std::string name = word.substr(0, word.find('='));
            const OptionRow* row = FindOption(options, name);
            if (row != nullptr && !row->value.empty() && name == word) before.open = row;
            before.each = before.each || name == "--each";
            continue;
        }
        before.plain.push_back(word);
        if (!before.dashes) ++before.beforeDashes;
    }
    return before;
}

Candidates PlainCandidates(const Before& before, const std::string& current) {
    if (before.each) {
        if (!before.dashes) return {kFiles};
        const auto first = before.plain.begin() + static_cast<std::ptrdiff_t>(before.beforeDashes);
        return EffectCandidates({first, before.plain.end()}, current);
    }
    Candidates found;
    if (before.plain.empty()) {
        found = CommandWords();
        found.emplace_back(kFiles);
        return found;
    }
    if (const CommandRow* row = FindCommand(before.plain[0])) {
        if (before.plain.size() > row->most) return {};
        if (row->command != Command::Help) return {kFiles};
        found = EffectNames();
        Add(&found, CommandWords());
        found.emplace_back("each");
        return found;
    }
    if (before.plain.size() == 1) return {kFiles};
    return EffectCandidates({before.plain.begin() + 2, before.plain.end()}, current);
}

Candidates Find(const Candidates& words, const std::string& current) {
    const std::vector<OptionRow> options = OptionRows();
    const Before before = TakeApart(options, words);
    if (before.open != nullptr) return OptionValues(*before.open);
    if (before.dashes || !current.starts_with("-")) return PlainCandidates(before, current);
    Candidates found;
    if (const std::size_t equals = current.find('='); equals != std::string::npos) {
        if (const OptionRow* row = FindOption(options, current.substr(0, equals)))
            for (const std::string& value : OptionValues(*row))
                found.push_back(value.starts_with("<") ? value : row->longName + "=" + value);
        return found;
    }
    for (const OptionRow& row : options) found.push_back(row.longName);
    return found;
}

}  // namespace

std::string Completions(const std::vector<std::string>& words) {
    std::size_t place = 0;
    const std::string number = words.empty() ? "" : words[0];
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), place);
    if (number.empty() || error != std::errc() || end != number.data() + number.size())
        throw UsageError("--complete: '" + number + "' is no place of a word");
    const std::size_t count = std::min(place, words.size() - 1);
    const Candidates before(words.begin() + 1, words.begin() + 1 + static_cast<std::ptrdiff_t>(count));
    const std::string current = place + 1 < words.size() ? words[place + 1] : "";
    std::string text;
    for (const std::string& candidate : Find(before, current))
        if (candidate.starts_with("<") || candidate.starts_with(current)) text += candidate + "\n";
    return text;
}
