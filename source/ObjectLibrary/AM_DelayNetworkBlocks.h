// What the reverb needs to run in blocks, beside the data that both of its paths share.
#pragma once

#include "AM_BlockNetwork.h"
#include "AM_BlockResampler.h"

// All of the audio thread.
struct AM_DelayNetworkBlocks {
    static constexpr i32 k_taps = 6;
    static constexpr i32 k_heardTaps = 4; // of these
    static constexpr i32 k_tapsPast = 2;  // no older one is ever heard again

    // Fetches from the rings what is not here yet.
    void hold(fixedDelay* const* feeds) {
        input.hold();
        output.hold();
        if (held) return;
        held = true;
        for (i32 i = 0; i < k_taps; ++i)
            for (i32 n = 0; n < k_tapsPast; ++n)
                taps[i][n] = feeds[i]->read_ix(k_tapsPast - 1 - n);
    }
    // Gives lines and rings back to who uses them one by one.
    void release(fixedDelay* const* feeds) {
        network.release();
        input.release();
        output.release();
        if (!held) return;
        held = false;
        for (i32 i = 0; i < k_taps; ++i)
            for (i32 n = 0; n < k_tapsPast; ++n)
                feeds[i]->write(taps[i][n]);
    }

    const AM_KernelSet& kernels = AM_kernels();
    AM_BlockNetwork network;
    AM_PhaseTable inputPhases;
    AM_PhaseTable outputPhases;
    bool tablesTaken = false;

    // The line gains in force were made for these; the law -1 means that they have to be made.
    i32 gainLaw = -1;
    f32 gainFeedback = 0.0f;

    // Scratch of one sub-block.
    AM_ResamplerInput input;
    AM_ResamplerInput output;
    AM_ResamplerPoints steps;  // where the internal samples lie in the input
    AM_ResamplerPoints frames; // where the host's frames lie in the output
    // First the last ones of the block before.
    alignas(16) f32 taps[k_taps][k_tapsPast + k_subBlockFrames + k_vectorSteps - 1] = {};
    bool held = false;
    alignas(16) f32 wetLeft[k_subBlockFrames];
    alignas(16) f32 wetRight[k_subBlockFrames];
};
