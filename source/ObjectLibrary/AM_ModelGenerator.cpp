#include "AM_ModelGenerator.h"

#include "AM_Log.h"

#include <bit>

f32 AM_fractionOfBits(u32 word) {
    return std::bit_cast<f32>(0x3f800000u | (word & 0x7fffffu)) - 1.0f;
}

void AM_ModelGenerator::start(u32 hash) {
    seed = hash;
    reseedCounter = hash;
    previousValue = 0.0f;
}

f32 AM_ModelGenerator::random(f32 lo, f32 hi) {
    seed = static_cast<u32>((static_cast<u64>(seed) * 279470273u) % 4294967291u);
    const f32 v = (hi - lo) * AM_fractionOfBits(seed);
    if (v == previousValue) {
        AM_Log("OMG... need to reseed");
        seed = ++reseedCounter;
    }
    previousValue = v;
    return v + lo;
}
