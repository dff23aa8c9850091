// What loops over vectors of pixels share: of 16 bits a channel, two pixels a vector.
#pragma once

#include "AM_Types.h"

#include <cstring>

#include <emmintrin.h>

// Each pixel's alpha in all of its channels.
inline __m128i AM_spreadAlpha(__m128i pixels) {
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pixels, 0xff), 0xff);
}

// Four coverages in the channels of as many pixels.
struct AM_SpreadCovers {
    __m128i low, high;

    explicit AM_SpreadCovers(const u8* covers) {
        i32 four;
        std::memcpy(&four, covers, 4);
        const __m128i bytes = _mm_cvtsi32_si128(four);
        const __m128i twice = _mm_unpacklo_epi8(bytes, bytes);
        const __m128i each = _mm_unpacklo_epi8(twice, twice);
        low = _mm_unpacklo_epi8(each, _mm_setzero_si128());
        high = _mm_unpackhi_epi8(each, _mm_setzero_si128());
    }
};
