#include "DSP_SVF.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(DbToGain, KeepsItsConstants) {
    EXPECT_EQ(dBToGain(0.0f), 1.0f);
    EXPECT_EQ(dBToGain(-130.0f), 0.0f);
    EXPECT_EQ(dBToGain(std::numeric_limits<f32>::quiet_NaN()), 0.0f);
    // Follows 2^(x * 0.16562499) within the polynomial's error, and differs from true decibels.
    for (f32 x = -119.0f; x < 60.0f; x += 0.37f)
        EXPECT_NEAR(dBToGain(x) / std::exp2(static_cast<f64>(x) * 0.16562499), 1.0, 2.5e-4) << x;
    EXPECT_GT(std::fabs(dBToGain(60.0f) / 1000.0f - 1.0f), 0.01f);
    for (i32 whole = -20; whole < 20; ++whole)
        EXPECT_NEAR(AM_fastExp2(static_cast<f32>(whole)) / std::exp2(whole), 1.0, 1e-6);
}

TEST(StateVariableFilter, ShapesAndZeroDelayForm) {
    DSP_SVF record{};
    DSP_SVF_ZeroDelay filter;
    filter.record = &record;
    record.cutoff = 0.25f;
    record.gain = 6.0f;
    for (record.shape = 0; record.shape <= 8; ++record.shape) {
        record.resonance = 0.0f;
        record.updateShape();
        EXPECT_GT(std::fabs(record.mixLow) + std::fabs(record.mixHigh) + std::fabs(record.mixBand) +
                      std::fabs(record.mixInput),
                  0.0f);
        if (record.shape != 6) {
            EXPECT_EQ(record.damping, 2.0f);
        }
        record.resonance = 1.0f;
        record.updateShape();
        EXPECT_EQ(record.damping, 0.0f) << record.shape;
    }
    record.shape = 1;
    record.resonance = 0.25f;
    filter.updateZeroDelay();
    EXPECT_EQ(record.mixLow, -1.0f);
    EXPECT_EQ(record.mixInput, 1.0f);
    EXPECT_EQ(record.mixBand, -record.damping);
    EXPECT_EQ(record.mixHigh, 1.0f);
    EXPECT_NEAR(record.frequency, std::tan(0.25 * 1.5707964), 1e-6);
    const f32 g = record.frequency;
    EXPECT_NEAR(record.a1 * (1.0f + g * (g + record.damping)), g, 1e-6);

    record.shape = 9;
    record.updateShape();
    EXPECT_EQ(record.mixLow + record.mixHigh + record.mixBand + record.mixInput, 0.0f);
    filter.state[1] = filter.extraState = 1.0f;
    filter.clear();
    EXPECT_EQ(filter.state[1] + filter.extraState, 0.0f);
}
