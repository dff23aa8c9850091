// Pixels that somebody else owns.
#pragma once

#include "AM_Types.h"

// Rows of pixels of four bytes: red, green, blue, alpha, the colour not multiplied with the alpha.
struct AM_PixelView {
    u8* pixels = nullptr;
    i32 width = 0;    // pixels
    i32 height = 0;   // rows
    i32 rowBytes = 0; // from row to row, at least 4 * width

    bool isEmpty() const { return !pixels || width < 1 || height < 1; }
    u8* row(i32 y) const { return pixels + static_cast<i64>(y) * rowBytes; }
};

// A rectangle of pixels: right and bottom are not part of it.
struct AM_PixelRect {
    i32 left = 0;
    i32 top = 0;
    i32 right = 0;
    i32 bottom = 0;

    bool isEmpty() const { return right <= left || bottom <= top; }
};
