// What loops over vectors of pixels share: of 16 bits a channel, two pixels a vector.
#pragma once

#include "AM_Types.h"

#include <cstring>

#include <emmintrin.h>

// Each pixel's alpha in all of its channels.
inline __m128i AM_spreadAlpha(__m128i pixels) {
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pixels, 0xff), 0xff);
}

// Of products of two bytes: x / 255, rounded. x * 257 / 65536 is (x + x / 256) / 256.
inline __m128i AM_div255(__m128i x) {
    return _mm_mulhi_epu16(_mm_add_epi16(x, _mm_set1_epi16(128)), _mm_set1_epi16(257));
}
// From `under` to `over` by `alpha`, each a byte a channel.
inline __m128i AM_mix255(__m128i under, __m128i over, __m128i alpha) {
    const __m128i rest = _mm_sub_epi16(_mm_set1_epi16(255), alpha);
    return AM_div255(_mm_add_epi16(_mm_mullo_epi16(over, alpha), _mm_mullo_epi16(under, rest)));
}
// Whether four pixels of bytes have this alpha.
inline bool AM_alphasAre(__m128i pixels, i32 alpha) {
    constexpr i32 k_alphas = 0x8888;
    const __m128i same = _mm_cmpeq_epi8(pixels, _mm_set1_epi8(static_cast<char>(alpha)));
    return (_mm_movemask_epi8(same) & k_alphas) == k_alphas;
}
// Four coverages in the channels of as many pixels.
struct AM_SpreadCovers {
    __m128i low, high;

    explicit AM_SpreadCovers(const u8* covers) : AM_SpreadCovers(fourOf(covers)) {}
    // A byte each, the first in the lowest.
    explicit AM_SpreadCovers(u32 four) {
        const __m128i bytes = _mm_cvtsi32_si128(static_cast<i32>(four));
        const __m128i twice = _mm_unpacklo_epi8(bytes, bytes);
        const __m128i each = _mm_unpacklo_epi8(twice, twice);
        low = _mm_unpacklo_epi8(each, _mm_setzero_si128());
        high = _mm_unpackhi_epi8(each, _mm_setzero_si128());
    }
    static u32 fourOf(const u8* covers) {
        u32 four;
        std::memcpy(&four, covers, 4);
        return four;
    }
};
