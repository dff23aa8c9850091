#include "AM_GradientNoise.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr f64 k_farthest = 1e9;

u32 hash(u32 x, u32 y, u32 octave) {
    u32 h = x * 0x9e3779b1u ^ y * 0x85ebca77u ^ octave * 0xc2b2ae3du;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    h *= 0x297a2d39u;
    return h ^ h >> 15;
}

// The slope at a corner of the grid: one of sixteen directions.
struct Slope {
    f32 x;
    f32 y;
};

Slope slopeAt(i64 x, i64 y, u32 octave) {
    static constexpr f32 a = 0.92387953f;
    static constexpr f32 b = 0.38268343f;
    static constexpr f32 c = 0.70710678f;
    static constexpr Slope slopes[16] = {{1, 0},  {a, b},  {c, c},  {b, a},   {0, 1},   {-b, a},
                                         {-c, c}, {-a, b}, {-1, 0}, {-a, -b}, {-c, -c}, {-b, -a},
                                         {0, -1}, {b, -a}, {c, -c}, {a, -b}};
    return slopes[hash(static_cast<u32>(x), static_cast<u32>(y), octave) >> 28];
}

f32 smooth(f32 t) {
    return t * t * t * (t * (t * 6 - 15) + 10);
}

// The four corners of a cell.
struct Cell {
    i64 x = INT64_MIN;
    Slope corners[4]{};

    void moveTo(i64 newX, i64 y, u32 octave) {
        if (newX == x) return;
        x = newX;
        for (i32 k = 0; k < 4; ++k)
            corners[k] = slopeAt(x + (k & 1), y + (k >> 1), octave);
    }
    // u and v are the place in the cell, 0 to 1.
    f32 at(f32 u, f32 v) const {
        const f32 a = corners[0].x * u + corners[0].y * v;
        const f32 b = corners[1].x * (u - 1) + corners[1].y * v;
        const f32 c = corners[2].x * u + corners[2].y * (v - 1);
        const f32 d = corners[3].x * (u - 1) + corners[3].y * (v - 1);
        const f32 s = smooth(u);
        const f32 top = a + s * (b - a);
        const f32 bottom = c + s * (d - c);
        return top + smooth(v) * (bottom - top);
    }
};

f64 held(f64 place) {
    return std::clamp(place, -k_farthest, k_farthest);
}

} // namespace

AM_GradientNoise::AM_GradientNoise(i32 count, f64 alpha, f64 beta) {
    const f64 ratio = 1 / std::max(alpha, 1e-3);
    f64 sum = 0;
    for (i32 i = 0; i < std::clamp(count, 1, 16); ++i)
        sum += std::pow(ratio, i);
    for (i32 i = 0; i < std::clamp(count, 1, 16); ++i)
        octaves.push_back({std::pow(beta, i), static_cast<f32>(std::pow(ratio, i) / sum)});
}

void AM_GradientNoise::row(f64 x, f64 step, f64 y, f32* values, i32 count) const {
    // Slopes of length 1 reach the square root of 0.5.
    constexpr f32 scale = 1.41421356f;
    std::fill_n(values, count, 0.0f);
    u32 number = 0;
    for (const Octave& octave : octaves) {
        // Each octave has its own grid, so that their corners, which are all 0, do not meet.
        const f64 shift = 0.37 * number;
        const f64 placeY = held(y * octave.frequency + shift);
        const f64 cellY = std::floor(placeY);
        Cell cell;
        for (i32 i = 0; i < count; ++i) {
            const f64 placeX = held((x + i * step) * octave.frequency + shift);
            const f64 cellX = std::floor(placeX);
            cell.moveTo(static_cast<i64>(cellX), static_cast<i64>(cellY), number);
            values[i] +=
                scale * octave.weight *
                cell.at(static_cast<f32>(placeX - cellX), static_cast<f32>(placeY - cellY));
        }
        ++number;
    }
}
