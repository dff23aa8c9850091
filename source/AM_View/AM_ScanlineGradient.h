// Colours spans with a gradient. Its steps are finer than a byte; an ordered dither spreads the
// rest, so that no bands are seen.
#pragma once

#include "AM_Colour.h"
#include "AM_PixelView.h"
#include "AM_ScanlineFiller.h"

class AM_ScanlineGradient final : public AM_ISpanSink {
public:
    // Where a gradient begins and ends, in pixels. Equal points give the end's colour.
    struct Axis {
        AM_DevicePoint from;
        AM_DevicePoint to;
    };
    // `pixels` holds all spans that will come.
    AM_ScanlineGradient(const AM_Colour& colour, const Axis& axis, const AM_PixelView& pixels);
    void span(i32 x, i32 y, i32 count, const u8* covers) override;
    // False if a stop does not lie behind the one before it; between those is a sharp step.
    bool stopsAreInOrder() const { return inOrder; }

private:
    static constexpr i32 k_steps = 1024;
    static constexpr i32 k_block = 256; // pixels that are coloured at once

    void makeSteps(const std::vector<AM_Colour::Stop>& stops);
    void colour(i32 x, i32 y, i32 count, u8* target) const;
    void repeat(i32 x, i32 y, i32 count, u8* target, f64 at) const;

    AM_PixelView pixels;
    bool inOrder = true;
    bool opaque = true;
    f64 atOrigin = 0; // the step at pixel 0, 0, and what it gains to the right and downward
    f64 perX = 0;
    f64 perY = 0;
    u64 steps[k_steps]; // four channels of 16 bits each, in 256ths of a byte's unit
};
