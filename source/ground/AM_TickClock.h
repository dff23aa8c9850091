// Time over stretches as short as a block, by the processor's time stamp counter.
#pragma once

#include "AM_Types.h"

#include <atomic>

#ifdef _MSC_VER
#include <intrin.h>
#else
#include <x86intrin.h>
#endif

// The steady clock waits for everything begun before it, twice a block: of a block of 32 frames
// that is a fortieth. The counter is read in passing. It runs at a constant rate that each machine
// keeps to itself, so the steady clock gives the scale.
class AM_TickClock {
public:
    AM_TickClock();

    // Ticks from an arbitrary origin. Any thread.
    static u64 now() noexcept { return __rdtsc(); }
    // Compares both clocks over the time since the last call, or since the clock was made; the
    // longer, the more exact. One thread, now and then.
    void adjust() noexcept;
    // What so many ticks were worth when the clock was adjusted last; 0 before. Any thread.
    u64 nanoseconds(u64 ticks) const noexcept {
        return static_cast<u64>(static_cast<f64>(ticks) * scale.load(std::memory_order_relaxed));
    }

private:
    u64 lastTicks;
    u64 lastTime; // ns of the steady clock
    std::atomic<f64> scale{0};
};
