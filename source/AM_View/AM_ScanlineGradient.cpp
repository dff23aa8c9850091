#include "AM_ScanlineGradient.h"

#include "AM_ScanlineBlend.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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

u64 toStep(f32 channel) {
    return static_cast<u64>(std::lround(std::clamp(channel, 0.f, 1.f) * (255 * 256)));
}

// Adds the threshold to each channel, and packs what is left above it.
u32 dithered(u64 step, u32 threshold) {
    u64 sum = step + threshold * u64(0x0001000100010001);
    sum = sum >> 8 & u64(0x00ff00ff00ff00ff);
    sum = (sum | sum >> 8) & u64(0x0000ffff0000ffff);
    return static_cast<u32>(sum | sum >> 16);
}

i32 countFull(const u8* covers, i32 count) {
    i32 full = 0;
    for (; full + 8 <= count; full += 8) {
        u64 eight;
        std::memcpy(&eight, covers + full, sizeof eight);
        if (eight != ~u64(0)) break;
    }
    while (full < count && covers[full] == 255)
        ++full;
    return full;
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
        std::fill(steps, steps + k_steps, 0);
        opaque = false;
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
        const auto channel = [mix](f32 from, f32 to) { return toStep(from + (to - from) * mix); };
        const u64 alpha = channel(a.rgba.a, b.rgba.a);
        steps[i] = channel(a.rgba.r, b.rgba.r) | channel(a.rgba.g, b.rgba.g) << 16 |
                   channel(a.rgba.b, b.rgba.b) << 32 | alpha << 48;
        opaque &= alpha == 255 * 256;
    }
}

// The same eight pixels again and again.
void AM_ScanlineGradient::repeat(i32 x, i32 y, i32 count, u8* target, f64 at) const {
    const u64 step = steps[static_cast<i32>(std::clamp(at, 0.0, k_steps - 1.0))];
    u32 eight[8];
    for (i32 i = 0; i < 8; ++i)
        eight[i] = dithered(step, k_dither.row[y & 7][(x + i) & 7]);
    i32 done = 0;
    for (; done + 8 <= count; done += 8)
        std::memcpy(target + done * 4, eight, sizeof eight);
    std::memcpy(target + done * 4, eight, static_cast<size_t>(count - done) * 4);
}

void AM_ScanlineGradient::colour(i32 x, i32 y, i32 count, u8* target) const {
    const f64 at = atOrigin + perX * x + perY * y + 0.5;
    if (perX == 0) {
        repeat(x, y, count, target, at);
        return;
    }
    const u8* dither = k_dither.row[y & 7];
    // Fixed point; far outside it is held before, since a span has at most 8192 pixels.
    constexpr f64 unit = 65536;
    constexpr f64 limit = 1e12;
    i64 place = static_cast<i64>(std::clamp(at, -limit, limit) * unit);
    const i64 step = static_cast<i64>(std::clamp(perX * unit, -limit, limit));
    constexpr i64 last = i64(k_steps) * 65536 - 1;
    for (i32 i = 0; i < count; ++i, place += step) {
        const u64 colour = steps[std::clamp<i64>(place, 0, last) >> 16];
        const u32 word = dithered(colour, dither[(x + i) & 7]);
        std::memcpy(target + i * 4, &word, 4);
    }
}

void AM_ScanlineGradient::span(i32 x, i32 y, i32 count, const u8* covers) {
    u8 colours[k_block * 4];
    u8* row = pixels.row(y) + x * 4;
    while (count > 0) {
        // What is covered fully needs no blending if the gradient is opaque.
        i32 part = 0;
        if (opaque) part = countFull(covers, count);
        if (part > 0) {
            colour(x, y, part, row);
        } else {
            const i32 most = std::min(k_block, count);
            while (part < most && !(opaque && covers[part] == 255))
                ++part;
            colour(x, y, part, colours);
            AM_blendColours(row, part, colours, covers);
        }
        x += part;
        row += part * 4;
        covers += part;
        count -= part;
    }
}
