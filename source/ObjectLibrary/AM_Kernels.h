// The inner loops of the reverb, each over a block of samples, in one form for each width of vector
// that the machine may have. Term by term they are what lines, matrices and the plain resampler
// compute, so that the sound has the same bits on every machine; only the order in which samples
// that do not depend on each other come is another.
//
// What is written overlaps nothing that is read, but for what nobody hears: the steps that fill the
// last vector up. Audio thread.
#pragma once

#include "AM_Types.h"

inline constexpr i32 k_maxMatrixSize = 8;
inline constexpr i32 k_numKernelFamilies = 6;

// The lines of one matrix over a block.
struct AM_MatrixBlock {
    const f32* const* out; // what the elements give out
    f32* const* in;        // what goes into their lines
    const f32* gain;       // of each line
    const f32* input;
    f32 feedback; // 0 while muted
};

// One sample to compute: between which samples it lies, and where between them.
struct AM_ResamplerPoint {
    i32 newest;   // samples of the block that are there at that time; with 0 only the past is
    f32 position; // in phases, 0 to 32
};

struct AM_KernelSet {
    // mean[n] = (0 + out[0][n] + out[1][n] ...) / count, with 4, 6 or 8 outs.
    void (*mean)(const f32* const* out, i32 count, f32* mean, i32 steps);
    // The same mean goes to the outputs: left[n] += mean * gainLeft, and the right side alike.
    void (*collect)(const f32* const* out, i32 count, f32 gainLeft, f32 gainRight, f32* left,
                    f32* right, i32 steps);
    // What goes into the lines of a matrix, by AM_FamilyIndex.
    void (*matrix[k_numKernelFamilies])(const AM_MatrixBlock& block, i32 steps);
    // One sample for each of `count` points, in groups of four, of which the last may be filled up
    // with anything: left and right have room for it. `phases`: 34 rows of 32 taps, the one for the
    // oldest sample first, rows and samples' starts 16-byte aligned.
    void (*resample)(const f32* const* samples, const f32* phases, const AM_ResamplerPoint* points,
                     i32 count, f32* left, f32* right);
};

extern const AM_KernelSet AM_kernelsSse; // what every x86-64 has
extern const AM_KernelSet AM_kernelsAvx; // twice as wide

// The widest set that this machine runs.
const AM_KernelSet& AM_kernels();
