// Ratios of costs that hold on any machine: medians of rounds that take turns.
#pragma once

#include "AM_Types.h"

#include <algorithm>
#include <functional>
#include <vector>

#include <time.h>

// Of this thread.
inline f64 seconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<f64>(time.tv_sec) + static_cast<f64>(time.tv_nsec) * 1e-9;
}

inline f64 median(std::vector<f64> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// What a round of two things costs, in seconds.
struct Costs {
    f64 one, other;
    // The median of what `one` costs beside `other`.
    f64 ratio() const { return one / other; }
};
inline Costs costs(const std::function<void()>& one, const std::function<void()>& other,
                   i32 rounds = 75) {
    std::vector<f64> all[2];
    for (i32 round = 0; round < rounds; ++round) {
        const f64 start = seconds();
        one();
        const f64 middle = seconds();
        other();
        all[0].push_back(middle - start);
        all[1].push_back(seconds() - middle);
    }
    return {median(all[0]), median(all[1])};
}
