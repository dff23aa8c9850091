// The audio half of the VST3 binding.
#pragma once

#include "AM_AudioManager.h"
#include "AM_ChangeRing.h"
#include "AM_VST3_Notices.h"
#include "AM_VST3_ParameterMap.h"
#include "AudioEffect.h"

#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

#include <atomic>
#include <memory>

// Owns one audio manager and translates the host's calls into calls on it. Threads are those of the
// interfaces: process on the host's audio thread, all else on its main thread. Failures are logged
// and answered with success, and nothing is thrown.
class AM_VST3_Processor : public Steinberg::Vst::AudioEffect {
public:
    // `plugId`: the four-character id of the plug-in.
    explicit AM_VST3_Processor(u32 plugId);
    ~AM_VST3_Processor() override;

    // --- IPluginBase ------------------------------------------------------------------
    // Makes and starts the manager and adds the buses "Stereo In", "Stereo Out" and "Midi In".
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;

    // --- IConnectionPoint ---------------------------------------------------------------
    // The controller learns of the manager by a message "audioPtr": with connect, with activation,
    // and if both failed with the next call on the main thread behind a block.
    Steinberg::tresult PLUGIN_API connect(Steinberg::Vst::IConnectionPoint* other) override;
    Steinberg::tresult PLUGIN_API disconnect(Steinberg::Vst::IConnectionPoint* other) override;
    // Logs the message's name.
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override;

    // --- IComponent ---------------------------------------------------------------------
    Steinberg::tresult PLUGIN_API setActive(Steinberg::TBool state) override;
    // See AM_VST3_Stream.h. What can't be read is ignored. A state that comes within one second of
    // initialize() belongs to a project that is being opened.
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* state) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* state) override;

    // --- IAudioProcessor ------------------------------------------------------------------
    // Judges the numbers of buses, at most 2 on each side and no output is none; the arrangements
    // are not kept.
    Steinberg::tresult PLUGIN_API setBusArrangements(Steinberg::Vst::SpeakerArrangement* inputs,
                                                     Steinberg::int32 numIns,
                                                     Steinberg::Vst::SpeakerArrangement* outputs,
                                                     Steinberg::int32 numOuts) override;
    Steinberg::tresult PLUGIN_API setupProcessing(Steinberg::Vst::ProcessSetup& setup) override;
    // Frames, also while bypassed.
    Steinberg::uint32 PLUGIN_API getLatencySamples() override;
    // None is announced, however long the reverb rings.
    Steinberg::uint32 PLUGIN_API getTailSamples() override { return 0; }
    Steinberg::uint32 PLUGIN_API getProcessContextRequirements() override;
    Steinberg::tresult PLUGIN_API process(Steinberg::Vst::ProcessData& data) override;
    // The work of process(). Of each parameter's changes only the last one counts. Without frames
    // only parameters and events are taken. Channels that the host leaves out read as silence and
    // are not written; channels and buses beyond the stereo output are silenced.
    SMTG_EXPORT_SYMBOL Steinberg::tresult process4102(Steinberg::Vst::ProcessData& data);

    OBJ_METHODS(AM_VST3_Processor, Steinberg::Vst::AudioEffect)

private:
    static constexpr u32 k_maxOutgoing = 1024;

    // Takes the changes that the instance itself makes; they leave with the next block.
    class ParameterSink final : public AM_IParameterSink {
    public:
        explicit ParameterSink(AM_ChangeRing<k_maxOutgoing>& ring) : changes(ring) {}
        void parameterMoved(i32 index, f32 value) override { changes.push({index, value}); }

    private:
        AM_ChangeRing<k_maxOutgoing>& changes;
    };

    // --- AM_VST3_Processor.cpp
    void createManager();
    void addBuses();
    void deleteManager();
    void trySendPointer();
    void sendPointerIfWanted();
    bool sendPointer();
    bool isOpeningProject() const;
    void loadState(Steinberg::IBStream& state);

    // --- AM_VST3_Process.cpp
    bool runProcess(Steinberg::Vst::ProcessData& data);
    void takeParameters(Steinberg::Vst::IParameterChanges& changes, i32 frames);
    void takeParameter(u32 id, f64 value, i32 offset);
    void takeController(i32 place, f64 value, i32 offset);
    void takeEvents(Steinberg::Vst::IEventList& events, i32 frames);
    void takeEvent(const Steinberg::Vst::Event& event, i32 frames);
    void takeTransport(const Steinberg::Vst::ProcessContext* host, i32 frames);
    void runBlock(Steinberg::Vst::ProcessData& data);
    void sendOutgoing(Steinberg::Vst::IParameterChanges* changes);

    std::unique_ptr<AM_AudioMan> audioMan; // null until initialize
    std::atomic<bool> pointerSent{false};
    std::atomic<bool> pointerWanted{false}; // a block ran without a controller
    u32 reserved = 0xffffffff;
    const u32 plugId;
    const i32* voiceCountRef = nullptr; // set by setActive
    u64 initTime = 0;                   // when initialize was done, ns of the steady clock
    AM_ChangeRing<k_maxOutgoing> outgoing;
    ParameterSink sink{outgoing};
    AM_VST3_ParameterMap map;
    std::shared_ptr<AM_VST3_Notices> notices;
    AM_Once unknownId, wrongSampleSize, blockFailed;
};

// Glassmere's processor: its id and its controller.
class AM_VST3_Processor_vlGM final : public AM_VST3_Processor {
public:
    AM_VST3_Processor_vlGM();
};
