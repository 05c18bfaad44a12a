#pragma once

namespace zor {

// The turns that a long method gives the host while it works. Host thread only.

// First fields of every image record: how often the application wants a turn.
struct YieldData {
    int YieldTicks;     // least distance between two yields, in sixtieths of a second; 0 or less never yields
    int LastYieldTick;  // tick count at the last yield

    // Yields to the host if YieldTicks have passed; true if it did. Call it only where YieldTicks is above 0.
    bool DoYield();
};

// The guarded form that every long method uses. True if the host had a turn.
inline bool YieldIfAsked(YieldData* yield) {
    return yield->YieldTicks > 0 && yield->DoYield();
}

}  // namespace zor
