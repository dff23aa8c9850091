// The numbers that a VST3 host keeps in its projects: class ids and the partition of parameter ids.
// None of them ever changes.
#pragma once

#include "AM_PluginTable.h"

#include "pluginterfaces/base/funknown.h"

// The four 32-bit words of the class ids; the platform's byte order is INLINE_UID's matter.
inline constexpr Steinberg::TUID k_vst3ProcessorClass =
    INLINE_UID(0xD39D5B69, 0xD6AF42FA, 0x12345678, k_glassmereId);
inline constexpr Steinberg::TUID k_vst3ControllerClass =
    INLINE_UID(0xD39D5B69, 0xD6AF42FA, 0x84AF4AC8, k_glassmereId);

// Below it: rows that have a public id of their own. From it on: row index + 100000.
inline constexpr u32 k_vst3FirstRow = 100000;
// 16 channels of 130 numbers each; the whole range up to the programs is read that way.
inline constexpr u32 k_vst3FirstMidi = 200000;
inline constexpr u32 k_vst3Program = 300000;
inline constexpr u32 k_vst3Bypass = 400000;

inline constexpr i32 k_vst3MidiChannels = 16;
// Numbers of one channel: controllers 0 to 127, channel pressure, pitch bend.
inline constexpr i32 k_vst3MidiNumbers = 130;
inline constexpr i32 k_vst3Pressure = 128;
inline constexpr i32 k_vst3PitchBend = 129;
// The stride with which the MIDI mapping numbers its channels. It is not the one above, and
// projects rest on both.
inline constexpr i32 k_vst3MappingStride = 128;

inline constexpr i32 k_vst3ProgramUnit = 999;
inline constexpr i32 k_vst3MidiUnit = 1000;
