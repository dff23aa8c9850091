// The choices that hold for a plug-in as a whole, one class for each.
#pragma once

#include "AM_PreferenceValues.h"
#include "AM_SmartEnum.h"

// A value of a preference.
class AudioPrefEnum : public SmartEnum {
public:
    // The id of a preference that only the editor knows.
    static constexpr i32 k_viewOnly = -1;

    constexpr AudioPrefEnum(const SmartEnumList& classList, const char* text, i32 number,
                            i32 preferenceId)
        : SmartEnum(classList, text, number), id(preferenceId) {}
    // The preference's key, as in files and messages.
    virtual const char* getKey() const = 0;

    // As in AM_PreferenceId, or k_viewOnly.
    const i32 id;

protected:
    constexpr ~AudioPrefEnum() override = default;
};

// How moves of MIDI controllers are smoothed.
class MidiControlSmoothing final : public AudioPrefEnum {
public:
    constexpr MidiControlSmoothing(const char* text, i32 number)
        : AudioPrefEnum(list, text, number, k_prefMidiSmoothing) {}
    constexpr ~MidiControlSmoothing() override = default;
    const char* getKey() const override { return "SmoothMidiCtrls"; }

    static const SmartEnumList list;
    static const MidiControlSmoothing off, light, smooth;
};

// Whether blocks of any size are taken, at the price of 16 frames of latency.
class BaseLatency final : public AudioPrefEnum {
public:
    constexpr BaseLatency(const char* text, i32 number)
        : AudioPrefEnum(list, text, number, k_prefBaseLatency) {}
    constexpr ~BaseLatency() override = default;
    const char* getKey() const override { return "BaseLatencyBuffer16"; }

    static const SmartEnumList list;
    static const BaseLatency no, yes;
};

// Whether parameters are laid out for NKS controllers without being asked.
class NKS_AutoMap final : public AudioPrefEnum {
public:
    constexpr NKS_AutoMap(const char* text, i32 number)
        : AudioPrefEnum(list, text, number, k_viewOnly) {}
    constexpr ~NKS_AutoMap() override = default;
    const char* getKey() const override { return "NKS Auto Map"; }

    static const SmartEnumList list;
    static const NKS_AutoMap no, yes;
};

// Whether the editor's colours follow those of NKS.
class NKS_ColourFit final : public AudioPrefEnum {
public:
    constexpr NKS_ColourFit(const char* text, i32 number)
        : AudioPrefEnum(list, text, number, k_viewOnly) {}
    constexpr ~NKS_ColourFit() override = default;
    const char* getKey() const override { return "NKS Colour Fit"; }

    static const SmartEnumList list;
    static const NKS_ColourFit no, yes;
};

// When the features of a preset are tagged.
class AutoTag_Features final : public AudioPrefEnum {
public:
    constexpr AutoTag_Features(const char* text, i32 number)
        : AudioPrefEnum(list, text, number, k_viewOnly) {}
    constexpr ~AutoTag_Features() override = default;
    const char* getKey() const override { return "Auto Tag Features"; }

    static const SmartEnumList list;
    static const AutoTag_Features never, onLoad, ifEmpty;
};
