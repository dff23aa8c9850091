// What the reverb needs to run in blocks, beside the data that both of its paths share.
#pragma once

#include "AM_BlockNetwork.h"
#include "AM_BlockResampler.h"

// All of the audio thread.
struct AM_DelayNetworkBlocks {
    // Gives lines and rings back to who uses them one by one.
    void release() {
        network.release();
        input.release();
        output.release();
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
    // What is heard of the taps: first the last one of the block before.
    alignas(16) f32 taps[6][1 + k_subBlockFrames + k_vectorSteps - 1] = {};
    alignas(16) f32 wetLeft[k_subBlockFrames];
    alignas(16) f32 wetRight[k_subBlockFrames];
};
