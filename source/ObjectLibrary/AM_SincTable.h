// The windowed sinc of the resamplers: 32 taps of 32 phases.
#pragma once

#include "AM_Types.h"

inline constexpr i32 k_sincTaps = 32;
inline constexpr i32 k_sincPhases = 32;
inline constexpr i32 k_sincEntries = k_sincTaps * k_sincPhases;
// Zeros behind the entries let the interpolation read past the end.
inline constexpr i32 k_sincTableSize = k_sincEntries + 32;

using AM_SincTable = f32[k_sincTableSize];

// Fills the first 1024 entries with sin(x) / x, x = (i - 512) * cutoff * pi, under a Hann window
// whose phase is stepped by 1/1023; formed in double, rounded once. The rest is not touched.
// `cutoff` is a fraction of the table's own Nyquist frequency, 1/32 being the sample rate's.
void AM_fillSinc(AM_SincTable& table, f32 cutoff);

// The same, each entry then multiplied by `ratio` in 32-bit float.
void AM_fillScaledSinc(AM_SincTable& table, f32 cutoff, f32 ratio);
