// The base class of audio components: VST3 components with audio and event buses.
#pragma once

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "public.sdk/source/vst/vstcomponent.h"

namespace Steinberg::Vst {

// Derived classes add their buses in initialize() and override process(). The answers here are
// those of an effect without latency and tail that takes 32-bit samples. Which thread calls what is
// said in the interfaces.
class AudioEffect : public Component, public IAudioProcessor, public IProcessContextRequirements {
public:
    AudioEffect();

    // Add a bus behind those of its kind and return it, owned by the component.
    AudioBus* addAudioInput(const char16* name, SpeakerArrangement arrangement);
    AudioBus* addAudioOutput(const char16* name, SpeakerArrangement arrangement);
    EventBus* addEventInput(const char16* name, int32 channels);

    // Takes exactly the arrangements that the buses have.
    tresult PLUGIN_API setBusArrangements(SpeakerArrangement* inputs, int32 numIns,
                                          SpeakerArrangement* outputs, int32 numOuts) override;
    tresult PLUGIN_API getBusArrangement(BusDirection direction, int32 index,
                                         SpeakerArrangement& arrangement) override;
    tresult PLUGIN_API canProcessSampleSize(int32 symbolicSampleSize) override;
    uint32 PLUGIN_API getLatencySamples() override { return 0; }
    // Keeps the setup; refused for a sample size that can't be processed.
    tresult PLUGIN_API setupProcessing(ProcessSetup& setup) override;
    tresult PLUGIN_API setProcessing(TBool) override { return kResultOk; }
    tresult PLUGIN_API process(ProcessData&) override { return kNotImplemented; }
    uint32 PLUGIN_API getTailSamples() override { return kNoTail; }
    uint32 PLUGIN_API getProcessContextRequirements() override { return 0; }

    OBJ_METHODS(AudioEffect, Component)
    DEFINE_INTERFACES
    DEF_INTERFACE(IAudioProcessor)
    DEF_INTERFACE(IProcessContextRequirements)
    END_DEFINE_INTERFACES(Component)
    REFCOUNT_METHODS(Component)

protected:
    ProcessSetup processSetup;
};

} // namespace Steinberg::Vst
