// The network of 64 lines, run in blocks of internal samples by a plan.
#pragma once

#include "AM_Kernels.h"
#include "AM_NetworkPlan.h"
#include "AM_SampleDelay.h"

// Works on the lines' own rings, which the matrices can use in turn: from the first run until
// `release` it keeps count of where they stand by itself. Audio thread; allocates nothing.
class AM_BlockNetwork {
public:
    // The lines, `count` of them (at most 64), whose rings have the size of a power of two.
    void setLines(fixedDelay* const* lines, i32 count);
    // Releases the lines. Their lengths are those of the plan's model from then on.
    void setPlan(const AM_NetworkPlan& newPlan);
    // Takes over the lines' gains; for after they have changed.
    void takeGains(fixedDelay* const* lines, i32 count);
    bool canRun() const { return plan.blockSteps > 0; }
    // Leaves the lines as if every step had been done by the matrices one after the other. For
    // before anybody else uses them.
    void release();

    // `steps` internal samples, at most 64: from the four taps, as the matrices hear them, to the
    // sums of the outputs, left and right in turn. Both have room for k_vectorSteps - 1 more.
    void run(const f32* const* taps, f32* frames, i32 steps, f32 feedback);

private:
    static constexpr i32 k_lines = 64;

    void hold();
    void open(i32 steps);
    void close(i32 steps);
    void copyOuts(i32 line, i32 count);
    void runBlock(const f32* const* taps, f32* frames, i32 count, f32 feedback);

    const AM_KernelSet& kernels = AM_kernels();
    AM_NetworkPlan plan{};
    AM_SampleDelay* rings[k_lines] = {};
    f32 gains[k_lines] = {};

    // The rings while they are held.
    bool held = false;
    alignas(16) f32* samples[k_lines] = {};
    alignas(16) i32 writes[k_lines] = {};
    alignas(16) i32 spans[k_lines] = {}; // from what is written to what is given out
    i32 mask = 0;

    // Of the block: what each line gives out, as a plan's reads count (one sample more than the
    // block has), and where its input goes. Both lie in the ring itself unless they would run over
    // its end.
    alignas(16) const f32* outs[2 * k_lines];
    alignas(16) f32* ins[k_lines];
    alignas(16) i32 froms[k_lines];
    u8 apart[k_lines]; // the lines whose samples are copied
    i32 numApart = 0;
    alignas(32) f32 outCopies[k_lines][k_subBlockFrames + 1];
    alignas(32) AM_StepSamples inCopies[k_lines];
    alignas(32) AM_StepSamples means[AM_NetworkPlan::k_maxParts];
};
