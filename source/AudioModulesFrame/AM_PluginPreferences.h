// What all instances of a plug-in in the process share beside their sound: preferences and the
// assignment of MIDI controllers. The instance record holds one; a higher floor implements it.
#pragma once

#include "AM_Types.h"

#include <atomic>
#include <string>

class AM_AudioMan;

// What one instance knows of its MIDI controllers.
struct AM_MidiControllerState {
    static constexpr i32 k_maxTargets = 8;

    AM_MidiControllerState() {
        for (std::atomic<i32>& target : learnTargets)
            target.store(-1, std::memory_order_relaxed);
    }
    // Parameter ids that the next controller is to be assigned to, -1 for none. Any thread.
    std::atomic<i32> learnTargets[k_maxTargets];
    std::atomic<i32> learnCount{0};
    // The bank that program changes choose from. Any thread.
    std::atomic<i32> currentBank{0};
    // The parameter that a row has moved last. Audio thread.
    i32 lastParameter = 0;
};

class AM_IPluginPreferences {
public:
    virtual ~AM_IPluginPreferences() = default;

    // Reads the preferences and the assignments from the tree of `instance`; what is missing there
    // keeps its default. Host main thread.
    virtual void load(AM_AudioMan& instance) = 0;
    // Writes both back in one step each, keeping what other processes have added meanwhile. Host
    // main thread.
    virtual void save(AM_AudioMan& instance) = 0;
    // True once after something has changed that a save would write. Any thread.
    virtual bool takeChanged() = 0;

    // Sets the preference with this key to one of its value texts; false if there is none such. Not
    // on an audio thread.
    virtual bool setPreference(const char* name, const char* value) = 0;
    // The value text of a key; false for an unknown key. Not on an audio thread.
    virtual bool describe(const char* name, std::string* value) const = 0;
    // The value of a preference by AM_PreferenceId, -1 if the store has none of that id. Any
    // thread.
    virtual i32 valueOf(i32 id) const = 0;
    // A message to the store itself. Not on an audio thread.
    virtual void receiveCom(const char* subject, const char* content) = 0;

    // Learns from and applies one controller message (channel 0 to 15, controller and value 0 to
    // 127) for `instance`. Audio thread, in the sub-block in which the message falls.
    virtual void controllerInput(AM_AudioMan& instance, AM_MidiControllerState& state, i32 channel,
                                 i32 controller, i32 value) = 0;
};
