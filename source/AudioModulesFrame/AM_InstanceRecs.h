// What all instances of a plug-in in the process share.
#pragma once

#include "AM_Types.h"

class AM_PreferencesAudio;

// One row; rows stay for the life of the process.
struct AM_InstanceRec {
    u32 plugId = 0;
    i32 refCount = 0;                           // live instances; read it through AM_InstanceRecs
    AM_PreferencesAudio* preferences = nullptr; // null while there is no store of them
};

// The process-wide table of 32 rows, found by plug-in id. Any thread but the audio thread.
class AM_InstanceRecs {
public:
    static constexpr i32 k_rows = 32;

    // Counts an instance of `plugId` (not 0) up, in the first empty row if it is the first one.
    // Null, with a log line, if the table is full.
    static AM_InstanceRec* acquire(u32 plugId);
    // Counts an instance down; null is fine.
    static void release(AM_InstanceRec* record);
    // The row of `plugId`, or null.
    static AM_InstanceRec* find(u32 plugId);
    // Live instances of `plugId`.
    static i32 count(u32 plugId);
};
