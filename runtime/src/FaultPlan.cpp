// Calls of services that a program plans to fail.

#include <algorithm>

#include "Runtime.h"
#include "Services.h"
#include "zorhost/Host.h"

namespace zorhost {

using namespace runtime;

// Services that only release, mark or tell: there is nothing that a plug-in could learn of their failure.
static constexpr std::string_view kCannotFail[] = {"RegisterPluginVersion",
                                                   "PluginRegisterClass",
                                                   "REALLockObject",
                                                   "REALUnlockObject",
                                                   "REALLockString",
                                                   "REALUnlockString",
                                                   "RuntimeRaiseException",
                                                   "REALYieldToRB",
                                                   "REALSetStringEncoding",
                                                   "PluginDisposeStringData",
                                                   "unlockPictureDescription",
                                                   "REALPictureClearCache",
                                                   "UnlockPixels",
                                                   "DisposeGWorld"};

static bool IsService(const Runtime& host, std::string_view name) {
    if (name == "DrawPicture") return true;
    if (std::ranges::find(QuickDrawNames(), name) != QuickDrawNames().end()) return true;
    return !host.options.missing.contains(std::string(name)) && ResolveService(std::string(name).c_str());
}

void Host::FailCall(std::string_view service, int nth) {
    Runtime& host = Running();
    if (!IsService(host, service)) throw Error("there is no service \"" + std::string(service) + "\" that could fail");
    if (std::ranges::find(kCannotFail, service) != std::end(kCannotFail)) {
        throw Error("the service " + std::string(service) + " has no answer for failure");
    }
    if (nth < 0) throw Error("no call is number " + std::to_string(nth));
    host.plannedFaults[std::string(service)] = PlannedFault{nth, 0};
}

int Host::CallsOf(std::string_view service) const {
    const Runtime& host = Running();
    const auto planned = host.plannedFaults.find(service);
    return planned == host.plannedFaults.end() ? 0 : planned->second.calls;
}

}  // namespace zorhost
