#include "AM_VST3_Processor.h"

#include "AM_Clock.h"
#include "AM_ParaMan.h"
#include "AM_VST3_Guard.h"
#include "AM_VST3_HostName.h"
#include "AM_VST3_Managers.h"
#include "AM_VST3_Stream.h"
#include "Glassmere_AudioMan.h"

#include "pluginterfaces/base/ustring.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "pluginterfaces/vst/vstspeaker.h"

#include <algorithm>
#include <ctime>
#include <string>

using Steinberg::IBStream;
using Steinberg::int32;
using Steinberg::kResultFalse;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::Vst::IConnectionPoint;
using Steinberg::Vst::IMessage;

namespace {

// In which a host that opens a project hands its state over, ns.
constexpr u64 k_openingTime = 1000000000;
constexpr int32 k_maxBuses = 2;
constexpr size_t k_maxProgramName = 28;

// The name in a line "#pgm=" at the head of a state, for the log.
void logProgramName(const std::string& text) {
    constexpr std::string_view head = "#pgm=";
    if (!text.starts_with(head)) {
        AM_Log("hasProgramName false");
        return;
    }
    const std::string name = text.substr(head.size(), k_maxProgramName);
    AM_Log("hasProgramName %s", name.substr(0, name.find('\n')).c_str());
}

// The line of the header ends where the name has one of its own.
std::string chunkHeader(const std::string& name) {
    const auto end =
        std::find_if(name.begin(), name.end(), [](char c) { return static_cast<u8>(c) < ' '; });
    return "#pgm=" + std::string(name.begin(), end);
}

} // namespace

AM_VST3_Processor::AM_VST3_Processor(u32 id) : plugId(id) {
}

AM_VST3_Processor::~AM_VST3_Processor() {
    AM_Log("AM_VST3_Processor::~AM_VST3_Processor");
    AM_VST3_guarded("~AM_VST3_Processor", 0, [this] {
        deleteManager();
        return 0;
    });
}

AM_VST3_Processor_vlGM::AM_VST3_Processor_vlGM() : AM_VST3_Processor(k_glassmereId) {
    setControllerClass(Steinberg::FUID::fromTUID(k_vst3ControllerClass));
}

// --- life ----------------------------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Processor::initialize(Steinberg::FUnknown* context) {
    return AM_VST3_guarded("initialize", kResultFalse, [&]() -> tresult {
        // Twice is once: a host may also come without a context, which the base does not notice.
        if (audioMan) return kResultFalse;
        const tresult result = AudioEffect::initialize(context);
        if (result != kResultOk) return result;
        AM_Log("INIT AudioProcessor %d", plugId);
        createManager();
        addBuses();
        return kResultOk;
    });
}

void AM_VST3_Processor::createManager() {
    auto manager = std::make_unique<Glassmere_AudioMan>(plugId);
    manager->setHost(AM_VST3_hostName().c_str());
    manager->setApi("VST3");
    manager->initialize();
    manager->getParaMan()->setParameterSink(&sink);
    const std::string preset = manager->getPresetFileName();
    if (preset == "default.q3p" || preset == "...") manager->setPresetFileName("initialize");
    map = AM_VST3_ParameterMap(*manager->getParaMan());
    notices = AM_VST3_Managers::add(manager.get());
    audioMan = std::move(manager);
    initTime = AM_nanoseconds();
    AM_Log("Created AudioMan at %d", static_cast<i64>(std::time(nullptr)));
    AM_Log("/ INIT AudioProcessor %d", plugId);
}

void AM_VST3_Processor::addBuses() {
    addAudioInput(STR16("Stereo In"), Steinberg::Vst::SpeakerArr::kStereo);
    addAudioOutput(STR16("Stereo Out"), Steinberg::Vst::SpeakerArr::kStereo);
    addEventInput(STR16("Midi In"), 1);
}

tresult PLUGIN_API AM_VST3_Processor::terminate() {
    AM_Log("AM_VST3_Processor::terminate");
    return AM_VST3_guarded("terminate", kResultOk, [this]() -> tresult {
        deleteManager();
        return AudioEffect::terminate();
    });
}

void AM_VST3_Processor::deleteManager() {
    if (!audioMan) return;
    AM_VST3_Managers::remove(audioMan.get());
    audioMan->setHostCallback(nullptr, nullptr);
    voiceCountRef = nullptr;
    pointerSent = false;
    audioMan.reset();
    notices.reset();
}

tresult PLUGIN_API AM_VST3_Processor::setActive(Steinberg::TBool state) {
    AM_Log(state ? "AM_VST3_Processor::setActive (true)" : "AM_VST3_Processor::setActive (false)");
    return AM_VST3_guarded("setActive", kResultOk, [&]() -> tresult {
        if (state) trySendPointer();
        if (audioMan) voiceCountRef = &audioMan->pluginInfo.voiceCount;
        return AudioEffect::setActive(state);
    });
}

// --- the way to the controller ----------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Processor::connect(IConnectionPoint* other) {
    return AM_VST3_guarded("connect", kResultFalse, [&]() -> tresult {
        const tresult result = AudioEffect::connect(other);
        if (result == kResultOk) trySendPointer();
        return result;
    });
}

tresult PLUGIN_API AM_VST3_Processor::disconnect(IConnectionPoint* other) {
    pointerSent = false;
    return AudioEffect::disconnect(other);
}

tresult PLUGIN_API AM_VST3_Processor::notify(IMessage* message) {
    const char* id = message ? message->getMessageID() : nullptr;
    AM_Log("[AM_VST3_Processor] received: %s", id ? id : "");
    return kResultOk;
}

void AM_VST3_Processor::trySendPointer() {
    if (pointerSent || !audioMan) return;
    pointerWanted = false;
    if (sendPointer()) pointerSent = true;
}

void AM_VST3_Processor::sendPointerIfWanted() {
    if (pointerWanted) trySendPointer();
}

bool AM_VST3_Processor::sendPointer() {
    const i64 address = reinterpret_cast<i64>(audioMan.get());
    AM_Log("Sending pointer to GUI message via VST3... %X", static_cast<u32>(address));
    const Steinberg::IPtr<IMessage> message = Steinberg::owned(allocateMessage());
    Steinberg::Vst::IAttributeList* attributes = message ? message->getAttributes() : nullptr;
    if (!attributes) {
        AM_Log("allocateMessage() doesn't deliver!");
        return false;
    }
    if (!getPeer()) {
        AM_Log("peerConnection is NULL, can not notify");
        return false;
    }
    message->setMessageID("audioPtr");
    attributes->setInt("ptr", address);
    return sendMessage(message) == kResultOk;
}

// --- state ---------------------------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Processor::getState(IBStream* state) {
    AM_Log("getState called on processor");
    return AM_VST3_guarded("getState", kResultOk, [&]() -> tresult {
        if (!audioMan || !state) return kResultOk;
        sendPointerIfWanted();
        const std::string header = chunkHeader(audioMan->getPresetFileName());
        AM_Log("Save preset with chunk-header %s", header.c_str());
        i32 size = 0;
        const char* text = audioMan->getStateInfo(&size, true, header.c_str());
        if (!text || !AM_VST3_writeState(*state, text, static_cast<u32>(size)))
            AM_Log("ERROR: the host's stream does not take the state");
        AM_Log("done with getState on processor");
        return kResultOk;
    });
}

tresult PLUGIN_API AM_VST3_Processor::setState(IBStream* state) {
    AM_Log("setState called on processor");
    return AM_VST3_guarded("setState", kResultOk, [&]() -> tresult {
        if (!audioMan || !state) return kResultOk;
        sendPointerIfWanted();
        loadState(*state);
        return kResultOk;
    });
}

bool AM_VST3_Processor::isOpeningProject() const {
    return AM_nanoseconds() - initTime < k_openingTime;
}

void AM_VST3_Processor::loadState(IBStream& state) {
    std::string text;
    if (!AM_VST3_readState(state, &text)) return;
    const bool inSong = isOpeningProject();
    if (inSong) AM_Log("IN SONG!");
    logProgramName(text);
    audioMan->setStateInfo(text.data(), static_cast<i32>(text.size()), inSong);
    AM_Log("done with setState on processor");
}

// --- setup ---------------------------------------------------------------------------------

tresult PLUGIN_API AM_VST3_Processor::setBusArrangements(Steinberg::Vst::SpeakerArrangement*,
                                                         int32 numIns,
                                                         Steinberg::Vst::SpeakerArrangement*,
                                                         int32 numOuts) {
    AM_Log("AM_VST3_Processor::setBusArrangements %d %d", numIns, numOuts);
    if (!audioMan) {
        AM_Log("AudioMan == NULL in AM_VST3_Processor::setBusArrangements");
        return kResultFalse;
    }
    const AM_PluginInfo& info = audioMan->pluginInfo;
    if (info.hasOutputs && (numOuts < 1 || numOuts > k_maxBuses)) return kResultFalse;
    const int32 mostIns = info.hasInputs ? k_maxBuses : 0;
    return numIns >= 0 && numIns <= mostIns ? Steinberg::kResultTrue : kResultFalse;
}

tresult PLUGIN_API AM_VST3_Processor::setupProcessing(Steinberg::Vst::ProcessSetup& setup) {
    return AM_VST3_guarded("setupProcessing", kResultFalse, [&]() -> tresult {
        if (!audioMan || canProcessSampleSize(setup.symbolicSampleSize) != Steinberg::kResultTrue)
            return kResultFalse;
        sendPointerIfWanted();
        audioMan->setSampleRate(setup.sampleRate);
        audioMan->setRenderMode(setup.processMode == Steinberg::Vst::kOffline ? 1 : 0);
        return AudioEffect::setupProcessing(setup);
    });
}

Steinberg::uint32 PLUGIN_API AM_VST3_Processor::getLatencySamples() {
    if (!audioMan) return 0;
    const i32 latency = audioMan->getLatency();
    notices->latencyTold = latency;
    return static_cast<Steinberg::uint32>(latency);
}

Steinberg::uint32 PLUGIN_API AM_VST3_Processor::getProcessContextRequirements() {
    return kNeedProjectTimeMusic | kNeedBarPositionMusic | kNeedTempo | kNeedTimeSignature;
}
