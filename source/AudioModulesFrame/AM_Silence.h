// Tells digital silence, which most of the path need not touch.
#pragma once

#include "AM_Types.h"

#include <bit>

#include <emmintrin.h>

// True if all samples are 0, with the sign of plus. Any thread.
inline bool AM_isSilent(const f32* samples, i32 count) {
    const auto bitsAt = [&](i32 i) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples + i));
    };
    const auto allClear = [](__m128i bits) {
        return _mm_movemask_epi8(_mm_cmpeq_epi8(bits, _mm_setzero_si128())) == 0xffff;
    };
    // A signal shows itself at once.
    if (count >= 4 && !allClear(bitsAt(0))) return false;
    constexpr i32 piece = 64;
    i32 i = 0;
    for (; i + piece <= count; i += piece) {
        __m128i bits = bitsAt(i);
        for (i32 k = 4; k < piece; k += 4)
            bits = _mm_or_si128(bits, bitsAt(i + k));
        if (!allClear(bits)) return false;
    }
    __m128i rest = _mm_setzero_si128();
    for (; i + 4 <= count; i += 4)
        rest = _mm_or_si128(rest, bitsAt(i));
    if (!allClear(rest)) return false;
    u32 last = 0;
    for (; i < count; ++i)
        last |= std::bit_cast<u32>(samples[i]);
    return last == 0;
}
