// The hot path of AM_AudioMan: from a host block to sub-blocks of at most 64 frames and back.
#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_Circuit.h"
#include "AM_ParaMan.h"
#include "AM_Silence.h"
#include "AM_StopWatch.h"
#include "AM_SwingClock.h"
#include "AM_Take.h"

#include <algorithm>
#include <mutex>
#include <utility>

void AM_AudioMan::setTransport(BlockContext* block, f64 position, f64 barPosition) {
    if (block) AM_setTransport(*block, position, barPosition);
}

void AM_AudioMan::processEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    eventQueue.post(type, id, field1, field2, timestamp);
}

// Not straight on to the chain: events reach it out of the queue, inside the block.
void AM_AudioMan::handleEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    processEvent(type, id, field1, field2, timestamp);
}

// --- the block ---------------------------------------------------------------------------

void AM_AudioMan::processBlock() {
    if (getRunState() != k_initialised) return;
    const AM_AudioThreadScope onAudioThread;
    blockRunning.store(true, std::memory_order_relaxed);
    try {
        const std::lock_guard lock(stateLock);
        insideBlock = true;
        try {
            runBlock();
        } catch (...) {
            abandonBlock();
        }
        insideBlock = false;
    } catch (...) {
        if (errorLogged.first()) AM_Log("ERROR: no lock for a block");
    }
    blockRunning.store(false, std::memory_order_relaxed);
}

void AM_AudioMan::abandonBlock() {
    if (errorLogged.first()) AM_Log("ERROR: a block failed and was silenced");
    carry.clear();
    silenceOutputs();
    stopWatch->stop(0, context->sampleRateD);
    carryEvents(std::max(context->numFrames, 0));
}

void AM_AudioMan::runBlock() {
    paraMan->update();
    eventQueue.swapEvents();
    if (runBypassed()) return;
    resetCount = 0;
    if (AM_take(modulationDirty)) refreshModulationMap();
    if (context->numFrames < 1) {
        carryEvents(0);
        resetAfterStateChange();
    } else if (!baseLatencyNeeded()) {
        processAligned();
    } else if (pluginInfo.numChannels < 3) {
        processWithCarry();
    } else {
        processMultiChannelWithLatency();
    }
}

// A bypass leaves the host's buffers as they are. Events still arrive: the modules keep up with
// their controllers, and none piles up.
bool AM_AudioMan::runBypassed() {
    if (!bypassed.load(std::memory_order_relaxed)) return false;
    const i32 frames = std::max(context->numFrames, 0);
    dispatchEvents(0, frames);
    carryEvents(frames);
    return true;
}

// Whether the block has to go through the carry. A size that the direct mode cannot take switches
// that mode off for good.
bool AM_AudioMan::baseLatencyNeeded() {
    if (getPreference(k_prefBaseLatency) != 0) return true;
    if (context->numFrames % k_quadFrames == 0) return false;
    AM_Log("resetting base latency pref because num samples = %d", context->numFrames);
    setPreferenceValue(k_prefBaseLatency, 1);
    latencyEmergency = true;
    return true;
}

// --- the paths ---------------------------------------------------------------------------

void AM_AudioMan::processMultiChannelWithLatency() {
    processWithCarry();
}

void AM_AudioMan::processWithCarry() {
    const i32 channels = pluginInfo.numChannels;
    if (lastPathAligned) carry.clear();
    lastPathAligned = false;
    beginBlock(channels);
    routes.connect(context->outputs, channels);
    const bool hasSideChain = busChannels(2 * channels) == 2 * channels &&
                              std::any_of(context->sideChains, context->sideChains + channels,
                                          [](const f32* channel) { return channel != nullptr; });
    f32* const* sideChains = hasSideChain ? context->sideChains : nullptr;
    const i32 used = hasSideChain ? 2 * channels : channels;

    // The buses behind the host's channels begin each sub-block at zero, if a module has its place
    // there.
    const bool innerBuses = circuit->getNumBusChannels() > used;
    // Silence in, and nothing that waits: as long as no module makes a sound, no sample is touched.
    bool still = inputSilent && !hasSideChain && !innerBuses && (busCleared || carry.isSilent());
    if (still && !busCleared) std::fill(bus(0), bus(context->numBusChannels), 0.0f);

    i32 done = 0;
    // The frames that wait from the blocks before are processed first.
    const i32 waiting = carry.getPendingInput();
    carry.beginBlock(context->numFrames);
    while (const i32 frames = carry.nextSubBlock()) {
        const i32 direct = carry.directFrames();
        beginSubBlock(frames);
        if (still) {
            carry.skipInput();
        } else {
            carry.readInput(context->inputs, sideChains, context->audioBuffer);
            if (innerBuses) std::fill(bus(used), bus(context->numBusChannels), 0.0f);
        }
        dispatchEvents(done - waiting, done - waiting + frames);
        runCircuit(frames, context->numFrames - done - frames);
        if (still && !busIsSilent(channels)) {
            still = false;
            carry.writeSilence(routes);
        }
        if (still) {
            outputGain.pass(direct);
            carry.skipOutput();
        } else {
            for (i32 c = 0; c < channels; ++c)
                AM_cleanNotNormal(bus(c), frames);
            outputGain.apply(context->audioBuffer, channels, k_subBlockFrames, direct,
                             frames - direct);
            carry.writeOutput(context->audioBuffer, routes);
        }
        endSubBlock();
        done += frames;
        if (still && circuit->isResting() && eventQueue.isRead()) rest();
    }
    busCleared = still;
    if (still) carry.writeSilence(routes);
    carry.endBlock(context->inputs, sideChains, routes);
    endBlock(channels);
}

// The rest of a block in which nothing sounds, waits or will happen: only the time goes on.
void AM_AudioMan::rest() {
    while (const i32 frames = carry.nextSubBlock()) {
        beginSubBlock(frames);
        outputGain.pass(carry.directFrames());
        carry.skipInput();
        carry.skipOutput();
        context->quadCounter += static_cast<u64>(frames / k_quadFrames);
        endSubBlock();
    }
}

bool AM_AudioMan::busIsSilent(i32 channels) const {
    return AM_isSilent(bus(0), channels * k_subBlockFrames);
}

void AM_AudioMan::processAligned() {
    lastPathAligned = true;
    busCleared = false;
    roundToQuads();
    const i32 numMeters = k_maxChannels;
    beginBlock(numMeters);
    channelMaps.build(context->inputs, context->outputs, context->channelLayout, context->lfeMode,
                      pluginInfo.numChannels);
    const i32 channels = busChannels(std::max(channelMaps.numUsed(), pluginInfo.numChannels));
    routes.connectMapped(context->outputs, channelMaps.outputMap, channels);

    i32 done = 0;
    while (done < context->numFrames) {
        const i32 frames = std::min(context->numFrames - done, k_subBlockFrames);
        if (frames % k_quadFrames != 0 && incompleteLogged.first())
            AM_Log("ALERT! - Rendering incomplete chunk");
        beginSubBlock(frames);
        readAligned(done, frames);
        dispatchEvents(done, done + frames);
        runCircuit(frames, context->numFrames - done - frames);
        for (i32 c = 0; c < channels; ++c)
            AM_cleanNonFinite(bus(c), frames);
        outputGain.apply(context->audioBuffer, channels, k_subBlockFrames, frames, 0);
        routes.write(context->audioBuffer, k_subBlockFrames, done, frames);
        for (i32 c = 0; c < k_maxChannels; ++c)
            if (channelMaps.channelSilent[c]) silenceChannel(c, done, frames);
        endSubBlock();
        done += frames;
    }
    endBlock(numMeters);
}

// The test is against a sub-block, the message about a quad: 48 frames are reported and taken.
void AM_AudioMan::roundToQuads() {
    const i32 frames = context->numFrames;
    if (frames % k_subBlockFrames == 0) return;
    const i32 rest = frames % k_quadFrames;
    context->numFrames = frames - rest;
    if (!bufferSizeLogged.first()) return;
    AM_Log("ALERT! BUFFERSIZE %d mod 16 = %d, but not zero", frames, rest);
    AM_Log("Turning it into %d frames", context->numFrames);
}

void AM_AudioMan::readAligned(i32 first, i32 frames) {
    const i32 channels = busChannels(std::max(channelMaps.numUsed(), pluginInfo.numChannels));
    const auto read = [&](const f32* source, i32 channel) {
        if (source)
            std::copy_n(source + first, frames, bus(channel));
        else
            std::fill_n(bus(channel), k_subBlockFrames, 0.0f);
    };
    for (i32 c = 0; c < channels; ++c)
        read(channelMaps.inputMap[c] < 0 ? nullptr : context->inputs[channelMaps.inputMap[c]], c);
    for (i32 c = channels; c < context->numBusChannels; ++c) {
        const i32 side = c - channels;
        read(side < pluginInfo.numChannels ? context->sideChains[side] : nullptr, c);
    }
}

// --- what all paths share ----------------------------------------------------------------

i32 AM_AudioMan::busChannels(i32 wanted) const {
    return std::min(wanted, context->numBusChannels);
}

void AM_AudioMan::beginBlock(i32 numMeters) {
    stopWatch->start(context->numFrames, context->sampleRateD);
    inputSilent =
        inputMeter.measure(context->inputs, numMeters, context->numFrames, context->samplePeriod);
    transport.beginBlock(*context);
    if (context->bpm < 10 && context->renderMode != 1 && slowTempoLogged.first())
        AM_Log("bpm < 10.0 - %f", context->bpm);
    outputGain.beginBlock(circuit->getOutput() * 0.01f, context->numFrames);
    circuitSlot.process = circuit->getProcessFunction(context);
    stateChanged = false;
}

void AM_AudioMan::beginSubBlock(i32 frames) {
    stateChanged |= (stateEpoch.load(std::memory_order_acquire) & 1) != 0;
    transport.beginSubBlock(*context, frames);
    swungDelta = AM_runSwingClock(*context, frames);
}

// The chain gets timestamps that count from the start of the sub-block.
void AM_AudioMan::dispatchEvents(i32 from, i32 to) {
    if (eventQueue.isRead()) return;
    AM_IPluginPreferences* const controllers = getSharedPreferences();
    while (const AM_MidiEvent* event = eventQueue.next(to)) {
        const u32 offset = static_cast<u32>(std::max(event->timestamp - from, 0));
        midiActivity = 1;
        if (event->type == k_eventController && controllers)
            controllers->controllerInput(*this, midiState, event->id,
                                         static_cast<i32>(event->field1),
                                         static_cast<i32>(event->field2));
        forwardEvent(event->type, event->id, event->field1, event->field2, offset);
    }
}

void AM_AudioMan::runCircuit(i32 frames, i32 framesLeft) {
    i32 start = 0;
    i32 numQuads = frames / k_quadFrames;
    context->quadsLeft = std::max(framesLeft, 0) / k_quadFrames;
    circuitSlot.process(&start, &numQuads, &circuitSlot, context);
    context->quadCounter += static_cast<u64>(frames / k_quadFrames);
}

void AM_AudioMan::endSubBlock() {
    transport.endSubBlock(*context);
    context->swungPosition += swungDelta;
}

void AM_AudioMan::endBlock(i32 numMeters) {
    outputGain.endBlock();
    midiActivity *= 0.97f;
    carryEvents(context->numFrames);
    if (busCleared)
        outputMeter.measureSilence(context->outputs, numMeters, context->numFrames,
                                   context->samplePeriod);
    else
        outputMeter.measure(context->outputs, numMeters, context->numFrames, context->samplePeriod);
    publishMeters(numMeters);
    paraMan->blockEnded(context->numFrames);
    blockRunning.store(false, std::memory_order_relaxed);
    resetAfterStateChange();
    stopWatch->stop(context->numFrames, context->sampleRateD);
    paraMan->setCpuLoad(stopWatch->getUsage());
}

void AM_AudioMan::publishMeters(i32 numMeters) {
    const std::pair<AM_StandardRow, f32> meters[] = {
        {k_rowInputVU, inputMeter.rmsDecibels()},
        {k_rowInputPeak, inputMeter.peakDecibels()},
        {k_rowOutputVU, outputMeter.rmsDecibels()},
        {k_rowOutputPeak, outputMeter.peakDecibels()},
        {k_rowMidiLed, midiActivity},
        {k_rowChanMet, channelMaps.numMappedChannels},
    };
    for (const auto& [row, value] : meters)
        paraMan->setMeter(row, value);
    for (i32 c = 0; c < std::max(numMeters, numMetersShown); ++c) {
        paraMan->setChannelLevel(0, c, inputMeter.channelRms(c));
        paraMan->setChannelLevel(1, c, outputMeter.channelRms(c));
    }
    numMetersShown = numMeters;
}

// A block that overlapped the load of a state leaves nothing of the old one to be heard.
void AM_AudioMan::resetAfterStateChange() {
    u32 epoch = stateEpoch.load(std::memory_order_acquire);
    if (!stateChanged && (epoch & 1) == 0) return;
    stateChanged = false;
    silenceOutputs();
    carry.clear();
    reset();
    epoch = stateEpoch.load(std::memory_order_acquire);
    if ((epoch & 1) == 0) stateEpoch.compare_exchange_strong(epoch, 0);
}

void AM_AudioMan::silenceOutputs() {
    for (i32 c = 0; c < k_maxChannels; ++c)
        silenceChannel(c, 0, context->numFrames);
}

void AM_AudioMan::silenceChannel(i32 channel, i32 first, i32 frames) {
    if (context->outputs[channel] && frames > 0)
        std::fill_n(context->outputs[channel] + first, frames, 0.0f);
}
