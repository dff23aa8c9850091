// The preferences of a plug-in and the assignments of its MIDI controllers, shared by all of its
// instances in the process and kept in files.
#pragma once

#include "AM_AudioPrefEnum.h"
#include "AM_MIDIAssign.h"
#include "AM_Object.h"
#include "AM_PluginPreferences.h"
#include "AM_PreferencesFile.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

class AM_FilePath;
class AM_Filesystem;

// One per plug-in and process. Each value is one atomic word, so that an audio thread reads it at
// any time; who sets values takes a lock.
//
// Defaults: base latency "YES", MIDI smoothing "LIGHT", NKS auto map "YES", NKS colour fit "NO",
// tagging "never".
class AM_PreferencesAudio final : public AM_Object, public AM_IPluginPreferences {
public:
    static constexpr i32 k_numPreferences = 5;
    // The module in front of a key in files, and the store's address for messages.
    static constexpr const char* k_module = "AudioPrefs";

    // Of both names the first 31 bytes are kept, cut between characters.
    AM_PreferencesAudio(const char* product, const char* vendor);
    ~AM_PreferencesAudio() override;
    const char* getName() const override { return k_module; }
    // Objects alive in the process.
    static i32 count();

    // --- values
    // The entry for a key and a value text, case counted, or null. Any thread.
    static const AudioPrefEnum* find(std::string_view name, std::string_view value);
    // Also marks the preference for the next save, if it is the old value too.
    bool setPreference(const char* name, const char* value) override;
    bool describe(const char* name, std::string* value) const override;
    i32 valueOf(i32 id) const override;
    // The author's name for presets; of one above k_maxPreferenceAuthor bytes the start is kept.
    // Not on an audio thread.
    void setAuthor(const char* name);
    std::string getAuthor() const;
    bool takeChanged() override;

    // --- messages: "name:value"
    // What reports the state of a preference; false for an unknown key.
    bool encodeStateMessage(const char* name, std::string* text) const;
    // Takes a payload apart at the first colon; false, with a log line, if there is none.
    static bool decodeIntercomMessage(const char* text, std::string* name, std::string* value);
    // The same for a report.
    static bool decodeAudioPreferenceStateIntercomMessage(const char* text, std::string* name,
                                                          std::string* value);
    // "COM_SET_AUDIO_PREF" with "sender->name:value" sets a preference; other subjects are nothing
    // to the store. Nothing is answered: reports are the manager's.
    void receiveCom(const char* subject, const char* content) override;

    // --- files, one call at a time
    // "/support/com.<vendor>.<product>.Preferences.txt".
    AM_FilePath getPreferencesPath() const;
    void load(AM_AudioMan& instance) override;
    void save(AM_AudioMan& instance) override;
    // The preferences alone. A choice made here that is not saved yet stands against the file's.
    // False, with a log line, if there is a file that can't be read; then nothing is changed.
    bool load(AM_Filesystem& files, const AM_FilePath& path);
    // Writes what was chosen here since the last save over what the file says now and leaves the
    // rest of it: values from other processes, keys and values that this version does not know. A
    // file that says all that already is not written. False, with a log line, if the file can't be
    // read or replaced; it stays as it is then and the choices wait for the next save.
    bool save(AM_Filesystem& files, const AM_FilePath& path);
    // What a save would write over a file with the content `fileText`.
    std::string mergedText(std::string_view fileText) const;

    // --- MIDI controllers
    MidiAssignMap& getMidiAssigns() { return midiAssigns; }
    void controllerInput(AM_AudioMan& instance, AM_MidiControllerState& state, i32 channel,
                         i32 controller, i32 value) override;

private:
    friend class AudioPreferenceExtractor;

    struct Entry {
        std::atomic<const AudioPrefEnum*> value{nullptr};
        bool chosen = false; // since the last save; under lock
    };

    static i32 indexOf(std::string_view name);
    // Takes a value from the file; false if there is none such.
    bool adopt(const char* name, const char* value);
    void adoptAuthor(const char* name);
    std::string mergeLocked(std::string_view fileText) const;

    char product[32] = {};
    char vendor[32] = {};
    Entry entries[k_numPreferences];
    std::string author; // under lock
    bool authorChosen = false;
    std::atomic<bool> changed{false};
    mutable std::mutex lock;
    std::mutex fileLock; // held over a load or save, outside lock
    MidiAssignMap midiAssigns;
};

// Reads the lines of a file into a store; what it does not know is logged and passed over.
class AudioPreferenceExtractor final : public AM_IPreferencesStorage {
public:
    explicit AudioPreferenceExtractor(AM_PreferencesAudio& target) : store(target) {}
    void setPreference(const char* module, const char* key, i32 id, const char* value) override;
    void setAuthor(const char* name) override;

private:
    AM_PreferencesAudio& store;
    i32 logsLeft = 20;
};
