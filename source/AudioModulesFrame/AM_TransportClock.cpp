#include "AM_TransportClock.h"

#include <algorithm>
#include <cmath>

namespace {

void repairBarLength(BlockContext& context) {
    if (!(context.quartersPerBar > 0) || !std::isfinite(context.quartersPerBar))
        context.quartersPerBar = 4;
}

// The last of the lines `origin + n * period` that is not beyond `position`.
f64 lineBefore(f64 position, f64 origin, f64 period) {
    const f64 line = origin + std::floor((position - origin) / period) * period;
    return std::isfinite(line) ? std::min(line, position) : position;
}

} // namespace

void AM_setTransport(BlockContext& context, f64 position, f64 barPosition) {
    repairBarLength(context);
    if (!std::isfinite(position) || position == context.previousPosition) {
        context.transportJumped = 0;
        context.barPosition = lineBefore(context.position, 0, context.quartersPerBar);
        return;
    }
    context.position = context.previousPosition = position;
    context.transportJumped = 1;
    context.barPosition = std::isfinite(barPosition) ? barPosition : 0;
    if (context.barPosition > position || !std::isfinite(barPosition))
        context.barPosition = lineBefore(position, context.barPosition, context.quartersPerBar);
}

void AM_runRefreshCounters(BlockContext& context, bool idle) {
    if (context.numFrames < 1) return;
    if (idle)
        context.refreshCountdown -= 1;
    else
        context.refreshCountdown = context.refreshPeriod + 1;
    if (context.refreshCountdown >= 1) return;
    const f64 rate = context.sampleRate;
    const i32 period = static_cast<i32>(rate * 30 / context.numFrames);
    context.refreshCountdown = context.refreshPeriod == 0 ? period * 4 : period;
    context.refreshPeriod = static_cast<i32>(rate * 4 / context.numFrames);
}

void AM_TransportClock::beginBlock(BlockContext& context) {
    repairBarLength(context);
    if (!std::isfinite(context.bpm)) context.bpm = 120;
    context.bpm = std::clamp(context.bpm, 0.0, 1e6);
    if (!std::isfinite(context.position)) context.position = 0;
    if (!std::isfinite(context.barPosition)) context.barPosition = context.position;
    nextBar = context.quartersPerBar + context.barPosition;
    if (nextBar < context.position) nextBar = context.position + 16;
    end = context.position;
}

void AM_TransportClock::beginSubBlock(BlockContext& context, i32 frames) {
    end = context.position + frames * context.samplePeriod * context.bpm * 0.016666666666666666;
    context.barTick = end >= nextBar ? 1 : 0;
    if (context.barTick) nextBar += context.quartersPerBar;
}
