// The inner loops of the reverb, each over a block of samples, in one form for each width of vector
// that the machine may have. Term by term they are what lines, matrices and the plain resampler
// compute, so that the sound has the same bits on every machine; only the order in which samples
// that do not depend on each other come is another.
//
// What is written overlaps nothing that is read, but for what nobody hears: the steps that fill the
// last vector up. Audio thread.
#pragma once

#include "AM_NetworkPlan.h"
#include "AM_Types.h"
#include "BlockContext.h"

inline constexpr i32 k_numKernelFamilies = 6;
inline constexpr i32 k_vectorSteps = 8; // blocks are computed in multiples of these

// Internal samples of one mean, and of two channels in turn.
using AM_StepSamples = f32[k_subBlockFrames];

// What a block of the network is computed from, and where its lines are fed.
struct AM_NetworkBlock {
    const f32* const* outs; // what the lines give out, by AM_PlanRead
    f32* const* ins;        // what goes into each line
    const f32* gains;       // of each line
    const f32* const* taps; // the four that matrices hear
    AM_StepSamples* means;  // room for those of the plan
    f32 feedback;
};

// Samples to compute, at most 64: between which frames each lies, and where between them. Kernels
// take them by fours, so the last ones are filled up with points that are valid too.
struct AM_ResamplerPoints {
    alignas(16) i32 newest[k_subBlockFrames];   // frames of the block that are there at that time
    alignas(16) f32 position[k_subBlockFrames]; // in phases, 0 to 32

    // Made of the positions by `place`.
    alignas(16) i32 row[k_subBlockFrames];      // the phase in front
    alignas(16) f32 fraction[k_subBlockFrames]; // the part of the phase behind
    alignas(16) f32 rest[k_subBlockFrames];     // and of the one in front

    // Fills the last four up and looks up the phases of `count` points.
    void place(i32 count);
};

struct AM_KernelSet {
    // One block, by AM_FamilyIndex: means, matrices, and the sums of the outputs, left and right in
    // turn, to `frames`. `steps`: a multiple of k_vectorSteps, at most 64.
    void (*network[k_numKernelFamilies])(const AM_NetworkPlan& plan, const AM_NetworkBlock& block,
                                         f32* frames, i32 steps);
    // left[i] and right[i] for `count` placed points; both have room for a multiple of four.
    // `frames`: left and right in turn, 32 of the past in front of the block's.
    // `phases`: 34 rows of 32 taps, the one for the oldest frame first, each twice.
    void (*resample)(const f32* frames, const f32* phases, const AM_ResamplerPoints& points,
                     i32 count, f32* left, f32* right);
};

extern const AM_KernelSet AM_kernelsSse; // what every x86-64 has
extern const AM_KernelSet AM_kernelsAvx; // twice as wide

// The widest set that this machine runs.
const AM_KernelSet& AM_kernels();
