#include "AM_SampleDelay.h"

#include "AM_Assert.h"
#include "AM_DelayMatrix.h"

#include <gtest/gtest.h>

TEST(SampleDelay, NewLineIsEmptyAndGuarded) {
    AM_SampleDelay line(8);
    EXPECT_EQ(line.mask, 7);
    EXPECT_EQ(line.len, 7);
    EXPECT_EQ(line.max, 8);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(line.samples - 1) % 16, 0u);
    EXPECT_EQ(line.samples[-1], 1337.0f);
    EXPECT_EQ(line.samples[8], 1138.0f);
    EXPECT_EQ(line.read(), 0.0f);
    EXPECT_EQ(line.read_ix(0), 0.0f);
    EXPECT_EQ(line.readF(0), 0.0f);
    EXPECT_EQ(line.read(88.0f), 0.0f);
    EXPECT_EQ(line.read_ix(0), 88.0f);
    EXPECT_THROW(AM_SampleDelay(0), AM_AssertionError);
}

TEST(SampleDelay, WritesNeverReachTheGuards) {
    AM_SampleDelay line(16);
    line.set(5, 7);
    for (i32 i = 0; i < 100; ++i)
        line.push(static_cast<f32>(i));
    EXPECT_EQ(line.read_ix(0), 99.0f);
    EXPECT_EQ(line.read(), 94.0f);
    EXPECT_EQ(line.samples[-1], 1337.0f);
    EXPECT_EQ(line.samples[16], 1138.0f);
}

TEST(SampleDelay, SetTakesOnlyRunsOfOnesAndHoldsLengths) {
    AM_SampleDelay line(16);
    EXPECT_THROW(line.set(1, 5), AM_AssertionError);
    EXPECT_THROW(line.set(-1, -1), AM_AssertionError);
    EXPECT_THROW(line.set(1, 16), AM_AssertionError);
    line.set(20, -1);
    EXPECT_EQ(line.len, 15);
    line.set(3, 7);
    EXPECT_EQ(line.mask, 7);
    EXPECT_EQ(line.len, 3);
}

TEST(SampleDelay, FractionalReadInterpolatesAndKeepsTheWholePart) {
    AM_SampleDelay line(8);
    line.push(5.0f);
    line.push(6.0f);
    EXPECT_EQ(line.readF(0.0f), 6.0f);
    EXPECT_EQ(line.readF(1.0f), 5.0f);
    EXPECT_EQ(line.readF(0.5f), 5.5f);
    line.readF(2.75f);
    EXPECT_EQ(line.len, 2);
}

TEST(FixedDelay, LoopDelayIsOneMoreThanTheLength) {
    for (const i32 length : {1, 7, 100}) {
        fixedDelay line(256);
        line.setLength(length);
        line.setGain(0.5f);
        i32 heard = -1;
        f32 level = 0.0f;
        for (i32 n = 0; n < 300 && heard < 0; ++n) {
            level = line.tick(n == 0 ? 1.0f : 0.0f, 0.5f);
            if (level != 0.0f) heard = n;
        }
        EXPECT_EQ(heard, length + 1);
        EXPECT_EQ(level, 1.0f);
        for (i32 n = 0; n < length; ++n)
            EXPECT_EQ(line.tick(0.0f, 0.5f), 0.0f);
        EXPECT_EQ(line.tick(0.0f, 0.5f), 0.25f) << "gain times feedback a round";
    }
}

TEST(FixedDelay, ClearLeavesTheWriteIndexAtTheLength) {
    fixedDelay line(16);
    EXPECT_EQ(line.getSampleDelay()->write, 15);
    line.setLength(9);
    for (i32 i = 0; i < 40; ++i)
        line.write(1.0f);
    line.clear();
    EXPECT_EQ(line.getSampleDelay()->write, 9);
    for (i32 i = 0; i < 16; ++i)
        EXPECT_EQ(line.read_ix(i), 0.0f);
    line.write(2.0f);
    line.addToNewest(0.5f);
    EXPECT_EQ(line.read_ix(0), 2.5f);
}

TEST(FixedDelay, AnAliasHearsTheOtherLineAndWritesItsOwn) {
    fixedDelay a(16);
    fixedDelay b(16);
    a.setLength(3);
    b.setLength(1);
    a.setAlias(&b);
    for (i32 i = 1; i <= 4; ++i) {
        a.write(static_cast<f32>(10 * i));
        b.write(static_cast<f32>(i));
    }
    EXPECT_EQ(a.read(), b.read());
    EXPECT_EQ(a.read(), 3.0f);
    EXPECT_EQ(a.getLength(), 3.0f);
    // The lender's own alias does not pass on.
    b.setAlias(&a);
    EXPECT_EQ(a.read(), 3.0f);
    EXPECT_EQ(b.read(), 10.0f);
    a.setAlias(nullptr);
    EXPECT_EQ(a.read(), 10.0f);
    // A matrix has no ring to lend.
    fdnMatrixHouseHolder<4> matrix;
    a.setAlias(&matrix);
    EXPECT_EQ(a.read(), 10.0f);
}
