#include "support/FakeQuickDraw.h"

static const FakeQuickDraw* installed = nullptr;

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void InstallFakeQuickDraw(const FakeQuickDraw* functions) {
    installed = functions;
}

EXPORTED std::int32_t GetPixRowBytes(void* pixMap) {
    return installed ? installed->GetPixRowBytes(pixMap) : 0;
}

EXPORTED std::uint8_t* GetPixBaseAddr(void* pixMap) {
    return installed ? installed->GetPixBaseAddr(pixMap) : nullptr;
}

EXPORTED void* GetGWorldPixMap(void* gworld) {
    return installed ? installed->GetGWorldPixMap(gworld) : nullptr;
}

EXPORTED signed char LockPixels(void* pixMap) {
    return static_cast<signed char>(installed ? installed->LockPixels(pixMap) : 0);
}

EXPORTED void UnlockPixels(void* pixMap) {
    if (installed) installed->UnlockPixels(pixMap);
}

EXPORTED std::int16_t GetPixDepth(void* pixMap) {
    return static_cast<std::int16_t>(installed ? installed->GetPixDepth(pixMap) : 0);
}

EXPORTED void* GetPortPixMap(void* gworld) {
    return installed ? installed->GetPortPixMap(gworld) : nullptr;
}

EXPORTED void DisposeGWorld(void* gworld) {
    if (installed) installed->DisposeGWorld(gworld);
}

EXPORTED std::int16_t NewGWorld(void** gworld, std::int16_t depth, const FakeQuickDraw::Rect* bounds, void* colors,
                                void* device, unsigned long flags) {
    return static_cast<std::int16_t>(installed ? installed->NewGWorld(gworld, depth, bounds, colors, device, flags)
                                               : -1);
}

EXPORTED void* GetCTable(std::int16_t id) {
    return installed ? installed->GetCTable(id) : nullptr;
}
