// For machines with AVX2; nothing here runs on others. What is compiled for them is marked, so that
// no function of a header is.
#include "AM_PixelBlendRow.h"

#include <cstdint>
#include <immintrin.h>

#define AM_FOR_AVX2 __attribute__((target("avx2")))

namespace {

constexpr i32 k_lane = 32; // pixels whose opacity is looked at together

AM_FOR_AVX2 const __m256i* vectors(const u8* from) {
    return reinterpret_cast<const __m256i*>(from);
}
AM_FOR_AVX2 __m256i* vectors(u8* to) {
    return reinterpret_cast<__m256i*>(to);
}
AM_FOR_AVX2 __m256i alphas() {
    return _mm256_set1_epi32(static_cast<i32>(0xff000000u));
}

// Four pixels, a channel per lane, over opaque ones; the alphas are left wrong.
AM_FOR_AVX2 __m256i overOpaque(__m256i d, __m256i s) {
    const __m256i a = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(s, 0xff), 0xff);
    const __m256i rest = _mm256_sub_epi16(_mm256_set1_epi16(255), a);
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(s, a), _mm256_mullo_epi16(d, rest));
    // t * 257 / 65536 is (t + t / 256) / 256.
    return _mm256_mulhi_epu16(_mm256_add_epi16(sum, _mm256_set1_epi16(128)),
                              _mm256_set1_epi16(257));
}

// How far a pixel lies behind the last boundary of a vector. A copy that begins again there stays
// clear of stores over two cache lines.
i32 pixelsFromBoundary(const u8* pixel) {
    return static_cast<i32>(reinterpret_cast<std::uintptr_t>(pixel) % sizeof(__m256i) / 4);
}

// What a copy comes to soon; it may lie behind the last row.
AM_FOR_AVX2 void fetchAhead(const u8* pixels) {
    const std::uintptr_t ahead = reinterpret_cast<std::uintptr_t>(pixels) + 512;
    _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(ahead + 64), _MM_HINT_T0);
}

// False if the backdrop is not opaque.
AM_FOR_AVX2 bool overEight(u8* d, const u8* s) {
    const __m256i source = _mm256_loadu_si256(vectors(s));
    if (_mm256_testz_si256(source, alphas())) return true;
    if (_mm256_testc_si256(source, alphas())) {
        _mm256_storeu_si256(vectors(d), source);
        return true;
    }
    const __m256i back = _mm256_loadu_si256(vectors(d));
    if (!_mm256_testc_si256(back, alphas())) return false;
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low =
        overOpaque(_mm256_unpacklo_epi8(back, zero), _mm256_unpacklo_epi8(source, zero));
    const __m256i high =
        overOpaque(_mm256_unpackhi_epi8(back, zero), _mm256_unpackhi_epi8(source, zero));
    _mm256_storeu_si256(vectors(d), _mm256_or_si256(_mm256_packus_epi16(low, high), alphas()));
    return true;
}

} // namespace

AM_FOR_AVX2 i32 AM_overBlocksAvx(u8* target, const u8* source, i32 begin, i32 count) {
    i32 i = begin;
    while (i + 8 <= count) {
        if (i + k_lane <= count) {
            const __m256i* from = vectors(source + 4 * i);
            __m256i eight[4];
            for (i32 k = 0; k < 4; ++k)
                eight[k] = _mm256_loadu_si256(from + k);
            const __m256i all = _mm256_and_si256(_mm256_and_si256(eight[0], eight[1]),
                                                 _mm256_and_si256(eight[2], eight[3]));
            fetchAhead(source + 4 * i);
            if (_mm256_testc_si256(all, alphas())) {
                for (i32 k = 0; k < 4; ++k)
                    _mm256_storeu_si256(vectors(target + 4 * i) + k, eight[k]);
                i += k_lane - pixelsFromBoundary(target + 4 * i);
                continue;
            }
        }
        // Up to where the next such look begins.
        for (i32 k = 0; k < k_lane && i + 8 <= count; k += 8, i += 8)
            if (!overEight(target + 4 * i, source + 4 * i)) return i;
    }
    return i;
}
