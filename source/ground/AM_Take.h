// Takes what other threads leave for one that looks often and mostly finds nothing.
#pragma once

#include <atomic>

// What is there, with what its writer did before; T{} takes its place. An exchange would lock the
// cache line and drain the stores each time, so it comes only behind a load that finds something.
// Any thread; never waits.
template <class T>
T AM_take(std::atomic<T>& pending) {
    if (pending.load(std::memory_order_relaxed) == T{}) return T{};
    return pending.exchange(T{}, std::memory_order_acq_rel);
}
