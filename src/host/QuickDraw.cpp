#include "host/QuickDraw.h"

#include <atomic>

#include "host/Platform.h"

namespace zor {

namespace {

// One QuickDraw call. It is looked up at first use and kept; a failed look-up is tried again.
template <class Result, class... Args>
struct Binding {
    using Function = Result (*)(Args...);
    const char* name;
    std::atomic<Function> known = nullptr;

    constexpr explicit Binding(const char* exportedName) : name(exportedName) {}

    Function Find() {
        Function function = known.load(std::memory_order_acquire);
        if (!function) {
            function = reinterpret_cast<Function>(FindInProcess(name));
            known.store(function, std::memory_order_release);
        }
        return function;
    }
    Result operator()(Args... args) {
        if (const Function function = Find()) return function(args...);
        return Result();
    }
};

}  // namespace

std::int32_t GetPixRowBytes(PixMap** pixMap) {
    static Binding<std::int32_t, PixMap**> call("GetPixRowBytes");
    return call(pixMap);
}

std::uint8_t* GetPixBaseAddr(PixMap** pixMap) {
    static Binding<std::uint8_t*, PixMap**> call("GetPixBaseAddr");
    return call(pixMap);
}

PixMap** GetGWorldPixMap(OpaqueGrafPtr* gworld) {
    static Binding<PixMap**, OpaqueGrafPtr*> call("GetGWorldPixMap");
    return call(gworld);
}

REALboolean LockPixels(PixMap** pixMap) {
    static Binding<REALboolean, PixMap**> call("LockPixels");
    return call(pixMap);
}

void UnlockPixels(PixMap** pixMap) {
    static Binding<void, PixMap**> call("UnlockPixels");
    call(pixMap);
}

std::int16_t GetPixDepth(PixMap** pixMap) {
    static Binding<std::int16_t, PixMap**> call("GetPixDepth");
    return call(pixMap);
}

PixMap** GetPortPixMap(OpaqueGrafPtr* gworld) {
    static Binding<PixMap**, OpaqueGrafPtr*> call("GetPortPixMap");
    return call(gworld);
}

void DisposeGWorld(OpaqueGrafPtr* gworld) {
    static Binding<void, OpaqueGrafPtr*> call("DisposeGWorld");
    call(gworld);
}

std::int16_t NewGWorld(OpaqueGrafPtr** gworld, std::int16_t depth, const QuickDrawRect* bounds, ColorTable** colors,
                       GDevice** device, unsigned long flags) {
    constexpr std::int16_t kNoQuickDraw = -1;
    static Binding<std::int16_t, OpaqueGrafPtr**, std::int16_t, const QuickDrawRect*, ColorTable**, GDevice**,
                   unsigned long>
        call("NewGWorld");
    return call.Find() ? call(gworld, depth, bounds, colors, device, flags) : kNoQuickDraw;
}

ColorTable** GetCTable(std::int16_t id) {
    static Binding<ColorTable**, std::int16_t> call("GetCTable");
    return call(id);
}

}  // namespace zor
