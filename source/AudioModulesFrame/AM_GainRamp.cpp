#include "AM_GainRamp.h"

#include <cmath>

void AM_GainRamp::set(f32 value) {
    gain = target = std::isfinite(value) ? value : 0.0f;
    step = 0;
    stepsLeft = 0;
}

void AM_GainRamp::beginBlock(f32 newTarget, i32 frames) {
    target = std::isfinite(newTarget) ? newTarget : gain;
    // Without this the rounding of the steps would leave a rest that never closes.
    if (std::fabs(target - gain) < 1e-6f) gain = target;
    step = (target - gain) / static_cast<f32>(frames);
    stepsLeft = frames;
}

void AM_GainRamp::apply(f32* samples, i32 numChannels, i32 stride, i32 ramped, i32 held) {
    // At unity there is nothing to multiply.
    if (step == 0 && gain == 1.0f) return pass(ramped);
    f32 reached = gain;
    for (i32 c = 0; c < numChannels; ++c) {
        f32* channel = samples + c * stride;
        f32 g = gain;
        if (step == 0)
            for (i32 i = 0; i < ramped; ++i)
                channel[i] *= g;
        else
            for (i32 i = 0; i < ramped; ++i) {
                g += step;
                channel[i] *= g;
            }
        for (i32 i = ramped; i < ramped + held; ++i)
            channel[i] *= g;
        reached = g;
    }
    gain = reached;
    stepsLeft -= ramped;
}

void AM_GainRamp::endBlock() {
    if (stepsLeft == 0) gain = target;
    step = 0;
}
