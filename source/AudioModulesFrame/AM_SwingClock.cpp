#include "AM_SwingClock.h"

#include <algorithm>
#include <cmath>

const f64 AM_syncTable[k_numSwingGrids] = {
    16.0,      8.0,       4.0,        2.0,        1.0,        0.5,        0.25,       16.0 / 3.0,
    8.0 / 3.0, 4.0 / 3.0, 2.0 / 3.0,  1.0 / 3.0,  6.0,        3.0,        1.5,        0.75,
    0.375,     0.125,     1.0 / 12.0, 1.0 / 16.0, 1.0 / 20.0, 1.0 / 24.0, 1.0 / 28.0, 1.0 / 32.0,
};

namespace {

f64 runStraight(BlockContext& context, f64 delta) {
    context.swungBpm = context.bpm;
    context.swungPosition = context.position;
    context.swungGate = 1;
    context.swingPhaseRaw = context.swingPhase = 0.5;
    return delta;
}

// The position as measured from the grid's origin.
f64 gridPosition(BlockContext& context, f64 grid) {
    if (context.swingLocked == 0) return context.position;
    if (!std::isfinite(context.swingOrigin)) context.swingOrigin = context.position;
    if (context.position < context.swingOrigin) {
        const f64 lines = std::ceil((context.swingOrigin - context.position) * grid);
        context.swingOrigin = std::min(context.swingOrigin - lines / grid, context.position);
        context.swungPosition = context.position;
    }
    return context.position - context.swingOrigin;
}

} // namespace

f64 AM_runSwingClock(BlockContext& context, i32 frames) {
    const f64 seconds = frames * context.samplePeriod;
    const f64 delta = seconds * context.bpm * 0.016666666666666666;
    if (!(context.swingAmount > 0)) return runStraight(context, delta);

    const f64 amount = std::min(static_cast<f64>(context.swingAmount), 100.0);
    const f64 grid = AM_syncTable[std::clamp(context.swingGrid, 0, k_numSwingGrids - 1)] * 0.5;
    const f64 x = (gridPosition(context, grid) + delta) * grid;
    const f64 whole = std::floor(x);
    const f64 raw = x - whole < 0 ? x - whole + 1 : x - whole;
    const f64 k = ((0.5 - amount * 0.005) * 0.5 + 0.25 - 0.5) * -4;
    context.swingPhaseRaw = raw;
    context.swingPhase = (k * raw + (1 - k)) * raw;
    context.swungGate = context.swingPhase <= 0.5 ? 0.0f : 1.0f;

    // Also from a position that was no number, which compares with nothing.
    if (!(context.swungPosition >= whole)) context.swungPosition = whole;
    const f64 swungDelta = whole + context.swingPhase - context.swungPosition;
    context.swungBpm = std::max(swungDelta * 60 / (seconds * grid), 1.0);
    return swungDelta;
}
