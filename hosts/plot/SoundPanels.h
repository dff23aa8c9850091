// The four panels of a sound's picture, each with its analysis.
#pragma once

#include "EnergyDecay.h"
#include "PlotPanel.h"
#include "SoundPlot.h"

#include <vector>

// What the panels share.
struct SoundPicture {
    AM_Context& context;
    const SoundPlot& plot;
    DecayCurve curve;
    f64 tailStart = 0; // s
    DecayTime decay;
    SoundView shown;                 // without what is too soft to be seen at the end
    std::vector<PlotTick> timeTicks; // of that
};

// At the same width, so that times stand below each other; only the second has labels of them.
void drawWaveform(const SoundPicture& picture, const AM_Rect& area);
void drawSpectrogram(const SoundPicture& picture, const AM_Rect& area);
void drawEnergyDecay(const SoundPicture& picture, const AM_Rect& area);
void drawEchoDensity(const SoundPicture& picture, const AM_Rect& area);

// "T30 2.31 s", or "no decay".
std::string decayText(const DecayTime& decay);
