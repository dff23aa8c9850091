// The floating-point control word of the calling thread (MXCSR on x86-64).
#pragma once

#include "AM_Types.h"

#include <xmmintrin.h>

// Flush-to-zero and denormals-are-zero.
inline constexpr u32 k_flushDenormals = 0x8040;

// Flushes denormals from its construction on; restores the control word as it was when it goes,
// unless `leave` was called. For the thread that made it.
class AM_FlushDenormals {
public:
    AM_FlushDenormals() noexcept : before(_mm_getcsr()) { _mm_setcsr(before | k_flushDenormals); }
    ~AM_FlushDenormals() {
        if (restores) _mm_setcsr(before);
    }
    AM_FlushDenormals(const AM_FlushDenormals&) = delete;
    AM_FlushDenormals& operator=(const AM_FlushDenormals&) = delete;
    // The bits stay set.
    void leave() noexcept { restores = false; }

private:
    const u32 before;
    bool restores = true;
};
