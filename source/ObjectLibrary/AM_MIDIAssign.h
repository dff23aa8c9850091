// The table that assigns MIDI controllers to parameters.
//
// One table serves all instances of a plug-in. Audio threads read its rows without a lock: a row is
// published by the count of rows, or by the word of its channel and controller, once the rest of it
// is in place. Changes are made under a lock that is held for a copy of the table at most; an audio
// thread only tries to get it.
#pragma once

#include "AM_Log.h"
#include "AM_SpinLock.h"
#include "AM_Types.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

// What a controller does with its parameter, or with the pages of the editor.
enum AM_MidiMode : u8 {
    k_midiNone = 0,
    k_midiNormal,
    k_midiInteger,
    k_midiFine,
    k_midiOctaves,
    k_midiSemitone,
    k_midiSelected,     // moves the parameter that was moved last
    k_midiFineSelected, // the same
    k_midiPage,
    k_midiPageUpDown,
    k_midiPageLeftRight,
    k_midiPageLeft,
    k_midiPageRight,
    k_midiPageUp,
    k_midiPageDown,
    k_numMidiModes
};
// What the values of a controller mean.
enum AM_MidiType : u8 {
    k_midiEncoder127 = 0, // steps, negative ones as value - 128
    k_midiEncoder64,      // steps around 64
    k_midiContinuous7,    // a position of 0 to 127
    k_midiContinuous14,   // one half of a position of 14 bits
    k_numMidiTypes
};
// The names of both in the order of their numbers.
extern const char k_midiModeNames[k_numMidiModes][32];
extern const char k_midiTypeNames[k_numMidiTypes][32];

// One row.
struct MidiAssign {
    u8 channel = 0;    // 0 for any, else channel + 1
    u8 controller = 0; // 0 to 127
    u8 reserved1[2] = {};
    i32 parameter = -1; // id, -1 for none
    u8 mode = k_midiNone;
    u8 page = 0; // 0 for none
    u8 reserved2[2] = {};
    // Encoder steps not yet turned into a whole value; the high half stored by "Continuous14bit".
    i32 remainder = 0;
    u8 type = k_midiEncoder127;
    u8 flagA = 0;      // 1 if the row was read from a file
    u8 flagB = 0;      // the same
    u8 selectPage = 0; // 1 if the row applies only while `page` is selected

    // What the row assigns: all but `remainder` and the flags.
    auto assigned() const {
        return std::tuple(channel, controller, parameter, mode, page, type, selectPage);
    }
};
static_assert(sizeof(MidiAssign) == 20);

// One page of the editor: its name and the pages beside it, 0 where there is none.
struct AM_MidiPage {
    char name[32] = {};
    u8 left = 0;
    u8 right = 0;
    u8 up = 0;
    u8 down = 0;

    bool operator==(const AM_MidiPage&) const = default;
    // True if it has a name or a neighbour.
    bool inUse() const { return *this != AM_MidiPage(); }
};

// What a file holds of a table.
struct AM_MidiAssignments {
    std::vector<MidiAssign> rows;
    std::array<AM_MidiPage, 128> pages;
};

class MidiAssignMap {
public:
    static constexpr i32 k_maxRows = 1023;
    static constexpr i32 k_numPages = 128;
    // Stands in `controller` of a place whose row was removed.
    static constexpr u8 k_noController = 0xff;

    MidiAssignMap();

    // --- any thread, without a lock ----------------------------------------------------
    // Places of rows, removed ones included.
    i32 getNumberOfMIDIassigns() const { return count.load(std::memory_order_acquire); }
    // The row at `index`; one with k_noController if it was removed or is outside the table.
    MidiAssign row(i32 index) const;
    // Stores the remainder of a row. Of two threads that do so at once, one may lose a step.
    void setRemainder(i32 index, i32 remainder);
    // The page, an unused one for a number outside 0 to 127.
    AM_MidiPage page(i32 index) const;
    // True once after a change that a save would write.
    bool takeChanged() { return changed.exchange(false, std::memory_order_relaxed); }

    // --- audio thread --------------------------------------------------------------------
    // Adds `number` rows as add() does, but for those that the table has already; false, and
    // nothing done, if the lock can't be had in a few microseconds.
    bool learn(const MidiAssign* rows, i32 number);

    // --- any thread but the audio thread -------------------------------------------------
    // Appends a row; with no place left it takes that of a removed one, and if there is none
    // either, it is refused with a log line.
    bool add(const MidiAssign& row);
    // Sets the number of places, new ones with rows that assign nothing; false, with a log line,
    // for a number outside 0 to 1023.
    bool setNumberOfMIDIassigns(i32 number);
    // Removes the rows that assign this parameter and returns their number.
    i32 removeParameter(i32 parameter);
    // Sets a page: the name without control characters and blanks at its ends, at most 31 bytes of
    // UTF-8, neighbours above 127 as 0; false for a number outside 0 to 127.
    bool setPage(i32 index, const AM_MidiPage& page);
    // Rows and pages as they stand.
    AM_MidiAssignments content() const;
    // Replaces rows and pages by those of a file; rows that find no place are left out, with a log
    // line. Does not count as a change.
    void setContent(const AM_MidiAssignments& content);

    // The first line of the file with the blank lines behind it.
    const std::string& header() const { return headerText; }

    // Rows and pages as they were last read or written; both under fileMutex.
    std::mutex fileMutex;
    AM_MidiAssignments known;

    // For lines that would come with every controller: of the table, and of each row.
    AM_Once noHost;
    AM_OnceFlags<k_maxRows> otherPage, lowHalf;

private:
    // A row as words, so that a thread may read it while another one writes it.
    struct Place {
        std::atomic<u32> words[sizeof(MidiAssign) / sizeof(u32)];
    };
    struct PagePlace {
        std::atomic<u64> name[4];
        std::atomic<u32> neighbours;
    };
    class Hold;

    bool append(const MidiAssign& row);
    void store(i32 index, const MidiAssign& row);
    void remove(i32 index);
    void storePage(i32 index, const AM_MidiPage& page);
    void markChanged() { changed.store(true, std::memory_order_relaxed); }

    const std::unique_ptr<Place[]> places;
    const std::unique_ptr<PagePlace[]> pages;
    std::atomic<i32> count{0};
    std::atomic<bool> changed{false};
    mutable AM_SpinLock lock;
    std::string headerText;
};
