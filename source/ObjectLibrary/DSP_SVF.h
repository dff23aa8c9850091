// Coefficients of a state-variable filter with nine shapes, in the plain and in the
// trapezoidal zero-delay form. The reverb installs four records and keeps them idle:
// no sample passes a filter. Not for the audio path except at a network reset.
#pragma once

#include "AM_Types.h"

// Settings and coefficients of one filter shape.
struct alignas(16) DSP_SVF {
    f32 mixBand;
    f32 mixLow;
    f32 mixInput;
    f32 mixHigh;
    f32 frequency;
    f32 damping;   // the k of the equations
    f32 shelfGain; // 1 unless a shape sets it
    i32 shape;  // 0 low-pass, 1 high-pass, 2 band-pass, 3 notch, 4 to 6 forms A to C, 7 all-pass,
                // 8 form D
    f32 cutoff; // over the Nyquist frequency
    f32 resonance; // 0 to 1
    f32 gain;      // dB
    f32 workCutoff;
    f32 a1, a2, a3, a4;

    // Fills weights, damping, shelfGain, workCutoff and frequency from the settings; an unknown
    // shape is logged and leaves the weights at 0.
    void updateShape();
};

// A filter's state, working on a record that it does not own.
class DSP_SVF_ZeroDelay {
public:
    virtual ~DSP_SVF_ZeroDelay() = default;
    // Zeroes the state.
    virtual void clear();
    // updateShape on the record, then its zero-delay coefficients; the weights are rewritten by
    // high = input - k * band - low, so that the high output need not be formed.
    void updateZeroDelay();

    f32 state[2] = {};
    DSP_SVF* record = nullptr;
    f32 extraState = 0.0f;
};

// 2 to the power `v` by a cubic polynomial in the fraction. Constants: 0.079440236, 0.22449434,
// 0.69606566.
f32 AM_fastExp2(f32 v);

// Decibels to a factor by AM_fastExp2 with the scale 0.16562499 a dB, which differs on purpose
// from the exact 0.1660964; below -120 dB, or not a number, gives 0.
f32 dBToGain(f32 decibels);
