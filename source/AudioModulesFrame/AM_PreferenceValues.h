// The preference values of an instance, by id.
#pragma once

#include "AM_Types.h"

#include <atomic>

// Ids of preferences.
enum AM_PreferenceId : i32 {
    k_prefEditor = 0, // the editor's own mode
    k_prefBaseLatency = 1,
    k_prefPrintParams = 2,
    k_prefPrintBinaryState = 3,
    k_prefMidiSmoothing = 4,
    k_prefDebugMidiNotes = 5,
};

// Words that any thread may read and set. All start at 0 but the base latency, which is on.
class AM_PreferenceValues {
public:
    static constexpr i32 k_count = 6;

    AM_PreferenceValues() { values[k_prefBaseLatency].store(1, std::memory_order_relaxed); }

    // 0 for an id that does not exist.
    i32 get(i32 id) const { return exists(id) ? values[id].load(std::memory_order_relaxed) : 0; }
    // Returns whether the value is a new one; an id that does not exist is ignored.
    bool set(i32 id, i32 value) {
        return exists(id) && values[id].exchange(value, std::memory_order_relaxed) != value;
    }

private:
    static bool exists(i32 id) { return id >= 0 && id < k_count; }

    std::atomic<i32> values[k_count] = {};
};
