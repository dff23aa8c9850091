#include "AM_ScanlineBlend.h"

#include "AM_PixelVectors.h"

#include <cstring>

namespace {
// The destination's colour counts with its alpha, so that none comes from transparent pixels.
void blendStraight(u8* pixel, u32 r, u32 g, u32 b, u32 alpha) {
    const u32 under = pixel[3] * (255 - alpha);
    const u32 over = alpha * 255;
    const u32 sum = over + under;
    const u32 half = sum / 2;
    pixel[0] = static_cast<u8>((r * over + pixel[0] * under + half) / sum);
    pixel[1] = static_cast<u8>((g * over + pixel[1] * under + half) / sum);
    pixel[2] = static_cast<u8>((b * over + pixel[2] * under + half) / sum);
    pixel[3] = static_cast<u8>(AM_div255(sum));
}

// Two channels in each half of a word at a time, over an opaque pixel.
void blendOpaque(u8* pixel, u32 colour, u32 alpha) {
    constexpr u32 channels = 0x00ff00ff;
    const u32 rest = 255 - alpha;
    u32 word;
    std::memcpy(&word, pixel, 4);
    const auto mix = [=](u32 over, u32 under) {
        const u32 sum = (over & channels) * alpha + (under & channels) * rest + 0x00800080;
        return (sum + (sum >> 8 & channels)) >> 8 & channels;
    };
    word = mix(colour, word) | mix(colour >> 8, word >> 8) << 8;
    std::memcpy(pixel, &word, 4);
}

void blendOne(u8* pixel, u32 r, u32 g, u32 b, u32 alpha) {
    if (alpha == 0) return;
    if (pixel[3] == 255) {
        blendOpaque(pixel, r | g << 8 | b << 16 | 0xff000000u, alpha);
        return;
    }
    blendStraight(pixel, r, g, b, alpha);
}

constexpr i32 k_lane = 16; // pixels whose bytes go through the same loop

bool areOpaque(const u8* pixels) {
    u32 all = 255;
    for (i32 i = 0; i < k_lane; ++i)
        all &= pixels[i * 4 + 3];
    return all == 255;
}

// What blendOne does to opaque pixels; the shape of the loop is one that compilers make vectors of.
void blendLane(u8* pixels, const u16* over, u32 rest) {
    for (i32 i = 0; i < k_lane * 4; ++i) {
        const u16 sum = static_cast<u16>(over[i] + pixels[i] * rest);
        pixels[i] = static_cast<u8>(static_cast<u16>(sum + (sum >> 8)) >> 8);
    }
}

u32 asWord(const AM_Pixel& colour) {
    const u8 bytes[4] = {colour.r, colour.g, colour.b, colour.a};
    u32 word;
    std::memcpy(&word, bytes, 4);
    return word;
}

// Four opaque pixels at once, by the arithmetic of blendOpaque.
class FourPixels {
public:
    explicit FourPixels(const AM_Pixel& colour)
        : source(
              _mm_set_epi16(255, colour.b, colour.g, colour.r, 255, colour.b, colour.g, colour.r)),
          alpha(_mm_set1_epi16(colour.a)) {}

    // False, and nothing done, if some pixel is not opaque. A byte of `covers` each.
    bool blend(u8* pixels, u32 covers) const {
        const __m128i zero = _mm_setzero_si128();
        const __m128i under = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
        if (!AM_alphasAre(under, 255)) return false;
        const AM_SpreadCovers cover(covers);
        const __m128i low = mix(_mm_unpacklo_epi8(under, zero), cover.low);
        const __m128i high = mix(_mm_unpackhi_epi8(under, zero), cover.high);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), _mm_packus_epi16(low, high));
        return true;
    }

private:
    __m128i mix(__m128i under, __m128i cover) const {
        return AM_mix255(under, source, AM_div255(_mm_mullo_epi16(cover, alpha)));
    }

    __m128i source;
    __m128i alpha;
};
} // namespace

void AM_blendPixel(u8* pixel, const AM_Pixel& colour, u32 cover) {
    blendOne(pixel, colour.r, colour.g, colour.b, AM_div255(colour.a * cover));
}

void AM_blendSolid(u8* pixels, i32 count, const AM_Pixel& colour, u32 cover) {
    const u32 alpha = AM_div255(colour.a * cover);
    if (alpha == 0) return;
    if (alpha == 255) {
        const u32 word = asWord(colour);
        for (i32 i = 0; i < count; ++i)
            std::memcpy(pixels + i * 4, &word, 4);
        return;
    }
    i32 i = 0;
    if (count >= k_lane * 2) {
        u16 over[k_lane * 4];
        for (i32 k = 0; k < k_lane * 4; k += 4) {
            over[k] = static_cast<u16>(colour.r * alpha + 128);
            over[k + 1] = static_cast<u16>(colour.g * alpha + 128);
            over[k + 2] = static_cast<u16>(colour.b * alpha + 128);
            over[k + 3] = static_cast<u16>(255 * alpha + 128);
        }
        for (; i + k_lane <= count && areOpaque(pixels + i * 4); i += k_lane)
            blendLane(pixels + i * 4, over, 255 - alpha);
    }
    for (; i < count; ++i)
        blendOne(pixels + i * 4, colour.r, colour.g, colour.b, alpha);
}

void AM_blendCovered(u8* pixels, i32 count, const AM_Pixel& colour, const u8* covers) {
    i32 i = 0;
    const FourPixels four(colour);
    for (; i + 4 <= count; i += 4) {
        const u32 some = AM_SpreadCovers::fourOf(covers + i);
        if (some != 0 && !four.blend(pixels + i * 4, some))
            for (i32 k = i; k < i + 4; ++k)
                AM_blendPixel(pixels + k * 4, colour, covers[k]);
    }
    // The rest together with pixels that are done, which have no cover any more.
    if (const i32 last = count - 4; i < count && last >= 0) {
        const u32 some = AM_SpreadCovers::fourOf(covers + last) & 0xffffffffu << 8 * (i - last);
        if (some == 0 || four.blend(pixels + last * 4, some)) return;
    }
    for (; i < count; ++i)
        AM_blendPixel(pixels + i * 4, colour, covers[i]);
}

void AM_blendColours(u8* pixels, i32 count, const u8* colours, const u8* covers) {
    for (i32 i = 0; i < count; ++i, pixels += 4, colours += 4) {
        const u32 alpha = covers ? AM_div255(colours[3] * covers[i]) : colours[3];
        if (alpha == 255)
            std::memcpy(pixels, colours, 4);
        else
            blendOne(pixels, colours[0], colours[1], colours[2], alpha);
    }
}
