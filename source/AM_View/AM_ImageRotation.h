// Draws an image turned by any angle.
#pragma once

#include "AM_Context.h"
#include "AM_PixelView.h"
#include "AM_PremultipliedRow.h"

#include <vector>

// The share of the pixel at `x` to `x` + 1 that lies in `begin` to `end`.
f64 AM_pixelShare(f64 x, f64 begin, f64 end);

// Each pixel of the target asks the image for the colour at its middle.
class AM_ImageRotation {
public:
    struct Job {
        AM_PixelView target;
        AM_PixelRect clip; // inside of the target
        AM_PixelView image;
        AM_PixelView mask; // empty for none
        f64 left;          // of the image before it turns
        f64 top;
        f64 width;
        f64 height;
        f64 angle; // degrees, clockwise, around its centre
        u32 alpha;
        i32 mode;
        AM_Resampling resampling;
    };
    void draw(const Job& job);

    // The weights of a filter for places between two pixels.
    static constexpr i32 k_maxTaps = 4;
    static constexpr i32 k_phaseBits = 8;
    static constexpr i32 k_phases = 1 << k_phaseBits;
    struct Weights {
        i32 count = 0;
        i32 before = 0;   // pixels in front of the place, but one
        f64 shift = 0;    // from an edge of a pixel to what is asked for
        f64 rounding = 0; // to the nearest phase
        f32 phase[k_phases][k_maxTaps] = {};

        void make(AM_Resampling choice);

    private:
        i32 made = -1;
    };

private:
    Weights weights;
    Weights maskWeights;
    std::vector<i16> row;
    std::vector<u8> cover;
};
