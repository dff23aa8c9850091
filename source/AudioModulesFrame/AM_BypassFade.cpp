#include "AM_BypassFade.h"

namespace {

u32 after(u32 steps, i32 numQuads) {
    const u32 quads = static_cast<u32>(numQuads);
    return steps > quads ? steps - quads : 0;
}

} // namespace

bool AM_BypassFade::toggle(std::atomic<u32>& state, bool on) {
    u32 old = state.load(std::memory_order_relaxed);
    u32 turned;
    do {
        if (isActive(old) == on) return false;
        turned = (k_steps - counter(old)) << 16 | (on ? k_activeBit : 0);
    } while (!state.compare_exchange_weak(old, turned, std::memory_order_acq_rel));
    return true;
}

void AM_BypassFade::advance(std::atomic<u32>& state, u32 seen, i32 numQuads) {
    const u32 reached = after(counter(seen), numQuads);
    u32 old = state.load(std::memory_order_relaxed);
    u32 next;
    do {
        const u32 steps = isActive(old) == isActive(seen) ? reached : k_steps - reached;
        next = (old & ~k_counterMask) | steps << 16;
    } while (!state.compare_exchange_weak(old, next, std::memory_order_acq_rel));
}

void AM_BypassFade::finish(std::atomic<u32>& state) {
    state.fetch_and(~k_counterMask, std::memory_order_acq_rel);
}

void AM_BypassFade::mix(f32* wet, const f32* dry, u32 seen, i32 numQuads) {
    const i32 frames = numQuads * k_quadFrames;
    constexpr f32 whole = static_cast<f32>(k_steps);
    f32 g = static_cast<f32>(counter(seen)) / whole;
    f32 step =
        (static_cast<f32>(after(counter(seen), numQuads)) / whole - g) / static_cast<f32>(frames);
    if (isActive(seen)) {
        g = 1.0f - g;
        step = -step;
    }
    for (i32 i = 0; i < frames; ++i) {
        wet[i] = (wet[i] - dry[i]) * g + dry[i];
        g += step;
    }
}
