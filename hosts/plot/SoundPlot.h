// One picture of a sound: waveform, spectrogram, energy decay curve and echo density.
#pragma once

#include "SoundView.h"

#include <string>

class AM_Context;

// The picture's size in view units.
inline constexpr f32 k_soundPlotWidth = 1200;
inline constexpr f32 k_soundPlotHeight = 900;

struct SoundPlot {
    SoundView sound; // one or two channels are shown; more count in the other panels only
    // An impulse response: its decay begins with it, else behind the last loud part.
    bool impulse = false;
    std::string title; // what it was made with, UTF-8
    std::string name;  // of its file, say; may be empty
};

// Sound that has become too soft to be seen is cut off, which the title tells. Fills the context,
// whose buffer has the picture's size at any scale. Without a font there is no text.
void drawSoundPlot(AM_Context& context, const SoundPlot& plot);
