#include "AM_SincTable.h"

#include <cmath>
#include <numbers>

void AM_fillSinc(AM_SincTable& table, f32 cutoff) {
    constexpr f64 pi = std::numbers::pi;
    constexpr i32 middle = k_sincEntries / 2;
    f64 t = 0.0;
    for (i32 i = 0; i < k_sincEntries; ++i) {
        f64 x = static_cast<f64>(i - middle) * static_cast<f64>(cutoff);
        f64 sinc = 1.0;
        if (x != 0.0) {
            x *= pi;
            sinc = std::sin(x) / x;
        }
        table[i] = static_cast<f32>(sinc * (0.5 * (1.0 - std::cos(2.0 * pi * t))));
        t += 1.0 / 1023.0;
    }
}

void AM_fillScaledSinc(AM_SincTable& table, f32 cutoff, f32 ratio) {
    AM_fillSinc(table, cutoff);
    for (i32 i = 0; i < k_sincEntries; ++i)
        table[i] *= ratio;
}
