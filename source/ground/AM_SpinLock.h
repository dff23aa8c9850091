// A lock for a few instructions, shared between audio threads and others.
#pragma once

#include "AM_AudioThread.h"
#include "AM_Types.h"

#include <atomic>
#include <thread>

// Nobody waits for a sleeping holder without end on an audio thread: a holder that was put to sleep
// must not hold a block up, and on a machine with real-time scheduling it would even wait for us.
class AM_SpinLock {
public:
    // Tries for some microseconds; false if the lock could not be had. Any thread.
    bool tryLock() noexcept {
        constexpr i32 attempts = 4000;
        for (i32 attempt = 0; attempt < attempts; ++attempt)
            if (!held.test_and_set(std::memory_order_acquire)) return true;
        return false;
    }
    // Waits for the lock; on an audio thread only tries. False if it could not be had.
    bool lock() noexcept {
        while (!tryLock()) {
            if (AM_onAudioThread()) return false;
            std::this_thread::yield();
        }
        return true;
    }
    void unlock() noexcept { held.clear(std::memory_order_release); }

private:
    std::atomic_flag held = ATOMIC_FLAG_INIT;
};
