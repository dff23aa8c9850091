// Tells digital silence, which most of the path need not touch.
#pragma once

#include "AM_Types.h"

#include <bit>

#include <emmintrin.h>

// True if all samples are 0, with the sign of plus. Any thread.
inline bool AM_isSilent(const f32* samples, i32 count) {
    constexpr i32 piece = 32;
    i32 i = 0;
    for (; i + piece <= count; i += piece) {
        __m128i bits = _mm_setzero_si128();
        for (i32 k = 0; k < piece; k += 4)
            bits = _mm_or_si128(
                bits, _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples + i + k)));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(bits, _mm_setzero_si128())) != 0xffff) return false;
    }
    u32 rest = 0;
    for (; i < count; ++i)
        rest |= std::bit_cast<u32>(samples[i]);
    return rest == 0;
}
