// What a MIDI controller does: it is learnt, and it moves the parameters assigned to it.
#pragma once

#include "AM_MIDIAssign.h"
#include "AM_PluginPreferences.h"

// The parameter that a controller is to move.
struct AM_ControllerTarget {
    f32 minimum;
    f32 maximum;
    f32 current;
    bool whole; // holds whole numbers only
};

// The value that the parameter gets from a controller at `value` (0 to 127), in its own units and
// range. `mode` is one of k_midiNormal to k_midiSemitone. Any thread, allocates nothing.
//
// Encoders move by steps: 1 a step with "normal" and "integer", 0.01 with "fine", 12 with
// "octaves", 0.1 with "semitone". Ranges of less than 128 take 128 steps from end to end with
// "normal" and "integer", rounded to whole steps a unit. Where only whole numbers will do, steps
// that do not make one are kept in `remainder`.
//
// Positions span the range: 127 is the maximum. Of 14 bits, "fine" brings the low half, the others
// the high one, which is kept in `remainder`; the high half alone reaches the maximum. "semitone"
// gives 0.1 to 11.9, "octaves" the multiple of 12 next to the position.
f32 AM_controllerValue(const AM_ControllerTarget& target, i32 mode, i32 type, i32 value,
                       i32* remainder);

// Takes one controller message (channel 0 to 15, controller and value 0 to 127; others are
// ignored) for `instance`: assigns it to the parameters that wait in `state`, if the map's lock can
// be had (else they wait on), then moves what the rows of `map` say, and tells the host of each
// value that has changed. Audio thread; allocates nothing and does not wait.
void AM_controllerInput(AM_AudioMan& instance, MidiAssignMap& map, AM_MidiControllerState& state,
                        i32 channel, i32 controller, i32 value);
