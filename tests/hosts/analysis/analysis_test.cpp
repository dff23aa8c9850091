// Measured against sound whose properties are known beforehand.
#include "EchoDensity.h"
#include "EnergyDecay.h"
#include "Envelope.h"
#include "Spectrogram.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <random>

namespace {
constexpr f64 k_rate = 48000;

std::vector<f32> makeNoise(f64 seconds, u32 seed, f64 level = 0.1) {
    std::mt19937 engine(seed);
    std::normal_distribution<f32> normal;
    std::vector<f32> noise(static_cast<size_t>(seconds * k_rate));
    for (f32& sample : noise)
        sample = static_cast<f32>(level * normal(engine));
    return noise;
}

// Noise that falls by 60 dB in `t60` seconds from `start` on, and is even before.
std::vector<f32> makeDecay(f64 seconds, f64 t60, f64 start = 0) {
    std::vector<f32> noise = makeNoise(seconds, 7);
    for (size_t i = 0; i < noise.size(); ++i) {
        const f64 time = std::max(0.0, static_cast<f64>(i) / k_rate - start);
        noise[i] *= static_cast<f32>(std::pow(10, -3 * time / t60));
    }
    return noise;
}

SoundView view(const std::vector<f32>& channel) {
    return {{channel, channel}, k_rate};
}
} // namespace

TEST(Envelope, CoversEveryFrameOnce) {
    std::vector<f32> ramp(1000);
    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<f32>(i) - 500;
    const std::vector<EnvelopeColumn> columns = findEnvelope(ramp, 7);
    ASSERT_EQ(columns.size(), 7u);
    for (size_t c = 1; c < columns.size(); ++c)
        EXPECT_EQ(columns[c].low, columns[c - 1].high + 1);
    EXPECT_EQ(columns[0].low, -500);
    EXPECT_EQ(columns[6].high, 499);
    EXPECT_FLOAT_EQ(findEnvelope(std::vector<f32>{3, -4}, 1)[0].rms, std::sqrt(12.5f));
}

TEST(EnergyDecay, FindsTheTimeOfExponentialNoise) {
    for (const f64 t60 : {0.3, 1.0, 2.5}) {
        const std::vector<f32> noise = makeDecay(1.5 * t60, t60);
        const DecayTime time = findDecayTime(findDecayCurve(view(noise)));
        EXPECT_EQ(time.range, DecayRange::t30) << t60;
        EXPECT_NEAR(time.seconds, t60, 0.01 * t60);
        EXPECT_NEAR(time.levelAt(t60), -60, 0.6);
    }
}

TEST(EnergyDecay, TakesTheRangeThatLengthAndNoiseFloorAllow) {
    const struct {
        f64 length; // of a decay of 1 s for 60 dB
        f64 floor;  // dB below its begin
        DecayRange range;
        f64 tolerance;
    } cases[] = {{1.5, 200, DecayRange::t30, 0.01},  {0.85, 200, DecayRange::t20, 0.02},
                 {0.65, 200, DecayRange::t10, 0.03}, {0.3, 200, DecayRange::none, 0},
                 {1.5, 65, DecayRange::t30, 0.02},   {1.5, 50, DecayRange::t20, 0.03},
                 {1.5, 45, DecayRange::t10, 0.04},   {1.5, 20, DecayRange::none, 0}};
    for (const auto& [length, floor, range, tolerance] : cases) {
        std::vector<f32> noise = makeDecay(length, 1);
        const std::vector<f32> added = makeNoise(length, 8, 0.1 * std::pow(10, -floor / 20));
        for (size_t i = 0; i < noise.size(); ++i)
            noise[i] += added[i];
        const DecayTime time = findDecayTime(findDecayCurve(view(noise)));
        EXPECT_EQ(time.range, range) << length << " s, -" << floor << " dB";
        EXPECT_NEAR(time.seconds, range == DecayRange::none ? 0 : 1, tolerance);
    }
}

TEST(EnergyDecay, OfMusicIsThatOfItsTail) {
    const std::vector<f32> noise = makeDecay(5, 1.2, 2);
    const f64 start = findTailStart(view(noise));
    EXPECT_NEAR(start, 2 + 0.4, 0.03); // a third of 60 dB later
    EXPECT_NEAR(findDecayTime(findDecayCurve(view(noise)), start).seconds, 1.2, 0.02);
    // What ends at once, or does not end, has no decay.
    std::vector<f32> burst = makeNoise(1, 9);
    EXPECT_EQ(findDecayTime(findDecayCurve(view(burst))).range, DecayRange::none);
    burst.resize(96000);
    EXPECT_EQ(findDecayTime(findDecayCurve(view(burst))).range, DecayRange::none);
    EXPECT_EQ(findDecayTime(findDecayCurve(view(burst)), findTailStart(view(burst))).range,
              DecayRange::none);
}

TEST(Spectrogram, ASineIsInItsRowAtItsLevel) {
    const SpectrogramShape shape{40, 120, 20, 20000, 4096};
    for (const f64 row : {60.0, 83.0, 112.0}) {
        std::vector<f32> sine(48000);
        const f64 frequency = rowFrequency(shape, row);
        for (size_t i = 0; i < sine.size(); ++i)
            sine[i] = static_cast<f32>(
                0.25 * std::sin(2 * std::numbers::pi * frequency * static_cast<f64>(i) / k_rate));
        const Spectrogram spectrogram = findSpectrogram(view(sine), shape);
        i32 strongest = 0;
        for (i32 r = 0; r < shape.rows; ++r)
            if (spectrogram.at(20, r) > spectrogram.at(20, strongest)) strongest = r;
        EXPECT_EQ(strongest, static_cast<i32>(row));
        EXPECT_NEAR(spectrogram.at(20, strongest), 20 * std::log10(0.25), 0.4);
        EXPECT_LT(spectrogram.at(20, 20), -90);
    }
}

TEST(EchoDensity, IsOneForNoiseAndNearlyNothingForSinglePulses) {
    std::vector<f64> times;
    for (i32 i = 0; i < 200; ++i)
        times.push_back(0.01 + 0.0049 * i);
    const auto mean = [&times](const std::vector<f32>& sound) {
        f64 sum = 0;
        for (const f32 density : findEchoDensity(view(sound), times))
            sum += density;
        return sum / static_cast<f64>(times.size());
    };
    EXPECT_NEAR(mean(makeNoise(1, 10)), 1, 0.02);
    std::vector<f32> pulses(48000);
    for (size_t i = 0; i < pulses.size(); i += 240)
        pulses[i] = i % 480 ? 0.5f : -0.5f;
    EXPECT_NEAR(mean(pulses), 1 / (240 * 0.31731), 0.002);
    EXPECT_EQ(mean(std::vector<f32>(48000)), 0);
}

TEST(Analysis, NothingBreaksIt) {
    const f32 nan = std::numeric_limits<f32>::quiet_NaN();
    const f32 huge = std::numeric_limits<f32>::max();
    const std::vector<f32> sounds[] = {{},
                                       {0.5f},
                                       {nan, 1, -std::numeric_limits<f32>::infinity(), nan},
                                       {huge, huge, -huge, huge}};
    const f64 times[] = {0, 1e-5, 1, -1, nan};
    for (const std::vector<f32>& sound : sounds) {
        for (const f64 rate : {k_rate, 0.0, -1.0, static_cast<f64>(nan), 1.0, 1e7, 1e300}) {
            const SoundView odd{{sound, sound}, rate};
            EXPECT_EQ(findDecayTime(findDecayCurve(odd), findTailStart(odd)).range,
                      DecayRange::none);
            for (const f32 density : findEchoDensity(odd, times))
                EXPECT_TRUE(density >= 0 && density <= 3.16f);
            for (const f32 level : findSpectrogram(odd, {9, 5, 20, 20000, 64}).level)
                EXPECT_TRUE(std::isfinite(level));
        }
        for (const EnvelopeColumn& column : findEnvelope(sound, 10))
            EXPECT_TRUE(std::isfinite(column.rms) && column.low <= column.high);
    }
    EXPECT_EQ(findDecayTime(findDecayCurve({}), nan).range, DecayRange::none);
    EXPECT_TRUE(findSpectrogram({}, {0, 5, 20, 20000, 64}).level.empty());
    EXPECT_TRUE(findSpectrogram({}, {9, 5, nan, 20000, 64}).level.empty());
}
