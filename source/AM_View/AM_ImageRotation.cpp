#include "AM_ImageRotation.h"

#include "AM_PremultipliedRow.h"
#include "AM_ResampleTaps.h"

#include <algorithm>
#include <cmath>
#include <emmintrin.h>

namespace {

i32 floorOf(f64 x) {
    const i32 whole = static_cast<i32>(x);
    return whole - (x < whole ? 1 : 0);
}

// The pixels around a place in one direction, held at the edges.
struct Taps {
    i32 at[AM_ImageRotation::k_maxTaps];
    const f32* weights;
    i32 count;

    Taps(const AM_ImageRotation::Weights& table, f64 place, i32 size) : count(table.count) {
        // The place among the middles of pixels, in steps of the table.
        constexpr i32 phases = AM_ImageRotation::k_phases;
        const i32 steps = floorOf((place - table.shift) * phases + table.rounding);
        weights = table.phase[steps & (phases - 1)];
        const i32 from = (steps >> AM_ImageRotation::k_phaseBits) - table.before;
        for (i32 k = 0; k < count; ++k)
            at[k] = std::clamp(from + k, 0, size - 1);
    }
};

// Red, green and blue times alpha / 255, and alpha.
__m128 weighed(const u8* pixel, f32 weight) {
    const f32 colour = weight * (1.0f / 255.0f) * static_cast<f32>(pixel[3]);
    const __m128 channels = _mm_set_ps(255.0f, pixel[2], pixel[1], pixel[0]);
    return _mm_mul_ps(channels, _mm_set1_ps(colour));
}

void sample(const AM_PixelView& image, const Taps& x, const Taps& y, i16* pixel) {
    __m128 sum = _mm_setzero_ps();
    for (i32 j = 0; j < y.count; ++j) {
        const u8* row = image.row(y.at[j]);
        for (i32 i = 0; i < x.count; ++i)
            sum = _mm_add_ps(
                sum, weighed(row + 4 * static_cast<size_t>(x.at[i]), x.weights[i] * y.weights[j]));
    }
    const __m128i scaled = _mm_cvtps_epi32(_mm_mul_ps(sum, _mm_set1_ps(64)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pixel), _mm_packs_epi32(scaled, scaled));
}

f32 sampleAlpha(const AM_ImageRotation::Weights& bilinear, const AM_PixelView& mask, f64 u, f64 v) {
    const Taps x(bilinear, u * mask.width, mask.width);
    const Taps y(bilinear, v * mask.height, mask.height);
    f32 sum = 0;
    for (i32 j = 0; j < 2; ++j)
        for (i32 i = 0; i < 2; ++i)
            sum += x.weights[i] * y.weights[j] *
                   static_cast<f32>(mask.row(y.at[j])[4 * static_cast<size_t>(x.at[i]) + 3]);
    return sum * (1.0f / 255.0f);
}

// The part of `begin` to `end` where at + slope * x is between low and high.
void narrow(f64 at, f64 slope, f64 low, f64 high, f64& begin, f64& end) {
    if (std::abs(slope) < 1e-9) {
        if (at < low || at > high) end = begin;
        return;
    }
    const f64 a = (low - at) / slope;
    const f64 b = (high - at) / slope;
    begin = std::max(begin, std::min(a, b));
    end = std::min(end, std::max(a, b));
}

} // namespace

f64 AM_pixelShare(f64 x, f64 begin, f64 end) {
    return std::max(0.0, std::min(x + 1, end) - std::max(x, begin));
}

void AM_ImageRotation::Weights::make(AM_Resampling choice) {
    if (choice == made) return;
    made = choice;
    const bool nearest = choice == k_nearestNeighbour;
    const i32 reach = static_cast<i32>(AM_filterReach(choice) + 0.5f);
    count = nearest ? 1 : 2 * reach;
    before = nearest ? 0 : reach - 1;
    shift = nearest ? 0 : 0.5;
    rounding = nearest ? 0 : 0.5;
    for (i32 p = 0; p < k_phases; ++p) {
        f32 sum = 0;
        for (i32 k = 0; k < count; ++k) {
            const f32 offset = static_cast<f32>(k - before) - static_cast<f32>(p) / k_phases;
            phase[p][k] = nearest ? 1 : AM_filterWeight(choice, offset);
            sum += phase[p][k];
        }
        for (i32 k = 0; k < count; ++k)
            phase[p][k] /= sum;
    }
}

void AM_ImageRotation::draw(const Job& job) {
    weights.make(job.resampling);
    maskWeights.make(k_bilinear);
    const f64 radians = job.angle * 0.017453292519943295;
    const f64 cosine = std::cos(radians);
    const f64 sine = std::sin(radians);
    const size_t room = static_cast<size_t>(job.clip.right - job.clip.left);
    row.resize(std::max(row.size(), 4 * room));
    cover.resize(std::max(cover.size(), room));
    for (i32 y = job.clip.top; y < job.clip.bottom; ++y) {
        // From the middle of pixel x of this row, u + x * cosine and v - x * sine lead into the
        // image as it lay.
        const f64 dx = 0.5 - (job.left + job.width / 2);
        const f64 dy = y + 0.5 - (job.top + job.height / 2);
        const f64 u = dx * cosine + dy * sine + job.width / 2;
        const f64 v = -dx * sine + dy * cosine + job.height / 2;
        f64 begin = job.clip.left;
        f64 end = job.clip.right;
        narrow(u, cosine, -0.5, job.width + 0.5, begin, end);
        narrow(v, -sine, -0.5, job.height + 0.5, begin, end);
        if (!(begin < end)) continue;
        const i32 first = static_cast<i32>(std::floor(begin));
        const i32 last = std::min(static_cast<i32>(std::ceil(end)) + 1, job.clip.right);
        for (i32 x = first; x < last; ++x) {
            const f64 localX = u + x * cosine;
            const f64 localY = v - x * sine;
            f64 share = AM_pixelShare(localX - 0.5, 0, job.width) *
                        AM_pixelShare(localY - 0.5, 0, job.height);
            i16* pixel = row.data() + 4 * static_cast<size_t>(x - first);
            const f64 imageX = localX / job.width;
            const f64 imageY = localY / job.height;
            if (share > 0 && !job.mask.isEmpty())
                share *= static_cast<f64>(sampleAlpha(maskWeights, job.mask, imageX, imageY));
            cover[static_cast<size_t>(x - first)] = static_cast<u8>(share * 255 + 0.5);
            if (share <= 0) {
                std::fill_n(pixel, 4, i16{0});
                continue;
            }
            const Taps across(weights, imageX * job.image.width, job.image.width);
            const Taps down(weights, imageY * job.image.height, job.image.height);
            sample(job.image, across, down, pixel);
        }
        AM_PremultipliedRow::clamp(row.data(), last - first);
        AM_PremultipliedRow::blend(job.target.row(y) + 4 * static_cast<size_t>(first), row.data(),
                                   last - first, job.alpha, cover.data(), job.mode);
    }
}
