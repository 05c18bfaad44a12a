#include "Engine.h"

#include "Errors.h"
#include "Storage.h"
#include "plugin/PluginEntry.h"

namespace {

constexpr const char* kImageClass = "PictureZOR";

}  // namespace

zorhost::Host& Engine() {
    static zorhost::Host host([] {
        zorhost::HostOptions options;
        options.entry = REALPluginMain;
        // The program is no application of the host language, and takes the classes whole: Combine is kept from
        // applications on the console.
        options.world = zorhost::World::None;
        return options;
    }());
    // Under a temporary lock: the engine keeps its own.
    [[maybe_unused]] static const bool factorySet =
        (host.CallShared("PictureFactoryZOR", "SetFactory", MakeImageFactory(host)), true);
    return host;
}

int EngineConstant(const std::string& name) {
    return Engine().Constant(kImageClass, name).AsInt();
}

void CheckImageFits(const std::string& what, std::int64_t width, std::int64_t height, const char* formatConstant,
                    int bytesPerPixel) {
    const ImageNeed need{width, height, bytesPerPixel};
    CheckCanBe(what, need);
    if (GoesToScratch(need)) return CheckScratchHolds(what, {need});
    const bool fits = Engine()
                          .CallShared(kImageClass, "CanAllocateImage", static_cast<int>(width),
                                      static_cast<int>(height), EngineConstant(formatConstant))
                          .AsBool();
    if (!fits)
        throw RunError(what + ": not enough memory for " + std::to_string(width) + " x " + std::to_string(height) +
                       " pixels; with a smaller --memory it is made as a file");
}

EngineTicks::EngineTicks(std::function<void()> tick) {
    Engine().SetYield(std::move(tick));
}

EngineTicks::~EngineTicks() {
    Engine().SetYield(nullptr);
}
