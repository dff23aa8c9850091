// Watched parameters: reported to a listener when they have changed, once a period of frames.
#pragma once

#include "AM_Types.h"

#include <vector>

// Told of a watched parameter that changed. Audio thread, at the end of a block.
using AM_WatchListener = void (*)(void* data, i32 id, f32 value);

// One thread at a time.
class AM_WatchList {
public:
    // Adds `id` with the value that counts as reported; an id that is watched already stays once.
    void add(i32 id, f32 value);
    // `periodFrames` below 1 or no listener: nothing is reported.
    void setListener(AM_WatchListener function, void* argument, i32 periodFrames);
    // Counts `frames`; at the end of a period reads each parameter by `read(id)` and reports those
    // that have changed. What goes beyond the period counts for the next one.
    template <class Read>
    void blockEnded(i32 frames, const Read& read) {
        if (!listener || period < 1 || frames < 1) return;
        counter += frames;
        if (counter < period) return;
        counter %= period;
        for (Entry& entry : entries) {
            const f32 value = read(entry.id);
            if (value == entry.reported) continue;
            entry.reported = value;
            listener(data, entry.id, value);
        }
    }

private:
    struct Entry {
        i32 id;
        f32 reported;
    };
    std::vector<Entry> entries;
    AM_WatchListener listener = nullptr;
    void* data = nullptr;
    i32 period = 0;
    i64 counter = 0;
};

inline void AM_WatchList::add(i32 id, f32 value) {
    for (const Entry& entry : entries)
        if (entry.id == id) return;
    entries.push_back({id, value});
}

inline void AM_WatchList::setListener(AM_WatchListener function, void* argument, i32 periodFrames) {
    listener = function;
    data = argument;
    period = periodFrames;
    counter = 0;
}
