// The resamplers of the network over a whole sub-block: where each sample is taken is known
// beforehand, so all of them are computed in one pass.
#pragma once

#include "AM_Kernels.h"
#include "AM_SampleDelay.h"
#include "AM_SincTable.h"
#include "BlockContext.h"

// A sinc table laid out by phase: the taps of one phase lie side by side, the one for the oldest
// sample first, each once for the left and once for the right channel.
class AM_PhaseTable {
public:
    void take(const AM_SincTable& table);
    // Phases 0 to 33; the last two are there for the interpolation.
    const f32* phase(i32 index) const { return rows[index]; }

private:
    static constexpr i32 k_rows = k_sincPhases + 2;
    alignas(32) f32 rows[k_rows][2 * k_sincTaps] = {};
};

// Two channels in front of a resampler, left and right in turn: what has gone in of late, and
// behind it the frames of the block. From the first `hold` until `release` the rings stand still.
class AM_ResamplerInput {
public:
    void setRings(fixedDelay* const (&newRings)[2]);
    // Fetches the past from the rings, unless it is here already.
    void hold();
    // Lets the rings go on from here, for before anybody else uses them.
    void release();

    // Where the block's frames go, with room for k_vectorSteps - 1 more than 64.
    f32* block() { return frames + 2 * k_past; }
    // left[i] and right[i] of the block's frames and the past, at `count` placed points; both have
    // room for a multiple of four.
    void resample(const AM_KernelSet& kernels, const AM_PhaseTable& table,
                  const AM_ResamplerPoints& points, i32 count, f32* left, f32* right) const {
        kernels.resample(frames, table.phase(0), points, count, left, right);
    }
    // The first `count` frames of the block have become past.
    void advance(i32 count);

private:
    static constexpr i32 k_past = k_sincTaps;
    fixedDelay* rings[2] = {};
    bool held = false;
    alignas(32) f32 frames[2 * (k_past + k_subBlockFrames + k_vectorSteps - 1)] = {};
};
