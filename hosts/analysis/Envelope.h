// The outline of a waveform.
#pragma once

#include "SoundView.h"

struct EnvelopeColumn {
    f32 low = 0; // the lowest and the highest sample
    f32 high = 0;
    f32 rms = 0; // the root of the mean square
};

// Divides all frames evenly into `count` columns (held at 0 to 65536), in the unit of the samples.
// With fewer frames than columns, neighbours show the same frame; without frames all are 0.
std::vector<EnvelopeColumn> findEnvelope(std::span<const f32> channel, i32 count);
