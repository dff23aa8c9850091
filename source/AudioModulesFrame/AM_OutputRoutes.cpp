#include "AM_OutputRoutes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

void AM_OutputRoutes::connect(f32* const* outputs, i32 numChannels) {
    const i32 count = std::clamp(numChannels, 0, k_maxChannels);
    if (count == numConnected && std::equal(outputs, outputs + count, connected)) return;
    numRoutes = numConnected = count;
    std::copy_n(outputs, count, connected);
    std::copy_n(outputs, count, target);
    const auto isThere = [](const f32* pointer) { return pointer != nullptr; };
    if (std::count_if(target, target + numRoutes, isThere) == 1) {
        f32* only = *std::find_if(target, target + numRoutes, isThere);
        std::fill_n(target, numRoutes, only);
    }
    finish();
}

void AM_OutputRoutes::connectMapped(f32* const* outputs, const i32* map, i32 numChannels) {
    numConnected = -1;
    numRoutes = std::clamp(numChannels, 0, k_maxChannels);
    for (i32 c = 0; c < numRoutes; ++c)
        target[c] = map[c] < 0 ? nullptr : outputs[map[c]];
    finish();
}

void AM_OutputRoutes::finish() {
    for (i32 c = 0; c < numRoutes; ++c) {
        adds[c] = std::find(target, target + c, target[c]) != target + c;
        scale[c] = 1.0f / static_cast<f32>(std::count(target, target + numRoutes, target[c]));
    }
}

void AM_OutputRoutes::write(const f32* source, i32 stride, i32 first, i32 count) const {
    for (i32 c = 0; c < numRoutes; ++c) {
        if (!target[c]) continue;
        const f32* from = source + c * stride;
        f32* to = target[c] + first;
        const f32 factor = scale[c];
        if (adds[c])
            for (i32 i = 0; i < count; ++i)
                to[i] += from[i] * factor;
        else if (factor == 1.0f)
            std::copy_n(from, count, to);
        else
            for (i32 i = 0; i < count; ++i)
                to[i] = from[i] * factor;
    }
}

void AM_OutputRoutes::writeSilence(i32 first, i32 count) const {
    for (i32 c = 0; c < numRoutes; ++c)
        if (target[c] && !adds[c]) std::fill_n(target[c] + first, count, 0.0f);
}

void AM_cleanNonFinite(f32* samples, i32 count) {
    for (i32 i = 0; i < count; ++i)
        samples[i] =
            std::fabs(samples[i]) < std::numeric_limits<f32>::infinity() ? samples[i] : 0.0f;
}

void AM_cleanNotNormal(f32* samples, i32 count) {
    constexpr u32 exponentMask = 0x7f800000;
    for (i32 i = 0; i < count; ++i) {
        const u32 exponent = std::bit_cast<u32>(samples[i]) & exponentMask;
        samples[i] = exponent == 0 || exponent == exponentMask ? 0.0f : samples[i];
    }
}
