// Tempo, position and bar lines of a block, from what the host reports.
#pragma once

#include "BlockContext.h"

// Takes over the host's position and last bar start, in quarter notes. A position equal to the last
// one means that the host stands still or sends none: the bar start then follows from the running
// position. A position that is not finite counts as none. A bar start beyond the position is moved
// back by whole bars. Audio thread.
void AM_setTransport(BlockContext& context, f64 position, f64 barPosition);

// The countdown that the bindings run behind each setTransport, in blocks: while `idle` is false it
// starts anew with every block, then it runs down within 4 s and starts again at 30 s (120 s the
// first time). Needs context.numFrames; with 0 frames nothing happens. Audio thread.
void AM_runRefreshCounters(BlockContext& context, bool idle);

// Advances the position over the sub-blocks of one block. Audio thread.
class AM_TransportClock {
public:
    // Repairs what a host may have written that is no tempo, bar length or position (120 bpm, 4
    // quarters, 0), and finds the next bar line.
    void beginBlock(BlockContext& context);
    // Marks in context.barTick whether a bar line falls into the next `frames` frames.
    void beginSubBlock(BlockContext& context, i32 frames);
    // Moves the position to the end of the sub-block.
    void endSubBlock(BlockContext& context) const { context.position = end; }

private:
    f64 nextBar = 0;
    f64 end = 0;
};
