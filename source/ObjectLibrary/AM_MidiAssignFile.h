// The file of the MIDI assignments (docs/midi-assignment-file.md).
#pragma once

#include "AM_MIDIAssign.h"

#include <string>
#include <string_view>

class AM_FilePath;
class AM_Filesystem;
class AM_ParaMan;

// Bytes of a file that is read; a longer one is left alone.
inline constexpr i64 k_maxMidiAssignFile = i64{1} << 20;

// All of it outside audio threads. `table` and `info` are the parameters that the rows' names mean,
// of any instance of the plug-in.
class AM_MidiAssignFile {
public:
    // "/support/com.VENDOR.PRODUCT.midiassign.txt"
    static std::string getMidiAssignPath(const char* vendor, const char* product);

    // Reads the line of one row. A name that `table` does not have gives parameter -1, one of no
    // mode or of a mode that files do not hold mode 0. False, with a log line and `row` as it was,
    // for a line with too few fields or numbers out of their range.
    static bool parseLine(std::string_view text, MidiAssign* row, const AM_ParaMan& table);

    // Replaces rows and pages of `map` by those of the file; lines that are none are left out, with
    // a log line. False, and nothing changed, if there is no file or it can't be read.
    static bool readFile(AM_Filesystem& filesystem, const AM_FilePath& path, MidiAssignMap& map,
                         const AM_ParaMan& info);

    // Writes rows and pages of `map` in one step. Rows that another process has put into the file
    // stay there: those that `map` neither has nor had at its last reading or writing. A page is
    // taken from the file unless it was changed here. False, with a log line and the file as it
    // was, if it can't be written, or is there and can't be read.
    static bool writeFile(AM_Filesystem& filesystem, const AM_FilePath& path, MidiAssignMap& map,
                          const AM_ParaMan& info);
};
