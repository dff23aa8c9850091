// What AM_VST3_Processor does on the host's audio thread, in the order in which it is done.
#include "AM_AudioThread.h"
#include "AM_FloatControl.h"
#include "AM_Silence.h"
#include "AM_TransportClock.h"
#include "AM_VST3_Processor.h"
#include "VelParameter.h"

#include <algorithm>
#include <cmath>

using Steinberg::int32;
using Steinberg::kResultFalse;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::uint32;
using Steinberg::Vst::AudioBusBuffers;
using Steinberg::Vst::Event;
using Steinberg::Vst::IEventList;
using Steinberg::Vst::IParameterChanges;
using Steinberg::Vst::IParamValueQueue;
using Steinberg::Vst::ProcessContext;
using Steinberg::Vst::ProcessData;

namespace {

// No host sends more of them in one block.
constexpr int32 k_maxQueues = 1 << 16;
constexpr f64 k_defaultTempo = 120; // quarter notes a minute

// Frames into the block, whatever the host says.
i32 insideBlock(i32 offset, i32 frames) {
    return std::clamp(offset, 0, std::max(frames - 1, 0));
}

// Not a number counts as 0.
f32 normalized(f64 value) {
    return value > 0 ? static_cast<f32>(std::min(value, 1.0)) : 0.0f;
}

// A channel of the first bus, null if the host has none.
f32* channelOf(const AudioBusBuffers* buses, int32 numBuses, int32 channel) {
    if (!buses || numBuses < 1 || channel >= buses[0].numChannels) return nullptr;
    return buses[0].channelBuffers32 ? buses[0].channelBuffers32[channel] : nullptr;
}

int32 numChannels(const AudioBusBuffers* buses, int32 numBuses) {
    return buses && numBuses > 0 && buses[0].channelBuffers32 ? buses[0].numChannels : 0;
}

// Silences the channels of the outputs that the plug-in has no sound for, and says which channels
// are silent.
void silenceRest(const ProcessData& data) {
    for (int32 bus = 0; bus < data.numOutputs; ++bus) {
        AudioBusBuffers& out = data.outputs[bus];
        const int32 playing = bus == 0 ? 2 : 0;
        out.silenceFlags = 0;
        for (int32 channel = 0; channel < out.numChannels; ++channel) {
            f32* samples = out.channelBuffers32 ? out.channelBuffers32[channel] : nullptr;
            if (samples && channel >= playing) std::fill_n(samples, data.numSamples, 0.0f);
            const bool silent =
                channel >= playing || (samples && AM_isSilent(samples, data.numSamples));
            if (silent && channel < 64) out.silenceFlags |= Steinberg::uint64{1} << channel;
        }
    }
}

} // namespace

tresult PLUGIN_API AM_VST3_Processor::process(ProcessData& data) {
    return process4102(data);
}

tresult AM_VST3_Processor::process4102(ProcessData& data) {
    const AM_AudioThreadScope audioThread;
    if (!pointerSent) pointerWanted = true;
    if (!audioMan) return kResultOk;
    if (data.symbolicSampleSize != Steinberg::Vst::kSample32) {
        if (wrongSampleSize.first()) AM_Log("ERROR: samples of 64 bits can't be processed");
        return kResultFalse;
    }
    AM_FlushDenormals flush;
    try {
        // Without an output the bits stay set: such a call returns at once.
        if (!runProcess(data)) flush.leave();
    } catch (...) {
        if (blockFailed.first()) AM_Log("ERROR: a process call failed");
    }
    return kResultOk;
}

// False if there is no output to play to.
bool AM_VST3_Processor::runProcess(ProcessData& data) {
    const i32 frames = std::max(data.numSamples, 0);
    if (data.inputParameterChanges) takeParameters(*data.inputParameterChanges, frames);
    if (data.inputEvents) takeEvents(*data.inputEvents, frames);
    if (frames > 0) {
        takeTransport(data.processContext, frames);
        AM_runRefreshCounters(*audioMan->getBlockContext(), voiceCountRef && *voiceCountRef < 1);
        if (numChannels(data.outputs, data.numOutputs) < 1) return false;
        runBlock(data);
    }
    sendOutgoing(data.outputParameterChanges);
    return true;
}

// --- parameters ------------------------------------------------------------------------------

void AM_VST3_Processor::takeParameters(IParameterChanges& changes, i32 frames) {
    const int32 count = std::min(changes.getParameterCount(), k_maxQueues);
    for (int32 i = 0; i < count; ++i) {
        IParamValueQueue* queue = changes.getParameterData(i);
        const int32 points = queue ? queue->getPointCount() : 0;
        int32 offset = 0;
        f64 value = 0;
        if (points < 1 || queue->getPoint(points - 1, offset, value) != kResultOk) continue;
        takeParameter(queue->getParameterId(), value, insideBlock(offset, frames));
    }
}

void AM_VST3_Processor::takeParameter(u32 id, f64 value, i32 offset) {
    const i32 index = map.rowOf(id);
    const ParameterInfo* row = index >= 0 ? audioMan->getParaMan()->row(index) : nullptr;
    if (row && VelParameter::isNumber(*row) && !row->isMeter())
        audioMan->getParaMan()->setParameterValue(index, VelParameter::plainValue(*row, value));
    else if (id >= k_vst3FirstMidi && id < k_vst3Program)
        takeController(static_cast<i32>(id - k_vst3FirstMidi), value, offset);
    else if (id == k_vst3Bypass)
        audioMan->setBypass(value > 0.5);
    else if (!row && unknownId.first())
        AM_Log("unknown parameter %d", id);
}

// `place`: the channel times 130, plus the number.
void AM_VST3_Processor::takeController(i32 place, f64 value, i32 offset) {
    const i32 channel = place / k_vst3MidiNumbers;
    const i32 controller = place % k_vst3MidiNumbers;
    const f32 share = normalized(value);
    const u32 time = static_cast<u32>(offset);
    if (controller == k_vst3Pressure)
        audioMan->processEvent(k_eventPressure, channel, -1, share, time);
    else if (controller == k_vst3PitchBend)
        audioMan->processEvent(k_eventPitchBend, channel, 0, share * 2 - 1, time);
    else
        audioMan->controllerInput(channel, controller,
                                  static_cast<i32>(std::floor(share * 127 + 0.5f)), offset);
}

void AM_VST3_Processor::sendOutgoing(IParameterChanges* changes) {
    AM_ParameterChange change;
    // One round of the ring at most: others may push on meanwhile.
    for (u32 i = 0; i < k_maxOutgoing && outgoing.pop(change); ++i) {
        const ParameterInfo* row = audioMan->getParaMan()->row(change.index);
        if (!changes || !row || !VelParameter::isNumber(*row)) continue;
        const Steinberg::Vst::ParamID id = AM_VST3_idOf(*row);
        int32 place = 0;
        IParamValueQueue* queue = changes->addParameterData(id, place);
        if (queue) queue->addPoint(0, VelParameter::normalizedValue(*row, change.value), place);
    }
}

// --- events ----------------------------------------------------------------------------------

void AM_VST3_Processor::takeEvents(IEventList& events, i32 frames) {
    const int32 count = std::min(events.getEventCount(), AM_EventQueue::k_capacity);
    for (int32 i = 0; i < count; ++i) {
        Event event{};
        if (events.getEvent(i, event) == kResultOk) takeEvent(event, frames);
    }
}

// Notes carry their tuning in fractions of a semitone; a note off is a note on of value 0.
void AM_VST3_Processor::takeEvent(const Event& event, i32 frames) {
    const u32 time = static_cast<u32>(insideBlock(event.sampleOffset, frames));
    switch (event.type) {
    case Event::kNoteOnEvent: {
        const Steinberg::Vst::NoteOnEvent& note = event.noteOn;
        audioMan->processEvent(k_eventNote, note.noteId == -1 ? note.channel : note.noteId,
                               note.tuning * 0.01f + note.pitch, note.velocity * 127, time);
        break;
    }
    case Event::kNoteOffEvent: {
        const Steinberg::Vst::NoteOffEvent& note = event.noteOff;
        audioMan->processEvent(k_eventNote, note.noteId == -1 ? note.channel : note.noteId,
                               note.tuning * 0.01f + note.pitch, 0, time);
        break;
    }
    case Event::kPolyPressureEvent:
        audioMan->processEvent(k_eventPressure, event.polyPressure.channel,
                               event.polyPressure.pitch, event.polyPressure.pressure, time);
        break;
    default:
        break;
    }
}

// --- the block -------------------------------------------------------------------------------

// What a host reports beyond the range of tempos, bars and positions is repaired further down.
void AM_VST3_Processor::takeTransport(const ProcessContext* host, i32 frames) {
    BlockContext& context = *audioMan->getBlockContext();
    context.numFrames = frames;
    context.bpm = host && host->tempo != 0 ? host->tempo : k_defaultTempo;
    context.quartersPerBar = host ? static_cast<f32>(host->timeSigNumerator) * 4 /
                                        static_cast<f32>(host->timeSigDenominator)
                                  : 4;
    audioMan->setTransport(&context, host ? host->projectTimeMusic : 0,
                           host ? host->barPositionMusic : 0);
}

void AM_VST3_Processor::runBlock(ProcessData& data) {
    BlockContext& context = *audioMan->getBlockContext();
    for (int32 channel = 0; channel < 2; ++channel) {
        context.inputs[channel] = audioMan->pluginInfo.hasInputs
                                      ? channelOf(data.inputs, data.numInputs, channel)
                                      : nullptr;
        context.outputs[channel] = channelOf(data.outputs, data.numOutputs, channel);
    }
    audioMan->processBlock();
    silenceRest(data);
}
