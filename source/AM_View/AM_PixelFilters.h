// Blurs, noise and colour corrections of whole buffers of straight RGBA bytes.
//
// The blurs weigh each colour with its alpha, so that what is transparent lends no colour, and take
// the buffer to go on beyond its edges as it is there. All others leave the alpha. Arguments are
// held at their ranges; one that is no number is the neutral one. Any thread.
#pragma once

#include "AM_PixelView.h"

namespace AM_PixelOps {

// First-order recursive filters of rows and of columns, `strength` 0 to 0.999: a state moves by
// (input - state) * (1 - strength), there and back again, so nothing is shifted.
void blurX(const AM_PixelView& target, f32 strength);
void blurY(const AM_PixelView& target, f32 strength);
// Three box filters of the radius `radius` - 1, 1 to 256 (1 does nothing); of a fractional radius
// the outermost pixels count by the fraction.
void gaussBlur(const AM_PixelView& target, f32 radius);
// Adds grey noise of up to half the range at `amount` 1, the same for each call on a buffer of the
// same width.
void noise(const AM_PixelView& target, f32 amount);
// Both -1 to 1: the contrast is a slope around the middle, from flat grey at -1 to two values at 1;
// the brightness is added.
void brightnessContrast(const AM_PixelView& target, f32 brightness, f32 contrast);
// 0 to 16; channels are raised to 1 / gamma, so above 1 brightens.
void gammaCorrect(const AM_PixelView& target, f32 gamma);
// All -1 to 1: turns the hue by up to half a circle, and multiplies saturation and value with one
// more than the argument.
void saturate(const AM_PixelView& target, f32 hue, f32 saturation, f32 value);

} // namespace AM_PixelOps
