#include "AM_BlockNetwork.h"

#include "AM_DelayModel.h"

#include <algorithm>

void AM_BlockNetwork::setLines(fixedDelay* const* lines, i32 count) {
    for (i32 k = 0; k < count; ++k)
        rings[k] = lines[k]->getSampleDelay();
}

void AM_BlockNetwork::setPlan(const AM_NetworkPlan& newPlan) {
    release();
    plan = newPlan;
}

void AM_BlockNetwork::takeGains(fixedDelay* const* lines, i32 count) {
    for (i32 k = 0; k < count; ++k)
        gains[k] = lines[k]->getGain();
}

void AM_BlockNetwork::hold() {
    if (held) return;
    held = true;
    mask = rings[0]->mask;
    for (i32 k = 0; k < plan.numLines; ++k) {
        samples[k] = rings[k]->samples;
        writes[k] = rings[k]->write;
        spans[k] = rings[k]->len + 1;
    }
}

void AM_BlockNetwork::release() {
    if (!held) return;
    held = false;
    for (i32 k = 0; k < plan.numLines; ++k)
        rings[k]->write = writes[k];
}

void AM_BlockNetwork::run(const f32* const (&taps)[4], f32* left, f32* right, i32 steps,
                          f32 feedback) {
    hold();
    std::fill_n(left, steps, 0.0f);
    std::fill_n(right, steps, 0.0f);
    for (i32 done = 0; done < steps;) {
        const i32 count = std::min(plan.blockSteps, steps - done);
        const f32* const rest[4] = {taps[0] + done, taps[1] + done, taps[2] + done, taps[3] + done};
        runBlock(rest, left + done, right + done, count, feedback);
        done += count;
    }
}

// rings -> means of matrices -> matrices -> rings, and means -> left and right
void AM_BlockNetwork::runBlock(const f32* const (&taps)[4], f32* left, f32* right, i32 count,
                               f32 feedback) {
    // Full vectors to the end: what is computed beyond the block is computed again by the next one.
    const i32 steps = (count + plan.vectorSteps - 1) / plan.vectorSteps * plan.vectorSteps;
    open(steps);
    const f32* heard[k_maxMatrixSize];
    for (i32 i = 0; i < plan.numMeans; ++i) {
        gather(plan.means[i].reads, heard);
        kernels.mean(heard, plan.matrixSize, means[i], steps);
    }
    for (i32 i = 0; i < plan.numOutputs; ++i) {
        const AM_PlanOutput& output = plan.outputs[i];
        gather(output.reads, heard);
        kernels.collect(heard, plan.matrixSize, output.left, output.right, left, right, count);
    }
    for (i32 i = 0; i < plan.numMatrices; ++i) {
        const AM_PlanMatrix& matrix = plan.matrices[i];
        const f32* input = matrix.fromTap ? taps[matrix.source] : means[matrix.source];
        gather(matrix.reads, heard);
        const AM_MatrixBlock block = {heard, ins + matrix.firstLine, gains + matrix.firstLine,
                                      input, matrix.muted ? 0.0f : feedback};
        kernels.matrix[plan.family](block, steps);
    }
    close(count);
}

void AM_BlockNetwork::gather(const AM_PlanRead* reads, const f32** heard) const {
    for (i32 k = 0; k < plan.matrixSize; ++k)
        heard[k] = outs[reads[k]];
}

// Finds what each line gives out and where its input goes. What the block's own writing would reach
// before it is read, in a line about as long as its ring, is copied like what runs over the end.
void AM_BlockNetwork::open(i32 steps) {
    const i32 size = mask + 1;
    const i32 lastFrom = size - steps - 1; // from here on the samples run over the end
    const i32 lastWrite = size - steps;
    const i32 longest = size - steps; // beyond this span the writing comes too close
    for (i32 k = 0; k < plan.numLines; ++k)
        froms[k] = (writes[k] - spans[k]) & mask;
    for (i32 k = 0; k < plan.numLines; ++k) {
        outs[2 * k] = samples[k] + froms[k];
        outs[2 * k + 1] = outs[2 * k] + 1;
        ins[k] = samples[k] + writes[k];
        if (froms[k] > lastFrom || spans[k] > longest) openCopied(k, froms[k], steps + 1);
        if (writes[k] > lastWrite) ins[k] = inCopies[k];
    }
}

void AM_BlockNetwork::openCopied(i32 line, i32 from, i32 count) {
    const i32 first = std::min(count, mask + 1 - from);
    std::copy_n(samples[line] + from, first, outCopies[line]);
    std::copy_n(samples[line], count - first, outCopies[line] + first);
    outs[2 * line] = outCopies[line];
    outs[2 * line + 1] = outCopies[line] + 1;
}

void AM_BlockNetwork::close(i32 steps) {
    for (i32 k = 0; k < plan.numLines; ++k) {
        if (ins[k] != inCopies[k]) continue;
        const i32 first = std::min(steps, mask + 1 - writes[k]);
        std::copy_n(inCopies[k], first, samples[k] + writes[k]);
        std::copy_n(inCopies[k] + first, steps - first, samples[k]);
    }
    for (i32 k = 0; k < plan.numLines; ++k)
        writes[k] = (writes[k] + steps) & mask;
}
