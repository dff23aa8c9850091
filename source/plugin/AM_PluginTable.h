// The plug-ins that this library holds.
#pragma once

#include "AM_Types.h"

// A four-character code as a number, first character in the high byte.
constexpr u32 AM_fourCharacters(const char (&text)[5]) {
    u32 code = 0;
    for (i32 i = 0; i < 4; ++i)
        code = code << 8 | static_cast<u8>(text[i]);
    return code;
}

inline constexpr u32 k_glassmereId = AM_fourCharacters("vlGM");

// One row. The numbered values are handed to the bindings as they are.
struct AM_PluginTableRow {
    i32 kind; // 0 ends the table
    u32 id;
    i32 value1;
    i32 value2;
    const char* name;
    i32 value3;
    u32 secondId;
    u32 secondIdEnd;
    u32 reserved1;
    const char* maker;
    i32 value4;
    i32 value5;
    i32 value6;
    i32 value7;
    i32 value8;
    i32 reserved2[5];
};
static_assert(sizeof(AM_PluginTableRow) == 88);

inline constexpr i32 k_pluginTableRows = 4;
extern const AM_PluginTableRow AM_pluginTable[k_pluginTableRows];

// The row with this name or id, or null.
const AM_PluginTableRow* AM_findPlugin(const char* name);
const AM_PluginTableRow* AM_findPlugin(u32 id);

// The name of row `index` of the table; null for an empty row or one that does not exist.
extern "C" __attribute__((visibility("default"))) const char* getPlugName(i32 index);
