#include "PlotAxis.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {
constexpr f64 k_tolerance = 1e-9; // of a step

// Without the zeros at the end.
std::string shortText(f64 value, i32 decimals) {
    std::string text = numberText(value, decimals);
    if (text.find('.') == std::string::npos) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}
} // namespace

std::string numberText(f64 value, i32 decimals) {
    char digits[64];
    const f64 held = std::clamp(std::isfinite(value) ? value : 0.0, -1e15, 1e15);
    const std::to_chars_result result =
        std::to_chars(digits, digits + sizeof digits, std::fabs(held), std::chars_format::fixed,
                      std::clamp(decimals, 0, 15));
    const std::string text(digits, result.ptr);
    const bool isZero = text.find_first_not_of("0.") == std::string::npos;
    return std::string(held < 0 && !isZero ? "\xe2\x88\x92" : "").append(text);
}

std::string secondsText(f64 seconds) {
    if (seconds < 0.0995) return numberText(seconds * 1000, seconds < 0.00995 ? 1 : 0) + " ms";
    return numberText(seconds, seconds < 9.995 ? 2 : 1) + " s";
}

std::string frequencyText(f64 hertz) {
    if (hertz >= 1000) return shortText(hertz / 1000, 3) + " kHz";
    return shortText(hertz, 0) + " Hz";
}

f32 PlotAxis::place(f64 value) const {
    f64 share = 0;
    if (!logarithmic)
        share = (value - from) / (to - from);
    else if (value > 0)
        share = std::log(value / from) / std::log(to / from);
    if (!std::isfinite(share)) share = 0;
    return begin + static_cast<f32>(std::clamp(share, 0.0, 1.0)) * (end - begin);
}

f64 PlotAxis::valueAt(f64 share) const {
    return logarithmic ? from * std::pow(to / from, share) : from + share * (to - from);
}

RoundSteps findRoundSteps(f64 from, f64 to, i32 most) {
    const f64 least = (to - from) / std::max(most, 1);
    if (!(least > 1e-40 && least < 1e40)) return {1, 0, {from}};
    const f64 power = std::pow(10, std::floor(std::log10(least)));
    f64 step = 10 * power;
    for (const f64 factor : {5.0, 2.0, 1.0})
        if (factor * power >= least * (1 - k_tolerance)) step = factor * power;
    const i32 decimals = static_cast<i32>(std::max(0.0, -std::floor(std::log10(step) + 1e-6)));
    RoundSteps steps{step, decimals, {}};
    const f64 first = std::ceil(from / step - k_tolerance);
    const f64 last = std::floor(to / step + k_tolerance);
    for (f64 i = first; i <= last; ++i)
        steps.values.push_back(i * step);
    return steps;
}

std::vector<PlotTick> findTimeTicks(f64 from, f64 to, i32 most) {
    const bool inMilliseconds = to < 0.3;
    const f64 unit = inMilliseconds ? 0.001 : 1;
    const RoundSteps steps = findRoundSteps(from / unit, to / unit, most);
    std::vector<PlotTick> ticks;
    for (const f64 value : steps.values)
        ticks.push_back({value * unit, numberText(value, value == 0 ? 0 : steps.decimals) +
                                           (inMilliseconds ? " ms" : " s")});
    return ticks;
}

std::vector<PlotTick> findDecadeTicks(f64 from, f64 to, std::string (*label)(f64)) {
    std::vector<PlotTick> ticks;
    if (!(from > 0 && to > from && to < 1e12 && from > 1e-12)) return ticks;
    for (f64 power = std::floor(std::log10(from)); power <= std::log10(to); ++power)
        for (i32 digit = 1; digit <= 9; ++digit) {
            const f64 value = digit * std::pow(10, power);
            if (value < from * (1 - k_tolerance) || value > to * (1 + k_tolerance)) continue;
            ticks.push_back({value, digit == 1 ? label(value) : std::string()});
        }
    return ticks;
}
