#include "AM_LevelMeter.h"

#include "AM_Silence.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include <emmintrin.h>

namespace {

constexpr f32 k_largest = std::numeric_limits<f32>::max();
// What has decayed below this is silence; it keeps the decay out of the denormal range.
constexpr f32 k_negligible = 1e-20f;

f32 settle(f32 value) {
    return value >= k_negligible ? std::min(value, k_largest) : 0.0f;
}

constexpr f32 k_peakDecay = 0.999f; // a sample
constexpr i32 k_piece = 32;

// What the decay leaves of 1 after 31, 30 ... 0 samples.
alignas(16) constexpr std::array<f32, k_piece> k_weights = [] {
    std::array<f32, k_piece> weights{};
    f32 value = 1;
    for (i32 i = k_piece - 1; i >= 0; --i, value *= k_peakDecay)
        weights[static_cast<size_t>(i)] = value;
    return weights;
}();
constexpr f32 k_pieceDecay = k_weights[0] * k_peakDecay;

f32 highest(__m128 lanes) {
    lanes = _mm_max_ps(lanes, _mm_movehl_ps(lanes, lanes));
    return _mm_cvtss_f32(_mm_max_ss(lanes, _mm_shuffle_ps(lanes, lanes, 1)));
}

f32 total(__m128 lanes) {
    lanes = _mm_add_ps(lanes, _mm_movehl_ps(lanes, lanes));
    return _mm_cvtss_f32(_mm_add_ss(lanes, _mm_shuffle_ps(lanes, lanes, 1)));
}

// The magnitude, 0 for what is not finite.
__m128 magnitudes(__m128 samples) {
    const __m128 x = _mm_andnot_ps(_mm_set1_ps(-0.0f), samples);
    return _mm_and_ps(x, _mm_cmple_ps(x, _mm_set1_ps(k_largest)));
}
f32 magnitude(f32 sample) {
    return std::fabs(sample) <= k_largest ? std::fabs(sample) : 0.0f;
}

// What a channel holds of a block.
struct Piece {
    f32 peak;
    f32 squares = 0; // their sum

    // Of the peak, each sample is left what the samples behind it let stand.
    void add(const f32* samples, i32 count) {
        __m128 sums = _mm_setzero_ps();
        i32 i = 0;
        for (; i + k_piece <= count; i += k_piece)
            addFours<k_piece>(samples + i, sums);
        for (; i + 4 <= count; i += 4)
            addFours<4>(samples + i, sums);
        squares = total(sums);
        for (; i < count; ++i) {
            const f32 x = magnitude(samples[i]);
            peak = std::max(peak * k_peakDecay, x);
            squares += x * x;
        }
    }
    void addSilence(i32 count) {
        if (peak == 0) return;
        for (; count >= k_piece; count -= k_piece)
            peak *= k_pieceDecay;
        for (; count > 0; --count)
            peak *= k_peakDecay;
    }

private:
    template <i32 k_count>
    void addFours(const f32* samples, __m128& sums) {
        const f32* weights = k_weights.data() + k_piece - k_count;
        __m128 high = _mm_setzero_ps();
        for (i32 i = 0; i < k_count; i += 4) {
            const __m128 x = magnitudes(_mm_loadu_ps(samples + i));
            high = _mm_max_ps(high, _mm_mul_ps(x, _mm_load_ps(weights + i)));
            sums = _mm_add_ps(sums, _mm_mul_ps(x, x));
        }
        peak = std::max(peak * (weights[0] * k_peakDecay), highest(high));
    }
};

// For samples whose squares f32 cannot hold.
f64 sumOfLargeSquares(const f32* samples, i32 count) {
    f64 sum = 0;
    for (i32 i = 0; i < count; ++i)
        sum += static_cast<f64>(magnitude(samples[i])) * magnitude(samples[i]);
    return sum;
}

} // namespace

f32 AM_fastDecibels(f32 magnitude) {
    if (!(magnitude >= 1e-5f)) return -120.0f;
    const u32 bits = std::bit_cast<u32>(std::min(magnitude, k_largest));
    const f32 exponent = static_cast<f32>(static_cast<i32>(bits >> 23) - 128);
    const f32 mantissa = std::bit_cast<f32>((bits & 0x007fffff) | 0x3f800000);
    return (exponent + (2.0f - mantissa * (1.0f / 3.0f)) * mantissa - 2.0f / 3.0f) * 6.0377364f;
}

bool AM_LevelMeter::measure(const f32* const* channels, i32 numChannels, i32 numFrames,
                            f64 samplePeriod) {
    return measureAll(channels, numChannels, numFrames, samplePeriod, false);
}

void AM_LevelMeter::measureSilence(const f32* const* channels, i32 numChannels, i32 numFrames,
                                   f64 samplePeriod) {
    measureAll(channels, numChannels, numFrames, samplePeriod, true);
}

bool AM_LevelMeter::measureAll(const f32* const* channels, i32 numChannels, i32 numFrames,
                               f64 samplePeriod, bool knownSilent) {
    if (numFrames < 1) return true;
    const f32 share = 0.03f / static_cast<f32>(numFrames); // of a square
    bool silent = true;
    f32 highestRms = 0;
    f32 highestPeak = 0;
    // Channels beyond those that have been in use stay not connected.
    for (i32 c = 0; c < std::max(numChannels, numMeasured); ++c) {
        if (c < numChannels && channels[c]) {
            silent &= measureChannel(c, channels[c], numFrames, share, knownSilent);
        } else {
            rms[c].store(-1.0f, std::memory_order_relaxed);
            peak[c] = 0;
        }
        highestRms = std::max(highestRms, channelRms(c));
        highestPeak = std::max(highestPeak, peak[c]);
    }
    numMeasured = numChannels;
    rmsLevel.store(AM_fastDecibels(highestRms), std::memory_order_relaxed);
    peakLevel.store(AM_fastDecibels(highestPeak), std::memory_order_relaxed);
    hold(highestPeak, numFrames * samplePeriod);
    return silent;
}

bool AM_LevelMeter::measureChannel(i32 channel, const f32* samples, i32 numFrames, f32 share,
                                   bool knownSilent) {
    Piece piece;
    piece.peak = peak[channel];
    const bool silent = knownSilent || AM_isSilent(samples, numFrames);
    if (silent && peak[channel] == 0 && channelRms(channel) == 0) return true;
    if (silent)
        piece.addSilence(numFrames);
    else
        piece.add(samples, numFrames);
    peak[channel] = settle(piece.peak);
    f32 added = std::sqrt(piece.squares * share);
    if (!(added <= k_largest))
        added = static_cast<f32>(std::sqrt(sumOfLargeSquares(samples, numFrames) * share));
    const f32 before = std::max(channelRms(channel), 0.0f);
    rms[channel].store(settle(added + before * 0.93f), std::memory_order_relaxed);
    return silent;
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
