#include "Plugins.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "Classes.h"
#include "Services.h"

namespace zorhost::runtime {

namespace {

// A plug-in keeps what it was told at its start, rewrites its tables there, and has no end. So it is started once, and
// hosts that come later take up the classes that it registered.
struct StartedPlugin {
    PluginMain entry = nullptr;
    World world = World::None;
    PictureStorage pictures = PictureStorage::ByWorld;
    double version = 0;
    std::string cpu;
    std::set<std::string> missing;
    int pluginVersion = 0;
    std::string error;  // why it cannot be used; empty once it has started well
    std::vector<REALclassDefinition*> definitions;
};

std::deque<StartedPlugin> gStarted;
StartedPlugin* gStarting = nullptr;

PluginMain OpenLibrary(const std::filesystem::path& path) {
    if (path.empty()) throw Error("no plug-in was named");
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    // Never closed: the engine keeps functions and tables for the life of the process.
    void* const library = dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw Error("cannot open the plug-in " + absolute.string() + ": " + dlerror());
    void* const entry = dlsym(library, "REALPluginMain");
    if (!entry) throw Error("the library " + absolute.string() + " is no plug-in: it has no REALPluginMain");
    return reinterpret_cast<PluginMain>(entry);
}

// Sees that the environment names the instruction set for as long as this lives.
struct CpuScope {
    explicit CpuScope(const std::string& cpu) : isSet(!cpu.empty()) {
        if (!isSet) return;
        if (const char* const value = std::getenv(kVariable)) before = value;
        if (setenv(kVariable, cpu.c_str(), 1) != 0) throw Error("no memory for the environment of the plug-in");
    }
    ~CpuScope() {
        if (!isSet) return;
        if (before)
            setenv(kVariable, before->c_str(), 1);
        else
            unsetenv(kVariable);
    }
    CpuScope(const CpuScope&) = delete;
    CpuScope& operator=(const CpuScope&) = delete;

    static constexpr const char* kVariable = "ZOR_CPU";
    const bool isSet;
    std::optional<std::string> before;
};

void CheckCpu(const std::string& cpu) {
    constexpr const char* kKnown[] = {"plain", "sse4", "avx2", "neon"};
    if (cpu.empty() || std::ranges::find(kKnown, cpu) != std::end(kKnown)) return;
    std::string list;
    for (const char* const known : kKnown) list += std::string(list.empty() ? "" : ", ") + known;
    throw Error("unknown instruction set \"" + cpu + "\"; known are " + list);
}

void TakeUp(Runtime& host, const StartedPlugin& plugin) {
    if (plugin.world != host.options.world || plugin.version != host.options.version ||
        plugin.cpu != host.options.cpu || plugin.pictures != host.options.pictures ||
        plugin.missing != host.options.missing) {
        throw Error(
            "this process started the plug-in for a host of another world, version, instruction set or services");
    }
    if (!plugin.error.empty()) throw Error("the plug-in cannot be used: " + plugin.error);
    host.pluginVersion = plugin.pluginVersion;
    for (REALclassDefinition* const definition : plugin.definitions) RegisterClass(host, definition);
}

}  // namespace

void RegisterFromPlugin(Runtime& host, REALclassDefinition* definition) {
    try {
        RegisterClass(host, definition);
        if (gStarting) gStarting->definitions.push_back(definition);
    } catch (const Error& error) {
        if (host.startError.empty()) host.startError = error.what();
    }
}

void StartPlugin(Runtime& host) {
    CheckCpu(host.options.cpu);
    const PluginMain entry = host.options.entry ? host.options.entry : OpenLibrary(host.options.plugin);
    for (const StartedPlugin& plugin : gStarted) {
        if (plugin.entry == entry) return TakeUp(host, plugin);
    }
    StartedPlugin& plugin = gStarted.emplace_back();
    plugin.entry = entry;
    plugin.world = host.options.world;
    plugin.pictures = host.options.pictures;
    plugin.version = host.options.version;
    plugin.cpu = host.options.cpu;
    plugin.missing = host.options.missing;
    plugin.error = "its start did not end";
    gStarting = &plugin;
    try {
        FrameScope frame(host, "the start of the plug-in");
        const CpuScope cpu(host.options.cpu);
        entry(ResolveService);
    } catch (...) {
        gStarting = nullptr;
        throw;
    }
    gStarting = nullptr;
    plugin.pluginVersion = host.pluginVersion;
    plugin.error = host.startError;
    if (!plugin.error.empty()) throw Error("the plug-in cannot be used: " + plugin.error);
}

}  // namespace zorhost::runtime
