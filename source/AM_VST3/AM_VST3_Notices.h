// What an audio manager has to tell the host, kept until the host may be called.
#pragma once

#include "AM_AtomicBits.h"
#include "AM_AudioManager.h"

#include <atomic>
#include <bit>

// A manager calls back on any thread, at times under its locks; so the call only leaves a mark, and
// a controller takes the marks over where it may call the host. Several changes of one parameter
// become one.
class AM_VST3_Notices {
public:
    explicit AM_VST3_Notices(i32 numParameters) : count(numParameters) {
        changed.resize(numParameters);
    }

    // The manager's AM_HostCallback; `data` is the object. Any thread.
    static void receive(void* data, i32 code, i32 value) {
        auto& notices = *static_cast<AM_VST3_Notices*>(data);
        if (code == k_hostParameterChanged && value >= 0 && value < notices.count)
            notices.changed.set(value);
        if (code == k_hostLatencyChanged) notices.latency.store(true, std::memory_order_release);
    }

    // Calls `take(row)` for each marked parameter, in the order of their rows. One thread at a
    // time.
    template <class Take>
    void takeParameters(Take&& take) {
        for (i32 word = 0; word < changed.numWords(); ++word)
            for (u64 bits = changed.take(word); bits != 0; bits &= bits - 1)
                take(word * AM_AtomicBits::k_bitsPerWord + std::countr_zero(bits));
    }
    bool takeLatency() { return latency.exchange(false, std::memory_order_acq_rel); }

    // The latency that the host was last given, in frames; -1 as long as it has not asked.
    std::atomic<i32> latencyTold{-1};

private:
    AM_AtomicBits changed;
    std::atomic<bool> latency{false};
    const i32 count;
};
