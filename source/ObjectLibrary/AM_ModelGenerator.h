// The generator that draws a model's lengths. It depends on nothing but its seed, so
// that a code gives the same model on every machine.
#pragma once

#include "AM_Types.h"

class AM_ModelGenerator {
public:
    // Starts a build: both words take `hash`, and nothing is remembered of an earlier one.
    void start(u32 hash);

    // The next value from `lo` to `hi`. A multiplicative congruential step (multiplier 279470273,
    // modulus 4294967291, from L'Ecuyer's tables), then the low 23 bits as a fraction. A value
    // that repeats the one before reseeds, which is how a seed of 0 leaves its fixed point.
    f32 random(f32 lo, f32 hi);

    u32 seed = 0;
    u32 reseedCounter = 0;

private:
    f32 previousValue = 0.0f;
};

// A float from 0 up to, not including, 1 of the 23 low bits of `word`.
f32 AM_fractionOfBits(u32 word);
