#include "AM_EventQueue.h"

#include <algorithm>

namespace {

// Frames before and behind a block's start within which events are kept in order.
constexpr i32 k_farthest = 1 << 30;

} // namespace

AM_EventQueue::AM_EventQueue() {
    for (auto& half : halves)
        half = std::make_unique<AM_MidiEvent[]>(k_capacity);
}

bool AM_EventQueue::post(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    const u32 kept = std::min(timestamp, static_cast<u32>(k_farthest));
    return append(type, id, field1, field2, static_cast<i32>(kept));
}

bool AM_EventQueue::append(i32 type, i32 id, f32 field1, f32 field2, i32 timestamp) {
    if (!lock.lock()) return false;
    const i32 place = writeCount.load(std::memory_order_relaxed);
    const bool fits = place < k_capacity;
    if (fits) {
        halves[writeHalf][place] = {type, id, field1, field2, timestamp, static_cast<u32>(place)};
        writeCount.store(place + 1, std::memory_order_relaxed);
    }
    lock.unlock();
    return fits;
}

void AM_EventQueue::swapEvents() {
    readPosition = readCount = 0;
    // Most blocks have no event, and need no lock to know.
    if (writeCount.load(std::memory_order_relaxed) == 0 || !lock.lock()) return;
    readCount = writeCount.load(std::memory_order_relaxed);
    writeCount.store(0, std::memory_order_relaxed);
    writeHalf = 1 - writeHalf;
    lock.unlock();
    AM_MidiEvent* first = halves[1 - writeHalf].get();
    std::sort(first, first + readCount, [](const AM_MidiEvent& a, const AM_MidiEvent& b) {
        return a.timestamp != b.timestamp ? a.timestamp < b.timestamp : a.order < b.order;
    });
}

void AM_EventQueue::carryEvents(i32 frames) {
    const AM_MidiEvent* half = halves[1 - writeHalf].get();
    for (; readPosition < readCount; ++readPosition) {
        const AM_MidiEvent& event = half[readPosition];
        append(event.type, event.id, event.field1, event.field2,
               std::max(event.timestamp, -k_farthest) - frames);
    }
}
