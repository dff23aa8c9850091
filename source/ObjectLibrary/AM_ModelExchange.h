// Hands whole models from the threads that build them to the audio thread: three
// slots, of which one belongs to the builder, one to the reader, and one changes hands
// by an atomic exchange.
#pragma once

#include "AM_DelayModel.h"

#include <atomic>

class AM_ModelExchange {
public:
    // The slot to build into. One builder at a time; builders take turns under a lock of their own.
    AM_DelayModel& buildSlot() { return slots[back]; }

    // Publishes the build slot; a model that was not fetched yet is replaced.
    void publish() {
        back = middle.exchange(back | k_fresh, std::memory_order_acq_rel) & k_slotMask;
    }

    // The newest model if one came since the last fetch, else null; it stays untouched until the
    // next fetch. Audio thread; never waits.
    const AM_DelayModel* fetch() {
        if (!(middle.load(std::memory_order_relaxed) & k_fresh)) return nullptr;
        front = middle.exchange(front, std::memory_order_acq_rel) & k_slotMask;
        return &slots[front];
    }

private:
    static constexpr u32 k_fresh = 4;
    static constexpr u32 k_slotMask = 3;

    AM_DelayModel slots[3] = {};
    u32 back = 0;
    std::atomic<u32> middle{1};
    u32 front = 2;
};
