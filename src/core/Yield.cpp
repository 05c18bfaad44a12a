#include "core/Yield.h"

#include <cstdint>

#include "host/HostCalls.h"
#include "host/Platform.h"

namespace zor {

bool YieldData::DoYield() {
    const std::int32_t passed = static_cast<std::int32_t>(TickCount() - static_cast<std::uint32_t>(LastYieldTick));
    // The absolute distance: a counter that went back has moved as well.
    const std::int64_t distance = passed < 0 ? -static_cast<std::int64_t>(passed) : passed;
    if (distance < YieldTicks) return false;
    REALYieldToRB();
    LastYieldTick = static_cast<int>(TickCount());  // read again: the time spent in the host does not count
    return true;
}

}  // namespace zor
