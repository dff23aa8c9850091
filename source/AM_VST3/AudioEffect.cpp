#include "AudioEffect.h"

namespace Steinberg::Vst {

namespace {

bool matches(BusList& buses, const SpeakerArrangement* wanted, int32 count) {
    if (count != static_cast<int32>(buses.size()) || (count > 0 && !wanted)) return false;
    for (int32 i = 0; i < count; ++i) {
        auto* bus = FCast<AudioBus>(buses[static_cast<size_t>(i)].get());
        if (!bus || bus->getArrangement() != wanted[i]) return false;
    }
    return true;
}

} // namespace

AudioEffect::AudioEffect() : processSetup{kRealtime, kSample32, 1024, 44100.0} {
}

AudioBus* AudioEffect::addAudioInput(const char16* name, SpeakerArrangement arrangement) {
    auto* bus = new AudioBus(name, kMain, BusInfo::kDefaultActive, arrangement);
    audioInputs.emplace_back(bus, false);
    return bus;
}

AudioBus* AudioEffect::addAudioOutput(const char16* name, SpeakerArrangement arrangement) {
    auto* bus = new AudioBus(name, kMain, BusInfo::kDefaultActive, arrangement);
    audioOutputs.emplace_back(bus, false);
    return bus;
}

EventBus* AudioEffect::addEventInput(const char16* name, int32 channels) {
    auto* bus = new EventBus(name, kMain, BusInfo::kDefaultActive, channels);
    eventInputs.emplace_back(bus, false);
    return bus;
}

tresult PLUGIN_API AudioEffect::setBusArrangements(SpeakerArrangement* inputs, int32 numIns,
                                                   SpeakerArrangement* outputs, int32 numOuts) {
    const bool fits =
        matches(audioInputs, inputs, numIns) && matches(audioOutputs, outputs, numOuts);
    return fits ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API AudioEffect::getBusArrangement(BusDirection direction, int32 index,
                                                  SpeakerArrangement& arrangement) {
    BusList* buses = getBusList(kAudio, direction);
    if (!buses || index < 0 || index >= static_cast<int32>(buses->size())) return kInvalidArgument;
    auto* bus = FCast<AudioBus>(buses->at(static_cast<size_t>(index)).get());
    if (!bus) return kResultFalse;
    arrangement = bus->getArrangement();
    return kResultTrue;
}

tresult PLUGIN_API AudioEffect::canProcessSampleSize(int32 symbolicSampleSize) {
    return symbolicSampleSize == kSample32 ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API AudioEffect::setupProcessing(ProcessSetup& setup) {
    if (canProcessSampleSize(setup.symbolicSampleSize) != kResultTrue) return kResultFalse;
    processSetup = setup;
    return kResultOk;
}

} // namespace Steinberg::Vst
