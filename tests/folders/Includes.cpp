#include "Includes.h"

#include <algorithm>
#include <fstream>
#include <optional>

namespace {

struct Include {
    std::string header;
    bool quoted;  // with quotation marks: a header of this repository
};

struct Line {
    std::string file;  // from the top of the repository
    int number;
};

// The row of a folder of src/, counted from the top.
std::optional<std::size_t> RowOf(const std::string& folder) {
    for (std::size_t row = 0; row < kFoldersFromTheTop.size(); ++row) {
        if (std::ranges::find(kFoldersFromTheTop[row], folder) != kFoldersFromTheTop[row].end()) return row;
    }
    return std::nullopt;
}

std::string FirstFolder(const std::string& path) {
    const std::size_t slash = path.find('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

// The kernels know nothing but C++ and the library that their vectors are written with.
bool IsStandardOrHighway(const std::string& header) {
    return header.starts_with("hwy/") || header.find_first_of("./") == std::string::npos;
}

// Why a file in that folder of src/ may not have the include; empty if it may.
std::string WhyNotInEngine(const std::string& folder, const Include& include) {
    const std::string other = FirstFolder(include.header);
    const std::optional<std::size_t> own = RowOf(folder), others = RowOf(other);
    if (!own) return "";  // the folder itself is wrong
    if (others) {
        if (*others > *own || other == folder) return "";
        return *others < *own ? "points upward" : "points to a folder of the same row";
    }
    if (include.quoted) return "names no folder of src";
    if (folder == "kernels" && !IsStandardOrHighway(include.header)) return "is not of the standard library or hwy";
    return "";
}

// Why a file outside of src/ may not have the include.
std::string WhyNotOutside(const Include& include) {
    return RowOf(FirstFolder(include.header)) ? "reaches into the engine" : "";
}

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first);
}

// What stands behind "#include", or nothing where the line is no include.
std::optional<std::string> IncludedBy(const std::string& line) {
    std::string rest = Trimmed(line);
    if (!rest.starts_with('#')) return std::nullopt;
    rest = Trimmed(rest.substr(1));
    if (!rest.starts_with("include")) return std::nullopt;
    return Trimmed(rest.substr(7));
}

std::optional<Include> ParseInclude(const std::string& text) {
    if (text.empty() || (text[0] != '"' && text[0] != '<')) return std::nullopt;
    const std::size_t end = text.find(text[0] == '"' ? '"' : '>', 1);
    if (end == std::string::npos) return std::nullopt;
    return Include{text.substr(1, end - 1), text[0] == '"'};
}

bool IsSource(const std::filesystem::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp" || path.extension() == ".inc";
}

class Checker {
public:
    Checker(const std::filesystem::path& root, const std::vector<AllowedInclude>& allowed)
        : root_(root), allowed_(allowed), used_(allowed.size()) {}

    std::vector<std::string> Check() {
        CheckFolders();
        for (const char* part : {"src", "runtime", "cli"}) {
            if (!std::filesystem::exists(root_ / part)) continue;
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root_ / part)) {
                if (entry.is_regular_file() && IsSource(entry.path())) CheckFile(entry.path());
            }
        }
        for (std::size_t i = 0; i < allowed_.size(); ++i) {
            if (!used_[i]) wrong_.push_back(allowed_[i].folder + ": nothing needs \"" + allowed_[i].header + "\"");
        }
        std::ranges::sort(wrong_);
        return wrong_;
    }

private:
    void CheckFolders() {
        if (!std::filesystem::exists(root_ / "src")) return;
        for (const auto& entry : std::filesystem::directory_iterator(root_ / "src")) {
            const std::string name = entry.path().filename().string();
            if (entry.is_directory() && !RowOf(name)) {
                wrong_.push_back("src/" + name + ": the folder has no place in the order");
            } else if (entry.is_regular_file() && IsSource(entry.path())) {
                wrong_.push_back("src/" + name + ": stands in no folder");
            }
        }
    }

    void CheckFile(const std::filesystem::path& path) {
        const std::string name = path.lexically_relative(root_).generic_string();
        std::ifstream file(path);
        int number = 0;
        for (std::string line; std::getline(file, line);) {
            ++number;
            if (const std::optional<std::string> text = IncludedBy(line)) CheckInclude({name, number}, *text);
        }
    }

    void CheckInclude(const Line& line, const std::string& text) {
        const std::string part = FirstFolder(line.file);
        const std::string folder = FirstFolder(line.file.substr(part.size() + 1));  // empty right in src/
        const std::optional<Include> include = ParseInclude(text);
        std::string why;
        if (!include) {
            why = "hides what is included";
        } else if (include->header.find("..") != std::string::npos) {
            why = "goes by way of the parent folder";
        } else {
            why = part == "src" ? WhyNotInEngine(folder, *include) : WhyNotOutside(*include);
            if (!why.empty() && IsAllowed(part == "src" ? "src/" + folder : part, include->header)) return;
        }
        if (why.empty()) return;
        wrong_.push_back(line.file + ":" + std::to_string(line.number) + ": #include " + text + " " + why);
    }

    bool IsAllowed(const std::string& folder, const std::string& header) {
        for (std::size_t i = 0; i < allowed_.size(); ++i) {
            if (allowed_[i].folder != folder || allowed_[i].header != header) continue;
            used_[i] = true;
            return true;
        }
        return false;
    }

    std::filesystem::path root_;
    const std::vector<AllowedInclude>& allowed_;
    std::vector<bool> used_;
    std::vector<std::string> wrong_;
};

}  // namespace

std::vector<std::string> WrongIncludes(const std::filesystem::path& root, const std::vector<AllowedInclude>& allowed) {
    return Checker(root, allowed).Check();
}
