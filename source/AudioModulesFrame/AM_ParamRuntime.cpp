#include "AM_ParamRuntime.h"

#include <cmath>

f32 AM_wholeNumber(f32 value) {
    return std::floor(value + 0.5f);
}

void ParamRuntime::build(std::vector<ParameterInfo>& table) {
    rows = table.data();
    count = static_cast<i32>(table.size());
    values = std::make_unique<std::atomic<f32>[]>(table.size());
    targets = std::make_unique<std::atomic<f32>[]>(table.size());
    pointers.assign(table.size(), nullptr);
    pending.resize(count);
    immediate.resize(count);
    slotOfParam.assign(table.size(), -1);
    slots.clear();
    for (i32 id = 0; id < count; ++id) {
        const f32 start = rows[id].defaultValue;
        setValue(id, start);
        setTarget(id, start);
        if ((rows[id].flags & k_flagSmoothed) == 0) continue;
        slotOfParam[at(id)] = static_cast<i32>(slots.size());
        slots.push_back({id, 0, -1, start});
    }
    queue.assign(slots.size(), 0);
    queuedCount = 0;
}

void ParamRuntime::setLimits(i32 id, f32 low, f32 high) {
    std::atomic_ref<f32>(rows[id].minValue).store(low, std::memory_order_relaxed);
    std::atomic_ref<f32>(rows[id].maxValue).store(high, std::memory_order_relaxed);
}

void ParamRuntime::writeThrough(i32 id, f32 to) {
    void* pointer = pointers[at(id)];
    if (!pointer || rows[id].isMeter() || rows[id].isComplex()) return;
    if (rows[id].isWholeNumber())
        *static_cast<i32*>(pointer) = static_cast<i32>(AM_wholeNumber(to));
    else
        *static_cast<f32*>(pointer) = to;
}
