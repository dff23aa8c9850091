// From the parameter ids of VST3 to the rows of the parameter table and back.
#pragma once

#include "AM_ParaMan.h"
#include "AM_VST3_Ids.h"

#include <vector>

// The id that hosts know a row by: its public id if it has one, else its index + 100000.
inline u32 AM_VST3_idOf(const ParameterInfo& row) {
    return (row.flags & k_flagHost) != 0 ? static_cast<u32>(row.hostId) : row.id + k_vst3FirstRow;
}

// Made over a finished table; from then on any thread may ask.
class AM_VST3_ParameterMap {
public:
    AM_VST3_ParameterMap() = default;
    explicit AM_VST3_ParameterMap(const AM_ParaMan& table) : numRows(table.getNumParams()) {
        for (i32 i = 0; i < numRows; ++i) {
            const ParameterInfo* row = table.row(i);
            if (!row || (row->flags & k_flagHost) == 0 || row->hostId < 0) continue;
            const size_t place = static_cast<size_t>(row->hostId);
            if (place >= publicRows.size()) publicRows.resize(place + 1, -1);
            publicRows[place] = i;
        }
    }

    // The row behind an id below 200000, -1 if there is none.
    i32 rowOf(u32 id) const {
        if (id < k_vst3FirstRow) return id < publicRows.size() ? publicRows[id] : -1;
        const i32 row = static_cast<i32>(id - k_vst3FirstRow);
        return id < k_vst3FirstMidi && row < numRows ? row : -1;
    }
    i32 size() const { return numRows; }

private:
    i32 numRows = 0;
    std::vector<i32> publicRows; // by public id
};
