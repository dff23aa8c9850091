#include "AM_SmoothingQueue.h"

#include <bit>
#include <cmath>

namespace {

constexpr f32 k_stepFactor = 0.02f; // 1 / k_smoothingSteps

} // namespace

void AM_SmoothingQueue::prepare() {
    visited.assign(state.slots.size(), 0);
    current.clear();
    for (const SmoothingSlot& slot : state.slots)
        current.push_back(slot.target);
    interrupted = std::vector<AM_Once>(state.slots.size());
}

void AM_SmoothingQueue::takeOver() {
    for (i32 word = 0; word < state.pending.numWords(); ++word) {
        for (u64 bits = state.pending.take(word); bits != 0; bits &= bits - 1)
            takeOverRow(word * AM_AtomicBits::k_bitsPerWord + std::countr_zero(bits));
    }
}

void AM_SmoothingQueue::takeOverRow(i32 id) {
    // The bit before the target: a later writer sets the target first, and its own pending bit
    // brings us here once more.
    const bool immediate = state.immediate.clear(id);
    const f32 target = state.target(id);
    const i32 slotIndex = state.slotOfParam[static_cast<size_t>(id)];
    if (slotIndex < 0) {
        state.setValue(id, target);
        state.writeThrough(id, target);
        return;
    }
    SmoothingSlot& slot = state.slots[static_cast<size_t>(slotIndex)];
    if (!immediate) {
        startRamp(slot, slotIndex, target);
        return;
    }
    if (slot.stepsLeft > 0) {
        if (interrupted[static_cast<size_t>(slotIndex)].first())
            AM_Log("Param %d - %s already queued in slot %d", id, state.rows[id].longName,
                   slotIndex);
        removeFromQueue(slotIndex);
    }
    slot.target = target;
    finish(slot, slotIndex);
    state.writeThrough(id, target);
}

void AM_SmoothingQueue::startRamp(SmoothingSlot& slot, i32 slotIndex, f32 target) {
    const bool queued = slot.stepsLeft > 0;
    if (queued && target == slot.target) return;
    const ParameterInfo& row = state.rows[slot.param];
    f32 delta = target - current[static_cast<size_t>(slotIndex)];
    slot.target = target;
    if (delta == 0 && !queued) {
        finish(slot, slotIndex);
        state.writeThrough(slot.param, target);
        return;
    }
    if (row.flags & k_flagWraps) {
        const f32 range = row.maxValue - row.minValue;
        const f32 otherWay = delta >= 0 ? delta - range : delta + range;
        if (std::fabs(otherWay) < std::fabs(delta)) delta = otherWay;
    }
    slot.increment = delta * k_stepFactor;
    slot.stepsLeft = k_smoothingSteps;
    if (!queued) state.queue[static_cast<size_t>(state.queuedCount++)] = slotIndex;
}

void AM_SmoothingQueue::finish(SmoothingSlot& slot, i32 slotIndex) {
    slot.stepsLeft = -1;
    slot.increment = 0;
    current[static_cast<size_t>(slotIndex)] = slot.target;
    state.setValue(slot.param, slot.target);
}

void AM_SmoothingQueue::removeFromQueue(i32 slotIndex) {
    for (i32 i = 0; i < state.queuedCount; ++i) {
        if (state.queue[static_cast<size_t>(i)] != slotIndex) continue;
        state.queue[static_cast<size_t>(i)] = state.queue[static_cast<size_t>(--state.queuedCount)];
        return;
    }
}

void AM_SmoothingQueue::step() {
    i32 numVisited = 0;
    for (i32 i = 0; i < state.queuedCount;) {
        const i32 slotIndex = state.queue[static_cast<size_t>(i)];
        SmoothingSlot& slot = state.slots[static_cast<size_t>(slotIndex)];
        visited[static_cast<size_t>(numVisited++)] = slotIndex;
        if (--slot.stepsLeft < 1) {
            finish(slot, slotIndex);
            state.queue[static_cast<size_t>(i)] =
                state.queue[static_cast<size_t>(--state.queuedCount)];
            continue;
        }
        const ParameterInfo& row = state.rows[slot.param];
        f32 value = current[static_cast<size_t>(slotIndex)] + slot.increment;
        if (row.flags & k_flagWraps) {
            const f32 range = row.maxValue - row.minValue;
            if (value > row.maxValue)
                value -= range;
            else if (value < row.minValue)
                value += range;
        }
        current[static_cast<size_t>(slotIndex)] = value;
        state.setValue(slot.param, value);
        ++i;
    }
    while (numVisited > 0) {
        const i32 slotIndex = visited[static_cast<size_t>(--numVisited)];
        state.writeThrough(state.slots[static_cast<size_t>(slotIndex)].param,
                           current[static_cast<size_t>(slotIndex)]);
    }
}

void AM_SmoothingQueue::clear() {
    while (state.queuedCount > 0) {
        const i32 slotIndex = state.queue[static_cast<size_t>(--state.queuedCount)];
        SmoothingSlot& slot = state.slots[static_cast<size_t>(slotIndex)];
        finish(slot, slotIndex);
        state.writeThrough(slot.param, slot.target);
    }
}
