#include "AM_PremultipliedRow.h"

#include "AM_PixelBlend.h"
#include "AM_PixelVectors.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace {

const __m128i* vectors(const void* from) {
    return static_cast<const __m128i*>(from);
}
__m128i* vectors(void* to) {
    return static_cast<__m128i*>(to);
}

// Bytes times alpha, times 64 / 255; 16449 / 65536 is a trifle more than that, which makes the
// truncated results exact for opaque pixels.
__m128i premultiply(__m128i pixels) {
    const __m128i opaque = _mm_set_epi16(255, 0, 0, 0, 255, 0, 0, 0);
    const __m128i product = _mm_mullo_epi16(_mm_or_si128(pixels, opaque), AM_spreadAlpha(pixels));
    return _mm_mulhi_epu16(product, _mm_set1_epi16(16449));
}

// For the last pixel of a row.
void loadOne(i16* to, const u8* pixel) {
    i32 four;
    std::memcpy(&four, pixel, 4);
    const __m128i bytes = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
    _mm_storel_epi64(vectors(to), premultiply(bytes));
}

void storeOne(u8* pixel, const i16* p) {
    const i32 alpha = std::clamp<i32>(p[3], 0, AM_PremultipliedRow::k_full);
    const i32 rounded = (alpha + 32) >> 6;
    if (rounded == 0) {
        std::memset(pixel, 0, 4);
        return;
    }
    const f32 scale = 255.0f / static_cast<f32>(alpha);
    for (i32 c = 0; c < 3; ++c) {
        const i32 colour = std::clamp<i32>(p[c], 0, alpha);
        pixel[c] = static_cast<u8>(static_cast<f32>(colour) * scale + 0.5f);
    }
    pixel[3] = static_cast<u8>(rounded);
}

__m128i toBytes(__m128i low, __m128i high) {
    const __m128i half = _mm_set1_epi16(32);
    return _mm_packus_epi16(_mm_srli_epi16(_mm_add_epi16(low, half), 6),
                            _mm_srli_epi16(_mm_add_epi16(high, half), 6));
}

// Two pixels over an opaque backdrop; d * 257 / 65536 is d / 255.
__m128i over(__m128i d, __m128i p) {
    const __m128i rest =
        _mm_sub_epi16(_mm_set1_epi16(AM_PremultipliedRow::k_full), AM_spreadAlpha(p));
    const __m128i share = _mm_mullo_epi16(d, _mm_set1_epi16(257));
    return _mm_add_epi16(p, _mm_mulhi_epu16(rest, share));
}

__m128i weigh(__m128i p, __m128i weights) {
    return _mm_mulhi_epu16(p, _mm_mullo_epi16(weights, _mm_set1_epi16(257)));
}

// Four pixels; false if the vector can't: the backdrop is not opaque.
bool blendFour(u8* target, const i16* row, u32 alpha, const u8* cover) {
    const __m128i zero = _mm_setzero_si128();
    __m128i low = _mm_loadu_si128(vectors(row));
    __m128i high = _mm_loadu_si128(vectors(row + 8));
    // The upper half has all four alphas.
    const __m128i alphas =
        _mm_unpackhi_epi32(_mm_unpacklo_epi16(low, high), _mm_unpackhi_epi16(low, high));
    if ((_mm_movemask_epi8(_mm_cmpeq_epi16(alphas, zero)) & 0xff00) == 0xff00) return true;
    const __m128i full = _mm_set1_epi16(AM_PremultipliedRow::k_full);
    if (alpha == 255 && !cover &&
        (_mm_movemask_epi8(_mm_cmpeq_epi16(alphas, full)) & 0xff00) == 0xff00) {
        _mm_storeu_si128(vectors(target), toBytes(low, high));
        return true;
    }
    const __m128i back = _mm_loadu_si128(vectors(target));
    const __m128i solid =
        _mm_cmpeq_epi32(_mm_or_si128(back, _mm_set1_epi32(0x00ffffff)), _mm_set1_epi32(-1));
    if (_mm_movemask_epi8(solid) != 0xffff) return false;
    if (alpha != 255) {
        low = weigh(low, _mm_set1_epi16(static_cast<short>(alpha)));
        high = weigh(high, _mm_set1_epi16(static_cast<short>(alpha)));
    }
    if (cover) {
        const AM_SpreadCovers covers(cover);
        low = weigh(low, covers.low);
        high = weigh(high, covers.high);
    }
    low = over(_mm_unpacklo_epi8(back, zero), low);
    high = over(_mm_unpackhi_epi8(back, zero), high);
    _mm_storeu_si128(vectors(target), toBytes(low, high));
    return true;
}

// What blendFour does to eight whole pixels over an opaque backdrop, without a look at single ones,
// whose branches nobody foresees; false if the backdrop is not opaque.
bool overEight(u8* target, const i16* row) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i first = _mm_loadu_si128(vectors(target));
    const __m128i second = _mm_loadu_si128(vectors(target + 16));
    if (!AM_alphasAre(_mm_and_si128(first, second), 255)) return false;
    const __m128i a = over(_mm_unpacklo_epi8(first, zero), _mm_loadu_si128(vectors(row)));
    const __m128i b = over(_mm_unpackhi_epi8(first, zero), _mm_loadu_si128(vectors(row + 8)));
    const __m128i c = over(_mm_unpacklo_epi8(second, zero), _mm_loadu_si128(vectors(row + 16)));
    const __m128i d = over(_mm_unpackhi_epi8(second, zero), _mm_loadu_si128(vectors(row + 24)));
    _mm_storeu_si128(vectors(target), toBytes(a, b));
    _mm_storeu_si128(vectors(target + 16), toBytes(c, d));
    return true;
}

// Whole pixels from the first on, eight at a time: copies what is opaque, leaves out what is
// transparent. Ends at eight that are neither over a backdrop that is not opaque; the first pixel
// of those.
i32 overEights(u8* target, const i16* row, i32 i, i32 count) {
    const __m128i full = _mm_set1_epi16(AM_PremultipliedRow::k_full);
    for (; i + 8 <= count; i += 8) {
        const i16* from = row + 4 * i;
        const __m128i a = _mm_loadu_si128(vectors(from));
        const __m128i b = _mm_loadu_si128(vectors(from + 8));
        const __m128i c = _mm_loadu_si128(vectors(from + 16));
        const __m128i d = _mm_loadu_si128(vectors(from + 24));
        const __m128i all =
            _mm_and_si128(_mm_and_si128(_mm_cmpeq_epi16(a, full), _mm_cmpeq_epi16(b, full)),
                          _mm_and_si128(_mm_cmpeq_epi16(c, full), _mm_cmpeq_epi16(d, full)));
        if ((_mm_movemask_epi8(all) & 0xc0c0) != 0xc0c0) {
            const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
            const __m128i none = _mm_cmpeq_epi16(any, _mm_setzero_si128());
            if ((_mm_movemask_epi8(none) & 0xc0c0) == 0xc0c0) continue;
            if (!overEight(target + 4 * i, from)) break;
            continue;
        }
        _mm_storeu_si128(vectors(target + 4 * i), toBytes(a, b));
        _mm_storeu_si128(vectors(target + 4 * i + 16), toBytes(c, d));
    }
    return i;
}

// The same numbers as blendFour, so that a picture does not depend on where its parts begin.
void blendOne(u8* target, const i16* pixel, u32 alpha, const u8* cover) {
    if (target[3] != 255) {
        u8 straight[4];
        storeOne(straight, pixel);
        AM_PixelOps::blendRow(target, straight, 1, alpha, cover, k_blendNormal);
        return;
    }
    u8 targets[16];
    std::memset(targets, 255, sizeof targets);
    std::memcpy(targets, target, 4);
    i16 pixels[16] = {};
    std::copy_n(pixel, 4, pixels);
    u8 covers[4] = {};
    if (cover) covers[0] = *cover;
    blendFour(targets, pixels, alpha, cover ? covers : nullptr);
    std::memcpy(target, targets, 4);
}

} // namespace

namespace AM_PremultipliedRow {

void load(i16* row, const u8* pixels, i32 count) {
    const __m128i zero = _mm_setzero_si128();
    i32 i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i four = _mm_loadu_si128(vectors(pixels + 4 * i));
        _mm_storeu_si128(vectors(row + 4 * i), premultiply(_mm_unpacklo_epi8(four, zero)));
        _mm_storeu_si128(vectors(row + 4 * i + 8), premultiply(_mm_unpackhi_epi8(four, zero)));
    }
    for (; i < count; ++i)
        loadOne(row + 4 * i, pixels + 4 * i);
}

void clamp(i16* row, i32 count) {
    const __m128i full = _mm_set1_epi16(k_full);
    i32 i = 0;
    for (; i + 2 <= count; i += 2) {
        const __m128i two = _mm_loadu_si128(vectors(row + 4 * i));
        const __m128i positive = _mm_max_epi16(two, _mm_setzero_si128());
        const __m128i limit = _mm_min_epi16(AM_spreadAlpha(positive), full);
        _mm_storeu_si128(vectors(row + 4 * i), _mm_min_epi16(positive, limit));
    }
    if (i < count) {
        i16* p = row + 4 * i;
        p[3] = std::clamp<i16>(p[3], 0, k_full);
        for (i32 c = 0; c < 3; ++c)
            p[c] = std::clamp<i16>(p[c], 0, p[3]);
    }
}

void store(u8* pixels, const i16* row, i32 count) {
    for (i32 i = 0; i < count; ++i)
        storeOne(pixels + 4 * i, row + 4 * i);
}

void blend(u8* target, const i16* row, i32 count, u32 alpha, const u8* cover, i32 mode) {
    if (mode > k_blendNormal && mode < k_numBlendModes) {
        constexpr i32 chunk = 64;
        u8 straight[4 * chunk];
        for (i32 i = 0; i < count; i += chunk) {
            const i32 some = std::min(chunk, count - i);
            store(straight, row + 4 * i, some);
            AM_PixelOps::blendRow(target + 4 * i, straight, some, alpha, cover ? cover + i : cover,
                                  mode);
        }
        return;
    }
    const bool whole = alpha == 255 && !cover;
    for (i32 i = 0; i < count; i += 4) {
        if (whole && (i & 7) == 0) i = overEights(target, row, i, count);
        const i32 some = std::min(4, count - i);
        const u8* covers = cover ? cover + i : nullptr;
        if (some == 4 && blendFour(target + 4 * i, row + 4 * i, alpha, covers)) continue;
        for (i32 k = i; k < i + some; ++k)
            blendOne(target + 4 * k, row + 4 * k, alpha, cover ? cover + k : nullptr);
    }
}

} // namespace AM_PremultipliedRow
