#include "Reference.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace {

using zorhost::ConstantDescription;
using zorhost::MethodDescription;
using zorhost::PropertyDescription;

// Flags of rows, as plug-ins register them.
constexpr std::intptr_t kConsoleSafe = 0x4;
constexpr std::intptr_t kDealsInPictures = 0x40000;

const char* Availability(std::intptr_t flags) {
    if (flags & kDealsInPictures) return "desktop; console and web from host version 2010.029";
    return flags & kConsoleSafe ? "all applications" : "desktop only";
}

// --- the file of texts ----------------------------------------------------------------------------------------------

enum class EntryKind { Section, Member, Form, Row, Prose };

struct Entry {
    EntryKind kind;
    std::string key;
    std::string text;
    int line;
};

struct TextFile {
    std::string about;
    std::vector<Entry> entries;
};

std::string Trimmed(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    text.erase(0, std::min(text.find_first_not_of(" \n"), text.size()));
    return text;
}

// The key that a line starts an entry with; false for a line of text.
bool ReadHeading(const std::string& line, Entry* entry) {
    static const struct {
        const char* mark;
        EntryKind kind;
    } kMarks[] = {
        {"## ", EntryKind::Section}, {"### ", EntryKind::Member}, {"#### ", EntryKind::Form}, {"@ ", EntryKind::Row}};
    for (const auto& [mark, kind] : kMarks) {
        if (!line.starts_with(mark)) continue;
        entry->kind = kind;
        entry->key = Trimmed(line.substr(std::string_view(mark).size()));
        if (kind == EntryKind::Row) {
            const std::size_t colon = entry->key.find(": ");
            if (colon == std::string::npos) return false;
            entry->text = entry->key.substr(colon + 2) + "\n";
            entry->key.resize(colon);
        }
        return true;
    }
    return false;
}

TextFile ReadTexts(const std::string& text) {
    TextFile file;
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        Entry entry{EntryKind::Section, "", "", number};
        if (ReadHeading(line, &entry)) {
            file.entries.push_back(entry);
        } else if (file.entries.empty()) {
            file.about += line + "\n";
        } else {
            if (line.empty() && file.entries.back().kind == EntryKind::Row) {
                file.entries.push_back({EntryKind::Prose, "", "", number});
            }
            file.entries.back().text += line + "\n";
        }
    }
    file.about = Trimmed(file.about);
    for (Entry& entry : file.entries) entry.text = Trimmed(entry.text);
    return file;
}

// --- what is registered ---------------------------------------------------------------------------------------------

struct Form {
    std::string key;           // "(first, second)"
    std::string declarations;  // one a line
    std::intptr_t flags = 0;
    bool told = false;
};

struct Member {
    const PropertyDescription* property = nullptr;
    const ConstantDescription* constant = nullptr;
    std::vector<Form> forms;  // of methods and events
    bool told = false;
};

std::string FormKey(const zorhost::Signature& signature) {
    std::string key;
    for (const zorhost::Parameter& parameter : signature.parameters) key += (key.empty() ? "" : ", ") + parameter.name;
    return "(" + key + ")";
}

// "Row(index as integer) = value as memoryblock": how the method is written when it is assigned to.
std::string AssignmentForm(const MethodDescription& method) {
    const std::size_t end = method.declaration.rfind(" as ");
    return method.declaration.substr(0, end) + " = value" + method.declaration.substr(end);
}

void AddForm(Member* member, const zorhost::Signature& signature, const std::string& declaration, std::intptr_t flags) {
    const std::string key = FormKey(signature);
    const auto same = std::ranges::find(member->forms, key, &Form::key);
    if (same == member->forms.end()) {
        member->forms.push_back({key, declaration, flags});
    } else {
        same->declarations += "\n" + declaration;
    }
}

std::map<std::string, Member> MembersOf(const zorhost::ClassDescription& about) {
    std::map<std::string, Member> members;
    for (const PropertyDescription& row : about.properties) members[row.name].property = &row;
    for (const ConstantDescription& row : about.constants) members[row.name].constant = &row;
    const auto addMethods = [&members](const std::vector<MethodDescription>& rows, const std::string& prefix) {
        for (const MethodDescription& row : rows) {
            const std::string text = row.declaration + (row.assignable ? "\n" + AssignmentForm(row) : "");
            AddForm(&members[prefix + row.signature.name], row.signature, text, row.flags);
        }
    };
    addMethods(about.methods, "");
    addMethods(about.sharedMethods, "shared ");
    for (const zorhost::EventDescription& row : about.events) {
        AddForm(&members["event " + row.signature.name], row.signature, row.declaration, kConsoleSafe);
    }
    return members;
}

// --- the document ---------------------------------------------------------------------------------------------------

// As links to headings are made of them.
std::string Anchor(const std::string& title) {
    std::string anchor;
    for (const char c : title) {
        const auto letter = static_cast<unsigned char>(c);
        if (std::isalnum(letter) || c == '-' || c == '_') anchor += static_cast<char>(std::tolower(letter));
        if (c == ' ') anchor += '-';
    }
    return anchor;
}

std::string OneLine(const std::string& text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) line += (line.empty() ? "" : " ") + word;
    return line;
}

class ClassWriter {
public:
    ClassWriter(const ClassText& source, std::string* contents, std::vector<std::string>* problems)
        : source_(source), members_(MembersOf(source.about)), contents_(contents), problems_(problems) {}

    std::string Write() {
        const TextFile file = ReadTexts(source_.text);
        if (file.about.empty()) Complain(1, "the class " + source_.about.name + " has no text");
        out_ = "## " + source_.about.name + "\n\n" + file.about + "\n\n" + Index(file) + "\n";
        for (const Entry& entry : file.entries) Add(entry);
        FindWhatIsMissing();
        return out_;
    }

private:
    // The members with an entry of their own, in the order of the alphabet.
    static std::string Index(const TextFile& file) {
        std::set<std::string> names;
        for (const Entry& entry : file.entries) {
            if (entry.kind == EntryKind::Member) names.insert(entry.key);
        }
        std::string index;
        for (const std::string& name : names) {
            index += (index.empty() ? "" : ",\n") + ("[" + name + "](#" + Anchor(name) + ")");
        }
        return index;
    }

    void Complain(int line, const std::string& problem) {
        problems_->push_back(source_.fileName + ":" + std::to_string(line) + ": " + problem);
    }

    void Add(const Entry& entry) {
        if (entry.kind == EntryKind::Prose && entry.text.empty()) return;  // the line between two tables
        if (entry.kind != EntryKind::Row) table_.clear();
        switch (entry.kind) {
            case EntryKind::Section:
                out_ += "\n### " + entry.key + "\n" + (entry.text.empty() ? "" : "\n" + entry.text + "\n");
                *contents_ += "  - [" + entry.key + "](#" + Anchor(entry.key) + ")\n";
                break;
            case EntryKind::Member:
                AddMember(entry);
                break;
            case EntryKind::Form:
                AddForm(entry);
                break;
            case EntryKind::Row:
                AddRow(entry);
                break;
            case EntryKind::Prose:
                out_ += "\n" + entry.text + "\n";
                break;
        }
    }

    // Nothing, after a complaint, where there is no such member or it was told already.
    Member* Find(const Entry& entry) {
        const auto found = members_.find(entry.key);
        if (found == members_.end()) {
            Complain(entry.line, source_.about.name + " has no member \"" + entry.key + "\"");
            return nullptr;
        }
        if (found->second.told) {
            Complain(entry.line, "\"" + entry.key + "\" is told twice");
            return nullptr;
        }
        found->second.told = true;
        return &found->second;
    }

    void AddMember(const Entry& entry) {
        current_ = Find(entry);
        currentName_ = entry.key;
        if (!current_) return;
        const bool hasForms = current_->forms.size() > 1;
        if (entry.text.empty() && !hasForms) Complain(entry.line, "\"" + entry.key + "\" has no text");
        out_ += "\n#### " + entry.key + "\n";
        if (current_->property) {
            AddDeclaration(current_->property->declaration, current_->property->flags,
                           current_->property->writable ? "; read and write" : "; read only");
        } else if (current_->constant) {
            AddDeclaration(current_->constant->declaration, kConsoleSafe, "");
        } else if (!hasForms) {
            current_->forms.front().told = true;
            AddDeclaration(current_->forms.front().declarations, current_->forms.front().flags, "");
        }
        if (!entry.text.empty()) out_ += "\n" + entry.text + "\n";
    }

    void AddForm(const Entry& entry) {
        if (!current_) return Complain(entry.line, "the form " + entry.key + " belongs to no member");
        const auto form = std::ranges::find(current_->forms, entry.key, &Form::key);
        if (form == current_->forms.end()) {
            return Complain(entry.line, "\"" + currentName_ + "\" has no form " + entry.key);
        }
        if (form->told) return Complain(entry.line, "\"" + currentName_ + entry.key + "\" is told twice");
        if (entry.text.empty()) Complain(entry.line, "\"" + currentName_ + entry.key + "\" has no text");
        form->told = true;
        AddDeclaration(form->declarations, form->flags, "");
        out_ += "\n" + entry.text + "\n";
    }

    void AddDeclaration(const std::string& declarations, std::intptr_t flags, const std::string& access) {
        out_ += "\n```vb\n" + declarations + "\n```\n\n*" + Availability(flags) + access + "*\n";
    }

    void AddRow(const Entry& entry) {
        const Member* const member = Find(entry);
        if (!member) return;
        if (entry.text.empty()) Complain(entry.line, "\"" + entry.key + "\" has no text");
        const std::string text = OneLine(entry.text);
        if (member->property) {
            OpenTable("| Property | Type | Access | In | Meaning |\n| --- | --- | --- | --- | --- |\n");
            out_ += "| `" + entry.key + "` | " + member->property->type.Name() + " | " +
                    (member->property->writable ? "read, write" : "read") + " | " +
                    Availability(member->property->flags) + " | " + text + " |\n";
        } else if (member->constant) {
            OpenTable("| Constant | Value | Meaning |\n| --- | --- | --- |\n");
            out_ +=
                "| `" + entry.key + "` | " + std::to_string(member->constant->value.AsInt()) + " | " + text + " |\n";
        } else {
            Complain(entry.line, "\"" + entry.key + "\" is a method, which has an entry of its own");
        }
    }

    void OpenTable(const std::string& head) {
        if (table_ == head) return;
        table_ = head;
        out_ += "\n" + head;
    }

    void FindWhatIsMissing() {
        for (const auto& [name, member] : members_) {
            if (!member.told) {
                problems_->push_back(source_.fileName + ": " + source_.about.name + "." + name + " has no text");
                continue;
            }
            for (const Form& form : member.forms) {
                if (form.told) continue;
                problems_->push_back(source_.fileName + ": " + source_.about.name + "." + name + form.key +
                                     " has no text");
            }
        }
    }

    const ClassText& source_;
    std::map<std::string, Member> members_;
    std::string* contents_;
    std::vector<std::string>* problems_;
    std::string out_;
    std::string table_;  // head of the table that is open
    Member* current_ = nullptr;
    std::string currentName_;
};

}  // namespace

std::string MakeReference(std::string_view preface, const std::vector<ClassText>& classes) {
    std::vector<std::string> problems;
    std::string contents, body;
    for (const ClassText& source : classes) {
        contents += "- [" + source.about.name + "](#" + Anchor(source.about.name) + ")\n";
        body += "\n" + ClassWriter(source, &contents, &problems).Write();
    }
    if (!problems.empty()) {
        std::string text;
        for (const std::string& problem : problems) text += (text.empty() ? "" : "\n") + problem;
        throw std::runtime_error(text);
    }
    return Trimmed(std::string(preface)) + "\n\n" + contents + body;
}
