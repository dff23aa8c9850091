// The text of the kernels. It is compiled once for each set, with that set's instructions, so it
// uses nothing of the library that another translation unit could end up with.
#include "AM_Kernels.h"

#include "AM_SincTable.h"

#include <immintrin.h>

namespace {

// --- vectors -----------------------------------------------------------------------------------

// Steps of one line side by side, or frames of two channels. turnOver: frame i of vector j becomes
// frame j of vector i.
#if defined(__AVX__)
struct Vec {
    static constexpr i32 lanes = 8;
    __m256 v;
    static Vec load(const f32* from) { return {_mm256_loadu_ps(from)}; }
    static Vec of(f32 value) { return {_mm256_set1_ps(value)}; }
    static Vec ofAt(const f32* value) { return {_mm256_broadcast_ss(value)}; }
    void store(f32* to) const { _mm256_storeu_ps(to, v); }
    friend Vec operator+(Vec a, Vec b) { return {_mm256_add_ps(a.v, b.v)}; }
    friend Vec operator-(Vec a, Vec b) { return {_mm256_sub_ps(a.v, b.v)}; }
    friend Vec operator*(Vec a, Vec b) { return {_mm256_mul_ps(a.v, b.v)}; }
    friend Vec operator/(Vec a, Vec b) { return {_mm256_div_ps(a.v, b.v)}; }
    friend Vec operator-(Vec a) { return {_mm256_xor_ps(a.v, _mm256_set1_ps(-0.0f))}; }

    static void turnOver(Vec (&t)[4]) {
        const __m256d a = _mm256_castps_pd(t[0].v);
        const __m256d b = _mm256_castps_pd(t[1].v);
        const __m256d c = _mm256_castps_pd(t[2].v);
        const __m256d d = _mm256_castps_pd(t[3].v);
        const __m256d ab02 = _mm256_unpacklo_pd(a, b);
        const __m256d ab13 = _mm256_unpackhi_pd(a, b);
        const __m256d cd02 = _mm256_unpacklo_pd(c, d);
        const __m256d cd13 = _mm256_unpackhi_pd(c, d);
        t[0].v = _mm256_castpd_ps(_mm256_permute2f128_pd(ab02, cd02, 0x20));
        t[1].v = _mm256_castpd_ps(_mm256_permute2f128_pd(ab13, cd13, 0x20));
        t[2].v = _mm256_castpd_ps(_mm256_permute2f128_pd(ab02, cd02, 0x31));
        t[3].v = _mm256_castpd_ps(_mm256_permute2f128_pd(ab13, cd13, 0x31));
    }
    // From left and right in turn, and to it.
    void storeApart(f32* left, f32* right) const {
        const __m128 low = _mm256_castps256_ps128(v);
        const __m128 high = _mm256_extractf128_ps(v, 1);
        _mm_storeu_ps(left, _mm_shuffle_ps(low, high, 0x88));
        _mm_storeu_ps(right, _mm_shuffle_ps(low, high, 0xdd));
    }
    static void storeInTurn(Vec left, Vec right, f32* to) {
        const __m256 low = _mm256_unpacklo_ps(left.v, right.v);
        const __m256 high = _mm256_unpackhi_ps(left.v, right.v);
        _mm256_storeu_ps(to, _mm256_permute2f128_ps(low, high, 0x20));
        _mm256_storeu_ps(to + lanes, _mm256_permute2f128_ps(low, high, 0x31));
    }
};
#else
struct Vec {
    static constexpr i32 lanes = 4;
    __m128 v;
    static Vec load(const f32* from) { return {_mm_loadu_ps(from)}; }
    static Vec of(f32 value) { return {_mm_set1_ps(value)}; }
    static Vec ofAt(const f32* value) { return {_mm_load1_ps(value)}; }
    void store(f32* to) const { _mm_storeu_ps(to, v); }
    friend Vec operator+(Vec a, Vec b) { return {_mm_add_ps(a.v, b.v)}; }
    friend Vec operator-(Vec a, Vec b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend Vec operator*(Vec a, Vec b) { return {_mm_mul_ps(a.v, b.v)}; }
    friend Vec operator/(Vec a, Vec b) { return {_mm_div_ps(a.v, b.v)}; }
    friend Vec operator-(Vec a) { return {_mm_xor_ps(a.v, _mm_set1_ps(-0.0f))}; }

    static void turnOver(Vec (&t)[2]) {
        const __m128 a = t[0].v;
        const __m128 b = t[1].v;
        t[0].v = _mm_movelh_ps(a, b);
        t[1].v = _mm_movehl_ps(b, a);
    }
    void storeApart(f32* left, f32* right) const {
        _mm_storel_pi(reinterpret_cast<__m64*>(left), _mm_shuffle_ps(v, v, 0x88));
        _mm_storel_pi(reinterpret_cast<__m64*>(right), _mm_shuffle_ps(v, v, 0xdd));
    }
    static void storeInTurn(Vec left, Vec right, f32* to) {
        _mm_storeu_ps(to, _mm_unpacklo_ps(left.v, right.v));
        _mm_storeu_ps(to + lanes, _mm_unpackhi_ps(left.v, right.v));
    }
};
#endif

// --- network ---------------------------------------------------------------------------------

// What the elements of one matrix give out.
template <i32 N>
struct Outs {
    const f32* line[N];
    Outs() = default;
    Outs(const AM_NetworkBlock& block, const AM_PlanRead* reads) {
        for (i32 i = 0; i < N; ++i)
            line[i] = block.outs[reads[i]];
    }
    Vec at(i32 i, i32 n) const { return Vec::load(line[i] + n); }
    // (0 + out[0] + out[1] ...) / N
    static Vec mean(const Vec (&y)[N]) {
        Vec sum = Vec::of(0.0f);
        for (i32 i = 0; i < N; ++i)
            sum = sum + y[i];
        // Where it is exact, by the reciprocal.
        return N == 6 ? sum / Vec::of(6.0f) : sum * Vec::of(1.0f / N);
    }
    Vec mean(i32 n) const {
        Vec y[N];
        for (i32 i = 0; i < N; ++i)
            y[i] = at(i, n);
        return mean(y);
    }
};

// One matrix over a block: from what its elements give out to what goes into its lines.
template <i32 N>
struct Matrix {
    Outs<N> out;
    f32* in[N];
    Vec gain[N];
    const f32* input;
    f32 feedback; // 0 while muted
    Matrix(const AM_NetworkBlock& block, const AM_PlanMatrix& matrix)
        : out(block, matrix.reads),
          input(matrix.fromTap ? block.taps[matrix.source] : block.means[matrix.source]),
          feedback(matrix.muted ? 0.0f : block.feedback) {
        for (i32 i = 0; i < N; ++i) {
            in[i] = block.ins[matrix.firstLine + i];
            gain[i] = Vec::ofAt(block.gains + matrix.firstLine + i);
        }
    }
    // What a line takes in whose matrix mixes: its own feedback is off, but the zero is multiplied
    // through, so that what is not finite stays visible.
    void feed(i32 i, i32 n, Vec y, Vec mix, Vec heard) const {
        (y * Vec::of(0.0f) * gain[i] + (gain[i] * mix + heard)).store(in[i] + n);
    }
};

// m = mean of the outs; in = out * feedback * gain - 2 * feedback * gain * m + input
template <i32 N>
struct Householder {
    static constexpr i32 size = N;
    static void run(const Matrix<N>& matrix, i32 steps) {
        const Vec feedback = Vec::of(matrix.feedback);
        const Vec c = Vec::of(matrix.feedback * -2.0f);
        Vec mixed[N];
        for (i32 i = 0; i < N; ++i)
            mixed[i] = matrix.gain[i] * c;
        for (i32 n = 0; n < steps; n += Vec::lanes) {
            Vec y[N];
            for (i32 i = 0; i < N; ++i)
                y[i] = matrix.out.at(i, n);
            const Vec m = Outs<N>::mean(y);
            const Vec input = Vec::load(matrix.input + n);
            for (i32 i = 0; i < N; ++i)
                (y[i] * feedback * matrix.gain[i] + (mixed[i] * m + input)).store(matrix.in[i] + n);
        }
    }
};

// Two outs a row, by 1/sqrt(2).
struct Gerzon4 {
    static constexpr i32 size = 4;
    static void run(const Matrix<4>& matrix, i32 steps) {
        const Vec s =
            Vec::of(static_cast<f32>(static_cast<f64>(matrix.feedback) / __builtin_sqrt(2.0)));
        for (i32 n = 0; n < steps; n += Vec::lanes) {
            const Vec y0 = matrix.out.at(0, n);
            const Vec y1 = matrix.out.at(1, n);
            const Vec y2 = matrix.out.at(2, n);
            const Vec y3 = matrix.out.at(3, n);
            const Vec input = Vec::load(matrix.input + n);
            matrix.feed(0, n, y0, (y2 + y1) * s, input);
            matrix.feed(1, n, y1, (-y0 - y3) * s, input);
            matrix.feed(2, n, y2, (y0 - y3) * s, input);
            matrix.feed(3, n, y3, (y1 - y2) * s, input);
        }
    }
};

// Sums and differences of the outs, by 1/2.
struct Hadamard4 {
    static constexpr i32 size = 4;
    static void run(const Matrix<4>& matrix, i32 steps) {
        const Vec s = Vec::of(matrix.feedback * 0.5f);
        for (i32 n = 0; n < steps; n += Vec::lanes) {
            const Vec y0 = matrix.out.at(0, n);
            const Vec y1 = matrix.out.at(1, n);
            const Vec y2 = matrix.out.at(2, n);
            const Vec y3 = matrix.out.at(3, n);
            const Vec sum = y1 + y0;
            const Vec difference = y0 - y1;
            const Vec input = Vec::load(matrix.input + n);
            matrix.feed(0, n, y0, ((sum + y2) + y3) * s, input);
            matrix.feed(1, n, y1, ((difference + y2) - y3) * s, input);
            matrix.feed(2, n, y2, ((sum - y2) - y3) * s, input);
            matrix.feed(3, n, y3, ((difference - y2) + y3) * s, input);
        }
    }
};

// Sylvester's order; rows four apart share their first four terms. By 0.35.
struct Hadamard8 {
    static constexpr i32 size = 8;
    static void run(const Matrix<8>& matrix, i32 steps) {
        const Vec s = Vec::of(static_cast<f32>((static_cast<f64>(matrix.feedback) * 0.4) * 0.875));
        for (i32 n = 0; n < steps; n += Vec::lanes) {
            Vec y[8];
            for (i32 i = 0; i < 8; ++i)
                y[i] = matrix.out.at(i, n);
            const Vec sum = y[0] + y[1];
            const Vec difference = y[0] - y[1];
            const Vec head0 = (sum + y[2]) + y[3];
            const Vec head1 = (difference + y[2]) - y[3];
            const Vec head2 = (sum - y[2]) - y[3];
            const Vec head3 = (difference - y[2]) + y[3];
            const Vec rows[8] = {
                (((head0 + y[4]) + y[5]) + y[6]) + y[7], (((head1 + y[4]) - y[5]) + y[6]) - y[7],
                (((head2 + y[4]) + y[5]) - y[6]) - y[7], (((head3 + y[4]) - y[5]) - y[6]) + y[7],
                (((head0 - y[4]) - y[5]) - y[6]) - y[7], (((head1 - y[4]) + y[5]) - y[6]) + y[7],
                (((head2 - y[4]) - y[5]) + y[6]) + y[7], (((head3 - y[4]) + y[5]) + y[6]) - y[7]};
            const Vec input = Vec::load(matrix.input + n);
            for (i32 i = 0; i < 8; ++i)
                matrix.feed(i, n, y[i], rows[i] * s, input);
        }
    }
};

// So many outputs add to the sums at once as leave their pointers in registers: each sum waits for
// the one before, and through memory it waits longer.
template <i32 N, i32 M>
void addOutputs(const AM_PlanOutput* outputs, const AM_NetworkBlock& block, f32* left, f32* right,
                i32 steps) {
    Outs<N> outs[M];
    Vec gainLeft[M], gainRight[M];
    for (i32 k = 0; k < M; ++k) {
        outs[k] = Outs<N>(block, outputs[k].reads);
        gainLeft[k] = Vec::ofAt(&outputs[k].left);
        gainRight[k] = Vec::ofAt(&outputs[k].right);
    }
    for (i32 n = 0; n < steps; n += Vec::lanes) {
        Vec sumLeft = Vec::load(left + n);
        Vec sumRight = Vec::load(right + n);
        for (i32 k = 0; k < M; ++k) {
            const Vec y = outs[k].mean(n);
            sumLeft = sumLeft + y * gainLeft[k];
            sumRight = sumRight + y * gainRight[k];
        }
        sumLeft.store(left + n);
        sumRight.store(right + n);
    }
}

// The outputs add their means, each by its two gains, in their order.
template <i32 N>
void collect(const AM_NetworkPlan& plan, const AM_NetworkBlock& block, f32* frames, i32 steps) {
    constexpr i32 k_together = N == 4 ? 2 : 1;
    alignas(32) f32 left[k_subBlockFrames] = {};
    alignas(32) f32 right[k_subBlockFrames] = {};
    i32 i = 0;
    for (; i + k_together <= plan.numOutputs; i += k_together)
        addOutputs<N, k_together>(plan.outputs + i, block, left, right, steps);
    for (; i < plan.numOutputs; ++i)
        addOutputs<N, 1>(plan.outputs + i, block, left, right, steps);
    for (i32 n = 0; n < steps; n += Vec::lanes)
        Vec::storeInTurn(Vec::load(left + n), Vec::load(right + n), frames + 2 * n);
}

// lines -> means of matrices -> matrices -> lines, and lines -> left and right
template <class Family>
void network(const AM_NetworkPlan& plan, const AM_NetworkBlock& shared, f32* frames, i32 steps) {
    const AM_NetworkBlock block = shared; // no store to a line can change a copy
    constexpr i32 k_size = Family::size;
    for (i32 i = 0; i < plan.numMeans; ++i) {
        const Outs<k_size> outs(block, plan.means[i].reads);
        for (i32 n = 0; n < steps; n += Vec::lanes)
            outs.mean(n).store(block.means[i] + n);
    }
    collect<k_size>(plan, block, frames, steps);
    for (i32 i = 0; i < plan.numMatrices; ++i)
        Family::run(Matrix<k_size>(block, plan.matrices[i]), steps);
}

// --- resampler ---------------------------------------------------------------------------------

constexpr i32 k_taps = Vec::lanes / 2; // of both channels in a vector

// As many points as a vector has frames. The terms of as many taps, turned over, lie so that a
// vector belongs to a tap and a lane to a channel of a point.
struct Group {
    const f32* frames[k_taps];
    const f32* at[k_taps]; // taps of the phase in front of each point; the one behind follows
    Vec fraction[k_taps];
    Vec rest[k_taps];
    Vec sum = Vec::of(0.0f);

    Group(const f32* allFrames, const f32* phases, const AM_ResamplerPoints& points, i32 first) {
        for (i32 i = 0; i < k_taps; ++i) {
            // As many frames of the block as there are push the past out of the window.
            frames[i] = allFrames + 2 * points.newest[first + i];
            at[i] = phases + 2 * k_sincTaps * points.row[first + i];
            fraction[i] = Vec::ofAt(points.fraction + first + i);
            rest[i] = Vec::ofAt(points.rest + first + i);
        }
    }
    // Adds x * behind * fraction + x * at * rest, the newest first.
    void add(i32 tap) {
        Vec terms[k_taps];
        for (i32 i = 0; i < k_taps; ++i) {
            Vec x = Vec::load(frames[i] + 2 * tap);
            asm("" : "+x"(x.v)); // read once, since it may lie across cache lines
            const f32* row = at[i] + 2 * tap;
            terms[i] =
                x * Vec::load(row + 2 * k_sincTaps) * fraction[i] + x * Vec::load(row) * rest[i];
        }
        Vec::turnOver(terms);
        for (i32 i = k_taps - 1; i >= 0; --i)
            sum = sum + terms[i];
    }
};

void resample(const f32* frames, const f32* phases, const AM_ResamplerPoints& points, i32 count,
              f32* left, f32* right) {
    for (i32 done = 0; done < count; done += k_taps) {
        Group group(frames, phases, points, done);
        for (i32 tap = k_sincTaps - k_taps; tap >= 0; tap -= k_taps)
            group.add(tap);
        group.sum.storeApart(left + done, right + done);
    }
}

constexpr AM_KernelSet k_kernels = {{network<Householder<4>>, network<Hadamard4>, network<Gerzon4>,
                                     network<Householder<6>>, network<Householder<8>>,
                                     network<Hadamard8>},
                                    resample};

} // namespace
