#include "AM_PluginTable.h"

#include "AM_Log.h"
#include "AM_Text.h"

const AM_PluginTableRow AM_pluginTable[k_pluginTableRows] = {
    {
        .kind = 3,
        .id = k_glassmereId,
        .value1 = 1,
        .value2 = 0,
        .name = "Glassmere",
        .value3 = 1,
        .secondId = AM_fourCharacters("VLfX"),
        .secondIdEnd = 0,
        .reserved1 = 0,
        .maker = "vela",
        .value4 = 1,
        .value5 = 2,
        .value6 = 1,
        .value7 = 1200,
        .value8 = 600,
        .reserved2 = {},
    },
};

const AM_PluginTableRow* AM_findPlugin(const char* name) {
    for (const AM_PluginTableRow& row : AM_pluginTable) {
        if (row.kind == 0) break;
        if (AM_STD::Strcmp(row.name, name) == 0) return &row;
    }
    return nullptr;
}

const AM_PluginTableRow* AM_findPlugin(u32 id) {
    for (const AM_PluginTableRow& row : AM_pluginTable) {
        if (row.kind == 0) break;
        if (row.id == id) return &row;
    }
    return nullptr;
}

const char* getPlugName(i32 index) {
    AM_Log("getPlugName %d", index);
    return index >= 0 && index < k_pluginTableRows ? AM_pluginTable[index].name : nullptr;
}
