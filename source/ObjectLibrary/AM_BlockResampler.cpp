#include "AM_BlockResampler.h"

#include <algorithm>

void AM_PhaseTable::take(const AM_SincTable& table) {
    for (i32 row = 0; row < k_rows; ++row)
        for (i32 k = 0; k < k_sincTaps; ++k)
            rows[row][k] = table[(k_sincTaps - 1 - k) * k_sincPhases + row];
}

void AM_ResamplerInput::open(fixedDelay* const (&rings)[2]) {
    for (i32 channel = 0; channel < 2; ++channel) {
        const AM_SampleDelay& ring = *rings[channel]->getSampleDelay();
        const i32 from = (ring.write - k_sincPast) & ring.mask;
        const i32 first = std::min(k_sincPast, ring.mask + 1 - from);
        std::copy_n(ring.samples + from, first, samples[channel]);
        std::copy_n(ring.samples, k_sincPast - first, samples[channel] + first);
    }
}

void AM_ResamplerInput::close(fixedDelay* const (&rings)[2], i32 count) const {
    for (i32 channel = 0; channel < 2; ++channel)
        AM_pushBlock(*rings[channel]->getSampleDelay(), samples[channel] + k_sincPast, count);
}

void AM_ResamplerInput::resample(const AM_KernelSet& kernels, const AM_PhaseTable& table,
                                 const AM_ResamplerPoint* points, i32 count, f32* left,
                                 f32* right) const {
    const f32* const channels[2] = {samples[0], samples[1]};
    kernels.resample(channels, table.phase(0), points, count, left, right);
}

void AM_pushBlock(AM_SampleDelay& ring, const f32* samples, i32 count) {
    const i32 first = std::min(count, ring.mask + 1 - ring.write);
    std::copy_n(samples, first, ring.samples + ring.write);
    std::copy_n(samples + first, count - first, ring.samples);
    ring.write = (ring.write + count) & ring.mask;
}
