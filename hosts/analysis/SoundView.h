// Sound that somebody else owns, as the functions of this folder take it. They are pure: any
// thread, no state, the same result each time. Samples that are not finite count as 0, and what is
// too short or has no valid rate gives an empty or silent result.
#pragma once

#include "AM_Types.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

struct SoundView {
    std::vector<std::span<const f32>> channels;
    f64 rate = 0; // Hz, 1 to 10 million

    // What all channels have.
    size_t frames() const {
        size_t count = channels.empty() ? 0 : channels[0].size();
        for (const std::span<const f32>& channel : channels)
            count = std::min(count, channel.size());
        return rate >= 1 && rate <= 1e7 ? count : 0;
    }
    f64 seconds() const {
        const size_t count = frames();
        return count > 0 ? static_cast<f64>(count) / rate : 0;
    }
};

// The level of what is silent, and the lowest that is given.
inline constexpr f64 k_silentLevel = -200; // dB

inline f64 sampleOf(std::span<const f32> channel, size_t frame) {
    const f64 sample = channel[frame];
    return std::isfinite(sample) ? sample : 0;
}
// dB of a power, not below k_silentLevel.
inline f64 levelOfPower(f64 power) {
    return power > 1e-20 ? 10 * std::log10(power) : k_silentLevel;
}
