#include "EchoDensity.h"

#include <numbers>

namespace {
// The weights around a frame, those that hold sound summing up to 1.
struct Window {
    size_t begin = 0;
    std::vector<f64> weights;
};

Window makeWindow(f64 centre, f64 halfWidth, size_t frames) {
    Window window;
    const f64 last = static_cast<f64>(frames) - 1;
    const f64 from = std::max(0.0, std::ceil(centre - halfWidth));
    const f64 to = std::min(last, std::floor(centre + halfWidth));
    if (!(from <= to)) return window;
    window.begin = static_cast<size_t>(from);
    f64 sum = 0;
    for (f64 frame = from; frame <= to; ++frame) {
        const f64 phase = std::numbers::pi * (frame - centre) / halfWidth;
        window.weights.push_back(0.5 + 0.5 * std::cos(phase));
        sum += window.weights.back();
    }
    for (f64& weight : window.weights)
        weight = sum > 0 ? weight / sum : 0;
    return window;
}

f64 shareBeyondDeviation(std::span<const f32> channel, const Window& window) {
    f64 variance = 0;
    for (size_t i = 0; i < window.weights.size(); ++i) {
        const f64 sample = sampleOf(channel, window.begin + i);
        variance += window.weights[i] * sample * sample;
    }
    const f64 deviation = std::sqrt(variance);
    f64 share = 0;
    for (size_t i = 0; i < window.weights.size(); ++i)
        if (std::fabs(sampleOf(channel, window.begin + i)) > deviation) share += window.weights[i];
    return share;
}
} // namespace

std::vector<f32> findEchoDensity(const SoundView& sound, std::span<const f64> times) {
    std::vector<f32> densities(times.size());
    const size_t frames = sound.frames();
    if (frames == 0) return densities;
    const f64 gaussian = std::erfc(1 / std::numbers::sqrt2);
    // Rates at which the window would hold less than a frame, or more than any sound, are held.
    const f64 halfWidth = std::clamp(k_echoWindow / 2 * sound.rate, 1.0, 1e6);
    for (size_t i = 0; i < times.size(); ++i) {
        if (!(times[i] >= 0 && times[i] <= sound.seconds())) continue;
        const Window window = makeWindow(times[i] * sound.rate, halfWidth, frames);
        f64 share = 0;
        for (const std::span<const f32>& channel : sound.channels)
            share += shareBeyondDeviation(channel, window);
        share /= static_cast<f64>(sound.channels.size());
        densities[i] = static_cast<f32>(share / gaussian);
    }
    return densities;
}
