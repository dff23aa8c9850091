// The text of the kernels. It is compiled once for each set, with that set's instructions, so it
// uses nothing of the library that another translation unit could end up with.
#include "AM_Kernels.h"

#include "AM_SincTable.h"

#include <immintrin.h>

// Iterations of the next loop touch different memory; the compiler cannot know.
#if defined(__clang__)
// A build that does not take the hint, such as a sanitizer's, is slower and no less right.
#pragma clang diagnostic ignored "-Wpass-failed"
#define AM_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define AM_INDEPENDENT _Pragma("GCC ivdep")
#endif

namespace {

// --- network ---------------------------------------------------------------------------------

// What a loop over a block needs of it, where the compiler knows that nothing changes it.
template <i32 N>
struct Lines {
    const f32* out[N];
    f32* in[N];
    f32 gain[N];
    const f32* input;
    f32 feedback;
    explicit Lines(const AM_MatrixBlock& block) : input(block.input), feedback(block.feedback) {
        for (i32 i = 0; i < N; ++i) {
            out[i] = block.out[i];
            in[i] = block.in[i];
            gain[i] = block.gain[i];
        }
    }
};

template <i32 N>
struct Outs {
    const f32* y[N];
    explicit Outs(const f32* const* out) {
        for (i32 i = 0; i < N; ++i)
            y[i] = out[i];
    }
    f32 mean(i32 n) const {
        f32 sum = 0.0f;
        for (i32 i = 0; i < N; ++i)
            sum += y[i][n];
        return sum / static_cast<f32>(N);
    }
};

template <i32 N>
void meanOf(const f32* const* out, f32* target, i32 steps) {
    const Outs<N> outs(out);
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n)
        target[n] = outs.mean(n);
}

template <i32 N>
void collectOf(const f32* const* out, f32 gainLeft, f32 gainRight, f32* left, f32* right,
               i32 steps) {
    const Outs<N> outs(out);
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n) {
        const f32 y = outs.mean(n);
        left[n] += y * gainLeft;
        right[n] += y * gainRight;
    }
}

void mean(const f32* const* out, i32 count, f32* target, i32 steps) {
    if (count == 4)
        meanOf<4>(out, target, steps);
    else if (count == 6)
        meanOf<6>(out, target, steps);
    else
        meanOf<8>(out, target, steps);
}

void collect(const f32* const* out, i32 count, f32 gainLeft, f32 gainRight, f32* left, f32* right,
             i32 steps) {
    if (count == 4)
        collectOf<4>(out, gainLeft, gainRight, left, right, steps);
    else if (count == 6)
        collectOf<6>(out, gainLeft, gainRight, left, right, steps);
    else
        collectOf<8>(out, gainLeft, gainRight, left, right, steps);
}

// m = mean of the outs; in = out * feedback * gain - 2 * feedback * gain * m + input
template <i32 N>
void householder(const AM_MatrixBlock& block, i32 steps) {
    const Lines<N> b(block);
    const f32 c = b.feedback * -2.0f;
    f32 mixed[N];
    for (i32 i = 0; i < N; ++i)
        mixed[i] = b.gain[i] * c;
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n) {
        f32 y[N];
        f32 sum = 0.0f;
        for (i32 i = 0; i < N; ++i) {
            y[i] = b.out[i][n];
            sum += y[i];
        }
        const f32 m = sum / static_cast<f32>(N);
        for (i32 i = 0; i < N; ++i)
            b.in[i][n] = y[i] * b.feedback * b.gain[i] + (mixed[i] * m + b.input[n]);
    }
}

// What a line whose matrix mixes takes in: its own feedback is off, but the zero is multiplied
// through, so that what is not finite stays visible.
inline f32 fed(f32 y, f32 gain, f32 mix, f32 input) {
    return y * 0.0f * gain + (gain * mix + input);
}

// Two outs a row, by 1/sqrt(2).
void gerzon4(const AM_MatrixBlock& block, i32 steps) {
    const Lines<4> b(block);
    const f32 s = static_cast<f32>(static_cast<f64>(b.feedback) / __builtin_sqrt(2.0));
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n) {
        const f32 y0 = b.out[0][n];
        const f32 y1 = b.out[1][n];
        const f32 y2 = b.out[2][n];
        const f32 y3 = b.out[3][n];
        const f32 input = b.input[n];
        b.in[0][n] = fed(y0, b.gain[0], (y2 + y1) * s, input);
        b.in[1][n] = fed(y1, b.gain[1], (-y0 - y3) * s, input);
        b.in[2][n] = fed(y2, b.gain[2], (y0 - y3) * s, input);
        b.in[3][n] = fed(y3, b.gain[3], (y1 - y2) * s, input);
    }
}

// Sums and differences of the outs, by 1/2.
void hadamard4(const AM_MatrixBlock& block, i32 steps) {
    const Lines<4> b(block);
    const f32 s = b.feedback * 0.5f;
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n) {
        const f32 y0 = b.out[0][n];
        const f32 y1 = b.out[1][n];
        const f32 y2 = b.out[2][n];
        const f32 y3 = b.out[3][n];
        const f32 sum = y1 + y0;
        const f32 difference = y0 - y1;
        const f32 input = b.input[n];
        b.in[0][n] = fed(y0, b.gain[0], ((sum + y2) + y3) * s, input);
        b.in[1][n] = fed(y1, b.gain[1], ((difference + y2) - y3) * s, input);
        b.in[2][n] = fed(y2, b.gain[2], ((sum - y2) - y3) * s, input);
        b.in[3][n] = fed(y3, b.gain[3], ((difference - y2) + y3) * s, input);
    }
}

// Sylvester's order; rows four apart share their first four terms. By 0.35.
void hadamard8(const AM_MatrixBlock& block, i32 steps) {
    const Lines<8> b(block);
    const f32 s = static_cast<f32>((static_cast<f64>(b.feedback) * 0.4) * 0.875);
    AM_INDEPENDENT
    for (i32 n = 0; n < steps; ++n) {
        f32 y[8];
        for (i32 i = 0; i < 8; ++i)
            y[i] = b.out[i][n];
        const f32 sum = y[0] + y[1];
        const f32 difference = y[0] - y[1];
        const f32 head0 = (sum + y[2]) + y[3];
        const f32 head1 = (difference + y[2]) - y[3];
        const f32 head2 = (sum - y[2]) - y[3];
        const f32 head3 = (difference - y[2]) + y[3];
        const f32 rows[8] = {
            (((head0 + y[4]) + y[5]) + y[6]) + y[7], (((head1 + y[4]) - y[5]) + y[6]) - y[7],
            (((head2 + y[4]) + y[5]) - y[6]) - y[7], (((head3 + y[4]) - y[5]) - y[6]) + y[7],
            (((head0 - y[4]) - y[5]) - y[6]) - y[7], (((head1 - y[4]) + y[5]) - y[6]) + y[7],
            (((head2 - y[4]) - y[5]) + y[6]) + y[7], (((head3 - y[4]) + y[5]) + y[6]) - y[7]};
        const f32 input = b.input[n];
        for (i32 i = 0; i < 8; ++i)
            b.in[i][n] = fed(y[i], b.gain[i], rows[i] * s, input);
    }
}

// --- resampler ---------------------------------------------------------------------------------

constexpr i32 k_lanes = 4;

// Four lanes of the left channel and four of the right one.
#if defined(__AVX__)
struct Pair {
    __m256 both;
    static Pair load(const f32* left, const f32* right) {
        return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(left)),
                                     _mm_loadu_ps(right), 1)};
    }
    static Pair of(const f32* four) {
        return {_mm256_broadcast_ps(reinterpret_cast<const __m128*>(four))};
    }
    static Pair of(f32 value) { return {_mm256_set1_ps(value)}; }
    void store(f32* left, f32* right) const {
        _mm_storeu_ps(left, _mm256_castps256_ps128(both));
        _mm_storeu_ps(right, _mm256_extractf128_ps(both, 1));
    }
    friend Pair operator+(Pair a, Pair b) { return {_mm256_add_ps(a.both, b.both)}; }
    friend Pair operator*(Pair a, Pair b) { return {_mm256_mul_ps(a.both, b.both)}; }
    // Lane i of row j becomes lane j of row i, in each channel.
    static void turnOver(Pair& a, Pair& b, Pair& c, Pair& d) {
        const __m256 ab01 = _mm256_unpacklo_ps(a.both, b.both);
        const __m256 ab23 = _mm256_unpackhi_ps(a.both, b.both);
        const __m256 cd01 = _mm256_unpacklo_ps(c.both, d.both);
        const __m256 cd23 = _mm256_unpackhi_ps(c.both, d.both);
        a.both = _mm256_shuffle_ps(ab01, cd01, 0x44);
        b.both = _mm256_shuffle_ps(ab01, cd01, 0xee);
        c.both = _mm256_shuffle_ps(ab23, cd23, 0x44);
        d.both = _mm256_shuffle_ps(ab23, cd23, 0xee);
    }
};
#else
struct Pair {
    __m128 left, right;
    static Pair load(const f32* l, const f32* r) { return {_mm_loadu_ps(l), _mm_loadu_ps(r)}; }
    static Pair of(const f32* four) {
        const __m128 value = _mm_load_ps(four);
        return {value, value};
    }
    static Pair of(f32 value) { return {_mm_set1_ps(value), _mm_set1_ps(value)}; }
    void store(f32* l, f32* r) const {
        _mm_storeu_ps(l, left);
        _mm_storeu_ps(r, right);
    }
    friend Pair operator+(Pair a, Pair b) {
        return {_mm_add_ps(a.left, b.left), _mm_add_ps(a.right, b.right)};
    }
    friend Pair operator*(Pair a, Pair b) {
        return {_mm_mul_ps(a.left, b.left), _mm_mul_ps(a.right, b.right)};
    }
    // Lane i of row j becomes lane j of row i, in each channel.
    static void turnOver(Pair& a, Pair& b, Pair& c, Pair& d) {
        _MM_TRANSPOSE4_PS(a.left, b.left, c.left, d.left);
        _MM_TRANSPOSE4_PS(a.right, b.right, c.right, d.right);
    }
};
#endif

// Where one point looks, and how it weighs the phases beside it.
struct PointTaps {
    const f32* left;
    const f32* right;
    const f32* at;     // taps of the phase in front of the point
    const f32* behind; // and of the one behind it
    Pair fraction;     // the part of the latter
    Pair rest;

    PointTaps(const f32* const* samples, const f32* phases, const AM_ResamplerPoint& point) {
        const i32 whole = static_cast<i32>(point.position);
        const i32 row = whole < 0 ? 0 : whole > k_sincPhases ? k_sincPhases : whole;
        const f32 part = point.position - static_cast<f32>(row);
        at = phases + row * k_sincTaps;
        behind = at + k_sincTaps;
        fraction = Pair::of(part);
        rest = Pair::of(1.0f - part);
        // As many samples of the block as there are push the past out of the window.
        left = samples[0] + point.newest;
        right = samples[1] + point.newest;
    }

    // The terms of four taps: x * behind * fraction + x * at * rest.
    Pair terms(i32 tap) const {
        const Pair x = Pair::load(left + tap, right + tap);
        return x * Pair::of(behind + tap) * fraction + x * Pair::of(at + tap) * rest;
    }
};

// The sums of four points side by side. Each adds its terms in the order of the taps, the newest
// first; turned over, the terms of four taps lie so that a lane belongs to a point.
void resample(const f32* const* samples, const f32* phases, const AM_ResamplerPoint* points,
              i32 count, f32* left, f32* right) {
    for (i32 done = 0; done < count; done += k_lanes) {
        const i32 last = count - 1;
        const auto point = [&](i32 i) -> const AM_ResamplerPoint& {
            return points[done + i < last ? done + i : last];
        };
        const PointTaps first(samples, phases, point(0));
        const PointTaps second(samples, phases, point(1));
        const PointTaps third(samples, phases, point(2));
        const PointTaps fourth(samples, phases, point(3));
        Pair sum = Pair::of(0.0f);
        for (i32 tap = k_sincTaps - k_lanes; tap >= 0; tap -= k_lanes) {
            Pair a = first.terms(tap);
            Pair b = second.terms(tap);
            Pair c = third.terms(tap);
            Pair d = fourth.terms(tap);
            Pair::turnOver(a, b, c, d);
            sum = sum + d + c + b + a;
        }
        sum.store(left + done, right + done);
    }
}

} // namespace
