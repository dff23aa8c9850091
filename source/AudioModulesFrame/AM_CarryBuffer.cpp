#include "AM_CarryBuffer.h"

#include "AM_Assert.h"
#include "AM_Silence.h"
#include "BlockContext.h"

#include <algorithm>

namespace {

void copyOrZero(f32* target, const f32* source, i32 first, i32 count) {
    if (source)
        std::copy_n(source + first, count, target);
    else
        std::fill_n(target, count, 0.0f);
}

} // namespace

void AM_CarryBuffer::attach(f32* newMemory, i32 channels) {
    AM_ASSERT(newMemory && channels > 0 && channels <= k_maxChannels, "carry needs memory");
    memory = newMemory;
    numChannels = channels;
    clear();
}

void AM_CarryBuffer::clear() {
    if (memory) std::fill_n(memory, memoryFloats(numChannels), 0.0f);
    sideUsed = false;
    pendingOutput = 0;
    pendingInput = k_latency;
    blockFrames = remaining = subBlock = inputDone = outputDone = 0;
}

void AM_CarryBuffer::beginBlock(i32 frames) {
    blockFrames = std::max(frames, 0);
    remaining = blockFrames - pendingOutput;
    pendingInput = k_latency - pendingOutput;
    subBlock = inputDone = outputDone = 0;
}

void AM_CarryBuffer::fillChannel(f32* target, const f32* carried, const f32* source) const {
    std::copy_n(carried, pendingInput, target);
    copyOrZero(target + pendingInput, source, inputDone, subBlock - pendingInput);
}

void AM_CarryBuffer::readInput(const f32* const* inputs, const f32* const* sideChains, f32* bus) {
    for (i32 c = 0; c < numChannels; ++c) {
        fillChannel(bus + c * k_subBlockFrames, inputCarry(c), inputs[c]);
        if (sideChains)
            fillChannel(bus + (numChannels + c) * k_subBlockFrames, sideCarry(c), sideChains[c]);
    }
    inputDone += subBlock - pendingInput;
    pendingInput = 0;
    // The output runs 16 frames in front of the input read so far.
    appendInput(inputs, sideChains, std::min(k_latency, blockFrames - inputDone));
}

void AM_CarryBuffer::appendInput(const f32* const* inputs, const f32* const* sideChains,
                                 i32 count) {
    if (count < 1) return;
    for (i32 c = 0; c < numChannels; ++c)
        copyOrZero(inputCarry(c) + pendingInput, inputs[c], inputDone, count);
    sideUsed |= sideChains != nullptr;
    for (i32 c = 0; c < numChannels && sideUsed; ++c)
        copyOrZero(sideCarry(c) + pendingInput, sideChains ? sideChains[c] : nullptr, inputDone,
                   count);
    inputDone += count;
    pendingInput += count;
}

void AM_CarryBuffer::writeOutput(const f32* bus, const AM_OutputRoutes& routes) {
    const i32 direct = directFrames();
    if (outputDone == 0) sendCarried(routes, pendingOutput);
    routes.write(bus, k_subBlockFrames, outputDone, direct);
    outputDone += direct;
    pendingOutput = subBlock - direct;
    for (i32 c = 0; c < numChannels; ++c)
        std::copy_n(bus + c * k_subBlockFrames + direct, pendingOutput, outputCarry(c));
}

bool AM_CarryBuffer::isSilent() const {
    return AM_isSilent(memory, memoryFloats(numChannels));
}

void AM_CarryBuffer::sendCarried(const AM_OutputRoutes& routes, i32 count) {
    routes.write(memory, k_regionFloats, outputDone, count);
    outputDone += count;
    pendingOutput -= count;
    for (i32 c = 0; c < numChannels && pendingOutput > 0; ++c) {
        f32* carried = outputCarry(c);
        std::copy(carried + count, carried + count + pendingOutput, carried);
    }
}

void AM_CarryBuffer::endBlock(const f32* const* inputs, const f32* const* sideChains,
                              const AM_OutputRoutes& routes) {
    appendInput(inputs, sideChains, blockFrames - inputDone);
    if (outputDone < blockFrames) sendCarried(routes, blockFrames - outputDone);
    AM_ASSERT(pendingOutput + pendingInput == k_latency, "carry out of step");
}
