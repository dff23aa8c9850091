// The panels of the energy's decay and of the echoes' density.
#include "EchoDensity.h"
#include "PlotStyle.h"
#include "SoundPanels.h"

#include <algorithm>
#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f64 k_firstEcho = 0.005;    // s, where the logarithmic time begins
constexpr f64 k_leastDecayRange = 80; // dB

const char* rangeName(DecayRange range) {
    return range == DecayRange::t30 ? "T30" : range == DecayRange::t20 ? "T20" : "T10";
}

// dB, down to where a fitted line has fallen by 60 dB and more.
f64 lowestLevel(const SoundPicture& picture) {
    if (picture.decay.range == DecayRange::none) return -k_leastDecayRange;
    const f64 needed = picture.decay.levelAt(picture.tailStart) - k_leastDecayRange;
    return std::max(-180.0, 20 * std::floor(needed / 20 + 0.5));
}

// When the curve leaves the panel, or the sound's end.
f64 lastTime(const SoundPicture& picture, f64 lowest) {
    const std::vector<f32>& level = picture.curve.level;
    const size_t below = static_cast<size_t>(
        std::find_if(level.begin(), level.end(), [lowest](f32 l) { return l < lowest; }) -
        level.begin());
    const f64 time = static_cast<f64>(below) * picture.curve.step * 1.03;
    const f64 seconds = std::min(time, picture.plot.sound.seconds());
    return seconds > 0 ? seconds : 1;
}

void drawFit(const SoundPicture& picture, const PlotPanel& panel, const PlotAxis& time,
             const PlotAxis& level) {
    const DecayTime& decay = picture.decay;
    const AM_Rect area = panel.getArea();
    AM_Context& context = picture.context;
    if (decay.range == DecayRange::none) {
        panel.drawText("no decay", {area.left, area.top + 12, area.width - 16, 28}, 20, k_tickText,
                       k_alignEnd, k_alignCentre);
        return;
    }
    const auto at = [&](f64 seconds) {
        return AM_Point{time.place(seconds), level.place(decay.levelAt(seconds))};
    };
    const f64 lineStart = std::max(picture.tailStart, 0.0);
    // Where the line leaves the panel, below or at the side.
    const f64 lineEnd = std::min(time.to, (level.from - decay.levelAtZero) / decay.slope);
    context.pushClip(area);
    panel.drawDashes(at(lineStart), at(lineEnd), 1, (k_accent & ~0xffu) | 0x99);
    const AM_Point ends[2] = {at(decay.begin), at(decay.end)};
    context.setRGBA(k_accent);
    context.strokeLines(ends, 2, 2);
    for (const AM_Point& end : ends)
        context.fillArc(end, 0, 3.5f, 0, 360);
    context.popClip();
    panel.drawText(secondsText(decay.seconds), {area.left, area.top + 12, area.width - 16, 28}, 22,
                   k_accent, k_alignEnd, k_alignCentre);
    std::string range = rangeName(decay.range);
    range += ", from " + numberText(-5, 0) + " to ";
    range += numberText(-5 - static_cast<f64>(decay.range), 0) + " dB";
    panel.drawText(range, {area.left, area.top + 40, area.width - 16, 18}, k_tickSize, k_tickText,
                   k_alignEnd, k_alignCentre);
}

f64 highestDensity(const std::vector<f32>& densities) {
    const f64 most = *std::max_element(densities.begin(), densities.end());
    for (const f64 top : {1.25, 1.5, 2.0, 2.5})
        if (most <= top) return top;
    return 3.25;
}
} // namespace

std::string decayText(const DecayTime& decay) {
    if (decay.range == DecayRange::none) return "no decay";
    std::string text = rangeName(decay.range);
    return text.append(" ").append(secondsText(decay.seconds));
}

void drawEnergyDecay(const SoundPicture& picture, const AM_Rect& area) {
    const PlotPanel panel(picture.context, area);
    const f64 lowest = lowestLevel(picture);
    const PlotAxis time = panel.horizontal(0, lastTime(picture, lowest));
    const PlotAxis level = panel.vertical(lowest, 5);
    std::vector<PlotTick> levels;
    const f64 step = lowest < -120 ? 40 : 20;
    for (f64 tick = 0; tick >= lowest; tick -= step)
        levels.push_back({tick, numberText(tick, 0) + (tick == 0 ? " dB" : "")});
    const std::vector<PlotTick> times = findTimeTicks(0, time.to, 7);
    std::vector<AM_Point> points;
    f32 last = -1;
    for (size_t i = 0; i < picture.curve.level.size(); ++i) {
        const f64 seconds = static_cast<f64>(i) * picture.curve.step;
        if (seconds > time.to) break;
        const f32 x = time.place(seconds);
        if (x - last < 0.25f) continue;
        points.push_back({x, level.place(picture.curve.level[i])});
        last = x;
        if (picture.curve.level[i] < lowest) break;
    }
    panel.fillGround();
    panel.drawVerticalGrid(time, times, k_grid);
    panel.drawHorizontalGrid(level, levels, k_grid);
    panel.drawCurve(points, k_curve);
    drawFit(picture, panel, time, level);
    panel.drawLabelsBelow(time, times);
    panel.drawLabelsLeft(level, levels);
    panel.drawHeading("Energy decay");
}

void drawEchoDensity(const SoundPicture& picture, const AM_Rect& area) {
    const PlotPanel panel(picture.context, area);
    const f64 seconds = picture.plot.sound.seconds();
    const bool logarithmic = picture.plot.impulse && seconds > 10 * k_firstEcho;
    const PlotAxis time =
        panel.horizontal(logarithmic ? k_firstEcho : 0, seconds > 0 ? seconds : 1, logarithmic);
    std::vector<f64> times(static_cast<size_t>(area.width));
    for (size_t i = 0; i < times.size(); ++i)
        times[i] = time.valueAt((static_cast<f64>(i) + 0.5) / static_cast<f64>(times.size()));
    const std::vector<f32> densities = findEchoDensity(picture.plot.sound, times);
    const PlotAxis density = panel.vertical(0, highestDensity(densities));
    std::vector<AM_Point> points(times.size());
    for (size_t i = 0; i < times.size(); ++i)
        points[i] = {time.place(times[i]), density.place(densities[i])};
    const std::vector<PlotTick> ticks =
        logarithmic ? findDecadeTicks(time.from, time.to,
                                      [](f64 s) {
                                          return s < 0.5 ? numberText(s * 1000, 0) + " ms"
                                                         : numberText(s, 0) + " s";
                                      })
                    : findTimeTicks(0, time.to, 7);
    const std::vector<PlotTick> shares = {{0, "0"}, {0.5, "0.5"}, {1, "1"}};
    panel.fillGround();
    panel.drawVerticalGrid(time, ticks, k_grid);
    panel.drawHorizontalGrid(density, shares, k_grid);
    panel.drawCurve(points, k_curve);
    const f32 one = std::floor(density.place(1)) + 0.5f;
    panel.drawDashes({area.left, one}, {area.right(), one}, 1, k_accent);
    panel.drawLabelsBelow(time, ticks);
    panel.drawLabelsLeft(density, shares);
    panel.drawHeading("Echo density");
}
