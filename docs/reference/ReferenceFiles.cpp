#include "ReferenceFiles.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "Reference.h"
#include "zorhost/Host.h"

std::string ReadWholeFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file) text << file.rdbuf();
    if (!file || !text) throw std::runtime_error(path.string() + ": the file cannot be read");
    return text.str();
}

std::string ReferenceFromFiles(const std::filesystem::path& plugin, const std::filesystem::path& texts) {
    zorhost::HostOptions options;
    options.plugin = plugin;
    options.world = zorhost::World::None;
    const zorhost::Host host(std::move(options));
    std::vector<ClassText> classes;
    for (const zorhost::ClassDescription& about : host.Classes()) {
        const std::filesystem::path path = texts / (about.name + ".md");
        classes.push_back({about, ReadWholeFile(path), path.filename().string()});
    }
    return MakeReference(ReadWholeFile(texts / "Preface.md"), classes);
}
