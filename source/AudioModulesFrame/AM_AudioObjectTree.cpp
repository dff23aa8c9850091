// The passes of AM_AudioObject that run over a subtree and the siblings behind it.
#include "AM_Assert.h"
#include "AM_AudioObject.h"
#include "AM_Log.h"

#include <cstring>
#include <memory>

namespace {

i32 roundedTo16(i32 bytes) {
    return (bytes + 15) & ~15;
}

} // namespace

// --- memory ------------------------------------------------------------------------------

i32 AM_AudioObject::sizeDataBlock() {
    const i32 own = roundedTo16(getDataSize()) * dataScale;
    dataFloats = own / 4;
    const i32 children = firstChild ? numVoices * childObject()->sizeDataBlock() : 0;
    return own + children + (next ? nextObject()->sizeDataBlock() : 0);
}

i32 AM_AudioObject::sizeModBlock() {
    const i32 own = roundedTo16(getModDataSize());
    modFloats = own / 4;
    return own + (firstChild ? childObject()->sizeModBlock() : 0) +
           (next ? nextObject()->sizeModBlock() : 0);
}

void AM_AudioObject::assignMemory(f32** dataBlock, f32** modBlock, BlockContext* context) {
    data = *dataBlock;
    modData = *modBlock;
    *dataBlock += dataFloats;
    *modBlock += modFloats;
    if (firstChild) childObject()->assignMemory(dataBlock, modBlock, context);
    if (numVoices > 1 && firstChild) {
        const i32 size = childObject()->sizeDataBlock();
        childObject()->setVoiceLayout(numVoices, size);
        *dataBlock += (numVoices - 1) * size / 4;
    }
    if (next) nextObject()->assignMemory(dataBlock, modBlock, context);
    memoryAssigned(context);
}

void AM_AudioObject::memoryAssigned(BlockContext*) {
}

void AM_AudioObject::setVoiceLayout(i32 count, i32 stride) {
    voiceCount = count;
    voiceStride = stride;
    if (data && dataFloats > 0) {
        for (i32 voice = 1; voice < count; ++voice)
            std::memcpy(data + voice * (stride / 4), data, static_cast<size_t>(dataFloats));
    }
    if (firstChild) childObject()->setVoiceLayout(count, stride);
    if (next) nextObject()->setVoiceLayout(count, stride);
    voicesChanged();
}

f32* AM_AudioObject::getVoiceData(i32 voice) {
    return data ? data + (dataFloats * voice) / (dataScale > 0 ? dataScale : 1) : nullptr;
}

// --- parameters --------------------------------------------------------------------------

i32 AM_AudioObject::getNumParametersAll(bool recursive) {
    if (!recursive) return numParameters;
    return numParameters + (firstChild ? childObject()->getNumParametersAll(true) : 0) +
           (next ? nextObject()->getNumParametersAll(true) : 0);
}

AM_AudioObject* AM_AudioObject::locateParameter(i32& index) {
    if (index < 0) return nullptr;
    if (index < numParameters) return this;
    index -= numParameters;
    AM_AudioObject* owner = firstChild ? childObject()->locateParameter(index) : nullptr;
    if (!owner && next) owner = nextObject()->locateParameter(index);
    return owner;
}

const ParameterInfo* AM_AudioObject::getParameterInfoAll(i32 index) {
    AM_AudioObject* owner = locateParameter(index);
    if (!owner) return nullptr;
    const ParameterInfo* info = owner->getParameterInfo(index);
    if (!info) {
        AM_Log("getParameterInfo ( %d ) is NULL in %s", index, owner->getName());
        AM_ASSERT(info, "Object does not return ParameterInfo for declared numer of parameters");
    }
    return info;
}

bool AM_AudioObject::copyParameterInfoAll(i32 index, ParameterInfo* record) {
    const ParameterInfo* info = getParameterInfoAll(index);
    if (!info) return false;
    AM_AudioObject* owner = locateParameter(index);
    *record = *info;
    record->owner = owner->getObjectId();
    record->indexInOwner = index;
    return true;
}

void* AM_AudioObject::getParameterPointerAll(i32 index) {
    AM_AudioObject* owner = locateParameter(index);
    return owner ? owner->getParameterPointer(index) : nullptr;
}

// --- start-up and refresh ----------------------------------------------------------------

void AM_AudioObject::setupAll() {
    if (firstChild) childObject()->setupAll();
    if (next) nextObject()->setupAll();
    setup();
}

void AM_AudioObject::updateAll() {
    if (firstChild && isModulated(0)) childObject()->updateAll();
    if (next) nextObject()->updateAll();
    update();
}

void AM_AudioObject::randomizeAll(f32 amount) {
    // A row may itself ask for a new round ("Randomize"): one round at a time.
    if (randomizing.exchange(true)) return;
    const std::unique_ptr<std::atomic<bool>, void (*)(std::atomic<bool>*)> leave(
        &randomizing, [](std::atomic<bool>* flag) { flag->store(false); });
    if (firstChild) childObject()->randomizeAll(amount);
    if (next) nextObject()->randomizeAll(amount);
    randomize(amount);
}

// --- chains ------------------------------------------------------------------------------

void AM_AudioObject::collectMidiChain(AM_MidiEventChain*** tail) {
    if (typeMask & k_audioJoinsMidiChain) {
        nextInChain = nullptr;
        **tail = this;
        *tail = &nextInChain;
    }
    if (firstChild) childObject()->collectMidiChain(tail);
    if (next) nextObject()->collectMidiChain(tail);
}

void AM_AudioObject::collectProcessorChain(AM_AudioObject*** tail) {
    if (typeMask & k_audioJoinsProcessorChain) {
        nextProcessor = nullptr;
        **tail = this;
        *tail = &nextProcessor;
    }
    if (firstChild) childObject()->collectProcessorChain(tail);
    if (next) nextObject()->collectProcessorChain(tail);
}
