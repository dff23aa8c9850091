#include "AM_StopWatch.h"

#include <algorithm>

AM_StopWatch::AM_StopWatch(AM_AudioMan* owner) : AM_AudioObject(owner, "watch: watch") {
    setupObject(k_classAudioModulator, 0, 2, 0, 0);
}

AM_StopWatch::~AM_StopWatch() {
    AM_Log("max CPU @ %s: %f", getName(), getHighestUsage());
}

void AM_StopWatch::start(i32 frames, f64 sampleRate) {
    if (master) {
        master->start(frames, sampleRate);
        return;
    }
    if (running.load(std::memory_order_relaxed)) {
        if (nested.first()) AM_Log("%s is running already", getName());
        return;
    }
    if (untilAdjusted <= 0) {
        clock.adjust();
        untilAdjusted = k_entries;
    }
    startTime.store(AM_TickClock::now(), std::memory_order_relaxed);
    running.store(true, std::memory_order_release);
}

void AM_StopWatch::stop(i32 frames, f64 sampleRate) {
    if (master) {
        master->stop(frames, sampleRate);
        return;
    }
    if (!running.load(std::memory_order_relaxed)) return;
    running.store(false, std::memory_order_relaxed);
    if (frames < 1) return;
    const u64 began = startTime.load(std::memory_order_relaxed);
    const u64 now = AM_TickClock::now();
    record(now > began ? now - began : 0, frames);
    const u64 microsecondsPerFrame = clock.nanoseconds(sumTime) / (sumFrames * 1000);
    const f32 percent =
        static_cast<f32>(static_cast<f64>(microsecondsPerFrame) * sampleRate * 100 * 1e-6);
    usage.store(percent, std::memory_order_relaxed);
    highest.store(std::max(percent, getHighestUsage()), std::memory_order_relaxed);
}

void AM_StopWatch::record(u64 ticks, i32 frames) {
    const i32 freed = std::min(((frames - 1) >> 6) + 1, k_entries);
    untilAdjusted -= freed;
    for (i32 i = 0; i < freed; ++i) {
        index = index + 1 < k_entries ? index + 1 : 0;
        sumTime -= times[index];
        sumFrames -= frameCounts[index];
        times[index] = 0;
        frameCounts[index] = 0;
    }
    times[index] = ticks;
    frameCounts[index] = static_cast<u32>(frames);
    sumTime += ticks;
    sumFrames += static_cast<u64>(frames);
}

u64 AM_StopWatch::getRunningTime() const {
    if (master) return master->getRunningTime();
    if (!running.load(std::memory_order_acquire)) return 0;
    const u64 began = startTime.load(std::memory_order_relaxed);
    const u64 now = AM_TickClock::now();
    return now > began ? clock.nanoseconds(now - began) : 0;
}
