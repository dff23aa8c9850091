#include "AM_InstanceRecs.h"

#include "AM_Log.h"
#include "AM_MidiPrograms.h"

#include <mutex>

namespace {

struct Table {
    std::mutex mutex;
    AM_InstanceRec rows[AM_InstanceRecs::k_rows];

    AM_InstanceRec* find(u32 plugId) {
        for (AM_InstanceRec& row : rows)
            if (row.plugId == plugId) return &row;
        return nullptr;
    }
};

Table& table() {
    static Table theTable;
    return theTable;
}

} // namespace

AM_InstanceRec* AM_InstanceRecs::acquire(u32 plugId) {
    Table& records = table();
    const std::lock_guard lock(records.mutex);
    AM_InstanceRec* row = plugId == 0 ? nullptr : records.find(plugId);
    if (!row && plugId != 0) row = records.find(0);
    if (!row) {
        AM_Log("WARNING: no instance record for plug-in %d", static_cast<i32>(plugId));
        return nullptr;
    }
    row->plugId = plugId;
    ++row->refCount;
    return row;
}

void AM_InstanceRecs::release(AM_InstanceRec* record) {
    if (!record) return;
    Table& records = table();
    const std::lock_guard lock(records.mutex);
    if (--record->refCount != 0) return;
    record->numPrograms.store(0);
    record->programs.store(nullptr);
    AM_Log("AM_InstanceRecs[ i ].preferences == NULL: %d", record->preferences == nullptr);
}

AM_InstanceRec* AM_InstanceRecs::find(u32 plugId) {
    if (plugId == 0) return nullptr;
    Table& records = table();
    const std::lock_guard lock(records.mutex);
    return records.find(plugId);
}

i32 AM_InstanceRecs::count(u32 plugId) {
    Table& records = table();
    const std::lock_guard lock(records.mutex);
    const AM_InstanceRec* row = plugId == 0 ? nullptr : records.find(plugId);
    return row ? row->refCount : 0;
}
