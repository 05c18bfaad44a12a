#pragma once
// The QuickDraw calls of the desktop, found by name when they are first used, so that the plug-in opens where there is
// no QuickDraw. Without it each gives its failure answer, and looks again at the next call. Host thread only.

#include <cstdint>

#include "host/HostInterface.h"

namespace zor {

struct OpaqueGrafPtr;  // a GWorld
struct PixMap;
struct ColorTable;
struct GDevice;

struct QuickDrawRect {
    std::int16_t top;
    std::int16_t left;
    std::int16_t bottom;
    std::int16_t right;
};

std::int32_t GetPixRowBytes(PixMap** pixMap);   // bytes from one row to the next; 0
std::uint8_t* GetPixBaseAddr(PixMap** pixMap);  // row 0; null
PixMap** GetGWorldPixMap(OpaqueGrafPtr* gworld);
REALboolean LockPixels(PixMap** pixMap);  // false: the pixels are gone
void UnlockPixels(PixMap** pixMap);
std::int16_t GetPixDepth(PixMap** pixMap);  // bits a pixel; 0
PixMap** GetPortPixMap(OpaqueGrafPtr* gworld);
void DisposeGWorld(OpaqueGrafPtr* gworld);
// Makes a GWorld of so many bits a pixel. 0: done; -1 where there is no QuickDraw.
std::int16_t NewGWorld(OpaqueGrafPtr** gworld, std::int16_t depth, const QuickDrawRect* bounds, ColorTable** colors,
                       GDevice** device, unsigned long flags);
ColorTable** GetCTable(std::int16_t id);

}  // namespace zor
