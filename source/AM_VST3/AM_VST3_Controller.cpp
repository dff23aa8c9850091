#include "AM_VST3_Controller.h"

#include "AM_ParaMan.h"
#include "AM_VST3_Guard.h"
#include "AM_VST3_Stream.h"
#include "AM_VST3_View.h"
#include "Glassmere_AudioMan.h"
#include "VelParameter.h"

#include "pluginterfaces/vst/ivstmessage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using Steinberg::IBStream;
using Steinberg::int32;
using Steinberg::IPtr;
using Steinberg::kInvalidArgument;
using Steinberg::kResultFalse;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::Vst::IComponentHandler;
using Steinberg::Vst::IComponentHandler2;
using Steinberg::Vst::ParamID;
using Steinberg::Vst::ParamValue;

AM_VST3_Controller::AM_VST3_Controller(u32 id) : plugId(id) {
}

AM_VST3_Controller::~AM_VST3_Controller() {
    AM_VST3_guarded("~AM_VST3_Controller", 0, [this] {
        mainLoop.stop();
        AM_VST3_Managers::disconnect(this);
        leaveManager();
        deleteTemporary();
        return 0;
    });
}

Steinberg::uint32 PLUGIN_API AM_VST3_Controller::addRef() {
    return static_cast<Steinberg::uint32>(references.fetch_add(1, std::memory_order_relaxed) + 1);
}

Steinberg::uint32 PLUGIN_API AM_VST3_Controller::release() {
    const i32 left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        references = std::numeric_limits<i32>::max() / 2; // the timer may call until it is stopped
        delete this;
    }
    return static_cast<Steinberg::uint32>(left);
}

AM_VST3_ControllervlGM::AM_VST3_ControllervlGM() : AM_VST3_Controller(k_glassmereId) {
}

// --- life ----------------------------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Controller::initialize(Steinberg::FUnknown* context) {
    AM_Log("INIT VST3 Controller (vela debug)");
    return AM_VST3_guarded("initialize", kResultFalse, [&]() -> tresult {
        // Twice is once: a host may also come without a context, which the base does not notice.
        if (parameters.getParameterCount() > 0) return kResultFalse;
        const tresult result = EditControllerEx1::initialize(context);
        if (result != kResultOk) return result;
        ownsAudioMan = audioMan == nullptr;
        if (ownsAudioMan) createTemporary();
        addUnits();
        addParameters();
        addMidiParameters();
        addPrograms();
        takeValues();
        mainLoop.start(context);
        return kResultOk;
    });
}

void AM_VST3_Controller::createTemporary() {
    AM_Log("AudioMan IS NULL IN VST3 CONTROLLER., Creating temporary.");
    auto manager = std::make_unique<Glassmere_AudioMan>(plugId);
    manager->initialize();
    const std::lock_guard lock(stateMutex);
    audioMan = manager.release();
}

void AM_VST3_Controller::deleteTemporary() {
    if (!ownsAudioMan) return;
    std::unique_ptr<AM_AudioMan> temporary(audioMan);
    ownsAudioMan = false;
    audioMan = nullptr;
}

tresult PLUGIN_API AM_VST3_Controller::terminate() {
    AM_Log("AM_VST3_Controller::terminate()");
    return AM_VST3_guarded("terminate", kResultOk, [this]() -> tresult {
        mainLoop.stop();
        AM_VST3_Managers::disconnect(this);
        if (view) view->release();
        view = nullptr;
        leaveManager();
        deleteTemporary();
        audioMan = nullptr;
        notices.reset();
        midiValues.clear();
        return EditControllerEx1::terminate();
    });
}

// --- the processor's manager -----------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Controller::notify(Steinberg::Vst::IMessage* message) {
    const char* id = message ? message->getMessageID() : nullptr;
    AM_Log("VST3 Controller received message %s", id ? id : "");
    return AM_VST3_guarded("notify", kResultOk, [&]() -> tresult {
        if (id && std::strcmp(id, "audioPtr") == 0) {
            Steinberg::Vst::IAttributeList* list = message->getAttributes();
            Steinberg::int64 address = 0;
            if (list && list->getInt("ptr", address) == kResultOk)
                takeManager(address);
            else
                AM_Log("no proper result in list->getInt(ptr");
        }
        AM_Log("message handled.");
        return kResultOk;
    });
}

void AM_VST3_Controller::takeManager(Steinberg::int64 address) {
    const AM_VST3_Managers::Link link = AM_VST3_Managers::connect(address, this);
    if (!link.manager) {
        AM_Log("WARNING: no AudioMan at %X", static_cast<u32>(address));
        return;
    }
    if (audioMan != link.manager) leaveManager();
    std::unique_ptr<AM_AudioMan> temporary(ownsAudioMan ? audioMan : nullptr);
    {
        const std::lock_guard lock(stateMutex);
        ownsAudioMan = false;
        audioMan = link.manager;
        notices = link.notices;
    }
    AM_Log("Set AudioMan to %X", static_cast<u32>(address));
    audioMan->setRunsOnHostLoop(mainLoop.runsOnHost());
    audioMan->setHostCallback(&AM_VST3_Notices::receive, notices.get());
    // What a host has read of the temporary one may not hold any more.
    const bool changed = takeValues();
    const IPtr<IComponentHandler> host(componentHandler);
    if (changed && host) host->restartComponent(Steinberg::Vst::kParamValuesChanged);
}

// What a processor's manager has to do and to tell is no longer this controller's.
void AM_VST3_Controller::leaveManager() {
    if (!audioMan || ownsAudioMan) return;
    audioMan->setRunsOnHostLoop(false);
    audioMan->setHostCallback(nullptr, nullptr);
}

void AM_VST3_Controller::managerGone() {
    const std::lock_guard lock(stateMutex);
    audioMan = nullptr;
    notices.reset();
}

// --- what the host has to hear ------------------------------------------------------------

void AM_VST3_Controller::periodic(bool onHostThread) {
    // The host may let go of the controller in answer to what it hears.
    const IPtr<Steinberg::FObject> alive(this);
    AM_VST3_guarded("periodic", 0, [&] {
        if (onHostThread && audioMan && !ownsAudioMan) audioMan->idle();
        tellHost();
        return 0;
    });
}

void AM_VST3_Controller::tellHost() {
    std::shared_ptr<AM_VST3_Notices> taken;
    {
        const std::lock_guard lock(stateMutex);
        taken = notices;
    }
    if (!taken) return;
    taken->takeParameters([this](i32 row) { tellParameter(row); });
    if (taken->takeLatency()) tellLatency();
}

void AM_VST3_Controller::tellParameter(i32 index) {
    ParameterInfo row;
    f32 plain = 0;
    {
        const std::lock_guard lock(stateMutex);
        const ParameterInfo* found = audioMan ? audioMan->getParaMan()->row(index) : nullptr;
        if (!found) return;
        row = *found;
        plain = audioMan->getParaMan()->getParameterTarget(index);
    }
    const u32 id = AM_VST3_idOf(row);
    if (!VelParameter::isNumber(row)) {
        tellTextChanged(id);
        return;
    }
    edit(id, VelParameter::normalizedValue(row, plain));
    if (index == bypassRow) edit(k_vst3Bypass, plain > 0.5f ? 0 : 1);
}

// A text has no value that a host could record, but its project is not what it was.
void AM_VST3_Controller::tellTextChanged(u32 id) {
    IPtr<IComponentHandler2> host;
    {
        const std::lock_guard lock(stateMutex);
        host = componentHandler2;
    }
    if (!host || host->setDirty(true) != kResultOk) edit(id, 0);
}

void AM_VST3_Controller::tellLatency() {
    IPtr<IComponentHandler> host;
    {
        const std::lock_guard lock(stateMutex);
        const i32 told = notices ? notices->latencyTold.load() : -1;
        // A host that has not asked yet will do so anyway.
        if (!audioMan || told < 0 || told == audioMan->getLatency()) return;
        host = componentHandler;
    }
    if (host) host->restartComponent(Steinberg::Vst::kLatencyChanged);
}

void AM_VST3_Controller::edit(u32 id, f64 value) {
    IPtr<IComponentHandler> host;
    {
        const std::lock_guard lock(stateMutex);
        store(id, value);
        host = componentHandler;
    }
    if (!host) return;
    host->beginEdit(id);
    host->performEdit(id, value);
    host->endEdit(id);
}

void AM_VST3_Controller::store(u32 id, f64 value) {
    EditControllerEx1::setParamNormalized(id, value);
}

// Sets the parameters to what the manager holds; true if that changed any.
bool AM_VST3_Controller::takeValues() {
    const std::lock_guard lock(stateMutex);
    if (!audioMan) return false;
    const AM_ParaMan& table = *audioMan->getParaMan();
    bool changed = false;
    const auto take = [&](u32 id, f64 value) {
        Steinberg::Vst::Parameter* parameter = getParameterObject(id);
        changed |= parameter && parameter->setNormalized(value);
    };
    for (i32 i = 0; i < map.size(); ++i) {
        const ParameterInfo* row = table.row(i);
        if (!row || !VelParameter::isNumber(*row)) continue;
        take(AM_VST3_idOf(*row), VelParameter::normalizedValue(*row, table.getParameterTarget(i)));
    }
    if (bypassRow >= 0) take(k_vst3Bypass, table.getParameterTarget(bypassRow) > 0.5f ? 0 : 1);
    return changed;
}

// --- IEditController --------------------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Controller::setComponentState(IBStream* state) {
    AM_Log("setComponentState called on controller");
    return AM_VST3_guarded("setComponentState", kResultOk, [&]() -> tresult {
        const bool isAlone = !audioMan || ownsAudioMan;
        if (isAlone && state) readAlone(*state);
        takeValues();
        return kResultOk;
    });
}

// Without the processor's manager the temporary one stands in for it.
void AM_VST3_Controller::readAlone(IBStream& state) {
    std::string text;
    if (parameters.getParameterCount() == 0 || !AM_VST3_readState(state, &text)) return;
    if (!audioMan) {
        createTemporary();
        ownsAudioMan = true;
    }
    audioMan->setStateInfo(text.data(), static_cast<i32>(text.size()), true);
}

tresult PLUGIN_API AM_VST3_Controller::setState(IBStream*) {
    AM_Log("setState called on gui");
    return kResultOk;
}

tresult PLUGIN_API AM_VST3_Controller::getState(IBStream*) {
    AM_Log("getState called on controller");
    return kResultOk;
}

int32 PLUGIN_API AM_VST3_Controller::getParameterCount() {
    return parameters.getParameterCount() + static_cast<int32>(midiValues.size());
}

tresult PLUGIN_API AM_VST3_Controller::getParameterInfo(int32 index,
                                                        Steinberg::Vst::ParameterInfo& info) {
    if (index < 0 || index >= getParameterCount()) return kInvalidArgument;
    if (index < numInFront) return EditControllerEx1::getParameterInfo(index, info);
    const u32 place = static_cast<u32>(index - numInFront);
    if (place >= midiValues.size())
        return EditControllerEx1::getParameterInfo(index - static_cast<int32>(midiValues.size()),
                                                   info);
    info = midi->getInfo();
    info.id = k_vst3FirstMidi + place;
    return kResultOk;
}

Steinberg::Vst::Parameter* AM_VST3_Controller::getParameterObject(ParamID id) {
    return isMidi(id) ? midi.get() : EditControllerEx1::getParameterObject(id);
}

tresult PLUGIN_API AM_VST3_Controller::getParamStringByValue(ParamID id, ParamValue value,
                                                             Steinberg::Vst::String128 text) {
    if (!text || !std::isfinite(value)) return kInvalidArgument;
    return EditControllerEx1::getParamStringByValue(id, value, text);
}

ParamValue PLUGIN_API AM_VST3_Controller::getParamNormalized(ParamID id) {
    const std::lock_guard lock(stateMutex);
    return isMidi(id) ? midiValues[id - k_vst3FirstMidi]
                      : EditControllerEx1::getParamNormalized(id);
}

tresult PLUGIN_API AM_VST3_Controller::setParamNormalized(ParamID id, ParamValue value) {
    if (!std::isfinite(value)) return kInvalidArgument;
    return AM_VST3_guarded("setParamNormalized", kResultFalse, [&]() -> tresult {
        const std::lock_guard lock(stateMutex);
        if (isMidi(id)) {
            midiValues[id - k_vst3FirstMidi] = std::clamp(value, 0.0, 1.0);
            return kResultOk;
        }
        const tresult result = EditControllerEx1::setParamNormalized(id, value);
        // Bypass and the module's own switch are one.
        if (bypassRow < 0 || result != kResultOk) return result;
        if (id == k_vst3Bypass) store(bypassId, value > 0.5 ? 0 : 1);
        if (id == bypassId) store(k_vst3Bypass, value > 0.5 ? 0 : 1);
        return result;
    });
}

tresult PLUGIN_API AM_VST3_Controller::setComponentHandler(IComponentHandler* handler) {
    const std::lock_guard lock(stateMutex);
    return EditControllerEx1::setComponentHandler(handler);
}

Steinberg::IPlugView* PLUGIN_API AM_VST3_Controller::createView(Steinberg::FIDString name) {
    if (!name || std::strcmp(name, Steinberg::Vst::ViewType::kEditor) != 0) return nullptr;
    AM_Log("Creating View...");
    return AM_VST3_guarded("createView", nullptr, [this] {
        if (!view) view = AM_VST3_createView(*this);
        if (view) view->addRef();
        return view;
    });
}

void AM_VST3_Controller::editorAttached(Steinberg::Vst::EditorView*) {
    AM_Log("AM_VST3_Controller::editorAttached");
}

void AM_VST3_Controller::editorRemoved(Steinberg::Vst::EditorView*) {
    AM_Log("AM_VST3_Controller::editorRemoved");
}

void AM_VST3_Controller::editorDestroyed(Steinberg::Vst::EditorView*) {
    AM_Log("AM_VST3_Controller::editorDestroyed");
}

// --- units and MIDI ---------------------------------------------------------------------------

int32 PLUGIN_API AM_VST3_Controller::getUnitCount() {
    const int32 count = EditControllerEx1::getUnitCount();
    AM_Log("getUnitCount() = %d", count);
    return count;
}

tresult PLUGIN_API AM_VST3_Controller::getUnitInfo(int32 index, Steinberg::Vst::UnitInfo& info) {
    if (index < 0 || static_cast<size_t>(index) >= units.size()) return kInvalidArgument;
    return EditControllerEx1::getUnitInfo(index, info);
}

int32 PLUGIN_API AM_VST3_Controller::getProgramListCount() {
    const int32 count = EditControllerEx1::getProgramListCount();
    AM_Log("getProgramListCount() = %d", count);
    return count;
}

tresult PLUGIN_API AM_VST3_Controller::getMidiControllerAssignment(
    int32, Steinberg::int16 channel, Steinberg::Vst::CtrlNumber controller, ParamID& id) {
    id = k_vst3FirstMidi + static_cast<u32>(channel * k_vst3MappingStride + controller);
    return kResultOk;
}
