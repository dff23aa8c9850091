// The resamplers of the network over a whole sub-block: where each sample is taken is known
// beforehand, so all of them are computed in one pass.
#pragma once

#include "AM_Kernels.h"
#include "AM_SampleDelay.h"
#include "AM_SincTable.h"
#include "BlockContext.h"

inline constexpr i32 k_sincPast = k_sincTaps; // samples kept in front of those of a block

// A sinc table laid out by phase: the taps of one phase lie side by side, the one for the oldest
// sample first.
class AM_PhaseTable {
public:
    void take(const AM_SincTable& table);
    // Phases 0 to 33; the last two are there for the interpolation.
    const f32* phase(i32 index) const { return rows[index]; }

private:
    static constexpr i32 k_rows = k_sincPhases + 2;
    alignas(32) f32 rows[k_rows][k_sincTaps] = {};
};

// Two channels: what their rings hold of the past, and behind it the samples of the block.
struct AM_ResamplerInput {
    // Fetches the past from the rings.
    void open(fixedDelay* const (&rings)[2]);
    // Where the block's samples go, in front of the resampling.
    f32* block(i32 channel) { return samples[channel] + k_sincPast; }
    // Writes the first `count` samples of the block to the rings, as if one by one.
    void close(fixedDelay* const (&rings)[2], i32 count) const;

    // Sets left[i] and right[i] to the samples at `points`, at most 64; both have room for a
    // multiple of four.
    void resample(const AM_KernelSet& kernels, const AM_PhaseTable& table,
                  const AM_ResamplerPoint* points, i32 count, f32* left, f32* right) const;

    alignas(16) f32 samples[2][k_sincPast + k_subBlockFrames];
};

// Appends `count` samples, 0 to 64, to a ring of at least 64, as that many calls of push.
void AM_pushBlock(AM_SampleDelay& ring, const f32* samples, i32 count);
