#include "SoundPlot.h"

#include "AM_Context.h"
#include "PlotStyle.h"
#include "SoundPanels.h"

#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f32 k_left = 78; // of the panels; their labels stand left of it
constexpr f32 k_right = k_soundPlotWidth - 30;
constexpr f32 k_lowerWidth = 506; // of the two panels at the bottom

void drawTitle(const SoundPicture& picture) {
    const PlotPanel sheet(picture.context, {k_left, 22, k_right - k_left, 34});
    const SoundPlot& plot = picture.plot;
    AM_Context& context = picture.context;
    sheet.drawText(plot.title, sheet.getArea(), k_titleSize, k_title, k_alignStart, k_alignCentre);
    context.setFontSize(k_titleSize);
    const f32 used = std::ceil(context.getTextWidth(plot.title.c_str())) + 20;
    std::string facts = frequencyText(plot.sound.rate);
    facts += "   " + secondsText(plot.sound.seconds());
    facts += "   " + decayText(picture.decay);
    // On the title's baseline.
    sheet.drawText(facts, {k_left + used, 30, k_right - k_left - used, 24}, k_headingSize + 1,
                   k_heading, k_alignStart, k_alignCentre);
    context.setFontSize(k_headingSize + 1);
    const f32 behind = used + std::ceil(context.getTextWidth(facts.c_str())) + 30;
    sheet.drawText(plot.name, {k_left + behind, 30, k_right - k_left - behind, 24}, k_headingSize,
                   k_tickText, k_alignEnd, k_alignCentre);
}
} // namespace

DecayTime findPlottedDecay(const SoundPlot& plot) {
    return findDecayTime(findDecayCurve(plot.sound), plot.impulse ? 0 : findTailStart(plot.sound));
}

void drawSoundPlot(AM_Context& context, const SoundPlot& plot) {
    SoundPicture picture{context, plot, findDecayCurve(plot.sound), 0, {}, {}};
    picture.tailStart = plot.impulse ? 0 : findTailStart(plot.sound);
    picture.decay = findDecayTime(picture.curve, picture.tailStart);
    picture.timeTicks = findTimeTicks(0, plot.sound.seconds(), 14);
    context.beginDraw();
    context.clear(k_ground);
    drawTitle(picture);
    const f32 width = k_right - k_left;
    drawWaveform(picture, {k_left, 98, width, 162});
    drawSpectrogram(picture, {k_left, 300, width, 282});
    drawEnergyDecay(picture, {k_left, 652, k_lowerWidth, 196});
    drawEchoDensity(picture, {k_right - k_lowerWidth, 652, k_lowerWidth, 196});
}
