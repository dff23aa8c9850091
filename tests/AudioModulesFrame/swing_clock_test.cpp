#include "AM_SwingClock.h"
#include "AM_TransportClock.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

BlockContext makeContext(f64 rate = 48000) {
    BlockContext context{};
    context.sampleRate = static_cast<f32>(rate);
    context.samplePeriod = 1 / rate;
    context.bpm = 120;
    context.quartersPerBar = 4;
    context.numFrames = 64;
    return context;
}

const f64 k_odd[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300, 1e-300, 0.0, -7.25};

} // namespace

TEST(SwingClock, StraightTimeIsThePosition) {
    BlockContext context = makeContext();
    context.position = 3.25;
    for (const f32 amount : {0.0f, -4.0f, std::nanf("")}) {
        context.swingAmount = amount;
        EXPECT_DOUBLE_EQ(AM_runSwingClock(context, 48), 48.0 / 48000 * 2);
        EXPECT_EQ(context.swungPosition, 3.25);
        EXPECT_EQ(context.swungGate, 1.0f);
        EXPECT_EQ(context.swungBpm, 120.0);
        EXPECT_EQ(context.swingPhase, 0.5);
    }
}

TEST(SwingClock, FullSwingBendsEachGridLineQuadratically) {
    BlockContext context = makeContext();
    context.swingAmount = 100;
    context.swingGrid = 3; // 2 lines a quarter note, halved: one
    const f64 delta = 64.0 / 48000 * 2;
    for (context.position = 0; context.position < 3; context.position += delta) {
        context.swungPosition += AM_runSwingClock(context, 64);
        const f64 x = context.position + delta;
        const f64 raw = x - std::floor(x);
        ASSERT_NEAR(context.swingPhaseRaw, raw, 1e-9);
        ASSERT_NEAR(context.swingPhase, raw * raw, 1e-9);
        ASSERT_EQ(context.swungGate, context.swingPhase <= 0.5 ? 0.0f : 1.0f);
        ASSERT_NEAR(context.swungPosition, std::floor(x) + raw * raw, 1e-9);
        ASSERT_GE(context.swungBpm, 1.0);
    }
}

TEST(SwingClock, ALockedOriginMovesBackByWholeLines) {
    BlockContext context = makeContext();
    context.swingAmount = 50;
    context.swingGrid = 4;
    context.swingLocked = 1;
    context.swingOrigin = 10;
    context.position = 4.5;
    AM_runSwingClock(context, 64);
    EXPECT_EQ(context.swingOrigin, 4.0); // lines are 2 quarter notes apart
    // However far and odd, it costs the same and ends in numbers.
    for (const f64 origin : k_odd)
        for (const f64 position : {0.0, 1e17, -1e17}) {
            context.swingOrigin = origin;
            context.position = position;
            AM_runSwingClock(context, 64);
            EXPECT_LE(context.swingOrigin, position);
        }
}

TEST(TransportClock, TakesOverWhatTheHostReports) {
    BlockContext context = makeContext();
    AM_setTransport(context, 9.5, 8.0);
    EXPECT_EQ(context.position, 9.5);
    EXPECT_EQ(context.barPosition, 8.0);
    EXPECT_EQ(context.transportJumped, 1);
    context.position = 13.0;
    AM_setTransport(context, 9.5, 0.0);
    EXPECT_EQ(context.transportJumped, 0) << "the host repeats itself";
    EXPECT_EQ(context.position, 13.0);
    EXPECT_EQ(context.barPosition, 12.0);
    AM_setTransport(context, 10.0, 19.0);
    EXPECT_EQ(context.barPosition, 7.0) << "moved back by whole bars";
    context.quartersPerBar = 0;
    AM_setTransport(context, 1.0, 100000001.0);
    EXPECT_EQ(context.quartersPerBar, 4.0f);
    EXPECT_EQ(context.barPosition, 1.0);
    for (const f64 position : k_odd)
        for (const f64 bar : k_odd)
            for (const f32 quarters : {4.0f, 1e-30f, -1.0f, std::nanf("")}) {
                context.quartersPerBar = quarters;
                AM_setTransport(context, position, bar);
                ASSERT_TRUE(std::isfinite(context.position) && std::isfinite(context.barPosition));
                ASSERT_LE(context.barPosition, context.position);
            }
}

TEST(TransportClock, BarLinesFallOnceABar) {
    BlockContext context = makeContext();
    context.quartersPerBar = 3;
    AM_TransportClock clock;
    i32 ticks = 0;
    const f64 delta = 64.0 / 48000 * 2;
    const i32 subBlocks = static_cast<i32>(30.5 / delta);
    for (i32 n = 0; n < subBlocks; ++n) {
        if (n % 7 == 0) {
            context.barPosition = std::floor(context.position / 3) * 3;
            clock.beginBlock(context);
        }
        clock.beginSubBlock(context, 64);
        ticks += context.barTick;
        clock.endSubBlock(context);
    }
    EXPECT_NEAR(context.position, 30.5, 2 * delta);
    EXPECT_EQ(ticks, 10);
    context.bpm = std::nan("");
    context.position = HUGE_VAL;
    clock.beginBlock(context);
    EXPECT_EQ(context.bpm, 120.0);
    EXPECT_EQ(context.position, 0.0);
}

TEST(TransportClock, RefreshCountersRunInBlocks) {
    BlockContext context = makeContext();
    context.numFrames = 480;
    AM_runRefreshCounters(context, true);
    EXPECT_EQ(context.refreshCountdown, 3000 * 4);
    EXPECT_EQ(context.refreshPeriod, 400);
    AM_runRefreshCounters(context, false);
    EXPECT_EQ(context.refreshCountdown, 401);
    for (i32 n = 0; n < 400; ++n)
        AM_runRefreshCounters(context, true);
    EXPECT_EQ(context.refreshCountdown, 1);
    AM_runRefreshCounters(context, true);
    EXPECT_EQ(context.refreshCountdown, 3000);
    context.numFrames = 0;
    AM_runRefreshCounters(context, true);
    EXPECT_EQ(context.refreshCountdown, 3000);
}
