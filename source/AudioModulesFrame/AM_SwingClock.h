// The swing clock: bends the musical time between the lines of a grid.
#pragma once

#include "BlockContext.h"

// Lines a quarter note (times two) of each swing base.
inline constexpr i32 k_numSwingGrids = 24;
extern const f64 AM_syncTable[k_numSwingGrids];

// Brings the `swung...` and `swing...` fields of `context` up to date for a sub-block of `frames`
// frames (1 or more) that starts at context.position, and returns by how much swungPosition moves
// at its end. An amount not above 0 means straight time; above 100 counts as 100. With a lock the
// grid starts at `swingOrigin`, which is moved back as often as it takes to lie at or before the
// position. Costs the same however far that is. Audio thread.
f64 AM_runSwingClock(BlockContext& context, i32 frames);
