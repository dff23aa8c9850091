#include "AM_BlockNetwork.h"

#include "AM_DelayModel.h"

#include <algorithm>
#include <bit>

#include <emmintrin.h>

namespace {

__m128i load(const i32* four) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(four));
}

// Two of four indices, each 0 or more.
__m128i low(__m128i indices) {
    return _mm_unpacklo_epi32(indices, _mm_setzero_si128());
}
__m128i high(__m128i indices) {
    return _mm_unpackhi_epi32(indices, _mm_setzero_si128());
}
// Two pointers, each moved on by as many samples as its index says.
__m128i advance(f32* const* pointers, __m128i indices) {
    return _mm_add_epi64(_mm_load_si128(reinterpret_cast<const __m128i*>(pointers)),
                         _mm_slli_epi64(indices, 2));
}
template <class T>
void store(T** two, __m128i pointers) {
    _mm_store_si128(reinterpret_cast<__m128i*>(two), pointers);
}

} // namespace

void AM_BlockNetwork::setLines(fixedDelay* const* lines, i32 count) {
    for (i32 k = 0; k < count; ++k)
        rings[k] = lines[k]->getSampleDelay();
}

void AM_BlockNetwork::setPlan(const AM_NetworkPlan& newPlan) {
    release();
    plan = newPlan;
}

void AM_BlockNetwork::takeGains(fixedDelay* const* lines, i32 count) {
    for (i32 k = 0; k < count; ++k)
        gains[k] = lines[k]->getGain();
}

void AM_BlockNetwork::hold() {
    if (held) return;
    held = true;
    mask = rings[0]->mask;
    for (i32 k = 0; k < plan.numLines; ++k) {
        samples[k] = rings[k]->samples;
        writes[k] = rings[k]->write;
        spans[k] = rings[k]->len + 1;
    }
}

void AM_BlockNetwork::release() {
    if (!held) return;
    held = false;
    for (i32 k = 0; k < plan.numLines; ++k)
        rings[k]->write = writes[k];
}

void AM_BlockNetwork::run(const f32* const* taps, f32* frames, i32 steps, f32 feedback) {
    hold();
    for (i32 done = 0; done < steps;) {
        const i32 count = std::min(plan.blockSteps, steps - done);
        const f32* const rest[4] = {taps[0] + done, taps[1] + done, taps[2] + done, taps[3] + done};
        runBlock(rest, frames + 2 * done, count, feedback);
        done += count;
    }
}

void AM_BlockNetwork::runBlock(const f32* const* taps, f32* frames, i32 count, f32 feedback) {
    // Full vectors to the end: what is computed beyond the block is computed again by the next one.
    const i32 steps = (count + k_vectorSteps - 1) / k_vectorSteps * k_vectorSteps;
    open(steps);
    kernels.network[plan.family](plan, {outs, ins, gains, taps, means, feedback}, frames, steps);
    close(count);
}

// Finds what each line gives out and where its input goes. What runs over the end of its ring is
// copied, and so is all of a line about as long as its ring, where the writing, with what it fills
// up, would reach samples that are still to be heard.
// Four lines at a time, since with short blocks this is a good part of the whole.
void AM_BlockNetwork::open(i32 steps) {
    const i32 size = mask + 1;
    const __m128i ring = _mm_set1_epi32(mask);
    const __m128i lastFrom = _mm_set1_epi32(size - steps - 1); // one sample more than the block has
    const __m128i lastWrite = _mm_set1_epi32(size - steps);
    const __m128i longest = _mm_set1_epi32(size - steps);
    numApart = 0;
    for (i32 k = 0; k < plan.numLines; k += 4) {
        const __m128i write = load(writes + k);
        const __m128i span = load(spans + k);
        const __m128i from = _mm_and_si128(_mm_sub_epi32(write, span), ring);
        _mm_store_si128(reinterpret_cast<__m128i*>(froms + k), from);
        const __m128i over = _mm_or_si128(
            _mm_or_si128(_mm_cmpgt_epi32(from, lastFrom), _mm_cmpgt_epi32(write, lastWrite)),
            _mm_cmpgt_epi32(span, longest));
        for (i32 lanes = _mm_movemask_ps(_mm_castsi128_ps(over)); lanes != 0; lanes &= lanes - 1)
            apart[numApart++] = static_cast<u8>(k + std::countr_zero(static_cast<u32>(lanes)));
        for (i32 half = 0; half < 4; half += 2) {
            const __m128i sources = advance(samples + k + half, half == 0 ? low(from) : high(from));
            const __m128i next = _mm_set_epi64x(sizeof(f32), 0);
            store(outs + 2 * (k + half), _mm_add_epi64(_mm_unpacklo_epi64(sources, sources), next));
            store(outs + 2 * (k + half) + 2,
                  _mm_add_epi64(_mm_unpackhi_epi64(sources, sources), next));
            store(ins + k + half,
                  advance(samples + k + half, half == 0 ? low(write) : high(write)));
        }
    }
    for (i32 i = 0; i < numApart; ++i) {
        copyOuts(apart[i], steps + 1);
        ins[apart[i]] = inCopies[apart[i]];
    }
}

void AM_BlockNetwork::copyOuts(i32 line, i32 count) {
    const i32 first = std::min(count, mask + 1 - froms[line]);
    std::copy_n(samples[line] + froms[line], first, outCopies[line]);
    std::copy_n(samples[line], count - first, outCopies[line] + first);
    outs[2 * line] = outCopies[line];
    outs[2 * line + 1] = outCopies[line] + 1;
}

void AM_BlockNetwork::close(i32 steps) {
    for (i32 i = 0; i < numApart; ++i) {
        const i32 k = apart[i];
        const i32 first = std::min(steps, mask + 1 - writes[k]);
        std::copy_n(inCopies[k], first, samples[k] + writes[k]);
        std::copy_n(inCopies[k] + first, steps - first, samples[k]);
    }
    for (i32 k = 0; k < k_lines; ++k)
        writes[k] = (writes[k] + steps) & mask;
}
