// A stretch of pixels of one row that something covers.
#pragma once

#include "AM_Types.h"

struct AM_ViewPixelRun {
    static constexpr i32 k_maxLength = 0xffff;

    // A run of length 0 is a fault that is logged.
    AM_ViewPixelRun(i32 x, i32 y, u16 lengthInPixels, const u8* pixels);

    i32 x;
    i32 y;
    const AM_ViewPixelRun* next = nullptr; // in the order of rows, then columns
    u16 length;                            // pixels
    const u8* pixels;                      // four bytes each
};
