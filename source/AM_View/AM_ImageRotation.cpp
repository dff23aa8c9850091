#include "AM_ImageRotation.h"

#include "AM_PremultipliedRow.h"
#include "AM_ResampleTaps.h"

#include <algorithm>
#include <cmath>
#include <emmintrin.h>

namespace {

constexpr i32 k_maxTaps = 4;

// The pixels around a place in one direction, held at the edges.
struct Taps {
    i32 count;
    i32 at[k_maxTaps];
    f32 weight[k_maxTaps];

    Taps(AM_Resampling choice, f64 place, i32 size) {
        const i32 reach = choice == k_nearestNeighbour || choice == k_bilinear ? 1 : 2;
        count = choice == k_nearestNeighbour ? 1 : 2 * reach;
        const f64 from = count == 1 ? std::floor(place) : std::floor(place - 0.5) - (reach - 1);
        const f32 start = static_cast<f32>(from + 0.5 - place);
        f32 sum = 0;
        for (i32 k = 0; k < count; ++k) {
            const f64 index = std::clamp(from + k, 0.0, size - 1.0);
            at[k] = static_cast<i32>(index);
            weight[k] = count == 1 ? 1 : AM_filterWeight(choice, start + static_cast<f32>(k));
            sum += weight[k];
        }
        for (i32 k = 0; k < count; ++k)
            weight[k] /= sum;
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
                sum, weighed(row + 4 * static_cast<size_t>(x.at[i]), x.weight[i] * y.weight[j]));
    }
    const __m128i scaled = _mm_cvtps_epi32(_mm_mul_ps(sum, _mm_set1_ps(64)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pixel), _mm_packs_epi32(scaled, scaled));
}

f32 sampleAlpha(const AM_PixelView& mask, f64 u, f64 v) {
    const Taps x(k_bilinear, u * mask.width, mask.width);
    const Taps y(k_bilinear, v * mask.height, mask.height);
    f32 sum = 0;
    for (i32 j = 0; j < 2; ++j)
        for (i32 i = 0; i < 2; ++i)
            sum += x.weight[i] * y.weight[j] *
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

void AM_ImageRotation::draw(const Job& job) {
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
                share *= static_cast<f64>(sampleAlpha(job.mask, imageX, imageY));
            cover[static_cast<size_t>(x - first)] = static_cast<u8>(share * 255 + 0.5);
            if (share <= 0) {
                std::fill_n(pixel, 4, i16{0});
                continue;
            }
            const Taps across(job.resampling, imageX * job.image.width, job.image.width);
            const Taps down(job.resampling, imageY * job.image.height, job.image.height);
            sample(job.image, across, down, pixel);
        }
        AM_PremultipliedRow::clamp(row.data(), last - first);
        AM_PremultipliedRow::blend(job.target.row(y) + 4 * static_cast<size_t>(first), row.data(),
                                   last - first, job.alpha, cover.data(), job.mode);
    }
}
