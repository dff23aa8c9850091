#include "AM_MetaTargets.h"

#include "AM_StandardRows.h"
#include "AM_Take.h"

#include <algorithm>

namespace {

enum RowPart : i32 { k_targetPart = 0, k_highPart = 1, k_lowPart = 2 };

} // namespace

void AM_MetaTargets::prepare(i32 metas, i32 targets, i32 firstMetaRow, i32 firstTargetRow) {
    firstMeta = firstMetaRow;
    firstTarget = firstTargetRow;
    state.numMetaSources = metas;
    state.targetsPerMeta = targets;
    state.metaRecords.assign(static_cast<size_t>(metas * targets), {-1, 0, 0, 0});
    if (state.metaRecords.empty()) return;
    sums.assign(static_cast<size_t>(state.count), 0);
    isTouched.assign(static_cast<size_t>(state.count), 0);
    touched.reserve(state.metaRecords.size());
}

bool AM_MetaTargets::isSlot(i32 meta, i32 slot) const {
    return meta >= 0 && meta < state.numMetaSources && slot >= 0 && slot < state.targetsPerMeta;
}

i32 AM_MetaTargets::targetRow(i32 meta, i32 slot) const {
    return firstTarget + (meta * state.targetsPerMeta + slot) * k_rowsPerMetaTarget;
}

bool AM_MetaTargets::assign(i32 meta, i32 slot, i32 id) {
    if (!isSlot(meta, slot)) return false;
    const i32 row = targetRow(meta, slot);
    if (id == -2) id = assigned(meta, slot);
    if (!state.isId(id) || state.rows[id].isMeter() || state.rows[id].isComplex()) id = -1;
    state.setValue(row, static_cast<f32>(id));
    state.setTarget(row, static_cast<f32>(id));
    if (id >= 0) {
        const f32 span = state.maximum(id) - state.minimum(id);
        for (const i32 range : {row + k_highPart, row + k_lowPart}) {
            state.setLimits(range, -span, span);
            const f32 clamped = std::clamp(state.target(range), -span, span);
            state.setValue(range, clamped);
            state.setTarget(range, clamped);
        }
    }
    refresh();
    return true;
}

i32 AM_MetaTargets::assigned(i32 meta, i32 slot) const {
    return isSlot(meta, slot) ? static_cast<i32>(state.value(targetRow(meta, slot))) : -1;
}

void AM_MetaTargets::readRows() {
    for (i32 meta = 0; meta < state.numMetaSources; ++meta) {
        for (i32 slot = 0; slot < state.targetsPerMeta; ++slot) {
            MetaTarget& record =
                state.metaRecords[static_cast<size_t>(meta * state.targetsPerMeta + slot)];
            const i32 row = targetRow(meta, slot);
            i32 param = static_cast<i32>(state.value(row));
            if (!state.isId(param)) param = -1;
            if (record.param >= 0 && record.param != param)
                state.writeThrough(record.param, state.value(record.param));
            record.param = param;
            record.highRange = state.value(row + k_highPart);
            record.lowRange = state.value(row + k_lowPart);
        }
    }
}

void AM_MetaTargets::apply() {
    if (state.metaRecords.empty()) return;
    if (AM_take(state.needsFullUpdate) != 0) readRows();
    touched.clear();
    for (i32 meta = 0; meta < state.numMetaSources; ++meta) {
        const f32 value = state.value(metaId(meta));
        for (i32 slot = 0; slot < state.targetsPerMeta; ++slot) {
            MetaTarget& target =
                state.metaRecords[static_cast<size_t>(meta * state.targetsPerMeta + slot)];
            if (target.param < 0) continue;
            target.current =
                value > 0 ? value * target.highRange * 0.01f : value * target.lowRange * -0.01f;
            const auto id = static_cast<size_t>(target.param);
            if (!isTouched[id]) touched.push_back(target.param);
            isTouched[id] = 1;
            sums[id] += target.current;
        }
    }
    for (const i32 id : touched) {
        f32& sum = sums[static_cast<size_t>(id)];
        state.writeThrough(id, std::clamp(state.value(id) + sum, state.minimum(id),
                                          std::max(state.minimum(id), state.maximum(id))));
        sum = 0;
        isTouched[static_cast<size_t>(id)] = 0;
    }
}
