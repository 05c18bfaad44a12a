#include "FreshHost.h"

#include <unistd.h>

namespace zorhost {

std::filesystem::path FreshCopyOf(const std::filesystem::path& plugin) {
    static int count = 0;
    const std::string name = "zorhost-test-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".so";
    const std::filesystem::path copy = std::filesystem::temp_directory_path() / name;
    std::filesystem::copy_file(plugin, copy, std::filesystem::copy_options::overwrite_existing);
    return copy;
}

static HostOptions With(HostOptions options, const std::filesystem::path& plugin) {
    options.plugin = plugin;
    return options;
}

FreshHost::FreshHost(const std::filesystem::path& original, HostOptions options)
    : plugin(FreshCopyOf(original)), host(With(std::move(options), plugin)) {
    std::filesystem::remove(plugin);
}

FreshHost::~FreshHost() {
    std::error_code ignored;
    std::filesystem::remove(plugin, ignored);
}

void FreshHost::ExpectClean() const {
    EXPECT_EQ(host.LeakReport(), "");
    EXPECT_EQ(host.Faults(), std::vector<std::string>());
}

}  // namespace zorhost
