#include "AM_LevelMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

void feed(AM_LevelMeter& meter, const std::vector<f32>& samples, i32 numChannels = 2) {
    const f32* channels[k_maxChannels] = {samples.data()};
    meter.measure(channels, numChannels, static_cast<i32>(samples.size()), 1.0 / 48000);
}

} // namespace

TEST(LevelMeter, FastDecibelsFollowTheLogarithm) {
    for (f32 x = 1.1e-5f; x < 1e6f; x *= 1.07f) {
        const f32 exact = 20 * std::log10(x);
        EXPECT_NEAR(AM_fastDecibels(x), exact, 0.06 + 0.003 * std::fabs(exact)) << x;
    }
    EXPECT_NEAR(AM_fastDecibels(1.0f), 0.0f, 1e-5);
    EXPECT_NEAR(AM_fastDecibels(2.0f), 6.0377364f, 1e-5);
    EXPECT_NEAR(AM_fastDecibels(0.75f), -2.5157f, 1e-3)
        << "(-2 + (2 - 1.5 / 3) * 1.5 - 2 / 3) * 6.0377";
    EXPECT_EQ(AM_fastDecibels(0.9e-5f), -120.0f);
    EXPECT_EQ(AM_fastDecibels(std::nanf("")), -120.0f);
    EXPECT_TRUE(std::isfinite(AM_fastDecibels(std::numeric_limits<f32>::infinity())));
}

TEST(LevelMeter, PeakAndRmsRiseAndDecay) {
    AM_LevelMeter meter;
    feed(meter, {0.5f, -0.25f});
    EXPECT_FLOAT_EQ(meter.peakDecibels(), AM_fastDecibels(0.5f * 0.999f));
    const f32 rms = std::sqrt((0.25f + 0.0625f) * 0.03f / 2);
    EXPECT_FLOAT_EQ(meter.channelRms(0), rms);
    EXPECT_EQ(meter.channelRms(1), -1.0f);
    EXPECT_EQ(meter.channelRms(99), -1.0f);
    feed(meter, {});
    EXPECT_FLOAT_EQ(meter.channelRms(0), rms) << "0 frames change nothing";
    feed(meter, std::vector<f32>(64));
    EXPECT_FLOAT_EQ(meter.channelRms(0), rms * 0.93f);
    for (i32 n = 0; n < 3000; ++n)
        feed(meter, std::vector<f32>(64));
    EXPECT_EQ(meter.rmsDecibels(), -120.0f);
    EXPECT_EQ(meter.channelRms(0), 0.0f);
    feed(meter, {1.0f}, 0);
    EXPECT_EQ(meter.channelRms(0), -1.0f);

    AM_LevelMeter held;
    feed(held, {0.0f, 0.8f});
    for (const f32 expected : {0.8f, 0.8f, 0.8f, 0.8f, 0.72f}) {
        feed(held, std::vector<f32>(48000));
        EXPECT_FLOAT_EQ(held.heldPeak(), expected) << "falls after four seconds";
    }
    feed(held, {0.0f, 0.9f});
    feed(held, std::vector<f32>(48000));
    EXPECT_FLOAT_EQ(held.heldPeak(), 0.9f) << "a higher peak starts the time anew";
}

TEST(LevelMeter, SamplesThatAreNoNumbersLeaveNoTrace) {
    AM_LevelMeter meter;
    const f32 infinity = std::numeric_limits<f32>::infinity();
    feed(meter, {std::nanf(""), infinity, -infinity, 0.0f});
    EXPECT_EQ(meter.rmsDecibels(), -120.0f);
    for (i32 n = 0; n < 200; ++n)
        feed(meter, std::vector<f32>(16, std::numeric_limits<f32>::max()));
    EXPECT_TRUE(std::isfinite(meter.channelRms(0)));
    EXPECT_TRUE(std::isfinite(meter.rmsDecibels()));
}
