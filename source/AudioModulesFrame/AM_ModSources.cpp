#include "AM_ModSources.h"

#include <algorithm>
#include <cmath>

void AM_ModSources::attach(State* newState, f32* newBuffers) {
    state = newState;
    buffers = newBuffers;
    resting = false;
}

void AM_ModSources::setTarget(i32 source, f32 value) {
    if (!state || source < 0 || source >= k_count || !std::isfinite(value)) return;
    state->target[source] = value;
    resting = false;
    if (source == k_breath) state->step[source] = 0;
}

void AM_ModSources::settle() {
    if (!state) return;
    for (i32 s = 0; s < k_count; ++s) {
        std::fill_n(pipeline[s], 4, state->target[s]);
        state->current[s] = state->target[s];
        state->step[s] = 0;
        fill(s, state->target[s]);
    }
}

void AM_ModSources::run(const BlockContext& context, i32 start, i32 numQuads, bool synchronous) {
    state->lastQuads = numQuads;
    state->lastStart = start;
    state->sampleRate = context.sampleRateD;
    if (resting && !synchronous) return;
    if (synchronous && context.quadCounter / 4 != period) {
        period = context.quadCounter / 4;
        for (i32 s = 0; s < k_count; ++s) {
            std::copy_backward(pipeline[s], pipeline[s] + 3, pipeline[s] + 4);
            pipeline[s][0] = state->target[s];
        }
    }
    for (i32 s = 0; s < k_count; ++s)
        runSource(context, s, numQuads, synchronous ? pipeline[s][3] : state->target[s],
                  synchronous);
    resting = true;
    for (i32 s = 0; s < k_count; ++s)
        resting &= filled[s] && state->current[s] == state->target[s];
}

void AM_ModSources::runSource(const BlockContext& context, i32 source, i32 numQuads, f32 target,
                              bool synchronous) {
    f32& current = state->current[source];
    f32& step = state->step[source];
    const f32 difference = target - current;
    const i32 count = numQuads * 4;
    if (std::fabs(difference) < k_closeEnough) {
        step = 0;
        if (!filled[source] || current != target) fill(source, target);
        current = target;
        return;
    }
    const bool smooth = !synchronous || context.smoothingMode == 2;
    if (smooth)
        takeSmoothStep(context, source, difference, synchronous);
    else
        step = difference * (context.smoothingMode == 1 ? 0.3f : 1.0f) / static_cast<f32>(count);

    const f32 reached = step * static_cast<f32>(count) + current;
    if (smooth && (target - reached) * difference <= 0) {
        step = 0;
        current = target;
        fill(source, target);
        return;
    }
    const f32 before = current;
    for (i32 i = 0; i < count; ++i) {
        current += step;
        if (buffers) buffers[source * 16 + i] = current;
    }
    filled[source] = false;
    // A step too small for a large value to notice is the end, too.
    if (std::fabs(target - current) < k_closeEnough || current == before) {
        current = target;
        step = 0;
    }
}

void AM_ModSources::takeSmoothStep(const BlockContext& context, i32 source, f32 difference,
                                   bool synchronous) {
    f32& step = state->step[source];
    const bool sameWay = step * difference > 0;
    if (!synchronous && sameWay) return;
    // Held away from 0, which a difference of 1.05 would make it.
    const f32 k = std::max((1.05f - std::fabs(difference)) * 0.5f, 0.05f);
    const f32 fresh = difference * static_cast<f32>(context.samplePeriod) * 12.0f / (k * k);
    if (!sameWay || std::fabs(fresh) > std::fabs(step)) step = fresh;
}

void AM_ModSources::fill(i32 source, f32 value) {
    if (buffers) std::fill_n(buffers + source * 16, 16, value);
    filled[source] = true;
}
