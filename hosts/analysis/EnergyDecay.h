// How fast sound dies away.
//
// The energy decay curve is Schroeder's backward integration (M. R. Schroeder, "New method of
// measuring reverberation time", J. Acoust. Soc. Am. 37, 1965): the energy that is still to come,
// E(t) = integral of h(u)^2 over u from t to the end, summed over the channels. The decay time is
// evaluated as ISO 3382-1 does it: a least squares line through a part of the curve in dB,
// extrapolated to a fall of 60 dB.
#pragma once

#include "SoundView.h"

struct DecayCurve {
    f64 step = 0; // seconds from value to value, about 1 ms
    // dB below the whole energy, at i * step; k_silentLevel where nothing is left. Empty for
    // silence.
    std::vector<f32> level;
    // The same as a power, in the unit of the samples squared, times seconds; one more value, 0.
    std::vector<f64> energy;

    f64 seconds() const { return step * static_cast<f64>(level.size()); }
};

DecayCurve findDecayCurve(const SoundView& sound);

// What a decay time was read from: the fall from 5 dB to 35, 25 or 15 dB below the start.
enum class DecayRange { none = 0, t10 = 10, t20 = 20, t30 = 30 };

struct DecayTime {
    DecayRange range = DecayRange::none; // none: "no decay", and nothing else holds
    f64 seconds = 0;                     // for a fall of 60 dB
    f64 begin = 0;                       // of the fitted part, in seconds of the curve
    f64 end = 0;
    f64 levelAtZero = 0; // of the line, dB, on the curve's scale at its time 0
    f64 slope = 0;       // of the line, dB a second, below 0

    f64 levelAt(f64 time) const { return levelAtZero + slope * time; }
};

// The decay from `start` (seconds) on. The largest range is taken whose lower end stands clear of
// what the file ends with, be it a noise floor or a decay that was cut: the mean power of the last
// tenth, lasting from there to the end, must be at most a 20th of the energy there, which bends the
// curve by 0.2 dB. No decay is: none of the ranges, fewer than 10 ms from its begin to its end, or
// no straight line (a squared correlation below 0.9).
DecayTime findDecayTime(const DecayCurve& curve, f64 start = 0);

// For sounds that are no impulse responses: the time, in seconds, behind the last 20 ms whose power
// is at most 20 dB below that of the loudest. 0 for silence.
f64 findTailStart(const SoundView& sound);
