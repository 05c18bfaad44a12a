#include "ResultNames.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "Errors.h"

namespace fs = std::filesystem;

namespace {

std::string Number(std::size_t index, std::size_t count) {
    std::string number = std::to_string(index + 1);
    return std::string(std::to_string(count).size() - number.size(), '0') + number;
}

std::string Directory(const fs::path& file) {
    const std::string parent = file.parent_path().string();
    return parent.empty() ? "." : parent;
}

std::string Filled(const std::string& word, const fs::path& file, const std::string& number) {
    if (word == "name") return file.filename().string();
    if (word == "stem") return file.stem().string();
    if (word == "ext") return file.has_extension() ? file.extension().string().substr(1) : "";
    if (word == "dir") return Directory(file);
    if (word == "n") return number;
    throw UsageError("--each: '{" + word + "}' stands for nothing; known are {stem}, {name}, {ext}, {dir} and {n}");
}

std::string ResultName(const std::string& pattern, const fs::path& file, const std::string& number) {
    std::string name;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c != '{' && c != '}') {
            name += c;
        } else if (i + 1 < pattern.size() && pattern[i + 1] == c) {
            name += c;
            ++i;
        } else {
            const std::size_t end = c == '{' ? pattern.find('}', i) : std::string::npos;
            if (end == std::string::npos)
                throw UsageError("--each: '" + pattern + "': a brace by itself is written twice, '{{' or '}}'");
            name += Filled(pattern.substr(i + 1, end - i - 1), file, number);
            i = end;
        }
    }
    return name;
}

// The same text for all names that lead to one place.
std::string PlaceOf(const std::string& name) {
    std::error_code error;
    const fs::path place = fs::weakly_canonical(name, error);
    return error ? fs::path(name).lexically_normal().string() : place.string();
}

}  // namespace

std::vector<std::string> ResultNames(const std::string& pattern, const std::vector<std::string>& files) {
    std::vector<std::string> names;
    std::map<std::string, std::size_t> sources;
    for (std::size_t i = 0; i < files.size(); ++i) {
        names.push_back(ResultName(pattern, files[i], Number(i, files.size())));
        sources.emplace(PlaceOf(files[i]), i);
    }
    std::map<std::string, std::size_t> results;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string place = PlaceOf(names[i]);
        const auto [first, isNew] = results.emplace(place, i);
        if (!isNew)
            throw UsageError("--each: the results of " + files[first->second] + " and " + files[i] + " would both be " +
                             names[i]);
        // A file may be replaced by its own result, but not by that of another, which may come before it is read.
        const auto source = sources.find(place);
        if (source != sources.end() && source->second != i)
            throw UsageError("--each: the result of " + files[i] + " would replace " + files[source->second] +
                             ", which is to be read as well");
    }
    return names;
}
