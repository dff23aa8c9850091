#include "EnergyDecay.h"

namespace {
constexpr f64 k_rangeBegin = 5;         // dB below the start
constexpr f64 k_clearance = 20;         // of the energy over what the end would add
constexpr size_t k_fewestSteps = 10;    // of a fitted part
constexpr f64 k_leastCorrelation = 0.9; // squared
constexpr f64 k_loudWindow = 0.02;      // s
constexpr f64 k_loudRange = 0.01;       // of the power, -20 dB

f64 energyOf(const SoundView& sound, size_t begin, size_t end) {
    f64 energy = 0;
    for (const std::span<const f32>& channel : sound.channels)
        for (size_t i = begin; i < end; ++i) {
            const f64 sample = sampleOf(channel, i);
            energy += sample * sample;
        }
    return energy;
}

size_t stepFrames(f64 rate, f64 seconds) {
    return static_cast<size_t>(std::clamp(std::floor(rate * seconds + 0.5), 1.0, 1e9));
}

struct Line {
    f64 atZero;
    f64 slope;
    f64 correlation; // squared
};

// Through the values from `first` to `last`, both included, over their index.
Line fitLine(const std::vector<f32>& values, size_t first, size_t last) {
    const f64 count = static_cast<f64>(last - first + 1);
    const f64 meanX = (static_cast<f64>(first) + static_cast<f64>(last)) / 2;
    f64 meanY = 0;
    for (size_t i = first; i <= last; ++i)
        meanY += values[i] / count;
    f64 xx = 0, xy = 0, yy = 0;
    for (size_t i = first; i <= last; ++i) {
        const f64 x = static_cast<f64>(i) - meanX;
        const f64 y = values[i] - meanY;
        xx += x * x;
        xy += x * y;
        yy += y * y;
    }
    const f64 slope = xx > 0 ? xy / xx : 0;
    return {meanY - slope * meanX, slope, xx > 0 && yy > 0 ? xy * xy / (xx * yy) : 0};
}

// True if the energy at `at` has little of what the end is made of.
bool standsClear(const DecayCurve& curve, size_t start, size_t at) {
    const size_t count = curve.level.size();
    const size_t tenth = std::max<size_t>(1, (count - start) / 10);
    const f64 endPower = curve.energy[count - tenth] / static_cast<f64>(tenth);
    return curve.energy[at] > 0 &&
           curve.energy[at] >= k_clearance * endPower * static_cast<f64>(count - at);
}
} // namespace

DecayCurve findDecayCurve(const SoundView& sound) {
    DecayCurve curve;
    const size_t frames = sound.frames();
    if (frames == 0) return curve;
    const size_t step = stepFrames(sound.rate, 0.001);
    const size_t count = (frames + step - 1) / step;
    curve.step = static_cast<f64>(step) / sound.rate;
    curve.energy.resize(count + 1);
    for (size_t i = count; i-- > 0;)
        curve.energy[i] = curve.energy[i + 1] +
                          energyOf(sound, i * step, std::min(frames, (i + 1) * step)) / sound.rate;
    const f64 whole = curve.energy[0];
    if (!(whole > 0)) return {};
    curve.level.resize(count);
    for (size_t i = 0; i < count; ++i)
        curve.level[i] = static_cast<f32>(levelOfPower(curve.energy[i] / whole));
    return curve;
}

DecayTime findDecayTime(const DecayCurve& curve, f64 start) {
    const size_t count = curve.level.size();
    if (!(start >= 0) || !(start < curve.seconds())) return {};
    const size_t first =
        std::min(count - 1, static_cast<size_t>(std::floor(start / curve.step + 0.5)));
    const auto firstBelow = [&](f64 fall) {
        size_t i = first;
        while (i < count && curve.level[i] > curve.level[first] - fall)
            ++i;
        return i;
    };
    const size_t begin = firstBelow(k_rangeBegin);
    for (const DecayRange range : {DecayRange::t30, DecayRange::t20, DecayRange::t10}) {
        const size_t end = firstBelow(k_rangeBegin + static_cast<f64>(range));
        if (end >= count || end < begin + k_fewestSteps || !standsClear(curve, first, end))
            continue;
        const Line line = fitLine(curve.level, begin, end);
        if (line.correlation < k_leastCorrelation) return {};
        const f64 slope = line.slope / curve.step;
        return {range,
                -60 / slope,
                static_cast<f64>(begin) * curve.step,
                static_cast<f64>(end) * curve.step,
                line.atZero,
                slope};
    }
    return {};
}

f64 findTailStart(const SoundView& sound) {
    const size_t frames = sound.frames();
    if (frames == 0) return 0;
    const size_t window = stepFrames(sound.rate, k_loudWindow);
    std::vector<f64> energy((frames + window - 1) / window);
    f64 most = 0;
    for (size_t i = 0; i < energy.size(); ++i) {
        energy[i] = energyOf(sound, i * window, std::min(frames, (i + 1) * window));
        most = std::max(most, energy[i]);
    }
    size_t behind = most > 0 ? energy.size() : 0;
    while (behind > 0 && energy[behind - 1] < most * k_loudRange)
        --behind;
    return static_cast<f64>(std::min(frames, behind * window)) / sound.rate;
}
