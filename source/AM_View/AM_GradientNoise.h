// Gradient noise of the plane: smooth, about 0, the same on every machine.
#pragma once

#include "AM_Types.h"

#include <vector>

class AM_GradientNoise {
public:
    // 1 to 16 octaves; each weighs 1 / `alpha` of the one before it (all are scaled so that the
    // weights sum up to 1) and is `beta` times finer.
    AM_GradientNoise(i32 octaves, f64 alpha, f64 beta);

    // The values at x, x + step, x + 2 * step ... at one y, from -1 to 1; in units of the first
    // octave's cells. Places beyond 1e9 are held there.
    void row(f64 x, f64 step, f64 y, f32* values, i32 count) const;

private:
    struct Octave {
        f64 frequency;
        f32 weight;
    };
    std::vector<Octave> octaves;
};
