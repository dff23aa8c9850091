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

f32 settle(f64 value) {
    if (!(value >= k_negligible)) return 0;
    return value > k_largest ? k_largest : static_cast<f32>(value);
}

constexpr f32 k_peakDecay = 0.999f; // a sample
constexpr i32 k_piece = 32;

// What the decay leaves of 1 after 31, 30 ... 0 samples.
constexpr std::array<f32, k_piece> k_weights = [] {
    std::array<f32, k_piece> weights{};
    f32 value = 1;
    for (i32 i = k_piece - 1; i >= 0; --i, value *= k_peakDecay)
        weights[static_cast<size_t>(i)] = value;
    return weights;
}();
constexpr f32 k_pieceDecay = k_weights[0] * k_peakDecay;

// What a channel holds of a block.
struct Piece {
    // In f64, so that the square of no finite sample overflows.
    __m128d squares[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
    f32 peak;

    // Adds 4, 8 ... 32 samples. Of the peak, each is left what the samples behind it let stand.
    void add(const f32* samples, i32 count) {
        const f32* weights = k_weights.data() + k_piece - count;
        const __m128 signs = _mm_set1_ps(-0.0f);
        const __m128 largest = _mm_set1_ps(k_largest);
        __m128 high = _mm_setzero_ps();
        for (i32 i = 0; i < count; i += 4) {
            __m128 x = _mm_andnot_ps(signs, _mm_loadu_ps(samples + i));
            x = _mm_and_ps(x, _mm_cmple_ps(x, largest));
            high = _mm_max_ps(high, _mm_mul_ps(x, _mm_loadu_ps(weights + i)));
            const __m128d first = _mm_cvtps_pd(x);
            const __m128d second = _mm_cvtps_pd(_mm_movehl_ps(x, x));
            squares[0] = _mm_add_pd(squares[0], _mm_mul_pd(first, first));
            squares[1] = _mm_add_pd(squares[1], _mm_mul_pd(second, second));
        }
        high = _mm_max_ps(high, _mm_movehl_ps(high, high));
        high = _mm_max_ss(high, _mm_shuffle_ps(high, high, 1));
        peak = std::max(peak * (weights[0] * k_peakDecay), _mm_cvtss_f32(high));
    }
    void addAll(const f32* samples, i32 count) {
        const i32 whole = count & ~3;
        for (i32 first = 0; first < whole; first += k_piece)
            add(samples + first, std::min(k_piece, whole - first));
        for (i32 i = whole; i < count; ++i) {
            const f32 magnitude = std::fabs(samples[i]);
            const f32 x = magnitude <= k_largest ? magnitude : 0.0f;
            peak = std::max(peak * k_peakDecay, x);
            squares[0] = _mm_add_sd(squares[0], _mm_set_sd(static_cast<f64>(x) * x));
        }
    }
    void addSilence(i32 count) {
        if (peak == 0) return;
        for (; count >= k_piece; count -= k_piece)
            peak *= k_pieceDecay;
        for (; count > 0; --count)
            peak *= k_peakDecay;
    }
    f64 sum() const {
        alignas(16) f64 lanes[2];
        _mm_store_pd(lanes, _mm_add_pd(squares[0], squares[1]));
        return lanes[0] + lanes[1];
    }
};

} // namespace

f32 AM_fastDecibels(f32 magnitude) {
    if (!(magnitude >= 1e-5f)) return -120.0f;
    const u32 bits = std::bit_cast<u32>(std::min(magnitude, k_largest));
    const f32 exponent = static_cast<f32>(static_cast<i32>(bits >> 23) - 128);
    const f32 mantissa = std::bit_cast<f32>((bits & 0x007fffff) | 0x3f800000);
    return (exponent + (2.0f - mantissa / 3.0f) * mantissa - 2.0f / 3.0f) * 6.0377364f;
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
    bool silent = true;
    f32 highestRms = 0;
    f32 highestPeak = 0;
    // Channels beyond those that have been in use stay not connected.
    for (i32 c = 0; c < std::max(numChannels, numMeasured); ++c) {
        if (c < numChannels && channels[c]) {
            silent &= measureChannel(c, channels[c], numFrames, knownSilent);
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

bool AM_LevelMeter::measureChannel(i32 channel, const f32* samples, i32 numFrames,
                                   bool knownSilent) {
    Piece piece;
    piece.peak = peak[channel];
    const bool silent = knownSilent || AM_isSilent(samples, numFrames);
    if (silent && peak[channel] == 0 && channelRms(channel) == 0) return true;
    if (silent)
        piece.addSilence(numFrames);
    else
        piece.addAll(samples, numFrames);
    peak[channel] = settle(piece.peak);
    const f64 added = silent ? 0 : std::sqrt(piece.sum() * 0.03 / numFrames);
    const f64 before = std::max(channelRms(channel), 0.0f);
    rms[channel].store(settle(added + before * 0.93), std::memory_order_relaxed);
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
