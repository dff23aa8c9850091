// Blends runs of pixels with coverages. Straight RGBA bytes; all results are rounded to nearest.
// The caller has clipped: nothing here checks coordinates.
#pragma once

#include "AM_Types.h"

// A colour of four bytes.
struct AM_Pixel {
    u8 r = 0;
    u8 g = 0;
    u8 b = 0;
    u8 a = 0;
};

// x / 255 rounded, for x from 0 to 65535.
inline u32 AM_div255(u32 x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// `colour` over one pixel, its alpha held to `cover`.
void AM_blendPixel(u8* pixel, const AM_Pixel& colour, u32 cover);
// The same over `count` pixels: one colour with one coverage, or with each its own.
void AM_blendSolid(u8* pixels, i32 count, const AM_Pixel& colour, u32 cover);
void AM_blendCovered(u8* pixels, i32 count, const AM_Pixel& colour, const u8* covers);
// A row of straight RGBA colours; `covers` may be null for all covered.
void AM_blendColours(u8* pixels, i32 count, const u8* colours, const u8* covers);
