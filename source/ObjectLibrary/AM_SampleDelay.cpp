#include "AM_SampleDelay.h"

#include "AM_Allocator.h"
#include "AM_Assert.h"
#include "AM_Log.h"

#include <algorithm>

namespace {
// Written once; a tool or a test can tell from them that a write left the ring.
constexpr f32 k_frontGuard = 1337.0f;
constexpr f32 k_backGuard = 1138.0f;
} // namespace

AM_SampleDelay::AM_SampleDelay(i32 inMax) {
    AM_ASSERT(inMax > 0, "inMax > 0");
    const size_t floats = static_cast<size_t>(inMax) + 2;
    f32* block = static_cast<f32*>(AM_ALLOC(floats * sizeof(f32), 16));
    samples = block + 1;
    block[0] = k_frontGuard;
    samples[inMax] = k_backGuard;
    max = inMax;
    mask = len = inMax - 1;
    write = 0;
    readIndex = 0;
    owned = 1;
    std::fill_n(samples, inMax, 0.0f);
}

AM_SampleDelay::~AM_SampleDelay() {
    if (owned) AM_free(samples - 1);
}

f32 AM_SampleDelay::read(f32 input) {
    const f32 result = read();
    push(input);
    return result;
}

f32 AM_SampleDelay::readF(f32 delay) {
    const i32 i = static_cast<i32>(delay);
    len = i;
    const f32 a = samples[(write - i + mask) & mask];
    const f32 b = samples[(write - i - 1 + mask) & mask];
    return (b - a) * (delay - static_cast<f32>(i)) + a;
}

void AM_SampleDelay::push(f32 sample) {
    samples[write & mask] = sample;
    write = (write + 1) & mask;
}

void AM_SampleDelay::clear() {
    std::fill_n(samples, mask + 1, 0.0f);
    readIndex = 0;
    write = std::min(len, mask);
}

void AM_SampleDelay::set(i32 inLen, i32 newMask) {
    AM_ASSERT(inLen >= 0, "inLen >= 0");
    // A mask equal to the size would let the index reach the guard.
    AM_ASSERT(newMask < max, "newmask <= max");
    if (newMask >= 0) {
        bool foundZero = false;
        for (i32 bit = 0; bit < 30; ++bit) {
            const bool isOne = (newMask >> bit) & 1;
            AM_ASSERT(!(foundZero && isOne), "!foundZero");
            foundZero = foundZero || !isOne;
        }
        mask = newMask;
        write &= mask;
    }
    if (inLen <= mask) {
        len = inLen;
        return;
    }
    AM_Log("sampleDelay::set(): inLen (%d) >= mask (%d)", inLen, mask);
    len = mask;
}

fixedDelay::fixedDelay(i32 size) : delay(size) {
    delay.clear();
}

f32 fixedDelay::tick(f32 input, f32 feedback) {
    const f32 y = read();
    write(y * feedback * gain + input);
    return y;
}

void fixedDelay::setAlias(iDelayElement* source) {
    aliasSource = source;
    auto* line = dynamic_cast<fixedDelay*>(source);
    aliasDelay = line ? line->getSampleDelay() : nullptr;
}
