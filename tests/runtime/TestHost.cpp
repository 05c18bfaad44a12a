#include "TestHost.h"

#include <unistd.h>

namespace zorhost {

std::filesystem::path FreshPlugin() {
    static int count = 0;
    const std::string name = "zorhost-test-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".so";
    const std::filesystem::path copy = std::filesystem::temp_directory_path() / name;
    std::filesystem::copy_file(TEST_PLUGIN, copy, std::filesystem::copy_options::overwrite_existing);
    return copy;
}

static HostOptions With(HostOptions options, const std::filesystem::path& plugin) {
    options.plugin = plugin;
    return options;
}

TestHost::TestHost(HostOptions options) : plugin(FreshPlugin()), host(With(std::move(options), plugin)) {
    std::filesystem::remove(plugin);
}

TestHost::~TestHost() {
    std::error_code ignored;
    std::filesystem::remove(plugin, ignored);
}

void TestHost::ExpectClean() const {
    EXPECT_EQ(host.LeakReport(), "");
    EXPECT_EQ(host.Faults(), std::vector<std::string>());
}

}  // namespace zorhost
