// Levels over time and frequency.
//
// Discrete Fourier transforms of overlapped Hann windows with twice their length, so that a level
// between two bins is lost by 0.4 dB at most. |X| is scaled by 2 / (sum of the window): a sine of
// full scale has 0 dB. Powers are averaged over the channels.
#pragma once

#include "SoundView.h"

struct SpectrogramShape {
    i32 columns = 1024;  // 1 to 8192, which divide all frames evenly
    i32 rows = 256;      // 1 to 4096, which divide the logarithm of the frequency evenly
    f64 lowest = 20;     // Hz, above 0; the lower edge of the lowest row
    f64 highest = 20000; // Hz, above `lowest`
    i32 window = 2048;   // frames, held at 16 to 65536 and made even
};

struct Spectrogram {
    i32 columns = 0;
    i32 rows = 0;
    std::vector<f32> level; // dB; row after row, the lowest first

    f32 at(i32 column, i32 row) const {
        return level[static_cast<size_t>(row) * static_cast<size_t>(columns) +
                     static_cast<size_t>(column)];
    }
};

// A row has the level of its strongest bin, or between two bins the level between them;
// k_silentLevel above half the rate. A column that is longer than a quarter of the window has the
// mean power of several windows, a quarter apart, else that of one around its centre. Empty if the
// shape is none.
Spectrogram findSpectrogram(const SoundView& sound, const SpectrogramShape& shape);

// The frequency in the middle of a row, in Hz.
f64 rowFrequency(const SpectrogramShape& shape, f64 row);
