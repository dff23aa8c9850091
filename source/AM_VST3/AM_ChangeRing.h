// Changes of parameters on their way from the threads that make them to one that tells of them.
#pragma once

#include "AM_Types.h"

#include <atomic>

struct AM_ParameterChange {
    i32 index; // row of the parameter table
    f32 value; // in the row's units
};

// Holds at most `Size` changes, in the order in which they came. Allocates nothing and waits for
// nobody.
template <u32 Size>
class AM_ChangeRing {
    static_assert((Size & (Size - 1)) == 0);

public:
    // Appends a change; false, and the change lost, if the ring is full or many push at once. Any
    // thread.
    bool push(AM_ParameterChange change) noexcept {
        constexpr i32 attempts = 64;
        u32 place = tail.load(std::memory_order_relaxed);
        for (i32 attempt = 0; attempt < attempts; ++attempt) {
            if (place - head.load(std::memory_order_acquire) >= Size) return false;
            if (!tail.compare_exchange_weak(place, place + 1, std::memory_order_relaxed)) continue;
            Cell& cell = cells[place % Size];
            cell.change = change;
            cell.written.store(place + 1, std::memory_order_release);
            return true;
        }
        return false;
    }
    // Takes the oldest change; false if there is none. One thread at a time.
    bool pop(AM_ParameterChange& change) noexcept {
        const u32 place = head.load(std::memory_order_relaxed);
        Cell& cell = cells[place % Size];
        if (cell.written.load(std::memory_order_acquire) != place + 1) return false;
        change = cell.change;
        head.store(place + 1, std::memory_order_release);
        return true;
    }

private:
    // `written` is the place behind the change's own once it stands in the cell.
    struct Cell {
        AM_ParameterChange change{};
        std::atomic<u32> written{0};
    };
    Cell cells[Size];
    std::atomic<u32> tail{0};
    std::atomic<u32> head{0};
};
