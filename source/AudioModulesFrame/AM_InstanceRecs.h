// What all instances of a plug-in in the process share.
#pragma once

#include "AM_PluginPreferences.h"
#include "AM_Types.h"

#include <atomic>
#include <memory>
#include <mutex>

struct AM_MidiProgramTable;

// One row; rows stay for the life of the process.
struct AM_InstanceRec {
    u32 plugId = 0;
    i32 refCount = 0; // live instances; read it through AM_InstanceRecs

    // Held while what follows is made, read from files or written; never on an audio thread.
    std::mutex shared;
    // Made and read by the first instance that has any; stays with the row.
    std::unique_ptr<AM_IPluginPreferences> preferences;
    // Null while no instance lives. Any thread but an audio thread.
    std::atomic<std::shared_ptr<const AM_MidiProgramTable>> programs;
    // How many there are, for audio threads.
    std::atomic<i32> numPrograms{0};
};

// The process-wide table of 32 rows, found by plug-in id. Any thread but the audio thread.
class AM_InstanceRecs {
public:
    static constexpr i32 k_rows = 32;

    // Counts an instance of `plugId` (not 0) up, in the first empty row if it is the first one.
    // Null, with a log line, if the table is full.
    static AM_InstanceRec* acquire(u32 plugId);
    // Counts an instance down; the last one frees the programs. Null is fine.
    static void release(AM_InstanceRec* record);
    // The row of `plugId`, or null.
    static AM_InstanceRec* find(u32 plugId);
    // Live instances of `plugId`.
    static i32 count(u32 plugId);
};
