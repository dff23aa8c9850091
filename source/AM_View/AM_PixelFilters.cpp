#include "AM_PixelFilters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <emmintrin.h>
#include <vector>

namespace {

// What is no number is `neutral`.
f32 held(f32 value, f32 low, f32 high, f32 neutral) {
    return std::isnan(value) ? neutral : std::clamp(value, low, high);
}

__m128 load(const u8* pixel) {
    const f32 weight = static_cast<f32>(pixel[3]) * (1.0f / 255.0f);
    const __m128 colour = _mm_set_ps(255.0f, pixel[2], pixel[1], pixel[0]);
    return _mm_mul_ps(colour, _mm_set1_ps(weight));
}

void store(u8* pixel, __m128 sum) {
    alignas(16) f32 lanes[4];
    _mm_store_ps(lanes, sum);
    const f32 alpha = std::min(lanes[3], 255.0f);
    const i32 rounded = static_cast<i32>(alpha + 0.5f);
    if (rounded <= 0) {
        pixel[0] = pixel[1] = pixel[2] = pixel[3] = 0;
        return;
    }
    const f32 scale = 255.0f / lanes[3];
    for (i32 c = 0; c < 3; ++c)
        pixel[c] = static_cast<u8>(std::min(lanes[c] * scale + 0.5f, 255.0f));
    pixel[3] = static_cast<u8>(rounded);
}

struct Quad {
    __m128 v; // red, green and blue times alpha / 255; alpha
};
using Pixels = std::vector<Quad>;

// The columns are filtered in strips of this width, so that the work buffer stays small.
constexpr i32 k_stripWidth = 64;

// `filter` gets lines of `length` places of `lanes` pixels each: a row of single pixels, or columns
// side by side.
template <class Filter>
void eachRow(const AM_PixelView& target, Filter filter) {
    Pixels line(static_cast<size_t>(target.width));
    for (i32 y = 0; y < target.height; ++y) {
        u8* row = target.row(y);
        for (i32 x = 0; x < target.width; ++x)
            line[static_cast<size_t>(x)].v = load(row + 4 * x);
        filter(line.data(), target.width, 1);
        for (i32 x = 0; x < target.width; ++x)
            store(row + 4 * x, line[static_cast<size_t>(x)].v);
    }
}
template <class Filter>
void eachColumn(const AM_PixelView& target, Filter filter) {
    Pixels strip(static_cast<size_t>(std::min(target.width, k_stripWidth)) *
                 static_cast<size_t>(target.height));
    for (i32 left = 0; left < target.width; left += k_stripWidth) {
        const i32 width = std::min(k_stripWidth, target.width - left);
        Quad* at = strip.data();
        for (i32 y = 0; y < target.height; ++y)
            for (i32 x = 0; x < width; ++x)
                (at++)->v = load(target.row(y) + 4 * (left + x));
        filter(strip.data(), target.height, width);
        at = strip.data();
        for (i32 y = 0; y < target.height; ++y)
            for (i32 x = 0; x < width; ++x)
                store(target.row(y) + 4 * (left + x), (at++)->v);
    }
}

__m128 towards(__m128 state, __m128 input, __m128 share) {
    return _mm_add_ps(state, _mm_mul_ps(_mm_sub_ps(input, state), share));
}

// There and back.
void recursive(Quad* pixels, i32 length, i32 lanes, f32 strength) {
    const __m128 share = _mm_set1_ps(1 - strength);
    const i64 count = static_cast<i64>(length) * lanes;
    for (i64 i = lanes; i < count; ++i)
        pixels[i].v = towards(pixels[i - lanes].v, pixels[i].v, share);
    for (i64 i = count - lanes - 1; i >= 0; --i)
        pixels[i].v = towards(pixels[i + lanes].v, pixels[i].v, share);
}

// A running mean over 2 * radius + 1 pixels. Sums of multiples of 1/64 are exact, so they do not
// drift.
void box(const Quad* from, Quad* to, i32 length, i32 lanes, f32 radius) {
    const i32 whole = static_cast<i32>(radius);
    const __m128 fraction = _mm_set1_ps(radius - static_cast<f32>(whole));
    const __m128 scale = _mm_set1_ps(1 / (2 * radius + 1));
    const auto line = [=](i64 i) { return from + std::clamp<i64>(i, 0, length - 1) * lanes; };
    Quad sums[k_stripWidth];
    for (i32 lane = 0; lane < lanes; ++lane) {
        sums[lane] = from[lane];
        for (i32 i = 1; i <= whole; ++i)
            sums[lane].v = _mm_add_ps(sums[lane].v, _mm_add_ps(line(-i)[lane].v, line(i)[lane].v));
    }
    for (i64 i = 0; i < length; ++i, to += lanes) {
        const Quad* before = line(i - whole - 1);
        const Quad* first = line(i - whole);
        const Quad* next = line(i + whole + 1);
        for (i32 lane = 0; lane < lanes; ++lane) {
            const __m128 ends = _mm_add_ps(before[lane].v, next[lane].v);
            const __m128 sum = sums[lane].v;
            to[lane].v = _mm_mul_ps(_mm_add_ps(sum, _mm_mul_ps(ends, fraction)), scale);
            sums[lane].v = _mm_add_ps(sum, _mm_sub_ps(next[lane].v, first[lane].v));
        }
    }
}

void quantise(Quad* pixels, i64 count) {
    for (i64 i = 0; i < count; ++i) {
        const __m128i steps = _mm_cvtps_epi32(_mm_mul_ps(pixels[i].v, _mm_set1_ps(64)));
        pixels[i].v = _mm_mul_ps(_mm_cvtepi32_ps(steps), _mm_set1_ps(1.0f / 64));
    }
}

using Curve = std::array<u8, 256>;

template <class F>
Curve makeCurve(F f) {
    Curve curve;
    for (i32 i = 0; i < 256; ++i) {
        const f64 value = f(i / 255.0) * 255.0 + 0.5;
        curve[static_cast<size_t>(i)] = static_cast<u8>(std::clamp(value, 0.0, 255.0));
    }
    return curve;
}

void applyCurve(const AM_PixelView& target, const Curve& curve) {
    for (i32 y = 0; y < target.height; ++y) {
        u8* pixel = target.row(y);
        for (i32 x = 0; x < target.width; ++x, pixel += 4)
            for (i32 c = 0; c < 3; ++c)
                pixel[c] = curve[pixel[c]];
    }
}

struct HsvShift {
    f32 sectors; // of the hue circle's six
    f32 saturation;
    f32 value;

    void apply(u8* pixel) const {
        const f32 r = pixel[0];
        const f32 g = pixel[1];
        const f32 b = pixel[2];
        const f32 high = std::max({r, g, b});
        const f32 chroma = high - std::min({r, g, b});
        const f32 newHigh = std::min(high * value, 255.0f);
        if (chroma == 0) {
            const u8 grey = static_cast<u8>(newHigh + 0.5f);
            pixel[0] = pixel[1] = pixel[2] = grey;
            return;
        }
        f32 hue = high == r   ? (g - b) / chroma
                  : high == g ? (b - r) / chroma + 2
                              : (r - g) / chroma + 4;
        hue += sectors;
        const f32 newChroma = newHigh * std::min(chroma / high * saturation, 1.0f);
        // Each channel falls from the value by the distance of the hue from its own sectors.
        static constexpr f32 starts[3] = {5, 3, 1};
        for (i32 c = 0; c < 3; ++c) {
            f32 k = starts[c] + hue;
            k -= 6 * std::floor(k * (1.0f / 6));
            const f32 fall = std::clamp(std::min(k, 4 - k), 0.0f, 1.0f);
            pixel[c] = static_cast<u8>(newHigh - newChroma * fall + 0.5f);
        }
    }
};

// Two rounds of xorshift on a spread-out index. Shifts alone are linear, and would show as stripes
// in buffers of some widths; the products are what breaks them up.
u32 hash(u32 index) {
    u32 x = (index + 1) * 0x9e3779b1u;
    for (i32 round = 0; round < 2; ++round) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        x *= 0x9e3779b1u;
    }
    return x;
}

} // namespace

namespace AM_PixelOps {

void blurX(const AM_PixelView& target, f32 strength) {
    const f32 s = held(strength, 0, 0.999f, 0);
    if (target.isEmpty() || s == 0) return;
    eachRow(target, [s](Quad* pixels, i32 n, i32 lanes) { recursive(pixels, n, lanes, s); });
}

void blurY(const AM_PixelView& target, f32 strength) {
    const f32 s = held(strength, 0, 0.999f, 0);
    if (target.isEmpty() || s == 0) return;
    eachColumn(target, [s](Quad* pixels, i32 n, i32 lanes) { recursive(pixels, n, lanes, s); });
}

void gaussBlur(const AM_PixelView& target, f32 radius) {
    const f32 r = held(radius, 1, 256, 1) - 1;
    if (target.isEmpty() || r == 0) return;
    Pixels other;
    const auto threeBoxes = [&](Quad* pixels, i32 length, i32 lanes) {
        const i64 count = static_cast<i64>(length) * lanes;
        other.resize(std::max(other.size(), static_cast<size_t>(count)));
        quantise(pixels, count);
        box(pixels, other.data(), length, lanes, r);
        quantise(other.data(), count);
        box(other.data(), pixels, length, lanes, r);
        quantise(pixels, count);
        box(pixels, other.data(), length, lanes, r);
        std::copy_n(other.data(), count, pixels);
    };
    eachRow(target, threeBoxes);
    eachColumn(target, threeBoxes);
}

void noise(const AM_PixelView& target, f32 amount) {
    const i32 range = static_cast<i32>(held(amount, 0, 1, 0) * 256 + 0.5f);
    if (target.isEmpty() || range == 0) return;
    for (i32 y = 0; y < target.height; ++y) {
        u8* pixel = target.row(y);
        const u32 first = static_cast<u32>(y) * static_cast<u32>(target.width);
        for (i32 x = 0; x < target.width; ++x, pixel += 4) {
            const i32 grain = static_cast<i32>(hash(first + static_cast<u32>(x)) >> 24) - 128;
            const i32 shift = (grain * range + 128) >> 8;
            for (i32 c = 0; c < 3; ++c)
                pixel[c] = static_cast<u8>(std::clamp(pixel[c] + shift, 0, 255));
        }
    }
}

void brightnessContrast(const AM_PixelView& target, f32 brightness, f32 contrast) {
    const f64 added = held(brightness, -1, 1, 0);
    const f64 c = held(contrast, -1, 1, 0);
    if (target.isEmpty() || (added == 0 && c == 0)) return;
    const f64 slope = c >= 1 ? 1e6 : std::tan((c + 1) * 0.78539816339744831);
    applyCurve(target, makeCurve([=](f64 x) { return (x - 0.5) * slope + 0.5 + added; }));
}

void gammaCorrect(const AM_PixelView& target, f32 gamma) {
    const f64 g = held(gamma, 0, 16, 1);
    if (target.isEmpty() || g == 1) return;
    applyCurve(target, makeCurve([=](f64 x) { return std::pow(x, 1 / std::max(g, 1e-3)); }));
}

void saturate(const AM_PixelView& target, f32 hue, f32 saturation, f32 value) {
    const HsvShift shift{held(hue, -1, 1, 0) * 3, 1 + held(saturation, -1, 1, 0),
                         1 + held(value, -1, 1, 0)};
    if (target.isEmpty() || (shift.sectors == 0 && shift.saturation == 1 && shift.value == 1))
        return;
    for (i32 y = 0; y < target.height; ++y) {
        u8* row = target.row(y);
        for (i32 x = 0; x < target.width; ++x)
            shift.apply(row + 4 * x);
    }
}

} // namespace AM_PixelOps
