// Draws images at other sizes, between pixels, and rotated.
#pragma once

#include "AM_Context.h"
#include "AM_Geometry.h"
#include "AM_PixelView.h"

#include <vector>

// Whole pixels; `right` and `bottom` are behind the last.
struct AM_PixelClip {
    i32 left = 0;
    i32 top = 0;
    i32 right = 0;
    i32 bottom = 0;
};

// Images are filtered with their colours weighed by alpha, go on beyond their edges as they are
// there, and are cut at the target's edges, smoothly where these are between pixels. The middle of
// an image's pixel stays the middle of what becomes of it: nothing is shifted.
//
// Reduced images are averaged over all that falls on a pixel, except by nearest neighbour. Cubic is
// the smooth B-spline. Without rotation a two-pass choice is its one-pass one; rotated images are
// sampled at once by the one-pass choices, unless they are reduced, while the two-pass ones scale
// first, horizontally and then vertically, and rotate the result.
//
// One thread at a time for each of these; it keeps its work buffers from call to call.
class AM_Resampler {
public:
    // Draws `image` into `target`, where `how.target` is in pixels. An image in its own size at
    // whole pixels (up to 1/512), not rotated but by multiples of 90 degrees, is copied. What is
    // empty, not finite or outside of the clip draws nothing; the mask is stretched, bilinearly,
    // over the target and turns with it.
    void draw(const AM_PixelView& target, const AM_PixelClip& clip, const AM_PixelView& image,
              const AM_ImagePlacement& how, AM_Resampling resampling);
};
