// What stands behind the standard rows: meters, channel levels, texts, and the list of complex
// parameters that have changed.
#pragma once

#include "AM_StandardRows.h"

#include <array>
#include <atomic>
#include <vector>

class AM_StandardCells {
public:
    AM_StandardCells();

    // Meters, in the units of their rows. Any thread.
    void setMeter(AM_StandardRow row, f32 value);
    f32 meter(AM_StandardRow row) const;

    // The memory of a row: an f32 for a meter, bytes for a complex row (zero at first), else null.
    void* pointer(i32 row);

    // Keeps the level of a channel (amplitude, negative: not connected) of side 0, inputs, or 1,
    // outputs. Any thread.
    void setLevel(i32 side, i32 channel, f32 level);
    // Of 16 channels one byte each, input in the high nibble and output in the low one: 0 not
    // connected, 1 below 0.001, up to 15 at 1. Filled anew by each call; one reader.
    const u8* levels();

    // Enters an id into the list of 32 that wait for the editor, in the lowest free place. False if
    // it waits already, is not above 0, or the list is full. Any thread.
    bool scheduleComplex(i32 id);
    // Takes the first id out of the list; 0 if it is empty. The pointer stays valid, one reader.
    const i32* takeComplex();

private:
    static constexpr size_t k_channels = 16;
    static constexpr size_t k_pendingIds = 32;

    std::array<std::atomic<f32>, k_numStandardRows> meters{};
    std::array<std::atomic<f32>, 2 * k_channels> channelLevels{};
    std::array<u8, k_channels> levelBytes{};
    std::array<std::atomic<i32>, k_pendingIds> pendingIds{};
    i32 takenId = 0;
    std::array<i32, k_numStandardRows> byteOffsets{}; // -1 for rows without bytes
    std::vector<u8> bytes;
    std::array<bool, k_numStandardRows> isMeter{};
};

inline void AM_StandardCells::setMeter(AM_StandardRow row, f32 value) {
    meters[static_cast<size_t>(row)].store(value, std::memory_order_relaxed);
}

inline void AM_StandardCells::setLevel(i32 side, i32 channel, f32 level) {
    if (side < 0 || side > 1 || channel < 0 || channel >= static_cast<i32>(k_channels)) return;
    channelLevels[static_cast<size_t>(side) * k_channels + static_cast<size_t>(channel)].store(
        level, std::memory_order_relaxed);
}
