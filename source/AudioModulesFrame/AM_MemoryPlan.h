// Where everything lies in an instance's single allocation.
#pragma once

#include "AM_CarryBuffer.h"
#include "BlockContext.h"

#include <cstddef>

// Channels of bus memory at most.
inline constexpr i32 k_maxBusChannels = 64;

// Fill in the counts, then layOut() finds the offsets in bytes, each a multiple of 16. The context
// lies at offset 0.
struct AM_MemoryPlan {
    static constexpr size_t k_alignment = 64;

    i32 numChannels = 0;
    i32 numBusChannels = 0;
    i32 numModBuffers = 0;
    i32 modBytes = 0;
    i32 dataBytes = 0;

    size_t modBuffers = 0;   // 16 floats a ModBuffer
    size_t modValues = 0;    // a float a ModBuffer
    size_t carry = 0;        // 192 floats a channel
    size_t audioBuffer = 0;  // 64 floats a bus channel
    size_t bypassBuffer = 0; // 64 floats a channel
    size_t modules = 0;      // modulation data, then data
    size_t totalBytes = 0;

    void layOut() {
        totalBytes = 0;
        take(sizeof(BlockContext));
        modBuffers = takeFloats(numModBuffers * 16);
        modValues = takeFloats(numModBuffers);
        carry = takeFloats(AM_CarryBuffer::memoryFloats(numChannels));
        audioBuffer = takeFloats(numBusChannels * k_subBlockFrames);
        bypassBuffer = takeFloats(numChannels * k_subBlockFrames);
        modules = take(static_cast<size_t>(modBytes) + static_cast<size_t>(dataBytes));
    }

private:
    size_t take(size_t bytes) {
        const size_t offset = totalBytes;
        totalBytes += (bytes + k_alignment - 1) / k_alignment * k_alignment;
        return offset;
    }
    size_t takeFloats(i32 count) { return take(static_cast<size_t>(count) * sizeof(f32)); }
};
