#include "FakeClock.h"

#include <cstdint>

// TickCount() of the engine passes here, by its name for the linker.
extern "C" std::uint32_t __real__Z9TickCountv();
extern "C" std::uint32_t __wrap__Z9TickCountv();

static bool faked = false;
static std::uint32_t ticks = 0;

extern "C" std::uint32_t __wrap__Z9TickCountv() {
    return faked ? ticks += 60 : __real__Z9TickCountv();
}

FakeClock::FakeClock() {
    faked = true;
}

FakeClock::~FakeClock() {
    faked = false;
}
