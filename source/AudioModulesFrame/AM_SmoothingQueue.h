// The ramps of smoothed parameters. All operations belong to the audio thread, or to who holds the
// manager's stateLock; none allocates.
#pragma once

#include "AM_Log.h"
#include "AM_ParamRuntime.h"

class AM_SmoothingQueue {
public:
    explicit AM_SmoothingQueue(ParamRuntime& words) : state(words) {}
    // Makes room for the table; call once it is built.
    void prepare();
    // Takes over what other threads have set: values that are not smoothed, immediate ones and
    // those that stand already go through their pointers at once; the others begin a ramp of 50
    // steps from the current value, or bend the one that runs. A target that is set anew in
    // mid-ramp changes nothing if it is the same.
    void takeOver();
    // One step of every ramp, the result written through its pointer. The last step lands on the
    // target exactly. Wrapping rows take the shorter way round.
    void step();
    // True if no ramp runs.
    bool isResting() const { return state.queuedCount == 0; }
    // Ends all ramps at their targets.
    void clear();

private:
    void takeOverRow(i32 id);
    void startRamp(SmoothingSlot& slot, i32 slotIndex, f32 target);
    void finish(SmoothingSlot& slot, i32 slotIndex);
    void removeFromQueue(i32 slotIndex);

    ParamRuntime& state;
    // What the module hears, one a slot. The table's value may be set by an immediate write of
    // another thread in mid-ramp, so a ramp never builds on it.
    std::vector<f32> current;
    std::vector<i32> visited;
    std::vector<AM_Once> interrupted; // one a slot
};
