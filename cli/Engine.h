#pragma once
// The engine, as the program has it: the plug-in, linked in, and reached through the embedded host.

#include <zorhost/Host.h>

#include <cstdint>
#include <functional>
#include <string>

// The one host of the process; the first call starts the plug-in.
zorhost::Host& Engine();

// The value of a constant of PictureZOR: "ImageFormatRGB".
int EngineConstant(const std::string& name);

// Throws a RunError unless an image of such a format can be had, in memory or in the scratch directory. `what` begins
// the message: whom it is for. No memory stays taken.
void CheckImageFits(const std::string& what, std::int64_t width, std::int64_t height, const char* formatConstant,
                    int bytesPerPixel);

// While one lives, `tick` is called from time to time as the engine works on images made by Raster. One at a time.
class EngineTicks {
public:
    explicit EngineTicks(std::function<void()> tick);
    ~EngineTicks();
    EngineTicks(const EngineTicks&) = delete;
    EngineTicks& operator=(const EngineTicks&) = delete;
};
