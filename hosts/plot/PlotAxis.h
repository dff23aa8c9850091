// Where values lie on a plot, and what its edges say.
#pragma once

#include "AM_Types.h"

#include <string>
#include <vector>

// A value with `decimals` digits behind the point, in no locale; the minus is a real one.
std::string numberText(f64 value, i32 decimals);
// "12 ms", "0.25 s", "2.31 s", "14.3 s".
std::string secondsText(f64 seconds);
// "44.1 kHz", "100 Hz".
std::string frequencyText(f64 hertz);

struct PlotTick {
    f64 value;
    std::string label; // empty: the grid only
};

// From a value to a place in view units.
struct PlotAxis {
    f64 from = 0;
    f64 to = 1;
    f32 begin = 0; // where `from` lies
    f32 end = 1;
    bool logarithmic = false; // from and to are above 0 then

    // Held between begin and end.
    f32 place(f64 value) const;
    // What lies at a share of the way, 0 to 1.
    f64 valueAt(f64 share) const;
};

// At most `most` round values (1, 2 or 5 times a power of ten) from `from` to `to`.
struct RoundSteps {
    f64 step;
    i32 decimals; // that they need
    std::vector<f64> values;
};
RoundSteps findRoundSteps(f64 from, f64 to, i32 most);

// Round times with their unit, in one unit for all.
std::vector<PlotTick> findTimeTicks(f64 from, f64 to, i32 most);
// Powers of ten with labels, and 2 to 9 times these without.
std::vector<PlotTick> findDecadeTicks(f64 from, f64 to, std::string (*label)(f64));
