// What an AM_AudioMan shares with the other instances of its plug-in, and its way from MIDI bytes
// to events, parameters and programs.
#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_Filesystem.h"
#include "AM_InstanceRecs.h"
#include "AM_Messages.h"
#include "AM_MidiPrograms.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace {

constexpr i32 k_programsPerBank = 128;
constexpr i32 k_ticksUntilSave = 20; // a second without further changes
constexpr i32 k_bankSelect = 0;
constexpr i32 k_modWheelController = 1;
constexpr i32 k_sustainController = 64;
constexpr i32 k_allNotesOffController = 123;
constexpr f32 k_sevenBits = 0.007874016f; // 1 / 127

} // namespace

// --- MIDI --------------------------------------------------------------------------------

i32 AM_AudioMan::handleMidiBytes(const u8* bytes, i32 length, i32 frameOffset) {
    const AM_MidiMessage message = AM_parseMidi(bytes, length);
    switch (message.kind) {
    case AM_MidiMessage::k_event:
        processEvent(message.type, message.channel, message.field1, message.field2,
                     static_cast<u32>(std::max(frameOffset, 0)));
        break;
    case AM_MidiMessage::k_controller:
        controllerInput(message.channel, message.data1, message.data2, frameOffset);
        break;
    case AM_MidiMessage::k_program:
        setMidiProgram(message.data1, nullptr);
        break;
    default:
        break;
    }
    return message.used;
}

void AM_AudioMan::controllerInput(i32 channel, i32 controller, i32 value, i32 frameOffset) {
    const u32 time = static_cast<u32>(std::max(frameOffset, 0));
    const f32 share = static_cast<f32>(value) * k_sevenBits;
    if (controller == k_bankSelect) {
        midiState.currentBank.store(value, std::memory_order_relaxed);
        AM_Log("MidiBankSelect %d", value);
    }
    if (controller == k_modWheelController) processEvent(k_eventModWheel, channel, 0, share, time);
    if (controller == k_sustainController)
        processEvent(k_eventSustain, channel, 0, static_cast<f32>(value), time);
    if (controller == k_allNotesOffController)
        processEvent(k_eventAllNotesOff, channel, 0, static_cast<f32>(value), time);
    processEvent(k_eventController, channel, static_cast<f32>(controller), static_cast<f32>(value),
                 time);
}

void AM_AudioMan::addLearnTarget(i32 parameter) {
    if (!paraMan || !paraMan->row(parameter)) return;
    for (std::atomic<i32>& target : midiState.learnTargets) {
        i32 empty = -1;
        if (target.load() == parameter) return;
        if (!target.compare_exchange_strong(empty, parameter)) continue;
        midiState.learnCount.store(AM_MidiControllerState::k_maxTargets);
        return;
    }
}

// --- programs ----------------------------------------------------------------------------

bool AM_AudioMan::setMidiProgram(i32 program, char* outText) {
    AM_Log("AM_AudioMan::setMidiProgram( int inProgram, char* outText )");
    if (outText) *outText = 0;
    if (!instanceRecord || program < 0 || program >= k_programsPerBank) return false;
    const i32 bank = getCurrentBank();
    if (!AM_onAudioThread()) return loadProgram(bank, program, outText);
    if (instanceRecord->numPrograms.load(std::memory_order_relaxed) == 0) return false;
    pendingProgram.store(bank * k_programsPerBank + program, std::memory_order_release);
    return true;
}

void AM_AudioMan::loadPendingProgram() {
    const i32 wanted = pendingProgram.exchange(-1, std::memory_order_acquire);
    if (wanted >= 0) loadProgram(wanted / k_programsPerBank, wanted % k_programsPerBank, nullptr);
}

bool AM_AudioMan::loadProgram(i32 bank, i32 program, char* outText) {
    // Held, so that the texts live as long as they are read.
    const std::shared_ptr<const AM_MidiProgramTable> table = instanceRecord->programs.load();
    const AM_MidiProgram* found = table ? table->find(bank, program) : nullptr;
    if (!found) return false;
    if (outText) AM_STD::copyText(outText, sizeof found->name, found->name);
    if (!setStateInfo(found->text.c_str(), static_cast<i32>(found->text.size()), false))
        return false;
    setPresetFileName(found->name);
    sendMessage(0, AM_Message_ProgramChanged, 0, nullptr);
    return true;
}

void AM_AudioMan::createMidiPrograms() {
    const std::shared_ptr<const AM_MidiProgramTable> table = AM_readMidiPrograms(getFilesystem());
    instanceRecord->numPrograms.store(static_cast<i32>(table->programs.size()));
    instanceRecord->programs.store(table);
    AM_readMidiBankCache(getFilesystem());
}

// --- preferences -------------------------------------------------------------------------

AM_IPluginPreferences* AM_AudioMan::getSharedPreferences() const {
    return instanceRecord ? instanceRecord->preferences.get() : nullptr;
}

void AM_AudioMan::loadPreferences() {
    if (!instanceRecord || !filesystem) return;
    AM_Log("loadPreferences() - %s", pluginInfo.name);
    {
        const std::lock_guard lock(instanceRecord->shared);
        if (!instanceRecord->programs.load()) createMidiPrograms();
        if (!instanceRecord->preferences) {
            std::unique_ptr<AM_IPluginPreferences> made = createPreferences();
            if (made) made->load(*this);
            instanceRecord->preferences = std::move(made);
        }
    }
    takeOverPreferences();
}

void AM_AudioMan::savePreferences() {
    if (!instanceRecord || !filesystem) return;
    const std::lock_guard lock(instanceRecord->shared);
    if (instanceRecord->preferences) instanceRecord->preferences->save(*this);
    const std::shared_ptr<const AM_MidiProgramTable> table = instanceRecord->programs.load();
    if (table && !table->bankFolders.empty()) AM_writeMidiBankCache(*filesystem, *table);
}

// What has changed in the store, by this instance or another one. A value that was set on this
// instance alone stays until then.
void AM_AudioMan::takeOverPreferences() {
    const AM_IPluginPreferences* store = getSharedPreferences();
    for (i32 id = 0; store && id < AM_PreferenceValues::k_count; ++id) {
        const i32 value = store->valueOf(id);
        i32& seen = seenPreferences[id];
        if (value >= 0 && value != seen) setPreferenceValue(id, value);
        seen = value;
    }
}

// Changes are written once they have come to rest.
void AM_AudioMan::keepPreferences(i32 ticks) {
    AM_IPluginPreferences* store = getSharedPreferences();
    if (!store) return;
    if (store->takeChanged()) {
        saveCountdown = k_ticksUntilSave;
    } else if (saveCountdown > 0) {
        saveCountdown = std::max(saveCountdown - ticks, 0);
        if (saveCountdown == 0) savePreferences();
    }
}

void AM_AudioMan::setPreference(const char* name, const char* value) {
    AM_IPluginPreferences* store = getSharedPreferences();
    std::string before;
    if (!store || !store->describe(name, &before)) {
        AM_Log("AM_AudioMan setPreference called but didn't find matching preference for \"%s\"",
               name);
        return;
    }
    if (!store->setPreference(name, value)) {
        AM_Log("AM_AudioMan::setPreference called but didn't find matching preference value for "
               "\"%s\"",
               value);
        return;
    }
    takeOverPreferences();
}

void AM_AudioMan::printPublicParameters() {
    const std::vector<i32>& table = paraMan->getHostIndexTable();
    for (i32 place = 0; place < static_cast<i32>(table.size()); ++place) {
        const i32 id = table[static_cast<size_t>(place)];
        const ParameterInfo& row = *paraMan->row(id);
        const AM_AudioObject& owner = *getParameterOwner(id);
        char shortName[9];
        row.copyShortName(shortName);
        const std::string text = paraMan->displayText(id, paraMan->getParameterTarget(id));
        AM_Log("%d: %s:%s:\"%s\"\t\t//%s->%s\n", place, owner.getShortName(), shortName, text,
               owner.getLongName(), row.longName);
        if (row.hostParamIndex != place) AM_Log("WRONG! %d != %d", row.hostParamIndex, place);
    }
}

void AM_AudioMan::printBinaryState() {
    constexpr i32 bytesPerLine = 32;
    i32 size = 0;
    const auto* bytes = static_cast<const u8*>(paraMan->writeState(&size));
    for (i32 first = 0; first < size; first += bytesPerLine) {
        std::string line;
        for (i32 i = first; i < std::min(first + bytesPerLine, size); ++i) {
            char digits[4];
            AM_STD::sprintv(digits, sizeof digits, bytes[i] < 16 ? "0%x" : "%x", bytes[i]);
            line += digits;
        }
        AM_Log("%s", line);
    }
}

void AM_AudioMan::receivePreferencesCom(const char* subject, const char* content) {
    if (AM_IPluginPreferences* store = getSharedPreferences()) store->receiveCom(subject, content);
}

void AM_AudioMan::answerPreference(const char* name) {
    AM_IPluginPreferences* store = getSharedPreferences();
    std::string value;
    if (store && store->describe(name, &value)) {
        const std::string report = std::string(name) + ':' + value;
        sendInterCom("ViewMan", "COM_AUDIO_PREF_STATE_REPORT", report.c_str());
        return;
    }
    AM_Log("AM_AudioMan received INTERCOM_MESSAGE_REQUEST_AUDIO_PREF but didn't find matching "
           "preference");
}

void AM_AudioMan::receiveManagerCom(const char* subject, const char* content) {
    if (!subject || !content) return;
    if (std::strcmp(subject, "COM_REQUEST_AUDIO_PREF") == 0) {
        answerPreference(content);
    } else if (std::strcmp(subject, "COM_SET_AUDIO_PREF") == 0) {
        const char* colon = std::strchr(content, ':');
        if (!colon) {
            AM_Log("error: AM_PreferencesAudio::decodeIntercomMessage no delimiter ':' found");
            return;
        }
        setPreference(std::string(content, colon).c_str(), colon + 1);
    }
}
