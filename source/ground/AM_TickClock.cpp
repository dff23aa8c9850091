#include "AM_TickClock.h"

#include "AM_Clock.h"

AM_TickClock::AM_TickClock() : lastTicks(now()), lastTime(AM_nanoseconds()) {
}

void AM_TickClock::adjust() noexcept {
    const u64 ticks = now();
    const u64 time = AM_nanoseconds();
    // A counter that was set back, as by a machine that moved, begins anew.
    if (ticks > lastTicks && time > lastTime)
        scale.store(static_cast<f64>(time - lastTime) / static_cast<f64>(ticks - lastTicks),
                    std::memory_order_relaxed);
    lastTicks = ticks;
    lastTime = time;
}
