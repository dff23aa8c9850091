// The edit-controller half of the VST3 binding.
#pragma once

#include "AM_VST3_MainLoop.h"
#include "AM_VST3_Managers.h"
#include "AM_VST3_ParameterMap.h"

#include "pluginterfaces/vst/ivstmidicontrollers.h"
#include "public.sdk/source/vst/vsteditcontroller.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

// Publishes parameters, units, programs and the MIDI mapping. It works on the processor's audio
// manager, whose address the message "audioPtr" brings; until then, or without a processor, on
// a temporary one of its own. All operations on the host's main thread; failures are logged, and
// nothing is thrown.
class AM_VST3_Controller : public Steinberg::Vst::EditControllerEx1,
                           public Steinberg::Vst::IMidiMapping,
                           private AM_VST3_ManagerUser,
                           private AM_VST3_MainLoop::Client {
public:
    // `plugId`: the four-character id of the plug-in.
    explicit AM_VST3_Controller(u32 plugId);
    ~AM_VST3_Controller() override;

    // --- IPluginBase, IConnectionPoint ------------------------------------------------------
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    // Takes "audioPtr" and its attribute "ptr"; answers 0 to everything.
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override;

    // --- IEditController --------------------------------------------------------------------
    // The parameters take the values of the processor's manager, which holds the state already; the
    // stream is only read by a controller that is not connected to one.
    Steinberg::tresult PLUGIN_API setComponentState(Steinberg::IBStream* state) override;
    // All about a preset is in the processor's state: nothing is read or written.
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* state) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* state) override;
    Steinberg::int32 PLUGIN_API getParameterCount() override;
    Steinberg::tresult PLUGIN_API getParameterInfo(Steinberg::int32 index,
                                                   Steinberg::Vst::ParameterInfo& info) override;
    Steinberg::tresult PLUGIN_API getParamStringByValue(Steinberg::Vst::ParamID id,
                                                        Steinberg::Vst::ParamValue value,
                                                        Steinberg::Vst::String128 text) override;
    Steinberg::Vst::ParamValue PLUGIN_API getParamNormalized(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API setParamNormalized(Steinberg::Vst::ParamID id,
                                                     Steinberg::Vst::ParamValue value) override;
    Steinberg::tresult PLUGIN_API
    setComponentHandler(Steinberg::Vst::IComponentHandler* handler) override;
    // The one view of the controller for "editor", with another reference; null for other names.
    Steinberg::IPlugView* PLUGIN_API createView(Steinberg::FIDString name) override;

    // --- EditController ------------------------------------------------------------------
    // The parameters of the MIDI numbers are one object.
    Steinberg::Vst::Parameter* getParameterObject(Steinberg::Vst::ParamID id) override;
    void editorAttached(Steinberg::Vst::EditorView* editor) override;
    void editorRemoved(Steinberg::Vst::EditorView* editor) override;
    void editorDestroyed(Steinberg::Vst::EditorView* editor) override;

    // --- IUnitInfo --------------------------------------------------------------------------
    Steinberg::int32 PLUGIN_API getUnitCount() override;
    Steinberg::tresult PLUGIN_API getUnitInfo(Steinberg::int32 index,
                                              Steinberg::Vst::UnitInfo& info) override;
    Steinberg::int32 PLUGIN_API getProgramListCount() override;

    // --- IMidiMapping -----------------------------------------------------------------------
    // 200000 + channel * 128 + controller. The parameters themselves are numbered by 130 a channel,
    // so only channel 0 meets its own; projects rest on both.
    Steinberg::tresult PLUGIN_API getMidiControllerAssignment(Steinberg::int32 bus,
                                                              Steinberg::int16 channel,
                                                              Steinberg::Vst::CtrlNumber controller,
                                                              Steinberg::Vst::ParamID& id) override;

    OBJ_METHODS(AM_VST3_Controller, Steinberg::Vst::EditControllerEx1)
    DEFINE_INTERFACES
    DEF_INTERFACE(Steinberg::Vst::IMidiMapping)
    END_DEFINE_INTERFACES(Steinberg::Vst::EditControllerEx1)
    // The timer thread keeps the controller while it calls the host, and the count of the SDK's
    // objects is not made for two threads.
    Steinberg::uint32 PLUGIN_API addRef() override;
    Steinberg::uint32 PLUGIN_API release() override;

private:
    void managerGone() override;
    void periodic(bool onHostThread) override;

    // --- AM_VST3_Controller.cpp
    void createTemporary();
    void deleteTemporary();
    void readAlone(Steinberg::IBStream& state);
    void takeManager(Steinberg::int64 address);
    void leaveManager();
    bool takeValues();
    void tellHost();
    void tellParameter(i32 row);
    void tellTextChanged(u32 id);
    void tellLatency();
    void edit(u32 id, f64 value);
    void store(u32 id, f64 value);

    // --- AM_VST3_ControllerTable.cpp
    void addUnits();
    void addParameters();
    void addMidiParameters();
    void addPrograms();
    bool isMidi(Steinberg::Vst::ParamID id) const {
        return id >= k_vst3FirstMidi && id - k_vst3FirstMidi < midiValues.size();
    }

    std::atomic<i32> references{1};
    AM_AudioMan* audioMan = nullptr; // null before initialize and behind the processor's end
    bool ownsAudioMan = false;
    Steinberg::IPlugView* view = nullptr;
    const u32 plugId;

    // Guards manager, notices, handlers and the parameters' values, which the periodic call shares
    // with the host's. The host is never called under it.
    std::mutex stateMutex;
    AM_VST3_ParameterMap map;
    i32 bypassRow = -1; // of the parameter table
    // The parameters of the MIDI numbers differ in their ids and values only, and there are very
    // many: `midi` stands for all. They come behind the first `numInFront` of the others.
    Steinberg::IPtr<Steinberg::Vst::Parameter> midi;
    std::vector<f64> midiValues;
    i32 numInFront = 0;
    u32 bypassId = 0; // of that row
    std::shared_ptr<AM_VST3_Notices> notices;
    AM_VST3_MainLoop mainLoop{*this};
};

// Glassmere's controller.
class AM_VST3_ControllervlGM final : public AM_VST3_Controller {
public:
    AM_VST3_ControllervlGM();
};
