// One picture of a sound: waveform, spectrogram, energy decay curve and echo density.
#pragma once

#include "EnergyDecay.h"

#include <string>

class AM_Context;

// The picture's size in view units.
inline constexpr f32 k_soundPlotWidth = 1200;
inline constexpr f32 k_soundPlotHeight = 900;

struct SoundPlot {
    SoundView sound;   // one or two channels are shown; more count in the other panels only
    bool impulse;      // an impulse response: its decay begins with it, else behind the music
    std::string title; // what it was made with, UTF-8
    std::string name;  // of its file, say; may be empty
};

// The decay time that the picture shows.
DecayTime findPlottedDecay(const SoundPlot& plot);

// Fills the context, whose buffer has the picture's size at any scale. Without a font there is no
// text.
void drawSoundPlot(AM_Context& context, const SoundPlot& plot);
