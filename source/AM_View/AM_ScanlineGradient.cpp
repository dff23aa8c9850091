#include "AM_ScanlineGradient.h"

#include "AM_ScanlineBlend.h"

#include <algorithm>
#include <cmath>

namespace {
// The order in which the pixels of a square of 8 by 8 are filled, in 256ths: each threshold is half
// a step from the ends, so that a whole number is never moved.
struct Dither {
    u8 row[8][8];
    constexpr Dither() : row() {
        for (u32 y = 0; y < 8; ++y)
            for (u32 x = 0; x < 8; ++x) {
                const u32 mixed = x ^ y;
                u32 rank = 0;
                for (u32 bit = 0; bit < 3; ++bit)
                    rank |= ((mixed >> bit) & 1) << (5 - 2 * bit) | ((y >> bit) & 1)
                                                                        << (4 - 2 * bit);
                row[y][x] = static_cast<u8>(rank * 4 + 2);
            }
    }
};
constexpr Dither k_dither;

u16 toStep(f32 channel) {
    return static_cast<u16>(std::lround(std::clamp(channel, 0.f, 1.f) * (255 * 256)));
}
} // namespace

AM_ScanlineGradient::AM_ScanlineGradient(const AM_Colour& colour, const Axis& axis,
                                         const AM_PixelView& pixels)
    : pixels(pixels) {
    makeSteps(colour.getStops());
    const f64 dx = axis.to.x - axis.from.x;
    const f64 dy = axis.to.y - axis.from.y;
    const f64 length = dx * dx + dy * dy;
    if (!(length > 1e-9)) {
        atOrigin = k_steps - 1;
        return;
    }
    perX = dx / length * (k_steps - 1);
    perY = dy / length * (k_steps - 1);
    // A pixel has the colour of its middle.
    atOrigin = (0.5 - axis.from.x) * perX + (0.5 - axis.from.y) * perY;
}

void AM_ScanlineGradient::makeSteps(const std::vector<AM_Colour::Stop>& stops) {
    if (stops.empty()) {
        std::fill(&steps[0][0], &steps[0][0] + k_steps * 4, u16(0));
        return;
    }
    for (size_t i = 1; i < stops.size(); ++i)
        inOrder &= stops[i - 1].location < stops[i].location;
    size_t above = 0; // the first stop behind the step
    for (i32 i = 0; i < k_steps; ++i) {
        const f32 at = static_cast<f32>(i) / (k_steps - 1);
        while (above < stops.size() && stops[above].location <= at)
            ++above;
        const AM_Colour::Stop& b = stops[std::min(above, stops.size() - 1)];
        const AM_Colour::Stop& a = stops[above > 0 ? above - 1 : 0];
        const f32 distance = b.location - a.location;
        const f32 mix = distance > 0 ? std::clamp((at - a.location) / distance, 0.f, 1.f) : 0;
        steps[i][0] = toStep(a.rgba.r + (b.rgba.r - a.rgba.r) * mix);
        steps[i][1] = toStep(a.rgba.g + (b.rgba.g - a.rgba.g) * mix);
        steps[i][2] = toStep(a.rgba.b + (b.rgba.b - a.rgba.b) * mix);
        steps[i][3] = toStep(a.rgba.a + (b.rgba.a - a.rgba.a) * mix);
    }
}

void AM_ScanlineGradient::colour(i32 x, i32 y, i32 count, u8* target) const {
    const u8* dither = k_dither.row[y & 7];
    const auto put = [&](const u16* step, i32 i) {
        const u32 add = dither[(x + i) & 7];
        for (i32 c = 0; c < 4; ++c)
            target[i * 4 + c] = static_cast<u8>((step[c] + add) >> 8);
    };
    f64 at = atOrigin + perX * x + perY * y;
    if (perX == 0) { // the same eight pixels again and again
        const u16* step = steps[static_cast<i32>(std::clamp(at + 0.5, 0.0, k_steps - 1.0))];
        for (i32 i = 0; i < std::min(count, 8); ++i)
            put(step, i);
        for (i32 i = 32; i < count * 4; ++i)
            target[i] = target[i - 32];
        return;
    }
    at += 0.5;
    for (i32 i = 0; i < count; ++i)
        put(steps[static_cast<i32>(std::clamp(at + perX * i, 0.0, k_steps - 1.0))], i);
}

void AM_ScanlineGradient::span(i32 x, i32 y, i32 count, const u8* covers) {
    u8 colours[k_block * 4];
    u8* row = pixels.row(y) + x * 4;
    for (i32 done = 0; done < count; done += k_block) {
        const i32 part = std::min(k_block, count - done);
        colour(x + done, y, part, colours);
        AM_blendColours(row + done * 4, part, colours, covers + done);
    }
}
