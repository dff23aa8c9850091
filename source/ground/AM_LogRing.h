// The bounded ring that carries log lines from audio threads to whoever writes them.
#pragma once

#include "AM_Log.h"

#include <algorithm>
#include <atomic>
#include <cstring>

// Many writers without a lock, one reader at a time. Each cell holds the turn it is in: 2n while it
// waits for its n-th line, 2n + 1 while it holds it. All zeros is the empty ring, so it may lie in
// static storage and needs neither construction nor destruction.
class AM_LogRing {
public:
    // Takes a line of at most k_maxLogLine characters; false if there is no room. Bounded in time,
    // without a system call.
    bool push(std::string_view line) noexcept {
        u64 place = tail.load(std::memory_order_relaxed);
        // An attempt fails only if another writer got the place; so many in a row count as full.
        for (i32 attempt = 0; attempt < 64; ++attempt) {
            Cell& cell = cells[place % k_logRingLines];
            const u32 free = static_cast<u32>(place / k_logRingLines * 2);
            if (cell.turn.load(std::memory_order_acquire) != free) {
                const u64 now = tail.load(std::memory_order_relaxed);
                if (now == place) return false;
                place = now;
            } else if (tail.compare_exchange_weak(place, place + 1, std::memory_order_relaxed)) {
                cell.length = static_cast<u16>(std::min(line.size(), k_maxLogLine));
                std::memcpy(cell.text, line.data(), cell.length);
                cell.turn.store(free + 1, std::memory_order_release);
                return true;
            }
        }
        return false;
    }

    // Copies the oldest line out; false if there is none that is complete. One reader at a time.
    bool pop(char (&text)[k_maxLogLine], size_t& length) noexcept {
        Cell& cell = cells[head % k_logRingLines];
        const u32 full = static_cast<u32>(head / k_logRingLines * 2 + 1);
        if (cell.turn.load(std::memory_order_acquire) != full) return false;
        length = cell.length;
        std::memcpy(text, cell.text, length);
        cell.turn.store(full + 1, std::memory_order_release);
        ++head;
        return true;
    }

private:
    struct Cell {
        std::atomic<u32> turn = 0;
        u16 length = 0;
        char text[k_maxLogLine] = {};
    };

    Cell cells[k_logRingLines];
    std::atomic<u64> tail = 0; // the next place to write, counted on without end
    u64 head = 0;              // the next place to read, likewise
};
