// The crossfade of a module in and out of bypass.
#pragma once

#include "BlockContext.h"

// Works on CircuitModule::state: bit 0 says whether the module is active, bits 16 to 27 count a
// fade down from 511, one a quad, so a whole fade lasts 511 * 16 = 8176 frames.
struct AM_BypassFade {
    static constexpr u32 k_steps = 511;
    static constexpr u32 k_activeBit = 1;
    static constexpr u32 k_counterMask = 0x0fff0000;

    static bool isActive(u32 state) { return (state & k_activeBit) != 0; }
    static u32 counter(u32 state) {
        const u32 steps = (state & k_counterMask) >> 16;
        return steps < k_steps ? steps : k_steps;
    }

    // Starts a fade to `on`, or turns a running one around where it stands. Returns whether this
    // changed anything. Any thread.
    static bool toggle(std::atomic<u32>& state, bool on);
    // Brings the fade that stood at `seen` forward by `numQuads`; a toggle that came in between is
    // kept and starts from where the fade now stands. Audio thread.
    static void advance(std::atomic<u32>& state, u32 seen, i32 numQuads);
    // Ends a fade at once.
    static void finish(std::atomic<u32>& state);
    // Crossfades `numQuads` * 16 frames of one channel from `dry` to what is in `wet`, into `wet`,
    // as the fade stands at `seen`.
    static void mix(f32* wet, const f32* dry, u32 seen, i32 numQuads);
};
