// The shape of a shadow: the alpha of pixels, moved and blurred.
#pragma once

#include "AM_PixelView.h"

#include <array>
#include <vector>

class AM_ShadowLayer {
public:
    // Takes the alpha of `pixels`, moves it by `right` and `down` pixels and blurs it with the
    // recursive filters, twice; beyond the pixels there is nothing. `blur` is 0 to 1 per view unit,
    // of which there is one each `scale` pixels.
    AM_ShadowLayer(const AM_PixelView& pixels, f32 right, f32 down, f32 blur, f32 scale);

    // In the colour `rgba`, whose alpha counts; `strength`, 0 or more, multiplies it, up to opaque.
    // Inside: what the shape leaves free, onto the pixels that it was made of, whose alpha stays.
    // Else the shape, below them.
    void draw(const AM_PixelView& pixels, bool inside, u32 rgba, f32 strength);

private:
    using Table = std::array<u8, 256>; // for each alpha of the layer, how much colour there is
    void drawBelow(const AM_PixelView& pixels, const u8* colour, const Table& table);
    void drawInside(const AM_PixelView& pixels, const u8* colour, const Table& table);
    u8* row(i32 y) { return layer.row(y + margin) + 4 * static_cast<size_t>(margin); }

    i32 margin;
    std::vector<u8> store;
    AM_PixelView layer;
};
