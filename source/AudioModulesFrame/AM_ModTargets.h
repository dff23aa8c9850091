// Modulation targets: parameters that a circuit moves around the calls of its modules.
#pragma once

#include "AM_Types.h"

#include <vector>

// One row. `source` and `via` are ModBuffers, 4 values a quad, of which the last one counts.
struct AM_ModTarget {
    f32* parameter;
    f32 minValue;
    f32 maxValue;
    f32 scale;
    f32 depth;
    const f32* source;
    const f32* via; // null for none
    f32 viaAmount;  // percent
    f32 kept = 0;
    f32 applied = 0;
    i32 active = 0;
};

// Rows are added while no block runs; apply and undo belong to the audio thread and come in pairs.
class AM_ModTargets {
public:
    // Rows without a parameter or a source are ignored.
    void add(const AM_ModTarget& row);
    void clear() { rows.clear(); }
    bool isEmpty() const { return rows.empty(); }

    // Moves each parameter, in order, by its source at the end of `numQuads` quads, within its
    // limits.
    void apply(i32 numQuads);
    // Puts the kept values back, in reverse order, but for those that somebody changed since.
    void undo();

private:
    std::vector<AM_ModTarget> rows;
};
