// The panels of the energy's decay and of the echoes' density.
#include "EchoDensity.h"
#include "PlotStyle.h"
#include "SoundPanels.h"

#include <algorithm>
#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f64 k_firstEcho = 0.005; // s, where the logarithmic time begins
constexpr f64 k_lowestLevel = -80; // dB, of the decay

const char* rangeName(DecayRange range) {
    return range == DecayRange::t30 ? "T30" : range == DecayRange::t20 ? "T20" : "T10";
}

// The curve where a decay was found: from its start on, which has 0 dB. Else the whole.
struct ShownDecay {
    size_t first = 0;
    f64 offset = 0; // dB, of the curve's scale to the panel's
    f64 lastTime = 1;
};

ShownDecay findShownDecay(const SoundPicture& picture) {
    const DecayCurve& curve = picture.curve;
    ShownDecay shown;
    if (curve.level.empty()) return shown;
    if (picture.decay.range != DecayRange::none) {
        shown.first = static_cast<size_t>(picture.tailStart / curve.step + 0.5);
        shown.offset = -curve.level[shown.first];
    }
    size_t last = shown.first;
    while (last < curve.level.size() && curve.level[last] + shown.offset >= k_lowestLevel)
        ++last;
    const f64 from = static_cast<f64>(shown.first) * curve.step;
    const f64 to = from + (static_cast<f64>(last) * curve.step - from) * 1.03;
    shown.lastTime = std::min(to, picture.plot.sound.seconds());
    return shown;
}

void drawFit(const SoundPicture& picture, const PlotPanel& panel, const PlotAxis& time,
             const PlotAxis& level, f64 offset) {
    const DecayTime& decay = picture.decay;
    AM_Context& context = picture.context;
    const auto at = [&](f64 seconds) {
        return AM_Point{time.place(seconds), level.place(decay.levelAt(seconds) + offset)};
    };
    // Where the line leaves the panel, above or at the left, and below or at the right.
    const auto timeOf = [&](f64 shown) {
        return (shown - offset - decay.levelAtZero) / decay.slope;
    };
    const f64 lineStart = std::max(time.from, timeOf(level.to));
    const f64 lineEnd = std::min(time.to, timeOf(level.from));
    context.pushClip(panel.getArea());
    panel.drawDashes(at(lineStart), at(lineEnd), 1, (k_accent & ~0xffu) | 0x99);
    const AM_Point ends[2] = {at(decay.begin), at(decay.end)};
    context.setRGBA(k_accent);
    context.strokeLines(ends, 2, 2);
    for (const AM_Point& end : ends)
        context.fillArc(end, 0, 3.5f, 0, 360);
    context.popClip();
}

void writeDecay(const DecayTime& decay, const PlotPanel& panel) {
    const AM_Rect area = panel.getArea();
    // A curve that does not fall leaves room below.
    if (decay.range == DecayRange::none) {
        panel.drawText("no decay", {area.left + 16, area.bottom() - 40, area.width - 32, 28}, 20,
                       k_tickText, k_alignStart, k_alignCentre);
        return;
    }
    const AM_Rect line{area.left, area.top + 12, area.width - 16, 28};
    panel.drawText(secondsText(decay.seconds), line, 22, k_accent, k_alignEnd, k_alignCentre);
    std::string range = rangeName(decay.range);
    range += ", from " + numberText(-5, 0) + " to ";
    range += numberText(-5 - static_cast<f64>(decay.range), 0) + " dB";
    panel.drawText(range, {line.left, line.bottom(), line.width, 18}, k_tickSize, k_tickText,
                   k_alignEnd, k_alignCentre);
}

std::vector<AM_Point> findDecayPoints(const DecayCurve& curve, const ShownDecay& shown,
                                      const PlotAxis& time, const PlotAxis& level) {
    std::vector<AM_Point> points;
    for (size_t i = shown.first; i < curve.level.size(); ++i) {
        const f64 seconds = static_cast<f64>(i) * curve.step;
        if (seconds > time.to) break;
        const f32 x = time.place(seconds);
        const f64 value = curve.level[i] + shown.offset;
        // Many in a pixel are one; what leaves the panel does so at once.
        if (points.empty() || x - points.back().x >= 0.25f || value < k_lowestLevel)
            points.push_back({x, level.place(value)});
        if (value < k_lowestLevel) break;
    }
    return points;
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
    const ShownDecay shown = findShownDecay(picture);
    const bool decays = picture.decay.range != DecayRange::none;
    const PlotAxis time = panel.horizontal(decays ? picture.tailStart : 0, shown.lastTime);
    const PlotAxis level = panel.vertical(k_lowestLevel, 5);
    std::vector<PlotTick> levels;
    for (f64 tick = 0; tick >= k_lowestLevel; tick -= 20)
        levels.push_back({tick, numberText(tick, 0) + (tick == 0 ? " dB" : "")});
    const std::vector<PlotTick> times = findTimeTicks(time.from, time.to, 7);
    panel.fillGround();
    panel.drawVerticalGrid(time, times, k_grid);
    panel.drawHorizontalGrid(level, levels, k_grid);
    panel.drawCurve(findDecayPoints(picture.curve, shown, time, level), k_curve);
    if (decays) drawFit(picture, panel, time, level, shown.offset);
    writeDecay(picture.decay, panel);
    panel.drawLabelsBelow(time, times);
    panel.drawLabelsLeft(level, levels);
    panel.drawHeading("Energy decay", picture.tailStart > 0 && decays
                                          ? "energy to come, behind the last loud part"
                                          : "energy that is still to come");
}

void drawEchoDensity(const SoundPicture& picture, const AM_Rect& area) {
    const PlotPanel panel(picture.context, area);
    const SoundView& sound = picture.shown;
    const f64 seconds = sound.seconds();
    const bool logarithmic = picture.plot.impulse && seconds > 10 * k_firstEcho;
    const PlotAxis time =
        panel.horizontal(logarithmic ? k_firstEcho : 0, seconds > 0 ? seconds : 1, logarithmic);
    std::vector<f64> times(static_cast<size_t>(area.width));
    for (size_t i = 0; i < times.size(); ++i)
        times[i] = time.valueAt((static_cast<f64>(i) + 0.5) / static_cast<f64>(times.size()));
    const std::vector<f32> densities = findEchoDensity(sound, times);
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
    std::vector<PlotTick> shares = {{0, "0"}, {0.5, "0.5"}, {1, "1"}};
    for (f64 tick = 1.5; tick < density.to - 0.1; tick += 0.5)
        shares.push_back({tick, numberText(tick, 1)});
    panel.fillGround();
    panel.drawVerticalGrid(time, ticks, k_grid);
    panel.drawHorizontalGrid(density, shares, k_grid);
    panel.drawCurve(points, k_curve);
    const f32 one = std::floor(density.place(1)) + 0.5f;
    panel.drawDashes({area.left, one}, {area.right(), one}, 1, k_accent);
    panel.drawLabelsBelow(time, ticks);
    panel.drawLabelsLeft(density, shares);
    panel.drawHeading("Echo density", "1 is as dense as noise");
}
