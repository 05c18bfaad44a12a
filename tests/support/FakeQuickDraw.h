#pragma once
// The ten QuickDraw names, exported by a shared library of their own that goes into the process where a test wants a
// desktop: without it there is no QuickDraw. Each calls the function that was installed; without one it fails.

#include <cstdint>

struct FakeQuickDraw {
    struct Rect {
        std::int16_t top, left, bottom, right;
    };
    std::int32_t (*GetPixRowBytes)(void* pixMap);
    std::uint8_t* (*GetPixBaseAddr)(void* pixMap);
    void* (*GetGWorldPixMap)(void* gworld);
    signed char (*LockPixels)(void* pixMap);
    void (*UnlockPixels)(void* pixMap);
    std::int16_t (*GetPixDepth)(void* pixMap);
    void* (*GetPortPixMap)(void* gworld);
    void (*DisposeGWorld)(void* gworld);
    std::int16_t (*NewGWorld)(void** gworld, std::int16_t depth, const Rect* bounds, void* colors, void* device,
                              unsigned long flags);
    void* (*GetCTable)(std::int16_t id);
};

// Exported by the library. Nil takes the functions away again.
using InstallFakeQuickDrawFunction = void (*)(const FakeQuickDraw* functions);
constexpr char kInstallFakeQuickDraw[] = "InstallFakeQuickDraw";
