// Measures how much of real time the blocks take.
#pragma once

#include "AM_AudioObject.h"
#include "AM_Log.h"
#include "AM_TickClock.h"

#include <atomic>

// Start and stop belong to the audio thread; the readings may be asked for from any thread. Named
// "watch: watch"; stands outside the tree.
class AM_StopWatch : public AM_AudioObject {
public:
    explicit AM_StopWatch(AM_AudioMan* manager);
    // Logs the highest percentage seen.
    ~AM_StopWatch() override;

    i32 getDataSize() override { return 0; }
    i32 getModDataSize() override { return 0; }

    // Hands all work to `watch` from now on; null for none.
    void setMaster(AM_StopWatch* watch) { master = watch; }
    // Begins a block of `frames` frames; a watch that runs already logs its name once and goes on.
    void start(i32 frames, f64 sampleRate);
    // Ends the block. 0 frames end it without an entry.
    void stop(i32 frames, f64 sampleRate);

    // Percent of real time over the last 1000 sub-blocks. The time per frame counts in whole
    // microseconds.
    f32 getUsage() const { return usage.load(std::memory_order_relaxed); }
    f32 getHighestUsage() const { return highest.load(std::memory_order_relaxed); }
    // Nanoseconds since the block began, 0 if none is under way.
    u64 getRunningTime() const;

private:
    static constexpr i32 k_entries = 1000;

    void record(u64 ticks, i32 frames);

    AM_StopWatch* master = nullptr;
    AM_TickClock clock;
    i32 untilAdjusted = 0;     // entries
    u64 times[k_entries] = {}; // ticks
    u32 frameCounts[k_entries] = {};
    u64 sumTime = 0;
    u64 sumFrames = 0;
    i32 index = 0;
    std::atomic<u64> startTime{0}; // ticks
    std::atomic<bool> running{false};
    std::atomic<f32> usage{0};
    std::atomic<f32> highest{0};
    AM_Once nested;
};
