#include "AM_StandardCells.h"

#include <algorithm>

// A meter's cell is handed out as the address of a plain float.
static_assert(sizeof(std::atomic<f32>) == sizeof(f32) && std::atomic<f32>::is_always_lock_free);

AM_StandardCells::AM_StandardCells() {
    const std::vector<ParameterInfo> rows = AM_makeOwnRows({0, 0, 0});
    const size_t first = rows.size() - k_numStandardRows;
    i32 size = 0;
    for (size_t i = 0; i < k_numStandardRows; ++i) {
        const ParameterInfo& row = rows[first + i];
        isMeter[i] = row.isMeter();
        const bool computed = i == k_rowLevels || i == k_rowUpdateComplex;
        byteOffsets[i] = row.isComplex() && !computed ? size : -1;
        if (byteOffsets[i] >= 0) size += static_cast<i32>(row.maxValue);
    }
    bytes.assign(static_cast<size_t>(size), 0);
    for (std::atomic<f32>& level : channelLevels)
        level.store(-1, std::memory_order_relaxed);
}

f32 AM_StandardCells::meter(AM_StandardRow row) const {
    return meters[static_cast<size_t>(row)].load(std::memory_order_relaxed);
}

void* AM_StandardCells::pointer(i32 row) {
    if (row < 0 || row >= k_numStandardRows) return nullptr;
    const auto index = static_cast<size_t>(row);
    if (isMeter[index]) return &meters[index];
    return byteOffsets[index] >= 0 ? bytes.data() + byteOffsets[index] : nullptr;
}

const u8* AM_StandardCells::levels() {
    const auto nibble = [](f32 level) -> u8 {
        if (!(level >= 0)) return 0;
        return level < 0.001f ? 1 : static_cast<u8>(std::min(level, 1.0f) * 13 + 2);
    };
    for (size_t channel = 0; channel < k_channels; ++channel) {
        const f32 input = channelLevels[channel].load(std::memory_order_relaxed);
        const f32 output = channelLevels[k_channels + channel].load(std::memory_order_relaxed);
        levelBytes[channel] = static_cast<u8>(nibble(input) << 4 | nibble(output));
    }
    return levelBytes.data();
}

bool AM_StandardCells::scheduleComplex(i32 id) {
    if (id <= 0) return false;
    for (const std::atomic<i32>& entry : pendingIds)
        if (entry.load(std::memory_order_relaxed) == id) return false;
    for (std::atomic<i32>& entry : pendingIds) {
        i32 free = 0;
        if (entry.compare_exchange_strong(free, id, std::memory_order_acq_rel)) return true;
    }
    return false;
}

const i32* AM_StandardCells::takeComplex() {
    takenId = 0;
    for (std::atomic<i32>& entry : pendingIds) {
        takenId = entry.exchange(0, std::memory_order_acq_rel);
        if (takenId != 0) break;
    }
    return &takenId;
}
