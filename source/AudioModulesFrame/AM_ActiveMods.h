// Which ModBuffers are in use: two words of the block context, with a count behind each bit.
#pragma once

#include "BlockContext.h"

#include <array>

// ModBuffers are numbered from 1. Numbers below 24 have bit number - 1 of the first word, the
// others bit number - 24 of the second, as far as that word goes.
inline constexpr i32 k_lastTrackedModBuffer = 55;

// True if the ModBuffer is in use; false for numbers without a bit.
inline bool AM_isModBufferActive(const BlockContext& context, i32 buffer) {
    if (buffer < 1 || buffer > k_lastTrackedModBuffer) return false;
    return buffer < 24 ? ((context.activeMods[0] >> (buffer - 1)) & 1) != 0
                       : ((context.activeMods[1] >> (buffer - 24)) & 1) != 0;
}

// Counts the users of each ModBuffer. One thread at a time.
class AM_ActiveMods {
public:
    // Adds or takes away a user; numbers without a bit are ignored.
    void change(i32 buffer, bool on) {
        if (buffer < 1 || buffer > k_lastTrackedModBuffer) return;
        i32& users = counts[static_cast<size_t>(buffer)];
        if (on)
            ++users;
        else if (users > 0)
            --users;
    }
    // Sets both words from the counts.
    void rebuild(BlockContext& context) const {
        u32 words[2] = {0, 0};
        for (i32 buffer = 1; buffer <= k_lastTrackedModBuffer; ++buffer) {
            if (counts[static_cast<size_t>(buffer)] == 0) continue;
            if (buffer < 24)
                words[0] |= 1u << (buffer - 1);
            else
                words[1] |= 1u << (buffer - 24);
        }
        context.activeMods[0] = words[0];
        context.activeMods[1] = words[1];
    }

private:
    std::array<i32, k_lastTrackedModBuffer + 1> counts{};
};
