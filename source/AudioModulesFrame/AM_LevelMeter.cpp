#include "AM_LevelMeter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr f32 k_largest = std::numeric_limits<f32>::max();
// What has decayed below this is silence; it keeps the decay out of the denormal range.
constexpr f32 k_negligible = 1e-20f;

f32 settle(f64 value) {
    if (!(value >= k_negligible)) return 0;
    return value > k_largest ? k_largest : static_cast<f32>(value);
}

} // namespace

f32 AM_fastDecibels(f32 magnitude) {
    if (!(magnitude >= 1e-5f)) return -120.0f;
    const u32 bits = std::bit_cast<u32>(std::min(magnitude, k_largest));
    const f32 exponent = static_cast<f32>(static_cast<i32>(bits >> 23) - 128);
    const f32 mantissa = std::bit_cast<f32>((bits & 0x007fffff) | 0x3f800000);
    return (exponent + (2.0f - mantissa / 3.0f) * mantissa - 2.0f / 3.0f) * 6.0377364f;
}

void AM_LevelMeter::measure(const f32* const* channels, i32 numChannels, i32 numFrames,
                            f64 samplePeriod) {
    if (numFrames < 1) return;
    f32 highestRms = 0;
    f32 highestPeak = 0;
    for (i32 c = 0; c < k_maxChannels; ++c) {
        if (c < numChannels && channels[c]) {
            measureChannel(c, channels[c], numFrames);
        } else {
            rms[c].store(-1.0f, std::memory_order_relaxed);
            peak[c] = 0;
        }
        highestRms = std::max(highestRms, channelRms(c));
        highestPeak = std::max(highestPeak, peak[c]);
    }
    rmsLevel.store(AM_fastDecibels(highestRms), std::memory_order_relaxed);
    peakLevel.store(AM_fastDecibels(highestPeak), std::memory_order_relaxed);
    hold(highestPeak, numFrames * samplePeriod);
}

void AM_LevelMeter::measureChannel(i32 channel, const f32* samples, i32 numFrames) {
    f32 p = peak[channel];
    f64 sum = 0; // in f64, so that the square of no finite sample overflows
    for (i32 i = 0; i < numFrames; ++i) {
        const f32 magnitude = std::fabs(samples[i]);
        const f32 x = magnitude <= k_largest ? magnitude : 0.0f;
        p *= 0.999f;
        p = std::max(p, x);
        sum += static_cast<f64>(x) * x;
    }
    peak[channel] = settle(p);
    const f64 before = std::max(channelRms(channel), 0.0f);
    rms[channel].store(settle(std::sqrt(sum * 0.03 / numFrames) + before * 0.93),
                       std::memory_order_relaxed);
}

void AM_LevelMeter::hold(f32 newPeak, f64 seconds) {
    f32 value = heldPeak();
    if (std::isfinite(seconds)) heldTime += seconds;
    if (heldTime > 4.0 && value > 0) value = settle(value * 0.9f);
    if (newPeak > value) {
        value = newPeak;
        heldTime = 0;
    }
    held.store(value, std::memory_order_relaxed);
}
