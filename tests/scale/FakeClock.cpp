#include "FakeClock.h"

#include <cstdint>

// TickCount() of the engine passes here, by its name for the linker.
extern "C" std::uint32_t __real__ZN3zor9TickCountEv();
extern "C" std::uint32_t __wrap__ZN3zor9TickCountEv();

static bool faked = false;
static std::uint32_t ticks = 0;

extern "C" std::uint32_t __wrap__ZN3zor9TickCountEv() {
    return faked ? ticks += 60 : __real__ZN3zor9TickCountEv();
}

FakeClock::FakeClock() {
    faked = true;
    ticks = 0;
}

FakeClock::~FakeClock() {
    faked = false;
}
