#include "SoundPlot.h"

#include "AM_Context.h"
#include "PlotStyle.h"
#include "SoundPanels.h"

#include <algorithm>
#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f32 k_left = 78; // of the panels; their labels stand left of it
constexpr f32 k_right = k_soundPlotWidth - 30;
constexpr const char* k_between = "  \xc2\xb7  ";
constexpr f32 k_softest = -95;    // dB
constexpr f64 k_mostShown = 0.9;  // of a sound that is cut where it is too soft
constexpr f32 k_lowerWidth = 506; // of the two panels at the bottom

// Up to where the energy that is still to come has fallen by 95 dB, and a little more.
SoundView findShown(const SoundPicture& picture) {
    SoundView shown = picture.plot.sound;
    const std::vector<f32>& level = picture.curve.level;
    const auto last = std::find_if(level.begin(), level.end(), [](f32 l) { return l < k_softest; });
    const f64 seconds = 1.03 * static_cast<f64>(last - level.begin()) * picture.curve.step;
    if (last == level.end() || seconds > k_mostShown * shown.seconds()) return shown;
    const size_t frames = std::max<size_t>(1, static_cast<size_t>(seconds * shown.rate));
    for (std::span<const f32>& channel : shown.channels)
        channel = channel.first(std::min(frames, channel.size()));
    return shown;
}

void drawTitle(const SoundPicture& picture) {
    const PlotPanel sheet(picture.context, {k_left, 22, k_right - k_left, 34});
    const SoundPlot& plot = picture.plot;
    AM_Context& context = picture.context;
    sheet.drawText(plot.title, sheet.getArea(), k_titleSize, k_title, k_alignStart, k_alignCentre);
    context.setFontSize(k_titleSize);
    const f32 used = std::ceil(context.getTextWidth(plot.title.c_str())) + 20;
    std::string facts = frequencyText(plot.sound.rate);
    facts.append(k_between).append(secondsText(plot.sound.seconds()));
    facts.append(k_between).append(decayText(picture.decay));
    // On the title's baseline.
    sheet.drawText(facts, {k_left + used, 30, k_right - k_left - used, 24}, k_headingSize + 1,
                   k_heading, k_alignStart, k_alignCentre);
    context.setFontSize(k_headingSize + 1);
    const f32 behind = used + std::ceil(context.getTextWidth(facts.c_str())) + 30;
    std::string name = plot.name;
    if (picture.shown.frames() < plot.sound.frames())
        name +=
            (name.empty() ? "the first " : ", the first ") + secondsText(picture.shown.seconds());
    sheet.drawText(name, {k_left + behind, 30, k_right - k_left - behind, 24}, k_headingSize,
                   k_tickText, k_alignEnd, k_alignCentre);
}
} // namespace

void drawSoundPlot(AM_Context& context, const SoundPlot& plot) {
    SoundPicture picture{context, plot, findDecayCurve(plot.sound), 0, {}, {}, {}};
    picture.tailStart = plot.impulse ? 0 : findTailStart(plot.sound);
    picture.decay = findDecayTime(picture.curve, picture.tailStart);
    picture.shown = findShown(picture);
    picture.timeTicks = findTimeTicks(0, picture.shown.seconds(), 14);
    context.beginDraw();
    context.clear(k_ground);
    drawTitle(picture);
    const f32 width = k_right - k_left;
    drawWaveform(picture, {k_left, 98, width, 162});
    drawSpectrogram(picture, {k_left, 300, width, 282});
    drawEnergyDecay(picture, {k_left, 652, k_lowerWidth, 196});
    drawEchoDensity(picture, {k_right - k_lowerWidth, 652, k_lowerWidth, 196});
}
