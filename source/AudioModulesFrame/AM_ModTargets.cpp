#include "AM_ModTargets.h"

void AM_ModTargets::add(const AM_ModTarget& row) {
    if (row.parameter && row.source) rows.push_back(row);
}

void AM_ModTargets::apply(i32 numQuads) {
    const i32 last = numQuads * 4 - 1;
    for (AM_ModTarget& row : rows) {
        row.kept = *row.parameter;
        const f32 viaDepth = row.via ? row.viaAmount * 0.01f : 0.0f;
        const f32 via = row.via ? row.via[last] : 0.0f;
        const f32 amount = (viaDepth * via + (1 - viaDepth)) * row.scale * row.depth;
        f32 value = row.kept + amount * row.source[last];
        // Written so that what is no number becomes the minimum.
        if (!(value >= row.minValue)) value = row.minValue;
        if (value > row.maxValue) value = row.maxValue;
        *row.parameter = row.applied = value;
        row.active = 1;
    }
}

void AM_ModTargets::undo() {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        if (row->active == 1 && *row->parameter == row->applied) *row->parameter = row->kept;
        row->active = 0;
    }
}
