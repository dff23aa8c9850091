#include "AM_PixelBlendRow.h"

#include "AM_PixelBlend.h"
#include "AM_PixelVectors.h"

#include <algorithm>
#include <emmintrin.h>

namespace {

using AM_PixelOps::times255;

constexpr i32 k_lane = 16; // pixels whose opacity is looked at together

u32 sourceAlpha(const u8* source, u32 alpha, const u8* cover) {
    const u32 a = times255(source[3], alpha);
    return cover ? times255(a, *cover) : a;
}

void overPixel(u8* d, const u8* s, u32 sa) {
    if (sa == 0) return;
    const u32 back = d[3] * (255 - sa);
    const u32 whole = sa * 255 + back;
    const f32 inverse = 1.0f / static_cast<f32>(whole);
    for (i32 c = 0; c < 3; ++c) {
        const u32 sum = s[c] * sa * 255 + d[c] * back;
        d[c] = static_cast<u8>(static_cast<f32>(sum) * inverse + 0.5f);
    }
    d[3] = static_cast<u8>((whole + 127) / 255);
}

const __m128i* vectors(const u8* from) {
    return reinterpret_cast<const __m128i*>(from);
}
__m128i* vectors(u8* to) {
    return reinterpret_cast<__m128i*>(to);
}

__m128i times255(__m128i a, __m128i b) {
    return AM_div255(_mm_mullo_epi16(a, b));
}

// Two pixels, a channel per lane, over an opaque backdrop.
__m128i overOpaque(__m128i d, __m128i s, __m128i a) {
    const __m128i opaque = _mm_set_epi16(255, 0, 0, 0, 255, 0, 0, 0);
    return AM_mix255(d, _mm_or_si128(s, opaque), a);
}

// Four pixels by the vector; false if the backdrop is not opaque.
bool overFour(u8* d, const u8* s, u32 alpha, const u8* cover) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i source = _mm_loadu_si128(vectors(s));
    if (AM_alphasAre(source, 0)) return true;
    if (alpha == 255 && !cover && AM_alphasAre(source, 255)) {
        _mm_storeu_si128(vectors(d), source);
        return true;
    }
    const __m128i back = _mm_loadu_si128(vectors(d));
    if (!AM_alphasAre(back, 255)) return false;
    const __m128i low = _mm_unpacklo_epi8(source, zero);
    const __m128i high = _mm_unpackhi_epi8(source, zero);
    __m128i lowAlpha = AM_spreadAlpha(low);
    __m128i highAlpha = AM_spreadAlpha(high);
    if (alpha != 255) {
        const __m128i a = _mm_set1_epi16(static_cast<short>(alpha));
        lowAlpha = times255(lowAlpha, a);
        highAlpha = times255(highAlpha, a);
    }
    if (cover) {
        const AM_SpreadCovers covers(cover);
        lowAlpha = times255(lowAlpha, covers.low);
        highAlpha = times255(highAlpha, covers.high);
    }
    const __m128i a = overOpaque(_mm_unpacklo_epi8(back, zero), low, lowAlpha);
    const __m128i b = overOpaque(_mm_unpackhi_epi8(back, zero), high, highAlpha);
    _mm_storeu_si128(vectors(d), _mm_packus_epi16(a, b));
    return true;
}

// Four whole pixels over opaque ones.
__m128i overFour(__m128i back, __m128i source) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(source, zero);
    const __m128i high = _mm_unpackhi_epi8(source, zero);
    const __m128i a = overOpaque(_mm_unpacklo_epi8(back, zero), low, AM_spreadAlpha(low));
    const __m128i b = overOpaque(_mm_unpackhi_epi8(back, zero), high, AM_spreadAlpha(high));
    return _mm_packus_epi16(a, b);
}

// False if the backdrop is not opaque. Looking at single pixels would cost more by branches that
// nobody foresees than it saves.
bool overEight(u8* d, const u8* s) {
    const __m128i a = _mm_loadu_si128(vectors(s));
    const __m128i b = _mm_loadu_si128(vectors(s) + 1);
    if (AM_alphasAre(_mm_or_si128(a, b), 0)) return true;
    const bool solid = AM_alphasAre(_mm_and_si128(a, b), 255);
    if (!solid) {
        const __m128i backA = _mm_loadu_si128(vectors(d));
        const __m128i backB = _mm_loadu_si128(vectors(d) + 1);
        if (!AM_alphasAre(_mm_and_si128(backA, backB), 255)) return false;
        _mm_storeu_si128(vectors(d), overFour(backA, a));
        _mm_storeu_si128(vectors(d) + 1, overFour(backB, b));
        return true;
    }
    _mm_storeu_si128(vectors(d), a);
    _mm_storeu_si128(vectors(d) + 1, b);
    return true;
}

} // namespace

i32 AM_overBlocksSse(u8* target, const u8* source, i32 begin, i32 count) {
    i32 i = begin;
    for (; i + k_lane <= count; i += k_lane) {
        const __m128i* from = vectors(source + 4 * i);
        __m128i four[4];
        for (i32 k = 0; k < 4; ++k)
            four[k] = _mm_loadu_si128(from + k);
        if (AM_alphasAre(
                _mm_and_si128(_mm_and_si128(four[0], four[1]), _mm_and_si128(four[2], four[3])),
                255)) {
            for (i32 k = 0; k < 4; ++k)
                _mm_storeu_si128(vectors(target + 4 * i) + k, four[k]);
            continue;
        }
        if (!overEight(target + 4 * i, source + 4 * i)) return i;
        if (!overEight(target + 4 * i + 32, source + 4 * i + 32)) return i + 8;
    }
    for (; i + 8 <= count && overEight(target + 4 * i, source + 4 * i);)
        i += 8;
    return i;
}

AM_OverBlocks AM_overBlocks() {
    static const AM_OverBlocks best =
        __builtin_cpu_supports("avx2") ? AM_overBlocksAvx : AM_overBlocksSse;
    return best;
}

void AM_blendNormalRow(u8* target, const u8* source, i32 count, u32 alpha, const u8* cover) {
    const bool whole = alpha == 255 && !cover;
    const AM_OverBlocks overBlocks = AM_overBlocks();
    for (i32 i = 0; i < count;) {
        if (whole) i = overBlocks(target, source, i, count);
        const i32 end = std::min(i + 8, count);
        while (i < end) {
            const u8* covers = cover ? cover + i : nullptr;
            if (i + 4 <= end && overFour(target + 4 * i, source + 4 * i, alpha, covers)) {
                i += 4;
                continue;
            }
            for (const i32 last = std::min(i + 4, end); i < last; ++i)
                overPixel(target + 4 * i, source + 4 * i,
                          sourceAlpha(source + 4 * i, alpha, cover ? cover + i : nullptr));
        }
    }
}
