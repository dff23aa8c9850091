// The ramp of the output gain.
#pragma once

#include "AM_Types.h"

// Goes from the last value to a target within one host block, in f32, one step a sample. At rest it
// multiplies by the same number whatever the block sizes, so the samples do not depend on them.
// Audio thread.
class AM_GainRamp {
public:
    // Takes `value` at once; not finite counts as 0.
    void set(f32 value);
    // Sets out for `target` over `frames` frames (1 or more); a target that is not finite is
    // ignored, and a difference under -120 dB taken at once.
    void beginBlock(f32 target, i32 frames);
    // Multiplies `ramped` frames of each of `numChannels` channels (`stride` floats apart) with the
    // ramp, and the `held` frames behind them with the gain then reached.
    void apply(f32* samples, i32 numChannels, i32 stride, i32 ramped, i32 held);
    // The same for channels of zeros.
    void pass(i32 ramped);
    // Keeps the gain for the next block; it is the target itself if every frame took its step.
    void endBlock();

    f32 getGain() const { return gain; }

private:
    f32 gain = 0;
    f32 step = 0;
    f32 target = 0;
    i32 stepsLeft = 0;
};

inline void AM_GainRamp::pass(i32 ramped) {
    for (i32 i = 0; i < ramped && step != 0; ++i)
        gain += step;
    stepsLeft -= ramped;
}
