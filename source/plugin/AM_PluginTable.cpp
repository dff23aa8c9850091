#include "AM_PluginTable.h"

#include "AM_Log.h"
#include "AM_Text.h"

const AM_PluginTableRow AM_pluginTable[k_pluginTableRows] = {
    {3, k_glassmereId, 1, 0, "Glassmere", 1, AM_fourCharacters("VLfX"), 0, 0, "vela", 1, 2, 1, 1200,
     600, {}},
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
