#include "AM_BlockResampler.h"

#include <algorithm>

#include <emmintrin.h>

void AM_PhaseTable::take(const AM_SincTable& table) {
    for (i32 row = 0; row < k_rows; ++row)
        for (i32 k = 0; k < k_sincTaps; ++k)
            rows[row][2 * k] = rows[row][2 * k + 1] =
                table[(k_sincTaps - 1 - k) * k_sincPhases + row];
}

void AM_ResamplerPoints::place(i32 count) {
    const i32 filled = (count + 3) / 4 * 4;
    for (i32 i = count; i < filled; ++i) {
        newest[i] = 0;
        position[i] = 0.0f;
    }
    const __m128 last = _mm_set1_ps(static_cast<f32>(k_sincPhases));
    for (i32 i = 0; i < filled; i += 4) {
        const __m128 at = _mm_load_ps(position + i);
        const __m128 held = _mm_min_ps(_mm_max_ps(at, _mm_setzero_ps()), last);
        const __m128i whole = _mm_cvttps_epi32(held);
        const __m128 part = _mm_sub_ps(at, _mm_cvtepi32_ps(whole));
        _mm_store_si128(reinterpret_cast<__m128i*>(row + i), whole);
        _mm_store_ps(fraction + i, part);
        _mm_store_ps(rest + i, _mm_sub_ps(_mm_set1_ps(1.0f), part));
    }
}

void AM_ResamplerInput::setRings(fixedDelay* const (&newRings)[2]) {
    std::copy_n(newRings, 2, rings);
}

void AM_ResamplerInput::hold() {
    if (held) return;
    held = true;
    for (i32 channel = 0; channel < 2; ++channel)
        for (i32 k = 0; k < k_past; ++k)
            frames[2 * k + channel] = rings[channel]->read_ix(k_past - 1 - k);
}

// No more of the past is ever heard.
void AM_ResamplerInput::release() {
    if (!held) return;
    held = false;
    for (i32 channel = 0; channel < 2; ++channel)
        for (i32 k = 0; k < k_past; ++k)
            rings[channel]->write(frames[2 * k + channel]);
}

void AM_ResamplerInput::advance(i32 count) {
    std::copy_n(frames + 2 * count, 2 * k_past, frames);
}
