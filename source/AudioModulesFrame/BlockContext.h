// The per-block record that modules read, and a module's slot in a circuit.
#pragma once

#include "AM_Types.h"

#include <atomic>

class AM_AudioObject;
struct BlockContext;
struct CircuitModule;

// Runs one module over a sub-block: `*start` is the first quad (16 frames) in the
// buffers, `*numQuads` the number of quads, 1 to 4. Audio thread.
using AM_ProcessFunction = void (*)(i32* start, i32* numQuads, CircuitModule* slot,
                                    BlockContext* context);

// Frames of a sub-block at most, and frames of a quad.
inline constexpr i32 k_subBlockFrames = 64;
inline constexpr i32 k_quadFrames = 16;
inline constexpr i32 k_maxChannels = 16;

// A module's place in a circuit. `state`: bit 0 active, bits 16 to 27 the fade
// counter, 0 to 511; a slot starts with state 3.
struct CircuitModule {
    f32* data;
    f32* modData;
    AM_AudioObject* object;
    AM_ProcessFunction process;
    u8 firstInput;
    u8 firstOutput;
    u8 channels;
    u8 padding;
    std::atomic<u32> state;
    u8 reserved[8];
};
static_assert(sizeof(CircuitModule) == 48);
static_assert(std::atomic<u32>::is_always_lock_free);

// One per instance, at the head of its single allocation. Written by the host's
// binding between blocks and by the block path; modules read it.
struct BlockContext {
    f32 sampleRate;       // Hz
    f32 sampleReciprocal; // 1 / sampleRate, s
    f64 sampleRateD;      // Hz
    f64 samplePeriod;     // 1 / sampleRate, s
    i32 sampleRateI;      // Hz, rounded
    f64 bpm;              // quarter notes a minute, default 120
    f64 position;         // quarter notes, at the start of the current sub-block
    f64 previousPosition; // quarter notes, what the host reported last
    i32 swingGrid;        // index into AM_syncTable
    f32 swingAmount;      // from 0 up
    f64 swungBpm;
    f64 swungPosition;
    f32 swungGate; // 0 or 1
    i32 swingLocked;
    f64 swingOrigin;
    f64 swingPhaseRaw;
    f64 swingPhase;
    f32 quartersPerBar; // numerator * 4 / denominator, default 4
    f64 barPosition;    // quarter notes, the last bar start
    i32 barTick;        // 1 in the sub-block in which a bar line falls
    i32 refreshCountdown;
    i32 refreshPeriod;
    i32 transportJumped;         // 1 after the host's position differed from the expected one
    u64 quadCounter;             // quads processed since the start
    i32 quadsLeft;               // quads left in the host block behind the current sub-block
    f32* outputs[k_maxChannels]; // host buffers; null: not connected
    f32* inputs[k_maxChannels];
    f32* sideChains[k_maxChannels];
    f32* audioBuffer;      // bus memory: channel c at c * 64 floats, 16-byte aligned
    i32 numBusChannels;    // channels of bus memory
    f32* bypassBuffer;     // second work buffer of the bypass fade, 64 floats a channel
    f32* channelPositions; // 16 positions, see AM_ChannelMaps.h
    f32* modBuffers;       // 16 floats a ModBuffer
    f32* modValues;        // last value of each ModBuffer
    i32 numModBuffers;
    u32 activeMods[2]; // bit masks of the ModBuffers in use, 24 bits and 32 bits
    i32 smoothingMode; // MIDI smoothing: 0 off, 1 light, 2 smooth
    i32 numFrames;     // frames in the current host block
    i32 floatMode;     // 3; above 1 a VST2 binding changes the floating-point control word
    i32 channelLayout; // speaker layout that the host asked for, 0 to 8
    i32 lfeMode;       // 0 to 2
    i32 patchVersion;
    i32 renderMode; // -1 unknown, 0 real time, 1 offline
};
