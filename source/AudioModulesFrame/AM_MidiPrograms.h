// The MIDI programs of a plug-in: the presets in the banks of "/patches/MIDI Programs".
#pragma once

#include "AM_FilePath.h"
#include "AM_Types.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class AM_Filesystem;

// One preset of a bank.
struct AM_MidiProgram {
    char name[63];    // "bank:index name", cut between characters
    i32 bank;         // 0 for the files in the folder itself, then its folders from 1
    i32 program;      // 0 to 127, counted over the files that are presets
    std::string text; // of its state
};

// The programs as they stand; never changed once built.
struct AM_MidiProgramTable {
    std::vector<AM_MidiProgram> programs;
    std::vector<AM_FilePath> bankFolders;

    // The program, or null.
    const AM_MidiProgram* find(i32 bank, i32 program) const;
};

// Reads the banks through `files`: presets "q3p" and "fxp" in the order of the listing, at most 128
// a bank, 64 MiB in all. A preset that can't be read is left out, with a log line. Not on an audio
// thread.
std::shared_ptr<const AM_MidiProgramTable> AM_readMidiPrograms(AM_Filesystem& files);

// Writes "/patches/MIDI Programs/Midi.Bank.Cache.txt" anew, in one step; false, with a log line, if
// it can't be written.
bool AM_writeMidiBankCache(AM_Filesystem& files, const AM_MidiProgramTable& table);
// Looks at that file; a line is logged if there is none.
void AM_readMidiBankCache(AM_Filesystem& files);

// One short MIDI message, taken apart.
struct AM_MidiMessage {
    enum Kind : i32 { k_none, k_event, k_controller, k_program };
    Kind kind = k_none;
    i32 used = 0;    // bytes of the message; 0 if it is none of those below
    i32 channel = 0; // 0 to 15
    i32 type = 0;    // of an event, as in AM_EventQueue.h
    f32 field1 = 0;
    f32 field2 = 0;
    i32 data1 = 0; // controller or program number
    i32 data2 = 0; // controller value
};

// Reads the message at the head of `length` bytes. Status 0x80 and 0x90 notes (velocity as it is),
// 0xA0 and 0xD0 pressure and 0xE0 pitch bend are events, 0xB0 a controller, 0xC0 a program change;
// others and cut-off ones give k_none with 0 bytes used. Any thread, allocates nothing.
AM_MidiMessage AM_parseMidi(const u8* bytes, i32 length);
