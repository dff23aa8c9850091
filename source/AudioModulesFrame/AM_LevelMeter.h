// Level meters of the host's channels.
#pragma once

#include "BlockContext.h"

#include <atomic>

// Decibels of a magnitude by a fast logarithm of the float's bits; -120 below 1e-5.
f32 AM_fastDecibels(f32 magnitude);

// One side, inputs or outputs. Written on the audio thread, read from any.
class AM_LevelMeter {
public:
    // Takes one block of `numFrames` frames (1 or more): `channels` are 16 pointers of which those
    // from `numChannels` (at most 16) on count as not connected. Samples that are not finite count
    // as 0. `samplePeriod` in seconds runs the time of the held peak. True if all of it is digital
    // silence.
    bool measure(const f32* const* channels, i32 numChannels, i32 numFrames, f64 samplePeriod);
    // The same of channels that are known to be silent.
    void measureSilence(const f32* const* channels, i32 numChannels, i32 numFrames,
                        f64 samplePeriod);

    // The highest of all channels in dB, -120 for none.
    f32 rmsDecibels() const { return rmsLevel.load(std::memory_order_relaxed); }
    f32 peakDecibels() const { return peakLevel.load(std::memory_order_relaxed); }
    // The highest peak of the last 4 seconds, from then on falling by a tenth a block. Linear.
    f32 heldPeak() const { return held.load(std::memory_order_relaxed); }
    // Smoothed level of one channel, linear; -1 if it is not connected.
    f32 channelRms(i32 channel) const {
        return channel < 0 || channel >= k_maxChannels
                   ? -1.0f
                   : rms[channel].load(std::memory_order_relaxed);
    }

private:
    bool measureAll(const f32* const* channels, i32 numChannels, i32 numFrames, f64 samplePeriod,
                    bool knownSilent);
    bool measureChannel(i32 channel, const f32* samples, i32 numFrames, f32 share,
                        bool knownSilent);
    void hold(f32 newPeak, f64 seconds);

    std::atomic<f32> rms[k_maxChannels] = {};
    f32 peak[k_maxChannels] = {};
    std::atomic<f32> rmsLevel{-120.0f};
    std::atomic<f32> peakLevel{-120.0f};
    std::atomic<f32> held{0.0f};
    f64 heldTime = 0;
    i32 numMeasured = k_maxChannels; // channels of the block before
};
