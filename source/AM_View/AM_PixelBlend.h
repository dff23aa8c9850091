// Compositing of pixels: straight RGBA bytes, by the formulas of W3C's compositing and blending.
//
// The two buffers of an operation lie top left on top left and meet where both reach. They may be
// the same. Empty views are left alone, alphas are held at 0 to 1 and those that are no number
// count as 0; blend modes that are none of the list, and "selected", are "normal". Any thread.
#pragma once

#include "AM_Context.h"
#include "AM_PixelView.h"

namespace AM_PixelOps {

// The alpha (times 255, truncated) as the other operations use it, 0 to 255.
u32 alphaByte(f32 alpha);
// round(a * b / 255) for bytes; exact at 0 and 255.
inline u32 times255(u32 a, u32 b) {
    const u32 t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

// Sets every pixel; the colour is packed red first (see AM_Rgba).
void clear(const AM_PixelView& target, u32 rgba);
// Makes the pixels of a rectangle transparent black, as far as they are there.
void clearRect(const AM_PixelView& target, i32 left, i32 top, i32 width, i32 height);
// Alphas below 1/255 clear the buffer, 1 leaves it; else each pixel's alpha byte becomes itself
// times the alpha byte, shifted right by 8. The colours stay, since they are not multiplied.
void multiplyAlpha(const AM_PixelView& target, f32 alpha);
// Takes the share `amount` of each pixel's alpha away, at least one step where it is not 0, so that
// repeated fading ends in nothing.
void fade(const AM_PixelView& target, f32 amount);
// The colours of `source`, their alpha multiplied with `alpha`, over those of `target`.
void blend(const AM_PixelView& target, const AM_PixelView& source, f32 alpha, i32 mode);
// Adds colours and alphas, the colours weighed with their alpha, up to white and opaque.
void blendAdd(const AM_PixelView& target, const AM_PixelView& source, f32 alpha);
// Keeps what both cover: multiplies the target's alpha with the source's; beyond the source the
// target becomes transparent.
void combine(const AM_PixelView& target, const AM_PixelView& source);
// The same, but beyond the source the target stays.
void mask(const AM_PixelView& target, const AM_PixelView& source);

// Blends one colour into what is there, whose alpha stays. `amount`, 0 to 1, multiplies the
// colour's alpha.
void tint(const AM_PixelView& target, const AM_Rgba& colour, f32 amount, i32 mode);

// One row of `count` pixels: `alpha` 0 to 255 multiplies the source's, and so does `cover`, one
// byte per pixel, unless it is null.
void blendRow(u8* target, const u8* source, i32 count, u32 alpha, const u8* cover, i32 mode);

} // namespace AM_PixelOps
