#include "DSP_SVF.h"

#include "AM_Log.h"

#include <bit>
#include <cmath>

void DSP_SVF::updateShape() {
    shelfGain = 1.0f;
    mixBand = mixLow = mixInput = mixHigh = 0.0f;
    damping = 2.0f - 2.0f * resonance;
    workCutoff = cutoff;
    switch (shape) {
    case 0:
        mixLow = 1.0f;
        break;
    case 1:
        mixHigh = 1.0f;
        break;
    case 2:
        mixBand = 1.0f;
        break;
    case 3:
        mixLow = mixHigh = 1.0f;
        break;
    case 4: {
        const f32 g = dBToGain(gain * 0.5f);
        mixInput = 1.0f;
        mixBand = damping;
        shelfGain = g - 1.0f;
        mixLow = g + 1.0f;
        workCutoff = workCutoff / std::sqrt(g);
        break;
    }
    case 5: {
        const f32 g = dBToGain(gain * 0.5f);
        shelfGain = g - 1.0f;
        mixInput = g * g;
        workCutoff = workCutoff * std::sqrt(g);
        mixBand = -(g * damping);
        mixLow = -g - 1.0f;
        break;
    }
    case 6: {
        const f32 g = dBToGain(gain * 0.5f);
        mixBand = mixInput = 1.0f;
        damping = damping / g;
        shelfGain = (g * g - 1.0f) * damping;
        break;
    }
    case 7:
        mixLow = 1.0f;
        mixHigh = -1.0f;
        break;
    case 8:
        mixInput = 1.0f;
        mixLow = dBToGain(gain * -0.5f) - 1.0f;
        mixHigh = dBToGain(gain * 0.5f) - 1.0f;
        break;
    default:
        AM_Log("Bad filter shape %d", shape);
        break;
    }
    frequency = static_cast<f32>(2.0 * std::sin(static_cast<f64>(workCutoff * 1.5707964f)));
}

void DSP_SVF_ZeroDelay::clear() {
    state[0] = state[1] = 0.0f;
    extraState = 0.0f;
}

void DSP_SVF_ZeroDelay::updateZeroDelay() {
    DSP_SVF& r = *record;
    r.updateShape();
    const f32 g = std::tan(r.workCutoff * 1.5707964f);
    r.frequency = g;
    const f32 k = r.damping;
    r.a1 = g / (1.0f + (k + g) * g);
    r.a2 = g * r.a1;
    r.a3 = -2.0f * (k + g) * r.a1;
    r.a4 = 2.0f * r.a1;
    r.mixLow = r.mixLow - r.mixHigh;
    r.mixInput = r.mixInput + r.mixHigh;
    r.mixBand = r.mixBand - r.mixHigh * k;
}

f32 AM_fastExp2(f32 v) {
    // Adding 1.5 * 2^23 leaves the rounded whole part in the low mantissa bits; the half taken
    // off before makes it the floor.
    constexpr f32 magic = 12582912.0f;
    const f32 shifted = (v - 0.5f) + magic;
    const u32 whole = std::bit_cast<u32>(shifted) - std::bit_cast<u32>(magic);
    const f32 r = v - (shifted - magic);
    const f32 p = ((r * 0.079440236f + 0.22449434f) * r + 0.69606566f) * r + 1.0f;
    return std::bit_cast<f32>(std::bit_cast<u32>(p) + (whole << 23));
}

f32 dBToGain(f32 decibels) {
    if (!(decibels >= -120.0f)) return 0.0f;
    return AM_fastExp2(decibels * 0.16562499f);
}
