// The timed queue that carries MIDI and host events into the grid of sub-blocks.
#pragma once

#include "AM_SpinLock.h"
#include "AM_Types.h"

#include <atomic>
#include <memory>

// Types of events. `id` is the channel, except for notes, where it may be a note's own number.
enum AM_EventType : i32 {
    k_eventNote = 0,       // field1 pitch, field2 velocity, 0 for note off
    k_eventController = 1, // field1 controller, field2 its value as sent
    k_eventPitchBend = 2,  // field2 -1 to 1
    k_eventModWheel = 3,   // field2 0 to 1
    k_eventPressure = 4,   // field1 key or -1 for all, field2 0 to 1
    k_eventAllNotesOff = 6,
    k_eventSustain = 8,
};

struct AM_MidiEvent {
    i32 type;
    i32 id;
    f32 field1;
    f32 field2;
    i32 timestamp; // frames from the start of the host block; below 0 out of the one before
    u32 order;     // place in its half, for a stable order
};
static_assert(sizeof(AM_MidiEvent) == 24);

// A double buffer of two halves of 98304 bytes: any thread posts into one half, the audio thread
// reads the other. The lock between them is held for one append or one exchange; an audio thread
// does not wait for it without end.
class AM_EventQueue {
public:
    static constexpr i32 k_capacity = 98304 / static_cast<i32>(sizeof(AM_MidiEvent));

    AM_EventQueue();

    // Appends an event; false, and the event dropped, if its half is full or the lock cannot be
    // had.
    bool post(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);

    // --- audio thread, within a block ----------------------------------------------------------
    // Exchanges the halves and sorts the one to be read by timestamp, equal ones as posted. What
    // was not read before is gone. If the lock cannot be had, there is nothing to read in this
    // block.
    void swapEvents();
    // The next event in front of `to`, or null.
    const AM_MidiEvent* next(i32 to);
    // True if there is none left, in this block or behind it.
    bool isRead() const { return readPosition >= readCount; }
    // Posts each unread event again for the next block, the block's `frames` earlier.
    void carryEvents(i32 frames);

private:
    bool append(i32 type, i32 id, f32 field1, f32 field2, i32 timestamp);

    std::unique_ptr<AM_MidiEvent[]> halves[2];
    i32 writeHalf = 0;
    std::atomic<i32> writeCount{0}; // written under the lock
    i32 readCount = 0;
    i32 readPosition = 0;
    AM_SpinLock lock;
};

inline const AM_MidiEvent* AM_EventQueue::next(i32 to) {
    if (isRead()) return nullptr;
    const AM_MidiEvent* event = &halves[1 - writeHalf][readPosition];
    if (event->timestamp >= to) return nullptr;
    ++readPosition;
    return event;
}
