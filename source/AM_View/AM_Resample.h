// Draws images at other sizes, between pixels, and rotated.
#pragma once

#include "AM_Context.h"
#include "AM_Geometry.h"
#include "AM_ImageRotation.h"
#include "AM_PixelView.h"
#include "AM_RowScaler.h"

#include <vector>

// Images are filtered with their colours weighed by alpha, go on beyond their edges as they are
// there, and are cut at the target's edges, smoothly where these are between pixels. The middle of
// an image's pixel stays the middle of what becomes of it: nothing is shifted.
//
// Reduced images are averaged over all that falls on a pixel, except by nearest neighbour. Cubic is
// the smooth B-spline. Without rotation the two-pass choices give what the one-pass ones give:
// all scale by rows. Rotated images are sampled at once by the one-pass choices, unless they are
// reduced; the two-pass ones scale first, horizontally and then vertically, and turn the result.
//
// One thread at a time for each of these; it keeps its work buffers from call to call.
class AM_Resampler {
public:
    // Draws `image` into `target`, where `how.target` is in pixels. An image in its own size at
    // whole pixels (up to 1/512), not rotated but by multiples of 90 degrees, is copied. What is
    // empty, not finite or outside of the clip draws nothing; the mask is stretched, bilinearly,
    // over the target and turns with it.
    void draw(const AM_PixelView& target, const AM_PixelRect& clip, const AM_PixelView& image,
              const AM_ImagePlacement& how, AM_Resampling resampling);

private:
    // What `draw` was asked for, made sure of.
    struct Job {
        AM_PixelView target;
        AM_PixelRect clip;
        AM_PixelView image;
        AM_PixelView mask; // may be empty
        f64 left;
        f64 top;
        f64 width;
        f64 height;
        u32 alpha;
        i32 mode;
        AM_Resampling resampling;
    };
    void turnQuarters(Job& job, i32 quarters);
    void drawStraight(const Job& job);
    void drawScaled(const Job& job, const AM_ScaledArea& area);
    const u8* coverOfRow(const Job& job, const AM_ScaledArea& area, i32 y);
    void drawRotated(Job job, f64 angle);
    void scaleFirst(Job& job);

    AM_RowScaler imageRows;
    AM_RowScaler maskRows;
    AM_ImageRotation rotation;
    std::vector<u8> turnedImage;
    std::vector<u8> turnedMask;
    std::vector<u8> scaledImage;
    std::vector<u8> columnCover;
    std::vector<u8> cover;
};
