// The words behind the parameter table.
#pragma once

#include "AM_AtomicBits.h"
#include "AM_Parameter.h"

#include <memory>
#include <vector>

// Steps of a ramp; one step a sub-block.
inline constexpr i32 k_smoothingSteps = 50;

// One ramp. stepsLeft: -1 idle, 0 done.
struct SmoothingSlot {
    i32 param;
    f32 increment;
    i32 stepsLeft;
    f32 target;
};

// One target of a meta source; param -1 for none.
struct MetaTarget {
    i32 param;
    f32 lowRange;
    f32 highRange;
    f32 current;
};

// `values`, `targets` and the bit sets may be touched by any thread; queue, slots, meta records and
// the modules' memory behind `pointers` belong to the audio thread, or to who holds the manager's
// stateLock. Rows and pointers stand still once the table is built.
struct ParamRuntime {
    ParameterInfo* rows = nullptr;
    i32 count = 0;
    // The current value of each row; the step that it has reached while a ramp runs.
    std::unique_ptr<std::atomic<f32>[]> values;
    // Per row the address of its value in the owner's memory (f32, or i32 for whole numbers), or
    // null.
    std::vector<void*> pointers;
    i32 queuedCount = 0;          // ramps that run
    std::vector<i32> slotOfParam; // -1 for rows that are not smoothed
    std::vector<i32> queue;       // their slots, queuedCount entries
    std::vector<SmoothingSlot> slots;
    i32 numMetaSources = 0;
    i32 targetsPerMeta = 0;
    std::vector<MetaTarget> metaRecords;
    // Set to have the meta targets read anew from their rows.
    std::atomic<i32> needsFullUpdate{0};

    // What other threads ask for: the value that each row is to have, and two bits a row.
    std::unique_ptr<std::atomic<f32>[]> targets;
    AM_AtomicBits pending;   // a new target waits
    AM_AtomicBits immediate; // take it without a ramp
    // The queue is to be emptied at the next sub-block; until then all writes are immediate.
    std::atomic<bool> clearQueue{false};

    // Makes the words for `table`, which stays the owner's: defaults in place, nothing pending.
    void build(std::vector<ParameterInfo>& table);

    f32 value(i32 id) const { return values[at(id)].load(std::memory_order_relaxed); }
    f32 target(i32 id) const { return targets[at(id)].load(std::memory_order_relaxed); }
    void setValue(i32 id, f32 to) { values[at(id)].store(to, std::memory_order_relaxed); }
    void setTarget(i32 id, f32 to) { targets[at(id)].store(to, std::memory_order_relaxed); }
    bool isId(i32 id) const { return id >= 0 && id < count; }

    // Limits of a row. Those of meta targets change while the program runs.
    f32 minimum(i32 id) const { return limit(rows[id].minValue); }
    f32 maximum(i32 id) const { return limit(rows[id].maxValue); }
    void setLimits(i32 id, f32 low, f32 high);

    // Writes `to` through the row's pointer, if it has one and a value that can be set. Audio
    // thread.
    void writeThrough(i32 id, f32 to);

private:
    static size_t at(i32 id) { return static_cast<size_t>(id); }
    static f32 limit(f32& word) {
        return std::atomic_ref<f32>(word).load(std::memory_order_relaxed);
    }
};

// The whole number that rows of kinds 0 and 5 hold for `value`: the nearest, halves up.
f32 AM_wholeNumber(f32 value);
