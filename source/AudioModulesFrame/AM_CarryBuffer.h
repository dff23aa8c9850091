// The base latency of 16 frames: makes a grid of sub-blocks, multiples of 16 frames each, from host
// blocks of any size.
#pragma once

#include "AM_OutputRoutes.h"

#include <algorithm>

// Holds up to 16 input frames that wait for a sub-block and up to 16 output frames that wait for
// the host; together they are always 16, so the output is the input 16 frames later. Per host
// block, on the audio thread:
//
//     carry.beginBlock(frames);
//     while ((c = carry.nextSubBlock()) > 0) {
//         carry.readInput(inputs, sideChains, bus);
//         ... run the sub-block on `bus` ...
//         carry.writeOutput(bus, routes);
//     }
//     carry.endBlock(inputs, sideChains, routes);
//
// The host may give the same memory for inputs and outputs, channel by channel or swapped: whatever
// an output write could destroy has been read before.
class AM_CarryBuffer {
public:
    static constexpr i32 k_latency = 16;

    // Floats of memory for `numChannels` channels: outputs, inputs and side chains of 64 each.
    static constexpr i32 memoryFloats(i32 numChannels) { return numChannels * 3 * k_regionFloats; }

    // Works in `memory` from now on, which outlives it, for 1 to 16 channels; clears it.
    void attach(f32* memory, i32 numChannels);
    // Silence: no pending output, 16 pending input frames.
    void clear();

    // Starts a host block of `frames` frames; 0 is fine.
    void beginBlock(i32 frames);
    // The frames of the next sub-block, 16 to 64 and a multiple of 16; 0 if the block needs no
    // more.
    i32 nextSubBlock();
    // Fills the sub-block in `bus` (channel c at c * 64; side chains behind the inputs), null
    // channels with zeros, and keeps the input frames that the coming output would overwrite.
    // `sideChains` is null if none is connected: then their channels are left alone.
    void readInput(const f32* const* inputs, const f32* const* sideChains, f32* bus);
    // How many frames of the sub-block go straight to the host; the others wait in the carry.
    i32 directFrames() const;
    // Sends waiting frames and the sub-block to the host and keeps what does not fit. The gain is
    // applied already.
    void writeOutput(const f32* bus, const AM_OutputRoutes& routes);
    // --- for blocks without a signal: in place of the three above ------------------------
    // True if all that waits is digital silence.
    bool isSilent() const;
    // Counts the input of the sub-block, which is silent, as read.
    void skipInput();
    // Counts the sub-block, which is silent, as sent. Nothing that waits changes.
    void skipOutput();
    // Zeros to the host for all that counts as sent.
    void writeSilence(const AM_OutputRoutes& routes) const { routes.writeSilence(0, outputDone); }
    // Keeps the input frames that were not used and fills what the host has still room for.
    void endBlock(const f32* const* inputs, const f32* const* sideChains,
                  const AM_OutputRoutes& routes);

    i32 getPendingInput() const { return pendingInput; }
    i32 getPendingOutput() const { return pendingOutput; }

private:
    static constexpr i32 k_regionFloats = 64;

    f32* outputCarry(i32 channel) const { return memory + channel * k_regionFloats; }
    f32* inputCarry(i32 channel) const { return outputCarry(numChannels + channel); }
    f32* sideCarry(i32 channel) const { return outputCarry(2 * numChannels + channel); }
    void fillChannel(f32* target, const f32* carried, const f32* source) const;
    void appendInput(const f32* const* inputs, const f32* const* sideChains, i32 count);
    void sendCarried(const AM_OutputRoutes& routes, i32 count);

    f32* memory = nullptr;
    i32 numChannels = 0;
    i32 pendingInput = k_latency;
    i32 pendingOutput = 0;
    bool sideUsed = false; // else the side chains' carry is all zeros

    // Of the block under way, in frames.
    i32 blockFrames = 0;
    i32 remaining = 0; // still to be computed; below 0: computed beyond the block's end
    i32 subBlock = 0;
    i32 inputDone = 0;
    i32 outputDone = 0;
};

inline i32 AM_CarryBuffer::nextSubBlock() {
    if (remaining < 1) return 0;
    const i32 rounded = (remaining + k_quadFrames - 1) / k_quadFrames * k_quadFrames;
    subBlock = std::min(rounded, k_subBlockFrames);
    remaining -= subBlock;
    return subBlock;
}

inline i32 AM_CarryBuffer::directFrames() const {
    const i32 waiting = outputDone == 0 ? pendingOutput : 0;
    return std::min(subBlock, blockFrames - outputDone - waiting);
}

inline void AM_CarryBuffer::skipInput() {
    inputDone += subBlock - pendingInput;
    pendingInput = std::min(k_latency, blockFrames - inputDone);
    inputDone += pendingInput;
}

inline void AM_CarryBuffer::skipOutput() {
    const i32 direct = directFrames();
    outputDone += direct + (outputDone == 0 ? pendingOutput : 0);
    pendingOutput = subBlock - direct;
}
