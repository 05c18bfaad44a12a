#include "Runtime.h"

#include <atomic>

#include "Events.h"
#include "HostClasses.h"
#include "Objects.h"
#include "QuickDraw.h"

namespace zorhost::runtime {

Runtime* gRuntime = nullptr;

Runtime::Runtime() = default;
Runtime::~Runtime() = default;

std::optional<Value> NativeData::Get(std::string_view) const {
    return std::nullopt;
}
bool NativeData::Set(std::string_view, const Value&) {
    return false;
}

Runtime& Running() {
    if (!gRuntime) throw Error("there is no running host");
    if (std::this_thread::get_id() != gRuntime->thread) {
        throw Error("the host was called from another thread than the one that made it");
    }
    return *gRuntime;
}

Runtime* EnterUnplanned(const char* service) {
    if (!gRuntime) return nullptr;
    if (std::this_thread::get_id() == gRuntime->thread) return gRuntime;
    AddFault(*gRuntime, std::string(service) + " was called from a thread of the plug-in's own");
    return nullptr;
}

bool IsPlannedToFail(Runtime& host, std::string_view service) {
    if (host.plannedFaults.empty()) return false;
    const auto planned = host.plannedFaults.find(service);
    return planned != host.plannedFaults.end() && ++planned->second.calls == planned->second.nth;
}

Runtime* Enter(const char* service) {
    Runtime* const host = EnterUnplanned(service);
    return host && !IsPlannedToFail(*host, service) ? host : nullptr;
}

void AddFault(Runtime& host, std::string text) {
    const std::lock_guard lock(host.faultMutex);
    host.faults.push_back(std::move(text));
}

std::uint64_t NextSerial() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

std::string OriginInCall(const Runtime& host) {
    return host.frames.empty() ? "outside any call" : "by " + host.frames.back()->label;
}

std::string OriginAt(const Place& where) {
    std::string_view file = where.file;
    if (const auto slash = file.rfind('/'); slash != file.npos) file.remove_prefix(slash + 1);
    return "at " + std::string(file) + ":" + std::to_string(where.line);
}

static char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (Lower(a[i]) != Lower(b[i])) return false;
    }
    return true;
}

FrameScope::FrameScope(Runtime& runtime, std::string label) : host(runtime), frame{std::move(label), {}} {
    host.frames.push_back(&frame);
}

FrameScope::~FrameScope() {
    host.frames.pop_back();
    for (const REALobject exception : frame.raised) UnlockObject(host, exception);
    if (host.frames.empty()) host.retiredClosures.clear();
}

void FrameScope::Deliver() {
    if (frame.raised.empty()) return;
    const ObjectRecord* const exception = FindObject(host, frame.raised.front());
    if (!exception) throw HostException("RuntimeException", "");
    throw HostException(exception->type->name, ExceptionMessage(*exception));
}

}  // namespace zorhost::runtime
